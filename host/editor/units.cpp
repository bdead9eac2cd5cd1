// Number and angle formats of the command line.
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "host/editor/text_utils.h"

namespace dx::ed {
namespace {

std::string fixed(double v, int prec) {
  char buf[512];
  std::snprintf(buf, sizeof buf, "%.*f", prec < 0 ? 0 : (prec > 16 ? 16 : prec), v);
  std::string s = buf;
  if (s == "-0" || s.find_first_not_of("-0.") == std::string::npos) {
    if (!s.empty() && s[0] == '-') s.erase(0, 1);  // no "-0.000"
  }
  return s;
}

std::string stripZeros(std::string s, int dimzin) {
  if (dimzin & 8) {
    if (s.find('.') != std::string::npos) {
      while (!s.empty() && s.back() == '0') s.pop_back();
      if (!s.empty() && s.back() == '.') s.pop_back();
    }
  }
  if (dimzin & 4) {
    if (s.rfind("0.", 0) == 0 && s.size() > 2) s.erase(0, 1);
    else if (s.rfind("-0.", 0) == 0 && s.size() > 3) s.erase(1, 1);
  }
  if (s.empty() || s == "-") s = "0";
  return s;
}

// Whole and fraction of a value at a power-of-two denominator.
void toFraction(double v, int prec, long& whole, long& num, long& den) {
  den = 1L << (prec < 0 ? 0 : (prec > 8 ? 8 : prec));
  long total = std::lround(v * double(den));
  whole = total / den;
  num = total % den;
  while (num && num % 2 == 0) {
    num /= 2;
    den /= 2;
  }
}

std::string fraction(double v, int prec) {
  long whole, num, den;
  toFraction(v, prec, whole, num, den);
  std::string s;
  if (whole || !num) s = std::to_string(whole);
  if (num) {
    if (!s.empty()) s += ' ';
    s += std::to_string(num) + "/" + std::to_string(den);
  }
  return s;
}

}  // namespace

std::string formatDistance(double v, int unit, int prec, int dimzin) {
  if (!std::isfinite(v)) return "0";
  switch (unit) {
    case 1: {
      char buf[128];
      std::snprintf(buf, sizeof buf, "%.*E", prec < 0 ? 0 : (prec > 16 ? 16 : prec), v);
      return buf;
    }
    case 3:
    case 4: {
      bool neg = v < 0;
      double a = std::fabs(v);
      long feet = long(std::floor(a / 12.0 + 1e-12));
      double inches = a - feet * 12.0;
      std::string in;
      if (unit == 3) {
        in = fixed(inches, prec);
        if (in.rfind("12", 0) == 0 && std::atof(in.c_str()) >= 12.0) {
          ++feet;
          in = fixed(0, prec);
        }
      } else {
        long whole, num, den;
        toFraction(inches, prec, whole, num, den);
        if (whole >= 12) {
          ++feet;
          whole -= 12;
        }
        in = std::to_string(whole);
        if (num) in += " " + std::to_string(num) + "/" + std::to_string(den);
        if (num && !whole) in = std::to_string(num) + "/" + std::to_string(den);
      }
      std::string s = neg ? "-" : "";
      // Feet are always shown; dimzin 2 drops zero inches after whole feet.
      bool zeroInches = std::atof(in.c_str()) == 0.0 && in.find('/') == std::string::npos;
      if (feet != 0 && zeroInches && (dimzin & 3) == 2) s += std::to_string(feet) + "'";
      else s += std::to_string(feet) + "'-" + in + "\"";
      return s;
    }
    case 5: {
      std::string s = fraction(std::fabs(v), prec);
      return (v < 0 && s != "0" ? "-" : "") + s;
    }
    default:
      return stripZeros(fixed(v, prec), dimzin);
  }
}

namespace {

// A plain or fractional number: "12", "-1.5e3", ".5", "3/4", "1-3/4" (architectural).
bool parseNumber(std::string_view s, double& v) {
  if (s.empty()) return false;
  std::string t(s);
  bool neg = false;
  size_t i = 0;
  if (t[0] == '-' || t[0] == '+') {
    neg = t[0] == '-';
    i = 1;
  }
  std::string body = t.substr(i);
  if (body.empty() || body[0] == '-' || body[0] == '+') return false;
  auto plain = [](const std::string& x, double& out) {
    if (x.empty()) return false;
    const char* b = x.c_str();
    char* e = nullptr;
    out = std::strtod(b, &e);
    if (e != b + x.size()) return false;
    return std::isfinite(out) && !(x.find_first_of("xXpPnN") != std::string::npos);
  };
  double result;
  size_t slash = body.find('/');
  if (slash == std::string::npos) {
    if (!plain(body, result)) return false;
  } else {
    size_t sep = body.find_last_of(" -", slash);
    double whole = 0;
    std::string frac = body;
    if (sep != std::string::npos) {
      if (!plain(body.substr(0, sep), whole)) return false;
      frac = body.substr(sep + 1);
    }
    size_t sl = frac.find('/');
    double n, d;
    if (!plain(frac.substr(0, sl), n) || !plain(frac.substr(sl + 1), d) || d == 0) return false;
    result = whole + n / d;
  }
  v = neg ? -result : result;
  return true;
}

std::string_view trim(std::string_view s) {
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front()))) s.remove_prefix(1);
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) s.remove_suffix(1);
  return s;
}

}  // namespace

