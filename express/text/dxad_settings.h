// The host settings file "dxad.ini" in the host's program folder: text values by section
// and key, as the text tools keep their settings.
#pragma once

#include <string>

namespace express {

// Full path of "dxad.ini" in the host's program folder.
std::string dxadIniPath();

// The value of key in section; fallback when the file, the section or the key is absent.
// Sections and keys match without regard to case.
std::string readIniString(const std::string& path, const char* section, const char* key,
                          const char* fallback);
// Sets key in section, adding the section or the key when missing and keeping every other
// line of the file as it was. False when the file cannot be written.
bool writeIniString(const std::string& path, const char* section, const char* key, const char* value);

// A boolean setting of the file: on only when the value is exactly "TRUE".
bool readIniFlag(const std::string& path, const char* section, const char* key, bool fallback);
bool writeIniFlag(const std::string& path, const char* section, const char* key, bool value);

}  // namespace express
