// Load speed of the drawing database beside dxflib reading the same file into plain
// structures of its own. Both run in this process, one after the other, several times;
// the best processor time of each counts (the machine may be shared).
//   dxflib_compare_bench FILE.dxf [ROUNDS]
#include <dxflib/dl_creationadapter.h>
#include <dxflib/dl_dxf.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "hostapi/db.h"

namespace {

double cpuSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

// What a small viewer built on dxflib would keep: every entity's data and its layer.
struct Drawing : DL_CreationAdapter {
  template <class T>
  struct On {
    T data;
    std::string layer;
  };
  std::vector<DL_LayerData> layers;
  std::vector<DL_BlockData> blocks;
  std::vector<On<DL_LineData>> lines;
  std::vector<On<DL_ArcData>> arcs;
  std::vector<On<DL_CircleData>> circles;
  std::vector<On<DL_PolylineData>> polylines;
  std::vector<DL_VertexData> vertices;
  std::vector<On<DL_TextData>> texts;
  std::vector<On<DL_InsertData>> inserts;
  std::vector<On<DL_AttributeData>> attributes;
  std::vector<On<DL_MTextData>> mtexts;

  template <class T>
  void keep(std::vector<On<T>>& v, const T& d) {
    v.push_back({d, getAttributes().getLayer()});
  }

  void addLayer(const DL_LayerData& d) override { layers.push_back(d); }
  void addBlock(const DL_BlockData& d) override { blocks.push_back(d); }
  void addLine(const DL_LineData& d) override { keep(lines, d); }
  void addArc(const DL_ArcData& d) override { keep(arcs, d); }
  void addCircle(const DL_CircleData& d) override { keep(circles, d); }
  void addPolyline(const DL_PolylineData& d) override { keep(polylines, d); }
  void addVertex(const DL_VertexData& d) override { vertices.push_back(d); }
  void addText(const DL_TextData& d) override { keep(texts, d); }
  void addInsert(const DL_InsertData& d) override { keep(inserts, d); }
  void addAttribute(const DL_AttributeData& d) override { keep(attributes, d); }
  void addMText(const DL_MTextData& d) override { keep(mtexts, d); }

  size_t count() const {
    return lines.size() + arcs.size() + circles.size() + polylines.size() + texts.size() + inserts.size() +
           attributes.size() + mtexts.size();
  }
};

double loadDxflib(const std::string& path, size_t& entities) {
  double c0 = cpuSeconds();
  auto* d = new Drawing;
  DL_Dxf reader;
  if (!reader.in(path, d)) {
    std::fprintf(stderr, "dxflib cannot read %s\n", path.c_str());
    std::exit(1);
  }
  double t = cpuSeconds() - c0;
  entities = d->count();
  delete d;  // not timed, as for the host
  return t;
}

double loadHost(const std::string& path, size_t& objects) {
  double c0 = cpuSeconds();
  auto* db = new DxDbDatabase(false);
  if (db->readDwgFile(path.c_str()) != Dxad::eOk) {
    std::fprintf(stderr, "cannot read %s: %s\n", path.c_str(), db->lastError().c_str());
    std::exit(1);
  }
  double t = cpuSeconds() - c0;
  objects = db->numObjects();
  delete db;
  return t;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: dxflib_compare_bench FILE.dxf [ROUNDS]\n");
    return 2;
  }
  std::string path = argv[1];
  int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 3;
  double mb = double(std::filesystem::file_size(path)) / 1e6;
  double best[2] = {1e300, 1e300};
  size_t entities = 0, objects = 0;
  for (int i = 0; i < rounds; ++i) {
    best[0] = std::min(best[0], loadDxflib(path, entities));
    best[1] = std::min(best[1], loadHost(path, objects));
  }
  std::printf(
      "{\"file\": \"%s\", \"size_mb\": %.1f, \"rounds\": %d, \"dxflib_entities\": %zu, \"host_objects\": %zu, "
      "\"dxflib_cpu_s\": %.3f, \"host_cpu_s\": %.3f, \"dxflib_mb_per_s\": %.1f, \"host_mb_per_s\": %.1f, "
      "\"host_faster_by\": %.2f}\n",
      path.c_str(), mb, rounds, entities, objects, best[0], best[1], mb / best[0], mb / best[1], best[0] / best[1]);
  return 0;
}
