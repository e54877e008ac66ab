#include "text/TextEngine.h"

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>
#include <pango/pangofc-fontmap.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace chartxml::render {
namespace {

// Measurements are small; past this many the cache starts afresh rather than
// growing with every distinct label of a long-running process.
constexpr std::size_t kCacheLimit = 10000;

// Every text is laid out at this size and scaled to its own. Metrics and
// outlines are unhinted, so they scale linearly; pango then makes a font
// (a fontconfig lookup on two threads of its own, the glyphs' metrics) per
// weight rather than per size, which in a small chart is most of the time
// its texts take. Positions are kept in 1/1024 of a pixel of this size.
constexpr double kLayoutSize = 16;

constexpr double kPi = 3.14159265358979323846;

double fromPango(int units) {
  return static_cast<double>(units) / PANGO_SCALE;
}

// Sizes beyond any legible text are drawn at this one, as pango's 32-bit
// positions in 1/1024 pixel would overflow; below a millionth of a pixel
// there is no text to draw, and a scale that small is not invertible.
constexpr double kMaxFontSize = 10000;
constexpr double kMinFontSize = 1e-6;

bool usableFont(const Font& font) {
  return std::isfinite(font.size) && font.size >= kMinFontSize;
}

// How much larger `font` is than the size texts are laid out at.
double factorOf(const Font& font) {
  return std::min(font.size, kMaxFontSize) / kLayoutSize;
}

// Makes `in` fit for pango and for every device alike: invalid UTF-8 becomes
// U+FFFD, and control characters other than tab and line breaks are dropped
// (pango would draw them as boxes, the SVG writer cannot write them at all).
void cleanText(std::string_view in, std::string& out) {
  out.clear();
  if (in.empty()) return;
  std::unique_ptr<gchar, decltype(&g_free)> valid(
      g_utf8_make_valid(in.data(), static_cast<gssize>(in.size())), &g_free);
  for (const char* p = valid.get(); *p != '\0'; ++p) {
    const auto c = static_cast<unsigned char>(*p);
    if ((c < 0x20 && c != '\t' && c != '\n' && c != '\r') || c == 0x7f) continue;
    out.push_back(*p);
  }
}

// Which CJK language a text is written in, as far as its characters tell:
// Hangul is Korean, kana Japanese, Han ideographs without either Chinese.
enum class Cjk { kNone, kJapanese, kChinese, kKorean };

Cjk cjkOf(const std::string& text) {
  bool han = false;
  for (const char* p = text.c_str(); *p != '\0'; p = g_utf8_next_char(p)) {
    const gunichar c = g_utf8_get_char(p);
    if (c < 0x1100) continue;
    if ((c >= 0xAC00 && c <= 0xD7AF) || (c >= 0x1100 && c <= 0x11FF) ||
        (c >= 0x3130 && c <= 0x318F)) {
      return Cjk::kKorean;
    }
    if ((c >= 0x3040 && c <= 0x30FF) || (c >= 0x31F0 && c <= 0x31FF)) return Cjk::kJapanese;
    han = han || (c >= 0x4E00 && c <= 0x9FFF) || (c >= 0x3400 && c <= 0x4DBF) ||
          (c >= 0x20000 && c <= 0x2FFFF);
  }
  return han ? Cjk::kChinese : Cjk::kNone;
}

// The fonts fontconfig offers to most texts: the faces of the families the
// engine names before its generic one, from the usual font folders, read
// through their caches. The system's whole configuration is dozens of files
// of rules, read in milliseconds and applied to every font size's lookup;
// the rules change nothing for a text these faces draw, as the named
// families come first (the tests compare the two). A text they cannot
// draw, and a Chinese or Korean one (whose face the rules choose), is laid
// out with the whole configuration.
constexpr const char* kCompactConfig = R"(<?xml version="1.0"?>
<fontconfig>
  <dir>/usr/share/fonts</dir>
  <dir>/usr/local/share/fonts</dir>
  <dir prefix="xdg">fonts</dir>
  <dir>~/.fonts</dir>
  <cachedir>/var/cache/fontconfig</cachedir>
  <cachedir prefix="xdg">fontconfig</cachedir>
  <cachedir>~/.fontconfig</cachedir>
  <selectfont>
    <rejectfont><pattern/></rejectfont>
    <acceptfont>
      <pattern><patelt name="family"><string>DejaVu Sans</string></patelt></pattern>
      <pattern><patelt name="family"><string>Noto Sans CJK JP</string></patelt></pattern>
    </acceptfont>
  </selectfont>
</fontconfig>
)";

