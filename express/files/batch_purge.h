// Batch purge: a list of drawing files, each opened off-screen, purged of everything
// unreferenced and saved in place in a chosen format, with a log of the run. The list and
// the run are kept apart from the dialog so that the form, the command line and the tests
// drive the same code.
#pragma once

#include <ctime>
#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

#include "hostapi/db.h"

namespace express::batpurge {

// State of a row: what its last run did.
enum RowState : int { kFailed = 0, kSucceeded = 1, kNotDone = 2 };

struct Row {
  std::string path;
  bool checked = true;
  bool readOnly = false;  // no write permission when the row was added
  int state = kNotDone;   // any other value marks an exception
};

// The text of a state in the list and in the log.
std::string ListStateText(int state);
std::string LogStateText(int state);

// A save format the dialog offers: the host's code and the text shown for it.
struct Format {
  int code = 0;
  std::string label;  // "R2018 DXF(*.dxf)"
};
// The host's save formats that write drawing files, in the host's order.
std::vector<Format> DrawingFormats();
// The host drawing version (a DxDbDwgVersion value) a format code saves as.
int VersionOfFormat(int code);

// "1m5s" for 65 seconds, "1h" for 3600, "" for 0.
std::string FormatDuration(long seconds);
// Local time as "2026-11-23  14:05:09".
std::string FormatTime(std::time_t t);

class RowList {
 public:
  const std::vector<Row>& rows() const { return rows_; }
  std::vector<Row>& rows() { return rows_; }
  // Adds a drawing file, a folder's drawing files, or the files a wildcard pattern names;
  // files already listed are not added twice. Returns how many rows were added.
  int AddPath(const std::string& pathOrPattern);
  // Removes the rows at these indexes (rows are only ever removed through here).
  void Remove(const std::vector<int>& indexes);
  int checkedCount() const;

 private:
  bool AddFile(const std::string& path);
  std::vector<Row> rows_;
  std::unordered_set<std::string> listed_;
};

struct RunResult {
  std::time_t start = 0, end = 0;
  int processed = 0, succeeded = 0;
};

// Called after each checked row with its index and the rows done so far.
using RowDone = std::function<void(std::size_t row, int processed, int checked)>;
// Called before each checked row is opened.
using RowStart = std::function<void(std::size_t row)>;

// Purges every checked row in list order and writes the log (when logPath is not empty;
// a log that cannot be written is left out silently). Rows that are not checked keep
// their state. Without a checked row nothing runs and no log is written.
RunResult RunPurge(std::vector<Row>& rows, int formatCode, const std::string& logPath, const RowStart& onStart,
              const RowDone& onDone);

// The log of a run, lines ended by CR LF.
std::string LogText(const std::vector<Row>& rows, const RunResult& run);

// The "purgeAll" of the host program, found by name among what is already loaded and
// kept once found; null when the host exports none.
PurgeAllFn HostPurgeAll();

}  // namespace express::batpurge
