#include "express/text/text_merge.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>

namespace express::text {
namespace {

void replaceAll(std::string& s, const std::string& from, const std::string& to) {
  std::string out;
  out.reserve(s.size());
  size_t pos = 0;
  for (size_t hit; (hit = s.find(from, pos)) != std::string::npos; pos = hit + from.size()) {
    out.append(s, pos, hit - pos);
    out += to;
  }
  out.append(s, pos, std::string::npos);
  s.swap(out);
}

}  // namespace

std::string convertTextString(const std::string& in) {
  std::string s = in;
  replaceAll(s, "%%%", "%");
  replaceAll(s, "\\", "\\\\");
  // A second "%%U" that ended the underline in the single-line text starts it again: the
  // underline then runs to the end of this piece.
  if (s.find("%%U") != std::string::npos) {
    replaceAll(s, "%%U", "\\L");
    s += "\\l";
  }
  if (s.find("%%O") != std::string::npos) {
    replaceAll(s, "%%O", "\\O");
    s += "\\o";
  }
  return s;
}

std::vector<size_t> topToBottom(const std::vector<SourceText>& texts) {
  std::vector<size_t> order(texts.size());
  std::iota(order.begin(), order.end(), size_t(0));
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return texts[a].y > texts[b].y; });
  return order;
}

void textSpan(double x, double boxRight, double height, double cosRotation, double sinRotation,
              double& left, double& right) {
  double c = std::cos(cosRotation);
  if (std::fabs(c) <= 1e-6) c = 0;
  double d = c * boxRight;
  if (d > 0) {
    left = x;
    right = x + d;
  } else if (d < 0) {
    left = x + d;
    right = x;
  } else if (std::sin(sinRotation) > 0) {
    left = x - height;
    right = x;
  } else {
    left = x;
    right = x + height;
  }
}

MergeResult mergeTexts(const std::vector<const SourceText*>& ordered, bool wordWrap,
                       bool widthFactorPrefix, const std::function<std::string(double)>& heightText) {
  MergeResult r;
  if (ordered.empty()) return r;
  const SourceText& head = *ordered.front();
  if (widthFactorPrefix && head.widthFactor != 1.0) {
    char code[64];
    std::snprintf(code, sizeof code, "\\W%.4f;", head.widthFactor);
    r.contents += code;
  }
  r.contents += convertTextString(head.string);
  if (ordered.size() > 1) r.contents += ' ';
  double left = 0, right = 0;
  textSpan(head.x, head.boxRight, head.height, head.rotation, head.rotation, left, right);
  r.annotative = head.annotative;
  double height = head.height;
  int color = head.color;
  for (size_t i = 1; i < ordered.size(); ++i) {
    const SourceText& t = *ordered[i];
    r.annotative = t.annotative;
    if (!wordWrap) {
      r.contents += "\\P";
    } else {
      double l = 0, rr = 0;
      textSpan(t.x, t.boxRight, t.height, t.rotation, head.rotation, l, rr);
      left = std::min(left, l);
      right = std::max(right, rr);
    }
    if (t.height != height) {
      r.contents += "\\H" + heightText(t.height) + ";";
      height = t.height;
    }
    if (t.color != color) {
      r.contents += "\\C" + std::to_string(t.color) + ";";
      color = t.color;
    }
    r.contents += convertTextString(t.string);
    r.contents += ' ';
  }
  r.width = wordWrap ? std::fabs(right - left) : 0;
  return r;
}

}  // namespace express::text
