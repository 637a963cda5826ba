// Graphics text: DrawString (also DrawText), StringWidth (TextWidth), StringHeight,
// TextHeight and TextAscent, in the font of TextFont (FontName), TextSize (FontSize), Bold,
// Italic and Underline. Fonts are found by family name through fontconfig ("System" and
// "SmallSystem" are the default sans-serif face) and drawn by FreeType at 72 pixels per
// inch, one point a pixel; a style the family lacks is synthesised (emboldened, slanted).
// DrawString's y is the first line's baseline; lines break at line endings and, given a
// wrap width, between words (inside a word too long for a line); condensing keeps one line
// and ends it in an ellipsis where it would pass the wrap width. Glyphs are painted in the
// drawing colour through their antialiased coverage, as an image mask.
#include "native_members.h"
#include "picture_storage.h"

#include <CoreGraphics/CoreGraphics.h>
#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_SYNTHESIS_H

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

namespace host {

namespace {

// The size TextSize 0 stands for: the platform's default.
constexpr double kDefaultTextSize = 12;
constexpr double kMaxTextSize = 4096;

// A face at a size, with the styles the face itself lacks to be synthesised.
struct Font {
  FT_Face face = nullptr;
  bool embolden = false, slant = false;
  bool underline = false;
};

// The faces of this process, opened once each; FreeType faces are not for two threads at
// once, so every use holds the lock.
struct FontLibrary {
  std::mutex lock;
  FT_Library library = nullptr;
  bool initialised = false;
  std::map<std::pair<std::string, int>, FT_Face> faces;  // by file and index
  std::map<std::tuple<std::string, bool, bool>, Font> matches;

  static FontLibrary& shared() {
    static FontLibrary* fonts = new FontLibrary;  // lives with the process, as fonts do
    return *fonts;
  }

  // The face for a family and style (the lock held); a null face when there is none.
  Font match(const std::string& family, bool bold, bool italic) {
    const auto key = std::make_tuple(family, bold, italic);
    if (auto found = matches.find(key); found != matches.end()) return found->second;
    Font font;
    if (!initialised) {
      initialised = true;
      if (!FcInit() || FT_Init_FreeType(&library) != 0) library = nullptr;
    }
    if (!library) return font;
    const bool system = family.empty() || family == "System" || family == "SmallSystem";
    FcPattern* pattern = FcPatternCreate();
    FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(system ? "sans-serif" : family.c_str()));
    FcPatternAddInteger(pattern, FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    FcPatternAddInteger(pattern, FC_SLANT, italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    FcPatternAddBool(pattern, FC_SCALABLE, FcTrue);
    FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
    FcDefaultSubstitute(pattern);
    FcResult result = FcResultNoMatch;
    FcPattern* found = FcFontMatch(nullptr, pattern, &result);
    FcPatternDestroy(pattern);
    FcChar8* file = nullptr;
    int index = 0, weight = FC_WEIGHT_REGULAR, slant = FC_SLANT_ROMAN;
    if (found && FcPatternGetString(found, FC_FILE, 0, &file) == FcResultMatch) {
      FcPatternGetInteger(found, FC_INDEX, 0, &index);
      FcPatternGetInteger(found, FC_WEIGHT, 0, &weight);
      FcPatternGetInteger(found, FC_SLANT, 0, &slant);
      const auto faceKey = std::make_pair(std::string(reinterpret_cast<const char*>(file)), index);
      FT_Face& face = faces[faceKey];
      if (!face && FT_New_Face(library, faceKey.first.c_str(), index, &face) != 0) face = nullptr;
      font.face = face;
      font.embolden = bold && weight < FC_WEIGHT_DEMIBOLD;
      font.slant = italic && slant == FC_SLANT_ROMAN;
    }
    if (found) FcPatternDestroy(found);
    matches[key] = font;
    return font;
  }
};

// The picture's font at its size, the library's lock held while it lives.
class FontInUse {
 public:
  explicit FontInUse(const PictureData* picture) : hold_(FontLibrary::shared().lock) {
    font_ = FontLibrary::shared().match(picture->textFont, picture->bold, picture->italic);
    font_.underline = picture->underline;
    const double size = picture->textSize > 0 ? std::min(picture->textSize, kMaxTextSize) : kDefaultTextSize;
    if (font_.face && FT_Set_Char_Size(font_.face, 0, FT_F26Dot6(std::lround(size * 64)), 72, 72) != 0)
      font_.face = nullptr;
  }
  const Font& font() const { return font_; }
  // Line height and ascent in pixels (a nominal size's worth when no face was found).
  double lineHeight() const { return font_.face ? font_.face->size->metrics.height / 64.0 : 0; }
  double ascent() const { return font_.face ? font_.face->size->metrics.ascender / 64.0 : 0; }

