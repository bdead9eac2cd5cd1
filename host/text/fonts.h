// Font faces for texts: a style's font file or family through fontconfig, the sans-serif
// default for fonts that are not installed (SHX fonts among them), and a face with
// Japanese glyphs for characters the style's face lacks.
#pragma once

#include <string>
#include <unordered_map>

struct FT_FaceRec_;

namespace dx::text {

class Face {
 public:
  struct Glyph {
    unsigned index = 0;
    double advance = 0;      // font units
    double lo = 0, hi = 0;   // ink below and above the baseline, font units
  };
  FT_FaceRec_* ft = nullptr;
  double units = 1000;  // font units per em
  double cap = 700;     // height of a capital: what a text height measures
  double descent = 200;
  // The glyph of a character, or null when the face has none.
  const Glyph* glyph(char32_t cp);

 private:
  std::unordered_map<char32_t, Glyph> m_glyphs;
};

// Faces live for the whole process (a drawing names few fonts, and renderers keep their
// own references to them). Null only when no font at all can be loaded.
Face* faceFor(const std::string& fontFile, const std::string& family);
Face* japaneseFace();

}  // namespace dx::text
