#include "host/dxf/tags.h"

#include <array>

namespace dx::dxf {
namespace {

constexpr int kTableSize = 1072;  // every code up to 1071 has an entry

constexpr std::array<Kind, kTableSize> makeKindTable() {
  std::array<Kind, kTableSize> t{};
  for (auto& k : t) k = Kind::String;
  auto range = [&t](int from, int to, Kind k) {
    for (int c = from; c <= to; ++c) t[c] = k;
  };
  range(10, 59, Kind::Double);
  range(60, 79, Kind::Int16);
  range(90, 99, Kind::Int32);
  range(110, 149, Kind::Double);
  range(160, 169, Kind::Int64);
  range(170, 179, Kind::Int16);
  range(210, 239, Kind::Double);
  range(270, 289, Kind::Int16);
  range(290, 299, Kind::Bool);
  range(310, 319, Kind::Binary);
  range(370, 389, Kind::Int16);
  range(400, 409, Kind::Int16);
  range(420, 429, Kind::Int32);
  range(440, 459, Kind::Int32);
  range(460, 469, Kind::Double);
  t[999] = Kind::Comment;
  t[1004] = Kind::Binary;
  range(1010, 1059, Kind::Double);
  range(1060, 1070, Kind::Int16);
  t[1071] = Kind::Int32;
  return t;
}

constexpr auto kKinds = makeKindTable();

}  // namespace

Kind kindOf(int code) {
  return code >= 0 && code < kTableSize ? kKinds[code] : Kind::String;
}

}  // namespace dx::dxf
