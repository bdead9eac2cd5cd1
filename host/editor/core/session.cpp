#include "host/editor/core/session.h"
#include "host/editor/core/xref.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <optional>

#include "host/db/journal.h"
#include "host/db/repair.h"

namespace fs = std::filesystem;

namespace dx::ed {

DxEdCommandStack* commandStackInstance();
DxEditor* editorInstance();
const char* kHostGroup = "DRAXEL";

// ---------------------------------------------------------------------------------------
// Documents

Document::Document(std::unique_ptr<DxDbDatabase> db, std::string path) : m_db(std::move(db)) {
  setPath(path);
  dx::db::setJournalEnabled(*m_db, true);
  m_savedPosition = journalPosition();
}

Document::~Document() = default;

void Document::setPath(const std::string& path) {
  m_path = path;
  m_title = fs::path(path).filename().string();
}

uint64_t Document::journalPosition() const { return dx::db::journalPosition(*m_db); }
void Document::rollbackTo(uint64_t pos) { dx::db::rollbackJournal(*m_db, pos); }
bool Document::modified() const { return journalPosition() != m_savedPosition; }
void Document::markSaved() { m_savedPosition = journalPosition(); }

// ---------------------------------------------------------------------------------------
// Session

Session& Session::get() {
  static Session* s = new Session();  // lives to the end: modules unload after main
  return *s;
}

void Session::init() {
  if (m_initialised) return;
  m_initialised = true;
  DxEdCommandStack* stack = commandStackInstance();
  dxrxSysRegistry()->atPut("DXRX_REGISTERED_COMMANDS", stack);
  dxrxSysRegistry()->atPut("DxEditor", editorInstance());
  // Modules look these classes up by name before they make an instance.
  DxEditorReactor::desc();
  DxEdCommandStack::desc();
  registerHostCommands(stack);
  if (m_docs.empty()) setCurrent(newDocument());
}

void Session::reset() {
  cancelAll();
  m_frames.clear();
  freeAllSelectionSets();
  while (!m_docs.empty()) closeDocument(m_docs.back().get());
  m_sessionVars.clear();
  directAnswers.clear();
  m_initGet = {};
  m_untitled = 0;
  quitRequested = false;
  pendingScripts.clear();
  lastCommandWord.clear();
  init();
  if (m_docs.empty()) setCurrent(newDocument());
}

Document* Session::newDocument() {
  auto db = std::make_unique<DxDbDatabase>(true);
  std::string name = "Drawing" + std::to_string(++m_untitled) + ".dxf";
  m_docs.push_back(std::make_unique<Document>(std::move(db), name));
  Document* doc = m_docs.back().get();
  for (auto* r : std::vector(docReactors)) r->documentCreated(doc);
  return doc;
}

Document* Session::openDocument(const std::string& path, std::string& error, bool recover) {
  std::error_code ec;
  if (!fs::exists(path, ec)) {
    error = "cannot read '" + path + "': no such file";
    return nullptr;
  }
  if (fs::is_directory(path, ec)) {
    error = "cannot read '" + path + "': it is a folder";
    return nullptr;
  }
  auto db = std::make_unique<DxDbDatabase>(false);
  std::optional<dx::db::RecoverMode> recovering;
  if (recover) recovering.emplace();
  if (db->readDwgFile(path.c_str()) != Dxad::eOk) {
    error = "cannot read '" + path + "': " +
            (db->lastError().empty() ? std::string("not a drawing file") : db->lastError());
    return nullptr;
  }
  // What loading had to set right in a damaged file is said, not hidden.
  const auto& repairs = dx::db::loadRepairs(*db);
  for (const std::string& r : repairs) output().message("\n" + fs::path(path).filename().string() + ": " + r + "\n");
  if (recover)
    output().message("\n" + fs::path(path).filename().string() + ": recovered, " + std::to_string(repairs.size()) +
                     (repairs.size() == 1 ? " repair" : " repairs") + ".\n");
  resolveXrefs(db.get(), path);
  m_docs.push_back(std::make_unique<Document>(std::move(db), fs::absolute(path).string()));
  Document* doc = m_docs.back().get();
  for (auto* r : std::vector(docReactors)) r->documentCreated(doc);
  return doc;
}

void Session::setCurrent(Document* doc) {
  m_current = doc;
  dxdbHostApplicationServices()->setWorkingDatabase(doc ? doc->database() : nullptr);
  if (doc)
    for (auto* r : std::vector(docReactors)) r->documentBecameCurrent(doc);
}

void Session::closeDocument(Document* doc) {
  for (auto* r : std::vector(docReactors)) r->documentToBeDestroyed(doc);
  for (auto& f : m_frames)
    if (f->doc == doc) f->doc = nullptr;
  auto it = std::find_if(m_docs.begin(), m_docs.end(), [&](auto& d) { return d.get() == doc; });
  if (it == m_docs.end()) return;
  bool wasCurrent = m_current == doc;
  std::unique_ptr<Document> keep = std::move(*it);
  m_docs.erase(it);
  if (wasCurrent) setCurrent(m_docs.empty() ? nullptr : m_docs.back().get());
}

// ---------------------------------------------------------------------------------------
// Commands

const DxEdCommand* Session::findCommand(const std::string& word) const {
  std::string w = word;
  bool global = false, hostOnly = false;
  if (!w.empty() && w[0] == '\'') w.erase(0, 1);
  while (!w.empty() && (w[0] == '_' || w[0] == '.')) {
    (w[0] == '_' ? global : hostOnly) = true;
    w.erase(0, 1);
  }
  if (w.empty()) return nullptr;
  DxEdCommandStack* stack = commandStackInstance();
  if (hostOnly) {
    for (const DxEdCommand* c : stack->commands())
      if (c->group == kHostGroup &&
          (iequals(c->globalName, w) || (!global && iequals(c->localName, w))))
        return c;
    return nullptr;
  }
  return stack->lookupCmd(w.c_str(), global);
}

Frame* Session::running() const {
  CommandFiber* cur = CommandFiber::current();
  if (!cur) return nullptr;
  for (auto& f : m_frames)
    if (f->fiber.get() == cur) return f.get();
  return nullptr;
}

void Session::failCommand() {
  if (Frame* f = running()) f->failed = f->errorStatus = true;
}

std::string Session::cmdNames() const {
  std::string s;
  for (auto& f : m_frames) {
    if (f->name == "SETVAR" && f->topLevel && m_frames.size() == 1) continue;  // the asking itself
    if (!s.empty()) s += '\'';
    s += f->name;
  }
  return s;
}

void Session::notifyCommand(void (DxEditorReactor::*fn)(const char*), const std::string& name) {
  for (auto* r : std::vector(editorReactors)) (r->*fn)(name.c_str());
}

Frame* Session::start(const DxEdCommand* cmd, Frame* parent, bool fromCall, bool echo,
                      std::vector<Answer> given) {
  auto frame = std::make_unique<Frame>();
  Frame* f = frame.get();
  f->name = upper(cmd->globalName);
  f->command = cmd;
  f->parent = parent;
  f->echo = echo;
  f->doc = m_current;
  f->topLevel = parent == nullptr;
  if (f->topLevel && f->doc) {
    f->undoStart = f->doc->journalPosition();
    f->undoStepsBefore = f->doc->undo.size();
  }
  for (Answer& a : given) f->queue.push_back(std::move(a));
  DxRxFunctionPtr handler = cmd->handler;
  f->fiber = std::make_unique<CommandFiber>([handler] {
    if (handler) handler();
  });
  m_frames.push_back(std::move(frame));
  notifyCommand(&DxEditorReactor::commandWillStart, f->name);
  runFrame(f);
  return f;
}

bool Session::startWord(const std::string& word, Frame* parent, bool fromCall, bool echo) {
  if (const DxEdCommand* cmd = findCommand(word)) {
    start(cmd, parent, fromCall, echo);
    return true;
  }
  std::string bare = word;
  while (!bare.empty() && (bare[0] == '_' || bare[0] == '.' || bare[0] == '\'')) bare.erase(0, 1);
  if (findVar(bare)) {
    // A variable's name works like SETVAR with the name already given.
    const DxEdCommand* setvar = findCommand("._SETVAR");
    if (!setvar) return false;
    Answer a = Answer::text_(upper(bare));
    a.shown = true;
    start(setvar, parent, fromCall, echo, {a});
    return true;
  }
  for (auto* r : std::vector(editorReactors)) r->unknownCommand(word.c_str());
  return false;
}

void Session::runFrame(Frame* f) {
  f->fiber->resume();
  if (f->fiber->finished()) finish(f);
}

void Session::feed(Frame* f, Answer a) {
  Frame* paused = nullptr;
  for (auto& g : m_frames)
    if (g->pausedOn == f) paused = g.get();
  bool cancel = a.kind == Answer::Cancel;
  f->queue.push_back(std::move(a));
  runFrame(f);
  if (!paused) return;
  paused->pausedOn = nullptr;
  paused->pauseCancelled = cancel;
  runFrame(paused);
}

bool Session::isRunning(const Frame* f) const {
  return std::any_of(m_frames.begin(), m_frames.end(), [&](auto& p) { return p.get() == f; });
}

void Session::finish(Frame* f) {
  auto it = std::find_if(m_frames.begin(), m_frames.end(), [&](auto& p) { return p.get() == f; });
  if (it == m_frames.end()) return;
  if (f->fiber && f->fiber->error()) {
    f->failed = true;
    try {
      std::rethrow_exception(f->fiber->error());
    } catch (const std::exception& e) {
      output().message("\nError in " + f->name + ": " + e.what() + "\n");
    } catch (...) {
      output().message("\nError in " + f->name + ".\n");
    }
  }
  Document* doc = f->doc;
  // Commands this one left waiting now belong to its caller (or to the command line).
  for (auto& g : m_frames) {
    if (g->parent != f) continue;
    g->parent = f->parent;
    g->echo = true;
    if (!g->parent) {
      g->topLevel = true;
      if (g->doc) {
        g->undoStart = g->doc->journalPosition();
        g->undoStepsBefore = g->doc->undo.size() + (f->topLevel ? 1 : 0);
      }
    }
  }
  if (doc && f->topLevel) {
    reportOpenObjects(doc, f->name);
    bool noStep = f->command && (f->command->flags & DxEdCommandFlags::kNoUndoMarker);
    if (!noStep) doc->undo.commandEnded(f->name, f->undoStart, f->undoStepsBefore, doc->journalPosition());
    doc->pickFirst.clear();
  }
  std::string name = f->name;
  bool cancelled = f->cancelled, failed = f->failed;
  // An exception is reported and the script goes on; a chosen error status counts.
  if (f->errorStatus && !cancelled) ++m_failures[f->parent];
  m_failures.erase(f);
  std::unique_ptr<Frame> keep = std::move(*it);
  m_frames.erase(it);
  if (cancelled && keep->topLevel) output().message("\n*Cancel*\n");
  notifyCommand(failed ? &DxEditorReactor::commandFailed
                       : cancelled ? &DxEditorReactor::commandCancelled
                                   : &DxEditorReactor::commandEnded,
                name);
}

void Session::cancelDownTo(Frame* target) {
  auto alive = [&](Frame* f) { return isRunning(f); };
  while (Frame* t = top()) {
    bool last = t == target;
    for (int i = 0; i < 64 && alive(t) && t->waiting; ++i) {
      t->cancelled = true;
      feed(t, Answer::cancel());
    }
    if (alive(t)) {
      // A command that ignores cancels: its stack is unwound.
      t->cancelled = true;
      t->fiber.reset();
      finish(t);
    }
    if (last || !alive(target)) break;
  }
}

// ---------------------------------------------------------------------------------------
// Answers

namespace {
std::string display(const Answer& a) {
  switch (a.kind) {
    case Answer::Point: return formatPoint(a.pt);
    case Answer::Real: return formatDistance(a.real, 2, 4, 8);
    case Answer::Int: return std::to_string(a.integer);
    case Answer::Name: {
      DxDbObjectId id;
      dxdbGetObjectId(id, a.name);
      return "<Entity " + (id.isNull() ? std::string("?") : id.handle().str()) + ">";
    }
    case Answer::Picks: return "<Selection set>";
    case Answer::Empty: return "";
    default: return a.quoted ? "\"" + a.text + "\"" : a.text;
  }
}
}  // namespace

Answer Session::ask(const std::string& prompt) {
  Frame* f = running();
  Answer a;
  if (!f) {
    if (directAnswers.empty()) return Answer::cancel();
    a = std::move(directAnswers.front());
    directAnswers.pop_front();
  } else {
    if (f->queue.empty()) {
      f->prompt = prompt;
      f->waiting = true;
      CommandFiber::suspend();
      f->waiting = false;
    }
    if (f->queue.empty()) return Answer::cancel();
    a = std::move(f->queue.front());
    f->queue.pop_front();
    if (a.kind == Answer::Cancel) f->cancelled = true;
    if (!f->echo || a.shown) return a;
  }
  output().message(prompt);
  output().write(display(a));
  output().endLine();
  return a;
}

}  // namespace dx::ed
