// chartxml render CHART.xml: a sent chart's picture, drawn from its document
// and the data files the host wrote beside it.
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "chartxml/render.h"
#include "cli/Args.h"
#include "cli/Commands.h"

#if defined(__SANITIZE_ADDRESS__)
#define CHARTXML_CLI_FREES_AT_EXIT 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CHARTXML_CLI_FREES_AT_EXIT 1
#endif
#endif

namespace chartxml::cli {
namespace {

// Ends the process once the picture is written and said: what the renderer
// holds (its fonts, the scene) is the kernel's to take back, sooner than
// freeing it piece by piece (a millisecond of a small chart's 30).
// Sanitizer builds return and free it all, so that their leak check still
// sees the renderer's memory.
int endWith(int status) {
#ifndef CHARTXML_CLI_FREES_AT_EXIT
  std::fflush(stdout);
  std::fflush(stderr);
  std::_Exit(status);
#endif
  return status;
}

constexpr std::array<Option, 6> kOptions{{
    {"data", "DIR", "where the chart's data files are (default: the document's folder)"},
    {"out", "FILE",
     "the picture to write: .png, .svg, .pdf or .html (default: the document's name with .png)",
     'o'},
    {"width", "PX", "the picture's width in pixels (default 800)"},
    {"height", "PX", "the picture's height in pixels (default 600)"},
    {"scale", "N", "multiplies a PNG's pixels, for sharp pictures on dense screens (default 1)"},
    {"describe", "",
     "print what the chart shows, in words, instead of drawing it (both with --out)"},
}};

constexpr const char* kHelpText =
    "usage: chartxml render CHART.xml [--data DIR] [-o OUT.png|OUT.svg|OUT.pdf|OUT.html]\n"
    "                      [--width PX] [--height PX] [--scale N] [--describe]\n"
    "\n"
    "Draws a sent chart from its document and its data: each data source S of\n"
    "DIR/chart-NNNN.xml is read from DIR/chart-NNNN.S.csv, as the host writes\n"
    "them. What the document asks that cannot be drawn yet is named on\n"
    "standard error; the rest is drawn.\n"
    "\n"
    "--describe prints a paragraph of what the chart shows (its kind, each\n"
    "axis's variable and range, the cases, groups, panels and lines), the\n"
    "text that the SVG's <desc> holds, on standard output.\n"
    "\n"
    "Exit status: 0 drawn, 1 the document, its data or the picture's file\n"
    "refused, 2 the command line is wrong.\n"
    "\n"
    "options:\n";

// A whole number of pixels from 16 to 32767.
std::optional<int> parsePixels(const std::string& text) {
  const auto value = parsePositive(text);
  if (!value || *value != std::floor(*value) || *value < 16 || *value > 32767) return std::nullopt;
  return static_cast<int>(*value);
}

}  // namespace

int runRender(std::span<char* const> args) {
  std::string error;
  const auto parsed = parseArgs(args, kOptions, error);
  if (!parsed) return complain("render", error, kExitUsage);
  if (parsed->has("help")) {
    std::printf("%s%s", kHelpText, optionHelp(kOptions).c_str());
    return kExitOk;
  }
  if (parsed->positional.size() != 1) {
    return complain("render",
                    parsed->positional.empty()
                        ? "name the chart's document (chartxml render CHART.xml)"
                        : "one document at a time; also given: " + parsed->positional[1],
                    kExitUsage);
  }
  const std::string& document = parsed->positional.front();
  RenderOptions options;
  for (const auto& [name, slot] :
       {std::pair{"width", &options.width}, std::pair{"height", &options.height}}) {
    if (const auto text = parsed->value(name)) {
      const auto pixels = parsePixels(*text);
      if (!pixels) {
        return complain("render",
                        std::string("--") + name +
                            " needs a whole number of pixels from 16 to "
                            "32767, not '" +
                            *text + "'",
                        kExitUsage);
      }
      *slot = *pixels;
    }
  }
  if (const auto text = parsed->value("scale")) {
    const auto scale = parsePositive(*text);
    if (!scale || *scale > 10) {
      return complain("render",
                      "--scale needs a number above 0 and at most 10, not '" + *text + "'",
                      kExitUsage);
    }
    options.scale = *scale;
  }
  const bool describe = parsed->has("describe");
  const bool draw = !describe || parsed->value("out");
  std::string out = parsed->value("out").value_or(
      std::filesystem::path(document).replace_extension(".png").string());
  if (draw && !pictureFormatOf(out)) {
    return complain("render", "--out " + out + ": name the picture .png, .svg, .pdf or .html",
                    kExitUsage);
  }

  options.pageCases = draw && pictureFormatOf(out) == PictureFormat::kHtml;
  // Nothing else in this process uses fontconfig: the first text need not
  // wait for the system's whole font configuration.
  useCompactFonts();
  ChartRenderer renderer(options);
  if (!renderer.loadFile(document, parsed->value("data").value_or(""))) {
    return complain("render", renderer.error(), kExitFailure);
  }
  for (const std::string& part : renderer.skipped()) {
    std::fprintf(stderr, "chartxml render: %s: not drawn yet: %s\n", document.c_str(),
                 part.c_str());
  }
  if (draw && !renderer.write(out)) return complain("render", renderer.error(), kExitFailure);
  if (describe) {
    std::printf("%s\n", renderer.description().c_str());
  } else {
    std::printf("wrote %s\n", out.c_str());
  }
  return endWith(kExitOk);
}

}  // namespace chartxml::cli
