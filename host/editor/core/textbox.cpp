// Text extents from the text style's font, measured with FreeType. A style font that
// fontconfig cannot find (SHX fonts, missing TrueType files) falls back to DejaVu Sans.
#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <memory>
#include <unordered_map>

#include "host/editor/core/session.h"

namespace fs = std::filesystem;

namespace dx::ed {
namespace {

struct FontCache {
  FT_Library lib = nullptr;
  std::map<std::string, FT_Face> faces;  // by requested font
  FontCache() { FT_Init_FreeType(&lib); }
  ~FontCache() {
    for (auto& [k, f] : faces)
      if (f) FT_Done_Face(f);
    if (lib) FT_Done_FreeType(lib);
    FcFini();  // fontconfig's own caches, so that leak checkers see a clean exit
  }
};

FontCache& cache() {
  static FontCache c;
  return c;
}

std::string fontconfigFile(const std::string& pattern) {
  if (!FcInit()) return "";
  FcPattern* pat = FcNameParse(reinterpret_cast<const FcChar8*>(pattern.c_str()));
  if (!pat) return "";
  FcConfigSubstitute(nullptr, pat, FcMatchPattern);
  FcDefaultSubstitute(pat);
  FcResult res;
  FcPattern* match = FcFontMatch(nullptr, pat, &res);
  std::string file;
  if (match) {
    FcChar8* f = nullptr;
    if (FcPatternGetString(match, FC_FILE, 0, &f) == FcResultMatch && f) file = reinterpret_cast<char*>(f);
    // Only an exact family match counts; otherwise fontconfig hands any font back.
    FcChar8* fam = nullptr;
    FcChar8* want = nullptr;
    if (FcPatternGetString(match, FC_FAMILY, 0, &fam) == FcResultMatch &&
        FcPatternGetString(pat, FC_FAMILY, 0, &want) == FcResultMatch && fam && want &&
        !iequals(reinterpret_cast<char*>(fam), reinterpret_cast<char*>(want)))
      file.clear();
    FcPatternDestroy(match);
  }
  FcPatternDestroy(pat);
  return file;
}

// A font installed under this file name ("arial.ttf"), case ignored: drawings name a
// style's font by its file, which need not resemble the family name.
std::string installedFontFile(const std::string& fileName) {
  static std::map<std::string, std::string> byName;  // upper-case file name -> path
  static bool listed = false;
  if (!listed && FcInit()) {
    listed = true;
    FcPattern* all = FcPatternCreate();
    FcObjectSet* os = FcObjectSetBuild(FC_FILE, nullptr);
    if (FcFontSet* set = FcFontList(nullptr, all, os)) {
      for (int i = 0; i < set->nfont; ++i) {
        FcChar8* f = nullptr;
        if (FcPatternGetString(set->fonts[i], FC_FILE, 0, &f) == FcResultMatch && f) {
          std::string path = reinterpret_cast<char*>(f);
          byName.emplace(upper(fs::path(path).filename().string()), path);
        }
      }
      FcFontSetDestroy(set);
    }
    FcObjectSetDestroy(os);
    FcPatternDestroy(all);
  }
  auto it = byName.find(upper(fs::path(fileName).filename().string()));
  return it == byName.end() ? std::string() : it->second;
}

// The face of a style: its font file (by path, by installed file name, or by name
// through fontconfig), its family, or the fallback.
FT_Face faceFor(const std::string& fontFile, const std::string& family) {
  FontCache& c = cache();
  std::string key = fontFile + "|" + family;
  auto it = c.faces.find(key);
  if (it != c.faces.end()) return it->second;
  std::vector<std::string> candidates;
  std::error_code ec;
  if (!fontFile.empty() && fs::exists(fontFile, ec)) candidates.push_back(fontFile);
  if (!family.empty()) candidates.push_back(fontconfigFile(family));
  if (!fontFile.empty()) candidates.push_back(installedFontFile(fontFile));
  if (!fontFile.empty()) {
    std::string stem = fs::path(fontFile).stem().string();
    std::string ext = upper(fs::path(fontFile).extension().string());
    if (ext == ".TTF" || ext == ".OTF" || ext == ".TTC") candidates.push_back(fontconfigFile(stem));
  }
  candidates.push_back(fontconfigFile("DejaVu Sans"));
  candidates.push_back("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf");
  FT_Face face = nullptr;
  for (auto& f : candidates) {
    if (f.empty()) continue;
    if (FT_New_Face(c.lib, f.c_str(), 0, &face) == 0) break;
    face = nullptr;
  }
  c.faces[key] = face;
  return face;
}

}  // namespace

// Width and vertical extent of a string at a height; false when no font can be loaded.
namespace {
// Glyph metrics in font units, kept per face: loading a glyph outline costs far more
// than the measuring, and drawings repeat the same few characters endlessly.
struct GlyphInfo {
  FT_UInt index = 0;
  long advance = 0, lo = 0, hi = 0;
  bool ok = false;
};
struct FaceMetrics {
  double cap = 0;
  std::unordered_map<uint32_t, GlyphInfo> glyphs;
};
FaceMetrics& metricsOf(FT_Face face) {
  static std::unordered_map<FT_Face, FaceMetrics> all;
  FaceMetrics& m = all[face];
  if (m.cap == 0) {
    // Text height is the height of capitals; measure "H" to scale font units to it.
    if (FT_Load_Char(face, 'H', FT_LOAD_NO_SCALE) == 0) m.cap = face->glyph->metrics.height;
    if (m.cap <= 0) m.cap = face->units_per_EM * 0.7;
  }
  return m;
}
const GlyphInfo& glyphOf(FT_Face face, FaceMetrics& fm, uint32_t cp) {
  auto [it, fresh] = fm.glyphs.try_emplace(cp);
  GlyphInfo& g = it->second;
  if (fresh) {
    g.index = FT_Get_Char_Index(face, cp);
    if (FT_Load_Glyph(face, g.index, FT_LOAD_NO_SCALE) == 0) {
      const FT_Glyph_Metrics& m = face->glyph->metrics;
      g.advance = m.horiAdvance;
      g.lo = m.horiBearingY - m.height;
      g.hi = m.horiBearingY;
      g.ok = true;
    }
  }
  return g;
}
}  // namespace

bool measureText(const std::string& text, const std::string& fontFile, const std::string& family,
                 double height, double widthFactor, double& width, double& yMin, double& yMax) {
  FT_Face face = faceFor(fontFile, family);
  if (!face) return false;
  FaceMetrics& fm = metricsOf(face);
  double scale = height / fm.cap;
  double pen = 0, lo = 0, hi = 0;
  FT_UInt prev = 0;
  // UTF-8 decode.
  for (size_t i = 0; i < text.size();) {
    unsigned char ch = static_cast<unsigned char>(text[i]);
    uint32_t cp = ch;
    int extra = ch >= 0xF0 ? 3 : ch >= 0xE0 ? 2 : ch >= 0xC0 ? 1 : 0;
    if (extra) cp = ch & (0x3F >> extra);
    for (int k = 1; k <= extra && i + size_t(k) < text.size(); ++k)
      cp = (cp << 6) | (static_cast<unsigned char>(text[i + size_t(k)]) & 0x3F);
    i += size_t(extra) + 1;
    const GlyphInfo& g = glyphOf(face, fm, cp);
    if (prev && g.index && FT_HAS_KERNING(face)) {
      FT_Vector k;
      if (FT_Get_Kerning(face, prev, g.index, FT_KERNING_UNSCALED, &k) == 0) pen += k.x;
    }
    if (!g.ok) continue;
    lo = std::min(lo, double(g.lo));
    hi = std::max(hi, double(g.hi));
    pen += g.advance;
    prev = g.index;
  }
  width = pen * scale * widthFactor;
  yMin = lo * scale;
  yMax = std::max(hi * scale, text.empty() ? 0.0 : height);
  return true;
}

}  // namespace dx::ed

