#include "express/jww/jww_file_writer.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "express/jww/jww_serialize.h"
#include "express/jww/jww_text_codec.h"

namespace {

struct WriteFailure {
  std::string what;
};

template <class T>
T ToLittleEndian(T v) {
  if constexpr (std::endian::native == std::endian::big) {
    auto bytes = std::bit_cast<std::array<unsigned char, sizeof(T)>>(v);
    std::reverse(bytes.begin(), bytes.end());
    return std::bit_cast<T>(bytes);
  }
  return v;
}

// The archive the record layouts write to.
class JwwOutput {
 public:
  JwwOutput(std::vector<std::uint8_t>& out, const JwwWriteOptions& options, JwwTextCodec& codec)
      : out_(out), options_(options), codec_(codec) {}

  bool Extended() const { return extended_; }
  void SetVersion(std::uint32_t version) { extended_ = JwwHasExtendedLayout(version); }

  void Bytes(const void* p, std::size_t n) {
    const auto* b = static_cast<const std::uint8_t*>(p);
    out_.insert(out_.end(), b, b + n);
  }
  template <class T>
  void Put(T v) {
    v = ToLittleEndian(v);
    Bytes(&v, sizeof v);
  }

  void Io(const std::uint8_t& v) { Put(v); }
  void Io(const std::uint16_t& v) { Put(v); }
  void Io(const std::uint32_t& v) { Put(v); }
  void Io(const double& v) { Put(v); }
  void Io(const std::string& s);

 private:
  std::vector<std::uint8_t>& out_;
  const JwwWriteOptions& options_;
  JwwTextCodec& codec_;
  std::string scratch_;
  bool extended_ = false;
};

void JwwOutput::Io(const std::string& s) {
  if (options_.unicodeStrings) {
    codec_.Utf8ToUtf16Le(s, scratch_);
    std::size_t units = scratch_.size() / 2;
    if (units > 0xFFFE) throw WriteFailure{"a text is longer than 65534 UTF-16 units"};
    Put<std::uint8_t>(0xFF);
    Put<std::uint16_t>(0xFFFE);
    if (units < 0xFF && !options_.longStringLengths) {
      Put(static_cast<std::uint8_t>(units));
    } else {
      Put<std::uint8_t>(0xFF);
      Put(static_cast<std::uint16_t>(units));
    }
  } else {
    codec_.Utf8ToCp932(s, scratch_);
    // 0xFFFE as a length would read as the Unicode marker.
    if (scratch_.size() > 0xFFFD) throw WriteFailure{"a text is longer than 65533 bytes"};
    if (scratch_.size() < 0xFF && !options_.longStringLengths) {
      Put(static_cast<std::uint8_t>(scratch_.size()));
    } else {
      Put<std::uint8_t>(0xFF);
      Put(static_cast<std::uint16_t>(scratch_.size()));
    }
  }
  Bytes(scratch_.data(), scratch_.size());
}

enum Kind { kLine, kCircle, kDot, kText, kSolid, kMeasure, kBlock, kList, kKindCount };
constexpr std::array<std::string_view, kKindCount> kClassNames = {
    "CDataSen",    "CDataEnko",  "CDataTen",  "CDataMoji", "CDataSolid",
    "CDataSunpou", "CDataBlock", "CDataList"};

// Lays the document out as the archive of MFC does: a class named on first use and
// referred to by index afterwards, every class and object taking the next index.
class JwwArchiveWriter {
 public:
  JwwArchiveWriter(JwwOutput& out, const JwwWriteOptions& options, std::uint16_t schema)
      : out_(out), options_(options), schema_(schema) {}

  void Document(const JwwDocument& doc) {
    out_.Bytes(kJwwSignature, 8);
    out_.Put(doc.version);
    out_.SetVersion(doc.version);
    out_.Io(doc.memo);
    jww_detail::Serialize(out_, doc.header);
    ObjectList(doc.entities);
    Count(doc.blockDefs.size());
    for (const JwwBlockDef& def : doc.blockDefs) {
      ClassTag(kList);
      ++nextIndex_;
      jww_detail::SerializeBlockDefHead(out_, def);
      ObjectList(def.entities);
    }
    // JW_CAD 7 ends its files with one more word after the block list; the reader has
    // no use for it, but a file without it is not what JW_CAD 7 writes.
    if (doc.version >= kJwwTrailingWordVersion) out_.Put<std::uint32_t>(0);
  }

 private:
  void Count(std::size_t n) {
    if (n > 0xFFFFFFFF) throw WriteFailure{"more than 2^32 records in one list"};
    if (n < 0xFFFF && !options_.longCounts) {
      out_.Put(static_cast<std::uint16_t>(n));
    } else {
      out_.Put<std::uint16_t>(0xFFFF);
      out_.Put(static_cast<std::uint32_t>(n));
    }
  }

  void ClassTag(Kind kind) {
    std::uint32_t index = classIndex_[kind];
    if (index == 0) {
      out_.Put<std::uint16_t>(0xFFFF);
      out_.Put(schema_);
      out_.Put(static_cast<std::uint16_t>(kClassNames[kind].size()));
      out_.Bytes(kClassNames[kind].data(), kClassNames[kind].size());
      classIndex_[kind] = nextIndex_++;
    } else if (index < 0x7FFF && !options_.longClassTags) {
      out_.Put(static_cast<std::uint16_t>(0x8000 | index));
    } else {
      out_.Put<std::uint16_t>(0x7FFF);
      out_.Put(0x80000000u | index);
    }
  }

  template <class Record>
  void Records(Kind kind, const std::vector<Record>& records) {
    for (const Record& r : records) {
      ClassTag(kind);
      ++nextIndex_;
      jww_detail::Serialize(out_, r);
    }
  }

  void ObjectList(const JwwEntitySet& set) {
    Count(set.RecordCount());
    Records(kLine, set.lines);
    Records(kCircle, set.circles);
    Records(kDot, set.dots);
    Records(kText, set.texts);
    Records(kSolid, set.solids);
    Records(kMeasure, set.measures);
    Records(kBlock, set.blocks);
  }

  JwwOutput& out_;
  const JwwWriteOptions& options_;
  std::uint16_t schema_;
  std::array<std::uint32_t, kKindCount> classIndex_{};
  std::uint32_t nextIndex_ = 1;
};

}  // namespace

bool JwwFileWriter::WriteBuffer(const JwwDocument& doc, std::vector<std::uint8_t>& out) {
  error_.clear();
  out.clear();
  JwwTextCodec codec;
  JwwOutput output(out, options_, codec);
  std::uint16_t schema =
      options_.schema ? options_.schema : static_cast<std::uint16_t>(doc.version);
  try {
    JwwArchiveWriter(output, options_, schema).Document(doc);
  } catch (const WriteFailure& f) {
    error_ = f.what;
    substitutions_ = codec.Substitutions();
    return false;
  }
  substitutions_ = codec.Substitutions();
  return true;
}

bool JwwFileWriter::Write(const std::string& path, const JwwDocument& doc) {
  std::vector<std::uint8_t> bytes;
  if (!WriteBuffer(doc, bytes)) return false;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> f(std::fopen(path.c_str(), "wb"), &std::fclose);
  bool ok = f && std::fwrite(bytes.data(), 1, bytes.size(), f.get()) == bytes.size();
  ok = f && std::fclose(f.release()) == 0 && ok;
  if (!ok) {
    error_ = "Failed to write file " + path + " !";
    return false;
  }
  return true;
}
