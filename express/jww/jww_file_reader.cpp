#include "express/jww/jww_file_reader.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <type_traits>
#include <vector>

#include "express/jww/jww_serialize.h"
#include "express/jww/jww_text_codec.h"

// The whole file mapped read-only. Pages the parser has gone past are handed back to
// the system as it goes, so a large drawing costs little more than its records.
class JwwMappedFile {
 public:
  JwwMappedFile(int fd, std::size_t size) : size_(size) {
    void* p = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (p == MAP_FAILED) return;
    data_ = static_cast<const std::uint8_t*>(p);
    madvise(p, size, MADV_SEQUENTIAL);
  }
  ~JwwMappedFile() {
    if (data_) munmap(const_cast<std::uint8_t*>(data_), size_);
  }
  JwwMappedFile(const JwwMappedFile&) = delete;
  JwwMappedFile& operator=(const JwwMappedFile&) = delete;

  const std::uint8_t* data() const { return data_; }
  std::size_t size() const { return size_; }
  // Drops the whole pages before `offset` that are still held.
  void ReleaseBefore(std::size_t offset) {
    std::size_t to = offset / page_ * page_;
    if (to > released_)
      madvise(const_cast<std::uint8_t*>(data_) + released_, to - released_, MADV_DONTNEED);
    released_ = std::max(released_, to);
  }
  // The parser went back to `offset`: the pages from there on are held again.
  void Rewound(std::size_t offset) { released_ = std::min(released_, offset / page_ * page_); }

 private:
  const std::uint8_t* data_ = nullptr;
  std::size_t size_;
  std::size_t page_ = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  std::size_t released_ = 0;
};

namespace {

constexpr std::size_t kReleaseStep = std::size_t{2} << 20;

// Smallest object in a list: class tag, head and the body of a point without symbol.
constexpr std::size_t kMinObjectBytes = 2 + 15 + 20;
// Smallest block definition: class tag, head, three words, empty name, empty list.
constexpr std::size_t kMinBlockDefBytes = 2 + 15 + 12 + 1 + 2;
// Class names are short; anything longer is not one of ours.
constexpr std::size_t kMaxClassNameBytes = 64;

struct ParseFailure {
  int id;
  std::string detail;
};

template <class T>
T FromLittleEndian(T v) {
  if constexpr (std::endian::native == std::endian::big) {
    auto bytes = std::bit_cast<std::array<unsigned char, sizeof(T)>>(v);
    std::reverse(bytes.begin(), bytes.end());
    return std::bit_cast<T>(bytes);
  }
  return v;
}

// A class name from the file for a message: bytes outside printable ASCII become '?'.
std::string Quoted(std::string_view name) {
  std::string out = "\"";
  for (char c : name) out += c >= 0x20 && c < 0x7F ? c : '?';
  return out + "\"";
}

std::string Printf(const char* fmt, auto... args) {
  char buf[256];
  std::snprintf(buf, sizeof buf, fmt, args...);
  return buf;
}

// Reads from bytes already known to be there: used for the records of fixed size
// (given their head), once the input is known to hold the largest of them.
class JwwUncheckedInput {
 public:
  explicit JwwUncheckedInput(const std::uint8_t*& p) : p_(p) {}
  template <class T>
  void Io(T& v) {
    std::memcpy(&v, p_, sizeof v);
    p_ += sizeof v;
    v = FromLittleEndian(v);
  }
  bool Extended() const { return false; }  // dimensions are never read this way

