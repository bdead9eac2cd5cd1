// The editor session: documents, running commands and their answers, system variables,
// undo and selection sets. One per process; the console and the tests drive it.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "host/editor/fiber.h"
#include "host/editor/output.h"
#include "host/editor/sysvar_table.h"
#include "host/editor/text_utils.h"
#include "hostapi/editor.h"

namespace dx::ed {

class Document;

// Undo steps of one drawing on top of the database's journal.
class UndoManager {
 public:
  struct Step {
    uint64_t start = 0, end = 0;
    std::string name;
    bool mark = false;
  };
  // Called by the session around every top-level command.
  void commandEnded(const std::string& name, uint64_t start, size_t stepsBefore, uint64_t end);
  void beginGroup(uint64_t pos, const std::string& name);
  // False when no group was open.
  bool endGroup(uint64_t pos);
  bool groupOpen() const { return m_depth > 0; }
  void mark();
  // Takes the last step off (ends an open group first); false when there is none.
  bool popStep(uint64_t now, Step& out);
  // Steps back to the last mark (inclusive); false and nothing done when there is none.
  bool popToMark(uint64_t now, std::vector<Step>& out);
  void clear();
  size_t size() const { return m_steps.size(); }
  bool autoMode = true;
  bool enabled = true;

 private:
  std::vector<Step> m_steps;
  int m_depth = 0;
  uint64_t m_groupStart = 0;
  size_t m_groupSteps = 0;
  std::string m_groupName;
};

struct Ucs {
  DxGePoint3d origin;
  DxGeVector3d x{1, 0, 0}, y{0, 1, 0};
  bool isWorld() const;
  DxGeMatrix3d toWorld() const;
  DxGeMatrix3d fromWorld() const;
};

class Document : public DxApDocument {
 public:
  Document(std::unique_ptr<DxDbDatabase> db, std::string path);
  ~Document() override;
  DxDbDatabase* database() const override { return m_db.get(); }
  const char* fileName() const override { return m_path.c_str(); }
  const char* docTitle() const override { return m_title.c_str(); }
  void setPath(const std::string& path);
  uint64_t journalPosition() const;
  void rollbackTo(uint64_t pos);
  bool modified() const;
  void markSaved();

  UndoManager undo;
  Ucs ucs;
  std::vector<Ucs> ucsPrevious;
  std::map<std::string, VarValue> vars;  // drawing variables the header does not hold
  std::vector<DxDbObjectId> previousSet, pickFirst;
  std::optional<DxGePoint3d> lastPoint;
  std::string lastBlockName;
  // The reference being edited in place (REFEDITNAME); "" while none is.
  std::string refEditName;

 private:
  std::unique_ptr<DxDbDatabase> m_db;
  std::string m_path, m_title;
  uint64_t m_savedPosition = 0;
};

// One running command.
struct Frame {
  std::string name;                // upper-case global name
  const DxEdCommand* command = nullptr;
  std::unique_ptr<CommandFiber> fiber;
  std::deque<Answer> queue;
  std::string prompt;              // of the answer it waits for
  bool waiting = false;
  bool echo = true;                // prompts and answers go to the command line
  bool cancelled = false;          // ended by a cancel
  bool failed = false;             // ended by an error
  bool errorStatus = false;        // ended with an error status it chose (failCommand)
  Frame* parent = nullptr;         // the command whose command call started it
  Frame* pausedOn = nullptr;       // a command it called, whose prompt the user answers now
  bool pauseCancelled = false;     // that answer was a cancel
  Document* doc = nullptr;
  uint64_t undoStart = 0;
  size_t undoStepsBefore = 0;
  bool topLevel = false;
};

// Prompt options of dxedInitGet, valid for one prompt.
struct InitGet {
  int flags = 0;
  std::vector<std::pair<std::string, std::string>> keywords;  // local, global
};

class Session {
 public:
  static Session& get();
  // Registers the host commands, the command stack and the editor object (idempotent).
  void init();
  // Closes all documents and forgets all state (tests).
  void reset();

