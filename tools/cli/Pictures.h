// Pictures of the charts a command has sent: drawn by the renderer from the
// sent chart in the host's memory, written beside the chart's document.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "chartxml/render.h"

namespace chartxml::cli {

// The formats `--picture` names: png, svg, pdf; "none" is no format.
std::optional<PictureFormat> parsePictureFormat(std::string_view name);
const char* pictureExtension(PictureFormat format);

struct DrawnChart {
  std::vector<std::string> files;    // the pictures written
  std::vector<std::string> skipped;  // what the renderer could not draw yet
  std::string description;           // what the chart shows, in the renderer's words
};

// Draws the most recently sent chart into each of `paths`, in the format of
// its extension. False, with `error` naming the file and what went wrong,
// when a picture cannot be drawn or written (nothing of that picture is left
// behind).
bool drawLastSent(const std::vector<std::string>& paths, DrawnChart& drawn, std::string& error);

// DIR/chart-NNNN.EXT for each format: the pictures of chart NNNN in DIR.
std::vector<std::string> picturePaths(const std::string& dir, int number,
                                      const std::vector<PictureFormat>& formats);

// "chart-0007" for chart 7.
std::string chartStem(int number);

}  // namespace chartxml::cli
