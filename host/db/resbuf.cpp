// Result-buffer chains.
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "host/dxf/tags.h"
#include "hostapi/db.h"

namespace {
char* dupString(const char* s) {
  if (!s) s = "";
  size_t n = std::strlen(s) + 1;
  char* d = static_cast<char*>(std::malloc(n));
  std::memcpy(d, s, n);
  return d;
}
}  // namespace

int dxutGroupCodeType(int code) {
  switch (code) {
    case RTNONE: case RTVOID: case RTLB: case RTLE: case RTDOTE: case RTNIL: case RTT:
      return RTNONE;
    case RTREAL: case RTANG: return RTREAL;
    case RTPOINT: return RTPOINT;
    case RT3DPOINT: return RT3DPOINT;
    case RTSHORT: return RTSHORT;
    case RTLONG: return RTLONG;
    case RTSTR: case RTDXF0: return RTSTR;
    case RTENAME: case RTPICKS: return RTENAME;
    case RTINT64: return RTINT64;
    default: break;
  }
  if (code == -1 || code == -2) return RTENAME;
  if (code == -3 || code == -4) return code == -4 ? RTSTR : RTNONE;
  if (code < 0) return RTNONE;
  if (dx::dxf::isPointCode(code)) return RT3DPOINT;
  // Handles of extended data travel as their text.
  if (dx::dxf::isReferenceCode(code) && code != 1005) return RTENAME;
  switch (dx::dxf::kindOf(code)) {
    case dx::dxf::Kind::Double: return RTREAL;
    case dx::dxf::Kind::Int16: case dx::dxf::Kind::Bool: return RTSHORT;
    case dx::dxf::Kind::Int32: return RTLONG;
    case dx::dxf::Kind::Int64: return RTINT64;
    case dx::dxf::Kind::Binary: return RTSTR;
    default: return RTSTR;
  }
}

resbuf* dxutNewRb(int type) {
  auto* rb = static_cast<resbuf*>(std::calloc(1, sizeof(resbuf)));
  rb->restype = short(type);
  return rb;
}

int dxutRelRb(resbuf* rb) {
  while (rb) {
    resbuf* next = rb->rbnext;
    if (dxutGroupCodeType(rb->restype) == RTSTR) std::free(rb->resval.rstring);
    std::free(rb);
    rb = next;
  }
  return RTNORM;
}

resbuf* dxutDupRb(const resbuf* rb) {
  resbuf *head = nullptr, *tail = nullptr;
  for (; rb; rb = rb->rbnext) {
    resbuf* c = dxutNewRb(rb->restype);
    c->resval = rb->resval;
    if (dxutGroupCodeType(rb->restype) == RTSTR) c->resval.rstring = rb->resval.rstring ? dupString(rb->resval.rstring) : nullptr;
    (tail ? tail->rbnext : head) = c;
    tail = c;
  }
  return head;
}

resbuf* dxutBuildList(int type, ...) {
  va_list ap;
  va_start(ap, type);
  resbuf *head = nullptr, *tail = nullptr;
  for (int t = type; t != 0; t = va_arg(ap, int)) {
    // RTDXF0 stands for group 0, which would end the argument list.
    resbuf* rb = dxutNewRb(t == RTDXF0 ? 0 : t);
    switch (dxutGroupCodeType(t)) {
      case RTREAL: rb->resval.rreal = va_arg(ap, double); break;
      case RTSHORT: rb->resval.rint = short(va_arg(ap, int)); break;
      case RTLONG: rb->resval.rlong = int32_t(va_arg(ap, int)); break;
      case RTINT64: rb->resval.rlong64 = va_arg(ap, int64_t); break;
      case RTSTR: rb->resval.rstring = dupString(va_arg(ap, const char*)); break;
      case RTPOINT:
      case RT3DPOINT: {
        const double* p = va_arg(ap, const double*);
        rb->resval.rpoint[0] = p[0];
        rb->resval.rpoint[1] = p[1];
        rb->resval.rpoint[2] = dxutGroupCodeType(t) == RTPOINT ? 0.0 : p[2];
        break;
      }
      case RTENAME: {
        const int64_t* n = va_arg(ap, const int64_t*);
        rb->resval.rlname[0] = n[0];
        rb->resval.rlname[1] = n[1];
        break;
      }
      default: break;
    }
    (tail ? tail->rbnext : head) = rb;
    tail = rb;
  }
  va_end(ap);
  return head;
}
