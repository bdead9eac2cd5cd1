// Each modelled class through its schema: a small drawing holding one object of the class
// loads as that class, is written back as it was given, reads back with the same entity
// list from every file version the class exists in, and goes through entmod unchanged.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "hostapi/db.h"

namespace {

struct ClassCase {
  const char* name;     // DXF name and test name
  const char* section;  // ENTITIES or OBJECTS
  const char* groups;   // the object as the file holds it, "code=value" a line, handle A0
  DxDbDwgVersion since = DxDb::kDHL_1014;
  const char* label = nullptr;  // test name of a second case of the same class
};

using Pairs = std::vector<std::pair<int, std::string>>;

Pairs parsePairs(const std::string& text) {
  Pairs out;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) {
    size_t eq = line.find('=');
    if (eq == std::string::npos) continue;
    out.emplace_back(std::atoi(line.substr(0, eq).c_str()), line.substr(eq + 1));
  }
  return out;
}

// Values compare as the numbers they are, written text as text.
std::string normal(int code, const std::string& v) {
  int type = dxutGroupCodeType(code);
  if (type != RTREAL && type != RT3DPOINT && type != RTPOINT) return v;
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.10g", std::strtod(v.c_str(), nullptr));
  return buf;
}

std::string drawing(const ClassCase& c) {
  std::string s =
      "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1032\n9\n$HANDSEED\n5\n1000\n0\nENDSEC\n";
  s += std::string("0\nSECTION\n2\n") + c.section + "\n";
  for (const auto& [code, value] : parsePairs(c.groups))
    s += std::to_string(code) + "\n" + value + "\n";
  return s + "0\nENDSEC\n0\nEOF\n";
}

// The groups of the object with handle A0.
Pairs objectA0(const Pairs& all) {
  for (size_t i = 0; i + 1 < all.size(); ++i)
    if (all[i].first == 0 && (all[i + 1].first == 5 || all[i + 1].first == 105) &&
        all[i + 1].second == "A0") {
      Pairs obj{all[i]};
      for (size_t j = i + 1; j < all.size() && all[j].first != 0; ++j) obj.push_back(all[j]);
      return obj;
    }
  return {};
}

Pairs filePairs(const std::string& text) {
  std::istringstream in(text);
  std::string code, value;
  Pairs all;
  while (std::getline(in, code) && std::getline(in, value)) {
    if (!value.empty() && value.back() == '\r') value.pop_back();
    all.emplace_back(std::atoi(code.c_str()), value);
  }
  return all;
}

struct RbDeleter {
  void operator()(resbuf* rb) const { dxutRelRb(rb); }
};
using Rb = std::unique_ptr<resbuf, RbDeleter>;

// An entity list as text; references by handle, so that lists of two databases compare.
std::string render(const resbuf* rb) {
  std::ostringstream o;
  for (; rb; rb = rb->rbnext) {
    if (rb->restype == -1) continue;
    o << rb->restype << '=';
    switch (dxutGroupCodeType(rb->restype)) {
      case RTREAL:
      case RTANG:
        o << normal(40, std::to_string(rb->resval.rreal));
        break;
      case RTSHORT:
        o << rb->resval.rint;
        break;
      case RTLONG:
        o << rb->resval.rlong;
        break;
      case RTINT64:
        o << rb->resval.rlong64;
        break;
      case RTPOINT:
      case RT3DPOINT:
        for (double v : rb->resval.rpoint) o << normal(10, std::to_string(v)) << ' ';
        break;
      case RTENAME: {
        DxDbObjectId id;
        dxdbGetObjectId(id, rb->resval.rlname);
        o << '#' << id.handle().str();
        break;
      }
      default:
        o << (rb->resval.rstring ? rb->resval.rstring : "");
        break;
    }
    o << '\n';
  }
  return o.str();
}

