#include "host/editor/core/driver.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "host/editor/core/session.h"

namespace dx::ed {

TextSource::TextSource(std::string text, std::string name) : m_name(std::move(name)) {
  std::string line;
  std::istringstream in(text);
  while (std::getline(in, line)) m_lines.push_back(line);
}

bool TextSource::readLine(const std::string&, std::string& line) {
  if (m_next >= m_lines.size()) return false;
  line = m_lines[m_next++];
  return true;
}

std::string TextSource::where() const {
  return m_name.empty() ? std::string() : m_name + ":" + std::to_string(m_next);
}

std::unique_ptr<InputSource> openScript(const std::string& path, std::string& error) {
  std::error_code ec;
  if (std::filesystem::exists(path, ec) && !std::filesystem::is_regular_file(path, ec)) {
    error = "cannot read script \"" + path + "\": it is not a regular file";
    return nullptr;
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    error = "cannot read script \"" + path + "\"";
    return nullptr;
  }
  std::stringstream ss;
  ss << in.rdbuf();
  std::string text = ss.str();
  if (text.rfind("\xEF\xBB\xBF", 0) == 0) text.erase(0, 3);  // byte-order mark
  return std::make_unique<TextSource>(text, path);
}

bool Driver::interactiveNow() const { return !m_sources.empty() && m_sources.back()->interactive(); }

bool Driver::next(const std::string& prompt, Answer& a) {
  while (m_tokens.empty()) {
    if (m_sources.empty()) return false;
    InputSource& src = *m_sources.back();
    std::string line;
    if (!src.readLine(prompt, line)) {
      m_sources.pop_back();
      continue;
    }
    m_lastWhere = src.where();
    bool first = true;
    for (Answer& t : tokenizeLine(line)) {
      t.shown = src.interactive() && first;
      first = false;
      m_tokens.push_back(std::move(t));
    }
    if (src.interactive()) output().lineTypedByUser();
  }
  a = std::move(m_tokens.front());
  m_tokens.pop_front();
  return true;
}

int Driver::run() {
  Session& s = Session::get();
  s.init();
  while (!s.quitRequested) {
    for (auto& path : std::exchange(s.pendingScripts, {})) {
      std::string err;
      if (m_sources.size() >= kMaxScriptDepth) {
        // A script that runs itself would never end.
        output().message("\nScripts nested too deep (" + std::to_string(kMaxScriptDepth) + " levels); \"" +
                         path + "\" was not run.\n");
      } else if (auto src = openScript(path, err)) {
        m_tokens.clear();  // a script replaces what was typed after SCRIPT
        push(std::move(src));
      } else {
        output().message("\n" + err + "\n");
      }
    }
    Frame* t = s.top();
    bool waiting = t && t->waiting;
    std::string prompt = waiting ? t->prompt : "\nCommand: ";
    Answer a;
    if (!next(prompt, a)) {
      if (t) {
        std::string p = t->prompt;
        while (!p.empty() && (p.front() == '\n' || p.front() == ' ')) p.erase(0, 1);
        while (!p.empty() && (p.back() == ' ' || p.back() == '\n')) p.pop_back();
        // A variable typed by its name is asked by no command that has a name to give.
        std::string who = s.cmdNames();
        m_failure = "the input ended " + (who.empty() ? "at" : "while " + who + " was waiting for an answer to") +
                    " \"" + p + "\"";
        output().message("\n" + p + "\n");
        s.cancelAll();
        return 1;
      }
      break;
    }
    uint64_t failedBefore = s.failures(nullptr);
    auto stopOnFailure = [&] {
      // A script goes no further than a command that failed.
      if (s.failures(nullptr) == failedBefore || interactiveNow()) return false;
      m_failure = "a command failed" + (m_lastWhere.empty() ? "" : " at " + m_lastWhere);
      return true;
    };
    if (waiting) {
      s.feed(t, std::move(a));
      if (stopOnFailure()) return 1;
      continue;
    }
    if (!a.shown) {
      output().message("\nCommand: ");
      output().write(a.kind == Answer::Cancel ? "^C" : a.text);
      output().endLine();
    }
    if (a.kind == Answer::Cancel) continue;
    std::string word = a.text;
    if (a.isEmpty()) {
      // Enter repeats the last command at the keyboard; in a script it does nothing.
      if (!interactiveNow() || s.lastCommandWord.empty()) continue;
      word = s.lastCommandWord;
    }
    if (!s.startWord(word, nullptr, false, true)) {
      output().message("\nUnknown command \"" + upper(word) + "\".  Type --list-commands for the commands.\n");
      if (!interactiveNow()) {
        m_failure = "unknown command \"" + word + "\"" + (m_lastWhere.empty() ? "" : " at " + m_lastWhere);
        return 1;
      }
      continue;
    }
    if (stopOnFailure()) return 1;
    s.lastCommandWord = word;
  }
  return 0;
}

}  // namespace dx::ed
