#pragma once
// Writes a JwwDocument as a ".jww" file in the layout of its version.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "express/jww/jww_document.h"

struct JwwWriteOptions {
  // Strings in the UTF-16 form of JW_CAD's Unicode builds (FF FE FF, then the length in
  // code units) instead of CP932 bytes.
  bool unicodeStrings = false;
  // Use the long forms even where the short ones would do. JW_CAD switches to them
  // only past the short limits; a reader must take either.
  bool longCounts = false;        // 0xFFFF, then a u32 count
  bool longClassTags = false;     // 0x7FFF, then a u32 class index
  bool longStringLengths = false; // 0xFF, then a u16 length
  // Schema number of each class; 0 writes the file version, as JW_CAD does.
  std::uint16_t schema = 0;
};

class JwwFileWriter {
 public:
  explicit JwwFileWriter(JwwWriteOptions options = {}) : options_(options) {}

  // On false, Error() says why ("Failed to write file %s !" with the path, or why the
  // document cannot be written).
  bool Write(const std::string& path, const JwwDocument& doc);
  bool WriteBuffer(const JwwDocument& doc, std::vector<std::uint8_t>& out);

  const std::string& Error() const { return error_; }
  // Characters that had no CP932 form and were written as '?'.
  std::size_t Substitutions() const { return substitutions_; }

 private:
  JwwWriteOptions options_;
  std::string error_;
  std::size_t substitutions_ = 0;
};