 private:
  const std::uint8_t*& p_;
};

// Counts the bytes a record takes in the file.
class JwwSizeCounter {
 public:
  template <class T>
  constexpr void Io(const T&) {
    bytes += sizeof(T);
  }
  constexpr bool Extended() const { return true; }
  std::size_t bytes = 0;
};

template <class Record>
constexpr std::size_t FileBytes(const Record& r) {
  JwwSizeCounter counter;
  jww_detail::Serialize(counter, r);
  return counter.bytes;
}

// The largest record of fixed size, with its optional tail.
constexpr std::size_t LargestFixedRecord() {
  JwwDot dot;
  dot.head.penStyle = kJwwSymbolPenStyle;
  JwwSolid solid;
  solid.head.penColor = kJwwRgbSolidPenColor;
  return std::max({FileBytes(JwwLine{}), FileBytes(JwwCircle{}), FileBytes(dot), FileBytes(solid),
                   FileBytes(JwwBlock{})});
}
constexpr std::size_t kLargestFixedRecord = LargestFixedRecord();

// Bounds-checked cursor over the file bytes; the archive the record layouts read from.
class JwwInput {
 public:
  JwwInput(const std::uint8_t* data, std::size_t size, JwwTextCodec& codec,
           JwwMappedFile* mapping)
      : begin_(data), p_(data), end_(data + size), codec_(codec), mapping_(mapping) {
    releaseAt_ = mapping ? kReleaseStep : SIZE_MAX;
  }

  std::size_t Offset() const { return static_cast<std::size_t>(p_ - begin_); }
  std::size_t Remaining() const { return static_cast<std::size_t>(end_ - p_); }
  bool Extended() const { return extended_; }
  void SetVersion(std::uint32_t version) { extended_ = JwwHasExtendedLayout(version); }
  // Strings are checked but not converted while a list is only being counted.
  void SetConvertStrings(bool on) { convert_ = on; }

  const std::uint8_t* Take(std::size_t n) {
    if (Remaining() < n) Truncated(n);
    const std::uint8_t* p = p_;
    p_ += n;
    return p;
  }
  template <class T>
  T Get() {
    T v;
    std::memcpy(&v, Take(sizeof v), sizeof v);
    return FromLittleEndian(v);
  }

  void Io(std::uint8_t& v) { v = Get<std::uint8_t>(); }
  void Io(std::uint16_t& v) { v = Get<std::uint16_t>(); }
  void Io(std::uint32_t& v) { v = Get<std::uint32_t>(); }
  void Io(double& v) { v = Get<double>(); }
  void Io(std::string& s);

  // Reads a record of fixed size, with a single bounds check while far from the end.
  template <class Record>
  void ReadFixed(Record& r) {
    if (Remaining() >= kLargestFixedRecord) {
      JwwUncheckedInput fast(p_);
      jww_detail::Serialize(fast, r);
    } else {
      jww_detail::Serialize(*this, r);
    }
  }

  [[noreturn]] void Fail(std::string what) const {
    throw ParseFailure{kJwwMsgCorrupt, Printf("offset %zu: ", Offset()) + what};
  }

  void Seek(std::size_t offset) {
    p_ = begin_ + offset;
    if (mapping_) {
      mapping_->Rewound(offset);
      releaseAt_ = offset + kReleaseStep;
    }
  }
  // Called between objects: gives back the pages already parsed.
  void ReleaseParsed() {
    if (Offset() >= releaseAt_) ReleaseParsedSlow();
  }

 private:
  [[noreturn]] void Truncated(std::size_t n) const {
    Fail(Printf("file ends %zu bytes short of a %zu-byte value", n - Remaining(), n));
  }
  void ReleaseParsedSlow() {
    mapping_->ReleaseBefore(Offset());
    releaseAt_ = Offset() + kReleaseStep;
  }

