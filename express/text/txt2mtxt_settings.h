// txt2mtxt's settings in "dxad.ini", section "DXADEXCMD", and the dialog that edits them.
#pragma once

#include <string>

namespace express::text {

struct Txt2mtxtSettings {
  bool selectionOrder = false;  // TXT2MTXT_SELECTTYPE
  bool wordWrap = true;         // TXT2MTXT_WORDWARD
  bool mergeAll = true;         // TXT2MTXT_MERGEMTEXT
};

inline constexpr const char* kSettingsSection = "DXADEXCMD";
inline constexpr const char* kKeySelectType = "TXT2MTXT_SELECTTYPE";
inline constexpr const char* kKeyWordWrap = "TXT2MTXT_WORDWARD";
inline constexpr const char* kKeyMergeMText = "TXT2MTXT_MERGEMTEXT";

Txt2mtxtSettings readTxt2mtxtSettings(const std::string& iniPath);
bool writeTxt2mtxtSettings(const std::string& iniPath, const Txt2mtxtSettings& s);

// Three check boxes, one per key: set from the file when it opens, written back on OK.
class CTxt2mtxtDialog {
 public:
  explicit CTxt2mtxtDialog(std::string iniPath);
  // IDOK or IDCANCEL.
  int DoModal();

 private:
  std::string m_iniPath;
};

}  // namespace express::text
