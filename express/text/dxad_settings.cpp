#include "express/text/dxad_settings.h"

#include <memory>

#include "hostapi/app.h"
#include "hostapi/editor.h"

namespace express {

std::string dxadIniPath() { return dxutCombinePath(dxutGetDxadAppDir(), "dxad.ini"); }

// The host reads and writes the file (as it keeps its own profile).
std::string readIniString(const std::string& path, const char* section, const char* key,
                          const char* fallback) {
  std::unique_ptr<CVmUserProfile> file(dxutOpenSettingsFile(path.c_str()));
  std::string value;
  if (file && file->readString(section, key, value)) return value;
  return fallback ? fallback : "";
}

bool writeIniString(const std::string& path, const char* section, const char* key, const char* value) {
  std::unique_ptr<CVmUserProfile> file(dxutOpenSettingsFile(path.c_str()));
  return file && file->writeString(section, key, value ? value : "");
}

bool readIniFlag(const std::string& path, const char* section, const char* key, bool fallback) {
  return readIniString(path, section, key, fallback ? "TRUE" : "FALSE") == "TRUE";
}

bool writeIniFlag(const std::string& path, const char* section, const char* key, bool value) {
  return writeIniString(path, section, key, value ? "TRUE" : "FALSE");
}

}  // namespace express
