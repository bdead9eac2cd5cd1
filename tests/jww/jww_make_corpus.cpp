// Writes the seed corpus of the JWW reader's fuzzer: small drawings of every version,
// string form and escape the reader takes. Usage: jww_make_corpus <folder>
#include <cstdio>
#include <string>

#include "jww_samples.h"

namespace {

bool Save(const std::string& dir, const std::string& name, const std::vector<std::uint8_t>& bytes) {
  std::string path = dir + "/" + name + ".jww";
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return false;
  bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  return std::fclose(f) == 0 && ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <folder>\n", argv[0]);
    return 2;
  }
  std::string dir = argv[1];
  bool ok = true;
  for (std::uint32_t version : {351u, 420u, 600u, 700u}) {
    std::string v = std::to_string(version);
    JwwWriteOptions unicode;
    unicode.unicodeStrings = true;
    JwwWriteOptions longForms;
    longForms.longCounts = longForms.longClassTags = longForms.longStringLengths = true;
    ok &= Save(dir, "empty-" + v, WriteOrDie(MakeEmptyDocument(version)));
    ok &= Save(dir, "sample-" + v, WriteOrDie(MakeSampleDocument(version)));
    ok &= Save(dir, "sample-" + v + "-unicode", WriteOrDie(MakeSampleDocument(version), unicode));
    ok &= Save(dir, "sample-" + v + "-long-forms", WriteOrDie(MakeSampleDocument(version), longForms));
  }
  if (!ok) {
    std::fprintf(stderr, "cannot write the corpus into %s\n", dir.c_str());
    return 1;
  }
  return 0;
}
