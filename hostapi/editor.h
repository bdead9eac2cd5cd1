// Draxel host interface: editor family. Documents and per-document data, the command
// stack, editor reactors, prompts, selection sets, system variables, command calls and
// the command line's output.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "hostapi/db.h"
#include "hostapi/rx.h"

// ---------------------------------------------------------------------------------------
// Documents

class DxApDocument {
 public:
  virtual ~DxApDocument() = default;
  virtual DxDbDatabase* database() const = 0;
  // Full path of the drawing file ("" for a drawing never saved).
  virtual const char* fileName() const = 0;
  // File name without folder ("Drawing1.dxf" for a new drawing).
  virtual const char* docTitle() const = 0;
};

class DxApDocManagerReactor {
 public:
  virtual ~DxApDocManagerReactor() = default;
  virtual void documentCreated(DxApDocument* doc) {}
  virtual void documentToBeDestroyed(DxApDocument* doc) {}
  virtual void documentBecameCurrent(DxApDocument* doc) {}
};

class DxApDocManager {
 public:
  virtual ~DxApDocManager() = default;
  virtual DxApDocument* curDocument() const = 0;
  virtual DxApDocument* mdiActiveDocument() const { return curDocument(); }
  virtual int documentCount() const = 0;
  // Open documents in the order they were opened.
  virtual std::vector<DxApDocument*> documents() const = 0;
  virtual DxApDocument* document(const DxDbDatabase* db) const = 0;
  virtual Dxad::ErrorStatus setCurDocument(DxApDocument* doc) = 0;
  virtual void addReactor(DxApDocManagerReactor* r) = 0;
  virtual void removeReactor(DxApDocManagerReactor* r) = 0;
};
DxApDocManager* dxDocManagerPtr();
#define dxDocManager dxDocManagerPtr()

// One record of T per open document, made on first access and dropped with the document.
template <class T>
class DxApDataManager : public DxApDocManagerReactor {
 public:
  DxApDataManager() {
    if (auto* dm = dxDocManagerPtr()) dm->addReactor(this);
  }
  ~DxApDataManager() override {
    if (auto* dm = dxDocManagerPtr()) dm->removeReactor(this);
  }
  DxApDataManager(const DxApDataManager&) = delete;
  DxApDataManager& operator=(const DxApDataManager&) = delete;

  T& docData() { return docData(dxDocManagerPtr()->curDocument()); }
  T& docData(DxApDocument* doc) { return m_data[doc]; }
  bool hasData(DxApDocument* doc) const { return m_data.count(doc) != 0; }
  void documentToBeDestroyed(DxApDocument* doc) override { m_data.erase(doc); }

 private:
  std::map<DxApDocument*, T> m_data;
};

// ---------------------------------------------------------------------------------------
// The command stack

typedef void (*DxRxFunctionPtr)();

namespace DxEdCommandFlags {
enum : int32_t {
  kModal = 0x00000000,
  kTransparent = 0x00000001,
  kUsePickSet = 0x00000002,
  kRedraw = 0x00000004,
  kNoPerspective = 0x00000008,
  kNoMultiple = 0x00000010,
  kNoTileMode = 0x00000020,
  kNoPaperSpace = 0x00000040,
  kNoOEM = 0x00000100,
  kUndefined = 0x00000200,
  kInProgress = 0x00000400,
  kDefun = 0x00000800,
  kNoNewStack = 0x00010000,
  kNoInternalLock = 0x00020000,
  kDocReadLock = 0x00080000,
  kDocExclusiveLock = 0x00100000,
  kSession = 0x00200000,
  kInterruptible = 0x00400000,
  kNoHistory = 0x00800000,
  kNoUndoMarker = 0x01000000,
  kNoBlockEditor = 0x02000000,
};
}

// Resource scope a command is registered with (the module's resource library handle).
class DxRxResourceInstance {
 public:
  DxRxResourceInstance() = default;
  explicit DxRxResourceInstance(void* moduleHandle) : m_handle(moduleHandle) {}
  void* handle() const { return m_handle; }

 private:
  void* m_handle = nullptr;
};

class DxEdCommand {
 public:
  std::string group, globalName, localName;
  int32_t flags = 0;
  DxRxFunctionPtr handler = nullptr;
  int functionCode = -1;
  DxRxResourceInstance resource;
};

// Registered commands by group; found in dxrxSysRegistry() under
// "DXRX_REGISTERED_COMMANDS".
class DxEdCommandStack : public DxRxObject {
  DX_DECLARE_MEMBERS(DxEdCommandStack);

