// DXF group-code tags: value kinds, a streaming reader (ASCII and binary DXF) and a
// writer (ASCII DXF). Strings handed out are always UTF-8.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace dx::dxf {

// How the value of a group code is stored, following the group-code ranges of DXF.
enum class Kind : uint8_t {
  String,  // text, names, hex handles (codes 0-9, 100, 102, 105, 300-369, 390-399, 410-419, ...)
  Double,  // 10-59, 110-149, 210-239, 460-469, 1010-1059
  Int16,   // 60-79, 170-179, 270-289, 370-389, 400-409, 1060-1070
  Int32,   // 90-99, 420-429, 440-449, 1071
  Int64,   // 160-169
  Bool,    // 290-299 (0/1)
  Binary,  // 310-319, 1004 (hex text in ASCII DXF)
  Comment, // 999
};
Kind kindOf(int code);
// Codes whose string value is a handle reference (330-369, 390-399, 480-481, 1005) or
// the object's own handle (5, 105). Inline: the reader asks it of every group.
constexpr bool isHandleCode(int code) {
  return code == 5 || code == 105 || (code >= 330 && code <= 369) ||
         (code >= 390 && code <= 399) || code == 480 || code == 481 || code == 1005;
}
// Handle codes that refer to another object (not the object's own handle).
constexpr bool isReferenceCode(int code) { return isHandleCode(code) && code != 5 && code != 105; }
// Codes of angles (50-58): degrees in files unless a class says otherwise.
inline bool isAngleCode(int code) { return code >= 50 && code <= 58; }
// Input quoted in a message: its first line, at most 40 characters, anything but
// printable ASCII as '?', so that the message stays one clean line whatever the file holds.
std::string quoted(std::string_view in);
// The x code of a point (10-18, 110-112, 210, 1010-1013): the y and z codes are +10, +20.
constexpr bool isPointCode(int code) {
  return (code >= 10 && code <= 18) || (code >= 110 && code <= 112) || code == 210 ||
         (code >= 1010 && code <= 1013);
}

struct Tag {
  int code = 0;
  Kind kind = Kind::String;
  double real = 0;         // Double
  int64_t integer = 0;     // Int16, Int32, Int64, Bool
  // String, Binary (as hex text), Comment; valid until the next read. For numeric tags
  // of ASCII DXF it also holds the value as written (trimmed), for messages.
  std::string_view text;
};

// The bytes of a whole file: a string of their own, or (big files) the file mapped into
// memory, which spares copying it. Either way a NUL follows the last byte.
class Bytes {
 public:
  Bytes() = default;
  explicit Bytes(std::string s) : own_(std::move(s)), data_(own_.data()), size_(own_.size()) {}
  Bytes(Bytes&& o) noexcept { *this = std::move(o); }
  Bytes& operator=(Bytes&& o) noexcept;
  Bytes(const Bytes&) = delete;
  Bytes& operator=(const Bytes&) = delete;
  ~Bytes() { release(); }

  // The file open as fd, of size bytes. False with a one-line reason on a read error.
  static bool fromFd(int fd, uint64_t size, Bytes& out, std::string& error);

  const char* data() const { return data_; }
  size_t size() const { return size_; }
  std::string_view view() const { return {data_, size_}; }
  // Whether the mapped file was truncated by someone else while it was mapped: the lost
  // pages then read as zeros (instead of killing the process with SIGBUS).
  bool cutShort() const;

 private:
  void release();
  std::string own_;
  const char* data_ = own_.data();
  size_t size_ = 0;
  void* map_ = nullptr;
  int guard_ = -1;  // the mapping's slot in the SIGBUS handler's list
};

// Reads tags one at a time from a whole file held in memory. Detects binary DXF by its
// sentinel. Tracks $ACADVER and $DWGCODEPAGE from the HEADER section: strings of drawings
// before AC1021 are converted from the drawing code page to UTF-8, and "\U+XXXX" escapes
// in any drawing are turned into UTF-8.
class TagReader {
 public:
  // Returns null and sets error (one line, no file name) when the data is not DXF at all.
  static std::unique_ptr<TagReader> fromBuffer(std::string data, std::string& error);
  static std::unique_ptr<TagReader> fromBytes(Bytes data, std::string& error);
  static std::unique_ptr<TagReader> fromFile(const std::string& path, std::string& error);
  virtual ~TagReader() = default;

