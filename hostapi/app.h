// Draxel host interface: the host application. The system object with the user profile
// and the add-on gate, the LISP evaluator and the API version modules report.
#pragma once

#include <string>

#include "hostapi/db.h"

// The user profile: text values by section and key, kept by the host in a file per user.
// Sections and keys are matched without regard to case, as in the host's registry.
class CVmUserProfile {
 public:
  virtual ~CVmUserProfile() = default;
  // False when the profile has no such key (or cannot be read).
  virtual bool readString(const char* section, const char* key, std::string& value) const = 0;
  // False when the profile cannot be written.
  virtual bool writeString(const char* section, const char* key, const char* value) = 0;
};

// A settings file of the profile's form at a path a module names (its own settings, kept
// beside the host's program, for example). Written as settings files of the host's
// platform are: CR LF line ends, values without surrounding blanks, and only into a folder
// that exists. The caller deletes the object.
CVmUserProfile* dxutOpenSettingsFile(const char* path);

// The host system object.
class CVmSystem {
 public:
  static CVmSystem* instance();
  virtual ~CVmSystem() = default;
  virtual CVmUserProfile* userProfile() = 0;
  // The add-on gate: true when the host allows no commands from modules.
  virtual bool isAddOnCommandsDisabled() const = 0;
  // Whether a module may change the object (pick-first eligibility).
  virtual bool canModifyObject(DxDbObjectId id) const = 0;
};

// Evaluates a LISP expression. The host's evaluator knows the forms (LOAD "file") and
// (UNLOAD "file"); result, when not null, receives the value (the caller releases it).
// RTNORM, or RTERROR with a message on the command line.
int dxedEvaluateLisp(const char* expression, resbuf** result);

// The API version of the host: major * 100 + minor. Modules forward their own export of the
// same name to it.
extern "C" int dxrxGetApiVersion();