 public:
  virtual Dxad::ErrorStatus addCommand(const char* group, const char* globalName,
                                       const char* localName, int32_t flags,
                                       DxRxFunctionPtr handler, void* uiContext = nullptr,
                                       int functionCode = -1,
                                       DxRxResourceInstance resource = DxRxResourceInstance(),
                                       DxEdCommand** result = nullptr) = 0;
  virtual Dxad::ErrorStatus removeCmd(const char* group, const char* globalName) = 0;
  virtual Dxad::ErrorStatus removeGroup(const char* group) = 0;
  // A command by name: the global name with a leading "_", otherwise the local name and
  // then the global name; case does not matter. Searches the most recent group first.
  virtual DxEdCommand* lookupCmd(const char* name, bool globalFlag = false) const = 0;
  virtual DxEdCommand* lookupGlobalCmd(const char* name) const = 0;
  virtual DxEdCommand* lookupLocalCmd(const char* name) const = 0;
  // Every command in registration order.
  virtual std::vector<const DxEdCommand*> commands() const = 0;
  virtual std::vector<std::string> groups() const = 0;
};
// The host's command stack (the registry entry, cast).
DxEdCommandStack* dxedRegCmds();

// ---------------------------------------------------------------------------------------
// Editor reactors and the editor object (registered as "DxEditor")

class DxEditorReactor : public DxRxObject {
  DX_DECLARE_MEMBERS(DxEditorReactor);

 public:
  virtual void commandWillStart(const char* cmdStr) {}
  virtual void commandEnded(const char* cmdStr) {}
  virtual void commandCancelled(const char* cmdStr) {}
  virtual void commandFailed(const char* cmdStr) {}
  virtual void unknownCommand(const char* cmdStr) {}
  virtual void sysVarWillChange(const char* varName) {}
  virtual void sysVarChanged(const char* varName, bool success) {}
  virtual void beginSave(DxDbDatabase* db, const char* fileName) {}
  virtual void saveComplete(DxDbDatabase* db, const char* fileName) {}
  virtual void beginQuit() {}
  virtual void undoSubcommandAuto(int activity, bool state) {}
};

class DxEditor : public DxRxObject {
  DX_DECLARE_MEMBERS(DxEditor);

 public:
  virtual void addReactor(DxEditorReactor* r) = 0;
  virtual void removeReactor(DxEditorReactor* r) = 0;
};
// The object registered as "DxEditor" in the system registry.
DxEditor* dxedEditor();

// ---------------------------------------------------------------------------------------
// Prompts

// dxedInitGet flags
#define RSG_NONULL 0x0001
#define RSG_NOZERO 0x0002
#define RSG_NONEG 0x0004
#define RSG_NOLIM 0x0008
#define RSG_GETZ 0x0010
#define RSG_DASH 0x0020
#define RSG_2D 0x0040
#define RSG_OTHER 0x0080
#define RSG_DDISTFIRST 0x0100
#define RSG_TRACKUCS 0x0200
#define RSG_NOORTHOZ 0x0400
#define RSG_NOOSNAP 0x0800
#define RSG_NODDIST 0x1000

// Flags and keywords for the next prompt only. Keywords are separated by spaces; each
// has its short form in capitals ("eXit"); a "_" part gives the global forms
// ("Block Size eXit _Block Size eXit").
int dxedInitGet(int flags, const char* keywords);
// With a base point (null for none): a point, or a keyword (RTKWORD, read it with
// dxedGetInput) or free text when RSG_OTHER was given.
int dxedGetPoint(const dx_point base, const char* prompt, dx_point result);
int dxedGetCorner(const dx_point base, const char* prompt, dx_point result);
int dxedGetInt(const char* prompt, int* result);
int dxedGetReal(const char* prompt, double* result);
int dxedGetDist(const dx_point base, const char* prompt, double* result);
// Radians, measured from ANGBASE counter-clockwise (dxedGetAngle) or from 0 east
// (dxedGetOrient).
int dxedGetAngle(const dx_point base, const char* prompt, double* result);
int dxedGetOrient(const dx_point base, const char* prompt, double* result);
// cronly non-zero: spaces belong to the answer.
int dxedGetString(int cronly, const char* prompt, char* result, size_t bufLen = 2049);
int dxedGetKword(const char* prompt, char* result, size_t bufLen = 512);
// The keyword (global form when the keyword list had one) or text of the last prompt.
int dxedGetInput(char* result, size_t bufLen = 512);
// Picks one entity: answers a point (hit tested), "#HANDLE", or Enter. A missed pick
// sets ERRNO to 7 and returns RTERROR; Enter sets ERRNO 0 and returns RTERROR.
int dxedEntSel(const char* prompt, dx_name entity, dx_point pickPoint);
int dxedNEntSel(const char* prompt, dx_name entity, dx_point pickPoint, double xform[4][4],
                resbuf** refstkres);

