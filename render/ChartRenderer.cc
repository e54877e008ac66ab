// The renderer's front: loads a chart (document and data), runs the stages
// (read, model, statistics, scales, layout, scene) and hands the scene to a
// device; files are written whole or not at all.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "FileIo.h"
#include "chartxml/render.h"
#include "device/Devices.h"
#include "model/ModelBuilder.h"
#include "read/DataTable.h"
#include "read/FileText.h"
#include "read/XmlTree.h"
#include "scene/SceneBuilder.h"
#include "text/TextEngine.h"

namespace chartxml {
namespace {

using render::DataTable;

// Documents and data files larger than this are refused rather than read:
// no sent chart comes near it, and a mistaken path to a huge file should
// not take the host's memory.
constexpr std::uintmax_t kMaxFileBytes = std::uintmax_t{4} << 30;

// The part of a data file's name that a source id becomes: the output
// sink's rule (letters, digits, '_' and '-' kept, anything else '_', at most
// 64 characters), so that a reader finds the files the sink wrote.
std::string fileNamePart(std::string_view source) {
  std::string out;
  for (const char c : source.substr(0, 64)) {
    const bool kept = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      c == '_' || c == '-';
    out += kept ? c : '_';
  }
  return out.empty() ? "_" : out;
}

// Writes `bytes` to `path` through a temporary file in the same folder,
// renamed into place once complete: a reader never sees half a picture.
bool writeWhole(const std::string& path, const std::string& bytes, std::string& error) {
  if (const int failure = cxio::writeWholeFile(path, bytes)) {
    error = path + ": cannot write: " + cxio::errorText(failure);
    return false;
  }
  return true;
}

// The host's record of sent charts, found in the process at run time: the
// renderer does not link the host (nor the XML library and all that it
// loads), but a process that sends charts has the host loaded. The handle
// keeps the host loaded while a chart is read from it.
class SentCharts {
 public:
  using Count = int (*)();
  using Xml = const char* (*)(int);
  using Csv = const char* (*)(int, const char*);

  SentCharts() : handle_(dlopen(CHARTXML_HOST_SONAME, RTLD_NOW | RTLD_NOLOAD)) {
    count = reinterpret_cast<Count>(symbol("cxh_sent_count"));
    xml = reinterpret_cast<Xml>(symbol("cxh_sent_xml"));
    csv = reinterpret_cast<Csv>(symbol("cxh_sent_data_csv"));
    // Older hosts keep every chart's data in memory and lack it.
    path = reinterpret_cast<Csv>(symbol("cxh_sent_data_path"));
  }
  ~SentCharts() {
    if (handle_) dlclose(handle_);
  }
  SentCharts(const SentCharts&) = delete;
  SentCharts& operator=(const SentCharts&) = delete;

  bool found() const { return count && xml && csv; }

  Count count = nullptr;
  Xml xml = nullptr;
  Csv csv = nullptr;
  Csv path = nullptr;  // optional

 private:
  // A host linked into the program itself, or loaded under another name,
  // is found among the global symbols.
  void* symbol(const char* name) const {
    void* found = handle_ ? dlsym(handle_, name) : nullptr;
    return found ? found : dlsym(RTLD_DEFAULT, name);
  }

  void* handle_;
};

}  // namespace

bool useCompactFonts() {
  try {
    return render::TextEngine::makeCompactFontsCurrent();
  } catch (...) {
    // The fonts stay as fontconfig has them: slower to start, the same pictures.
    return false;
  }
}

std::optional<PictureFormat> pictureFormatOf(std::string_view path) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string_view::npos) return std::nullopt;
  std::string extension(path.substr(dot + 1));
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (extension == "png") return PictureFormat::kPng;
  if (extension == "svg") return PictureFormat::kSvg;
  if (extension == "pdf") return PictureFormat::kPdf;
  if (extension == "html" || extension == "htm") return PictureFormat::kHtml;
  return std::nullopt;
}

struct ChartRenderer::Impl {
  RenderOptions options;
  std::string error;
  std::vector<std::string> skipped;
  std::string title, description;
  std::optional<render::Scene> scene;
  std::unique_ptr<render::TextEngine> text;

