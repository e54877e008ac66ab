// The C functions of render.h, over one ChartRenderer per call.
#include <string>
#include <vector>

#include "chartxml/render.h"

namespace {

struct LastCall {
  std::string error;
  std::vector<std::string> skipped;
  std::string description;
};

LastCall& last() {
  static LastCall state;
  return state;
}

// The options of a picture to be written at `output_path`: cases are kept
// only for a page.
chartxml::RenderOptions optionsOf(const cxr_options* options, const char* output_path) {
  chartxml::RenderOptions out;
  out.pageCases = chartxml::pictureFormatOf(output_path) == chartxml::PictureFormat::kHtml;
  if (options != nullptr) {
    out.width = options->width;
    out.height = options->height;
    out.scale = options->scale;
  }
  return out;
}

int finish(chartxml::ChartRenderer& renderer, bool done) {
  last().error = done ? std::string() : renderer.error();
  last().skipped = renderer.skipped();
  last().description = done ? renderer.description() : std::string();
  return done ? 0 : -1;
}

int refuse(const char* message) {
  last().error = message;
  last().skipped.clear();
  last().description.clear();
  return -1;
}

}  // namespace

extern "C" {

void cxr_default_options(cxr_options* options) {
  if (options == nullptr) return;
  const chartxml::RenderOptions defaults;
  options->width = defaults.width;
  options->height = defaults.height;
  options->scale = defaults.scale;
}

int cxr_render_file(const char* document_path, const char* data_dir, const char* output_path,
                    const cxr_options* options) {
  if (document_path == nullptr || output_path == nullptr) {
    return refuse("cxr_render_file: the document and output paths are required");
  }
  try {
    chartxml::ChartRenderer renderer(optionsOf(options, output_path));
    const bool done =
        renderer.loadFile(document_path, data_dir ? data_dir : "") && renderer.write(output_path);
    return finish(renderer, done);
  } catch (...) {
    return refuse("cxr_render_file: out of memory");
  }
}

int cxr_render_sent(int i, const char* output_path, const cxr_options* options) {
  if (output_path == nullptr) return refuse("cxr_render_sent: the output path is required");
  try {
    chartxml::ChartRenderer renderer(optionsOf(options, output_path));
    const bool done = renderer.loadSent(i) && renderer.write(output_path);
    return finish(renderer, done);
  } catch (...) {
    return refuse("cxr_render_sent: out of memory");
  }
}

const char* cxr_error(void) {
  return last().error.c_str();
}

int cxr_skipped_count(void) {
  return static_cast<int>(last().skipped.size());
}

const char* cxr_description(void) {
  return last().description.c_str();
}

const char* cxr_skipped(int i) {
  if (i < 0 || i >= cxr_skipped_count()) return nullptr;
  return last().skipped[static_cast<std::size_t>(i)].c_str();
}

}  // extern "C"