bool parseDistance(std::string_view in, double& v) {
  std::string_view s = trim(in);
  if (s.empty()) return false;
  size_t ft = s.find('\'');
  if (ft == std::string_view::npos) {
    if (s.back() == '"') s.remove_suffix(1);
    return parseNumber(s, v);
  }
  // feet'[-]inches["]
  double feet;
  bool neg = s[0] == '-';
  std::string_view fs = s.substr(neg ? 1 : 0, ft - (neg ? 1 : 0));
  if (!parseNumber(fs, feet) || feet < 0) return false;
  std::string_view rest = s.substr(ft + 1);
  if (!rest.empty() && rest.front() == '-') rest.remove_prefix(1);
  if (!rest.empty() && rest.back() == '"') rest.remove_suffix(1);
  double inches = 0;
  if (!rest.empty() && (!parseNumber(rest, inches) || inches < 0)) return false;
  v = feet * 12 + inches;
  if (neg) v = -v;
  return true;
}

std::string formatAngle(double rad, int unit, int prec) {
  double deg = rad * 180.0 / M_PI;
  switch (unit) {
    case 1: {
      double a = std::fmod(deg, 360.0);
      if (a < 0) a += 360;
      long total = std::lround(a * 3600.0);
      long d = total / 3600, m = (total / 60) % 60, sec = total % 60;
      std::string s = std::to_string(d) + "d";
      if (prec >= 1) s += std::to_string(m) + "'";
      if (prec >= 3) s += std::to_string(sec) + "\"";
      return s;
    }
    case 2: return fixed(rad * 200.0 / M_PI, prec) + "g";
    case 3: return fixed(rad, prec) + "r";
    case 4: {
      double a = std::fmod(deg, 360.0);
      if (a < 0) a += 360;
      if (a == 0) return "E";
      if (a == 90) return "N";
      if (a == 180) return "W";
      if (a == 270) return "S";
      const char* ns = a < 180 ? "N" : "S";
      double fromNs = a < 180 ? std::fabs(90 - a) : std::fabs(270 - a);
      const char* ew = (a < 90 || a > 270) ? "E" : "W";
      return std::string(ns) + " " + fixed(fromNs, prec) + "d " + ew;
    }
    default: return stripZeros(fixed(deg, prec), 8);
  }
}

// Angles are periodic: a value of more turns than a double can tell apart is first
// taken modulo one turn, so that converting it cannot overflow to infinity.
static double angleToRadians(double v, double halfTurn) {
  if (std::fabs(v) > 1e12 * halfTurn) v = std::fmod(v, 2 * halfTurn);
  return halfTurn == M_PI ? v : v * M_PI / halfTurn;
}

bool parseAngle(std::string_view in, int unit, double& rad) {
  std::string_view s = trim(in);
  if (s.empty()) return false;
  char last = char(std::tolower(static_cast<unsigned char>(s.back())));
  double v;
  if (last == 'r') {
    if (!parseNumber(s.substr(0, s.size() - 1), v)) return false;
    rad = angleToRadians(v, M_PI);
    return true;
  }
  if (last == 'g') {
    if (!parseNumber(s.substr(0, s.size() - 1), v)) return false;
    rad = angleToRadians(v, 200.0);
    return true;
  }
  size_t d = s.find_first_of("dD");
  if (d != std::string_view::npos) {
    double deg, min = 0, sec = 0;
    if (!parseNumber(s.substr(0, d), deg)) return false;
    std::string_view rest = s.substr(d + 1);
    size_t m = rest.find('\'');
    if (m != std::string_view::npos) {
      if (!parseNumber(rest.substr(0, m), min)) return false;
      rest = rest.substr(m + 1);
    }
    if (!rest.empty()) {
      if (rest.back() == '"') rest.remove_suffix(1);
      if (!rest.empty() && !parseNumber(rest, sec)) return false;
    }
    double sign = deg < 0 ? -1 : 1;
    rad = angleToRadians(deg + sign * (min / 60 + sec / 3600), 180.0);
    return true;
  }
  if (!parseNumber(s, v)) return false;
  rad = angleToRadians(v, unit == 2 ? 200.0 : unit == 3 ? M_PI : 180.0);
  return std::isfinite(rad);
}

std::string formatPoint(const DxGePoint3d& p, int unit, int prec) {
  return formatDistance(p.x, unit, prec, 8) + "," + formatDistance(p.y, unit, prec, 8) + "," +
         formatDistance(p.z, unit, prec, 8);
}

}  // namespace dx::ed
