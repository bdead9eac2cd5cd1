// Whether every number of an object is finite: infinities and NaN never enter a
// drawing (no reader takes them back, and every later computation would spread them).
#include <cmath>

#include "host/db/database_impl.h"

namespace dx::db {
namespace {

class FiniteSink : public Sink {
 public:
  bool finite = true;
  void str(int, std::string_view) override {}
  void real(int, double v) override { finite &= std::isfinite(v); }
  void integer(int, int64_t) override {}
  void point(int, const double* p, int dims) override {
    for (int i = 0; i < dims; ++i) finite &= std::isfinite(p[i]);
  }
  void ref(int, DxDbObjectId) override {}
  void xtag(const XTag& t) override {
    if (t.dims) point(t.code, t.v, t.dims);
    else if (t.kind == dxf::Kind::Double) real(t.code, t.v[0]);
  }
};

}  // namespace

bool allFinite(const DxDbObject& o) {
  FiniteSink sink;
  sink.entityList = true;  // every field, defaults included
  emitObject(o, sink);
  return sink.finite;
}

}  // namespace dx::db
