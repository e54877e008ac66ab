// The text engine's fonts: the compact set it starts with must give every
// text the faces, boxes and pixels the whole fontconfig configuration gives.
#include <cairo.h>
#include <fontconfig/fontconfig.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "text/TextEngine.h"

namespace chartxml::render {
namespace {

// Latin, other alphabets, CJK, right-to-left scripts with numbers, scripts
// and symbols the compact set lacks, and characters no font draws.
const std::vector<std::string> kTexts = {
    "y by x",
    "Résumé – ÄÖÜ ß ñ “quotes” €100 ±5 µm → Ω",
    "Ελληνικά Кириллица",
    "日本語のタイトル：散布図 Bold",
    "中文标题散点图",
    "한국어 제목 산점도",
    "مخطط التشتت 2024",
    "תרשים פיזור 2024\nשורה שנייה",
    "Mixed עברית and العربية",
    "ภาษาไทย हिन्दी",
    "\xf0\x9d\x92\x9c \xe2\x88\xae \xe2\x9c\x93 \xe2\x98\x85",  // U+1D49C, U+222E, U+2713, U+2605
    "\xf3\xb0\x80\x80 private",                                 // U+F0000
};

// The pixels of `text` drawn by `engine` at its box's size.
std::vector<unsigned char> pixels(TextEngine& engine, const std::string& text, const Font& font) {
  const TextBox box = engine.measure(text, font);
  const int width = static_cast<int>(box.width) + 4, height = static_cast<int>(box.height) + 4;
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
  cairo_t* cr = cairo_create(surface);
  TextItem item;
  item.text = text;
  item.font = font;
  item.x = 2;
  item.y = 2;
  engine.draw(cr, item);
  cairo_destroy(cr);
  cairo_surface_flush(surface);
  const unsigned char* data = cairo_image_surface_get_data(surface);
  std::vector<unsigned char> out(
      data, data + static_cast<std::size_t>(cairo_image_surface_get_stride(surface)) * height);
  cairo_surface_destroy(surface);
  return out;
}

// Compares every text of kTexts in both engines: boxes, lines and pixels.
void expectAlike(TextEngine& compact, TextEngine& whole) {
  for (const std::string& text : kTexts) {
    for (const Font font : {Font{10, false}, Font{16, true}, Font{11.5, false}}) {
      SCOPED_TRACE(text + " at " + std::to_string(font.size) + (font.bold ? " bold" : ""));
      const TextBox a = compact.measure(text, font), b = whole.measure(text, font);
      EXPECT_EQ(std::tuple(a.width, a.height, a.baseline, a.lines, a.missingGlyphs),
                std::tuple(b.width, b.height, b.baseline, b.lines, b.missingGlyphs));
      const std::vector<TextLine> linesA = compact.lines(text, font, 0.5);
      const std::vector<TextLine>& linesB = whole.lines(text, font, 0.5);
      ASSERT_EQ(linesA.size(), linesB.size());
      for (std::size_t i = 0; i < linesA.size(); ++i) {
        EXPECT_EQ(std::pair(linesA[i].width, linesA[i].rightToLeft),
                  std::pair(linesB[i].width, linesB[i].rightToLeft));
      }
      EXPECT_TRUE(pixels(compact, text, font) == pixels(whole, text, font));
    }
    EXPECT_EQ(compact.familiesOf(text), whole.familiesOf(text)) << text;
  }
}

TEST(RenderTextFonts, CompactSetDrawsEveryTextAsTheWholeConfiguration) {
  TextEngine compact, whole(TextEngine::Fonts::kWhole);
  expectAlike(compact, whole);
  // The common families draw Latin and Japanese text without a gap.
  EXPECT_FALSE(compact.measure("y by x", Font{12, false}).missingGlyphs);
  // A character no font holds is reported, not hidden by the fallback.
  EXPECT_TRUE(compact.measure("\xf3\xb0\x80\x80", Font{12, false}).missingGlyphs);
}

// Each in a process of its own: the current configuration is the process's.
class RenderTextProcess : public ::testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

bool onlyCompactFamilies(FcConfig* config) {
  FcFontSet* fonts = FcConfigGetFonts(config, FcSetSystem);
  if (fonts == nullptr || fonts->nfont == 0) return false;
  for (int i = 0; i < fonts->nfont; ++i) {
    FcChar8* family = nullptr;
    if (FcPatternGetString(fonts->fonts[i], FC_FAMILY, 0, &family) != FcResultMatch) return false;
    const char* name = reinterpret_cast<const char*>(family);
    if (std::strcmp(name, "DejaVu Sans") != 0 && std::strcmp(name, "Noto Sans CJK JP") != 0) {
      return false;
    }
  }
  return true;
}

// Exits 0 when the compact set, made current, is what fontconfig offers and
// engines still draw every text as the whole configuration does; 2 when
// there is no compact set on this machine.
[[noreturn]] void drawWithCompactSetCurrent() {
  if (!TextEngine::makeCompactFontsCurrent()) std::exit(2);
  const bool current = onlyCompactFamilies(FcConfigGetCurrent());
  TextEngine compact;
  TextEngine whole(TextEngine::Fonts::kWhole);
  expectAlike(compact, whole);
  std::exit(current && !::testing::Test::HasFailure() ? 0 : 1);
}

bool exitedWell(int status) {
  return WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 2);
}

TEST_F(RenderTextProcess, CompactSetMadeCurrentStillFallsBackOnTheWholeConfiguration) {
  EXPECT_EXIT(drawWithCompactSetCurrent(), exitedWell, "");
}

// Exits 0 when a FONTCONFIG_FILE of the user's keeps the compact set unused.
[[noreturn]] void drawWithFontconfigFileNamed() {
  setenv("FONTCONFIG_FILE", "fonts.conf", 1);
  TextEngine engine;
  const bool refused = !TextEngine::makeCompactFontsCurrent();
  const bool drawn = engine.measure("y by x", Font{12, false}).width > 0;
  std::exit(refused && drawn ? 0 : 1);
}

TEST_F(RenderTextProcess, EnvironmentNamingFontconfigFilesKeepsTheWholeConfiguration) {
  EXPECT_EXIT(drawWithFontconfigFileNamed(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace chartxml::render
