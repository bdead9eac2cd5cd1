// Import of the JWW reader benchmark's drawing (about 100 MB) into a new drawing, in
// the three steps of FILEIMP: reading the file, translating it into the database and
// saving the result as DXF. Each step is timed on its own, best of the runs.
//
//   jww_import_bench                        1.4 million records, 3 runs
//   JWW_BENCH_RECORDS=300000 JWW_BENCH_RUNS=1 jww_import_bench
//
// Translating must cost no more than saving the result; the program exits with 1 when
// it does.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "bench/jww/jww_bench_drawing.h"
#include "express/jww/jww_file_reader.h"
#include "express/jww/jww_file_writer.h"
#include "express/jww/jww_importer.h"

namespace {

std::size_t FromEnv(const char* name, std::size_t fallback) {
  const char* v = std::getenv(name);
  return v ? std::strtoull(v, nullptr, 10) : fallback;
}

double Seconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

}  // namespace

int main() {
  const std::size_t records = FromEnv("JWW_BENCH_RECORDS", 1'400'000);
  const std::size_t runs = std::max<std::size_t>(1, FromEnv("JWW_BENCH_RUNS", 3));
  const std::string stem = "/tmp/jww-import-bench-" + std::to_string(getpid());
  const std::string jww = stem + ".jww", dxf = stem + ".dxf";
  {
    JwwFileWriter writer;
    if (!writer.Write(jww, MakeBenchDrawing(records))) {
      std::fprintf(stderr, "cannot write %s: %s\n", jww.c_str(), writer.Error().c_str());
      return 2;
    }
  }
  double bestRead = 1e30, bestTranslate = 1e30, bestSave = 1e30;
  std::size_t entities = 0;
  for (std::size_t run = 0; run < runs; ++run) {
    auto start = std::chrono::steady_clock::now();
    auto doc = std::make_unique<JwwDocument>();
    JwwFileReader reader;
    if (!reader.Read(jww, *doc)) {
      std::fprintf(stderr, "%s\n", reader.Error().detail.c_str());
      return 2;
    }
    bestRead = std::min(bestRead, Seconds(start));

    auto db = std::make_unique<DxDbDatabase>(true);
    start = std::chrono::steady_clock::now();
    jww::Importer importer(db.get(), *doc);
    jww::ImportResult result;
    if (!importer.Import({0, 0, 0}, {}, result)) {
      std::fprintf(stderr, "import failed: %s\n", result.failure.c_str());
      return 2;
    }
    bestTranslate = std::min(bestTranslate, Seconds(start));
    const jww::ImportCounts& n = result.counts;
    entities = std::size_t(n.lines + n.circles + n.dots + n.texts + n.solids + n.dimensions + n.blocks);

    start = std::chrono::steady_clock::now();
    if (db->saveAs(dxf.c_str()) != Dxad::eOk) {
      std::fprintf(stderr, "save failed: %s\n", db->lastError().c_str());
      return 2;
    }
    bestSave = std::min(bestSave, Seconds(start));
  }
  double jwwMb = double(std::filesystem::file_size(jww)) / 1e6;
  double dxfMb = double(std::filesystem::file_size(dxf)) / 1e6;
  std::remove(jww.c_str());
  std::remove(dxf.c_str());
  std::printf("JWW file      %8.1f MB, %zu records\n", jwwMb, records);
  std::printf("entities      %8zu in model space\n", entities);
  std::printf("read          %8.3f s\n", bestRead);
  std::printf("translate     %8.3f s\n", bestTranslate);
  std::printf("save DXF      %8.3f s   (%.1f MB)\n", bestSave, dxfMb);
  std::printf("best of %zu runs; translate / save = %.2f\n", runs, bestTranslate / bestSave);
  return bestTranslate <= bestSave ? 0 : 1;
}
