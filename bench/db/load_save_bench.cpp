// Load and save throughput of the drawing database, and its memory per entity.
//   dxdb_bench FILE.dxf            load FILE, save it again (to FILE.bench-out.dxf)
//   dxdb_bench --lines N           the same on a generated drawing of N lines
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "hostapi/db.h"

namespace {

long rssKb() {
  std::ifstream in("/proc/self/statm");
  long pages = 0, resident = 0;
  in >> pages >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

double seconds(std::chrono::steady_clock::time_point a) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - a).count();
}

// Processor time of this process: on a shared machine it shows the work done, where
// wall time also shows everyone else's.
double cpuSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

std::string makeLines(long n) {
  std::string path = std::filesystem::temp_directory_path() / ("dxdb_lines_" + std::to_string(n) + ".dxf");
  if (std::filesystem::exists(path)) return path;
  DxDbDatabase db(true);
  DxDbBlockTableRecord* ms = nullptr;
  dxdbOpenObject(ms, db.modelSpaceId(), DxDb::kForWrite);
  for (long i = 0; i < n; ++i) {
    double x = double(i % 1000) * 1.25, y = double(i / 1000) * 0.75;
    auto* l = new DxDbLine({x, y, 0}, {x + 0.5, y + 0.3333333333333333, 0});
    ms->appendDxDbEntity(l);
    l->close();
  }
  ms->close();
  if (db.saveAs(path.c_str()) != Dxad::eOk) {
    std::fprintf(stderr, "cannot write %s\n", path.c_str());
    std::exit(1);
  }
  return path;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: dxdb_bench FILE.dxf | --lines N\n");
    return 2;
  }
  std::string path = argv[1];
  if (path == "--lines" && argc > 2) {
    // Built in a child so that this process measures loading alone.
    long n = std::atol(argv[2]);
    pid_t pid = fork();
    if (pid == 0) {
      makeLines(n);
      std::_Exit(0);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    path = std::filesystem::temp_directory_path() / ("dxdb_lines_" + std::to_string(n) + ".dxf");
  }
  double mb = double(std::filesystem::file_size(path)) / 1e6;

  long rss0 = rssKb();
  auto t0 = std::chrono::steady_clock::now();
  double c0 = cpuSeconds();
  auto* db = new DxDbDatabase(false);
  if (db->readDwgFile(path.c_str()) != Dxad::eOk) {
    std::fprintf(stderr, "cannot read %s: %s\n", path.c_str(), db->lastError().c_str());
    return 1;
  }
  double load = seconds(t0);
  double loadCpu = cpuSeconds() - c0;
  long rss1 = rssKb();
  size_t objects = db->numObjects();

  std::string out = path + ".bench-out.dxf";
  auto t1 = std::chrono::steady_clock::now();
  double c1 = cpuSeconds();
  if (db->saveAs(out.c_str(), DxDb::kDHL_1032) != Dxad::eOk) {
    std::fprintf(stderr, "cannot save: %s\n", db->lastError().c_str());
    return 1;
  }
  double save = seconds(t1);
  double saveCpu = cpuSeconds() - c1;
  double outMb = double(std::filesystem::file_size(out)) / 1e6;
  std::filesystem::remove(out);
  struct rusage ru {};
  getrusage(RUSAGE_SELF, &ru);
  std::printf(
      "{\"file\": \"%s\", \"size_mb\": %.1f, \"objects\": %zu, \"load_s\": %.3f, \"load_mb_per_s\": %.1f, "
      "\"save_s\": %.3f, \"save_mb_per_s\": %.1f, \"load_cpu_s\": %.3f, \"save_cpu_s\": %.3f, "
      "\"load_cpu_mb_per_s\": %.1f, \"save_cpu_mb_per_s\": %.1f, \"bytes_per_object\": %.0f, \"peak_rss_mb\": %.0f}\n",
      path.c_str(), mb, objects, load, mb / load, save, outMb / save, loadCpu, saveCpu, mb / loadCpu, outMb / saveCpu,
      double(rss1 - rss0) * 1024.0 / double(objects), double(ru.ru_maxrss) / 1024.0);
  std::fflush(stdout);
  std::_Exit(0);  // the figures are out; tearing down a million objects is not measured
}
