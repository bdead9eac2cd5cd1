#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <mutex>
#include <utility>

#include "host/dxf/tags.h"
#include "host/dxf/text.h"

namespace dx::dxf {

std::string quoted(std::string_view in) {
  size_t nl = in.find('\n');
  std::string_view line = in.substr(0, nl);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  std::string s;
  size_t i = 0;
  for (; i < line.size() && s.size() < 40; ++i) s += line[i] >= 0x20 && line[i] < 0x7F ? line[i] : '?';
  if (i < line.size()) s += "...";
  return s;
}

namespace {

constexpr std::string_view kBinarySentinel{"AutoCAD Binary DXF\r\n\x1a\0", 22};

std::string quoteLine(const char* p, const char* end) { return quoted(std::string_view(p, size_t(end - p))); }

bool isBlank(const char* p, const char* e) {
  for (; p < e; ++p)
    if (*p != ' ' && *p != '\t' && *p != '\r' && *p != '\n' && *p != '\0' && *p != '\x1a')
      return false;
  return true;
}

// What the two readers share: the data, errors, push-back, and turning raw string
// bytes into UTF-8 as the header says.
class ReaderBase : public TagReader {
 public:
  explicit ReaderBase(Bytes data) : data_(std::move(data)) {}

  // Parsing the last tag again is cheaper than keeping a copy of every tag.
  void pushBack() override {
    if (!hasLast_) return;
    rewind();
    hasLast_ = false;
    done_ = false;
  }
  const std::string& error() const override { return error_; }
  uint64_t size() const override { return data_.size(); }
  bool stable(std::string_view text) const override {
    return text.data() >= data_.data() && text.data() + text.size() <= data_.data() + data_.size();
  }
  const std::string& acadVersion() const override { return version_; }
  const std::string& codePage() const override { return codePage_; }
  bool cutShort() const override { return data_.cutShort(); }

 protected:
  // Goes back to the start of the last tag.
  virtual void rewind() = 0;

  bool fail(std::string msg) {
    error_ = std::move(msg);
    done_ = true;
    hasLast_ = false;
    return false;
  }

  // Called with every complete tag: decodes its text and follows the header.
  [[gnu::always_inline]] inline void finish(Tag& tag) {
    if ((tag.kind == Kind::String || tag.kind == Kind::Comment) && text::needsDecoding(tag.text))
      decode(tag);
    if (tag.code <= 9 && (tag.code == 0 || sectionStart_ || inHeader_)) track(tag);
    hasLast_ = true;
  }

  Bytes data_;
  std::string error_;
  bool done_ = false;

 private:
  void decode(Tag& tag) {
    std::string_view raw = tag.text;
    bool high = false;
    for (unsigned char c : raw)
      if (c >= 0x80) {
        high = true;
        break;
      }
    bool escapes = text::EscapeDecoder::hasEscape(raw);
    std::string_view utf8 = raw;
    if (high) {
      if (oldVersion_) {
        // Drawings before AC1021 are in their code page, even when the bytes happen
        // to look like UTF-8.
        if (!codePageDecoder_) codePageDecoder_ = std::make_unique<text::CodePageDecoder>(codePage_);
        converted_.clear();
        codePageDecoder_->append(raw, converted_);
        utf8 = converted_;
      } else if (!text::isValidUtf8(raw)) {
        converted_.clear();
        text::appendSanitizedUtf8(raw, converted_);
        utf8 = converted_;
      }
    }
    if (escapes) {
      unescaped_.clear();
      escapeDecoder_.append(utf8, unescaped_);
      utf8 = unescaped_;
    }
    tag.text = utf8;
  }

  void track(const Tag& tag) {
    if (tag.code == 0) {
      sectionStart_ = tag.text == "SECTION";
      if (tag.text == "ENDSEC") inHeader_ = false;
      return;
    }
    if (sectionStart_) {
      sectionStart_ = false;
      if (tag.code == 2) inHeader_ = tag.text == "HEADER";
    }
    if (!inHeader_) return;
    if (tag.code == 9) {
      variable_ = tag.text == "$ACADVER"       ? Variable::AcadVer
                  : tag.text == "$DWGCODEPAGE" ? Variable::CodePage
                                               : Variable::Other;
    } else if (tag.code == 1 && variable_ == Variable::AcadVer) {
      version_ = trim(tag.text);
      oldVersion_ = version_ < "AC1021";
    } else if (tag.code == 3 && variable_ == Variable::CodePage) {
      std::string page = trim(tag.text);
      if (page != codePage_) {
        codePage_ = page;
        codePageDecoder_.reset();
      }
    }
  }