// The family the compact set must hold to be used at all: the first one the
// engine asks for.
constexpr const char* kFirstFamily = "DejaVu Sans";

// A user who points fontconfig elsewhere chooses the fonts: then only the
// configuration fontconfig reads by itself is used.
bool environmentChoosesFonts() {
  for (const char* name : {"FONTCONFIG_FILE", "FONTCONFIG_PATH", "FONTCONFIG_SYSROOT"}) {
    const char* value = std::getenv(name);
    if (value != nullptr && *value != '\0') return true;
  }
  return false;
}

bool holdsFamily(FcConfig* config, const char* family) {
  FcFontSet* fonts = FcConfigGetFonts(config, FcSetSystem);
  if (fonts == nullptr) return false;
  for (int i = 0; i < fonts->nfont; ++i) {
    FcChar8* name = nullptr;
    for (int n = 0; FcPatternGetString(fonts->fonts[i], FC_FAMILY, n, &name) == FcResultMatch;
         ++n) {
      if (std::strcmp(reinterpret_cast<const char*>(name), family) == 0) return true;
    }
  }
  return false;
}

// The process's font configurations, shared by every engine and never freed
// (fontconfig keeps its own default to the end as well).
struct FontConfigs {
  std::once_flag compactOnce;
  FcConfig* compact = nullptr;  // null: none (the environment chose, or no such fonts)
  std::once_flag wholeOnce;
  FcConfig* whole = nullptr;
  // The compact set is fontconfig's current configuration (makeCompactFontsCurrent).
  std::atomic<bool> compactIsCurrent{false};
};

FontConfigs& fontConfigs() {
  static FontConfigs* configs = new FontConfigs;
  return *configs;
}

FcConfig* compactConfig() {
  FontConfigs& configs = fontConfigs();
  std::call_once(configs.compactOnce, [&] {
#if FC_VERSION >= 21291
    if (environmentChoosesFonts()) return;
    FcConfig* config = FcConfigCreate();
    if (config == nullptr) return;
    if (FcConfigParseAndLoadFromMemory(config, reinterpret_cast<const FcChar8*>(kCompactConfig),
                                       FcFalse) &&
        FcConfigBuildFonts(config) && holdsFamily(config, kFirstFamily)) {
      configs.compact = config;
    } else {
      FcConfigDestroy(config);
    }
#endif
  });
  return configs.compact;
}

// The configuration for texts the compact set cannot draw: null for
// fontconfig's current one, unless the compact set has taken its place.
FcConfig* wholeConfig() {
  FontConfigs& configs = fontConfigs();
  if (!configs.compactIsCurrent.load()) return nullptr;
  std::call_once(configs.wholeOnce, [&] { configs.whole = FcInitLoadConfigAndFonts(); });
  return configs.whole;
}

// A font map with its context and layout, set up alike for every device.
struct Shaper {
  PangoFontMap* fontMap = nullptr;
  PangoContext* context = nullptr;
  PangoLayout* layout = nullptr;

  // Takes `map` (a new one when null) over; `config` null: fontconfig's
  // current configuration.
  Shaper(PangoFontMap* map, FcConfig* config) : fontMap(map) {
    if (fontMap == nullptr) fontMap = pango_cairo_font_map_new();
    if (config != nullptr && PANGO_IS_FC_FONT_MAP(fontMap)) {
      pango_fc_font_map_set_config(PANGO_FC_FONT_MAP(fontMap), config);
    }
    // 72 dpi: a size in points is a size in pixels.
    pango_cairo_font_map_set_resolution(PANGO_CAIRO_FONT_MAP(fontMap), 72);
    context = pango_font_map_create_context(fontMap);
    pango_cairo_context_set_resolution(context, 72);

    // Unhinted outlines and metrics, positions not rounded to whole pixels:
    // text then scales linearly, so what is measured here at scale 1 is what
    // any device draws at any scale, and the output does not depend on the
    // surface's own defaults.
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_DEFAULT);
    pango_cairo_context_set_font_options(context, options);
    cairo_font_options_destroy(options);
    pango_context_set_round_glyph_positions(context, FALSE);