// ---------------------------------------------------------------------------------------
// Jigs

// A drag sequence: drag() asks for one value through sampler(), which calls one of the
// acquire helpers, then lets update() apply it to entity(). The host draws nothing, so
// a point or value answered at the jig's prompt is one sample followed by acceptance;
// keywords, Enter and cancel end the drag as at any prompt.
class DxEdJig {
 public:
  enum DragStatus {
    kModeless = -17,
    kNoChange = -6,
    kCancel = -4,
    kOther = -3,
    kNull = -1,
    kNormal = 0,
    kKW1, kKW2, kKW3, kKW4, kKW5, kKW6, kKW7, kKW8, kKW9
  };
  enum UserInputControls {
    kGovernedByOrthoMode = 0x0001,
    kNullResponseAccepted = 0x0002,
    kDontEchoCancelForCtrlC = 0x0004,
    kDontUpdateLastPoint = 0x0008,
    kNoDwgLimitsChecking = 0x0010,
    kNoZeroResponseAccepted = 0x0020,
    kNoNegativeResponseAccepted = 0x0040,
    kAccept3dCoordinates = 0x0080,
  };
  virtual ~DxEdJig() = default;

  // One sample and, when it gave a value, update(): kNormal, kKWn, kNull, kCancel, or
  // kOther when update() refused the value.
  DragStatus drag();
  virtual DragStatus sampler() = 0;
  virtual bool update() = 0;
  virtual DxDbEntity* entity() const = 0;
  // Appends entity() to the current space; the jig gives it up (close it as usual).
  DxDbObjectId append();

  void setDispPrompt(const char* prompt) { m_prompt = prompt ? prompt : ""; }
  const char* dispPrompt() const { return m_prompt.c_str(); }
  // Keywords as for dxedInitGet; kKW1 is the first.
  void setKeywordList(const char* keywords) { m_keywords = keywords ? keywords : ""; }
  const char* keywordList() const { return m_keywords.c_str(); }
  void setUserInputControls(int controls) { m_controls = controls; }
  int userInputControls() const { return m_controls; }

  // Points are in world coordinates; angles in radians.
  DragStatus acquirePoint(DxGePoint3d& point);
  DragStatus acquirePoint(DxGePoint3d& point, const DxGePoint3d& base);
  DragStatus acquireDist(double& dist);
  DragStatus acquireDist(double& dist, const DxGePoint3d& base);
  DragStatus acquireAngle(double& angle);
  DragStatus acquireAngle(double& angle, const DxGePoint3d& base);

 private:
  enum class Value { Point, Dist, Angle };
  DragStatus acquire(Value kind, const DxGePoint3d* base, double out[3]);
  DragStatus statusOf(int rc);
  int initGet() const;
  std::string m_prompt, m_keywords;
  int m_controls = 0;
};

// ---------------------------------------------------------------------------------------
// Selection sets

// Modes: null (ask "Select objects:"), "X" (all, filtered), "L" (last), "P" (previous),
// "I" (pick-first set), "W"/"C" (window/crossing, pt1 and pt2), "A" (all in current
// space), and the modifiers ":S" (one selection round), ":L" (skip locked layers),
// ":$" (pt1 is const char* const[2]: the add and remove prompts), ":E" (everything in
// the aperture), "_" (global keywords). filter: a group-code chain with -4 operators.
int dxedSSGet(const char* mode, const void* pt1, const void* pt2, const resbuf* filter,
              dx_name ss);
// The pick-first set (and the grip set, always empty here); either may be null.
int dxedSSGetFirst(resbuf** gset, resbuf** pset);
int dxedSSSetFirst(const dx_name pset, const dx_name unused);
int dxedSSFree(const dx_name ss);

