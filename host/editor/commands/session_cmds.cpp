// UNDO, U, SETVAR and the drawing and session commands NEW, OPEN, SAVE, SAVEAS, SCRIPT,
// QUIT.
#include <filesystem>

#include "host/db/repair.h"
#include "host/editor/commands/common.h"

namespace fs = std::filesystem;

namespace dx::ed::cmd {

void cmdUndo() {
  Session& s = session();
  Document* doc = s.current();
  if (!doc) return;
  UndoManager& u = doc->undo;
  std::string prompt = std::string("\nCurrent settings: Auto = ") + (u.autoMode ? "On" : "Off") +
                       ", Control = " + (u.enabled ? "All" : "None") +
                       "\nEnter the number of operations to undo or [Auto/Control/BEgin/End/Mark/Back] <1>: ";
  dxedInitGet(RSG_NOZERO | RSG_NONEG, "Auto Control BEgin End Mark Back Group");
  int n = 1;
  int rc = dxedGetInt(prompt.c_str(), &n);
  if (rc == RTCAN) return;
  if (rc == RTNORM || rc == RTNONE) {
    if (!u.enabled) {
      say("\nUNDO is off; nothing to undo.\n");
      return;
    }
    s.undoSteps(rc == RTNONE ? 1 : n);
    return;
  }
  std::string kw = s.lastInput;
  if (kw == "BEgin" || kw == "Group") {
    u.beginGroup(doc->journalPosition(), "Group");
  } else if (kw == "End") {
    u.endGroup(doc->journalPosition());
  } else if (kw == "Mark") {
    u.mark();
  } else if (kw == "Back") {
    s.undoBack();
  } else if (kw == "Auto") {
    std::string on;
    if (askKeyword(std::string("\nEnter UNDO Auto mode [ON/OFF] <") + (u.autoMode ? "On" : "Off") + ">: ",
                   "ON OFF", on) == RTNORM)
      u.autoMode = on == "ON";
  } else if (kw == "Control") {
    std::string c;
    if (askKeyword("\nEnter an UNDO control option [All/None/One] <All>: ", "All None One", c) == RTCAN) return;
    bool on = c != "None";
    u.enabled = on;
    if (!on) u.clear();  // the journal keeps recording; steps are what UNDO offers
  }
}

void cmdU() {
  Session& s = session();
  if (s.current() && !s.current()->undo.enabled) {
    say("\nUNDO is off; nothing to undo.\n");
    return;
  }
  s.undoSteps(1);
}

void cmdSetvar() {
  Session& s = session();
  std::string name;
  if (askString("\nEnter variable name or [?]: ", name, false) != RTNORM || name.empty()) return;
  if (name == "?") {
    std::string pattern;
    if (askString("\nEnter variable(s) to list <*>: ", pattern, false) != RTNORM) return;
    if (pattern.empty()) pattern = "*";
    for (const VarDef& d : sysvarTable()) {
      if (!wcMatch(d.name, pattern, true)) continue;
      VarValue v;
      s.getVar(d.name, v);
      say("\n" + d.name + std::string(d.name.size() < 16 ? 16 - d.name.size() : 1, ' ') +
          formatVarValue(v) + ((d.flags & kVarReadOnly) ? "  (read only)" : "") + "\n");
    }
    return;
  }
  const VarDef* def = findVar(name);
  if (!def) {
    say("\nUnknown variable name.  Type SETVAR ? for a list of variables.\n");
    return;
  }
  VarValue cur;
  s.getVar(def->name, cur);
  if (def->flags & kVarReadOnly) {
    say("\n" + def->name + " = " + formatVarValue(cur) + " (read only)\n");
    return;
  }
  for (;;) {
    std::string text;
    int rc = askString("\nEnter new value for " + def->name + " <" + formatVarValue(cur) + ">: ", text,
                       def->def.type == RTSTR);
    if (rc != RTNORM || text.empty()) return;
    VarValue v;
    std::string why;
    if (!parseVarValue(*def, text, v, why) || s.setVar(def->name, v, &why) != RTNORM) {
      say("\n" + why + "\n");
      continue;
    }
    return;
  }
}

void cmdNew() {
  Session& s = session();
  std::string tmpl;
  if (askString("\nEnter template file name or [. (for none)] <.>: ", tmpl) != RTNORM) return;
  Document* doc = nullptr;
  if (tmpl.empty() || tmpl == ".") {
    doc = s.newDocument();
  } else {
    std::string err;
    doc = s.openDocument(tmpl, err);
    if (!doc) {
      say("\n" + err + "\n");
      return;
    }
    doc->setPath("Drawing" + std::to_string(s.documents().size()) + ".dxf");
  }
  s.setCurrent(doc);
}

namespace {
void openAsked(const char* prompt, bool recover) {
  Session& s = session();
  std::string path;
  if (askString(prompt, path) != RTNORM || path.empty()) return;
  if (fs::path(path).extension().empty() && !fs::exists(path)) path += ".dxf";
  std::string err;
  Document* doc = s.openDocument(path, err, recover);
  if (!doc) {
    say("\n" + err + "\n");
    return;
  }
  s.setCurrent(doc);
  say("\nOpened " + std::string(doc->fileName()) + ".\n");
}
}  // namespace

void cmdOpen() { openAsked("\nEnter name of drawing to open: ", false); }
// A damaged drawing: read what can be read, repair it and say what was set right.
void cmdRecover() { openAsked("\nEnter name of drawing to recover: ", true); }

void cmdAudit() {
  Document* doc = session().current();
  if (!doc) return;
  std::string kw;
  int rc = askKeyword("\nFix any errors detected? [Yes/No] <N>: ", "Yes No", kw);
  if (rc == RTCAN || rc == RTERROR) return;
  bool fix = rc == RTNORM && kw == "Yes";
  std::vector<std::string> notes;
  size_t found = dx::db::auditDrawing(*doc->database(), notes, fix);
  for (const std::string& n : notes) say("\n" + n);
  say("\nTotal errors found " + std::to_string(found) + " fixed " + std::to_string(fix ? found : 0) + "\n");
}

namespace {

bool saveTo(Document* doc, std::string path, DxDbDwgVersion version) {
  Session& s = session();
  if (fs::path(path).extension().empty()) path += ".dxf";
  std::error_code ec;
  bool other = fs::absolute(path, ec) != fs::absolute(doc->fileName(), ec);
  if (other && fs::exists(path, ec)) {
    std::string kw;
    int rc = askKeyword("\n" + path + " already exists. Do you want to replace it? [Yes/No] <N>: ", "Yes No", kw);
    if (rc != RTNORM || kw != "Yes") return false;
  }
  for (auto* r : std::vector(s.editorReactors)) r->beginSave(doc->database(), path.c_str());
  if (doc->database()->saveAs(path.c_str(), version) != Dxad::eOk) {
    std::string why = doc->database()->lastError();
    say("\nCannot save \"" + path + "\"" + (why.empty() ? "" : ": " + why) + ".\n");
    return false;
  }
  doc->setPath(fs::absolute(path, ec).string());
  doc->markSaved();
  for (auto* r : std::vector(s.editorReactors)) r->saveComplete(doc->database(), path.c_str());
  return true;
}

}  // namespace

void cmdSave() {
  Document* doc = session().current();
  if (!doc) return;
  std::string path;
  if (askString(std::string("\nSave drawing as <") + doc->fileName() + ">: ", path) != RTNORM) return;
  if (path.empty()) path = doc->fileName();
  saveTo(doc, path, DxDb::kDHL_CURRENT);
}

void cmdSaveAs() {
  Document* doc = session().current();
  if (!doc) return;
  std::string kw;
  int rc = askKeyword("\nEnter file format [R14/2000/2004/2007/2010/2013/2018] <2018>: ",
                      "R14 2000 2004 2007 2010 2013 2018", kw);
  if (rc == RTCAN) return;
  DxDbDwgVersion v = DxDb::kDHL_1032;
  if (kw == "R14") v = DxDb::kDHL_1014;
  else if (kw == "2000") v = DxDb::kDHL_1015;
  else if (kw == "2004") v = DxDb::kDHL_1018;
  else if (kw == "2007") v = DxDb::kDHL_1021;
  else if (kw == "2010") v = DxDb::kDHL_1024;
  else if (kw == "2013") v = DxDb::kDHL_1027;
  std::string path;
  if (askString(std::string("\nSave drawing as <") + doc->fileName() + ">: ", path) != RTNORM) return;
  if (path.empty()) path = doc->fileName();
  saveTo(doc, path, v);
}

void cmdScript() {
  std::string path;
  if (askString("\nEnter script file name: ", path) != RTNORM || path.empty()) return;
  if (fs::path(path).extension().empty() && !fs::exists(path)) path += ".scr";
  if (!fs::is_regular_file(path)) {
    say("\nCannot find script file \"" + path + "\".\n");
    return;
  }
  session().pendingScripts.push_back(path);
}

void cmdQuit() {
  Session& s = session();
  Document* doc = s.current();
  if (!s.scripted && doc && doc->modified()) {
    std::string kw;
    int rc = askKeyword(std::string("\nSave changes to ") + doc->docTitle() + "? [Yes/No/Cancel] <Yes>: ",
                        "Yes No Cancel", kw);
    if (rc == RTCAN || kw == "Cancel") return;
    if (rc == RTNONE || kw == "Yes") {
      if (!saveTo(doc, doc->fileName(), DxDb::kDHL_CURRENT)) return;
    }
  }
  for (auto* r : std::vector(s.editorReactors)) r->beginQuit();
  s.quitRequested = true;
}

}  // namespace dx::ed::cmd
