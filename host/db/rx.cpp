// Runtime classes and the system registry.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include "hostapi/rx.h"

namespace {
std::map<std::string, DxRxClass*>& classRegistry() {
  static std::map<std::string, DxRxClass*> reg;
  return reg;
}

class SysRegistry : public DxRxDictionary {
 public:
  DxRxObject* at(const char* key) const override {
    auto it = m_items.find(key ? key : "");
    return it == m_items.end() ? nullptr : it->second;
  }
  DxRxObject* atPut(const char* key, DxRxObject* obj) override {
    DxRxObject*& slot = m_items[key ? key : ""];
    DxRxObject* old = slot;
    slot = obj;
    return old;
  }
  DxRxObject* remove(const char* key) override {
    auto it = m_items.find(key ? key : "");
    if (it == m_items.end()) return nullptr;
    DxRxObject* o = it->second;
    m_items.erase(it);
    return o;
  }

 private:
  std::map<std::string, DxRxObject*> m_items;
};
}  // namespace

DxRxClass* DxRxObject::desc() {
  static DxRxClass cls("DxRxObject", nullptr);
  return &cls;
}
DxRxClass* DxRxObject::isA() const { return desc(); }
bool DxRxObject::isKindOf(const DxRxClass* cls) const { return isA()->isDerivedFrom(cls); }

DxRxClass::DxRxClass(const char* name, DxRxClass* parent, const char* dxfName, Constructor ctor,
                     const char* appName)
    : m_name(name), m_dxfName(dxfName ? dxfName : ""), m_appName(appName ? appName : ""),
      m_parent(parent), m_ctor(ctor) {
  classRegistry().emplace(m_name, this);
}

DxRxClass::~DxRxClass() {
  auto& reg = classRegistry();
  auto it = reg.find(m_name);
  if (it != reg.end() && it->second == this) reg.erase(it);
}

DxRxClass* DxRxClass::desc() {
  static DxRxClass cls("DxRxClass", DxRxObject::desc());
  return &cls;
}
DxRxClass* DxRxClass::isA() const { return desc(); }

bool DxRxClass::isDerivedFrom(const DxRxClass* other) const {
  for (const DxRxClass* c = this; c; c = c->m_parent)
    if (c == other) return true;
  return false;
}

DxRxClass* dxrxFindDxRxClass(const char* name) {
  auto& reg = classRegistry();
  auto it = reg.find(name ? name : "");
  return it == reg.end() ? nullptr : it->second;
}

bool dxrxAddClass(DxRxClass* cls) {
  if (!cls) return false;
  auto& reg = classRegistry();
  auto it = reg.find(cls->name());
  if (it != reg.end() && it->second != cls) return false;
  reg[cls->name()] = cls;
  return true;
}

void deleteDxRxClass(DxRxClass* cls) { delete cls; }

void dxrx_abort(const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  std::fputs("\nFatal error: ", stderr);
  std::vfprintf(stderr, format, ap);
  std::fputc('\n', stderr);
  va_end(ap);
  std::fflush(stdout);
  std::abort();
}

DxRxDictionary* dxrxSysRegistry() {
  static SysRegistry reg;
  return &reg;
}
