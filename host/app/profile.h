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

// How a profile file is written: the user profile with LF ends, values as written after
// "=", and its folder made when missing; settings files of modules as
// dxutOpenSettingsFile says.
struct ProfileForm {
  bool crlf = false;
  bool trimValues = false;
  bool makeFolder = true;
};
inline constexpr ProfileForm kSettingsFileForm{true, true, false};

class ProfileFile : public CVmUserProfile {
 public:
  explicit ProfileFile(std::string path, ProfileForm form = {})
      : m_path(std::move(path)), m_form(form) {}
  bool readString(const char* section, const char* key, std::string& value) const override;
  bool writeString(const char* section, const char* key, const char* value) override;
  const std::string& path() const { return m_path; }

 private:
  std::string m_path;
  ProfileForm m_form;
};

}  // namespace dx::app