  // Documents ------------------------------------------------------------------------
  Document* current() const { return m_current; }
  Document* newDocument();
  // Opens a drawing; null and a one-line message in error when it cannot be read.
  // recover: read the way RECOVER does (damage skipped and reported, not refused).
  Document* openDocument(const std::string& path, std::string& error, bool recover = false);
  void setCurrent(Document* doc);
  void closeDocument(Document* doc);
  const std::vector<std::unique_ptr<Document>>& documents() const { return m_docs; }
  std::vector<DxApDocManagerReactor*> docReactors;
  std::vector<DxEditorReactor*> editorReactors;

  // Commands ---------------------------------------------------------------------------
  // Looks a command line word up: "_" global, "." host, "-" options form, "'" transparent.
  const DxEdCommand* findCommand(const std::string& word) const;
  // Starts a command; runs it until it ends or waits. Null for an unknown command.
  // Starts a command on its own stack; answers already given are queued before it runs.
  Frame* start(const DxEdCommand* cmd, Frame* parent, bool fromCall, bool echo,
               std::vector<Answer> given = {});
  // Runs a command-line word: a command or a system variable name. False: unknown.
  bool startWord(const std::string& word, Frame* parent, bool fromCall, bool echo);
  // Gives a waiting command one answer and runs it until it waits or ends; a caller
  // paused on it goes on then.
  void feed(Frame* f, Answer a);
  bool isRunning(const Frame* f) const;
  // Cancels commands from the top down to (and including) f.
  void cancelDownTo(Frame* f);
  void cancelAll() { if (!m_frames.empty()) cancelDownTo(m_frames.front().get()); }
  Frame* top() const { return m_frames.empty() ? nullptr : m_frames.back().get(); }
  Frame* running() const;
  const std::vector<std::unique_ptr<Frame>>& frames() const { return m_frames; }
  std::string cmdNames() const;
  // Ends the running command with an error status once it returns: a command call
  // that ran it reports RTERROR, a script stops.
  void failCommand();
  // Commands started by parent (null: the command line) that ended with an error.
  uint64_t failures(const Frame* parent) const {
    auto it = m_failures.find(parent);
    return it == m_failures.end() ? 0 : it->second;
  }
  // Answers for prompts asked outside any command (tests and module start-up code).
  std::deque<Answer> directAnswers;

  // Prompts (inside a command) -------------------------------------------------------
  // The next answer; a cancel when none will come.
  Answer ask(const std::string& prompt);
  InitGet takeInitGet() { return std::exchange(m_initGet, {}); }
  void setInitGet(InitGet ig) { m_initGet = std::move(ig); }
  std::string lastInput;  // keyword or text of the last prompt (dxedGetInput)
  bool scripted = true;   // answers come from a script (file prompts, message boxes)

  // System variables -----------------------------------------------------------------
  bool getVar(const std::string& name, VarValue& v) const;
  // RTNORM, or RTERROR with why filled.
  int setVar(const std::string& name, const VarValue& v, std::string* why = nullptr);
  int getInt(const char* name) const;
  double getReal(const char* name) const;

  // Undo -----------------------------------------------------------------------------
  void undoSteps(int count);
  void undoBack();

  // Session end.
  bool quitRequested = false;
  // Scripts the SCRIPT command asked for, for the console to run next.
  std::vector<std::string> pendingScripts;
  // The words at "Command:" the last time, for Enter to repeat (interactive only).
  std::string lastCommandWord;

 private:
  Session() = default;
  void runFrame(Frame* f);
  void finish(Frame* f);
  void notifyCommand(void (DxEditorReactor::*fn)(const char*), const std::string& name);