  using OriginOf = std::function<std::string(const std::string& source)>;
  // What holds a source's text while it is read, when the text had to be
  // read or made: a file's bytes, or a caller's text.
  struct SourceStore {
    render::FileText file;
    std::string text;
  };
  // The CSV text of a source, or nothing: a view of the host's memory, or
  // of `storage`.
  using DataView = std::function<std::optional<std::string_view>(const std::string& source,
                                                                 SourceStore& storage)>;

  // Loads a document from `text` with its data from `data`.
  bool loadView(std::string_view text, const std::string& name, const DataView& data) {
    try {
      return load(text, name, data, [&](const std::string& source) {
        return name + " (data source " + source + ")";
      });
    } catch (const std::bad_alloc&) {
      return fail(name + ": out of memory");
    } catch (const std::exception& e) {
      return fail(name + ": " + e.what());
    }
  }

  static DataView viewOf(const DataLookup& data) {
    return [&data](const std::string& source,
                   SourceStore& storage) -> std::optional<std::string_view> {
      std::optional<std::string> csv = data(source);
      if (!csv) return std::nullopt;
      storage.text = std::move(*csv);
      return std::string_view(storage.text);
    };
  }

  bool fail(std::string message) {
    error = std::move(message);
    scene.reset();
    return false;
  }

  render::TextEngine& engine() {
    if (!text) text = std::make_unique<render::TextEngine>();
    return *text;
  }

  bool load(std::string_view document, const std::string& name, const DataView& data,
            const OriginOf& originOf) {
    error.clear();
    skipped.clear();
    title.clear();
    description.clear();
    scene.reset();
    if (options.width < 16 || options.height < 16 || options.width > 32767 ||
        options.height > 32767) {
      return fail("the picture's size must be 16 to 32767 pixels each way, not " +
                  std::to_string(options.width) + "x" + std::to_string(options.height));
    }
    std::string problem;
    const auto tree = render::parseXml(document, problem);
    if (!tree) return fail(name + ": " + problem);
    auto model = render::buildModel(*tree, problem);
    if (!model) return fail(name + ": " + problem);

    // The data of every source that a variable reads from.
    std::set<std::string> used;
    for (const render::Variable& variable : model->variables) {
      if (!variable.derived && !variable.source.empty()) used.insert(variable.source);
    }
    std::map<std::string, DataTable> tables;
    for (const std::string& source : used) {
      const std::string origin = originOf(source);
      SourceStore storage;
      const std::optional<std::string_view> csv = data(source, storage);
      if (!csv)
        return fail(origin + ": not found (the data of source '" + source + "' of " + name + ")");
      auto table = render::readCsv(*csv, origin, problem);
      if (!table) return fail(origin + ": " + problem);
      if (table->rows() == 0) return fail(origin + ": holds no rows of data, only its header");
      tables.emplace(source, std::move(*table));
    }
    auto built = render::buildScene(*model, tables, engine(),
                                    {static_cast<double>(options.width),
                                     static_cast<double>(options.height), options.pageCases},
                                    problem);
    if (!built) return fail(problem);
    skipped = model->skipped;
    title = model->title;
    description = built->description;
    scene = std::move(built);
    return true;
  }
};

namespace {

// A data file's text, read into `storage`; nothing when there is no such
// file. Throws, naming the file, when it cannot be read.
std::optional<std::string_view> readDataFile(const std::string& file, render::FileText& storage) {
  std::error_code ec;
  if (!std::filesystem::exists(file, ec)) return std::nullopt;
  std::string dataError;
  auto text = render::readFileText(file, kMaxFileBytes, dataError);
  if (!text) throw std::runtime_error(dataError);
  storage = std::move(*text);
  return storage.view();
}

}  // namespace

ChartRenderer::ChartRenderer(RenderOptions options) : impl_(std::make_unique<Impl>()) {
  impl_->options = options;
}

ChartRenderer::~ChartRenderer() = default;

