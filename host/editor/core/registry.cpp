// The command stack, the editor object and the document manager as the module sees them.
#include <algorithm>
#include <memory>

#include "host/editor/core/session.h"

// Runtime class records, named as a module looks them up.
DxRxClass* DxEdCommandStack::desc() {
  static DxRxClass* cls = new DxRxClass("DxEdCommandStack", DxRxObject::desc());
  return cls;
}
DxRxClass* DxEdCommandStack::isA() const { return desc(); }
DxRxClass* DxEditorReactor::desc() {
  static DxRxClass* cls = new DxRxClass("DxEditorReactor", DxRxObject::desc());
  return cls;
}
DxRxClass* DxEditorReactor::isA() const { return desc(); }
DxRxClass* DxEditor::desc() {
  static DxRxClass* cls = new DxRxClass("DxEditor", DxRxObject::desc());
  return cls;
}
DxRxClass* DxEditor::isA() const { return desc(); }

namespace dx::ed {
namespace {

class CommandStack : public DxEdCommandStack {
 public:
  Dxad::ErrorStatus addCommand(const char* group, const char* globalName, const char* localName,
                               int32_t flags, DxRxFunctionPtr handler, void*, int functionCode,
                               DxRxResourceInstance resource, DxEdCommand** result) override {
    if (!group || !*group || !globalName || !*globalName || !handler) return Dxad::eInvalidInput;
    std::string local = localName && *localName ? localName : globalName;
    for (auto& c : m_cmds) {
      if (!iequals(c->group, group)) continue;
      if (iequals(c->globalName, globalName) || iequals(c->localName, local))
        return Dxad::eDuplicateKey;
    }
    auto c = std::make_unique<DxEdCommand>();
    c->group = group;
    c->globalName = globalName;
    c->localName = local;
    c->flags = flags;
    c->handler = handler;
    c->functionCode = functionCode;
    c->resource = resource;
    if (result) *result = c.get();
    if (std::none_of(m_groups.begin(), m_groups.end(),
                     [&](const std::string& g) { return iequals(g, group); }))
      m_groups.push_back(group);
    m_cmds.push_back(std::move(c));
    return Dxad::eOk;
  }

  Dxad::ErrorStatus removeCmd(const char* group, const char* globalName) override {
    auto it = std::find_if(m_cmds.begin(), m_cmds.end(), [&](auto& c) {
      return iequals(c->group, group ? group : "") && iequals(c->globalName, globalName ? globalName : "");
    });
    if (it == m_cmds.end()) return Dxad::eKeyNotFound;
    m_cmds.erase(it);
    return Dxad::eOk;
  }

  Dxad::ErrorStatus removeGroup(const char* group) override {
    std::string g = group ? group : "";
    auto gi = std::find_if(m_groups.begin(), m_groups.end(), [&](auto& x) { return iequals(x, g); });
    if (gi == m_groups.end()) return Dxad::eKeyNotFound;
    m_groups.erase(gi);
    std::erase_if(m_cmds, [&](auto& c) { return iequals(c->group, g); });
    return Dxad::eOk;
  }

  // Later groups first: a module's command hides the host's of the same name.
  DxEdCommand* find(const char* name, bool global, bool local) const {
    if (!name) return nullptr;
    for (auto g = m_groups.rbegin(); g != m_groups.rend(); ++g)
      for (auto& c : m_cmds)
        if (iequals(c->group, *g) && ((global && iequals(c->globalName, name)) ||
                                      (local && iequals(c->localName, name))))
          return c.get();
    return nullptr;
  }
  DxEdCommand* lookupCmd(const char* name, bool globalFlag) const override {
    if (globalFlag) return find(name, true, false);
    if (auto* c = find(name, false, true)) return c;
    return find(name, true, false);
  }
  DxEdCommand* lookupGlobalCmd(const char* name) const override { return find(name, true, false); }
  DxEdCommand* lookupLocalCmd(const char* name) const override { return find(name, false, true); }
  std::vector<const DxEdCommand*> commands() const override {
    std::vector<const DxEdCommand*> v;
    for (auto& c : m_cmds) v.push_back(c.get());
    return v;
  }
  std::vector<std::string> groups() const override { return m_groups; }

 private:
  std::vector<std::unique_ptr<DxEdCommand>> m_cmds;
  std::vector<std::string> m_groups;
};

class Editor : public DxEditor {
 public:
  void addReactor(DxEditorReactor* r) override {
    auto& v = Session::get().editorReactors;
    if (r && std::find(v.begin(), v.end(), r) == v.end()) v.push_back(r);
  }
  void removeReactor(DxEditorReactor* r) override { std::erase(Session::get().editorReactors, r); }
};

class DocManager : public DxApDocManager {
 public:
  DxApDocument* curDocument() const override { return Session::get().current(); }
  int documentCount() const override { return int(Session::get().documents().size()); }
  std::vector<DxApDocument*> documents() const override {
    std::vector<DxApDocument*> v;
    for (auto& d : Session::get().documents()) v.push_back(d.get());
    return v;
  }
  DxApDocument* document(const DxDbDatabase* db) const override {
    for (auto& d : Session::get().documents())
      if (d->database() == db) return d.get();
    return nullptr;
  }
  Dxad::ErrorStatus setCurDocument(DxApDocument* doc) override {
    for (auto& d : Session::get().documents())
      if (d.get() == doc) {
        Session::get().setCurrent(d.get());
        return Dxad::eOk;
      }
    return Dxad::eInvalidInput;
  }
  void addReactor(DxApDocManagerReactor* r) override {
    auto& v = Session::get().docReactors;
    if (r && std::find(v.begin(), v.end(), r) == v.end()) v.push_back(r);
  }
  void removeReactor(DxApDocManagerReactor* r) override { std::erase(Session::get().docReactors, r); }
};

}  // namespace

DxEdCommandStack* commandStackInstance() {
  static CommandStack* s = new CommandStack();
  return s;
}
DxEditor* editorInstance() {
  static Editor* e = new Editor();
  return e;
}

}  // namespace dx::ed

DxApDocManager* dxDocManagerPtr() {
  static dx::ed::DocManager* m = new dx::ed::DocManager();
  return m;
}

DxEdCommandStack* dxedRegCmds() {
  dx::ed::Session::get().init();
  return DxRxObject::cast<DxEdCommandStack>(dxrxSysRegistry()->at("DXRX_REGISTERED_COMMANDS"));
}

DxEditor* dxedEditor() {
  dx::ed::Session::get().init();
  return DxRxObject::cast<DxEditor>(dxrxSysRegistry()->at("DxEditor"));
}
