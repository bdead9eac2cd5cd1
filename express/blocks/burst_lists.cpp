// The group-code side of BURST: what a reference hands down to its pieces, and the text
// that takes an attribute's place.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "express/blocks/burst.h"

namespace express {
namespace {

const resbuf* findGroup(const resbuf* list, int code) {
  for (const resbuf* rb = list; rb; rb = rb->rbnext)
    if (rb->restype == code) return rb;
  return nullptr;
}

std::string stringOf(const resbuf* rb, const char* fallback) {
  return rb && rb->resval.rstring ? rb->resval.rstring : fallback;
}

char* duplicate(const char* s) {
  size_t n = std::strlen(s) + 1;
  char* d = static_cast<char*>(std::malloc(n));
  std::memcpy(d, s, n);
  return d;
}

resbuf* copyOf(const resbuf* rb) {
  resbuf* c = dxutNewRb(rb->restype);
  c->resval = rb->resval;
  if (dxutGroupCodeType(rb->restype) == RTSTR) c->resval.rstring = duplicate(rb->resval.rstring ? rb->resval.rstring : "");
  return c;
}

// Groups of an attribute that the text keeps, in the order the text's list gets them.
// An attribute's 73 is its field length and its 74 the vertical alignment, which the
// text carries as 73: 74 is relabelled after the copy.
constexpr int kTextGroups[] = {8, 6, 38, 39, 62, 67, 210, 10, 40, 1, 50, 41, 51, 7, 71, 72, 73, 11, 74};

}  // namespace

BurstInherited burstInherited(const resbuf* referenceList) {
  BurstInherited in;
  in.blockName = stringOf(findGroup(referenceList, 2), "");
  in.layer = stringOf(findGroup(referenceList, 8), "0");
  in.linetype = stringOf(findGroup(referenceList, 6), "BYLAYER");
  if (const resbuf* color = findGroup(referenceList, 62)) {
    in.colorIndex = color->resval.rint;
    if (color->resval.rint > 0) {
      char text[16];
      std::snprintf(text, sizeof text, "%d", int(color->resval.rint));
      in.color = text;
    } else if (color->resval.rint == 0) {
      in.color = "BYBLOCK";
    }
  }
  return in;
}

resbuf* burstTextList(const resbuf* attributeList, int16_t referenceColor) {
  resbuf* head = dxutNewRb(0);
  head->resval.rstring = duplicate("TEXT");
  resbuf* tail = head;
  // The relabelled alignment supersedes the copied field length. The host's entity-make
  // takes the first of two equal groups and keeps the second as an unknown group, so
  // the superseded one is left out rather than put ahead of it.
  const bool hasAlignment = findGroup(attributeList, 74) != nullptr;
  for (int code : kTextGroups) {
    const resbuf* from = findGroup(attributeList, code);
    if (!from || (code == 73 && hasAlignment)) continue;
    resbuf* rb = copyOf(from);
    if (code == 62 && rb->resval.rint == 0) rb->resval.rint = referenceColor;
    tail->rbnext = rb;
    tail = rb;
  }
  for (resbuf* rb = head; rb; rb = rb->rbnext)
    if (rb->restype == 74) rb->restype = 73;
  return head;
}

}  // namespace express
