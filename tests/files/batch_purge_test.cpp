// The list and the run of batpurge on real drawing files in a scratch folder: what is
// purged and saved, what is left alone, and what the log says.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "express/files/batch_purge.h"

namespace {

namespace fs = std::filesystem;
using namespace express::batpurge;

std::string Slurp(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

bool HasLayer(DxDbDatabase& db, const char* name) {
  DxDbLayerTable* t = nullptr;
  EXPECT_EQ(db.getSymbolTable(t, DxDb::kForRead), Dxad::eOk);
  bool has = t->has(name);
  t->close();
  return has;
}

struct Folder {
  fs::path dir;
  Folder() {
    dir = fs::temp_directory_path() / ("batpurge-" + std::to_string(::getpid()) + "-" +
                                       ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir);
    fs::create_directories(dir);
  }
  ~Folder() {
    std::error_code ec;
    fs::permissions(dir, fs::perms::owner_all, fs::perm_options::add, ec);
    fs::remove_all(dir, ec);
  }
  // A drawing with one layer nothing uses, saved in an older version.
  std::string drawing(const std::string& name) {
    DxDbDatabase db(true);
    DxDbLayerTable* t = nullptr;
    EXPECT_EQ(db.getSymbolTable(t, DxDb::kForWrite), Dxad::eOk);
    auto* layer = new DxDbLayerTableRecord();
    layer->setName("UNUSED");
    EXPECT_EQ(t->add(layer), Dxad::eOk);
    layer->close();
    t->close();
    std::string path = (dir / name).string();
    EXPECT_EQ(db.saveAs(path.c_str(), DxDb::kDHL_1015), Dxad::eOk) << db.lastError();
    return path;
  }
  std::string file(const std::string& name, const std::string& text) {
    std::ofstream(dir / name, std::ios::binary) << text;
    return (dir / name).string();
  }
};

struct Reopened {
  DxDbDatabase db{false, true};
  explicit Reopened(const std::string& path) { EXPECT_EQ(db.readDwgFile(path.c_str()), Dxad::eOk) << path; }
};

TEST(BatchPurgeDuration, DaysHoursMinutesSecondsOnlyWhenThere) {
  EXPECT_EQ(FormatDuration(0), "");
  EXPECT_EQ(FormatDuration(65), "1m5s");
  EXPECT_EQ(FormatDuration(3600), "1h");
  EXPECT_EQ(FormatDuration(86400 + 3600 + 60 + 1), "1d1h1m1s");
  EXPECT_EQ(FormatDuration(2 * 86400 + 59), "2d59s");
  EXPECT_EQ(FormatDuration(25 * 3600), "1d1h") << "hours are counted within the day";
}

TEST(BatchPurgeTime, LocalTimeWithTwoBlanksBetweenDateAndTime) {
  std::tm tm{};
  tm.tm_year = 126, tm.tm_mon = 0, tm.tm_mday = 2, tm.tm_hour = 3, tm.tm_min = 4, tm.tm_sec = 5, tm.tm_isdst = -1;
  EXPECT_EQ(FormatTime(std::mktime(&tm)), "2026-01-02  03:04:05");
}

TEST(BatchPurgeFormats, OnlyDrawingFormatsAreOfferedAndUnknownCodesSaveNewest) {
  std::vector<Format> formats = DrawingFormats();
  ASSERT_FALSE(formats.empty());
  EXPECT_EQ(formats[0].code, 64);
  for (const Format& f : formats) EXPECT_TRUE(f.label.ends_with("(*.dxf)")) << f.label;
  EXPECT_EQ(VersionOfFormat(64), DxDb::kDHL_1032);
  EXPECT_EQ(VersionOfFormat(8), DxDb::kDHL_1014);
  EXPECT_EQ(VersionOfFormat(99), DxDb::kDHL_1032);
}

TEST(BatchPurgeList, FilesFoldersAndPatternsAreAddedOnce) {
  Folder f;
  f.drawing("a.dxf");
  f.drawing("b.DXF");
  f.file("notes.txt", "x");
  fs::create_directories(f.dir / "sub");
  RowList list;
  EXPECT_EQ(list.AddPath(f.dir.string()), 2) << "a folder gives its drawing files";
  EXPECT_EQ(list.AddPath((f.dir / "*.dxf").string()), 0) << "already listed";
  EXPECT_EQ(list.AddPath((f.dir / "notes.txt").string()), 1) << "a named file is taken as it is";
  EXPECT_EQ(list.AddPath((f.dir / "missing.dxf").string()), 0);
  ASSERT_EQ(list.rows().size(), 3u);
  EXPECT_EQ(fs::path(list.rows()[0].path).filename(), "a.dxf");
  EXPECT_TRUE(fs::path(list.rows()[0].path).is_absolute());
  EXPECT_EQ(list.checkedCount(), 3);
  EXPECT_EQ(list.rows()[0].state, kNotDone);
  list.Remove({0, 2});
  ASSERT_EQ(list.rows().size(), 1u);
  EXPECT_EQ(fs::path(list.rows()[0].path).filename(), "b.DXF");
  EXPECT_EQ(list.AddPath((f.dir / "a.dxf").string()), 1) << "a removed file can come back";
}

TEST(BatchPurgeRun, CheckedFilesArePurgedInPlaceTheRestLeftAndLogged) {
  Folder f;
  RowList list;
  for (const char* name : {"1.dxf", "2.dxf", "3.dxf", "4.dxf", "5.dxf"}) list.AddPath(f.drawing(name));
  std::vector<Row>& rows = list.rows();
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i].checked = i == 1 || i == 3;
  std::string untouched = Slurp(rows[0].path);
  std::string before = Slurp(rows[1].path);
  std::vector<std::size_t> started, done;
  std::string log = (f.dir / "BatPurge.log").string();
  RunResult run = RunPurge(rows, 99, log, [&](std::size_t i) { started.push_back(i); },
                      [&](std::size_t i, int processed, int checked) {
                        done.push_back(i);
                        EXPECT_EQ(checked, 2);
                        EXPECT_EQ(processed, int(done.size()));
                      });
  EXPECT_EQ(started, (std::vector<std::size_t>{1, 3}));
  EXPECT_EQ(done, started);
  EXPECT_EQ(run.processed, 2);
  EXPECT_EQ(run.succeeded, 2);
  EXPECT_EQ(rows[0].state, kNotDone);
  EXPECT_EQ(rows[1].state, kSucceeded);
  EXPECT_EQ(Slurp(rows[0].path), untouched);
  EXPECT_EQ(Slurp(fs::path(rows[1].path).replace_extension(".bak")), before) << "the old file is the back-up";
  {
    Reopened purged(rows[1].path);
    EXPECT_FALSE(HasLayer(purged.db, "UNUSED"));
    EXPECT_TRUE(HasLayer(purged.db, "0"));
    EXPECT_STREQ(purged.db.originalFileVersion(), "AC1032") << "an unknown format code saves the newest version";
  }
  Reopened kept(rows[0].path);
  EXPECT_TRUE(HasLayer(kept.db, "UNUSED"));

  std::string text = Slurp(log);
  EXPECT_EQ(text.find("Latest Purge:\r\nStart Time:"), 0u) << text;
  EXPECT_NE(text.find("\r\nTotal:5, Succeed:2,Failed:0, Not Do:3\r\n"), std::string::npos) << text;
  EXPECT_NE(text.find(rows[0].path + "\t\tNot Do\r\n"), std::string::npos);
  EXPECT_NE(text.find(rows[3].path + "\t\tSucceed\r\n"), std::string::npos);
  EXPECT_EQ(text.find('\n'), text.find("\r\n") + 1);
  std::size_t lines = 0;
  for (std::size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos; at += 2) ++lines;
  EXPECT_EQ(lines, 5u + rows.size());
}

TEST(BatchPurgeRun, UnreadableAndReadOnlyFilesFailAndStayAsTheyWere) {
  Folder f;
  RowList list;
  list.AddPath(f.drawing("good.dxf"));
  list.AddPath(f.file("broken.dxf", "0\nSECTION\n2\nENTITIES\n0\nLINE\n10\nnot a number\n"));
  std::string readOnly = f.drawing("locked.dxf");
  ::chmod(readOnly.c_str(), 0444);
  list.AddPath(readOnly);
  std::vector<Row>& rows = list.rows();
  EXPECT_FALSE(rows[0].readOnly);
  EXPECT_TRUE(rows[2].readOnly);
  std::string broken = Slurp(rows[1].path), locked = Slurp(readOnly);
  std::string log = (f.dir / "BatPurge.log").string();
  RunResult run = RunPurge(rows, 64, log, nullptr, nullptr);
  EXPECT_EQ(rows[0].state, kSucceeded);
  EXPECT_EQ(rows[1].state, kFailed);
  EXPECT_EQ(rows[2].state, kFailed) << "a read-only file is attempted and fails";
  EXPECT_EQ(Slurp(rows[1].path), broken);
  EXPECT_EQ(Slurp(readOnly), locked);
  EXPECT_FALSE(fs::exists(fs::path(readOnly).replace_extension(".bak")));
  EXPECT_NE(Slurp(log).find("Total:3, Succeed:1,Failed:2, Not Do:0"), std::string::npos);
  EXPECT_EQ(LogStateText(rows[1].state), "Failed");

  // A second run overwrites the states of the checked rows only.
  rows[0].checked = false;
  ::chmod(readOnly.c_str(), 0644);
  RunPurge(rows, 64, log, nullptr, nullptr);
  EXPECT_EQ(rows[0].state, kSucceeded);
  EXPECT_EQ(rows[2].state, kSucceeded);
  EXPECT_NE(Slurp(log).find("Total:3, Succeed:1,Failed:1, Not Do:1"), std::string::npos);
}

TEST(BatchPurgeRun, NothingCheckedRunsNothingAndWritesNoLog) {
  Folder f;
  RowList list;
  list.AddPath(f.drawing("a.dxf"));
  list.rows()[0].checked = false;
  std::string log = (f.dir / "BatPurge.log").string();
  RunResult run = RunPurge(list.rows(), 64, log, nullptr, nullptr);
  EXPECT_EQ(run.processed, 0);
  EXPECT_FALSE(fs::exists(log));
}

TEST(BatchPurgeLog, ARunWithinOneSecondHasAnEmptyDurationAndExceptionsAreNotDone) {
  std::vector<Row> rows(2);
  rows[0].path = "/p/a.dxf";
  rows[0].state = -1;
  rows[1].path = "/p/b.dxf";
  rows[1].state = kSucceeded;
  RunResult run;
  run.start = run.end = std::time(nullptr);
  run.processed = 2;
  run.succeeded = 1;
  std::string text = LogText(rows, run);
  EXPECT_NE(text.find("\r\nTime Consumption:\r\nTotal:2, Succeed:1,Failed:1, Not Do:0\r\n"), std::string::npos)
      << text;
  EXPECT_NE(text.find("/p/a.dxf\t\tNot Do\r\n"), std::string::npos);
  EXPECT_EQ(ListStateText(-1), "Exception");
  run.end = run.start + 65;
  EXPECT_NE(LogText(rows, run).find("Time Consumption:1m5s\r\n"), std::string::npos);
}

TEST(BatchPurgeHost, PurgeAllIsFoundInTheLoadedProgramAndKept) {
  PurgeAllFn first = HostPurgeAll();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first, &purgeAll);
  EXPECT_EQ(HostPurgeAll(), first);
}

}  // namespace
