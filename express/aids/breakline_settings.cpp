#include "express/aids/breakline_settings.h"

#include <cstring>

#include "hostapi/app.h"

namespace express::aids {

namespace {
constexpr const char* kSection = "General";
constexpr const char* kTextTag = "STR_";
constexpr const char* kRealTag = "REAL_";
}  // namespace

std::string trimLeftChars(const std::string& s, const char* set) {
  size_t i = 0;
  while (i < s.size() && std::strchr(set, s[i])) ++i;
  return s.substr(i);
}

std::string untagged(const std::string& stored, bool isText) {
  return trimLeftChars(stored, isText ? kTextTag : kRealTag);
}

BreaklineSettings readBreaklineSettings() {
  BreaklineSettings s;
  CVmSystem* sys = CVmSystem::instance();
  CVmUserProfile* profile = sys ? sys->userProfile() : nullptr;
  if (!profile) return s;
  auto read = [&](const char* key, bool isText, std::string& out) {
    std::string v;
    if (profile->readString(kSection, key, v) && !v.empty()) out = untagged(v, isText);
  };
  read(kBreaklineBlockKey, true, s.block);
  read(kBreaklineSizeKey, false, s.size);
  read(kBreaklineExtensionKey, false, s.extension);
  return s;
}

void writeBreaklineSetting(const char* key, const std::string& value) {
  CVmSystem* sys = CVmSystem::instance();
  CVmUserProfile* profile = sys ? sys->userProfile() : nullptr;
  if (!profile) return;
  const bool isText = std::strcmp(key, kBreaklineBlockKey) == 0;
  profile->writeString(kSection, key, ((isText ? kTextTag : kRealTag) + value).c_str());
}

double breaklineScale(double size, double dimscale, int measurement, double symbolLength) {
  double k = size * (dimscale > 0 ? dimscale : 1.0) / symbolLength;
  return measurement == 0 ? k / 25.4 : k;
}

}  // namespace express::aids