    layout = pango_layout_new(context);
    // Each paragraph takes the direction of its first strong character, so
    // an Arabic or Hebrew title reads from the right, numbers and all.
    // Alignment stays ours (TextLine::left): lines are drawn one by one, so
    // pango's flipping of a right-to-left paragraph's alignment never shows.
    pango_layout_set_auto_dir(layout, TRUE);
  }

  ~Shaper() {
    g_object_unref(layout);
    g_object_unref(context);
    g_object_unref(fontMap);
  }

  Shaper(const Shaper&) = delete;
  Shaper& operator=(const Shaper&) = delete;
};

// The layout of a text is the same at every size: only its weight and text
// tell one from another.
std::string cacheKey(std::string_view text, const Font& font) {
  std::string key(1, font.bold ? 'b' : 'r');
  key.append(text);
  return key;
}

TextBox scaled(TextBox box, double factor) {
  box.width *= factor;
  box.height *= factor;
  box.baseline *= factor;
  return box;
}

}  // namespace

struct TextEngine::Impl {
  // Texts are laid out with the compact set when there is one and it draws
  // them, else with the whole configuration (made when first needed).
  std::unique_ptr<Shaper> compact;
  std::unique_ptr<Shaper> whole;
  PangoFontDescription* description = nullptr;

  std::unordered_map<std::string, TextBox> cache;

  // What `laid` holds: the key of the text and font it was given (empty
  // when nothing is laid out), the cleaned text and its box at kLayoutSize.
  std::string laidKey;
  Shaper* laid = nullptr;
  std::string laidText;
  TextBox laidBox;
  PangoRectangle laidLogical{};

  std::vector<TextLine> lines;
  std::vector<PangoLayoutLine*> layoutLines;

  // The families Chinese and Korean texts ask for: a face fontconfig
  // holds for the language ahead of the Japanese one, when it has such a
  // face; else the common list. Found on first use.
  std::string chineseFamilies, koreanFamilies;
  bool familiesFound = false;

  explicit Impl(Fonts fonts) {
    // The first font map starts pango's reading of fontconfig's own
    // configuration on a thread of its own, to be waited for at the first
    // text: it runs while the compact set is read here.
    std::unique_ptr<PangoFontMap, decltype(&g_object_unref)> map(pango_cairo_font_map_new(),
                                                                 &g_object_unref);
    FcConfig* config = fonts == Fonts::kCompactFirst ? compactConfig() : nullptr;
    // Allocated before the map is handed over: a failure leaks nothing.
    if (config != nullptr) {
      compact.reset(new Shaper(map.release(), config));
    } else {
      whole.reset(new Shaper(map.release(), wholeConfig()));
    }
    description = pango_font_description_new();
    pango_font_description_set_family(description, familyList());
  }

  ~Impl() { pango_font_description_free(description); }

  Shaper& wholeShaper() {
    if (!whole) whole = std::make_unique<Shaper>(nullptr, wholeConfig());
    return *whole;
  }

