#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <random>
#include <thread>

#include "host/dxf/tags.h"

namespace dx::dxf {
namespace {

// Right-aligns the code in three columns, as AutoCAD does, and ends the line.
char* putCode(char* p, int c) {
  if (c >= 0 && c < 10) {
    *p++ = ' ';
    *p++ = ' ';
    *p++ = char('0' + c);
  } else if (c >= 10 && c < 100) {
    *p++ = ' ';
    *p++ = char('0' + c / 10);
    *p++ = char('0' + c % 10);
  } else {
    char tmp[16];
    char* e = std::to_chars(tmp, tmp + sizeof tmp, c).ptr;
    for (auto len = e - tmp; len < 3; ++len) *p++ = ' ';
    std::memcpy(p, tmp, e - tmp);
    p += e - tmp;
  }
  *p++ = '\n';
  return p;
}

// Shortest text that reads back to the same double, always with a decimal point or
// an exponent so that readers see a real ("1.0", not "1").
char* putReal(char* p, char* end, double v) {
  // Whole numbers (0.0, 1.0, 90.0) are the most common reals in drawings and need
  // none of the shortest-digits search. -0.0 keeps its sign through to_chars.
  if (v > -1e15 && v < 1e15 && v != 0) {
    auto whole = static_cast<int64_t>(v);
    if (static_cast<double>(whole) == v) {
      p = std::to_chars(p, end, whole).ptr;
      *p++ = '.';
      *p++ = '0';
      return p;
    }
  }
  if (v == 0 && !std::signbit(v)) {
    std::memcpy(p, "0.0", 3);
    return p + 3;
  }
  // Values with few decimals (most coordinates of real drawings): the smallest number
  // of decimals that reads back to the very same double, found without the general
  // shortest-digits search. Reading "m.f" divides the integer m·10^k by 10^k exactly
  // rounded, so r / 10^k == v proves the text round-trips.
  static const double kPow10[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8};
  double a = std::fabs(v);
  if (a >= 1e-4 && a < 1e9) {
    for (int k = 1; k <= 8; ++k) {
      double r = v * kPow10[k];
      if (!(std::fabs(r) < 9007199254740992.0)) break;
      if (r != std::nearbyint(r) || r / kPow10[k] != v) continue;
      auto m = static_cast<int64_t>(r);
      if (m < 0) {
        *p++ = '-';
        m = -m;
      }
      char digits[24];
      char* d = std::to_chars(digits, digits + sizeof digits, m).ptr;
      int n = int(d - digits);
      if (n <= k) {  // 0.00xyz
        *p++ = '0';
        *p++ = '.';
        for (int z = 0; z < k - n; ++z) *p++ = '0';
        std::memcpy(p, digits, size_t(n));
        return p + n;
      }
      std::memcpy(p, digits, size_t(n - k));
      p += n - k;
      *p++ = '.';
      std::memcpy(p, digits + (n - k), size_t(k));
      return p + k;
    }
  }
  char* s = p;
  p = std::to_chars(p, end, v).ptr;
  for (char* q = s; q < p; ++q)
    if (*q == '.' || *q == 'e' || *q == 'n' || *q == 'i') return p;
  *p++ = '.';
  *p++ = '0';
  return p;
}

bool hasLineBreakOrHigh(std::string_view s, bool high) {
  // Eight bytes at a time: a byte equal to LF or CR, or (when asked) a high bit.
  auto hasByte = [](uint64_t w, uint64_t pattern) {
    uint64_t x = w ^ pattern;
    return ((x - 0x0101010101010101ULL) & ~x & 0x8080808080808080ULL) != 0;
  };
  const uint64_t highMask = high ? 0x8080808080808080ULL : 0;
  const char* p = s.data();
  size_t n = s.size();
  for (; n >= 8; p += 8, n -= 8) {
    uint64_t w;
    std::memcpy(&w, p, 8);
    if ((w & highMask) || hasByte(w, 0x0A0A0A0A0A0A0A0AULL) || hasByte(w, 0x0D0D0D0D0D0D0D0DULL)) return true;
  }
  for (; n; ++p, --n) {
    unsigned char c = static_cast<unsigned char>(*p);
    if (c == '\n' || c == '\r' || (high && c >= 0x80)) return true;
  }
  return false;
}

}  // namespace

// Streamed output goes out in chunks of this size: big enough for few system calls,
// small enough to stay in the processor's cache between formatting and copying.
constexpr size_t kChunk = 1 << 20;

TagWriter::TagWriter() : spillAt_(SIZE_MAX) { buf_.reserve(kChunk); }

void TagWriter::code(int c) {
  char b[16];
  buf_.append(b, putCode(b, c) - b);
}

void TagWriter::str(int c, std::string_view s) {
  if (hasLineBreakOrHigh(s, escapeNonAscii_)) {
    std::string t = escapeNonAscii_ ? escapeNonAscii(s) : std::string(s);
    // A line break inside a value would split the tag; write it the caret way.
    std::string out;
    out.reserve(t.size());
    for (char ch : t) {
      if (ch == '\n') out += "^J";
      else if (ch == '\r') out += "^M";
      else out += ch;
    }
    code(c);
    buf_ += out;
    buf_ += '\n';
    spillIfFull();
    return;
  }
  // One append for the common short value: code, text and line end together.
  char b[272];
  char* p = putCode(b, c);
  if (s.size() <= 256) {
    std::memcpy(p, s.data(), s.size());
    p += s.size();
    *p++ = '\n';
    buf_.append(b, size_t(p - b));
    spillIfFull();
    return;
  }
  buf_.append(b, size_t(p - b));
  buf_.append(s);
  buf_ += '\n';
  spillIfFull();
}

void TagWriter::real(int c, double v) {
  char b[64];
  char* p = putCode(b, c);
  p = putReal(p, b + sizeof b, v);
  *p++ = '\n';
  buf_.append(b, p - b);
  spillIfFull();
}

void TagWriter::integer(int c, int64_t v) {
  char b[48];
  char* p = putCode(b, c);
  p = std::to_chars(p, b + sizeof b, v).ptr;
  *p++ = '\n';
  buf_.append(b, p - b);
  spillIfFull();
}

void TagWriter::handle(int c, uint64_t h) {
  char b[48];
  char* p = putCode(b, c);
  char* s = p;
  p = std::to_chars(p, b + sizeof b, h, 16).ptr;
  for (char* q = s; q < p; ++q)
    if (*q >= 'a') *q = char(*q - 'a' + 'A');
  *p++ = '\n';
  buf_.append(b, p - b);
  spillIfFull();
}

void TagWriter::point(int c, double x, double y, double z) {
  char b[192];
  char* p = putCode(b, c);
  p = putReal(p, b + sizeof b, x);
  *p++ = '\n';
  p = putCode(p, c + 10);
  p = putReal(p, b + sizeof b, y);
  *p++ = '\n';
  p = putCode(p, c + 20);
  p = putReal(p, b + sizeof b, z);
  *p++ = '\n';
  buf_.append(b, p - b);
  spillIfFull();
}

void TagWriter::point2(int c, double x, double y) {
  char b[128];
  char* p = putCode(b, c);
  p = putReal(p, b + sizeof b, x);
  *p++ = '\n';
  p = putCode(p, c + 10);
  p = putReal(p, b + sizeof b, y);
  *p++ = '\n';
  buf_.append(b, p - b);
  spillIfFull();
}

void TagWriter::tag(const Tag& t) {
  switch (t.kind) {
    case Kind::Double: real(t.code, t.real); break;
    case Kind::Int16:
    case Kind::Int32:
    case Kind::Int64:
    case Kind::Bool: integer(t.code, t.integer); break;
    case Kind::String:
    case Kind::Binary:
    case Kind::Comment: str(t.code, t.text); break;
  }
}

// The temporary file being written. Full chunks go out on a thread of their own, so
// that the system's copy into the file cache overlaps the formatting of the next chunk.
struct TagWriter::Output {
  std::string given;  // the path as the caller named it, for messages
  std::string path;   // where the file lands (a symbolic link followed)
  std::string tmp;
  int fd = -1;
  int err = 0;  // the first failed write's errno

