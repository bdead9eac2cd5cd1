// XRECORD: any groups an application stores, kept as they are.
#include <cmath>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbXrecord, DxDbObject, "XRECORD")

namespace dx::db {

template <>
struct Access::Schemas<DxDbXrecord> {
  static void define() {
    object<DxDbXrecord>("XRECORD",
                        {sub("AcDbXrecord", {req<&DxDbXrecord::m_cloning>(280, "cloning")})});
  }
};

void defineXrecordSchemas() { Access::Schemas<DxDbXrecord>::define(); }

}  // namespace dx::db

ErrorStatus DxDbXrecord::rbChain(resbuf** chain) const {
  *chain = nullptr;
  if (!m_extras) return Dxad::eOk;
  resbuf* tail = nullptr;
  for (const auto& r : m_extras->runs)
    for (const auto& t : r.tags) {
      resbuf* rb = resbufFromXTag(t);
      (tail ? tail->rbnext : *chain) = rb;
      tail = rb;
    }
  return Dxad::eOk;
}
ErrorStatus DxDbXrecord::setFromRbChain(const resbuf* chain) {
  assertWriteEnabled();
  auto& ex = Access::extrasMut(*this);
  ex.runs.clear();
  ExtraRun run;
  run.subclass = 0;
  run.afterField = 0;
  for (const resbuf* rb = chain; rb; rb = rb->rbnext) {
    XTag t = xtagFromResbuf(rb);
    run.tags.push_back(std::move(t));
  }
  ex.runs.push_back(std::move(run));
  return Dxad::eOk;
}
