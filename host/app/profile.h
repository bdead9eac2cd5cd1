// The user profile file: sections of "key=value" lines, kept per user. The file is read
// afresh for every value and written to a temporary name and renamed, so that other
// programs and tests may change it between two reads.
#pragma once

#include <string>

#include "hostapi/app.h"

namespace dx::app {

// $DRAXEL_PROFILE when set; else $XDG_CONFIG_HOME/draxel/R24/profile.ini (with
// ~/.config for an unset XDG_CONFIG_HOME).
std::string profilePath();

class ProfileFile : public CVmUserProfile {
 public:
  explicit ProfileFile(std::string path) : m_path(std::move(path)) {}
  bool readString(const char* section, const char* key, std::string& value) const override;
  bool writeString(const char* section, const char* key, const char* value) override;
  const std::string& path() const { return m_path; }

 private:
  std::string m_path;
};

}  // namespace dx::app