  // Lays `text` out in `font` unless the layout holds it already. False when
  // the font cannot be drawn (no size), with nothing laid out.
  bool layOut(std::string_view text, const Font& font) {
    if (!usableFont(font)) return false;
    std::string key = cacheKey(text, font);
    if (key == laidKey) return true;
    laidKey.clear();
    lines.clear();
    layoutLines.clear();

    cleanText(text, laidText);
    const Cjk cjk = cjkOf(laidText);
    const char* language = cjk == Cjk::kChinese ? "zh-cn" : cjk == Cjk::kKorean ? "ko" : nullptr;
    pango_font_description_set_family(description, familiesFor(cjk));
    pango_font_description_set_absolute_size(description, kLayoutSize * PANGO_SCALE);
    pango_font_description_set_weight(description,
                                      font.bold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
    Shaper* shaper = compact && language == nullptr ? compact.get() : &wholeShaper();
    setUp(*shaper, language);
    if (shaper == compact.get() && pango_layout_get_unknown_glyphs_count(shaper->layout) > 0) {
      shaper = &wholeShaper();
      setUp(*shaper, language);
    }
    laid = shaper;

    PangoLayout* layout = shaper->layout;
    pango_layout_get_extents(layout, nullptr, &laidLogical);
    laidBox.width = fromPango(laidLogical.width);
    laidBox.height = fromPango(laidLogical.height);
    laidBox.baseline = fromPango(pango_layout_get_baseline(layout) - laidLogical.y);
    laidBox.lines = pango_layout_get_line_count(layout);
    laidBox.missingGlyphs = pango_layout_get_unknown_glyphs_count(layout) > 0;
    laidKey = std::move(key);
    return true;
  }

  // Gives `shaper`'s layout the cleaned text, `description` and `language`
  // (null: none; it also picks among a face's regional glyph forms).
  void setUp(Shaper& shaper, const char* language) {
    PangoAttrList* attributes = pango_attr_list_new();
    if (language != nullptr) {
      pango_attr_list_insert(attributes,
                             pango_attr_language_new(pango_language_from_string(language)));
    }
    pango_layout_set_attributes(shaper.layout, attributes);
    pango_attr_list_unref(attributes);
    pango_layout_set_font_description(shaper.layout, description);
    pango_layout_set_text(shaper.layout, laidText.data(), static_cast<int>(laidText.size()));
  }

  const char* familiesFor(Cjk cjk) {
    if (cjk != Cjk::kChinese && cjk != Cjk::kKorean) return familyList();
    if (!familiesFound) {
      familiesFound = true;
      chineseFamilies = familiesWith("zh-cn", 0x4E2D);  // 中
      koreanFamilies = familiesWith("ko", 0xD55C);      // 한
    }
    return (cjk == Cjk::kChinese ? chineseFamilies : koreanFamilies).c_str();
  }

  // The common list with the face fontconfig chooses for `language` (the one
  // that draws `sample`) ahead of the Japanese face, when that face is
  // another one.
  std::string familiesWith(const char* language, gunichar sample) {
    const std::string common = familyList();
    PangoFontDescription* generic = pango_font_description_from_string("sans-serif");
    PangoFontset* fontset = pango_context_load_fontset(wholeShaper().context, generic,
                                                       pango_language_from_string(language));
    pango_font_description_free(generic);
    if (fontset == nullptr) return common;
    std::string family;
    if (PangoFont* font = pango_fontset_get_font(fontset, sample)) {
      PangoFontDescription* described = pango_font_describe(font);
      if (const char* name = pango_font_description_get_family(described)) family = name;
      pango_font_description_free(described);
      g_object_unref(font);
    }
    g_object_unref(fontset);
    if (family.empty() || common.find(family) != std::string::npos) return common;
    const std::size_t comma = common.find(',');
    return common.substr(0, comma) + ", " + family + common.substr(comma);
  }

  // The lines of the laid-out text, placed within its box: each line's
  // logical extent is shifted by the same fraction of the room it leaves as
  // the anchor is of the box (0 left, 0.5 centred, 1 right). Positions are
  // at kLayoutSize times `factor`.
  void placeLines(double hAlign, double factor) {
    lines.clear();
    layoutLines.clear();
    const double fraction = std::isfinite(hAlign) ? std::clamp(hAlign, 0.0, 1.0) : 0.0;
    PangoLayoutIter* iter = pango_layout_get_iter(laid->layout);
    do {
      PangoLayoutLine* line = pango_layout_iter_get_line_readonly(iter);
      PangoRectangle logical;
      pango_layout_line_get_extents(line, nullptr, &logical);
      TextLine placed;
      placed.width = fromPango(logical.width);
      placed.left = (laidBox.width - placed.width) * fraction * factor;
      placed.width *= factor;
      placed.baseline = fromPango(pango_layout_iter_get_baseline(iter) - laidLogical.y) * factor;
      placed.rightToLeft = line->resolved_dir == PANGO_DIRECTION_RTL;
      const auto start = static_cast<std::size_t>(std::max(line->start_index, 0));
      const auto length = static_cast<std::size_t>(std::max(line->length, 0));
      if (start <= laidText.size()) {
        placed.text = std::string_view(laidText).substr(start, length);
      }
      lines.push_back(placed);
      layoutLines.push_back(line);
    } while (pango_layout_iter_next_line(iter));
    pango_layout_iter_free(iter);
  }
};

TextEngine::TextEngine(Fonts fonts) : impl_(std::make_unique<Impl>(fonts)) {}

bool TextEngine::makeCompactFontsCurrent() {
  FontConfigs& configs = fontConfigs();
  FcConfig* compact = compactConfig();
  if (compact == nullptr) return false;
  if (!configs.compactIsCurrent.exchange(true) && !FcConfigSetCurrent(compact)) {
    configs.compactIsCurrent = false;
    return false;
  }
  return true;
}

TextEngine::~TextEngine() = default;

const char* TextEngine::familyList() {
  return "DejaVu Sans, Noto Sans CJK JP, sans-serif";
}

std::string TextEngine::familiesOf(std::string_view text) {
  try {
    std::string cleaned;
    cleanText(text, cleaned);
    return impl_->familiesFor(cjkOf(cleaned));
  } catch (...) {
    return familyList();
  }
}

TextBox TextEngine::measure(std::string_view text, const Font& font) {
  if (!usableFont(font)) return TextBox{0, 0, 0, 0, false};
  try {
    const double factor = factorOf(font);
    std::string key = cacheKey(text, font);
    if (auto found = impl_->cache.find(key); found != impl_->cache.end()) {
      return scaled(found->second, factor);
    }
    impl_->layOut(text, font);
    if (impl_->cache.size() >= kCacheLimit) impl_->cache.clear();
    impl_->cache.emplace(std::move(key), impl_->laidBox);
    return scaled(impl_->laidBox, factor);
  } catch (...) {
    // Out of memory: nothing can be said of the text, and a picture laid
    // out as if it were empty would be wrong; the caller's operation fails.
    impl_->laidKey.clear();
    throw;
  }
}

const std::vector<TextLine>& TextEngine::lines(std::string_view text, const Font& font,
                                               double hAlign) {
  try {
    if (impl_->layOut(text, font)) {
      impl_->placeLines(hAlign, factorOf(font));
    } else {
      impl_->lines.clear();
      impl_->layoutLines.clear();
    }
  } catch (...) {
    impl_->laidKey.clear();
    impl_->lines.clear();
    impl_->layoutLines.clear();
    throw;
  }
  return impl_->lines;
}

void TextEngine::draw(cairo_t* cr, const TextItem& item) {
  const double values[] = {item.x, item.y, item.hAlign, item.vAlign, item.angle};
  if (!std::all_of(std::begin(values), std::end(values), [](double v) { return std::isfinite(v); }))
    return;
  try {
    if (!impl_->layOut(item.text, item.font)) return;
    impl_->placeLines(item.hAlign, 1);
  } catch (...) {
    impl_->laidKey.clear();
    throw;  // a picture without this text would be wrong
  }
  const TextBox& box = impl_->laidBox;
  const double left = -item.hAlign * box.width;
  const double top = -item.vAlign * box.height;

  cairo_save(cr);
  cairo_translate(cr, item.x, item.y);
  cairo_rotate(cr, item.angle * kPi / 180);
  // The layout's size to the text's: the outlines are drawn at the size
  // they end at, unhinted, so nothing is scaled as pixels.
  cairo_scale(cr, factorOf(item.font), factorOf(item.font));
  cairo_set_source_rgba(cr, item.color.r / 255.0, item.color.g / 255.0, item.color.b / 255.0,
                        item.color.a / 255.0);
  for (std::size_t i = 0; i < impl_->lines.size(); ++i) {
    PangoLayoutLine* line = impl_->layoutLines[i];
    PangoRectangle logical;
    pango_layout_line_get_extents(line, nullptr, &logical);
    // The line's origin lies `logical.x` left of its logical extent.
    cairo_move_to(cr, left + impl_->lines[i].left - fromPango(logical.x),
                  top + impl_->lines[i].baseline);
    pango_cairo_show_layout_line(cr, line);
  }
  cairo_restore(cr);
}

}  // namespace chartxml::render