// Draw order: where children go relative to their parent (or the whole space).
enum DxEdDrawOrderCmdType {
  kDrawOrderNone = 0,
  kDrawOrderBottom = 1,
  kDrawOrderTop = 2,
  kDrawOrderBelow = 3,
  kDrawOrderAbove = 4
};
// Gives children the draw order of parent: directly above it (kDrawOrderNone,
// kDrawOrderAbove), directly below it, or at the top or bottom of its space.
Dxad::ErrorStatus dxedDrawOrderInherit(DxDbObjectId parent, const DxDbObjectIdArray& children,
                                       DxEdDrawOrderCmdType cmd = kDrawOrderNone);
int dxedSSLength(const dx_name ss, int32_t* len);
int dxedSSName(const dx_name ss, int32_t i, dx_name entity);
// Adds an entity (ent null: makes a new empty set when ss is null too).
int dxedSSAdd(const dx_name ent, const dx_name ss, dx_name result);
int dxedSSDel(const dx_name ent, const dx_name ss);
int dxedSSMemb(const dx_name ent, const dx_name ss);
// Wildcards: # digit, @ letter, . other, * any run, ? any one, ~ negation (first),
// [..] and [~..] classes, ` escape, "," alternatives. RTNORM on match, RTERROR otherwise.
int dxutWcMatch(const char* string, const char* pattern);

// ---------------------------------------------------------------------------------------
// Files, text, coordinates, units

// A file name: a command-line prompt when FILEDIA is 0 or input is scripted. flags: 1
// new file (ask before replacing an existing one), 4 any extension, 16 title is the
// prompt. result receives an RTSTR; RTNORM, RTCAN, RTERROR.
int dxedGetFileD(const char* title, const char* defawlt, const char* ext, int flags,
                 resbuf* result);
// Looks a file up in the drawing folder, the current folder and the support path.
int dxedFindFile(const char* name, char* result, size_t bufLen = 1024);
// Text extents in the text's own coordinates from its entity list.
int dxedTextBox(const resbuf* textEnt, dx_point p1, dx_point p2);
// Coordinate transformation: from/to are RTSHORT 0 (WCS), 1 (UCS), 2 (display), 3 (paper
// display), an RTENAME (entity OCS) or an RT3DPOINT (extrusion). disp non-zero: vector.
int dxedTrans(const dx_point pt, const resbuf* from, const resbuf* to, int disp,
              dx_point result);
// Object snap of a point (UCS) with the modes named in mode as the typed overrides are
// ("nea", "mid", "end", "cen", "int", "nod", "qua", comma separated): the closest such
// point of the entities within the aperture, in UCS.
// RTNORM, or RTERROR when nothing is near.
int dxedOsnap(const dx_point pt, const char* mode, dx_point result);
// Units: 1 scientific, 2 decimal, 3 engineering, 4 architectural, 5 fractional; -1 for
// LUNITS/LUPREC.
int dxdbRToS(double val, int unit, int prec, char* str, size_t bufLen = 128);
int dxdbDisToF(const char* str, int unit, double* result);
int dxdbAngToS(double angle, int unit, int prec, char* str, size_t bufLen = 128);
int dxdbAngToF(const char* str, int unit, double* result);
// Command-line output.
int dxutPrintf(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Reports a failure of a module function on the command line.
void dxdbFail(const char* message);
// The host's program folder (writable; DRAXEL_APPDIR overrides it).
const char* dxutGetDxadAppDir();
std::string dxutCombinePath(const std::string& folder, const std::string& name);

// ---------------------------------------------------------------------------------------
// System variables and command calls

// The value as an RT-typed result buffer the caller provides. RTNORM or RTERROR.
int dxedGetVar(const char* name, resbuf* result);
int dxedSetVar(const char* name, const resbuf* value);
// Runs host commands synchronously: tagged values (RTSTR, RTPOINT, RT3DPOINT, RTREAL,
// RTSHORT, RTLONG, RTANG, RTENAME, RTPICKS) ending in 0. A command left waiting for more
// answers stays active; the next call goes on feeding it. The string PAUSE leaves the
// prompt the command is at to the user (or the script) for one answer, then the values
// after it go on. RTNORM, RTERROR, or RTCAN when the answer at a pause was a cancel.
int dxedCommandS(int rtype, ...);
#define PAUSE "\\"
// The same with the arguments as a chain.
int dxedCmdS(const resbuf* args);
// Menus: the host keeps the names of loaded menu groups.
int dxedLoadMenuGroup(const char* fileName, bool menuBar = true);
bool dxedIsMenuGroupLoaded(const char* groupName);
