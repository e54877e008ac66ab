/** \file
 * chartxml render: draws a sent chart as a picture (PNG, SVG or PDF), as a
 * host's chart engine would, from what was sent alone: the final chart
 * document and its data sources' rows.
 *
 * Rules:
 * 1. The document is read with the host's safe parser (no DTD, no external
 *    entity, bounded nesting). Each data source `<source id="S">` of a
 *    document DIR/NAME.xml is read from DATA/NAME.S.csv, the file the host's
 *    output sink writes (DATA is DIR unless a data folder is given); a sent
 *    chart still in the host's memory is read from there instead.
 * 2. Every function returns 0 on success and -1 on failure; the failure's
 *    message (naming the file and what is wrong) is kept until the next
 *    call, for cxr_error.
 * 3. A picture file is written whole or not at all: under a temporary name
 *    in its folder, renamed into place when complete.
 * 4. What a document asks that the renderer does not draw yet is listed,
 *    one entry per part, by cxr_skipped_count and cxr_skipped; the rest is
 *    drawn all the same.
 * 5. Texts are UTF-8. Returned const char* stay valid until the next call.
 * 6. One thread at a time; nothing is locked.
 */
#ifndef CHARTXML_RENDER_H_
#define CHARTXML_RENDER_H_

/** \def CHARTXML_RENDER_EXPORT
 * Marks what libchartxml_render exports (its binary interface); the library
 * is built with hidden default visibility. */
#if defined(_WIN32)
#if defined(CHARTXML_RENDER_BUILDING)
#define CHARTXML_RENDER_EXPORT __declspec(dllexport)
#else
#define CHARTXML_RENDER_EXPORT __declspec(dllimport)
#endif
#else
#define CHARTXML_RENDER_EXPORT __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** The picture's size in pixels (points for PDF) and, for PNG, the factor its
 * pixels are multiplied by (2 for sharp pictures on dense screens). */
typedef struct cxr_options {
  int width;    /**< default 800 */
  int height;   /**< default 600 */
  double scale; /**< default 1 */
} cxr_options;

/** Fills OPTIONS with the defaults. */
CHARTXML_RENDER_EXPORT void cxr_default_options(cxr_options* options);

/** Draws the document at DOCUMENT_PATH into OUTPUT_PATH, whose extension
 * (.png, .svg, .pdf, .html or .htm) says the format. DATA_DIR: where the data files are;
 * NULL or "" for the document's folder. OPTIONS NULL: the defaults. */
CHARTXML_RENDER_EXPORT int cxr_render_file(const char* document_path, const char* data_dir,
                                           const char* output_path, const cxr_options* options);

/** Draws the I-th chart the host has been sent (0 the oldest, as
 * cxh_sent_xml) into OUTPUT_PATH. The renderer does not link the host: it
 * finds the host library loaded in the process, and fails with a message
 * when there is none. */
CHARTXML_RENDER_EXPORT int cxr_render_sent(int i, const char* output_path,
                                           const cxr_options* options);

/** The last call's failure message; "" after a success. */
CHARTXML_RENDER_EXPORT const char* cxr_error(void);

/** What the last call could not draw, one part per entry. */
CHARTXML_RENDER_EXPORT int cxr_skipped_count(void);
CHARTXML_RENDER_EXPORT const char* cxr_skipped(int i); /**< NULL when I is out of range */

/** What the last call's chart shows, in words; "" after a failure. */
CHARTXML_RENDER_EXPORT const char* cxr_description(void);

#ifdef __cplusplus
}  // extern "C"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace chartxml {

/// The picture formats the renderer writes.
enum class PictureFormat {
  kPng,  ///< PNG drawn by cairo, compressed by the renderer's own deflate encoder
  kSvg,  ///< SVG by the renderer's own writer
  kPdf,  ///< PDF through cairo
  kHtml  ///< a self-contained interactive HTML page: the SVG inline and a script
};

/// The format an output file's extension names (.png, .svg, .pdf, .html or
/// .htm; any case).
CHARTXML_RENDER_EXPORT std::optional<PictureFormat> pictureFormatOf(std::string_view path);

/// For a program in which nothing but the renderer uses fontconfig (a
/// command-line tool that draws a chart and ends): makes the renderer's
/// compact font set fontconfig's current configuration, so that the first
/// text does not wait for the system's whole configuration to be read;
/// texts the set cannot draw still get their fonts, from the whole
/// configuration read when first needed. Pictures are the same either way.
/// Call it before anything in the process uses fontconfig: the
/// configuration it replaces is freed. False, changing nothing, when the
/// environment chooses the fonts (FONTCONFIG_FILE, FONTCONFIG_PATH,
/// FONTCONFIG_SYSROOT) or the usual font folders lack the renderer's fonts.
CHARTXML_RENDER_EXPORT bool useCompactFonts();

/// The picture's size in pixels (points for PDF) and, for PNG, the factor its
/// pixels are multiplied by; as cxr_options, with its defaults.
struct RenderOptions {
  int width = 800;   ///< pixels, or points for PDF
  int height = 600;  ///< pixels, or points for PDF
  double scale = 1;  ///< PNG only
  /// Keep each mark's case for an HTML page's tooltips. Off spares a copy of
  /// the drawn columns when no page is drawn; a page then fails.
  bool pageCases = true;
};

/// Draws one chart at a time. Load a chart (a file, a text or a sent chart),
/// then ask for its picture in memory or in a file, as often as needed.
/// Failures return false (or nothing) with error() saying what is wrong;
/// no exception leaves a member. Not copyable; one thread at a time.
class CHARTXML_RENDER_EXPORT ChartRenderer {
 public:
  /// The CSV text of data source `source`, or nothing when there is none.
  using DataLookup = std::function<std::optional<std::string>(const std::string& source)>;

  /// A renderer with no chart loaded, drawing at the size `options` gives.
  explicit ChartRenderer(RenderOptions options = {});
  ~ChartRenderer();
  ChartRenderer(const ChartRenderer&) = delete;
  ChartRenderer& operator=(const ChartRenderer&) = delete;

  /// Reads the document at `documentPath` and its data files (rule 1 of the
  /// C functions above); `dataDir` empty: the document's folder.
  bool loadFile(const std::string& documentPath, const std::string& dataDir = "");
  /// Reads a document from `text`; `name` names it in messages; `data` gives
  /// each source's CSV text.
  bool loadText(std::string_view text, const std::string& name, const DataLookup& data);
  /// Reads the i-th chart the host has been sent (0 the oldest).
  bool loadSent(int i);

  /// The loaded chart's picture in `format`, or nothing on failure.
  std::optional<std::string> picture(PictureFormat format);
  /// Writes the picture to `outputPath` in the format of its extension,
  /// whole or not at all.
  bool write(const std::string& outputPath);

  /// The message of the last failure, naming the file and what is wrong.
  const std::string& error() const;
  /// What the loaded chart asks that is not drawn, one part per entry.
  const std::vector<std::string>& skipped() const;
  /// The loaded chart's title, and a paragraph of what it shows: the kind
  /// of chart, each axis's variable and range, the cases, groups, panels and
  /// lines (English; empty when no chart is loaded).
  ///@{
  const std::string& title() const;
  const std::string& description() const;
  ///@}

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace chartxml

#endif  // __cplusplus

#endif  // CHARTXML_RENDER_H_