bool ChartRenderer::loadFile(const std::string& documentPath, const std::string& dataDir) {
  try {
    impl_->error.clear();
    const auto document = render::readFileText(documentPath, kMaxFileBytes, impl_->error);
    if (!document) return impl_->fail(impl_->error);
    const std::filesystem::path path(documentPath);
    const std::filesystem::path folder =
        dataDir.empty() ? path.parent_path() : std::filesystem::path(dataDir);
    const std::string stem = path.stem().string();
    const auto fileOf = [&](const std::string& source) {
      return (folder / (stem + "." + fileNamePart(source) + ".csv")).string();
    };
    const Impl::DataView data = [&](const std::string& source,
                                    Impl::SourceStore& storage) -> std::optional<std::string_view> {
      return readDataFile(fileOf(source), storage.file);
    };
    return impl_->load(document->view(), documentPath, data, fileOf);
  } catch (const std::bad_alloc&) {
    return impl_->fail(documentPath + ": out of memory");
  } catch (const std::exception& e) {
    return impl_->fail(e.what());
  }
}

bool ChartRenderer::loadText(std::string_view text, const std::string& name,
                             const DataLookup& data) {
  return impl_->loadView(text, name, Impl::viewOf(data));
}

bool ChartRenderer::loadSent(int i) {
  const SentCharts sent;
  if (!sent.found()) {
    return impl_->fail("no sent chart " + std::to_string(i) +
                       ": the host library is not loaded in this process");
  }
  if (i < 0 || i >= sent.count()) {
    return impl_->fail("no sent chart " + std::to_string(i) + ": the host holds " +
                       std::to_string(sent.count()));
  }
  const std::string name = "sent chart " + std::to_string(i);
  // The host keeps the texts until its next sent chart: read in place. A
  // chart sent into an output folder left its data in files instead.
  const char* document = sent.xml(i);
  return impl_->loadView(document, name,
                         [i, &sent](const std::string& source,
                                    Impl::SourceStore& storage) -> std::optional<std::string_view> {
                           if (const char* csv = sent.csv(i, source.c_str()))
                             return std::string_view(csv);
                           const char* file = sent.path ? sent.path(i, source.c_str()) : nullptr;
                           if (file == nullptr) return std::nullopt;
                           return readDataFile(file, storage.file);
                         });
}

std::optional<std::string> ChartRenderer::picture(PictureFormat format) {
  if (!impl_->scene) {
    if (impl_->error.empty()) impl_->error = "no chart is loaded";
    return std::nullopt;
  }
  try {
    std::string out;
    bool drawn = false;
    switch (format) {
      case PictureFormat::kPng:
        drawn = render::drawPng(*impl_->scene, impl_->engine(), impl_->options.scale, out,
                                impl_->error);
        break;
      case PictureFormat::kSvg:
        drawn = render::drawSvg(*impl_->scene, impl_->engine(), out, impl_->error);
        break;
      case PictureFormat::kPdf:
        drawn = render::drawPdf(*impl_->scene, impl_->engine(), out, impl_->error);
        break;
      case PictureFormat::kHtml:
        drawn = render::drawHtml(*impl_->scene, impl_->engine(), out, impl_->error);
        break;
    }
    if (!drawn) return std::nullopt;
    impl_->error.clear();
    return out;
  } catch (const std::bad_alloc&) {
    impl_->error = "cannot draw the picture: out of memory";
  } catch (const std::exception& e) {
    impl_->error = std::string("cannot draw the picture: ") + e.what();
  }
  return std::nullopt;
}

bool ChartRenderer::write(const std::string& outputPath) {
  const auto format = pictureFormatOf(outputPath);
  if (!format) {
    impl_->error = outputPath + ": name the picture .png, .svg, .pdf or .html";
    return false;
  }
  const auto bytes = picture(*format);
  if (!bytes) {
    impl_->error = outputPath + ": " + impl_->error;
    return false;
  }
  try {
    return writeWhole(outputPath, *bytes, impl_->error);
  } catch (const std::exception& e) {
    impl_->error = outputPath + ": cannot write: " + e.what();
    return false;
  }
}

const std::string& ChartRenderer::error() const {
  return impl_->error;
}

const std::vector<std::string>& ChartRenderer::skipped() const {
  return impl_->skipped;
}

const std::string& ChartRenderer::title() const {
  return impl_->title;
}

const std::string& ChartRenderer::description() const {
  return impl_->description;
}

}  // namespace chartxml