int dxedTextBox(const resbuf* ent, dx_point p1, dx_point p2) {
  using namespace dx::ed;
  if (!ent || !p1 || !p2) return RTERROR;
  std::string text, styleName = "Standard";
  double height = 0, widthFactor = 0;
  bool haveHeight = false, haveWidth = false;
  for (const resbuf* rb = ent; rb; rb = rb->rbnext) {
    switch (rb->restype) {
      case 1: text = rb->resval.rstring ? rb->resval.rstring : ""; break;
      case 7: styleName = rb->resval.rstring ? rb->resval.rstring : "Standard"; break;
      case 40: height = rb->resval.rreal, haveHeight = true; break;
      case 41: widthFactor = rb->resval.rreal, haveWidth = true; break;
      case -1: {
        // An entity name alone: read the text from the drawing.
        if (ent->rbnext) break;
        resbuf* list = dxdbEntGet(rb->resval.rlname);
        if (!list) return RTERROR;
        int rc = dxedTextBox(list, p1, p2);
        dxutRelRb(list);
        return rc;
      }
      default: break;
    }
  }
  std::string fontFile, family;
  double styleWidth = 1, styleHeight = 0;
  if (DxDbDatabase* db = Session::get().current() ? Session::get().current()->database() : nullptr) {
    Opened<DxDbTextStyleTable> table(db->textStyleTableId(), DxDb::kForRead);
    DxDbObjectId sid;
    if (table && table->getIdAt(styleName.c_str(), sid) == Dxad::eOk) {
      table.close();
      Opened<DxDbTextStyleTableRecord> style(sid, DxDb::kForRead);
      if (style) {
        fontFile = style->fileName();
        family = style->fontFamily();
        styleWidth = style->xScale();
        styleHeight = style->textSize();
      }
    }
  }
  if (!haveHeight || height <= 0) height = styleHeight > 0 ? styleHeight : Session::get().getReal("TEXTSIZE");
  if (!haveWidth || widthFactor <= 0) widthFactor = styleWidth > 0 ? styleWidth : 1;
  double w, lo, hi;
  if (!measureText(text, fontFile, family, height, widthFactor, w, lo, hi)) return RTERROR;
  p1[0] = 0, p1[1] = lo, p1[2] = 0;
  p2[0] = w, p2[1] = hi, p2[2] = 0;
  return RTNORM;
}
