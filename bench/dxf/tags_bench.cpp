// Tag read and write throughput on ~50 MB of typical entity tags.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "host/dxf/tags.h"

namespace {

using namespace dx::dxf;

// Lines, polylines, circles and texts as a 2018 drawing holds them: handles, owners,
// subclass markers, layers, and coordinates with the digits real drawings have. The
// random numbers are drawn up front so that the write benchmark times the writer.
// Coordinates are either computed (all 17 digits) or entered and snapped (at most
// four decimals); drawings hold both, `computedShare` says in which proportion.
struct Numbers {
  std::vector<double> coords;
  std::vector<int> kinds;
  explicit Numbers(double computedShare) {
    std::mt19937_64 rng(1);
    std::uniform_real_distribution<double> coord(-5000.0, 5000.0), unit(0.0, 1.0);
    std::uniform_int_distribution<int> pick(0, 9), decimals(0, 4);
    for (int i = 0; i < (1 << 20); ++i) {
      double c = coord(rng);
      if (unit(rng) >= computedShare) {
        double scale = std::pow(10.0, decimals(rng));
        c = std::round(c * scale) / scale;
      }
      coords.push_back(c);
    }
    for (int i = 0; i < (1 << 16); ++i) kinds.push_back(pick(rng));
  }
};

void writeEntities(TagWriter& w, size_t targetBytes, const Numbers& numbers) {
  size_t ci = 0, ki = 0;
  auto next = [&] { return numbers.coords[ci++ & ((1 << 20) - 1)]; };
  uint64_t handle = 0x100;
  const char* layers[] = {"0", "WALLS", "DOORS", "A-ANNO-TEXT", "S-GRID"};
  while (w.buffer().size() < targetBytes) {
    int kind = numbers.kinds[ki++ & ((1 << 16) - 1)];
    const char* type = kind < 5 ? "LINE" : kind < 8 ? "LWPOLYLINE" : kind < 9 ? "CIRCLE" : "TEXT";
    w.str(0, type);
    w.handle(5, handle++);
    w.handle(330, 0x1F);
    w.str(100, "AcDbEntity");
    w.str(8, layers[kind % 5]);
    if (kind < 5) {
      w.str(100, "AcDbLine");
      w.point(10, next(), next(), 0.0);
      w.point(11, next(), next(), 0.0);
    } else if (kind < 8) {
      w.str(100, "AcDbPolyline");
      w.integer(90, 6);
      w.integer(70, 1);
      w.real(43, 0.0);
      for (int i = 0; i < 6; ++i) w.point2(10, next(), next());
    } else if (kind < 9) {
      w.integer(62, 3);
      w.str(100, "AcDbCircle");
      w.point(10, next(), next(), 0.0);
      w.real(40, 2.5 + kind);
    } else {
      w.str(100, "AcDbText");
      w.point(10, next(), next(), 0.0);
      w.real(40, 2.5);
      w.str(1, "Room 1.23 - Kitchen");
      w.real(50, 90.0);
      w.str(100, "AcDbText");
    }
  }
  w.str(0, "EOF");
}

// Index 0: half computed, half snapped coordinates; index 1: all computed.
const double kComputedShare[] = {0.5, 1.0};

const Numbers& numbers(int set) {
  static const Numbers sets[] = {Numbers(kComputedShare[0]), Numbers(kComputedShare[1])};
  return sets[set];
}

const std::string& sampleData(int set) {
  static std::string data[2];
  if (data[set].empty()) {
    TagWriter w;
    writeEntities(w, 50u << 20, numbers(set));
    data[set] = w.buffer();
  }
  return data[set];
}

void label(benchmark::State& state) {
  state.SetLabel(state.range(0) == 0 ? "half computed coordinates" : "all computed coordinates");
}

void BM_ReadTags(benchmark::State& state) {
  const std::string& data = sampleData(int(state.range(0)));
  size_t tags = 0;
  for (auto _ : state) {
    state.PauseTiming();
    std::string copy = data;
    state.ResumeTiming();
    std::string err;
    auto r = TagReader::fromBuffer(std::move(copy), err);
    Tag t;
    double sum = 0;
    tags = 0;
    while (r->next(t)) {
      sum += t.real;
      ++tags;
    }
    if (!r->error().empty()) state.SkipWithError(r->error().c_str());
    benchmark::DoNotOptimize(sum);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
  state.counters["tags"] = double(tags);
  label(state);
}
BENCHMARK(BM_ReadTags)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// Rewrites tags read back from the sample: what saving a loaded drawing does.
void BM_WriteTags(benchmark::State& state) {
  struct Stored {
    Tag tag;
    std::string text;
  };
  const std::string& data = sampleData(int(state.range(0)));
  std::vector<Stored> tags;
  {
    std::string err;
    auto r = TagReader::fromBuffer(data, err);
    Tag t;
    while (r->next(t)) tags.push_back({t, std::string(t.text)});
    for (auto& s : tags) s.tag.text = s.text;
  }
  size_t bytes = 0;
  for (auto _ : state) {
    TagWriter w;
    w.buffer().reserve(data.size());
    for (const auto& s : tags) w.tag(s.tag);
    bytes = w.buffer().size();
    benchmark::DoNotOptimize(w.buffer().data());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
  label(state);
}
BENCHMARK(BM_WriteTags)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// The typed calls an entity's writer makes, into a buffer that grows as it goes.
void BM_WriteEntities(benchmark::State& state) {
  const Numbers& set = numbers(int(state.range(0)));
  size_t bytes = 0;
  for (auto _ : state) {
    TagWriter w;
    writeEntities(w, 50u << 20, set);
    bytes = w.buffer().size();
    benchmark::DoNotOptimize(w.buffer().data());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
  label(state);
}
BENCHMARK(BM_WriteEntities)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
