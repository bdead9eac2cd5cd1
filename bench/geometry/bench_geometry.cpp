// BOUNDARY with one pick on a floor plan of 100,000 and 1,000,000 wall lines, and the
// extents of 1,000,000 mixed entities. Compare the sizes for growth: a pick should cost
// about the same on both (the grid keeps it local), extents a constant time per entity.
#include <benchmark/benchmark.h>

#include <cmath>

#include "host/editor/core/session.h"

using namespace dx::ed;

namespace {

DxDbDatabase* freshDrawing() {
  Session& s = Session::get();
  s.reset();
  output().setSink([](std::string_view t) { if (getenv("BENCH_SHOW")) fwrite(t.data(), 1, t.size(), stderr); });
  return s.current()->database();
}

void append(DxDbBlockTableRecord* ms, DxDbDatabase* db, DxDbEntity* e) {
  e->setDatabaseDefaults(db);
  ms->appendDxDbEntity(e);
  e->close();
}

// Rooms of 10 by 10 on a k by k grid, every wall between two rooms a line of its own;
// about n lines in all.
int makeFloorPlan(int n) {
  DxDbDatabase* db = freshDrawing();
  int k = int(std::sqrt(n / 2.0));
  DxDbBlockTableRecord* ms = nullptr;
  dxdbOpenObject(ms, db->modelSpaceId(), DxDb::kForWrite);
  for (int i = 0; i <= k; ++i)
    for (int j = 0; j < k; ++j) {
      append(ms, db, new DxDbLine({j * 10.0, i * 10.0, 0}, {j * 10.0 + 10, i * 10.0, 0}));
      append(ms, db, new DxDbLine({i * 10.0, j * 10.0, 0}, {i * 10.0, j * 10.0 + 10, 0}));
    }
  ms->close();
  Session::get().current()->undo.clear();
  return k;
}

void BM_BoundaryOnePick(benchmark::State& state) {
  int k = makeFloorPlan(int(state.range(0)));
  dx_point p = {k / 2 * 10.0 + 3, k / 2 * 10.0 + 4, 0};
  for (auto _ : state) {
    if (dxedCommandS(RTSTR, ".-BOUNDARY", RTSTR, "_A", RTSTR, "_IS", RTSTR, "_Y", RTSTR, "_OB", RTSTR, "_OPO",
                     RTSTR, "", RT3DPOINT, p, RTSTR, "", 0) != RTNORM)
      state.SkipWithError("no boundary");
  }
  state.counters["lines"] = double(2 * k * (k + 1));
}

void BM_GeomExtents(benchmark::State& state) {
  int n = int(state.range(0));
  DxDbDatabase* db = freshDrawing();
  DxDbBlockTableRecord* ms = nullptr;
  dxdbOpenObject(ms, db->modelSpaceId(), DxDb::kForWrite);
  // A block of a few curves for the references.
  DxDbBlockTable* bt = nullptr;
  db->getSymbolTable(bt, DxDb::kForWrite);
  auto* blk = new DxDbBlockTableRecord();
  blk->setName("SYM");
  DxDbObjectId blkId;
  bt->add(blkId, blk);
  append(blk, db, new DxDbLine({0, 0, 0}, {1, 1, 0}));
  append(blk, db, new DxDbCircle({0.5, 0.5, 0}, DxGeVector3d::kZAxis, 0.4));
  blk->close();
  bt->close();
  std::vector<DxDbObjectId> ids;
  ids.reserve(size_t(n));
  for (int i = 0; i < n; ++i) {
    double x = (i % 1000) * 3.0, y = (i / 1000) * 3.0;
    DxDbEntity* e = nullptr;
    switch (i % 7) {
      case 0: e = new DxDbLine({x, y, 0}, {x + 1, y + 2, 0}); break;
      case 1: e = new DxDbArc({x, y, 0}, 1, 0.3, 2.5); break;
      case 2: e = new DxDbCircle({x, y, 0}, DxGeVector3d::kZAxis, 1); break;
      case 3: {
        auto* pl = new DxDbPolyline(3);
        pl->addVertexAt(0, {x, y}, 0.5);
        pl->addVertexAt(1, {x + 1, y}, 0);
        pl->addVertexAt(2, {x + 1, y + 1}, -0.3);
        e = pl;
        break;
      }
      case 4: e = new DxDbEllipse({x, y, 0}, DxGeVector3d::kZAxis, {1, 0.5, 0}, 0.5); break;
      case 5: e = new DxDbText({x, y, 0}, "Room 12", DxDbObjectId(), 0.25, 0.3); break;
      default: {
        auto* ref = new DxDbBlockReference({x, y, 0}, blkId);
        ref->setRotation(0.4);
        e = ref;
      }
    }
    e->setDatabaseDefaults(db);
    DxDbObjectId id;
    ms->appendDxDbEntity(id, e);
    e->close();
    ids.push_back(id);
  }
  ms->close();
  for (auto _ : state) {
    double sum = 0;
    for (DxDbObjectId id : ids) {
      DxDbEntity* e = nullptr;
      if (dxdbOpenObject(e, id, DxDb::kForRead) != Dxad::eOk) continue;
      DxGePoint3d lo, hi;
      if (e->getGeomExtents(lo, hi) == Dxad::eOk) sum += hi.x - lo.x;
      e->close();
    }
    benchmark::DoNotOptimize(sum);
  }
  state.counters["ns/entity"] =
      benchmark::Counter(double(n), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

}  // namespace

BENCHMARK(BM_BoundaryOnePick)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_GeomExtents)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK_MAIN();
