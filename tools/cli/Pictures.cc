#include "cli/Pictures.h"

#include <algorithm>
#include <cstdio>

#include "chartxml/chartxml_host.h"

namespace chartxml::cli {

std::optional<PictureFormat> parsePictureFormat(std::string_view name) {
  if (name == "png") return PictureFormat::kPng;
  if (name == "svg") return PictureFormat::kSvg;
  if (name == "pdf") return PictureFormat::kPdf;
  if (name == "html") return PictureFormat::kHtml;
  return std::nullopt;
}

const char* pictureExtension(PictureFormat format) {
  switch (format) {
    case PictureFormat::kPng:
      return "png";
    case PictureFormat::kSvg:
      return "svg";
    case PictureFormat::kPdf:
      return "pdf";
    case PictureFormat::kHtml:
      return "html";
  }
  return "";
}

std::string chartStem(int number) {
  char stem[32];
  std::snprintf(stem, sizeof stem, "chart-%04d", number);
  return stem;
}

std::vector<std::string> picturePaths(const std::string& dir, int number,
                                      const std::vector<PictureFormat>& formats) {
  std::vector<std::string> paths;
  for (const PictureFormat format : formats) {
    paths.push_back(dir + "/" + chartStem(number) + "." + pictureExtension(format));
  }
  return paths;
}

bool drawLastSent(const std::vector<std::string>& paths, DrawnChart& drawn, std::string& error) {
  RenderOptions options;
  options.pageCases = std::any_of(paths.begin(), paths.end(), [](const std::string& path) {
    return pictureFormatOf(path) == PictureFormat::kHtml;
  });
  ChartRenderer renderer(options);
  if (!renderer.loadSent(cxh_sent_count() - 1)) {
    error = renderer.error();
    return false;
  }
  drawn.skipped = renderer.skipped();
  drawn.description = renderer.description();
  for (const std::string& path : paths) {
    if (!renderer.write(path)) {
      error = renderer.error();
      return false;
    }
    drawn.files.push_back(path);
  }
  return true;
}

}  // namespace chartxml::cli
