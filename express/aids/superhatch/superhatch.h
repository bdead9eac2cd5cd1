// superhatch and -superhatch: the pattern, the boundary and the questions around a run of
// the tiling engine. The pieces with rules of their own are open to the tests.
#pragma once

#include <cstdint>
#include <string>

#include "hostapi/db.h"

namespace express::shatch {

// Pattern types; the dialog ends with these codes too.
enum PatternType : int {
  kImage = 30000,
  kBlock = 30001,
  kXref = 30002,
  kWipeout = 30003,
  kSelect = 30004,
};

inline constexpr int kMinAccuracy = 16, kMaxAccuracy = 256, kDefaultAccuracy = 64;
// Boundary area per tile area above which the user is asked whether to go on.
inline constexpr double kLargeJobRatio = 313.25867334951835;

struct CircleAccuracyData {
  int32_t accuracy = kDefaultAccuracy;
};
// The current document's circle accuracy (a record per open document).
CircleAccuracyData& circleAccuracy();

// True when tiling an area of boundaryArea with tiles of width x height deserves the
// question.
bool isLargeJob(double boundaryArea, double width, double height);

// The key of a new superhatch group in the group dictionary (null: the drawing has none).
std::string superhatchGroupName(const DxDbDictionary* groups);

// Whether an image file name has an extension the image tiles accept.
bool isImageFileName(const std::string& name);

// The command, with or without its dialog.
void runSuperhatch(bool dialog);

}  // namespace express::shatch