  static std::string trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return std::string(s);
  }

  enum class Variable { Other, AcadVer, CodePage };

  bool hasLast_ = false;
  std::string version_ = "AC1009";
  std::string codePage_ = "ANSI_1252";
  bool oldVersion_ = true;
  bool sectionStart_ = false;
  bool inHeader_ = false;
  Variable variable_ = Variable::Other;
  std::unique_ptr<text::CodePageDecoder> codePageDecoder_;
  text::EscapeDecoder escapeDecoder_;
  std::string converted_, unescaped_;
};

class AsciiReader final : public ReaderBase {
 public:
  explicit AsciiReader(Bytes data) : ReaderBase(std::move(data)) {
    cur_ = data_.data();
    end_ = cur_ + data_.size();
    if (data_.size() >= 3 && std::memcmp(cur_, "\xEF\xBB\xBF", 3) == 0) cur_ += 3;
  }

  // Checks that the data starts like ASCII DXF: a group code on the first line.
  bool looksLikeDxf(std::string& why) const {
    if (isBlank(cur_, end_)) {
      why = "empty file";
      return false;
    }
    const char* p = cur_;
    int code;
    if (!parseCode(p, code)) {
      why = "not a DXF file (line 1: invalid group code '" + quoteLine(cur_, end_) + "')";
      return false;
    }
    return true;
  }

  bool isBinary() const override { return false; }
  uint64_t position() const override { return tagLine_; }

  bool next(Tag& tag) override {
    if (done_) return false;
    const char* p = cur_;
    tagStart_ = p;
    tagLine_ = line_;
    int code;
    if (!parseCode(p, code)) {
      if (isBlank(cur_, end_)) {
        done_ = true;  // blank lines or padding after the last tag are not an error
        return false;
      }
      return fail("line " + std::to_string(line_) + ": invalid group code '" +
                  quoteLine(cur_, end_) + "'");
    }
    if (p == end_)
      return fail("line " + std::to_string(line_) + ": group code " + std::to_string(code) +
                  " without a value");
    tag.code = code;
    tag.kind = kindOf(code);
    const char* valueLine = p;
    bool ok;
    switch (tag.kind) {
      case Kind::Double: ok = parseDouble(p, tag); break;
      case Kind::Int16:
      case Kind::Int32:
      case Kind::Int64:
      case Kind::Bool: ok = parseInteger(p, tag); break;
      default: {
        const char* nl = static_cast<const char*>(std::memchr(p, '\n', end_ - p));
        const char* e = nl ? nl : end_;
        const char* te = e > p && e[-1] == '\r' ? e - 1 : e;
        tag.text = std::string_view(p, te - p);
        p = nl ? nl + 1 : end_;
        ok = true;
      }
    }
    if (!ok)
      return fail("line " + std::to_string(line_ + 1) + ": invalid value '" +
                  quoteLine(valueLine, end_) + "' for group code " + std::to_string(code));
    cur_ = p;
    line_ += 2;
    finish(tag);
    // Writers pad files after EOF with all sorts of bytes; the marker ends the data.
    if (code == 0 && tag.text == "EOF") done_ = true;
    return true;
  }

 private:
  // Skips spaces and the line end after a value or code; false when anything else
  // follows on the line.
  // The buffer ends with a NUL after its last byte: it stops every scan below
  // without a bounds test per character.
  bool endOfLine(const char*& p) const {
    while (*p == ' ' || *p == '\t') ++p;
    if (*p == '\r') ++p;
    if (p == end_) return true;
    if (*p != '\n') return false;
    ++p;
    return true;
  }

  void rewind() override {
    cur_ = tagStart_;
    line_ = tagLine_;
  }

  bool parseCode(const char*& p, int& code) const {
    while (*p == ' ' || *p == '\t') ++p;
    bool negative = *p == '-';
    if (negative) ++p;
    const char* digits = p;
    int v = 0;
    for (; unsigned(*p - '0') < 10; ++p) {
      if (p - digits >= 9) return false;
      v = v * 10 + (*p - '0');
    }
    if (p == digits || p > end_) return false;
    code = negative ? -v : v;
    return endOfLine(p);
  }

  // Start of a number: leading blanks and a '+' that from_chars does not take.
  const char* numberStart(const char* p) const {
    while (*p == ' ' || *p == '\t') ++p;
    if (p + 1 < end_ && *p == '+' && *(p + 1) != '-' && *(p + 1) != '+') ++p;
    return p;
  }