  bool m_initialised = false;
  std::vector<std::unique_ptr<Document>> m_docs;
  Document* m_current = nullptr;
  int m_untitled = 0;
  std::vector<std::unique_ptr<Frame>> m_frames;
  std::map<std::string, VarValue> m_sessionVars;
  InitGet m_initGet;
  std::map<const Frame*, uint64_t> m_failures;
};

// The group of the host's own commands.
extern const char* kHostGroup;
// Host commands register through this.
void registerHostCommands(DxEdCommandStack* stack);
// Opens an entity for read/write with automatic close.
template <class T>
class Opened {
 public:
  Opened(DxDbObjectId id, DxDb::OpenMode mode, bool erased = false) {
    m_es = dxdbOpenObject(m_obj, id, mode, erased);
  }
  ~Opened() { close(); }
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;
  void close() {
    if (m_obj) m_obj->close();
    m_obj = nullptr;
  }
  T* operator->() const { return m_obj; }
  T* get() const { return m_obj; }
  explicit operator bool() const { return m_obj != nullptr; }
  Dxad::ErrorStatus status() const { return m_es; }

 private:
  T* m_obj = nullptr;
  Dxad::ErrorStatus m_es = Dxad::eOk;
};

// Selection helpers shared by dxedSSGet and the host commands.
struct SelectOptions {
  bool single = false;       // one selection round (":S")
  bool skipLocked = false;   // drop entities on locked layers (":L")
  bool memberwise = false;   // entities alone, even when PICKSTYLE selects whole groups
  const resbuf* filter = nullptr;
  std::string addPrompt = "\nSelect objects: ";
  std::string removePrompt = "\nRemove objects: ";
};
// Interactive "Select objects:" loop. RTNORM with a non-empty set, RTERROR when nothing
// was selected, RTCAN on cancel.
int selectObjects(const SelectOptions& opt, std::vector<DxDbObjectId>& out);
// Entities of the current space that pass a filter (null: all).
std::vector<DxDbObjectId> filterAll(const resbuf* filter, bool skipLocked);
bool matchesFilter(DxDbObjectId id, const resbuf* filter);
// Entity hit by a point (world), or null.
DxDbObjectId pickAt(const DxGePoint3d& wcsPoint);
std::vector<DxDbObjectId> windowSelect(const DxGePoint3d& a, const DxGePoint3d& b, bool crossing);
double pickAperture();
// Object snaps: OSMODE bits; the typed override's bits (-1: not an override).
double snapAperture();
bool osnapPoint(const DxGePoint3d& wcsPoint, int modes, DxGePoint3d& out);
int osnapModes(const std::string& word);
bool onLockedLayer(DxDbObjectId id);
// Current-space entities in drawing order.
std::vector<DxDbObjectId> currentSpaceEntities();
// Selection-set names.
void makeSelectionSet(const std::vector<DxDbObjectId>& ids, dx_name ss);
const std::vector<DxDbObjectId>* selectionSet(const dx_name ss);
void freeAllSelectionSets();

// Prompt helpers for host commands (UCS points, defaults, keywords).
// RTNORM with a point in UCS, RTNONE for Enter, RTCAN, RTKWORD (keyword in kw).
int askPoint(const std::string& prompt, const DxGePoint3d* base, DxGePoint3d& p,
             const std::string& keywords = "", std::string* kw = nullptr, int flags = 0);
int askKeyword(const std::string& prompt, const std::string& keywords, std::string& kw,
               int flags = 0);
int askString(const std::string& prompt, std::string& s, bool spaces = true);
int askReal(const std::string& prompt, double& v, int flags = 0);
int askAngle(const std::string& prompt, const DxGePoint3d* base, double& v, int flags = 0);
DxGePoint3d ucsToWorld(const DxGePoint3d& p);
DxGePoint3d worldToUcs(const DxGePoint3d& p);

// Copies a drawing's model space into a new block of target; null when it fails.
DxDbObjectId insertDrawingAsBlock(DxDbDatabase* target, const std::string& name, DxDbDatabase* source);

// Message for an object still open when a command ended (the host's open discipline).
void reportOpenObjects(Document* doc, const std::string& command);

}  // namespace dx::ed
