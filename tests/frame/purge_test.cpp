// Saving a drawing erases the spreadsheet-table blocks nothing refers to.
#include "express/env/holders.h"
#include "express/frame/lifecycle.h"
#include "tests/frame/frame_fixture.h"

namespace {

class PurgeTest : public FrameTest {
 protected:
  DxDbObjectId addBlock(const char* name, bool marked) {
    express::CDbObjectPtr<DxDbBlockTable> table(db()->blockTableId(), DxDb::kForWrite);
    auto* rec = new DxDbBlockTableRecord();
    rec->setName(name);
    DxDbObjectId id;
    EXPECT_EQ(table->add(id, rec), Dxad::eOk);
    auto* line = new DxDbLine(DxGePoint3d(0, 0, 0), DxGePoint3d(1, 1, 0));
    EXPECT_EQ(rec->appendDxDbEntity(line), Dxad::eOk);
    line->close();
    if (marked) {
      EXPECT_EQ(rec->createExtensionDictionary(), Dxad::eOk);
      express::CDbObjectPtr<DxDbDictionary> dict(rec->extensionDictionary(), DxDb::kForWrite);
      DxDbObjectId xid;
      auto* xrec = new DxDbXrecord();
      EXPECT_EQ(dict->setAt(express::kSpreadsheetTableKey, xrec, xid), Dxad::eOk);
      xrec->close();
    }
    rec->close();
    return id;
  }
  void insert(DxDbObjectId block) {
    auto* ref = new DxDbBlockReference(DxGePoint3d(5, 5, 0), block);
    ref->setDatabaseDefaults(db());
    append(ref);
  }
};

}  // namespace

TEST_F(PurgeTest, UnreferencedMarkedBlocksGoTheOthersStay) {
  DxDbObjectId lonely = addBlock("TABLE_1", true);
  DxDbObjectId used = addBlock("TABLE_2", true);
  DxDbObjectId plain = addBlock("PLAIN", false);
  insert(used);
  // A key of another application does not mark a block.
  DxDbObjectId other = addBlock("OTHER", false);
  {
    express::CDbObjectPtr<DxDbBlockTableRecord> rec(other, DxDb::kForWrite);
    rec->createExtensionDictionary();
    express::CDbObjectPtr<DxDbDictionary> dict(rec->extensionDictionary(), DxDb::kForWrite);
    DxDbObjectId xid;
    auto* xrec = new DxDbXrecord();
    dict->setAt("ACAD_XREC_ROUNDTRIP", xrec, xid);
    xrec->close();
  }
  dxrxEntryPoint(1, nullptr);
  EXPECT_EQ(dxrxEntryPoint(9, nullptr), 0);
  EXPECT_TRUE(lonely.isErased());
  EXPECT_FALSE(used.isErased());
  EXPECT_FALSE(plain.isErased());
  EXPECT_FALSE(other.isErased());
  EXPECT_TRUE(db()->openObjects().empty());
  EXPECT_TRUE(db()->takeDisciplineReport().empty());
}

TEST_F(PurgeTest, AReferenceErasedBeforeTheSaveNoLongerKeepsTheBlock) {
  DxDbObjectId block = addBlock("TABLE_3", true);
  insert(block);
  ASSERT_EQ(script("ERASE L \"\"\n"), 0) << failure;
  express::purgeSpreadsheetTableBlocks(db());
  EXPECT_TRUE(block.isErased());
  express::purgeSpreadsheetTableBlocks(nullptr);  // no working database: nothing to do
}