 private:
  std::lock_guard<std::mutex> hold_;
  Font font_;
};

// UTF-8 to code points; a malformed byte stands for itself as Latin-1.
std::u32string decodeUTF8(const std::string& s) {
  std::u32string out;
  for (size_t i = 0; i < s.size();) {
    const unsigned char c = static_cast<unsigned char>(s[i]);
    const int extra = c < 0x80 ? 0 : (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : (c >> 3) == 30 ? 3 : -1;
    char32_t cp = extra == 1 ? (c & 0x1F) : extra == 2 ? (c & 0x0F) : extra == 3 ? (c & 0x07) : c;
    bool ok = extra >= 0 && i + size_t(std::max(extra, 0)) < s.size();
    for (int k = 1; ok && k <= extra; ++k) {
      const unsigned char next = static_cast<unsigned char>(s[i + size_t(k)]);
      ok = (next & 0xC0) == 0x80;
      cp = (cp << 6) | (next & 0x3F);
    }
    out.push_back(ok ? cp : c);
    i += ok ? size_t(extra) + 1 : 1;
  }
  return out;
}

// Loads a character's glyph with its synthesised style; false when the face has none.
bool loadGlyph(const Font& font, char32_t cp, bool render) {
  if (FT_Load_Char(font.face, FT_ULong(cp), FT_LOAD_DEFAULT | FT_LOAD_NO_BITMAP) != 0) return false;
  FT_GlyphSlot slot = font.face->glyph;
  if (font.slant) FT_GlyphSlot_Oblique(slot);
  if (font.embolden) FT_GlyphSlot_Embolden(slot);
  return !render || FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL) == 0;
}

// The advance of a line in pixels, kerning included.
double lineWidth(const Font& font, const std::u32string& line) {
  if (!font.face) return 0;
  FT_Pos pen = 0;
  FT_UInt previous = 0;
  for (char32_t cp : line) {
    const FT_UInt glyph = FT_Get_Char_Index(font.face, FT_ULong(cp));
    if (previous && glyph && FT_HAS_KERNING(font.face)) {
      FT_Vector kern;
      if (FT_Get_Kerning(font.face, previous, glyph, FT_KERNING_DEFAULT, &kern) == 0) pen += kern.x;
    }
    if (loadGlyph(font, cp, false)) pen += font.face->glyph->advance.x;
    previous = glyph;
  }
  return pen / 64.0;
}

bool isLineEnd(char32_t c) { return c == '\n' || c == '\r'; }

// The lines text is drawn in: broken at line endings and, with a wrap width, between
// words, or inside a word that alone is wider than a line.
std::vector<std::u32string> layoutLines(const Font& font, const std::u32string& text, double wrapWidth) {
  std::vector<std::u32string> lines;
  for (size_t start = 0; start <= text.size();) {
    size_t end = start;
    while (end < text.size() && !isLineEnd(text[end])) ++end;
    std::u32string paragraph = text.substr(start, end - start);
    start = end + (end + 1 < text.size() && text[end] == '\r' && text[end + 1] == '\n' ? 2 : 1);
    if (wrapWidth <= 0 || lineWidth(font, paragraph) <= wrapWidth) {
      lines.push_back(paragraph);
      continue;
    }
    auto trimmed = [](std::u32string line) {
      while (!line.empty() && line.back() == ' ') line.pop_back();
      return line;
    };
    std::u32string line;
    for (size_t at = 0; at < paragraph.size();) {
      size_t next = at;
      while (next < paragraph.size() && paragraph[next] != ' ') ++next;
      while (next < paragraph.size() && paragraph[next] == ' ') ++next;
      const std::u32string word = paragraph.substr(at, next - at);
      at = next;
      if (!line.empty() && lineWidth(font, trimmed(line + word)) > wrapWidth) {
        lines.push_back(trimmed(line));
        line.clear();
      }
      line += word;
      // A word wider than a line on its own breaks between characters.
      while (trimmed(line).size() > 1 && lineWidth(font, trimmed(line)) > wrapWidth) {
        size_t fits = 1;
        while (lineWidth(font, line.substr(0, fits + 1)) <= wrapWidth) ++fits;
        lines.push_back(line.substr(0, fits));
        line.erase(0, fits);
      }
    }
    lines.push_back(trimmed(line));
  }
  return lines;
}

// The line cut to fit width, ending in an ellipsis, when it does not fit as it is.
std::u32string condensed(const Font& font, std::u32string line, double width) {
  if (lineWidth(font, line) <= width) return line;
  while (!line.empty() && lineWidth(font, line + U"\u2026") > width) line.pop_back();
  return line + U"\u2026";
}

// Paints one line with its baseline's left end at (x, baseline), host coordinates.
void paintLine(PictureData* picture, const Font& font, const std::u32string& line, double x, double baseline) {
  struct Placed {
    std::vector<uint8_t> coverage;
    int left, top, width, height;
  };
  std::vector<Placed> glyphs;
  FT_Pos pen = FT_Pos(std::lround(x * 64));
  const FT_Pos start = pen;
  FT_UInt previous = 0;
  const int originY = int(std::lround(baseline));
  for (char32_t cp : line) {
    const FT_UInt index = FT_Get_Char_Index(font.face, FT_ULong(cp));
    if (previous && index && FT_HAS_KERNING(font.face)) {
      FT_Vector kern;
      if (FT_Get_Kerning(font.face, previous, index, FT_KERNING_DEFAULT, &kern) == 0) pen += kern.x;
    }
    previous = index;
    if (!loadGlyph(font, cp, true)) continue;
    const FT_GlyphSlot slot = font.face->glyph;
    const FT_Bitmap& bitmap = slot->bitmap;
    if (bitmap.width > 0 && bitmap.rows > 0 && bitmap.pixel_mode == FT_PIXEL_MODE_GRAY) {
      Placed g{{}, int((pen + 32) >> 6) + slot->bitmap_left, originY - slot->bitmap_top, int(bitmap.width),
               int(bitmap.rows)};
      g.coverage.resize(size_t(g.width) * size_t(g.height));
      for (int y = 0; y < g.height; ++y)
        std::copy_n(bitmap.buffer + ptrdiff_t(y) * bitmap.pitch, g.width, g.coverage.begin() + ptrdiff_t(y) * g.width);
      glyphs.push_back(std::move(g));
    }
    pen += slot->advance.x;
  }
  if (font.underline) {
    const double scale = font.face->size->metrics.y_scale / 65536.0 / 64.0;
    const int thickness = std::max(1, int(std::lround(font.face->underline_thickness * scale)));
    const int below = std::max(1, int(std::lround(-font.face->underline_position * scale - thickness / 2.0)));
    const int left = int((start + 32) >> 6), right = int((pen + 32) >> 6);
    if (right > left)
      glyphs.push_back(Placed{std::vector<uint8_t>(size_t(right - left) * size_t(thickness), 255), left,
                              originY + below, right - left, thickness});
  }
  if (glyphs.empty()) return;
  // Every glyph's coverage in one mask over the box they share, clipped to the picture.
  int left = std::numeric_limits<int>::max(), top = left, right = std::numeric_limits<int>::min(), bottom = right;
  for (const Placed& g : glyphs) {
    left = std::min(left, g.left);
    top = std::min(top, g.top);
    right = std::max(right, g.left + g.width);
    bottom = std::max(bottom, g.top + g.height);
  }
  left = std::max<int64_t>(left, 0);
  top = std::max<int64_t>(top, 0);
  right = int(std::min<int64_t>(right, picture->width));
  bottom = int(std::min<int64_t>(bottom, picture->height));
  if (right <= left || bottom <= top) return;
  const int w = right - left, h = bottom - top;
  std::vector<uint8_t> mask(size_t(w) * size_t(h), 0);
  for (const Placed& g : glyphs)
    for (int y = std::max(g.top, top); y < std::min(g.top + g.height, bottom); ++y)
      for (int x = std::max(g.left, left); x < std::min(g.left + g.width, right); ++x) {
        uint8_t& out = mask[size_t(y - top) * size_t(w) + size_t(x - left)];
        out = std::max(out, g.coverage[size_t(y - g.top) * size_t(g.width) + size_t(x - g.left)]);
      }
  CGDataProviderRef provider = CGDataProviderCreateWithData(nullptr, mask.data(), mask.size(), nullptr);
  const CGFloat coverageDecode[2] = {1, 0};  // samples are coverage: 255 paints fully
  CGImageRef stencil = provider ? CGImageMaskCreate(size_t(w), size_t(h), 8, 8, size_t(w), provider, coverageDecode,
                                                    false)
                                : nullptr;
  if (stencil) {
    CGContextRef c = picture->context;
    CGContextSaveGState(c);
    useDrawingColor(picture);
    CGContextDrawImage(c, CGRectMake(left, double(picture->height) - bottom, w, h), stencil);
    CGContextRestoreGState(c);
    CGImageRelease(stencil);
  }
  CGDataProviderRelease(provider);
}

}  // namespace

void addGraphicsText(ClassInfo* cls) {
  for (const char* name : {"DrawString", "DrawText"}) {
    const std::string declaration =
        std::string(name) + "(text as String, x as Double, y as Double, wrapWidth as Double = 0, condense as Boolean = False)";
    addNativeMethod(cls, declaration.c_str(), [cls, name](Runtime& runtime, const Value& self, std::vector<Value>& args) {
      PictureData* picture = graphicsPicture(runtime, self, cls, name);
      if (!picture || !finiteArguments(args, 1, 3)) return Value::nil();
      const std::u32string text = decodeUTF8(runtime.utf8(args.at(0)));
      const double wrap = args.at(3).real;
      FontInUse use(picture);
      if (!use.font().face) return Value::nil();
      std::vector<std::u32string> lines;
      if (args.at(4).boolean && wrap > 0) {
        std::u32string one;
        for (char32_t c : text) one.push_back(isLineEnd(c) ? U' ' : c);
        lines.push_back(condensed(use.font(), one, wrap));
      } else {
        lines = layoutLines(use.font(), text, wrap);
      }
      for (size_t i = 0; i < lines.size(); ++i)
        paintLine(picture, use.font(), lines[i], args.at(1).real, args.at(2).real + double(i) * use.lineHeight());
      return Value::nil();
    });
  }
  for (const char* name : {"StringWidth", "TextWidth"}) {
    const std::string declaration = std::string(name) + "(text as String) as Double";
    addNativeMethod(cls, declaration.c_str(), [cls, name](Runtime& runtime, const Value& self, std::vector<Value>& args) {
      PictureData* picture = graphicsPicture(runtime, self, cls, name);
      if (!picture) return Value::ofDouble(0);
      FontInUse use(picture);
      double widest = 0;
      for (const std::u32string& line : layoutLines(use.font(), decodeUTF8(runtime.utf8(args.at(0))), 0))
        widest = std::max(widest, lineWidth(use.font(), line));
      return Value::ofDouble(widest);
    });
  }
  addNativeMethod(cls, "StringHeight(text as String, wrapWidth as Double) as Double",
                  [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                    PictureData* picture = graphicsPicture(runtime, self, cls, "StringHeight");
                    if (!picture || !finiteArguments(args, 1, 1)) return Value::ofDouble(0);
                    FontInUse use(picture);
                    const size_t lines =
                        layoutLines(use.font(), decodeUTF8(runtime.utf8(args.at(0))), args.at(1).real).size();
                    return Value::ofDouble(double(lines) * use.lineHeight());
                  });
  const struct {
    const char* name;
    bool ascent;
  } kMetrics[] = {{"TextHeight", false}, {"TextAscent", true}};
  for (const auto& m : kMetrics)
    addNativeProperty(cls, m.name, "Double", [cls, m](Runtime& runtime, const Value& self, std::vector<Value>&) {
      PictureData* picture = graphicsPicture(runtime, self, cls, m.name);
      if (!picture) return Value::ofDouble(0);
      FontInUse use(picture);
      return Value::ofDouble(m.ascent ? use.ascent() : use.lineHeight());
    });

  // The font: a family name, a size in points (0: the default), and the styles.
  for (const char* name : {"TextFont", "FontName"})
    addNativeProperty(
        cls, name, "String",
        [cls, name](Runtime& runtime, const Value& self, std::vector<Value>&) {
          PictureData* picture = graphicsPicture(runtime, self, cls, name);
          return runtime.string(picture ? picture->textFont : "");
        },
        [cls, name](Runtime& runtime, const Value& self, std::vector<Value>& args) {
          if (PictureData* picture = graphicsPicture(runtime, self, cls, name)) picture->textFont = runtime.utf8(args.at(0));
          return Value::nil();
        });
  for (const char* name : {"TextSize", "FontSize"})
    addNativeProperty(
        cls, name, "Double",
        [cls, name](Runtime& runtime, const Value& self, std::vector<Value>&) {
          PictureData* picture = graphicsPicture(runtime, self, cls, name);
          return Value::ofDouble(picture ? picture->textSize : 0);
        },
        [cls, name](Runtime& runtime, const Value& self, std::vector<Value>& args) {
          PictureData* picture = graphicsPicture(runtime, self, cls, name);
          if (picture && std::isfinite(args.at(0).real)) picture->textSize = std::clamp(args[0].real, 0.0, kMaxTextSize);
          return Value::nil();
        });
  const struct {
    const char* name;
    bool PictureData::*style;
  } kStyles[] = {{"Bold", &PictureData::bold}, {"Italic", &PictureData::italic}, {"Underline", &PictureData::underline}};
  for (const auto& s : kStyles)
    addNativeProperty(
        cls, s.name, "Boolean",
        [cls, s](Runtime& runtime, const Value& self, std::vector<Value>&) {
          PictureData* picture = graphicsPicture(runtime, self, cls, s.name);
          return Value::ofBoolean(picture && picture->*s.style);
        },
        [cls, s](Runtime& runtime, const Value& self, std::vector<Value>& args) {
          if (PictureData* picture = graphicsPicture(runtime, self, cls, s.name)) picture->*s.style = args.at(0).boolean;
          return Value::nil();
        });
}

}  // namespace host