  // Plain decimals of up to 15 significant digits ("4906.383219", "-0.5"): the integer
  // of all digits divided by a power of ten is exactly rounded when both are exact
  // doubles, so this agrees bit for bit with the general parser it saves.
  static const char* fastDecimal(const char* s, const char* end, double& out) {
    static const double kPow10[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11,
                                    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    const char* p = s;
    bool negative = *p == '-';
    if (negative) ++p;
    uint64_t m = 0;
    int significant = 0, fraction = 0, digits = 0;
    for (; unsigned(*p - '0') < 10; ++p, ++digits) {
      m = m * 10 + unsigned(*p - '0');
      if (m) ++significant;
    }
    if (*p == '.') {
      for (++p; unsigned(*p - '0') < 10; ++p, ++digits, ++fraction) {
        m = m * 10 + unsigned(*p - '0');
        if (m) ++significant;
      }
    }
    if (digits == 0 || significant > 15 || fraction > 22 || p > end) return nullptr;
    if ((*p == 'e' || *p == 'E' || *p == 'x' || *p == 'X' || *p == 'n' || *p == 'i')) return nullptr;
    double v = double(m) / kPow10[fraction];
    out = negative ? -v : v;
    return p;
  }

  bool parseDouble(const char*& p, Tag& tag) const {
    const char* s = numberStart(p);
    const char* e = fastDecimal(s, end_, tag.real);
    std::errc ec{};
    if (!e) {
      auto r = std::from_chars(s, end_, tag.real);
      e = r.ptr;
      ec = r.ec;
    }
    // Infinities and NaN are no coordinates: refused like any other bad number.
    if (ec != std::errc() || !std::isfinite(tag.real)) return false;
    tag.text = std::string_view(s, e - s);
    tag.integer = 0;
    if (!endOfLine(e)) return false;
    p = e;
    return true;
  }

  bool parseInteger(const char*& p, Tag& tag) const {
    const char* s = numberStart(p);
    auto [e, ec] = std::from_chars(s, end_, tag.integer);
    if (ec != std::errc() || (e < end_ && (*e == '.' || *e == 'e' || *e == 'E'))) {
      // Some writers put integers as reals ("1.0", "1e2"): take the nearest integer.
      double d;
      auto r = std::from_chars(s, end_, d);
      if (r.ec != std::errc() || !(d > -9.2e18 && d < 9.2e18)) return false;
      tag.integer = std::llround(d);
      e = r.ptr;
    }
    tag.text = std::string_view(s, e - s);
    tag.real = 0;
    if (!endOfLine(e)) return false;
    p = e;
    return true;
  }

  const char* cur_;
  const char* end_;
  uint64_t line_ = 1;
  uint64_t tagLine_ = 0;
  const char* tagStart_ = nullptr;
};

class BinaryReader final : public ReaderBase {
 public:
  explicit BinaryReader(Bytes data) : ReaderBase(std::move(data)) {
    auto u = reinterpret_cast<const unsigned char*>(data_.data());
    pos_ = kBinarySentinel.size();
    // The first tag is (0, "SECTION"): with two-byte codes its code is 00 00, with
    // one-byte codes a zero is followed straight by the text.
    oneByteCodes_ = data_.size() > pos_ + 1 && u[pos_] == 0 && u[pos_ + 1] != 0;
  }

  bool isBinary() const override { return true; }
  uint64_t position() const override { return tagPos_; }

