#include "express/text/txt2mtxt_settings.h"

#include "express/res/dialogs.h"
#include "express/res/resource.h"
#include "express/text/dxad_settings.h"
#include "hostapi/editor.h"
#include "hostapi/ui.h"

namespace express::text {

Txt2mtxtSettings readTxt2mtxtSettings(const std::string& ini) {
  Txt2mtxtSettings s;
  s.selectionOrder = readIniFlag(ini, kSettingsSection, kKeySelectType, false);
  s.wordWrap = readIniFlag(ini, kSettingsSection, kKeyWordWrap, true);
  s.mergeAll = readIniFlag(ini, kSettingsSection, kKeyMergeMText, true);
  return s;
}

bool writeTxt2mtxtSettings(const std::string& ini, const Txt2mtxtSettings& s) {
  return writeIniFlag(ini, kSettingsSection, kKeySelectType, s.selectionOrder) &&
         writeIniFlag(ini, kSettingsSection, kKeyWordWrap, s.wordWrap) &&
         writeIniFlag(ini, kSettingsSection, kKeyMergeMText, s.mergeAll);
}

CTxt2mtxtDialog::CTxt2mtxtDialog(std::string iniPath) : m_iniPath(std::move(iniPath)) {}

int CTxt2mtxtDialog::DoModal() {
  Txt2mtxtSettings s = readTxt2mtxtSettings(m_iniPath);
  DxUiDialogValues values = {{dlg::kTxt2mtxtSelectType, s.selectionOrder ? "1" : "0"},
                             {dlg::kTxt2mtxtWordWrap, s.wordWrap ? "1" : "0"},
                             {dlg::kTxt2mtxtMergeMText, s.mergeAll ? "1" : "0"}};
  int rc;
  {
    ensureResourceLibrary();
    CResourceScope scope;
    rc = DxUiDoModal(dlg::kTxt2mtxt, values);
  }
  if (rc == -1) dxutPrintf("\nThe settings dialog is missing from expressres.dll.");
  if (rc != IDOK) return IDCANCEL;
  s.selectionOrder = values[dlg::kTxt2mtxtSelectType] == "1";
  s.wordWrap = values[dlg::kTxt2mtxtWordWrap] == "1";
  s.mergeAll = values[dlg::kTxt2mtxtMergeMText] == "1";
  if (!writeTxt2mtxtSettings(m_iniPath, s))
    dxutPrintf("\nCannot write the settings to %s.", m_iniPath.c_str());
  return IDOK;
}

}  // namespace express::text