  std::thread worker;
  std::mutex m;
  std::condition_variable cv;
  std::string pending;  // the chunk the worker is writing
  bool busy = false, stop = false;

  ~Output() { abandon(); }

  bool fail(std::string& error, const char* doing, int e) {
    abandon();
    error = std::string(doing) + " '" + given + "': " + std::strerror(e);
    return false;
  }
  void abandon() {
    drain();
    if (fd >= 0) {
      ::close(fd);
      ::unlink(tmp.c_str());
      fd = -1;
    }
  }
  void write(const char* p, size_t left) {
    while (left > 0 && err == 0) {
      ssize_t w = ::write(fd, p, left);
      if (w < 0 && errno == EINTR) continue;
      if (w < 0) {
        err = errno;
        return;
      }
      p += w;
      left -= static_cast<size_t>(w);
    }
  }
  // Hands the chunk to the worker and gives back an empty buffer of the same capacity.
  void hand(std::string& chunk) {
    if (!worker.joinable()) {
      pending.reserve(chunk.capacity());
      worker = std::thread([this] { work(); });
    }
    std::unique_lock lock(m);
    cv.wait(lock, [this] { return !busy; });
    pending.swap(chunk);
    chunk.clear();
    busy = true;
    cv.notify_all();
  }
  void work() {
    std::unique_lock lock(m);
    for (;;) {
      cv.wait(lock, [this] { return busy || stop; });
      if (!busy) return;
      lock.unlock();
      write(pending.data(), pending.size());  // err is read only after the join
      lock.lock();
      busy = false;
      cv.notify_all();
    }
  }
  // Waits for the chunk in flight and ends the worker.
  void drain() {
    if (!worker.joinable()) return;
    {
      std::lock_guard lock(m);
      stop = true;
    }
    cv.notify_all();
    worker.join();
  }

