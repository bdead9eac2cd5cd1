// Draxel host interface: resource libraries. A resource library is a shared object that
// exports one function, dxResourceTable, returning its string table and its dialog
// declarations. Modules load their own resource library and read strings from it; the
// host presents the dialogs declared there.
#pragma once

#include <dlfcn.h>

#include <cstdint>
#include <cstring>

struct DxResString {
  uint32_t id;
  const char* text;
};

// One control of a dialog. kind: "label", "check", "radio", "button", "edit", "int",
// "list", "combo", "progress", "ok", "cancel". For "int", low and high bound the value.
struct DxResControl {
  const char* kind;
  uint32_t id;
  uint32_t textId;  // string-table identifier of the control's text (0: none)
  const char* text; // the same text, for a host that presents the declaration alone
  int32_t low, high;
};

struct DxResDialog {
  uint32_t id;
  const char* className;  // the module's class that runs the dialog
  uint32_t captionId;
  const char* caption;
  const DxResControl* controls;
  uint32_t controlCount;
};

struct DxResTable {
  uint32_t version;  // kDxResTableVersion
  const DxResString* strings;
  uint32_t stringCount;
  const DxResDialog* dialogs;
  uint32_t dialogCount;
};

inline constexpr uint32_t kDxResTableVersion = 1;
inline constexpr const char* kDxResTableSymbol = "dxResourceTable";
extern "C" {
typedef const DxResTable* (*DxResTableFunction)();
}

// Loads a resource library by path; null when it cannot be loaded.
inline void* dxrxLoadResourceLibrary(const char* path) {
  if (!path || !*path) return nullptr;
  return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

inline const DxResTable* dxrxResourceTable(void* library) {
  if (!library) return nullptr;
  auto fn = reinterpret_cast<DxResTableFunction>(dlsym(library, kDxResTableSymbol));
  const DxResTable* t = fn ? fn() : nullptr;
  return t && t->version == kDxResTableVersion ? t : nullptr;
}

// Copies the string with the identifier into buf (at most bufLen - 1 characters and a
// terminating zero). Returns the number of characters copied: 0 when the library or the
// string is missing.
inline int dxrxLoadString(void* library, uint32_t id, char* buf, int bufLen) {
  if (!buf || bufLen <= 0) return 0;
  buf[0] = '\0';
  const DxResTable* t = dxrxResourceTable(library);
  if (!t) return 0;
  for (uint32_t i = 0; i < t->stringCount; ++i) {
    if (t->strings[i].id != id || !t->strings[i].text) continue;
    size_t n = std::strlen(t->strings[i].text);
    if (n > size_t(bufLen - 1)) n = size_t(bufLen - 1);
    std::memcpy(buf, t->strings[i].text, n);
    buf[n] = '\0';
    return int(n);
  }
  return 0;
}

inline const DxResDialog* dxrxFindDialog(void* library, uint32_t id) {
  const DxResTable* t = dxrxResourceTable(library);
  if (!t) return nullptr;
  for (uint32_t i = 0; i < t->dialogCount; ++i)
    if (t->dialogs[i].id == id) return &t->dialogs[i];
  return nullptr;
}

// The resource library the host presents dialogs from (null: its own). Modules switch it
// to theirs while one of their dialogs is open; returns the previous one.
void* dxrxCurrentResourceLibrary();
void* dxrxSetCurrentResourceLibrary(void* library);