  const std::uint8_t* begin_;
  const std::uint8_t* p_;
  const std::uint8_t* end_;
  JwwTextCodec& codec_;
  JwwMappedFile* mapping_;
  std::size_t releaseAt_;
  bool extended_ = false;
  bool convert_ = true;
};

// A string is a length byte, widened to a u16 by 0xFF. A u16 of 0xFFFE instead marks
// the UTF-16 form of Unicode builds, after which the length (counting code units)
// follows in the same one-or-three-byte form. The 32-bit length that a u16 of 0xFFFF
// would announce is refused, which bounds every string to 0xFFFE units. The marker is
// honoured in files of any version, though only version-700 files are known to use it.
void JwwInput::Io(std::string& s) {
  std::size_t length = Get<std::uint8_t>();
  bool utf16 = false;
  if (length == 0xFF) {
    std::uint16_t wide = Get<std::uint16_t>();
    if (wide == 0xFFFE) {
      utf16 = true;
      length = Get<std::uint8_t>();
      if (length == 0xFF) {
        length = Get<std::uint16_t>();
        if (length == 0xFFFF) Fail("string with a 32-bit length");
      }
    } else if (wide == 0xFFFF) {
      Fail("string with a 32-bit length");
    } else {
      length = wide;
    }
  }
  const std::uint8_t* bytes = Take(utf16 ? length * 2 : length);
  if (!convert_) return;
  if (utf16)
    codec_.Utf16LeToUtf8(bytes, length, s);
  else
    codec_.Cp932ToUtf8(bytes, length, s);
}

enum Kind { kLine, kCircle, kDot, kText, kSolid, kMeasure, kBlock, kKindCount };
constexpr std::array<std::string_view, kKindCount> kClassNames = {
    "CDataSen", "CDataEnko", "CDataTen", "CDataMoji", "CDataSolid", "CDataSunpou", "CDataBlock"};
constexpr std::string_view kBlockDefClassName = "CDataList";

// Walks the archive: object lists with their class tags and the block definitions.
class JwwParser {
 public:
  explicit JwwParser(JwwInput& in) : in_(in) {}

  void Parse(JwwDocument& doc) {
    const std::uint8_t* sig = in_.Take(8);
    if (std::memcmp(sig, kJwwSignature, 8) != 0) in_.Fail("no JwwData. signature");
    doc.version = in_.Get<std::uint32_t>();
    if (!JwwIsKnownVersion(doc.version)) {
      std::string what = Printf("version %u is not one of 351, 420, 600, 700", doc.version);
      if (doc.version >= 701) throw ParseFailure{kJwwMsgVersionTooNew, what};
      in_.Fail(what);
    }
    in_.SetVersion(doc.version);
    in_.Io(doc.memo);
    jww_detail::Serialize(in_, doc.header);
    ReadObjectList(doc.entities);
    ReadBlockDefs(doc);
  }

 private:
  std::size_t ReadCount() {
    std::size_t n = in_.Get<std::uint16_t>();
    if (n == 0xFFFF) n = in_.Get<std::uint32_t>();
    return n;
  }

  std::uint32_t TakeIndex() {
    if (nextIndex_ >= 0x7FFFFFFF) in_.Fail("too many objects");
    return nextIndex_++;
  }

  // A class reference: the low 15 bits of the tag, or after 0x7FFF a 32-bit index (MFC
  // sets its top bit, which is not part of the index).
  std::uint32_t ReadClassReference(std::uint16_t tag) {
    if (tag == 0x7FFF) return in_.Get<std::uint32_t>() & 0x7FFFFFFF;
    return tag & 0x7FFF;
  }

  std::string_view ReadClassName() {
    in_.Get<std::uint16_t>();  // schema number, not used
    std::size_t length = in_.Get<std::uint16_t>();
    if (length > kMaxClassNameBytes) in_.Fail(Printf("class name of %zu bytes", length));
    return {reinterpret_cast<const char*>(in_.Take(length)), length};
  }

  Kind ReadClassTag() {
    std::uint16_t tag = in_.Get<std::uint16_t>();
    if (tag == 0xFFFF) {
      std::string_view name = ReadClassName();
      for (int k = 0; k < kKindCount; ++k) {
        if (name == kClassNames[k]) {
          classIndex_[k] = TakeIndex();
          return static_cast<Kind>(k);
        }
      }
      in_.Fail("unknown class " + Quoted(name));
    }
    std::uint32_t index = ReadClassReference(tag);
    for (int k = 0; k < kKindCount; ++k)
      if (index != 0 && classIndex_[k] == index) return static_cast<Kind>(k);
    in_.Fail(Printf("reference to class index %u, which is no record class", index));
  }

