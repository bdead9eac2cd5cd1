// The host system object: the user profile and the add-on gate.
#include <cstdlib>
#include <cstring>
#include <memory>

#include "host/app/profile.h"

namespace {

class VmSystem : public CVmSystem {
 public:
  CVmUserProfile* userProfile() override {
    // The path is looked up each time: tests point DRAXEL_PROFILE elsewhere.
    std::string path = dx::app::profilePath();
    if (!m_profile || m_profile->path() != path) m_profile = std::make_unique<dx::app::ProfileFile>(path);
    return m_profile.get();
  }

  // DRAXEL_DISABLE_ADDONS (1 or 0) decides when set; otherwise the profile's
  // "General" key "DisableAddOnCommands" set to 1.
  bool isAddOnCommandsDisabled() const override {
    if (const char* env = std::getenv("DRAXEL_DISABLE_ADDONS"); env && *env)
      return std::strcmp(env, "0") != 0;
    std::string v;
    dx::app::ProfileFile profile(dx::app::profilePath());
    return profile.readString("General", "DisableAddOnCommands", v) && v == "1";
  }

  bool canModifyObject(DxDbObjectId id) const override { return id.isValid() && !id.isErased(); }

 private:
  std::unique_ptr<dx::app::ProfileFile> m_profile;
};

}  // namespace

CVmSystem* CVmSystem::instance() {
  static VmSystem* s = new VmSystem();
  return s;
}

// 24.0: the release the module's settings are kept under ("R24").
extern "C" int dxrxGetApiVersion() { return 2400; }
