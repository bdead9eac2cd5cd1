#pragma once
// Reads a ".jww" drawing into a JwwDocument. The reader never talks to the user: on
// failure it hands back the message (resource id, English default, text with the
// path filled in) for the import command to show.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "express/jww/jww_document.h"

class JwwMappedFile;

// Resource ids of the reader's messages; each has an English default below.
enum JwwMessageId : int {
  kJwwMsgOutOfMemory = 27004,
  kJwwMsgFileMissing = 27007,
  kJwwMsgOpenFailed = 27008,
  kJwwMsgCorrupt = 27009,
  kJwwMsgVersionTooNew = 27010,
};

// English text of a message id, with "%s" where the path goes.
std::string_view JwwDefaultMessage(int id);
// Replaces the first "%s" of a message pattern with the path.
std::string JwwFormatMessage(std::string_view pattern, std::string_view path);

struct JwwReadError {
  int resourceId = 0;            // one of JwwMessageId; 0 while nothing failed
  std::string message;           // the default text with the path filled in
  std::string detail;            // where and why, for logs and tests; not for the user
  std::uint64_t offset = 0;      // byte offset where reading stopped
};

class JwwFileReader {
 public:
  // Reads the file at `path` into `doc`. On false, Error() says why and the
  // document's content must be discarded.
  bool Read(const std::string& path, JwwDocument& doc);
  // The same for bytes already in memory; `path` only goes into the message.
  bool ReadBuffer(const void* data, std::size_t size, std::string_view path, JwwDocument& doc);

  const JwwReadError& Error() const { return error_; }
  // Bytes taken by the last successful read: the file ends there unless it carries a tail.
  std::uint64_t BytesRead() const { return bytesRead_; }

 private:
  bool Fail(int id, std::string_view path, std::string detail, std::uint64_t offset = 0);
  bool Parse(const std::uint8_t* data, std::size_t size, std::string_view path,
             JwwDocument& doc, JwwMappedFile* mapping);

  JwwReadError error_;
  std::uint64_t bytesRead_ = 0;
};