  bool next(Tag& tag) override {
    if (done_) return false;
    const size_t n = data_.size();
    tagPos_ = pos_;
    if (pos_ == n) {
      // Binary files are written by programs, which always end them with EOF;
      // without it the file was cut short.
      return fail("byte " + std::to_string(pos_) + ": data ends without the EOF marker");
    }
    int code;
    if (oneByteCodes_) {
      code = byte(pos_++);
      if (code == 255) {
        // Extended codes (1000 and up) escape to a two-byte code.
        if (n - pos_ < 2) return truncated("group code");
        code = int(uint16(pos_));
        pos_ += 2;
      }
    } else {
      if (n - pos_ < 2) return truncated("group code");
      code = int(int16_t(uint16(pos_)));
      pos_ += 2;
    }
    tag.code = code;
    tag.kind = kindOf(code);
    tag.real = 0;
    tag.integer = 0;
    tag.text = {};
    switch (tag.kind) {
      case Kind::Double:
        if (n - pos_ < 8) return truncated(code);
        std::memcpy(&tag.real, data_.data() + pos_, 8);  // little-endian hosts only
        if (!std::isfinite(tag.real))
          return fail("byte " + std::to_string(pos_) + ": group code " + std::to_string(code) +
                      " holds a number that is not finite");
        pos_ += 8;
        break;
      case Kind::Int16:
        if (n - pos_ < 2) return truncated(code);
        tag.integer = int16_t(uint16(pos_));
        pos_ += 2;
        break;
      case Kind::Int32: {
        if (n - pos_ < 4) return truncated(code);
        int32_t v;
        std::memcpy(&v, data_.data() + pos_, 4);
        tag.integer = v;
        pos_ += 4;
        break;
      }
      case Kind::Int64:
        if (n - pos_ < 8) return truncated(code);
        std::memcpy(&tag.integer, data_.data() + pos_, 8);
        pos_ += 8;
        break;
      case Kind::Bool:
        if (n - pos_ < 1) return truncated(code);
        tag.integer = byte(pos_++);
        break;
      case Kind::Binary: {
        if (n - pos_ < 1) return truncated(code);
        size_t len = byte(pos_++);
        if (n - pos_ < len) return truncated(code);
        static const char kHex[] = "0123456789ABCDEF";
        hex_.resize(len * 2);
        for (size_t i = 0; i < len; ++i) {
          unsigned char b = byte(pos_ + i);
          hex_[2 * i] = kHex[b >> 4];
          hex_[2 * i + 1] = kHex[b & 15];
        }
        pos_ += len;
        tag.text = hex_;
        break;
      }
      case Kind::String:
      case Kind::Comment: {
        const char* s = data_.data() + pos_;
        const void* z = std::memchr(s, '\0', n - pos_);
        if (!z) return truncated(code);
        size_t len = static_cast<const char*>(z) - s;
        tag.text = std::string_view(s, len);
        pos_ += len + 1;
        break;
      }
    }
    finish(tag);
    if (code == 0 && tag.text == "EOF") done_ = true;
    return true;
  }

 private:
  void rewind() override { pos_ = tagPos_; }
  unsigned byte(size_t at) const { return static_cast<unsigned char>(data_.data()[at]); }
  unsigned uint16(size_t at) const { return byte(at) | (byte(at + 1) << 8); }

  bool truncated(const char* what) {
    return fail("byte " + std::to_string(tagPos_) + ": data ends inside a " + what);
  }
  bool truncated(int code) {
    return fail("byte " + std::to_string(tagPos_) + ": data ends inside the value of group code " +
                std::to_string(code));
  }

