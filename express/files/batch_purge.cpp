#include "express/files/batch_purge.h"

#include <dlfcn.h>
#include <glob.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>

#include "express/res/resource.h"

namespace express::batpurge {
namespace {

namespace fs = std::filesystem;

bool IsDrawingFile(const fs::path& p) {
  std::string ext = p.extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return char(std::tolower(c)); });
  return ext == ".dxf";
}

bool HasWildcards(const std::string& s) { return s.find_first_of("*?[") != std::string::npos; }

std::string Printf(const char* pattern, auto... args) {
  char buf[512];
  int n = std::snprintf(buf, sizeof buf, pattern, args...);
  return n > 0 ? std::string(buf, std::size_t(std::min<int>(n, int(sizeof buf) - 1))) : std::string();
}

// Written beside and renamed into place: a reader sees the old log or the new one.
bool WriteReplacing(const std::string& path, const std::string& text) {
  std::string tmp = path + ".tmp";
  {
    std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
    if (!out || !out.write(text.data(), std::streamsize(text.size())).flush()) {
      std::remove(tmp.c_str());
      return false;
    }
  }
  std::error_code ec;
  fs::rename(tmp, path, ec);
  if (ec) std::remove(tmp.c_str());
  return !ec;
}

// One row, start to end: read, purge, save in place.
int PurgeOne(const std::string& path, DxDbDwgVersion version) {
  auto db = std::make_unique<DxDbDatabase>(false, true);
  if (db->readDwgFile(path.c_str()) != Dxad::eOk) return kFailed;
  PurgeAllFn purge = HostPurgeAll();
  if (!purge) return kFailed;
  bool wasInteractive = dxdbIsInteractive();
  dxdbSetInteractive(false);
  bool purged = purge(db.get(), false);
  dxdbSetInteractive(wasInteractive);
  if (!purged) return kFailed;
  return db->saveAs(path.c_str(), true, version, nullptr) == Dxad::eOk ? kSucceeded : kFailed;
}

}  // namespace

std::string ListStateText(int state) {
  switch (state) {
    case kSucceeded: return CResString(res::BpStateSucceed).c_str();
    case kFailed: return CResString(res::BpStateFailed).c_str();
    case kNotDone: return CResString(res::BpStateNotDo).c_str();
    default: return CResString(res::BpStateException).c_str();
  }
}

std::string LogStateText(int state) {
  if (state == kSucceeded || state == kFailed) return ListStateText(state);
  return CResString(res::BpLogNotDo).c_str();  // an exception is logged as not done
}

std::vector<Format> DrawingFormats() {
  int count = 0;
  const DxDbSaveFormat* all = dxdbSaveFormats(&count);
  CResString pattern(res::BpFormat);
  std::vector<Format> out;
  for (int i = 0; i < count; ++i)
    if (all[i].extension && std::string(all[i].extension) == ".dxf")
      out.push_back({all[i].code, Printf(pattern.c_str(), all[i].description ? all[i].description : "")});
  return out;
}

int VersionOfFormat(int code) {
  switch (code) {
    case 60: return DxDb::kDHL_1027;
    case 48: return DxDb::kDHL_1024;
    case 36: return DxDb::kDHL_1021;
    case 24: return DxDb::kDHL_1018;
    case 12: return DxDb::kDHL_1015;
    case 8: return DxDb::kDHL_1014;
    default: return DxDb::kDHL_1032;  // 64, and any code the table does not know
  }
}

std::string FormatDuration(long s) {
  long days = s / 86400, hours = s / 3600 - days * 24, minutes = s / 60 - (s / 3600) * 60, seconds = s - (s / 60) * 60;
  const std::pair<long, StringDef> parts[] = {{days, res::BpUnitDays}, {hours, res::BpUnitHours},
                                              {minutes, res::BpUnitMinutes}, {seconds, res::BpUnitSeconds}};
  std::string out;
  for (const auto& [value, unit] : parts)
    if (value > 0) out += std::to_string(value) + CResString(unit).c_str();
  return out;
}

std::string FormatTime(std::time_t t) {
  std::tm tm{};
  localtime_r(&t, &tm);
  return Printf("%04d-%02d-%02d  %02d:%02d:%02d", tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour,
                tm.tm_min, tm.tm_sec);
}

