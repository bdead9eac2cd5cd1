// Helpers for the tag tests: tags copied out of the reader, so that a whole file
// can be compared with another.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "host/dxf/tags.h"

namespace dx::dxf::testing {

struct OwnedTag {
  int code = 0;
  Kind kind = Kind::String;
  double real = 0;
  int64_t integer = 0;
  std::string text;

  // Doubles compare bit for bit: -0.0 and 0.0 differ, and so would a lost last digit.
  bool operator==(const OwnedTag& o) const {
    if (code != o.code || kind != o.kind) return false;
    switch (kind) {
      case Kind::Double: return std::memcmp(&real, &o.real, sizeof real) == 0;
      case Kind::Int16:
      case Kind::Int32:
      case Kind::Int64:
      case Kind::Bool: return integer == o.integer;
      default: return text == o.text;
    }
  }
};

inline std::ostream& operator<<(std::ostream& os, const OwnedTag& t) {
  os << "(" << t.code << ", ";
  if (t.kind == Kind::Double) os << t.real;
  else if (t.kind == Kind::String || t.kind == Kind::Binary || t.kind == Kind::Comment)
    os << '"' << t.text << '"';
  else os << t.integer;
  return os << ")";
}

struct ReadResult {
  std::vector<OwnedTag> tags;
  std::string error;  // from fromBuffer or from next()
  bool opened = false;
  std::string version;  // $ACADVER at the end
  // What a writer of this drawing must do with non-ASCII text.
  bool needsEscapes() const { return version < "AC1021"; }
};

inline ReadResult readAll(std::unique_ptr<TagReader> r, const std::string& openError) {
  ReadResult res;
  if (!r) {
    res.error = openError;
    return res;
  }
  res.opened = true;
  Tag t;
  while (r->next(t)) {
    OwnedTag o{t.code, t.kind, t.real, t.integer, std::string()};
    if (t.kind == Kind::String || t.kind == Kind::Binary || t.kind == Kind::Comment)
      o.text = std::string(t.text);
    res.tags.push_back(std::move(o));
  }
  res.error = r->error();
  res.version = r->acadVersion();
  return res;
}

inline ReadResult readBuffer(std::string data) {
  std::string err;
  auto r = TagReader::fromBuffer(std::move(data), err);
  return readAll(std::move(r), err);
}

inline ReadResult readFile(const std::string& path) {
  std::string err;
  auto r = TagReader::fromFile(path, err);
  return readAll(std::move(r), err);
}

inline OwnedTag S(int code, std::string text) {
  return {code, kindOf(code), 0, 0, std::move(text)};
}
inline OwnedTag D(int code, double v) { return {code, Kind::Double, v, 0, {}}; }
inline OwnedTag I(int code, int64_t v) { return {code, kindOf(code), 0, v, {}}; }

inline std::string writeAll(const std::vector<OwnedTag>& tags, bool escape = false) {
  TagWriter w;
  w.setEscapeNonAscii(escape);
  for (const auto& o : tags) {
    Tag t;
    t.code = o.code;
    t.kind = o.kind;
    t.real = o.real;
    t.integer = o.integer;
    t.text = o.text;
    w.tag(t);
  }
  return w.buffer();
}

}  // namespace dx::dxf::testing
