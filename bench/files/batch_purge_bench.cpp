// Batch purge throughput against the host's plain load and save of the same files.
//   batpurge_bench [FILES [LINES]]   FILES copies (100) of a drawing of LINES lines (13000,
//                                    about 2 MB) with unused layers and blocks to purge
// Reports MB/s by wall time and by processor time (on a shared machine the second shows
// the work done), and the ratio of purge to plain load and save.
#include <ctime>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "express/files/batch_purge.h"
#include "hostapi/db.h"

namespace {

namespace fs = std::filesystem;

double cpuSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

void fail(const std::string& what) {
  std::fprintf(stderr, "batpurge_bench: %s\n", what.c_str());
  std::exit(1);
}

std::string makeDrawing(const fs::path& dir, long lines) {
  DxDbDatabase db(true);
  DxDbLayerTable* layers = nullptr;
  db.getSymbolTable(layers, DxDb::kForWrite);
  for (int i = 0; i < 40; ++i) {
    auto* l = new DxDbLayerTableRecord();
    l->setName(("LAYER-" + std::to_string(i)).c_str());
    layers->add(l);
    l->close();
  }
  layers->close();
  DxDbBlockTable* blocks = nullptr;
  db.getSymbolTable(blocks, DxDb::kForWrite);
  for (int i = 0; i < 20; ++i) {
    auto* b = new DxDbBlockTableRecord();
    b->setName(("UNUSED-" + std::to_string(i)).c_str());
    blocks->add(b);
    auto* l = new DxDbLine({0, 0, 0}, {1, 1, 0});
    b->appendDxDbEntity(l);
    l->close();
    b->close();
  }
  blocks->close();
  DxDbBlockTableRecord* ms = nullptr;
  dxdbOpenObject(ms, db.modelSpaceId(), DxDb::kForWrite);
  for (long i = 0; i < lines; ++i) {
    double x = double(i % 1000) * 1.25, y = double(i / 1000) * 0.75;
    auto* l = new DxDbLine({x, y, 0}, {x + 0.5, y + 0.3333333333333333, 0});
    l->setLayer(("LAYER-" + std::to_string(i % 20)).c_str());  // half the layers stay unused
    ms->appendDxDbEntity(l);
    l->close();
  }
  ms->close();
  std::string path = (dir / "source.dxf").string();
  if (db.saveAs(path.c_str()) != Dxad::eOk) fail("cannot write " + path);
  return path;
}

std::vector<std::string> copies(const fs::path& dir, const std::string& source, int n) {
  fs::remove_all(dir / "set");
  fs::create_directories(dir / "set");
  std::vector<std::string> out;
  for (int i = 0; i < n; ++i) {
    fs::path p = dir / "set" / ("plan" + std::to_string(i) + ".dxf");
    fs::copy_file(source, p);
    out.push_back(p.string());
  }
  return out;
}

struct Timing {
  double wall, cpu;
};

template <class F>
Timing timed(F&& f) {
  auto t0 = std::chrono::steady_clock::now();
  double c0 = cpuSeconds();
  f();
  return {std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count(), cpuSeconds() - c0};
}

}  // namespace

int main(int argc, char** argv) {
  int files = argc > 1 ? std::atoi(argv[1]) : 100;
  long lines = argc > 2 ? std::atol(argv[2]) : 13000;
  fs::path dir = fs::temp_directory_path() / ("batpurge_bench_" + std::to_string(::getpid()));
  fs::create_directories(dir);
  std::string source = makeDrawing(dir, lines);
  double mb = double(fs::file_size(source)) * files / 1e6;

  std::vector<std::string> set = copies(dir, source, files);
  Timing plain = timed([&] {
    for (const std::string& p : set) {
      DxDbDatabase db(false, true);
      if (db.readDwgFile(p.c_str()) != Dxad::eOk || db.saveAs(p.c_str(), DxDb::kDHL_1032) != Dxad::eOk)
        fail("plain load and save failed on " + p);
    }
  });

  set = copies(dir, source, files);
  std::vector<express::batpurge::Row> rows;
  for (const std::string& p : set) rows.push_back({p, true, false, express::batpurge::kNotDone});
  express::batpurge::RunResult run;
  Timing purge = timed([&] { run = express::batpurge::RunPurge(rows, 64, (dir / "BatPurge.log").string(), {}, {}); });
  if (run.succeeded != files) fail("the purge failed on some files");

  std::printf("%d files, %.2f MB in all (%.2f MB each)\n", files, mb, mb / files);
  std::printf("plain load+save: %7.1f MB/s wall, %7.1f MB/s processor\n", mb / plain.wall, mb / plain.cpu);
  std::printf("batch purge:     %7.1f MB/s wall, %7.1f MB/s processor\n", mb / purge.wall, mb / purge.cpu);
  std::printf("purge / plain:   %7.0f %% wall, %7.0f %% processor\n", 100 * plain.wall / purge.wall,
              100 * plain.cpu / purge.cpu);
  fs::remove_all(dir);
  return 0;
}