  size_t pos_ = 0;
  uint64_t tagPos_ = 0;
  bool oneByteCodes_ = false;
  std::string hex_;
};

}  // namespace

Bytes& Bytes::operator=(Bytes&& o) noexcept {
  if (this == &o) return *this;
  release();
  map_ = std::exchange(o.map_, nullptr);
  guard_ = std::exchange(o.guard_, -1);
  size_ = std::exchange(o.size_, 0);
  own_ = std::move(o.own_);
  data_ = map_ ? o.data_ : own_.data();
  o.own_.clear();
  o.data_ = o.own_.data();
  return *this;
}

namespace {
// A mapped file that another program truncates while we read it turns each page past its
// new end into SIGBUS. The handler puts zero pages in their place, so that the parse runs
// into a NUL and stops, and marks the mapping, so that the load fails with a message.
struct MapSlot {
  std::atomic<uintptr_t> begin{0};
  std::atomic<size_t> length{0};
  std::atomic<bool> cut{false};
};
MapSlot g_maps[16];
uintptr_t g_page = 4096;
struct sigaction g_previousBus;

void onBusError(int sig, siginfo_t* info, void* context) {
  const auto at = reinterpret_cast<uintptr_t>(info->si_addr);
  for (MapSlot& m : g_maps) {
    uintptr_t b = m.begin.load(std::memory_order_acquire);
    size_t n = m.length.load(std::memory_order_acquire);
    if (b == 0 || at < b || at >= b + n) continue;
    uintptr_t from = at & ~(g_page - 1), end = (b + n + g_page - 1) & ~(g_page - 1);
    if (::mmap(reinterpret_cast<void*>(from), end - from, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1,
               0) != MAP_FAILED) {
      m.cut.store(true);
      return;
    }
  }
  // Not one of ours: to whoever handled it before, else the default (the fault repeats
  // and ends the process, as it would have without us).
  if ((g_previousBus.sa_flags & SA_SIGINFO) && g_previousBus.sa_sigaction) {
    g_previousBus.sa_sigaction(sig, info, context);
    return;
  }
  if (!(g_previousBus.sa_flags & SA_SIGINFO) && g_previousBus.sa_handler != SIG_DFL &&
      g_previousBus.sa_handler != SIG_IGN) {
    g_previousBus.sa_handler(sig);
    return;
  }
  ::signal(SIGBUS, SIG_DFL);
}

// A slot for the mapping, or -1 when all are taken (the mapping is then unguarded).
int guardMapping(const void* p, size_t size) {
  static std::once_flag installed;
  std::call_once(installed, [] {
    g_page = uintptr_t(::sysconf(_SC_PAGESIZE));
    struct sigaction sa {};
    sa.sa_sigaction = onBusError;
    sa.sa_flags = SA_SIGINFO;
    sigemptyset(&sa.sa_mask);
    ::sigaction(SIGBUS, &sa, &g_previousBus);
  });
  for (int i = 0; i < int(std::size(g_maps)); ++i) {
    size_t free = 0;  // the length claims the slot, the start makes it live
    if (!g_maps[i].length.compare_exchange_strong(free, size)) continue;
    g_maps[i].cut.store(false);
    g_maps[i].begin.store(reinterpret_cast<uintptr_t>(p), std::memory_order_release);
    return i;
  }
  return -1;
}

void unguardMapping(int slot) {
  if (slot < 0) return;
  g_maps[slot].begin.store(0, std::memory_order_release);
  g_maps[slot].length.store(0, std::memory_order_release);
}
}  // namespace

bool Bytes::cutShort() const { return guard_ >= 0 && g_maps[guard_].cut.load(); }

void Bytes::release() {
  unguardMapping(std::exchange(guard_, -1));
  if (map_) ::munmap(map_, size_);
  map_ = nullptr;
  own_.clear();
  data_ = own_.data();
  size_ = 0;
}

bool Bytes::fromFd(int fd, uint64_t size, Bytes& out, std::string& error) {
  out.release();
  // A big file is mapped rather than read: reading first zeroes a buffer as big, then
  // copies the whole file into it, a sixth of the time its loading takes. The pages past
  // the end of the file read as zeros, which gives the NUL after the last byte; a file
  // that ends on a page boundary has none there and is read.
  const long page = ::sysconf(_SC_PAGESIZE);
  if (size >= (1u << 20) && page > 0 && size % uint64_t(page) != 0) {
    void* p = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
    if (p != MAP_FAILED) {
      out.map_ = p;
      out.guard_ = guardMapping(p, size_t(size));
      out.data_ = static_cast<const char*>(p);
      out.size_ = size_t(size);
      return true;
    }
  }
  std::string data;
  data.resize(static_cast<size_t>(size));
  size_t got = 0;
  while (got < data.size()) {
    ssize_t r = ::read(fd, data.data() + got, data.size() - got);
    if (r < 0 && errno == EINTR) continue;
    if (r < 0) {
      error = std::string("cannot read: ") + std::strerror(errno);
      return false;
    }
    if (r == 0) break;  // the file shrank while we read it
    got += static_cast<size_t>(r);
  }
  data.resize(got);
  out = Bytes(std::move(data));
  return true;
}

std::unique_ptr<TagReader> TagReader::fromBuffer(std::string data, std::string& error) {
  return fromBytes(Bytes(std::move(data)), error);
}

std::unique_ptr<TagReader> TagReader::fromBytes(Bytes data, std::string& error) {
  error.clear();
  const std::string_view bytes = data.view();
  if (bytes.empty()) {
    error = "empty file";
    return nullptr;
  }
  if (bytes.substr(0, kBinarySentinel.size()) == kBinarySentinel)
    return std::make_unique<BinaryReader>(std::move(data));
  if (bytes.substr(0, 18) == "AutoCAD Binary DXF") {
    error = "damaged binary DXF: the file header is incomplete";
    return nullptr;
  }
  auto reader = std::make_unique<AsciiReader>(std::move(data));
  if (!reader->looksLikeDxf(error)) return nullptr;
  return reader;
}

std::unique_ptr<TagReader> TagReader::fromFile(const std::string& path, std::string& error) {
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    error = std::string("cannot open: ") + std::strerror(errno);
    return nullptr;
  }
  struct stat st;
  if (::fstat(fd, &st) != 0) {
    error = std::string("cannot read: ") + std::strerror(errno);
    ::close(fd);
    return nullptr;
  }
  if (!S_ISREG(st.st_mode)) {
    error = S_ISDIR(st.st_mode) ? "cannot read: it is a folder" : "cannot read: not a regular file";
    ::close(fd);
    return nullptr;
  }
  Bytes data;
  bool ok = Bytes::fromFd(fd, uint64_t(st.st_size), data, error);
  ::close(fd);
  return ok ? fromBytes(std::move(data), error) : nullptr;
}

}  // namespace dx::dxf
