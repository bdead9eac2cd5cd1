// An editor session with the module's frame linked in: messages go straight to
// dxrxEntryPoint, and every test starts with the module unloaded.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#include "express/frame/module_state.h"
#include "express/res/resource.h"
#include "tests/editor/db/fixture.h"

extern "C" int dxrxEntryPoint(int message, void* appId);

class FrameTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    ::unsetenv("DRAXEL_DISABLE_ADDONS");
    namespace fs = std::filesystem;
    m_dir = fs::temp_directory_path() / ("frame_test_" + std::to_string(::getpid()));
    fs::remove_all(m_dir);
    fs::create_directories(m_dir);
    // A profile of our own, never the user's.
    ::setenv("DRAXEL_PROFILE", (m_dir / "profile.ini").c_str(), 1);
    ::setenv("DRAXEL_APPDIR", (m_dir / "App").c_str(), 1);
    express::resetResourceLibraryForTests("");
  }
  void TearDown() override {
    dxrxEntryPoint(4, nullptr);
    dxrxEntryPoint(2, nullptr);
    express::moduleState().blockChangeReactors.clear();
    ::unsetenv("DRAXEL_DISABLE_ADDONS");
    std::filesystem::remove_all(m_dir);
    EditorTest::TearDown();
  }
  std::filesystem::path dir() const { return m_dir; }
  std::vector<std::string> groupNames() { return dxedRegCmds()->groups(); }
  // The commands of every group but the host's, in registration order.
  std::vector<std::string> registeredNames() {
    std::vector<std::string> names;
    for (const DxEdCommand* c : dxedRegCmds()->commands())
      if (c->group != dx::ed::kHostGroup) names.push_back(c->globalName);
    return names;
  }
  size_t commandsIn(const std::string& group) {
    size_t n = 0;
    for (const DxEdCommand* c : dxedRegCmds()->commands()) n += c->group == group;
    return n;
  }

 private:
  std::filesystem::path m_dir;
};