  template <class Record>
  void ReadInto(std::vector<Record>* target) {
    if (target) {
      Read(target->emplace_back());
    } else {
      Record scratch;
      Read(scratch);
    }
  }
  template <class Record>
  void Read(Record& r) {
    if constexpr (std::is_same_v<Record, JwwText> || std::is_same_v<Record, JwwMeasure>)
      jww_detail::Serialize(in_, r);  // strings: every read checked
    else
      in_.ReadFixed(r);
  }

  // With no set, the objects are only walked and counted.
  void ReadObjects(std::size_t count, JwwEntitySet* set, std::array<std::size_t, kKindCount>& perKind) {
    for (std::size_t i = 0; i < count; ++i) {
      in_.ReleaseParsed();
      Kind kind = ReadClassTag();
      TakeIndex();
      ++perKind[kind];
      switch (kind) {
        case kLine: ReadInto(set ? &set->lines : nullptr); break;
        case kCircle: ReadInto(set ? &set->circles : nullptr); break;
        case kDot: ReadInto(set ? &set->dots : nullptr); break;
        case kText: ReadInto(set ? &set->texts : nullptr); break;
        case kSolid: ReadInto(set ? &set->solids : nullptr); break;
        case kMeasure: ReadInto(set ? &set->measures : nullptr); break;
        case kBlock: ReadInto(set ? &set->blocks : nullptr); break;
        case kKindCount: break;
      }
    }
  }

  // The list is walked twice: once to check it and count each kind, then, with every
  // array reserved to its exact size, to fill it. Nothing is allocated for a count the
  // file cannot back, and no array ever grows by copying.
  void ReadObjectList(JwwEntitySet& set) {
    std::size_t count = ReadCount();
    if (count > in_.Remaining() / kMinObjectBytes)
      in_.Fail(Printf("list of %zu objects in %zu bytes", count, in_.Remaining()));
    std::size_t start = in_.Offset();
    auto classes = classIndex_;
    std::uint32_t next = nextIndex_;
    std::array<std::size_t, kKindCount> perKind{};
    in_.SetConvertStrings(false);
    ReadObjects(count, nullptr, perKind);
    in_.SetConvertStrings(true);

    in_.Seek(start);
    classIndex_ = classes;
    nextIndex_ = next;
    set.lines.reserve(set.lines.size() + perKind[kLine]);
    set.circles.reserve(set.circles.size() + perKind[kCircle]);
    set.dots.reserve(set.dots.size() + perKind[kDot]);
    set.texts.reserve(set.texts.size() + perKind[kText]);
    set.solids.reserve(set.solids.size() + perKind[kSolid]);
    set.measures.reserve(set.measures.size() + perKind[kMeasure]);
    set.blocks.reserve(set.blocks.size() + perKind[kBlock]);
    perKind = {};
    ReadObjects(count, &set, perKind);
  }

  void ReadBlockDefs(JwwDocument& doc) {
    std::size_t count = ReadCount();
    if (count > in_.Remaining() / kMinBlockDefBytes)
      in_.Fail(Printf("%zu block definitions in %zu bytes", count, in_.Remaining()));
    doc.blockDefs.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
      if (i == 0) {
        // The new-class tag and schema of the first definition are taken on trust.
        in_.Take(2);
        std::string_view name = ReadClassName();
        if (name != kBlockDefClassName)
          in_.Fail("block definition list starts with class " + Quoted(name));
        listClassIndex_ = TakeIndex();
      } else {
        std::uint32_t index = ReadClassReference(in_.Get<std::uint16_t>());
        if (index != listClassIndex_)
          in_.Fail(Printf("block definition %zu tagged with class index %u, not %u", i, index,
                          listClassIndex_));
      }
      TakeIndex();
      JwwBlockDef& def = doc.blockDefs.emplace_back();
      jww_detail::SerializeBlockDefHead(in_, def);
      ReadObjectList(def.entities);
      doc.IndexBlockDef(doc.blockDefs.size() - 1);
    }
  }

