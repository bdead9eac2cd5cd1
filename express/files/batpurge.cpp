// batpurge: the CBatchPurgeDwgDlg form, or with CMDDIA 0 the same questions on the
// command line, around the run of batch_purge.
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "express/env/holders.h"
#include "express/files/batch_purge.h"
#include "express/frame/command_body.h"
#include "express/res/dialogs.h"
#include "express/res/resource.h"
#include "hostapi/editor.h"
#include "hostapi/ui.h"

namespace express {
namespace {

using batpurge::Format;
using batpurge::Row;
using batpurge::RowList;

std::string LogPath() { return dxutCombinePath(dxutGetDxadAppDir(), "BatPurge.log"); }

int IntVar(const char* name, int fallback) {
  resbuf rb{};
  if (dxedGetVar(name, &rb) != RTNORM || rb.restype != RTSHORT) return fallback;
  return rb.resval.rint;
}

void Caution(const StringDef& text) {
  DxUiMessageBox(CResString(text), CResString(res::BpCaution), MB_OK | MB_ICONWARNING);
}

std::string Percent(int processed, int checked) {
  char buf[32];
  std::snprintf(buf, sizeof buf, CResString(res::BpPercent).c_str(), checked ? processed * 100 / checked : 0);
  return buf;
}

// Runs the checked rows with progress: a bar in place on a terminal, else a line per file.
void Start(RowList& list, int formatCode, DxUiDialogValues* form) {
  if (list.checkedCount() == 0) {
    Caution(res::BpPickFiles);
    return;
  }
  std::vector<Row>& rows = list.rows();
  const bool inPlace = DxUiProgressInPlace();
  const int checkedRows = list.checkedCount();
  int done = 0;
  auto onStart = [&](std::size_t i) {
    if (inPlace) DxUiProgressShow(done, checkedRows, Percent(done, checkedRows).c_str(), rows[i].path.c_str());
  };
  auto onDone = [&](std::size_t i, int processed, int checked) {
    done = processed;
    std::string percent = Percent(processed, checked);
    if (inPlace) DxUiProgressShow(processed, checked, percent.c_str(), rows[i].path.c_str());
    else dxutPrintf("\n%s %s %s", percent.c_str(), rows[i].path.c_str(), batpurge::ListStateText(rows[i].state).c_str());
    if (form) {
      (*form)[dlg::kBpProgress] = std::to_string(checked ? processed * 100 / checked : 0);
      (*form)[dlg::kBpPercent] = percent;
    }
  };
  batpurge::RunPurge(rows, formatCode, LogPath(), onStart, onDone);
  DxUiProgressEnd();
  dxutPrintf(CResString(res::BpLogAt), LogPath().c_str());
}

// "2", "1,3", "2-4", "*": row indexes (from 0); false for anything else.
bool ParseRows(const std::string& answer, int count, std::vector<int>& out) {
  std::string text = answer;
  for (char& c : text)
    if (c == ',') c = ' ';
  std::istringstream words(text);
  for (std::string w; words >> w;) {
    if (w == "*") {
      for (int i = 0; i < count; ++i) out.push_back(i);
      continue;
    }
    char* end = nullptr;
    long a = std::strtol(w.c_str(), &end, 10), b = a;
    if (*end == '-') b = std::strtol(end + 1, &end, 10);
    if (*end || a < 1 || b < a || b > count) return false;
    for (long i = a; i <= b; ++i) out.push_back(int(i - 1));
  }
  return !out.empty();
}

bool AskRows(int count, std::vector<int>& rows) {
  for (;;) {
    char buf[512];
    if (dxedGetString(1, CResString(res::BpRowsPrompt), buf, sizeof buf) != RTNORM || !buf[0]) return false;
    rows.clear();
    if (ParseRows(buf, count, rows)) return true;
    dxutPrintf(CResString(res::BpBadRows), count);
  }
}

void AddAndSay(RowList& list, const std::string& path) {
  int added = list.AddPath(path);
  if (added == 0) dxutPrintf(CResString(res::BpNothingFound), path.c_str());
  else dxutPrintf(CResString(res::BpAdded), added);
}

void RunCommandLine(RowList& list, const std::vector<Format>& formats);

// ---- the form

std::string RenderRows(const RowList& list) {
  if (list.rows().empty()) return {};
  std::string out = std::string("\n            ") + CResString(res::BpColumnFile).c_str() + "  " +
                    CResString(res::BpColumnState).c_str() + "  " + CResString(res::BpColumnAttribute).c_str();
  int n = 0;
  for (const Row& r : list.rows()) {
    out += "\n      " + std::to_string(++n) + (r.checked ? " [X] " : " [ ] ") + r.path + "  " +
           batpurge::ListStateText(r.state);
    if (r.readOnly) out += std::string("  ") + CResString(res::BpReadOnly).c_str();
  }
  return out;
}

// The format field holds the label shown; an answer may also give its number in the list.
int FormatFromField(const std::string& text, const std::vector<Format>& formats, int current) {
  for (std::size_t i = 0; i < formats.size(); ++i)
    if (formats[i].label == text) return int(i);
  char* end = nullptr;
  long n = std::strtol(text.c_str(), &end, 10);
  if (end != text.c_str() && !*end && n >= 1 && n <= long(formats.size())) return int(n - 1);
  return current;
}

void ViewLog() {
  std::string path = LogPath();
  if (!std::filesystem::exists(path)) {
    Caution(res::BpNoLog);
    return;
  }
  // The system's "open" action where a desktop exists; on a bare console the path.
  if (std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY")) {
    std::string command = "xdg-open '" + path + "' >/dev/null 2>&1 &";
    if (path.find('\'') == std::string::npos && std::system(command.c_str()) == 0) return;
  }
  dxutPrintf(CResString(res::BpLogAt), path.c_str());
}

void RunForm(RowList& list, const std::vector<Format>& formats) {
  int format = 0;
  DxUiDialogValues values{{dlg::kBpProgress, "0"}, {dlg::kBpPercent, Percent(0, 0)}};
  CResourceScope scope;
  for (;;) {
    values[dlg::kBpFiles] = RenderRows(list);
    values[dlg::kBpFormat] = formats.empty() ? std::string() : formats[std::size_t(format)].label;
    int rc = DxUiDoModal(dlg::kBatchPurge, values, resourceLibrary());
    if (rc < 0) return RunCommandLine(list, formats);  // no form declared: ask on the command line
    if (rc == IDCANCEL) return;
    format = FormatFromField(values[dlg::kBpFormat], formats, format);
    std::vector<int> picked;
    char buf[2049];
    switch (rc) {
      case dlg::kBpAddFiles: {
        CResbufPtr file(dxutNewRb(RTSTR));
        // A new-file question, so that a pattern that names no single file is taken.
        if (file && dxedGetFileD(CResString(res::BpOpenTitle), nullptr, "dxf", 1 | 32, file.get()) == RTNORM &&
            file->resval.rstring)
          AddAndSay(list, file->resval.rstring);
        break;
      }
      case dlg::kBpAddFolder:
        if (dxedGetString(1, CResString(res::BpFolderPrompt), buf, sizeof buf) == RTNORM && buf[0])
          AddAndSay(list, buf);
        break;
      case dlg::kBpCheck:
        if (AskRows(int(list.rows().size()), picked))
          for (int i : picked) list.rows()[std::size_t(i)].checked = !list.rows()[std::size_t(i)].checked;
        break;
      case dlg::kBpRemove:
        if (AskRows(int(list.rows().size()), picked)) list.Remove(picked);
        break;
      case dlg::kBpStart:
        Start(list, formats.empty() ? 0 : formats[std::size_t(format)].code, &values);
        break;
      case dlg::kBpViewLog:
        ViewLog();
        break;
      default:
        break;
    }
  }
}

// ---- CMDDIA 0: the same on the command line

void RunCommandLine(RowList& list, const std::vector<Format>& formats) {
  for (;;) {
    char buf[2049];
    int rc = dxedGetString(1, CResString(res::BpPathPrompt), buf, sizeof buf);
    if (rc == RTCAN) return;
    if (rc != RTNORM || !buf[0]) break;
    AddAndSay(list, buf);
  }
  if (list.checkedCount() == 0) {
    Caution(res::BpPickFiles);
    return;
  }
  int format = 0;
  if (formats.size() > 1) {
    for (std::size_t i = 0; i < formats.size(); ++i) dxutPrintf("\n  %zu. %s", i + 1, formats[i].label.c_str());
    for (;;) {
      dxedInitGet(4, nullptr);  // not negative; Enter takes the first entry
      int n = 1;
      int rc = dxedGetInt(CResString(res::BpFormatPrompt), &n);
      if (rc == RTCAN) return;
      if (rc == RTNONE) n = 1;
      if (n >= 1 && n <= int(formats.size())) {
        format = n - 1;
        break;
      }
      dxutPrintf(CResString(res::BpBadFormat), int(formats.size()));
    }
  }
  Start(list, formats.empty() ? 0 : formats[std::size_t(format)].code, nullptr);
}

void cmdBatpurge() {
  RowList list;
  std::vector<Format> formats = batpurge::DrawingFormats();
  if (IntVar("CMDDIA", 1) == 0) RunCommandLine(list, formats);
  else RunForm(list, formats);
}

}  // namespace

DX_COMMAND_BODY("batpurge", cmdBatpurge);

}  // namespace express
