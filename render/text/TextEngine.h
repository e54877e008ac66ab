// Text measured and laid out by pango, once for every device: the layout
// stage measures with the same engine that the devices draw with, so a label
// that fits when measured fits when drawn.
//
// Threads: an engine belongs to one thread. Not copyable.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "scene/Scene.h"

typedef struct _cairo cairo_t;

namespace chartxml::render {

// The logical box of a text as pango lays it out, in pixels.
struct TextBox {
  double width = 0;
  double height = 0;
  double baseline = 0;  // from the top of the box to the first line's baseline
  int lines = 1;
  bool missingGlyphs = false;  // some character has no glyph in any font
};

// One line of a laid-out text: where it starts within the box (the box's
// left, or further right when the text is centred or right aligned) and
// where its baseline lies below the box's top.
struct TextLine {
  std::string_view text;  // a view into the measured text
  double left = 0;
  double baseline = 0;
  double width = 0;
  // Its paragraph runs right to left (its first strong character is
  // Arabic, Hebrew, ...): writers that lay text out themselves must say so.
  bool rightToLeft = false;
};

class TextEngine {
 public:
  // The fonts texts are laid out with: a compact set first (the faces of
  // the families familyList() names, found without reading fontconfig's
  // rules), then fontconfig's whole configuration for the texts the set
  // cannot draw or whose language its rules decide; or the whole
  // configuration alone. Both give every text the same faces; each new
  // font weight costs less with the compact set. Without the set (the
  // environment names fontconfig's files, or the usual font folders lack
  // the faces) both are the whole configuration.
  enum class Fonts { kCompactFirst, kWhole };

  explicit TextEngine(Fonts fonts = Fonts::kCompactFirst);
  ~TextEngine();
  TextEngine(const TextEngine&) = delete;
  TextEngine& operator=(const TextEngine&) = delete;

  // Texts are laid out at one size and scaled to theirs (unhinted, so
  // exactly). Each of these throws std::bad_alloc when memory runs out: a
  // text that cannot be laid out must fail the picture, not leave a gap.
  // The box of `text` ("\n" separates lines) in `font`. Results are cached.
  TextBox measure(std::string_view text, const Font& font);

  // The lines of `text` with their positions in its box, lines aligned by
  // `hAlign` (0 left, 0.5 centre, 1 right). Valid until the next call.
  const std::vector<TextLine>& lines(std::string_view text, const Font& font, double hAlign);

  // Draws `item` on `cr` (picture pixels; the caller sets any device scale).
  void draw(cairo_t* cr, const TextItem& item);

  // The font family names the engine asks for, for writers of text that is
  // not drawn here (SVG): "DejaVu Sans, ...".
  static const char* familyList();
  // Those it draws `text` with: familyList(), or for a Chinese or Korean
  // text (by its characters: Hangul, or Han without kana) the face
  // fontconfig holds for that language ahead of the Japanese one.
  std::string familiesOf(std::string_view text);

  // For a process in which nothing but text engines uses fontconfig (the
  // command-line tool): makes the engines' compact font set fontconfig's
  // current configuration. pango reads the current configuration on its
  // first font map, whatever configuration the map is then given, and the
  // engines wait for it; made current, the compact set spares reading the
  // system's rules (which texts the set cannot draw still use, read when
  // first needed). Call it before anything in the process uses
  // fontconfig: the current configuration it replaces is freed. False,
  // changing nothing, when the environment chooses the fonts
  // (FONTCONFIG_FILE, ...) or the usual font folders lack the fonts.
  static bool makeCompactFontsCurrent();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace chartxml::render
