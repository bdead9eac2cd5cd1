#include "host/text/fonts.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>

namespace fs = std::filesystem;

namespace dx::text {
namespace {

std::string lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return char(std::tolower(c)); });
  return s;
}

// A font file by fontconfig pattern; with exact, only when the family matches, since
// fontconfig otherwise hands back any font.
std::string match(const std::string& pattern, bool exact) {
  if (!FcInit()) return "";
  FcPattern* pat = FcNameParse(reinterpret_cast<const FcChar8*>(pattern.c_str()));
  if (!pat) return "";
  FcConfigSubstitute(nullptr, pat, FcMatchPattern);
  FcDefaultSubstitute(pat);
  FcResult res;
  std::string file;
  if (FcPattern* m = FcFontMatch(nullptr, pat, &res)) {
    FcChar8 *f = nullptr, *fam = nullptr, *want = nullptr;
    if (FcPatternGetString(m, FC_FILE, 0, &f) == FcResultMatch && f) file = reinterpret_cast<char*>(f);
    if (exact && FcPatternGetString(m, FC_FAMILY, 0, &fam) == FcResultMatch &&
        FcPatternGetString(pat, FC_FAMILY, 0, &want) == FcResultMatch && fam && want &&
        lower(reinterpret_cast<char*>(fam)) != lower(reinterpret_cast<char*>(want)))
      file.clear();
    FcPatternDestroy(m);
  }
  FcPatternDestroy(pat);
  return file;
}

class Fonts {
 public:
  static Fonts& get() {
    // Faces are never released (renderers may still hold them); fontconfig's own caches
    // are, at exit, so that leak checkers see a clean end.
    static struct FontconfigAtExit {
      ~FontconfigAtExit() { FcFini(); }
    } atExit;
    static Fonts* fonts = new Fonts;
    return *fonts;
  }

  Face* forStyle(const std::string& fontFile, const std::string& family) {
    std::lock_guard lock(m_mutex);
    auto [it, fresh] = m_byStyle.try_emplace(fontFile + "|" + family);
    if (!fresh) return it->second;
    Face* f = nullptr;
    std::error_code ec;
    if (!fontFile.empty() && fs::is_regular_file(fontFile, ec)) f = load(fontFile);
    if (!f && !family.empty()) f = load(match(family, true));
    if (!f && !fontFile.empty()) {
      // Drawings name a style's font by its file ("arial.ttf"), which need not resemble
      // the family name: look for an installed file of that name, then the stem.
      f = load(installed(fs::path(fontFile).filename().string()));
      std::string ext = lower(fs::path(fontFile).extension().string());
      if (!f && (ext == ".ttf" || ext == ".otf" || ext == ".ttc"))
        f = load(match(fs::path(fontFile).stem().string(), true));
    }
    if (!f) f = load(match("DejaVu Sans", false));
    if (!f) f = load(match("sans-serif", false));
    return it->second = f;
  }

  Face* japanese() {
    std::lock_guard lock(m_mutex);
    if (!m_japaneseLooked) {
      m_japaneseLooked = true;
      m_japanese = load(match("sans-serif:lang=ja", false));
    }
    return m_japanese;
  }

 private:
  Fonts() { FT_Init_FreeType(&m_lib); }

  Face* load(const std::string& file) {
    if (file.empty() || !m_lib) return nullptr;
    auto [it, fresh] = m_byFile.try_emplace(file);
    if (!fresh) return it->second.get();
    FT_Face ft = nullptr;
    if (FT_New_Face(m_lib, file.c_str(), 0, &ft) != 0) return nullptr;
    auto f = std::make_unique<Face>();
    f->ft = ft;
    f->units = ft->units_per_EM ? ft->units_per_EM : 1000;
    if (FT_Load_Char(ft, 'H', FT_LOAD_NO_SCALE) == 0 && ft->glyph->metrics.height > 0)
      f->cap = double(ft->glyph->metrics.height);
    else
      f->cap = f->units * 0.7;
    f->descent = std::abs(double(ft->descender));
    it->second = std::move(f);
    return it->second.get();
  }

  // Installed font files by lower-case file name, listed once.
  std::string installed(const std::string& fileName) {
    if (!m_listed && FcInit()) {
      m_listed = true;
      FcPattern* all = FcPatternCreate();
      FcObjectSet* os = FcObjectSetBuild(FC_FILE, nullptr);
      if (FcFontSet* set = FcFontList(nullptr, all, os)) {
        for (int i = 0; i < set->nfont; ++i) {
          FcChar8* f = nullptr;
          if (FcPatternGetString(set->fonts[i], FC_FILE, 0, &f) == FcResultMatch && f) {
            std::string path = reinterpret_cast<char*>(f);
            m_installed.emplace(lower(fs::path(path).filename().string()), path);
          }
        }
        FcFontSetDestroy(set);
      }
      FcObjectSetDestroy(os);
      FcPatternDestroy(all);
    }
    auto it = m_installed.find(lower(fileName));
    return it == m_installed.end() ? std::string() : it->second;
  }

  std::mutex m_mutex;
  FT_Library m_lib = nullptr;
  std::map<std::string, std::unique_ptr<Face>> m_byFile;
  std::map<std::string, Face*> m_byStyle;  // "font file|family" -> a loaded face (or null)
  std::map<std::string, std::string> m_installed;
  bool m_listed = false;
  Face* m_japanese = nullptr;
  bool m_japaneseLooked = false;
};

}  // namespace

const Face::Glyph* Face::glyph(char32_t cp) {
  auto [it, fresh] = m_glyphs.try_emplace(cp);
  Glyph& g = it->second;
  if (fresh) {
    g.index = FT_Get_Char_Index(ft, cp);
    if (g.index && FT_Load_Glyph(ft, g.index, FT_LOAD_NO_SCALE) == 0) {
      const FT_Glyph_Metrics& m = ft->glyph->metrics;
      g.advance = double(m.horiAdvance);
      g.lo = double(m.horiBearingY - m.height);
      g.hi = double(m.horiBearingY);
    } else {
      g.index = 0;
    }
  }
  return g.index ? &g : nullptr;
}

Face* faceFor(const std::string& fontFile, const std::string& family) {
  return Fonts::get().forStyle(fontFile, family);
}
Face* japaneseFace() { return Fonts::get().japanese(); }

}  // namespace dx::text
