// Loading of the module's resource library and of the host's keyword library.
#include "express/res/resource.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstring>

#include "hostapi/editor.h"
#include "hostapi/resource.h"

namespace express {
namespace {

const char* kResourceLibraryName = "expressres.dll";
const char* kKeywordLibraryName = "dxadkwlres.dll";

void* g_resourceLibrary = nullptr;
std::string g_folderOverride;

std::string folderOf(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string("./") : path.substr(0, slash + 1);
}

// The keyword library lies beside the host program, as the platform's loader would find
// it in the program's folder.
void* loadKeywordLibrary() {
  char exe[4096];
  ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
  if (n <= 0) return nullptr;
  exe[n] = '\0';
  return dxrxLoadResourceLibrary((folderOf(exe) + kKeywordLibraryName).c_str());
}

void* g_keywordLibrary = loadKeywordLibrary();

}  // namespace

std::string moduleFolder() {
  if (!g_folderOverride.empty()) return g_folderOverride;
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&moduleFolder), &info) && info.dli_fname)
    return folderOf(info.dli_fname);
  return "./";
}

void ensureResourceLibrary() {
  if (g_resourceLibrary) return;
  g_resourceLibrary = dxrxLoadResourceLibrary((moduleFolder() + kResourceLibraryName).c_str());
  if (!g_resourceLibrary) dxutPrintf("Error: Cannot load expressres.dll!\n");
}

void* resourceLibrary() { return g_resourceLibrary; }
void* keywordLibrary() { return g_keywordLibrary; }

void resetResourceLibraryForTests(const std::string& folderOverride) {
  g_resourceLibrary = nullptr;
  g_folderOverride = folderOverride;
  if (!g_folderOverride.empty() && g_folderOverride.back() != '/') g_folderOverride += '/';
}

CResString::CResString(uint32_t id, const char* defaultText) {
  // A command may run before the module's initialisation: it still finds its texts.
  ensureResourceLibrary();
  load(g_resourceLibrary, id, defaultText);
}

CResString::CResString(KeywordTag, uint32_t id, const char* defaultText) {
  load(g_keywordLibrary, id, defaultText);
}

void CResString::load(void* library, uint32_t id, const char* defaultText) {
  if (dxrxLoadString(library, id, m_buffer, int(sizeof m_buffer)) > 0) {
    m_text = m_buffer;
    m_fromLibrary = true;
  } else {
    m_text = defaultText ? defaultText : "";
  }
}

CResourceScope::CResourceScope() : m_previous(dxrxSetCurrentResourceLibrary(resourceLibrary())) {}
CResourceScope::~CResourceScope() { dxrxSetCurrentResourceLibrary(m_previous); }

}  // namespace express
