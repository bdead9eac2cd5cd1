// The host's message box on the command line.
#include "host/editor/core/session.h"
#include "hostapi/ui.h"

int DxUiMessageBox(const char* text, const char* caption, unsigned type) {
  using namespace dx::ed;
  Session& s = Session::get();
  s.init();
  std::string head = caption && *caption ? std::string(caption) + ": " : std::string();
  output().message("\n" + head + (text ? text : "") + "\n");
  struct Choice {
    const char* keywords;
    const char* prompt;
    int answers[3];
  };
  Choice c;
  switch (type & 0xF) {
    case MB_OKCANCEL: c = {"OK Cancel", "[OK/Cancel] <OK>: ", {IDOK, IDCANCEL, 0}}; break;
    case MB_YESNO: c = {"Yes No", "[Yes/No] <Yes>: ", {IDYES, IDNO, 0}}; break;
    case MB_YESNOCANCEL: c = {"Yes No Cancel", "[Yes/No/Cancel] <Yes>: ", {IDYES, IDNO, IDCANCEL}}; break;
    case MB_RETRYCANCEL: c = {"Retry Cancel", "[Retry/Cancel] <Retry>: ", {IDRETRY, IDCANCEL, 0}}; break;
    case MB_ABORTRETRYIGNORE:
      c = {"Abort Retry Ignore", "[Abort/Retry/Ignore] <Abort>: ", {IDABORT, IDRETRY, IDIGNORE}};
      break;
    default: return IDOK;  // nothing to choose: the text is all
  }
  // Outside a command there is nobody to answer: the default button.
  if (!s.running() && s.directAnswers.empty()) return c.answers[0];
  std::string kw;
  int rc = askKeyword(std::string("\n") + c.prompt, c.keywords, kw);
  if (rc == RTCAN) {
    int last = c.answers[2] ? c.answers[2] : c.answers[1];
    return (type & 0xF) == MB_YESNO ? IDNO : last;
  }
  if (rc != RTNORM) return c.answers[0];
  auto words = tokenizeLine(c.keywords);
  for (size_t i = 0; i < words.size() && i < 3; ++i)
    if (words[i].text == kw) return c.answers[i];
  return c.answers[0];
}
