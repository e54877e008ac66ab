// The demo's gallery page: every chart's picture with what it shows, linked
// to its SVG, document and data, in one HTML file that needs no network.
#pragma once

#include <string>
#include <vector>

namespace chartxml::cli {

struct GalleryEntry {
  std::string stem;                  // "chart-0001": the files are STEM.png, STEM.svg, STEM.xml
  std::string description;           // what the chart shows, in one line
  std::string altText;               // the renderer's description of the picture
  std::vector<std::string> skipped;  // parts not drawn yet
};

// Writes DIR/index.html (whole or not at all). False, with `error` set,
// when it cannot be written.
bool writeGallery(const std::string& dir, const std::string& heading,
                  const std::vector<GalleryEntry>& entries, std::string& error);

}  // namespace chartxml::cli
