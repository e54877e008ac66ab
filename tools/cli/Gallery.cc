#include "cli/Gallery.h"

#include "cli/Commands.h"
#include "device/HtmlText.h"

namespace chartxml::cli {
namespace {

constexpr const char* kStyle =
    "body{font-family:'DejaVu Sans',Verdana,sans-serif;margin:24px;color:#222;"
    "background:#f6f6f6}\n"
    "h1{font-size:22px;margin:0 0 4px}\n"
    "p.lead{margin:0 0 20px;color:#555}\n"
    ".grid{display:grid;grid-template-columns:repeat(auto-fill,minmax(440px,1fr));gap:20px}\n"
    "figure{margin:0;background:#fff;border:1px solid #ddd;border-radius:4px;padding:12px}\n"
    "figure img{display:block;width:100%;height:auto}\n"
    "figcaption{font-size:14px;line-height:1.4;margin-top:8px}\n"
    ".files{display:block;margin-top:4px;font-size:13px}\n"
    ".files a{margin-right:10px;color:#0b5fa5}\n"
    ".skipped{display:block;margin-top:4px;font-size:12px;color:#8a5300}\n";

// `text` as HTML text or a quoted attribute's value.
std::string escapeHtml(const std::string& text) {
  std::string out;
  render::appendHtmlEscaped(out, text);
  return out;
}

}  // namespace

bool writeGallery(const std::string& dir, const std::string& heading,
                  const std::vector<GalleryEntry>& entries, std::string& error) {
  std::string page =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
      escapeHtml(heading) + "</title>\n<style>\n" + kStyle + "</style>\n</head>\n<body>\n<h1>" +
      escapeHtml(heading) + "</h1>\n<p class=\"lead\">" + std::to_string(entries.size()) +
      " charts, each drawn from the document and data the host was sent. Click a picture "
      "for its interactive page.</p>\n<main class=\"grid\">\n";
  for (const GalleryEntry& entry : entries) {
    const std::string stem = escapeHtml(entry.stem);
    const std::string description = escapeHtml(entry.description);
    const std::string alt = escapeHtml(entry.altText.empty() ? entry.description : entry.altText);
    page += "<figure id=\"" + stem + "\">\n<a href=\"" + stem + ".html\"><img src=\"" + stem +
            ".png\" width=\"800\" height=\"600\" alt=\"" + alt + "\"></a>\n<figcaption>" +
            description + "\n<span class=\"files\"><a href=\"" + stem +
            ".html\">page</a><a href=\"" + stem + ".svg\">SVG</a><a href=\"" + stem +
            ".xml\">document</a><a href=\"" + stem + ".source0.csv\">data</a></span>\n";
    if (!entry.skipped.empty()) {
      page += "<span class=\"skipped\">Not drawn yet: ";
      for (std::size_t i = 0; i < entry.skipped.size(); ++i) {
        page += (i > 0 ? "; " : "") + escapeHtml(entry.skipped[i]);
      }
      page += "</span>\n";
    }
    page += "</figcaption>\n</figure>\n";
  }
  page += "</main>\n</body>\n</html>\n";

  // Written aside and renamed, so a browser never shows half a page.
  return writeWhole(dir + "/index.html", page, error);
}

}  // namespace chartxml::cli
