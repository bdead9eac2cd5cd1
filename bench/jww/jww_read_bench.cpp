// Read speed and memory of the JWW reader on a generated drawing of about 100 MB.
//
//   jww_read_bench                      both file kinds, throughput and peak memory
//   JWW_BENCH_RECORDS=300000 jww_read_bench   a smaller drawing
//
// Throughput is measured with the file in the page cache. Peak memory is the growth of
// the process's resident set during one read (VmHWM after clearing it), against the
// bytes the records occupy once read.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <string>

#include "express/jww/jww_file_reader.h"
#include "express/jww/jww_file_writer.h"
#include "bench/jww/jww_bench_drawing.h"

namespace {

std::size_t RecordTarget() {
  const char* env = std::getenv("JWW_BENCH_RECORDS");
  return env ? std::strtoull(env, nullptr, 10) : 1'400'000;
}

// Generated files, removed when the benchmark ends.
struct BenchFile {
  std::string path;
  std::size_t size = 0;
  ~BenchFile() {
    if (!path.empty()) std::remove(path.c_str());
  }
};

const BenchFile& File(bool unicode) {
  static std::map<bool, std::unique_ptr<BenchFile>> files;
  auto& f = files[unicode];
  if (f) return *f;
  f = std::make_unique<BenchFile>();
  std::vector<std::uint8_t> bytes;
  {
    JwwDocument doc = MakeBenchDrawing(RecordTarget());
    if (unicode) doc.version = 700;
    JwwWriteOptions options;
    options.unicodeStrings = unicode;
    JwwFileWriter writer(options);
    if (!writer.WriteBuffer(doc, bytes)) std::abort();
  }
  f->path = "/tmp/jww-bench-" + std::to_string(getpid()) + (unicode ? "-unicode" : "-cp932") + ".jww";
  std::ofstream(f->path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  f->size = bytes.size();
  malloc_trim(0);
  return *f;
}

template <class T>
std::size_t VectorBytes(const std::vector<T>& v) {
  return v.capacity() * sizeof(T);
}
std::size_t StringHeap(const std::string& s) {
  return s.capacity() > 15 ? s.capacity() + 1 : 0;  // beyond the in-place buffer
}
std::size_t SetBytes(const JwwEntitySet& e) {
  std::size_t n = VectorBytes(e.lines) + VectorBytes(e.circles) + VectorBytes(e.dots) +
                  VectorBytes(e.texts) + VectorBytes(e.solids) + VectorBytes(e.measures) +
                  VectorBytes(e.blocks);
  for (const JwwText& t : e.texts) n += StringHeap(t.fontName) + StringHeap(t.content);
  for (const JwwMeasure& m : e.measures) n += StringHeap(m.text.fontName) + StringHeap(m.text.content);
  return n;
}
// Bytes the records of a document occupy: arrays, their strings and the definitions.
std::size_t RecordBytes(const JwwDocument& doc) {
  std::size_t n = SetBytes(doc.entities) + VectorBytes(doc.blockDefs) + VectorBytes(doc.blockDefByNumber);
  for (const JwwBlockDef& def : doc.blockDefs) n += SetBytes(def.entities) + StringHeap(def.name);
  return n;
}

long StatusKb(const char* key) {
  std::ifstream status("/proc/self/status");
  std::string line;
  std::size_t len = std::strlen(key);
  while (std::getline(status, line))
    if (line.compare(0, len, key) == 0) return std::atol(line.c_str() + len + 1);
  return -1;
}
bool ResetPeakRss() {
  std::ofstream clear("/proc/self/clear_refs");
  clear << "5";
  return static_cast<bool>(clear);
}

void BM_ReadJww(benchmark::State& state, bool unicode) {
  const BenchFile& file = File(unicode);
  std::size_t records = 0;
  for (auto _ : state) {
    auto doc = std::make_unique<JwwDocument>();
    JwwFileReader reader;
    if (!reader.Read(file.path, *doc)) {
      state.SkipWithError(reader.Error().detail.c_str());
      break;
    }
    records = doc->entities.RecordCount();
    benchmark::DoNotOptimize(doc.get());
    state.PauseTiming();
    doc.reset();
    state.ResumeTiming();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * file.size));
  state.counters["file_MB"] = file.size / 1e6;
  state.counters["records"] = static_cast<double>(records);
}

// One read, watched for its peak resident set.
void BM_ReadJwwPeakMemory(benchmark::State& state, bool unicode) {
  const BenchFile& file = File(unicode);
  for (auto _ : state) {
    state.PauseTiming();
    malloc_trim(0);
    long before = StatusKb("VmRSS:");
    std::size_t heapBefore = mallinfo2().uordblks;
    if (!ResetPeakRss()) {
      state.SkipWithError("cannot reset the peak resident set (/proc/self/clear_refs)");
      break;
    }
    state.ResumeTiming();
    auto doc = std::make_unique<JwwDocument>();
    JwwFileReader reader;
    bool ok = reader.Read(file.path, *doc);
    state.PauseTiming();
    long peak = StatusKb("VmHWM:");
    std::size_t heapAfter = mallinfo2().uordblks;
    if (!ok) {
      state.SkipWithError(reader.Error().detail.c_str());
      break;
    }
    double recordMb = RecordBytes(*doc) / 1e6;
    double peakMb = (peak - before) * 1024 / 1e6;
    state.counters["records_MB"] = recordMb;
    state.counters["peak_growth_MB"] = peakMb;
    state.counters["peak_ratio"] = peakMb / recordMb;
    state.counters["heap_growth_MB"] = (heapAfter - heapBefore) / 1e6;
    state.counters["file_MB"] = file.size / 1e6;
    doc.reset();
    state.ResumeTiming();
  }
}

BENCHMARK_CAPTURE(BM_ReadJwwPeakMemory, cp932, false)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ReadJww, cp932, false)->Unit(benchmark::kMillisecond)->MinTime(3)->UseRealTime();
BENCHMARK_CAPTURE(BM_ReadJwwPeakMemory, unicode, true)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ReadJww, unicode, true)->Unit(benchmark::kMillisecond)->MinTime(3)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
