// Selection and undo over drawings of 100,000 to 1,000,000 entities. Counters report
// the time per entity; compare the two sizes for growth.
#include <benchmark/benchmark.h>

#include "host/editor/core/session.h"

using namespace dx::ed;

namespace {

// A fresh drawing of n lines on two layers, as a grid.
void makeDrawing(int n) {
  Session& s = Session::get();
  s.reset();
  output().setSink([](std::string_view) {});
  DxDbDatabase* db = s.current()->database();
  DxDbLayerTable* lt = nullptr;
  db->getSymbolTable(lt, DxDb::kForWrite);
  auto* rec = new DxDbLayerTableRecord();
  rec->setName("WALLS");
  DxDbObjectId walls;
  lt->add(walls, rec);
  rec->close();
  lt->close();
  DxDbBlockTableRecord* ms = nullptr;
  dxdbOpenObject(ms, db->modelSpaceId(), DxDb::kForWrite);
  int side = 1000;
  for (int i = 0; i < n; ++i) {
    double x = (i % side) * 2.0, y = (i / side) * 2.0;
    auto* l = new DxDbLine(DxGePoint3d(x, y, 0), DxGePoint3d(x + 1, y + 1, 0));
    l->setDatabaseDefaults(db);
    if (i % 2) l->setLayer(walls);
    ms->appendDxDbEntity(l);
    l->close();
  }
  ms->close();
  // The drawing as loaded is not an undo step.
  s.current()->undo.clear();
}

void BM_FilteredSelection(benchmark::State& state) {
  int n = int(state.range(0));
  makeDrawing(n);
  resbuf* filter = dxutBuildList(-4, "<AND", RTDXF0, "LINE", 8, "WAL*", -4, "AND>", 0);
  for (auto _ : state) {
    dx_name ss;
    if (dxedSSGet("X", nullptr, nullptr, filter, ss) != RTNORM) state.SkipWithError("no selection");
    int32_t len = 0;
    dxedSSLength(ss, &len);
    if (len != n / 2) state.SkipWithError("wrong count");
    dxedSSFree(ss);
  }
  dxutRelRb(filter);
  state.counters["ns/entity"] = benchmark::Counter(double(n), benchmark::Counter::kIsIterationInvariantRate |
                                                                  benchmark::Counter::kInvert);
}

void BM_WindowSelection(benchmark::State& state) {
  int n = int(state.range(0));
  makeDrawing(n);
  // Half the grid's rows.
  dx_point a = {-1, -1, 0}, b = {2001, double(n / 1000) + 0.5, 0};
  for (auto _ : state) {
    dx_name ss;
    if (dxedSSGet("W", a, b, nullptr, ss) != RTNORM) state.SkipWithError("no selection");
    dxedSSFree(ss);
  }
  state.counters["ns/entity"] = benchmark::Counter(double(n), benchmark::Counter::kIsIterationInvariantRate |
                                                                  benchmark::Counter::kInvert);
}

void BM_UndoOfChangeToAll(benchmark::State& state) {
  int n = int(state.range(0));
  makeDrawing(n);
  Session& s = Session::get();
  Document* doc = s.current();
  auto ids = currentSpaceEntities();
  for (auto _ : state) {
    state.PauseTiming();
    // A command that changes every entity: one undo step.
    uint64_t start = doc->journalPosition();
    for (auto id : ids) {
      DxDbEntity* e = nullptr;
      dxdbOpenObject(e, id, DxDb::kForWrite);
      e->setColorIndex(3);
      e->close();
    }
    doc->undo.commandEnded("CHPROP", start, doc->undo.size(), doc->journalPosition());
    state.ResumeTiming();
    s.undoSteps(1);
  }
  state.counters["ns/entity"] = benchmark::Counter(double(n), benchmark::Counter::kIsIterationInvariantRate |
                                                                  benchmark::Counter::kInvert);
}

}  // namespace

BENCHMARK(BM_FilteredSelection)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_WindowSelection)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_UndoOfChangeToAll)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_MAIN();
