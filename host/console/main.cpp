// draxel: the embedded host's console program.
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "hostapi/db.h"

namespace {

void usage(FILE* out) {
  std::fputs(
      "Usage: draxel [options] [DRAWING.dxf]\n"
      "\n"
      "Opens a DXF drawing (ASCII or binary, R12 to R2018) and saves it again.\n"
      "\n"
      "Options:\n"
      "  -o, --output FILE    save the drawing to FILE at the end\n"
      "  --version VER        file version to save: AC1014, AC1015, AC1018, AC1021,\n"
      "                       AC1024, AC1027 or AC1032 (default: the version the\n"
      "                       drawing was read in; AC1032 for new and R12 drawings)\n"
      "  --report             print what the drawing holds\n"
      "  -h, --help           show this help\n",
      out);
}

bool parseVersion(const std::string& v, DxDbDwgVersion& out) {
  static const std::map<std::string, DxDbDwgVersion> m = {
      {"AC1014", DxDb::kDHL_1014}, {"AC1015", DxDb::kDHL_1015}, {"AC1018", DxDb::kDHL_1018},
      {"AC1021", DxDb::kDHL_1021}, {"AC1024", DxDb::kDHL_1024}, {"AC1027", DxDb::kDHL_1027},
      {"AC1032", DxDb::kDHL_1032}};
  auto it = m.find(v);
  if (it == m.end()) return false;
  out = it->second;
  return true;
}

void report(DxDbDatabase& db) {
  std::printf("Version: %s\n", db.originalFileVersion());
  DxDbBlockTable* bt = nullptr;
  if (db.getSymbolTable(bt, DxDb::kForRead) != Dxad::eOk) return;
  for (DxDbObjectId btrId : bt->recordIds()) {
    DxDbBlockTableRecord* btr = nullptr;
    if (dxdbOpenObject(btr, btrId, DxDb::kForRead) != Dxad::eOk) continue;
    std::map<std::string, int> counts;
    for (DxDbObjectId id : btr->entityIds()) {
      DxRxClass* c = id.objectClass();
      counts[c ? c->dxfName() : "?"]++;
    }
    bool layout = btr->isLayout();
    if (layout || !counts.empty()) {
      std::printf("%s %s:", layout ? "Layout" : "Block", btr->name());
      if (counts.empty()) std::printf(" empty");
      for (auto& [k, n] : counts) std::printf(" %s=%d", k.empty() ? "other" : k.c_str(), n);
      std::printf("\n");
    }
    btr->close();
  }
  bt->close();
  DxDbLayerTable* lt = nullptr;
  if (db.getSymbolTable(lt, DxDb::kForRead) == Dxad::eOk) {
    std::printf("Layers:");
    for (DxDbObjectId id : lt->recordIds()) {
      DxDbLayerTableRecord* l = nullptr;
      if (dxdbOpenObject(l, id, DxDb::kForRead) != Dxad::eOk) continue;
      std::printf(" %s", l->name());
      l->close();
    }
    std::printf("\n");
    lt->close();
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::string in, out;
  DxDbDwgVersion ver = DxDb::kDHL_1032;
  bool verGiven = false;
  bool doReport = false;
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    if (a == "-h" || a == "--help") {
      usage(stdout);
      return 0;
    } else if ((a == "-o" || a == "--output") && i + 1 < argc) {
      out = argv[++i];
    } else if (a == "--version" && i + 1 < argc) {
      verGiven = true;
      if (!parseVersion(argv[++i], ver)) {
        std::fprintf(stderr, "draxel: unknown file version '%s'\n", argv[i]);
        return 2;
      }
    } else if (a == "--report") {
      doReport = true;
    } else if (!a.empty() && a[0] == '-') {
      std::fprintf(stderr, "draxel: unknown option '%s' (see draxel --help)\n", a.c_str());
      return 2;
    } else {
      in = a;
    }
  }
  DxDbDatabase db(in.empty(), false);
  dxdbHostApplicationServices()->setWorkingDatabase(&db);
  if (!in.empty() && db.readDwgFile(in.c_str()) != Dxad::eOk) {
    std::fprintf(stderr, "draxel: cannot read '%s': %s\n", in.c_str(), db.lastError().c_str());
    return 1;
  }
  if (!in.empty() && !verGiven) parseVersion(db.originalFileVersion(), ver);
  if (doReport) report(db);
  if (!out.empty() && db.saveAs(out.c_str(), ver) != Dxad::eOk) {
    std::fprintf(stderr, "draxel: cannot save '%s': %s\n", out.c_str(), db.lastError().c_str());
    return 1;
  }
  return 0;
}
