// Draxel host interface: dimension utilities. Arrow blocks by name and the text a
// dimension shows for a measurement.
#pragma once

#include <string>

#include "hostapi/db.h"

class DxDmUtil {
 public:
  // The block of an arrow name ("_DOT", "DOT", "_ClosedBlank", or a drawing's own block
  // name). A standard arrow whose block the drawing lacks is made; "" and the closed
  // filled arrow give the null id (the dimension draws a filled triangle itself). The null
  // id as well for a name that is neither a standard arrow nor a block of db (null: the
  // working database).
  static DxDbObjectId getArrowId(const char* name, DxDbDatabase* db = nullptr);
  // Whether a name is one of the standard arrows (with or without its leading "_").
  static bool isStandardArrow(const char* name);

  // How a measured length is written.
  struct Format {
    int decimals = 4;        // DIMDEC
    int zeroSuppress = 0;    // DIMZIN: 4 leading, 8 trailing zeros
    double round = 0;        // DIMRND
    char separator = '.';    // DIMDSEP
    std::string post;        // DIMPOST: "<>" marks the number, else a suffix
  };
  static std::string formatMeasurement(double value, const Format& f);
};
