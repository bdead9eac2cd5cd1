#include "host/console/readline_source.h"

#include <readline/history.h>
#include <readline/readline.h>

#include <cstdlib>
#include <cstring>

#include "host/editor/core/session.h"

namespace dx::console {
namespace {

std::vector<std::string> g_names;

char* nameGenerator(const char* text, int state) {
  static size_t index;
  static std::string prefix;
  if (state == 0) {
    index = 0;
    prefix = dx::ed::upper(text);
  }
  while (index < g_names.size()) {
    const std::string& n = g_names[index++];
    if (n.compare(0, prefix.size(), prefix) == 0) return strdup(n.c_str());
  }
  return nullptr;
}

char** complete(const char* text, int start, int) {
  rl_attempted_completion_over = 1;
  // Command names only at "Command:", i.e. at the start of the line with no command waiting.
  if (start != 0 || dx::ed::Session::get().top()) return nullptr;
  return rl_completion_matches(text, nameGenerator);
}

class ReadlineSource : public dx::ed::InputSource {
 public:
  ReadlineSource() {
    rl_attempted_completion_function = complete;
    rl_readline_name = "draxel";
  }
  bool readLine(const std::string& prompt, std::string& line) override {
    g_names.clear();
    for (const DxEdCommand* c : dxedRegCmds()->commands()) {
      g_names.push_back(dx::ed::upper(c->localName));
      if (!dx::ed::iequals(c->localName, c->globalName)) g_names.push_back(dx::ed::upper(c->globalName));
    }
    // readline shows the last line of the prompt; lines above it go out first.
    std::string p = prompt;
    size_t nl = p.rfind('\n');
    if (nl != std::string::npos) {
      dx::ed::output().message(p.substr(0, nl + 1));
      p = p.substr(nl + 1);
    }
    dx::ed::output().endLine();
    char* text = readline(p.c_str());
    if (!text) {
      dx::ed::output().write("\n");
      return false;
    }
    line = text;
    if (*text) add_history(text);
    std::free(text);
    ++m_line;
    return true;
  }
  bool interactive() const override { return true; }
  std::string where() const override { return "line " + std::to_string(m_line); }

 private:
  int m_line = 0;
};

}  // namespace

std::unique_ptr<dx::ed::InputSource> makeReadlineSource() { return std::make_unique<ReadlineSource>(); }

}  // namespace dx::console
