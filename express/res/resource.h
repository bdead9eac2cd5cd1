// Resource strings of the module. Every prompt, message and caption is a string of the
// resource library expressres.dll, found by identifier, with a built-in default for when
// the library or the string is missing. Keyword strings do the same over the host's
// keyword library (the localised command names).
#pragma once

#include <cstdint>
#include <string>

namespace express {

struct StringDef {
  uint32_t id;
  const char* defaultText;
};

namespace res {
#define DX_RES(name, id, text) inline constexpr StringDef name{id, text};
#define DX_RES2(name, id, libraryText, defaultText) inline constexpr StringDef name{id, defaultText};
#include "express/res/strings.inc"
#undef DX_RES
#undef DX_RES2
}  // namespace res

// Loads expressres.dll from the module's own folder unless it is loaded already. On
// failure prints "Error: Cannot load expressres.dll!" and leaves the handle null, so
// that the next call tries again.
void ensureResourceLibrary();
// The library's handle (null while it is not loaded).
void* resourceLibrary();
// The host's keyword library, loaded when the module is loaded (null without one).
void* keywordLibrary();
// The folder of the module file, with a trailing '/'.
std::string moduleFolder();

// Test hooks: forget the loaded resource library (it stays mapped) and take the module's
// folder from here instead of from the module file ("" restores it).
void resetResourceLibraryForTests(const std::string& folderOverride);

// A string-table text: the library's string when there is one, else the default.
class CResString {
 public:
  CResString(uint32_t id, const char* defaultText);
  explicit CResString(const StringDef& def) : CResString(def.id, def.defaultText) {}
  CResString(const CResString&) = delete;
  CResString& operator=(const CResString&) = delete;

  const char* c_str() const { return m_text; }
  operator const char*() const { return m_text; }
  // True when the text came from the library.
  bool fromLibrary() const { return m_fromLibrary; }

 protected:
  struct KeywordTag {};
  CResString(KeywordTag, uint32_t id, const char* defaultText);

 private:
  void load(void* library, uint32_t id, const char* defaultText);
  char m_buffer[1000];
  const char* m_text = "";
  bool m_fromLibrary = false;
};

// A keyword-library text (a localised command name), with its default.
class CKeywordString : public CResString {
 public:
  CKeywordString(uint32_t id, const char* defaultText) : CResString(KeywordTag{}, id, defaultText) {}
};

// While alive, the host takes dialog resources from the module's resource library.
class CResourceScope {
 public:
  CResourceScope();
  ~CResourceScope();
  CResourceScope(const CResourceScope&) = delete;
  CResourceScope& operator=(const CResourceScope&) = delete;

 private:
  void* m_previous;
};

}  // namespace express
