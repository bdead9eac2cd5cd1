// Selection, undo and XCLIP over drawings of 10,000 to 1,000,000 entities. Counters report
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

// XCLIP of n references by one polyline in one command call, as superhatch clips a
// bucket; undone between runs so that every run makes the clips anew.
void BM_XclipReferences(benchmark::State& state) {
  int n = int(state.range(0));
  Session& s = Session::get();
  s.reset();
  output().setSink([](std::string_view) {});
  DxDbDatabase* db = s.current()->database();
  DxDbBlockTable* bt = nullptr;
  db->getSymbolTable(bt, DxDb::kForWrite);
  auto* tile = new DxDbBlockTableRecord();
  tile->setName("TILE");
  DxDbObjectId tileId;
  bt->add(tileId, tile);
  tile->appendDxDbEntity(new DxDbLine(DxGePoint3d(0, 0, 0), DxGePoint3d(1, 1, 0)));
  tile->close();
  bt->close();
  DxDbBlockTableRecord* ms = nullptr;
  dxdbOpenObject(ms, db->modelSpaceId(), DxDb::kForWrite);
  for (int i = 0; i < n; ++i) {
    auto* ref = new DxDbBlockReference(DxGePoint3d((i % 1000) * 2.0, (i / 1000) * 2.0, 0), tileId);
    ref->setDatabaseDefaults(db);
    ms->appendDxDbEntity(ref);
    ref->close();
  }
  auto* outline = new DxDbPolyline();
  outline->setDatabaseDefaults(db);
  for (auto [x, y] : {std::pair{0.5, 0.5}, {1500.0, 0.5}, {1500.0, 150.0}, {0.5, 150.0}})
    outline->addVertexAt(outline->numVerts(), DxGePoint2d(x, y));
  outline->setClosed(true);
  DxDbObjectId outlineId;
  ms->appendDxDbEntity(outlineId, outline);
  outline->close();
  ms->close();
  s.current()->undo.clear();
  resbuf* filter = dxutBuildList(RTDXF0, "INSERT", 0);
  dx_name ss, pl;
  dxedSSGet("X", nullptr, nullptr, filter, ss);
  dxutRelRb(filter);
  dxdbGetGdsName(pl, outlineId);
  bool first = true;
  for (auto _ : state) {
    if (!first) {
      state.PauseTiming();
      s.undoSteps(1);
      state.ResumeTiming();
    }
    first = false;
    if (dxedCommandS(RTSTR, "._XCLIP", RTPICKS, ss, RTSTR, "", RTSTR, "_N", RTSTR, "_S", RTENAME, pl, 0) != RTNORM)
      state.SkipWithError("XCLIP failed");
  }
  dxedSSFree(ss);
  state.counters["us/reference"] = benchmark::Counter(double(n) / 1e6, benchmark::Counter::kIsIterationInvariantRate |
                                                                           benchmark::Counter::kInvert);
}

}  // namespace

BENCHMARK(BM_FilteredSelection)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_WindowSelection)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_UndoOfChangeToAll)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3);
// 100,000 references may cost at most 12 times 10,000: compare us/reference.
BENCHMARK(BM_XclipReferences)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_MAIN();