  // Next tag; false at end of data or on a malformed tag (then error() is set).
  virtual bool next(Tag& tag) = 0;
  // Pushes the last tag back; the next call to next() returns it again (one level).
  virtual void pushBack() = 0;
  virtual const std::string& error() const = 0;
  // 1-based line number (ASCII) or byte offset (binary) of the last tag, for messages.
  virtual uint64_t position() const = 0;
  virtual bool isBinary() const = 0;
  virtual uint64_t size() const = 0;
  // Whether a text handed out stays valid for the reader's lifetime (it points into the
  // file's own bytes), so that callers need not copy it.
  virtual bool stable(std::string_view text) const = 0;
  // Version string seen so far in the header ("AC1009" when none was given).
  virtual const std::string& acadVersion() const = 0;
  // $DWGCODEPAGE seen so far in the header ("ANSI_1252" when none was given).
  virtual const std::string& codePage() const = 0;
  // Whether the file was truncated while it was read (see Bytes::cutShort).
  virtual bool cutShort() const = 0;
};

// Writes ASCII DXF into a buffer. Either the whole text stays in memory (buffer(),
// saveTo()), or, after open(), it streams to a temporary file in chunks that commit()
// renames into place: a big drawing then never sits in memory twice. Doubles are
// written in the shortest form that reads back to the same value.
class TagWriter {
 public:
  TagWriter();
  ~TagWriter();  // an open temporary not committed is removed
  TagWriter(const TagWriter&) = delete;
  TagWriter& operator=(const TagWriter&) = delete;
  // Whether non-ASCII text is written as "\U+XXXX" (drawings before AC1021).
  void setEscapeNonAscii(bool on) { escapeNonAscii_ = on; }

  void str(int code, std::string_view s);
  void real(int code, double v);
  void integer(int code, int64_t v);
  void handle(int code, uint64_t h);  // hex, upper case
  void point(int code, double x, double y, double z);
  void point2(int code, double x, double y);
  void tag(const Tag& t);  // any tag, by its kind

  // What is written and not yet streamed out: everything when open() was not called.
  const std::string& buffer() const { return buf_; }
  std::string& buffer() { return buf_; }
  // Writes the buffer to path through a temporary file and a rename. False and error
  // on failure.
  bool saveTo(const std::string& path, std::string& error) const;
  // Starts streaming to a temporary beside path (a symbolic link's target is replaced).
  // False and error when it cannot be created.
  bool open(const std::string& path, std::string& error);
  // Writes the rest and renames the temporary into place; on any failure (including one
  // of an earlier chunk) the temporary is removed and the old file stays as it was.
  bool commit(std::string& error);
  // Whether the file is flushed to the disk before the rename (off: the rename
  // alone already keeps the old file intact on any failure short of a power cut).
  void setSyncOnSave(bool on) { syncOnSave_ = on; }

  struct Output;  // the temporary being streamed to

 private:
  void code(int c);
  void spillIfFull() {
    if (buf_.size() >= spillAt_) spill();
  }
  void spill();
  std::string buf_;
  size_t spillAt_;
  std::unique_ptr<Output> out_;
  bool escapeNonAscii_ = false;
  bool syncOnSave_ = false;
};

// "\U+XXXX" escapes and code-page text to UTF-8; used by the reader and available to
// callers that get text from elsewhere (e.g. entity lists).
std::string decodeUnicodeEscapes(std::string_view s);
// Converts text in a DXF code page ("ANSI_1252", "ANSI_932", ...) to UTF-8. Pure ASCII
// comes back unchanged. Unknown code pages are treated as ANSI_1252.
std::string codePageToUtf8(std::string_view s, std::string_view dwgCodePage);
// UTF-8 to ASCII with "\U+XXXX" for every other character.
std::string escapeNonAscii(std::string_view utf8);

}  // namespace dx::dxf
