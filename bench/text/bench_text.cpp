// txt2mtxt and tcount over drawings of 12,500 to 100,000 texts, each against a plain
// walk that reads and rewrites the same texts through entity lists, all run as commands
// from a script. Prints the times, the ratios to the walk and the time per n log n, so
// that growth can be read off as the size doubles.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "express/frame/command_body.h"
#include "host/editor/core/driver.h"
#include "host/editor/core/session.h"

using namespace dx::ed;

namespace {

void makeDrawing(int n) {
  Session& s = Session::get();
  s.reset();
  output().setSink([](std::string_view) {});
  DxDbDatabase* db = s.current()->database();
  DxDbBlockTableRecord* ms = nullptr;
  dxdbOpenObject(ms, db->modelSpaceId(), DxDb::kForWrite);
  // Lines of texts down the page, a few to a row, with a mix of heights and colours.
  for (int i = 0; i < n; ++i) {
    double x = (i % 4) * 30.0, y = -(i / 4) * 4.0;
    auto* t = new DxDbText(DxGePoint3d(x, y, 0), ("Item " + std::to_string(i % 977)).c_str(), DxDbObjectId(),
                           i % 50 ? 2.5 : 3.5);
    t->setDatabaseDefaults(db);
    if (i % 13 == 0) t->setColorIndex(int16_t(1 + i % 7));
    ms->appendDxDbEntity(t);
    t->close();
  }
  ms->close();
  s.current()->undo.clear();
}

// Reads every text's list and writes its string back.
void walkTexts() {
  dx_name ss;
  resbuf* filter = dxutBuildList(RTDXF0, "TEXT", 0);
  if (dxedSSGet("X", nullptr, nullptr, filter, ss) != RTNORM) return;
  dxutRelRb(filter);
  int32_t n = 0;
  dxedSSLength(ss, &n);
  for (int32_t i = 0; i < n; ++i) {
    dx_name e;
    dxedSSName(ss, i, e);
    resbuf* list = dxdbEntGet(e);
    for (resbuf* rb = list; rb; rb = rb->rbnext)
      if (rb->restype == 1) {
        resbuf* mod = dxutBuildList(-1, e, 1, rb->resval.rstring, 0);
        dxdbEntMod(mod);
        dxutRelRb(mod);
      }
    dxutRelRb(list);
  }
  dxedSSFree(ss);
}

double runScript(const std::string& text) {
  Driver d;
  d.push(std::make_unique<TextSource>(text, "bench"));
  auto t0 = std::chrono::steady_clock::now();
  if (d.run() != 0) std::fprintf(stderr, "script failed: %s\n", d.failure().c_str());
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

int countOf(const char* kind) {
  int n = 0;
  for (DxDbObjectId id : currentSpaceEntities()) {
    DxDbObject* o = nullptr;
    if (dxdbOpenObject(o, id, DxDb::kForRead) != Dxad::eOk) continue;
    n += std::string(o->isA()->dxfName()) == kind;
    o->close();
  }
  return n;
}

}  // namespace

int main(int argc, char** argv) {
  auto dir = std::filesystem::temp_directory_path() / ("bench-text-" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  setenv("DRAXEL_APPDIR", dir.c_str(), 1);
  auto* stack = dxedRegCmds();
  stack->addCommand("BENCH", "txt2mtxt", "txt2mtxt", 0x2, express::commandBody("txt2mtxt"));
  stack->addCommand("BENCH", "tcount", "tcount", 0x2, express::commandBody("tcount"));
  stack->addCommand("BENCH", "WALKTEXT", "WALKTEXT", 0, walkTexts);

  int largest = argc > 1 ? std::atoi(argv[1]) : 100000;
  std::printf("%9s %10s %10s %6s %14s %10s %6s %14s\n", "texts", "walk s", "txt2mtxt s", "ratio",
              "ns/(n log2 n)", "tcount s", "ratio", "ns/(n log2 n)");
  for (int n = largest / 8; n <= largest; n *= 2) {
    // The best of three runs on a fresh drawing each: the machine is shared.
    double walk = 1e30, merge = 1e30, count = 1e30;
    bool mergeOk = true;
    for (int rep = 0; rep < 3; ++rep) {
      makeDrawing(n);
      walk = std::min(walk, runScript("WALKTEXT\n"));
      makeDrawing(n);
      merge = std::min(merge, runScript("txt2mtxt ALL \"\"\n"));
      mergeOk = mergeOk && countOf("MTEXT") == 1 && countOf("TEXT") == 0;
      makeDrawing(n);
      count = std::min(count, runScript("tcount ALL \"\" Y 1,1 P\n"));
    }
    double nlogn = double(n) * std::log2(double(n));
    std::printf("%9d %10.3f %10.3f %6.2f %14.2f %10.3f %6.2f %14.2f%s\n", n, walk, merge, merge / walk,
                merge * 1e9 / nlogn, count, count / walk, count * 1e9 / nlogn, mergeOk ? "" : "  (merge failed)");
  }
  std::filesystem::remove_all(dir);
  return 0;
}