  // Creates the temporary beside the target, so that the rename stays on one file system.
  bool create(const std::string& pathGiven, std::string& error) {
    given = pathGiven;
    namespace fs = std::filesystem;
    fs::path target = pathGiven;
    std::error_code ec;
    for (int hops = 0; fs::is_symlink(fs::symlink_status(target, ec)); ++hops) {
      if (hops == 40) return fail(error, "cannot write", ELOOP);
      fs::path next = fs::read_symlink(target, ec);
      if (ec) return fail(error, "cannot write", ec.value());
      target = next.is_absolute() ? next : target.parent_path() / next;
    }
    path = target.string();
    std::random_device rd;
    for (int attempt = 0; attempt < 16 && fd < 0; ++attempt) {
      char suffix[16];
      unsigned r = rd() & 0xFFFFFF;
      std::snprintf(suffix, sizeof suffix, ".tmp-%06X", r);
      tmp = path + suffix;
      fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
      if (fd < 0 && errno != EEXIST) return fail(error, "cannot write", errno);
    }
    if (fd < 0) return fail(error, "cannot write", EEXIST);
    return true;
  }

  bool finish(bool sync, std::string& error) {
    drain();
    if (err != 0) return fail(error, "cannot write", err);
    if (sync && ::fsync(fd) != 0) return fail(error, "cannot write", errno);
    int closed = ::close(fd);
    fd = -1;
    if (closed != 0) {
      int e = errno;
      ::unlink(tmp.c_str());
      return fail(error, "cannot write", e);
    }
    if (::rename(tmp.c_str(), path.c_str()) != 0) {
      int e = errno;
      ::unlink(tmp.c_str());
      return fail(error, "cannot replace", e);
    }
    return true;
  }
};

TagWriter::~TagWriter() {
  if (out_) out_->abandon();
}

bool TagWriter::saveTo(const std::string& path, std::string& error) const {
  Output out;
  if (!out.create(path, error)) return false;
  out.write(buf_.data(), buf_.size());
  return out.finish(syncOnSave_, error);
}

bool TagWriter::open(const std::string& path, std::string& error) {
  if (out_) out_->abandon();
  out_ = std::make_unique<Output>();
  if (!out_->create(path, error)) {
    out_.reset();
    return false;
  }
  spillAt_ = kChunk;
  return true;
}

void TagWriter::spill() {
  if (out_) out_->hand(buf_);
}

bool TagWriter::commit(std::string& error) {
  if (!out_) {
    error = "cannot write: no file was opened";
    return false;
  }
  out_->drain();
  out_->write(buf_.data(), buf_.size());
  buf_.clear();
  bool ok = out_->finish(syncOnSave_, error);
  out_.reset();
  spillAt_ = SIZE_MAX;
  return ok;
}

}  // namespace dx::dxf
