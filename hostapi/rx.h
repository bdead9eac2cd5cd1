// Draxel host interface: runtime classes, the system registry and the module protocol.
#pragma once

#include <string>

class DxRxClass;

class DxRxObject {
 public:
  virtual ~DxRxObject() = default;
  static DxRxClass* desc();
  virtual DxRxClass* isA() const;
  bool isKindOf(const DxRxClass* cls) const;
  template <class T>
  static T* cast(DxRxObject* o) {
    return o && o->isKindOf(T::desc()) ? static_cast<T*>(o) : nullptr;
  }
  template <class T>
  static const T* cast(const DxRxObject* o) {
    return o && o->isKindOf(T::desc()) ? static_cast<const T*>(o) : nullptr;
  }
};

namespace dx::db {
struct ClassSchema;
}

// A runtime class record: name, parent, DXF name and, for database classes, the
// group-code schema the host reads and writes them with.
class DxRxClass : public DxRxObject {
 public:
  using Constructor = DxRxObject* (*)();
  DxRxClass(const char* name, DxRxClass* parent, const char* dxfName = "",
            Constructor ctor = nullptr, const char* appName = "");
  ~DxRxClass() override;
  static DxRxClass* desc();
  DxRxClass* isA() const override;

  const char* name() const { return m_name.c_str(); }
  const char* dxfName() const { return m_dxfName.c_str(); }
  const char* appName() const { return m_appName.c_str(); }
  DxRxClass* myParent() const { return m_parent; }
  bool isDerivedFrom(const DxRxClass* other) const;
  DxRxObject* create() const { return m_ctor ? m_ctor() : nullptr; }

  const dx::db::ClassSchema* schema = nullptr;  // set by the host for database classes

 private:
  std::string m_name, m_dxfName, m_appName;
  DxRxClass* m_parent;
  Constructor m_ctor;
};

// Declares the runtime-class members of a class; the host defines them with
// DX_DEFINE_MEMBERS (host/db) so the module only sees the declarations.
#define DX_DECLARE_MEMBERS(CLASS) \
 public:                          \
  static DxRxClass* desc();       \
  DxRxClass* isA() const override

// Class registry of the host, keyed by class name.
DxRxClass* dxrxFindDxRxClass(const char* name);
// Registers a class created at run time; returns false when the name is taken.
bool dxrxAddClass(DxRxClass* cls);
// Removes and deletes a class record registered with dxrxAddClass.
void deleteDxRxClass(DxRxClass* cls);
// Stops the host with a message (a fatal condition of a module).
[[noreturn]] void dxrx_abort(const char* format, ...);

// The system registry: named service objects of the host ("DxEditor",
// "DXRX_REGISTERED_COMMANDS", ...).
class DxRxDictionary {
 public:
  virtual ~DxRxDictionary() = default;
  virtual DxRxObject* at(const char* key) const = 0;
  virtual DxRxObject* atPut(const char* key, DxRxObject* obj) = 0;
  virtual DxRxObject* remove(const char* key) = 0;
};
DxRxDictionary* dxrxSysRegistry();

// Messages the host sends to a module's entry point.
namespace DxRx {
enum AppMsgCode {
  kNullMsg = 0,
  kInitAppMsg = 1,
  kUnloadAppMsg = 2,
  kLoadDwgMsg = 3,
  kUnloadDwgMsg = 4,
  kInvkSubrMsg = 5,
  kCfgMsg = 6,
  kEndMsg = 7,
  kQuitMsg = 8,
  kSaveMsg = 9,
};
enum AppRetCode { kRetOK = 0, kRetError = 3 };
}  // namespace DxRx