bool RowList::AddFile(const std::string& path) {
  std::error_code ec;
  fs::path full = fs::absolute(path, ec).lexically_normal();
  if (ec) return false;
  std::string name = full.string();
  struct stat st {};
  if (listed_.count(name) || ::stat(name.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
  listed_.insert(name);
  Row row;
  row.path = name;
  row.readOnly = (st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
  rows_.push_back(std::move(row));
  return true;
}

int RowList::AddPath(const std::string& path) {
  std::vector<std::string> files;
  std::error_code ec;
  if (HasWildcards(path)) {
    glob_t g{};
    if (::glob(path.c_str(), 0, nullptr, &g) == 0)
      for (std::size_t i = 0; i < g.gl_pathc; ++i) files.emplace_back(g.gl_pathv[i]);
    ::globfree(&g);
  } else if (fs::is_directory(path, ec)) {
    // Every drawing file directly in the folder, by name.
    for (const fs::directory_entry& e : fs::directory_iterator(path, ec))
      if (IsDrawingFile(e.path())) files.push_back(e.path().string());
    std::sort(files.begin(), files.end());
  } else {
    files.push_back(path);
  }
  int added = 0;
  for (const std::string& f : files) added += AddFile(f);
  return added;
}

void RowList::Remove(const std::vector<int>& indexes) {
  std::vector<bool> gone(rows_.size(), false);
  for (int i : indexes)
    if (i >= 0 && std::size_t(i) < rows_.size()) gone[std::size_t(i)] = true;
  std::size_t at = 0;
  std::vector<Row> kept;
  kept.reserve(rows_.size());
  for (Row& r : rows_) {
    if (gone[at++]) listed_.erase(r.path);
    else kept.push_back(std::move(r));
  }
  rows_ = std::move(kept);
}

int RowList::checkedCount() const {
  return int(std::count_if(rows_.begin(), rows_.end(), [](const Row& r) { return r.checked; }));
}

RunResult RunPurge(std::vector<Row>& rows, int formatCode, const std::string& logPath, const RowStart& onStart,
              const RowDone& onDone) {
  RunResult run;
  run.start = std::time(nullptr);
  const int checked = int(std::count_if(rows.begin(), rows.end(), [](const Row& r) { return r.checked; }));
  if (checked == 0) return run;  // nothing to do, and no log of it
  const auto version = DxDbDwgVersion(VersionOfFormat(formatCode));
  {
    DxDbDisableCheckSaveVeto noVeto;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      Row& row = rows[i];
      if (!row.checked) continue;
      if (onStart) onStart(i);
      try {
        row.state = PurgeOne(row.path, version);
      } catch (const std::exception&) {
        row.state = -1;
      }
      run.succeeded += row.state == kSucceeded;
      ++run.processed;
      if (onDone) onDone(i, run.processed, checked);
    }
  }
  run.end = std::time(nullptr);
  if (!logPath.empty()) WriteReplacing(logPath, LogText(rows, run));
  return run;
}

std::string LogText(const std::vector<Row>& rows, const RunResult& run) {
  const int total = int(rows.size());
  std::string log;
  log += CResString(res::BpLatestPurge).c_str() + std::string("\r\n");
  log += CResString(res::BpStartTime).c_str() + FormatTime(run.start) + "\r\n";
  log += CResString(res::BpEndTime).c_str() + FormatTime(run.end) + "\r\n";
  log += CResString(res::BpTimeConsumption).c_str() + FormatDuration(long(run.end - run.start)) + "\r\n";
  log += Printf(CResString(res::BpTotals).c_str(), total, run.succeeded, run.processed - run.succeeded,
                total - run.processed);
  for (const Row& r : rows) log += r.path + "\t\t" + LogStateText(r.state) + "\r\n";
  return log;
}

PurgeAllFn HostPurgeAll() {
  // The host program is loaded already: its handle is taken without loading anything,
  // and the entry, once found, is kept for the life of the module.
  static PurgeAllFn found = nullptr;
  if (!found) {
    if (void* self = ::dlopen(nullptr, RTLD_LAZY | RTLD_NOLOAD)) {
      found = reinterpret_cast<PurgeAllFn>(::dlsym(self, "purgeAll"));
      ::dlclose(self);
    }
  }
  return found;
}

}  // namespace express::batpurge
