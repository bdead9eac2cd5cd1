#include "express/text/tcount_core.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <numeric>

namespace express::text {

std::vector<size_t> countOrder(const std::vector<double>& xs, const std::vector<double>& ys, CountOrder order) {
  std::vector<size_t> idx(xs.size());
  std::iota(idx.begin(), idx.end(), size_t(0));
  if (order == CountOrder::X) {
    std::stable_sort(idx.begin(), idx.end(), [&](size_t a, size_t b) { return xs[a] < xs[b]; });
  } else if (order == CountOrder::Y) {
    // Ascending with equal keys after those already there, walked from the end.
    std::stable_sort(idx.begin(), idx.end(), [&](size_t a, size_t b) { return ys[a] < ys[b]; });
    std::reverse(idx.begin(), idx.end());
  }
  return idx;
}

std::string countNumber(double start, double increment, size_t k) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.0f", start + double(k) * increment);
  return buf;
}

std::string placeNumber(const std::string& text, const std::string& number, NumberPlacement where,
                        bool multiline, const std::string& find) {
  switch (where) {
    case NumberPlacement::Overwrite:
      if (multiline && text.rfind("\\P", 0) == 0) return "\\P" + number;
      return number;
    case NumberPlacement::Prefix:
      return number + " " + text;
    case NumberPlacement::Suffix:
      return text + " " + number;
    case NumberPlacement::FindReplace: {
      if (find.empty()) return text;
      std::string out;
      size_t pos = 0;
      for (size_t hit; (hit = text.find(find, pos)) != std::string::npos; pos = hit + find.size()) {
        out.append(text, pos, hit - pos);
        out += number;
      }
      out.append(text, pos, std::string::npos);
      return out;
    }
  }
  return text;
}

bool splitStartIncrement(const std::string& answer, std::string& start, std::string& increment) {
  size_t comma = answer.find(',');
  if (comma == std::string::npos || answer.find(',', comma + 1) != std::string::npos) return false;
  auto trim = [](std::string s) {
    size_t b = 0, e = s.size();
    while (b < e && std::isspace(static_cast<unsigned char>(s[b]))) ++b;
    while (e > b && std::isspace(static_cast<unsigned char>(s[e - 1]))) --e;
    return s.substr(b, e - b);
  };
  start = trim(answer.substr(0, comma));
  increment = trim(answer.substr(comma + 1));
  return !start.empty() && !increment.empty();
}

}  // namespace express::text