class Loaded {
 public:
  explicit Loaded(const std::string& text) {
    status = db->readDxfFromBuffer(text);
    dxdbHostApplicationServices()->setWorkingDatabase(db.get());
  }
  ~Loaded() { dxdbHostApplicationServices()->setWorkingDatabase(nullptr); }
  Dxad::ErrorStatus status;
  std::unique_ptr<DxDbDatabase> db = std::make_unique<DxDbDatabase>(false);

  bool name(dx_name n) const { return dxdbHandEnt("A0", n) == RTNORM; }
  std::string list() const {
    dx_name n;
    if (!name(n)) return "(no object A0)";
    return render(Rb(dxdbEntGet(n)).get());
  }
  std::string dxfName() const {
    DxDbObjectId id;
    dx_name n;
    if (!name(n) || dxdbGetObjectId(id, n) != Dxad::eOk || !id.objectClass()) return "";
    return id.objectClass()->dxfName();
  }
  std::string save(DxDbDwgVersion v) const {
    std::string path = testing::TempDir() + "class_schema_" + std::to_string(getpid()) + ".dxf";
    EXPECT_EQ(db->saveAs(path.c_str(), v), Dxad::eOk);
    std::ifstream in(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::filesystem::remove(path);
    return text;
  }
};

void PrintTo(const ClassCase& c, std::ostream* os) { *os << c.name; }

class ClassSchema : public testing::TestWithParam<ClassCase> {};

TEST_P(ClassSchema, LoadsAsItsClassAndIsWrittenAsGiven) {
  const ClassCase& c = GetParam();
  Loaded d(drawing(c));
  ASSERT_EQ(d.status, Dxad::eOk) << d.db->lastError();
  EXPECT_EQ(d.dxfName(), c.name);
  // The owner's handle is the host's to give.
  auto text = [](Pairs p) {
    std::string s;
    for (const auto& [code, value] : p)
      if (code != 330) s += std::to_string(code) + "=" + normal(code, value) + "\n";
    return s;
  };
  EXPECT_EQ(text(objectA0(filePairs(d.save(DxDb::kDHL_1032)))),
            text(objectA0(parsePairs(c.groups))));
}

TEST_P(ClassSchema, ReadsBackEqualFromEveryVersion) {
  const ClassCase& c = GetParam();
  std::string before;
  std::vector<std::pair<DxDbDwgVersion, std::string>> files;
  {
    Loaded d(drawing(c));
    ASSERT_EQ(d.status, Dxad::eOk) << d.db->lastError();
    before = d.list();
    for (DxDbDwgVersion v : {DxDb::kDHL_1014, DxDb::kDHL_1015, DxDb::kDHL_1018, DxDb::kDHL_1021,
                             DxDb::kDHL_1024, DxDb::kDHL_1027, DxDb::kDHL_1032})
      if (v >= c.since) files.emplace_back(v, d.save(v));
  }
  for (const auto& [v, text] : files) {
    Loaded again(text);
    ASSERT_EQ(again.status, Dxad::eOk) << "version " << v << ": " << again.db->lastError();
    EXPECT_EQ(again.list(), before) << "version " << v;
  }
}

TEST_P(ClassSchema, EntmodWithItsOwnListChangesNothing) {
  const ClassCase& c = GetParam();
  Loaded d(drawing(c));
  ASSERT_EQ(d.status, Dxad::eOk) << d.db->lastError();
  std::string list = d.list(), file = d.save(DxDb::kDHL_1032);
  dx_name n;
  ASSERT_TRUE(d.name(n));
  Rb rb(dxdbEntGet(n));
  ASSERT_EQ(dxdbEntMod(rb.get()), RTNORM);
  EXPECT_EQ(d.list(), list);
  EXPECT_EQ(d.save(DxDb::kDHL_1032), file);
}

const char* const kEntity = "100=AcDbEntity\n8=0\n";

std::string entity(const char* name, const std::string& own) {
  return std::string("0=") + name + "\n5=A0\n330=1F\n" + kEntity + own;
}

// An attribute definition that carries a multiline text after its own groups.
const char* const kMultilineAttdef =
    "100=AcDbText\n10=0\n20=0\n30=0\n40=1\n1=Room\n100=AcDbAttributeDefinition\n3=Name\n"
    "2=ROOM\n70=0\n71=2\n72=0\n101=Embedded Object\n10=0\n20=1\n30=0\n40=0.5\n41=8\n46=0\n"
    "71=1\n72=5\n1=Room\\Ptwo lines\n50=0.5\n";

std::vector<ClassCase> entityCases() {
  static std::vector<std::string> texts;
  std::vector<std::pair<const char*, std::string>> own = {
      {"LINE", "62=1\n100=AcDbLine\n39=2\n10=1\n20=2\n30=0\n11=4\n21=6\n31=0\n"},
      {"CIRCLE", "100=AcDbCircle\n10=1\n20=1\n30=0\n40=2.5\n210=0\n220=0\n230=-1\n"},
      {"ARC", "100=AcDbCircle\n10=1\n20=1\n30=0\n40=2\n100=AcDbArc\n50=30\n51=200\n"},
      {"ELLIPSE", "100=AcDbEllipse\n10=0\n20=0\n30=0\n11=3\n21=0\n31=0\n40=0.5\n41=0\n42=3.14\n"},
      {"POINT", "100=AcDbPoint\n10=7\n20=8\n30=9\n50=45\n"},
      {"SOLID",
       "100=AcDbTrace\n10=0\n20=0\n30=0\n11=1\n21=0\n31=0\n12=0\n22=1\n32=0\n13=1\n23=1\n33=0\n"},
      {"LWPOLYLINE",
       "100=AcDbPolyline\n90=3\n70=1\n10=0\n20=0\n10=4\n20=0\n42=0.5\n10=4\n20=3\n40=0.1\n41=0."
       "2\n"},
      {"TEXT",
       "100=AcDbText\n10=1\n20=2\n30=0\n40=2.5\n1=Room 101\n50=90\n72=1\n11=3\n21=2\n31=0\n"
       "100=AcDbText\n73=2\n"},
      {"MTEXT",
       "100=AcDbMText\n10=0\n20=5\n30=0\n40=1.5\n41=20\n71=1\n72=1\n1=Two\\Plines\n50=0.5\n"},
      {"ATTDEF",
       "100=AcDbText\n10=0\n20=0\n30=0\n40=1\n1=?\n100=AcDbAttributeDefinition\n"
       "3=Number\n2=NO\n70=8\n"},
      {"HATCH",
       "100=AcDbHatch\n10=0\n20=0\n30=0\n2=ANSI31\n70=0\n71=0\n91=2\n"
       "92=7\n72=0\n73=1\n93=4\n10=0\n20=0\n10=10\n20=0\n10=10\n20=10\n10=0\n20=10\n97=0\n"
       "92=16\n93=2\n72=1\n10=2\n20=2\n11=8\n21=2\n72=2\n10=5\n20=2\n40=3\n50=0\n51=180\n73=1\n97="
       "0\n"
       "75=1\n76=1\n52=0\n41=1\n77=0\n78=1\n53=45\n43=0\n44=0\n45=-2.2\n46=2.2\n79=0\n98=1\n10="
       "5\n20=5\n"},
      {"INSERT", "100=AcDbBlockReference\n2=DOOR\n10=2\n20=2\n30=0\n41=2\n42=2\n43=2\n50=30\n"},
      {"WIPEOUT",
       "100=AcDbWipeout\n90=0\n10=0\n20=0\n30=0\n11=1\n21=0\n31=0\n12=0\n22=1\n32=0\n13=1\n"
       "23=1\n340=0\n70=7\n280=1\n281=50\n282=50\n283=0\n360=0\n71=2\n91=2\n14=-0.5\n24=-0.5\n"
       "14=0.5\n24=0.5\n290=0\n"},
      {"DIMENSION",
       "100=AcDbDimension\n280=0\n2=*D1\n10=0\n20=3\n30=0\n11=2.5\n21=3\n31=0\n70=32\n1=<>\n"
       "3=Standard\n100=AcDbAlignedDimension\n13=0\n23=0\n33=0\n14=5\n24=0\n34=0\n"
       "100=AcDbRotatedDimension\n"},
      {"SPLINE",
       "100=AcDbSpline\n70=8\n71=2\n72=6\n73=3\n74=0\n40=0\n40=0\n40=0\n40=1\n40=1\n40=1\n"
       "10=0\n20=0\n30=0\n10=5\n20=5\n30=0\n10=10\n20=0\n30=0\n"},
  };
  std::vector<ClassCase> cases;
  texts.reserve(own.size() + 1);
  for (auto& [name, body] : own) {
    texts.push_back(entity(name, body));
    cases.push_back({name, "ENTITIES", texts.back().c_str()});
  }
  texts.push_back(entity("ATTDEF", kMultilineAttdef));
  cases.push_back({"ATTDEF", "ENTITIES", texts.back().c_str(), DxDb::kDHL_1021, "MultilineATTDEF"});
  // Members of a sequence, after their owner A1 (and, for the end marker, the vertex).
  const std::string polyline =
      "0=POLYLINE\n5=A1\n330=1F\n" + std::string(kEntity) +
      "100=AcDb2dPolyline\n66=1\n10=0\n20=0\n30=0\n70=1\n";
  const std::string vertex = "100=AcDbVertex\n100=AcDb2dVertex\n10=3\n20=4\n30=0\n42=0.5\n70=0\n";
  texts.push_back(polyline + entity("VERTEX", vertex) + "0=SEQEND\n5=A2\n330=A1\n" + kEntity);
  cases.push_back({"VERTEX", "ENTITIES", texts.back().c_str()});
  std::string secondVertex = entity("VERTEX", vertex);
  secondVertex.replace(secondVertex.find("5=A0") + 2, 2, "A3");
  texts.push_back(polyline + secondVertex + "0=SEQEND\n5=A0\n330=A1\n" + kEntity);
  cases.push_back({"SEQEND", "ENTITIES", texts.back().c_str()});
  std::string attrib = entity("ATTRIB", "100=AcDbText\n10=1\n20=1\n30=0\n40=1\n1=12\n"
                                        "100=AcDbAttribute\n2=NO\n70=0\n");
  texts.push_back("0=INSERT\n5=A1\n330=1F\n" + std::string(kEntity) +
                  "100=AcDbBlockReference\n66=1\n2=TAG\n10=1\n20=1\n30=0\n" + attrib +
                  "0=SEQEND\n5=A2\n330=A1\n" + kEntity);
  cases.push_back({"ATTRIB", "ENTITIES", texts.back().c_str()});
  return cases;
}

// Symbol table records, each in a table of its own kind.
std::vector<ClassCase> tableCases() {
  static std::vector<std::string> texts;
  std::vector<std::tuple<const char*, const char*, std::string>> own = {
      {"LAYER", "AcDbLayerTableRecord", "2=WALLS\n70=0\n62=1\n6=Continuous\n370=-3\n"},
      {"LTYPE", "AcDbLinetypeTableRecord",
       "2=DASHX\n70=0\n3=Dash __ __\n72=65\n73=2\n40=1.5\n49=1\n74=0\n49=-0.5\n74=0\n"},
      {"STYLE", "AcDbTextStyleTableRecord",
       "2=ROMANS\n70=0\n40=0\n41=0.8\n50=15\n71=0\n42=2.5\n3=romans.shx\n4=\n"},
      {"APPID", "AcDbRegAppTableRecord", "2=MYAPP\n70=0\n"},
      {"UCS", "AcDbUCSTableRecord",
       "2=TILTED\n70=0\n10=1\n20=2\n30=0\n11=0\n21=1\n31=0\n12=-1\n22=0\n32=0\n"},
      {"VIEW", "AcDbViewTableRecord",
       "2=FRONT\n70=0\n40=10\n41=20\n10=5\n20=5\n11=0\n21=0\n31=1\n12=0\n22=0\n32=0\n42=50\n"
       "43=0\n44=0\n50=0\n71=0\n281=0\n72=0\n146=0\n73=0\n"},
      {"VPORT", "AcDbViewportTableRecord",
       "2=WORK\n70=0\n10=0\n20=0\n11=1\n21=1\n12=3\n22=4\n13=0\n23=0\n14=0.5\n24=0.5\n15=0.5\n"
       "25=0.5\n16=0\n26=0\n36=1\n17=0\n27=0\n37=0\n40=100\n41=1.34\n42=50\n43=0\n44=0\n50=0\n"
       "51=0\n71=0\n72=1000\n73=1\n74=3\n75=0\n76=0\n77=0\n78=0\n281=0\n65=0\n146=0\n"},
      {"BLOCK_RECORD", "AcDbBlockTableRecord", "2=DOOR\n70=0\n280=1\n281=0\n"},
  };
  std::vector<ClassCase> cases;
  texts.reserve(own.size());
  // Records name their line type, which comes first in a file.
  const std::string linetypes =
      "0=TABLE\n2=LTYPE\n5=B1\n330=0\n100=AcDbSymbolTable\n70=1\n0=LTYPE\n5=B2\n330=B1\n"
      "100=AcDbSymbolTableRecord\n100=AcDbLinetypeTableRecord\n2=Continuous\n70=0\n3=Solid line\n"
      "72=65\n73=0\n40=0\n0=ENDTAB\n";
  for (auto& [name, marker, body] : own) {
    texts.push_back((std::string(name) == "LTYPE" ? "" : linetypes) + "0=TABLE\n2=" + std::string(name) + "\n5=B0\n330=0\n100=AcDbSymbolTable\n70=1\n0=" + name +
                    "\n5=A0\n330=B0\n100=AcDbSymbolTableRecord\n100=" + marker + "\n" + body +
                    "0=ENDTAB\n");
    cases.push_back({name, "TABLES", texts.back().c_str()});
  }
  return cases;
}

// Objects hang from an entry MINE of the root dictionary.
std::vector<ClassCase> objectCases() {
  static std::vector<std::string> texts;
  std::vector<std::pair<const char*, std::string>> own = {
      {"DICTIONARY",
       "0=DICTIONARY\n5=A0\n330=C\n100=AcDbDictionary\n281=1\n3=ONE\n350=A1\n"
       "0=XRECORD\n5=A1\n330=A0\n100=AcDbXrecord\n280=1\n1=kept\n70=3\n"},
      {"XRECORD",
       "0=XRECORD\n5=A0\n330=C\n100=AcDbXrecord\n280=1\n1=text\n40=2.5\n10=1\n20=2\n30=3\n"},
      {"GROUP", "0=GROUP\n5=A0\n330=C\n100=AcDbGroup\n300=Doors\n70=0\n71=1\n"},
      {"IMAGEDEF",
       "0=IMAGEDEF\n5=A0\n330=C\n100=AcDbRasterImageDef\n90=0\n1=img.png\n10=640\n20=480\n"
       "11=0.01\n21=0.01\n280=1\n281=0\n"},
      {"RASTERVARIABLES",
       "0=RASTERVARIABLES\n5=A0\n330=C\n100=AcDbRasterVariables\n90=0\n70=1\n71=1\n72=3\n"},
      {"WIPEOUTVARIABLES", "0=WIPEOUTVARIABLES\n5=A0\n330=C\n100=AcDbWipeoutVariables\n70=1\n"},
  };
  std::vector<ClassCase> cases;
  texts.reserve(own.size());
  for (auto& [name, body] : own) {
    texts.push_back("0=DICTIONARY\n5=C\n330=0\n100=AcDbDictionary\n281=1\n3=MINE\n350=A0\n" + body);
    cases.push_back({name, "OBJECTS", texts.back().c_str()});
  }
  return cases;
}

// A patterned hatch with a polyline loop, an edge loop, one pattern line and a seed point.
const ClassCase& patternedHatch() {
  static const std::vector<ClassCase> all = entityCases();
  for (const auto& c : all)
    if (std::string(c.name) == "HATCH") return c;
  throw std::logic_error("no hatch case");
}

TEST(HatchBoundary, AppendingALoopKeepsPatternLinesSeedsAndEdgeLoops) {
  Loaded d(drawing(patternedHatch()));
  ASSERT_EQ(d.status, Dxad::eOk);
  Pairs before = objectA0(filePairs(d.save(DxDb::kDHL_1032)));
  dx_name n;
  ASSERT_TRUE(d.name(n));
  DxDbObjectId id;
  ASSERT_EQ(dxdbGetObjectId(id, n), Dxad::eOk);
  DxDbHatch* h = nullptr;
  ASSERT_EQ(dxdbOpenObject(h, id, DxDb::kForWrite), Dxad::eOk);
  EXPECT_EQ(h->numLoops(), 2);
  ASSERT_EQ(h->appendLoop(DxDbHatch::kExternal, {{20, 0}, {30, 0}, {30, 10}}, {0, 0.5, 0}),
            Dxad::eOk);
  EXPECT_EQ(h->numLoops(), 3);
  // The edge loop reads as the starts of its edges: the line's, then the arc's at 0 degrees.
  int32_t type = 0;
  std::vector<DxGePoint2d> pts;
  std::vector<double> bulges;
  ASSERT_EQ(h->getLoopAt(1, type, pts, bulges), Dxad::eOk);
  EXPECT_EQ(type, 16);
  EXPECT_EQ(pts, (std::vector<DxGePoint2d>{{2, 2}, {8, 2}}));
  h->close();

  // Everything as it was, with the loop count raised and the new loop after the others.
  Pairs expected;
  for (const auto& p : before) {
    if (p.first == 75)
      for (const auto& q : parsePairs("92=3\n72=1\n73=1\n93=3\n10=20\n20=0\n42=0\n10=30\n20=0\n"
                                      "42=0.5\n10=30\n20=10\n42=0\n97=0\n"))
        expected.push_back(q);
    expected.push_back(p.first == 91 ? std::make_pair(91, std::string("3")) : p);
  }
  Pairs after = objectA0(filePairs(d.save(DxDb::kDHL_1032)));
  ASSERT_EQ(after.size(), expected.size());
  for (size_t i = 0; i < after.size(); ++i)
    EXPECT_EQ(normal(after[i].first, after[i].second),
              normal(expected[i].first, expected[i].second))
        << "group " << i << " code " << expected[i].first;
}

TEST(HatchBoundary, ABoundaryThatDoesNotReadIsKeptAndNotChanged) {
  // The loop announces three vertices and gives two.
  std::string text = entity("HATCH",
                            "100=AcDbHatch\n10=0\n20=0\n30=0\n2=SOLID\n70=1\n71=0\n91=1\n"
                            "92=7\n72=0\n73=1\n93=3\n10=0\n20=0\n10=5\n20=0\n98=0\n");
  ClassCase c{"HATCH", "ENTITIES", text.c_str()};
  Loaded d(drawing(c));
  ASSERT_EQ(d.status, Dxad::eOk);
  std::string file = d.save(DxDb::kDHL_1032);
  auto given = parsePairs(text);
  EXPECT_EQ(objectA0(filePairs(file)).size(), given.size());
  dx_name n;
  DxDbObjectId id;
  ASSERT_TRUE(d.name(n));
  ASSERT_EQ(dxdbGetObjectId(id, n), Dxad::eOk);
  DxDbHatch* h = nullptr;
  ASSERT_EQ(dxdbOpenObject(h, id, DxDb::kForWrite), Dxad::eOk);
  EXPECT_EQ(h->appendLoop(DxDbHatch::kExternal, {{0, 0}, {1, 0}, {1, 1}}, {}),
            Dxad::eNotApplicable);
  h->close();
  EXPECT_EQ(d.save(DxDb::kDHL_1032), file);
}

// A multiline attribute: its text is a multiline text of its own, which older versions
// cannot hold (there it is the attribute's one line), and a changed list changes it.
TEST(MultilineAttribute, CarriesItsOwnMultilineText) {
  std::string text =
      "0=INSERT\n5=A1\n330=1F\n100=AcDbEntity\n8=0\n100=AcDbBlockReference\n66=1\n2=TAGS\n"
      "10=5\n20=5\n30=0\n" +
      std::string(entity("ATTRIB", kMultilineAttdef)) + "0=SEQEND\n5=A2\n330=A1\n" + kEntity;
  const std::string definition = "100=AcDbAttributeDefinition\n3=Name\n";
  text.replace(text.find(definition), definition.size(), "100=AcDbAttribute\n");
  Loaded d(drawing({"ATTRIB", "ENTITIES", text.c_str()}));
  ASSERT_EQ(d.status, Dxad::eOk) << d.db->lastError();
  dx_name n;
  DxDbObjectId id;
  ASSERT_TRUE(d.name(n));
  ASSERT_EQ(dxdbGetObjectId(id, n), Dxad::eOk);
  auto multiline = [&](const char* contents, double width) {
    DxDbAttribute* a = nullptr;
    ASSERT_EQ(dxdbOpenObject(a, id, DxDb::kForRead), Dxad::eOk);
    ASSERT_TRUE(a->isMTextAttribute());
    std::unique_ptr<DxDbMText> m(a->getMTextAttribute());
    a->close();
    EXPECT_EQ(m->contents(), contents);
    EXPECT_EQ(m->width(), width);
    EXPECT_EQ(m->location(), DxGePoint3d(0, 1, 0));
    EXPECT_DOUBLE_EQ(m->rotation(), 0.5);  // radians, as multiline texts keep it
  };
  multiline("Room\\Ptwo lines", 8);

  Rb list(dxdbEntGet(n));
  for (resbuf* rb = list.get(); rb; rb = rb->rbnext)
    if (rb->restype == 1 && std::string(rb->resval.rstring) == "Room\\Ptwo lines") {
      std::free(rb->resval.rstring);
      rb->resval.rstring = strdup("Hall");
    }
  ASSERT_EQ(dxdbEntMod(list.get()), RTNORM);
  multiline("Hall", 8);

  Loaded old(d.save(DxDb::kDHL_1015));
  ASSERT_EQ(old.status, Dxad::eOk) << old.db->lastError();
  EXPECT_EQ(old.list().find("101="), std::string::npos);
  ASSERT_TRUE(old.name(n));
  ASSERT_EQ(dxdbGetObjectId(id, n), Dxad::eOk);
  DxDbAttribute* a = nullptr;
  ASSERT_EQ(dxdbOpenObject(a, id, DxDb::kForRead), Dxad::eOk);
  EXPECT_FALSE(a->isMTextAttribute());
  EXPECT_STREQ(a->textString(), "Room");
  a->close();
}

std::string caseName(const testing::TestParamInfo<ClassCase>& info) {
  return info.param.label ? info.param.label : info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Entities, ClassSchema, testing::ValuesIn(entityCases()), caseName);
INSTANTIATE_TEST_SUITE_P(Objects, ClassSchema, testing::ValuesIn(objectCases()), caseName);
INSTANTIATE_TEST_SUITE_P(Tables, ClassSchema, testing::ValuesIn(tableCases()), caseName);

}  // namespace