  JwwInput& in_;
  // Archive index of each record class, 0 while its name has not been read.
  std::array<std::uint32_t, kKindCount> classIndex_{};
  std::uint32_t listClassIndex_ = 0;
  std::uint32_t nextIndex_ = 1;  // index 0 stands for the null object
};

}  // namespace

std::string_view JwwDefaultMessage(int id) {
  switch (id) {
    case kJwwMsgOutOfMemory: return "Out of memories !\n";
    case kJwwMsgFileMissing: return "File %s doesn't exist !";
    case kJwwMsgOpenFailed: return "Failed to open file %s !";
    case kJwwMsgCorrupt: return "Failed to read %s, maybe it corrupted or suffix is not .jww.";
    case kJwwMsgVersionTooNew: return "Failed to read %s, its version is greater than 7.02.";
  }
  return {};
}

std::string JwwFormatMessage(std::string_view pattern, std::string_view path) {
  std::string out(pattern);
  if (auto at = out.find("%s"); at != std::string::npos) out.replace(at, 2, path);
  return out;
}

bool JwwFileReader::Fail(int id, std::string_view path, std::string detail, std::uint64_t offset) {
  error_.resourceId = id;
  error_.message = JwwFormatMessage(JwwDefaultMessage(id), path);
  error_.detail = std::move(detail);
  error_.offset = offset;
  return false;
}

bool JwwFileReader::Parse(const std::uint8_t* data, std::size_t size, std::string_view path,
                          JwwDocument& doc, JwwMappedFile* mapping) {
  error_ = {};
  bytesRead_ = 0;
  JwwTextCodec codec;
  JwwInput in(data, size, codec, mapping);
  try {
    JwwParser(in).Parse(doc);
    bytesRead_ = in.Offset();
    return true;
  } catch (const ParseFailure& f) {
    return Fail(f.id, path, f.detail, in.Offset());
  } catch (const std::bad_alloc&) {
    return Fail(kJwwMsgOutOfMemory, path, "out of memory", in.Offset());
  }
}

bool JwwFileReader::ReadBuffer(const void* data, std::size_t size, std::string_view path,
                               JwwDocument& doc) {
  return Parse(static_cast<const std::uint8_t*>(data), size, path, doc, nullptr);
}

bool JwwFileReader::Read(const std::string& path, JwwDocument& doc) {
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    int err = errno;
    return Fail(err == ENOENT || err == ENOTDIR ? kJwwMsgFileMissing : kJwwMsgOpenFailed, path,
                std::strerror(err));
  }
  struct FdCloser {
    int fd;
    ~FdCloser() { close(fd); }
  } closer{fd};

  struct stat st {};
  if (fstat(fd, &st) != 0) return Fail(kJwwMsgOpenFailed, path, std::strerror(errno));
  if (S_ISDIR(st.st_mode)) return Fail(kJwwMsgOpenFailed, path, "is a directory");

  if (S_ISREG(st.st_mode) && st.st_size > 0) {
    JwwMappedFile mapping(fd, static_cast<std::size_t>(st.st_size));
    if (mapping.data()) return Parse(mapping.data(), mapping.size(), path, doc, &mapping);
  }
  // Not mappable (a pipe, an empty file, a file system without mmap): read it whole.
  std::vector<std::uint8_t> bytes;
  try {
    std::uint8_t chunk[1 << 16];
    for (;;) {
      ssize_t n = read(fd, chunk, sizeof chunk);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) return Fail(kJwwMsgCorrupt, path, std::strerror(errno), bytes.size());
      if (n == 0) break;
      bytes.insert(bytes.end(), chunk, chunk + n);
    }
  } catch (const std::bad_alloc&) {
    return Fail(kJwwMsgOutOfMemory, path, "out of memory");
  }
  return Parse(bytes.data(), bytes.size(), path, doc, nullptr);
}
