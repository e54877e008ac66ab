// Fuzzes the CX_ entry points with call sequences decoded from the input,
// over a small CSV data source opened once.
//
// Input layout (every read past the end gives zero bytes):
//   byte 0      settings of the instance: bits 0-1 the language, bits 2-4 the
//               code page, bits 5-6 the data area and dictionary of CX_INIT,
//               bit 7 the XML platform ends with each instance (see below)
//   then calls  one byte picks the operation (an index into kOperations,
//               modulo its size), its arguments follow in parameter order
//
// Arguments:
//   handle, code  one byte: 0x00-0x9F that value itself (string handles
//                 1..156 are the vocabulary codes); 0xA0-0xDF the k-th most
//                 recent handle of the parameter's kind (chart, element,
//                 string, variable list), k = byte - 0xA0; 0xE0-0xFE
//                 kSpecialIntegers; 0xFF eight bytes, little endian
//   double        one byte: 0x00-0xBF (byte - 64) / 2; 0xC0-0xFE
//                 kSpecialReals; 0xFF eight bytes, little endian
//   text          one byte: 0x00-0xBF that many bytes follow; 0xC0-0xFE a
//                 word of kWords; 0xFF a 16-bit little-endian length and the
//                 bytes
//   format code   one byte type (0xFF: -1, 0xFE: eight bytes), then width
//                 and decimals bytes
//   data area     one byte: all-ones, null or a dummy area
//   dictionary    one byte: the CSV source, a procedure dictionary or null
//   handle array  one byte count (modulo 9; 0xF0 and up: -1 and no
//                 elements), then the handles
//   split values  count (modulo 7; 0xF0 and up: -1), text width (modulo 17;
//                 0xF0 and up: -1), count doubles, count x width text bytes
// Outputs (int64_t*) read nothing; what they receive joins the handles.
//
// Every text and array is a heap block of exactly its size, so that a read
// past a length is caught. After each CX_ENDCHART that sent a chart, the
// document sent must be well formed and read back through the host's parser;
// "peek" checks that the document of a chart still being built is well formed. The instance is
// terminated after each input and the host's lists are cleared, so inputs do not depend on each
// other.
#include <unistd.h>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include <xercesc/util/PlatformUtils.hpp>

#include "chartxml/chartxml_building.h"
#include "chartxml/chartxml_host.h"
#include "chartxml/cx.h"
#include "chartxml/host/ChartBase.h"
#include "chartxml/host/ChartException.h"
#include "chartxml/host/VORN_DataSource.h"
#include "chartxml/host/XDocument.h"

namespace {

// The data source every instance of the run shares: numbers, a text column
// with a comma and a quote in it, a missing value, and a dictionary with
// labels, value labels, a format and user-missing values.
constexpr char kCsv[] =
    "x,y,region,when\n"
    "1,2.5,north,13000000000\n"
    "2,,\"south, east\",13000086400\n"
    "3,7,\"say \"\"hi\"\"\",\n"
    "-4,1e3,north,13100000000\n";
constexpr char kDictionary[] = R"({"variables": {
  "x": {"label": "The x", "measure": "ordinal", "valueLabels": {"1": "one", "2": "two"},
        "missing": [-4]},
  "y": {"label": "Y <value> & more", "format": {"type": 5, "width": 8, "decimals": 1}},
  "region": {"label": "Region", "valueLabels": {"north": "North"}},
  "when": {"format": {"type": 20, "width": 11, "decimals": 0}}
}})";

constexpr const char* kLanguages[] = {"en", "ja", "ru", "zh-tw"};
constexpr const char* kCodePages[] = {"UTF-8",  "CP1252", "CP932",      "CP936",
                                      "CP1251", "CP950",  "ISO-8859-1", "no-such-code-page"};

constexpr std::int64_t kSpecialIntegers[] = {
    -1,
    -2,
    -3,
    INT32_MAX,
    INT32_MIN,
    std::int64_t{INT32_MAX} + 1,
    0xFFFFFFFF,             // low 32 bits -1, not "not given"
    std::int64_t{1} << 32,  // low 32 bits 0, a true logical
    (std::int64_t{1} << 32) | 1,
    INT64_MIN,
    INT64_MAX,
    -1000,
    -65536,
    160,
    200,
    255,
    256,
    500,
    512,
    1000,
    1001,
    4096,
    10000,
    32767,
    32768,
    65535,
    65536,
    100000,
    1 << 20,
    INT32_MIN + 1,
    INT32_MAX - 1,
};

constexpr double kSpecialReals[] = {
    __builtin_nan(""),
    -__builtin_nan(""),
    __builtin_inf(),
    -__builtin_inf(),
    -0.0,
    -1.7976931348623157e308,  // the host's missing value
    1.7976931348623157e308,
    2.2250738585072014e-308,
    4.9406564584124654e-324,
    -4.9406564584124654e-324,
    1e-300,
    1e-7,
    0.1,
    1.0 / 3.0,
    2.0 / 3.0,
    0.05,
    0.5,
    1.005,
    2.5,
    99.995,
    1234.567,
    123456.789,
    3600,
    86400,
    12219292800,  // 1970-01-01 in seconds since 14 October 1582
    13000000000,
    315569260800,  // about the year 11582
    -13000000000,
    2147483647,
    2147483648,
    -2147483649.0,
    9007199254740992.0,
    9007199254740993.0,
    1e15,
    1e16,
    1e21,
    -1e21,
    1e22,
    1e100,
    1e300,
    -1e300,
    9.2233720368547758e18,
    -9.2233720368547758e18,
    1.8446744073709552e19,
};

// Words a caller may well pass: string-table keys, composite patterns,
// margins, XML's special characters, and byte sequences that are not UTF-8.
constexpr std::string_view kWords[] = {
    "X Variable",
    "Y Axis",
    "E60712",
    "E60551",
    "E61214^1",
    "E61215^1",
    "E61218",
    "E61219^1",
    "no such key",
    "^1",
    "^1 by ^2",
    "^1^2^3^4^5^6^7^8^9",
    "^9 ^0 ^10 ^",
    "^^1",
    "5%",
    "0%",
    "-5%",
    "150%",
    "1e308",
    "NaN",
    "inf",
    "-0",
    "0.5",
    "source0",
    "frame_graph_1",
    "id",
    "scatter.tpl",
    "<",
    ">",
    "&",
    "&amp;",
    "\"'",
    "]]>",
    "<!--",
    "<?xml version=\"1.0\"?>",
    "<!DOCTYPE a [<!ENTITY e \"x\">]>",
    "&#0;",
    std::string_view("\0", 1),
    "\x01\x02\x1f\x7f",
    "\t",
    "a\r\nb",
    "\r",
    "  padded  ",
    "\xff",
    "\xc3",
    "\xc3\xa9",
    "\xed\xa0\x80",
    "\xef\xbf\xbe",
    "\xf4\x90\x80\x80",
    "\xf0\x9f\x98\x80",
    "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e",
    "\x82\xa0",  // a hiragana in CP932
    "\x81",
    ", ",
    ";",
    ":",
    "_",
    "color",
    "point",
    "stack",
    "mean",
    "count",
    "linear",
};

constexpr std::size_t kMaxOperations = 1024;
constexpr std::size_t kMaxPooled = 64;

// Set by FUZZ_CX_TRACE (see LLVMFuzzerInitialize).
bool trace = false;

[[noreturn]] void fail(const std::string& what, const char* document) {
  std::fprintf(stderr, "fuzz_cx: %s\n--- document ---\n%s\n--- end ---\n", what.c_str(),
               document != nullptr ? document : "(null)");
  std::abort();
}

// The data source of the whole run.
struct Source {
  std::string folder;
  std::string csv;
  void* table = nullptr;      // a VORN_DataSource, its own dictionary
  void* procedure = nullptr;  // variables 1..4 naming columns 3, 2, 1, 0
};
Source source;

void removeFiles() {
  cxh_close(source.procedure);
  cxh_close(source.table);
  std::remove((source.csv + ".dict.json").c_str());
  std::remove(source.csv.c_str());
  ::rmdir(source.folder.c_str());
}

bool writeFile(const std::string& path, std::string_view text) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  return std::fclose(file) == 0 && written;
}

enum class Kind { None, Chart, Node, String, List };

// One input being decoded and played.
class Player {
 public:
  Player(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}

  bool done() const { return next_ >= end_; }
  std::int64_t result() const { return result_; }

  std::uint8_t byte() { return next_ < end_ ? *next_++ : 0; }

  template <class T>
  T raw() {
    std::array<std::uint8_t, sizeof(T)> bytes{};
    for (std::uint8_t& b : bytes) b = byte();
    T value;
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
  }

  std::int64_t integer(Kind kind) {
    const std::uint8_t b = byte();
    if (b < 0xA0) return b;
    if (b < 0xE0) {
      const std::vector<std::int64_t>& pool = pools_[static_cast<int>(kind)];
      const std::size_t back = b - 0xA0u;
      return pool.empty() ? static_cast<std::int64_t>(back)
                          : pool[pool.size() - 1 - back % pool.size()];
    }
    if (b < 0xFF) return kSpecialIntegers[(b - 0xE0u) % std::size(kSpecialIntegers)];
    return raw<std::int64_t>();
  }

  double real() {
    const std::uint8_t b = byte();
    if (b < 0xC0) return (b - 64) / 2.0;
    if (b < 0xFF) return kSpecialReals[(b - 0xC0u) % std::size(kSpecialReals)];
    return raw<double>();
  }

  std::string_view text() {
    const std::uint8_t b = byte();
    if (b >= 0xC0 && b < 0xFF) return kWords[(b - 0xC0u) % std::size(kWords)];
    std::size_t length = b;
    if (b == 0xFF) length = raw<std::uint16_t>();
    length = std::min(length, static_cast<std::size_t>(end_ - next_));
    const std::string_view bytes(reinterpret_cast<const char*>(next_), length);
    next_ += length;
    return bytes;
  }

  // Storage of one call's arguments, each at an address of its own.
  const std::int64_t* keepInteger(std::int64_t value) { return &integers_.emplace_back(value); }
  const double* keepReal(double value) { return &reals_.emplace_back(value); }
  template <class T>
  T* keepBlock(std::size_t count) {
    auto& block = blocks_.emplace_back(new unsigned char[count * sizeof(T)]);
    return reinterpret_cast<T*>(block.get());
  }
  std::int64_t* output(Kind kind) {
    std::int64_t* out = &integers_.emplace_back(-9);
    outputs_.emplace_back(out, kind);
    return out;
  }

  // After a call: its result and outputs join the handles of their kind.
  void finish(Kind kind, std::int64_t result) {
    result_ = result;
    remember(kind, result);
    for (const auto& [out, outKind] : outputs_) remember(outKind, *out);
    outputs_.clear();
    integers_.clear();
    reals_.clear();
    blocks_.clear();
  }

 private:
  void remember(Kind kind, std::int64_t handle) {
    if (kind == Kind::None || handle < 0) return;
    std::vector<std::int64_t>& pool = pools_[static_cast<int>(kind)];
    if (pool.size() == kMaxPooled) pool.erase(pool.begin());
    pool.push_back(handle);
  }

  const std::uint8_t* next_;
  const std::uint8_t* end_;
  std::array<std::vector<std::int64_t>, 5> pools_;
  std::deque<std::int64_t> integers_;
  std::deque<double> reals_;
  std::vector<std::unique_ptr<unsigned char[]>> blocks_;
  std::vector<std::pair<std::int64_t*, Kind>> outputs_;
  std::int64_t result_ = -1;
};

// ---- Argument kinds: each reads its bytes and gives the parameters it fills.

template <Kind K>
struct Handle {
  static std::tuple<const std::int64_t*> read(Player& p) { return {p.keepInteger(p.integer(K))}; }
};
using Chart = Handle<Kind::Chart>;
using Node = Handle<Kind::Node>;
using Str = Handle<Kind::String>;
using List = Handle<Kind::List>;
using Code = Handle<Kind::None>;  // codes, flags, counts and column numbers

struct Real {
  static std::tuple<const double*> read(Player& p) { return {p.keepReal(p.real())}; }
};

struct Text {
  static std::tuple<const char*, const std::int64_t*> read(Player& p) {
    const std::string_view bytes = p.text();
    char* copy = p.keepBlock<char>(bytes.size());
    if (!bytes.empty()) std::memcpy(copy, bytes.data(), bytes.size());
    return {copy, p.keepInteger(static_cast<std::int64_t>(bytes.size()))};
  }
};

struct Format {
  static std::tuple<const std::int64_t*> read(Player& p) {
    const std::uint8_t type = p.byte();
    if (type == 0xFF) return {p.keepInteger(-1)};
    if (type == 0xFE) return {p.keepInteger(p.raw<std::int64_t>())};
    const std::int64_t width = p.byte();
    const std::int64_t decimals = p.byte();
    return {p.keepInteger(std::int64_t{type} << 16 | width << 8 | decimals)};
  }
};

struct Data {
  static std::tuple<void*> read(Player& p) {
    static int dummy;
    switch (p.byte() % 3) {
      case 0:
        return {reinterpret_cast<void*>(~std::uintptr_t{0})};
      case 1:
        return {nullptr};
      default:
        return {&dummy};
    }
  }
};

struct Dictionary {
  static std::tuple<VORN_FortranDictionary**> read(Player& p) {
    VORN_FortranDictionary** slot = p.keepBlock<VORN_FortranDictionary*>(1);
    switch (p.byte() % 3) {
      case 0:
        *slot = static_cast<VORN_FortranDictionary*>(source.table);
        break;
      case 1:
        *slot = static_cast<VORN_FortranDictionary*>(source.procedure);
        break;
      default:
        *slot = nullptr;
    }
    return {slot};
  }
};

template <Kind K>
struct Out {
  static std::tuple<std::int64_t*> read(Player& p) { return {p.output(K)}; }
};
using OutNode = Out<Kind::Node>;

struct Ignored {
  static std::tuple<const void*> read(Player&) { return {nullptr}; }
};

// The variables of a scatter-plot matrix and their count.
struct Handles {
  static std::tuple<const std::int64_t*, const std::int64_t*> read(Player& p) {
    const std::uint8_t b = p.byte();
    const std::int64_t count = b >= 0xF0 ? -1 : b % 9;
    const std::size_t size = count > 0 ? static_cast<std::size_t>(count) : 0;
    std::int64_t* handles = p.keepBlock<std::int64_t>(size);
    for (std::size_t i = 0; i < size; ++i) handles[i] = p.integer(Kind::Node);
    return {handles, p.keepInteger(count)};
  }
};

// The values of a split list: count, numbers, blank-padded texts, width.
struct Split {
  static std::tuple<const std::int64_t*, const double*, const char*, const std::int64_t*> read(
      Player& p) {
    const std::uint8_t c = p.byte();
    const std::int64_t count = c >= 0xF0 ? -1 : c % 7;
    const std::uint8_t w = p.byte();
    const std::int64_t width = w >= 0xF0 ? -1 : w % 17;
    const std::size_t n = count > 0 ? static_cast<std::size_t>(count) : 0;
    const std::size_t bytes = n * static_cast<std::size_t>(width > 0 ? width : 0);
    double* numbers = p.keepBlock<double>(n);
    for (std::size_t i = 0; i < n; ++i) numbers[i] = p.real();
    char* texts = p.keepBlock<char>(bytes);
    for (std::size_t i = 0; i < bytes; ++i) texts[i] = static_cast<char>(p.byte());
    return {p.keepInteger(count), numbers, texts, p.keepInteger(width)};
  }
};

// Reads the arguments in parameter order (a braced list is evaluated left
// to right), calls, and keeps the result as a handle of kind R.
template <Kind R, auto Entry, class... Args>
void call(Player& p) {
  std::tuple<decltype(Args::read(p))...> parts{Args::read(p)...};
  const auto arguments = std::apply([](auto&... part) { return std::tuple_cat(part...); }, parts);
  p.finish(R, std::apply(Entry, arguments));
}

constexpr Kind kNone = Kind::None;
constexpr Kind kChart = Kind::Chart;
constexpr Kind kNode = Kind::Node;
constexpr Kind kString = Kind::String;
constexpr Kind kList = Kind::List;

using Play = void (*)(Player&);

// Shapes many entry points share: each takes a chart and a node of it, then
// what the name says (a string handle, a code, another node).
template <auto Entry>
constexpr Play onNode = call<kNone, Entry, Chart, Node>;
template <auto Entry>
constexpr Play setText = call<kNone, Entry, Chart, Node, Str>;
template <auto Entry>
constexpr Play setCode = call<kNone, Entry, Chart, Node, Code>;
template <auto Entry>
constexpr Play child = call<kNode, Entry, Chart, Node>;
template <auto Entry>
constexpr Play childOf = call<kNode, Entry, Chart, Node, Node>;
template <auto Entry>
constexpr Play childNamed = call<kNode, Entry, Chart, Node, Str>;
template <auto Entry>
constexpr Play childNamedTwice = call<kNode, Entry, Chart, Node, Str, Str>;
template <auto Entry>
constexpr Play childNamedCode = call<kNode, Entry, Chart, Node, Str, Code>;
// The fitted curves y of x: kind, two coefficients, and a flag.
template <auto Entry>
constexpr Play curve = call<kNode, Entry, Chart, Node, Code, Real, Real, Code>;

// A document of the library must be well formed. A sent one must also read
// back as the host and the renderer read it (through XDocument: no DOCTYPE,
// nesting within the host's limit); a chart still being built need not yet.
void requireWellFormed(const char* document, const char* what, bool sent) {
  if (document == nullptr) fail(std::string(what) + ": no document", document);
  if (!ChartBase::ValidXML(document)) {
    const int reports = cxh_report_count();
    fail(std::string(what) + " is not well formed: " +
             (reports > 0 ? cxh_report_message(reports - 1) : "(no report)"),
         document);
  }
  if (!sent) return;
  try {
    XDocument readBack(document, false, true);
  } catch (const ChartException& e) {
    fail(std::string(what) + " does not read back: " + e.what(), document);
  }
}

// CX_ENDCHART, then the chart it sent (if any) must be a well-formed
// document; its other parts are read so that their memory is touched.
void endChart(Player& p) {
  const int before = cxh_sent_count();
  call<kNone, CX_ENDCHART, Chart>(p);
  const int sent = cxh_sent_count();
  if (sent <= before) return;
  const int newest = sent - 1;
  requireWellFormed(cxh_sent_xml(newest), "the sent document", true);
  (void)std::strlen(cxh_sent_description(newest));
  (void)std::strlen(cxh_sent_template(newest));
  for (const char* name : {"source0", "source1", "source2"}) {
    if (const char* csv = cxh_sent_data_csv(newest, name)) (void)std::strlen(csv);
  }
  cxh_clear_sent();
}

// The document of a chart still being built.
void peek(Player& p) {
  const std::int64_t chart = p.integer(Kind::Chart);
  const char* document = cxh_chart_xml(chart);
  if (document != nullptr && *document != '\0')
    requireWellFormed(document, "a chart's document", false);
  p.finish(kNone, -1);
}

void clearHost(Player& p) {
  cxh_clear_sent();
  cxh_clear_reports();
  cxh_clear_debug();
  p.finish(kNone, -1);
}

struct Operation {
  const char* name;
  Play play;
};

// The seeds' generator (fuzz/make_cx_seeds.py) reads this table: the index
// of each name and the kinds of its call. New operations go at the end, so
// that the seeds keep their meaning.
constexpr Operation kOperations[] = {
    {"CX_INIT", call<kNone, CX_INIT, Data, Dictionary, Text>},
    {"CX_TERMINATE", call<kNone, CX_TERMINATE>},
    {"CX_CREATECHART", call<kChart, CX_CREATECHART, Data, Dictionary, Text>},
    {"CX_CREATECHARTEX", call<kChart, CX_CREATECHARTEX, Data, Dictionary, Text, Out<kChart>,
                              OutNode, OutNode, OutNode>},
    {"CX_CREATEPIECHART", call<kChart, CX_CREATEPIECHART, Data, Dictionary, Text, Out<kChart>,
                               OutNode, OutNode, OutNode>},
    {"CX_ENDCHART", endChart},
    {"CX_KILLCHART", call<kNone, CX_KILLCHART, Chart>},
    {"CX_KILLCHARTS", call<kNone, CX_KILLCHARTS>},
    {"CX_SETLOGUNSAFE", call<kNone, CX_SETLOGUNSAFE, Chart>},
    {"CX_SETCHARTTEMPLATE", call<kNone, CX_SETCHARTTEMPLATE, Chart, Text>},
    {"CX_SETCHARTTYPE", call<kNone, CX_SETCHARTTYPE, Chart, Code>},
    {"CX_CREATECHARTDESCRIPTION", call<kNone, CX_CREATECHARTDESCRIPTION, Chart, Str>},
    {"CX_SETCHARTDESCRIPTION", call<kNone, CX_SETCHARTDESCRIPTION, Chart, Text>},
    {"CX_DUMPXML", call<kNone, CX_DUMPXML, Ignored, Ignored, Ignored>},
    {"CX_STATISTICSSUMMARY", call<kNone, CX_STATISTICSSUMMARY>},
    {"CX_STRING", call<kString, CX_STRING, Ignored, Text>},
    {"CX_NSTRINGNOTRANSLATE", call<kString, CX_NSTRINGNOTRANSLATE, Text>},
    {"CX_NSTRING", call<kString, CX_NSTRING, Ignored, Text>},
    {"CX_COMPOSITESTRING", call<kString, CX_COMPOSITESTRING, Text>},
    {"CX_ADDPARAMETER", call<kNone, CX_ADDPARAMETER, Str, Str>},
    {"CX_BEGINREPEAT", call<kNone, CX_BEGINREPEAT, Str>},
    {"CX_ENDREPEAT", call<kNone, CX_ENDREPEAT, Str>},
    {"CX_ENDCOMPOSITESTRING", call<kString, CX_ENDCOMPOSITESTRING, Str>},
    {"CX_STYLESTRING", call<kString, CX_STYLESTRING, Str, Code>},
    {"CX_TOTS", call<kNone, CX_TOTS, Str>},
    {"CX_DOUBLE", call<kString, CX_DOUBLE, Real>},
    {"CX_INTEGER", call<kString, CX_INTEGER, Ignored, Code>},
    {"CX_LRVALUE", call<kString, CX_LRVALUE, Real, Format>},
    {"CX_IVALUE", call<kString, CX_IVALUE, Ignored, Code, Format>},
    {"CX_LRVALUEASSTRING", call<kString, CX_LRVALUEASSTRING, Real, Format>},
    {"CX_IVALUEASSTRING", call<kString, CX_IVALUEASSTRING, Code, Format>},
    {"CX_VARIABLENAME", call<kString, CX_VARIABLENAME, Code>},
    {"CX_VARIABLELABEL", call<kString, CX_VARIABLELABEL, Code>},
    {"CX_VARIABLELABELFROMDICTIONARY",
     call<kString, CX_VARIABLELABELFROMDICTIONARY, Data, Dictionary, Code>},
    {"CX_VALUELABEL", call<kString, CX_VALUELABEL, Code, Real, Code>},
    {"CX_VALUELABELSHORT", call<kString, CX_VALUELABELSHORT, Code, Real, Code>},
    {"CX_VALUE", call<kString, CX_VALUE, Code, Real>},
    {"CX_MEANVALUE", call<kString, CX_MEANVALUE, Code, Real>},
    {"CX_OBJECTLABEL", call<kString, CX_OBJECTLABEL, Code, Real>},
    {"CX_WEIGHTINFO", call<kString, CX_WEIGHTINFO, Ignored, Ignored, Code, Code>},
    {"CX_SPLITLIST", call<kString, CX_SPLITLIST, Chart, Code, Split, Code>},
    {"CX_SPLITHEADER", call<kString, CX_SPLITHEADER, Str, Code>},
    {"CX_SETSPLITCOMPOSITE", call<kString, CX_SETSPLITCOMPOSITE, Str, Str>},
    {"CX_SPLITVARIABLEINFO",
     call<kString, CX_SPLITVARIABLEINFO, Chart, Str, Code, Split, Code, Code, Code>},
    {"CX_ADDSPLITHEADEREX", childNamedCode<CX_ADDSPLITHEADEREX>},
    {"CX_ADDSOURCE", call<kNode, CX_ADDSOURCE, Chart>},
    {"CX_ADDVARIABLE", call<kNode, CX_ADDVARIABLE, Chart, Node, Code, Code>},
    {"CX_ADDLABELINGVARIABLE", call<kNode, CX_ADDLABELINGVARIABLE, Chart, Node, Code, Code>},
    {"CX_ADDWEIGHTVARIABLE", call<kNode, CX_ADDWEIGHTVARIABLE, Chart, Node, Code>},
    {"CX_SETVARIABLE", call<kNone, CX_SETVARIABLE, Chart, Node, Code, Code>},
    {"CX_CREATELOGVAR", onNode<CX_CREATELOGVAR>},
    {"CX_SETVARIABLECATEGORICAL", setCode<CX_SETVARIABLECATEGORICAL>},
    {"CX_SETVARIABLEFORMAT", call<kNone, CX_SETVARIABLEFORMAT, Chart, Node, Format>},
    {"CX_GETVARIABLEFORMAT", call<kNone, CX_GETVARIABLEFORMAT, Chart, Code>},
    {"CX_GETVARIABLELABEL", call<kString, CX_GETVARIABLELABEL, Chart, Node>},
    {"CX_SETVARIABLELABEL", setText<CX_SETVARIABLELABEL>},
    {"CX_SETVARIABLENAME", setText<CX_SETVARIABLENAME>},
    {"CX_SETVARIABLEVALUE", setText<CX_SETVARIABLEVALUE>},
    {"CX_BEGINVARIABLELIST", call<kList, CX_BEGINVARIABLELIST, Chart>},
    {"CX_ADDTOVARIABLELIST", call<kNone, CX_ADDTOVARIABLELIST, Chart, List, Node>},
    {"CX_ADDRANGEVARIABLE", call<kNode, CX_ADDRANGEVARIABLE, Chart, List>},
    {"CX_ADDOVERLAYVARIABLE", call<kNode, CX_ADDOVERLAYVARIABLE, Chart, List, Code>},
    {"CX_ADDMATRIXVARIABLE", call<kNode, CX_ADDMATRIXVARIABLE, Chart, List>},
    {"CX_ADDRELABEL", call<kNone, CX_ADDRELABEL, Chart, Node, Str, Str>},
    {"CX_ADDRELABELS", setCode<CX_ADDRELABELS>},
    {"CX_ADDROW", onNode<CX_ADDROW>},
    {"CX_ADDDATAVALUE", call<kNone, CX_ADDDATAVALUE, Chart, Node, Node, Str>},
    {"CX_ADDDOUBLEDATAVALUE", call<kNone, CX_ADDDOUBLEDATAVALUE, Chart, Node, Node, Real>},
    {"CX_ALLDATADOUBLES", call<kNone, CX_ALLDATADOUBLES, Chart>},
    {"CX_ADDFRAME", childNamed<CX_ADDFRAME>},
    {"CX_ADDFRAMEWITHLABEL",
     call<kNode, CX_ADDFRAMEWITHLABEL, Chart, Node, Str, Code, Str, Ignored>},
    {"CX_SETFRAMECLIPPING", setCode<CX_SETFRAMECLIPPING>},
    {"CX_ADDELEMENT", childNamedTwice<CX_ADDELEMENT>},
    {"CX_ADDXYELEMENTEX",
     call<kNode, CX_ADDXYELEMENTEX, Chart, Node, Code, Str, Node, Node, Str, OutNode>},
    {"CX_ADDELEMENTGROUP", childNamed<CX_ADDELEMENTGROUP>},
    {"CX_ADDBINNEDELEMENT", call<kNode, CX_ADDBINNEDELEMENT, Chart, Node, Str, Str, Node, Node>},
    {"CX_ADDPOSITION", child<CX_ADDPOSITION>},
    {"CX_ADDX", childOf<CX_ADDX>},
    {"CX_ADDY", childOf<CX_ADDY>},
    {"CX_ADDZ", childOf<CX_ADDZ>},
    {"CX_ADDTHETA", childOf<CX_ADDTHETA>},
    {"CX_ADDCOLOR", childOf<CX_ADDCOLOR>},
    {"CX_ADDSPLIT", childOf<CX_ADDSPLIT>},
    {"CX_ADDSTYLEBY", childOf<CX_ADDSTYLEBY>},
    {"CX_ADDSTYLEBYCOLOR", childOf<CX_ADDSTYLEBYCOLOR>},
    {"CX_ADDSTYLEBYPATTERN", childOf<CX_ADDSTYLEBYPATTERN>},
    {"CX_ADDSTYLEBYCOLORANDPATTERN", childOf<CX_ADDSTYLEBYCOLORANDPATTERN>},
    {"CX_ADDLABEL", childNamedTwice<CX_ADDLABEL>},
    {"CX_ADDLABELING", childOf<CX_ADDLABELING>},
    {"CX_ADDLABELINGSUFFIX", call<kNode, CX_ADDLABELINGSUFFIX, Chart, Node, Node, Str>},
    {"CX_ADDLABELINGINSIDE", childOf<CX_ADDLABELINGINSIDE>},
    {"CX_ADDLABELINGAGGREGATE",
     call<kNode, CX_ADDLABELINGAGGREGATE, Chart, Node, Code, Code, Str, Str, Node>},
    {"CX_SETELEMENTDOT", setCode<CX_SETELEMENTDOT>},
    {"CX_SETELEMENTNAME", setText<CX_SETELEMENTNAME>},
    {"CX_SETELEMENTPOSITIONMODIFIER", setText<CX_SETELEMENTPOSITIONMODIFIER>},
    {"CX_SETLABELCOLLISIONHANDLING", setText<CX_SETLABELCOLLISIONHANDLING>},
    {"CX_SETDISPLAYOVERLAPPINGLABELS", setCode<CX_SETDISPLAYOVERLAPPINGLABELS>},
    {"CX_ADDCOORDINATETRANSFORM", childNamed<CX_ADDCOORDINATETRANSFORM>},
    {"CX_ADDDIMENSION", call<kNode, CX_ADDDIMENSION, Chart, Node, Code, Node>},
    {"CX_GETDIMENSION", call<kNode, CX_GETDIMENSION, Chart, Node, Code>},
    {"CX_SETDIMENSIONDOMAIN", call<kNone, CX_SETDIMENSIONDOMAIN, Chart, Node, Node>},
    {"CX_SETDIMENSIONLOWERMAPPING", setText<CX_SETDIMENSIONLOWERMAPPING>},
    {"CX_SETDIMENSIONUPPERMAPPING", setText<CX_SETDIMENSIONUPPERMAPPING>},
    {"CX_SETDIMENSIONUPPER", setText<CX_SETDIMENSIONUPPER>},
    {"CX_SETDIMENSIONLOWERMARGIN", setText<CX_SETDIMENSIONLOWERMARGIN>},
    {"CX_SETDIMENSIONUPPERMARGIN", setText<CX_SETDIMENSIONUPPERMARGIN>},
    {"CX_SETDIMENSIONSAMERATIO", setCode<CX_SETDIMENSIONSAMERATIO>},
    {"CX_SETUNIONDOMAIN", onNode<CX_SETUNIONDOMAIN>},
    {"CX_SETDIMENSIONSCALE", call<kNode, CX_SETDIMENSIONSCALE, Chart, Node, Str, Str, Code>},
    {"CX_SETXYDIMENSIONSAMESCALE", call<kNone, CX_SETXYDIMENSIONSAMESCALE, Chart, Real>},
    {"CX_ADDDIMENSIONAXIS", call<kNode, CX_ADDDIMENSIONAXIS, Chart, Node, Code, Code, Code, OutNode,
                                 OutNode, Str, Str, Str, Str>},
    {"CX_ADDXYDIMENSION",
     call<kNode, CX_ADDXYDIMENSION, Chart, Node, Code, Code, Code, Code, OutNode, OutNode, OutNode,
          OutNode, Str, Str, Str, Str, Str, Str, Str, Str>},
    {"CX_ADDXYDIMENSIONWITHAXIS", call<kNode, CX_ADDXYDIMENSIONWITHAXIS, Chart, Node, Code, Code,
                                       Code, Code, OutNode, OutNode, OutNode, OutNode>},
    {"CX_ADDXYDIMAXISWITHSAMERATIO",
     call<kNode, CX_ADDXYDIMAXISWITHSAMERATIO, Chart, Node, Code, Code, Code, Code, Code, OutNode,
          OutNode, OutNode, OutNode>},
    {"CX_ADDXYZBACKPLANES", onNode<CX_ADDXYZBACKPLANES>},
    {"CX_ADDXYZWIREFRAME", onNode<CX_ADDXYZWIREFRAME>},
    {"CX_ADDAXIS", childNamedCode<CX_ADDAXIS>},
    {"CX_ADDMAJORTICKS",
     call<kNode, CX_ADDMAJORTICKS, Chart, Node, Str, Code, Str, Code, Code, Str>},
    {"CX_ADDMINORTICKS", call<kNode, CX_ADDMINORTICKS, Chart, Node, Str, Code, Str, Code>},
    {"CX_SETAXISPERCENT", call<kNone, CX_SETAXISPERCENT, Chart, Node, Node>},
    {"CX_ADDGUIDE", childNamedTwice<CX_ADDGUIDE>},
    {"CX_ADDXREFERENCELINE", childNamedCode<CX_ADDXREFERENCELINE>},
    {"CX_ADDYREFERENCELINE", childNamedCode<CX_ADDYREFERENCELINE>},
    {"CX_ADDLEGEND", childNamed<CX_ADDLEGEND>},
    {"CX_ADDLEGENDTARGETEX", call<kNode, CX_ADDLEGENDTARGETEX, Chart, Node, Node, Node, Str>},
    {"CX_ADDLEGENDFRAME",
     call<kNode, CX_ADDLEGENDFRAME, Chart, Node, Node, Code, Str, Ignored, OutNode, OutNode>},
    {"CX_ADDLEGENDFRAMEEX",
     call<kNode, CX_ADDLEGENDFRAMEEX, Chart, Node, Node, Code, Node, OutNode, OutNode>},
    {"CX_ADDYOFXLINEAR", curve<CX_ADDYOFXLINEAR>},
    {"CX_ADDYOFXLOGARITHMIC", curve<CX_ADDYOFXLOGARITHMIC>},
    {"CX_ADDYOFXINVERSE", curve<CX_ADDYOFXINVERSE>},
    {"CX_ADDYOFXQUADRATIC",
     call<kNode, CX_ADDYOFXQUADRATIC, Chart, Node, Code, Real, Real, Real, Code>},
    {"CX_ADDYOFXCUBIC",
     call<kNode, CX_ADDYOFXCUBIC, Chart, Node, Code, Real, Real, Real, Real, Code>},
    {"CX_ADDYOFXCOMPOUND", curve<CX_ADDYOFXCOMPOUND>},
    {"CX_ADDYOFXPOWER", curve<CX_ADDYOFXPOWER>},
    {"CX_ADDYOFXS", curve<CX_ADDYOFXS>},
    {"CX_ADDYOFXGROWTH", curve<CX_ADDYOFXGROWTH>},
    {"CX_ADDYOFXEXPONENTIAL", curve<CX_ADDYOFXEXPONENTIAL>},
    {"CX_ADDYOFXLOGISTIC",
     call<kNode, CX_ADDYOFXLOGISTIC, Chart, Node, Code, Real, Real, Real, Code>},
    {"CX_ADDYFUNCTIONOFX", childNamedCode<CX_ADDYFUNCTIONOFX>},
    {"CX_ADDCOORDINATEFACET", child<CX_ADDCOORDINATEFACET>},
    {"CX_ADDCROSS", child<CX_ADDCROSS>},
    {"CX_ADDNEST", child<CX_ADDNEST>},
    {"CX_ADDBLEND", child<CX_ADDBLEND>},
    {"CX_ADDFACETVARIABLE", call<kNode, CX_ADDFACETVARIABLE, Chart, Node, Code, Node>},
    {"CX_ADDTABLEFACET", child<CX_ADDTABLEFACET>},
    {"CX_ADDFACETLABELING", child<CX_ADDFACETLABELING>},
    {"CX_SETFACETLABELINGCELLASPECT",
     call<kNone, CX_SETFACETLABELINGCELLASPECT, Chart, Node, Real>},
    {"CX_ADDFACETLABEL", call<kNode, CX_ADDFACETLABEL, Chart, Node, Str, Code, Code>},
    {"CX_GETFACETLABEL", call<kNode, CX_GETFACETLABEL, Chart, Node, Code>},
    {"CX_SETFACETLABELCELLSTYLE", setText<CX_SETFACETLABELCELLSTYLE>},
    {"CX_SETFACETLABELGAP", setText<CX_SETFACETLABELGAP>},
    {"CX_SETFACETLABELLEVEL", setCode<CX_SETFACETLABELLEVEL>},
    {"CX_ADDSPLOMELEMENT", call<kNode, CX_ADDSPLOMELEMENT, Chart, Node, Handles, OutNode>},
    {"CX_ADDSPLOMELEMENTEX", call<kNode, CX_ADDSPLOMELEMENTEX, Chart, Node, Handles, OutNode, Str,
                                  Str, Str, Str, Str, Str, Str, Str>},
    {"CX_ADDDOMAIN", call<kNode, CX_ADDDOMAIN, Chart, Ignored, Ignored, Code, Str>},
    {"CX_ADDDOMAINREFERENCE", childOf<CX_ADDDOMAINREFERENCE>},
    {"CX_ADDINTERVALEX", childNamedTwice<CX_ADDINTERVALEX>},
    {"CX_SETDOMAINDESCENDING", setCode<CX_SETDOMAINDESCENDING>},
    {"CX_ADDSORT", child<CX_ADDSORT>},
    {"CX_SETSORTDESCENDING", setCode<CX_SETSORTDESCENDING>},
    {"CX_ADDSIMPLESORT", child<CX_ADDSIMPLESORT>},
    {"CX_SETSIMPLESORTMETHOD", setText<CX_SETSIMPLESORTMETHOD>},
    {"CX_ADDSTATISTICSORT", call<kNode, CX_ADDSTATISTICSORT, Chart, Node, Node, Node>},
    {"CX_ADDSTATISTIC", childNamed<CX_ADDSTATISTIC>},
    {"CX_ADDPARAM", childNamedTwice<CX_ADDPARAM>},
    {"CX_SETBINWIDTH", call<kNone, CX_SETBINWIDTH, Chart, Real>},
    {"CX_SETSUMMARYFUNCTION", call<kNone, CX_SETSUMMARYFUNCTION, Chart, Node, Code, Real, Real>},
    {"CX_ADDAGGREGATE", call<kNode, CX_ADDAGGREGATE, Chart, Node, Code, Code, Str, Str, Node>},
    {"CX_ADDWEIGHTAGGREGATE", childNamedTwice<CX_ADDWEIGHTAGGREGATE>},
    {"CX_SETAGGREGATEEXTERNAL", onNode<CX_SETAGGREGATEEXTERNAL>},
    {"peek", peek},
    {"clear", clearHost},
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // FUZZ_CX_TRACE=1 names each call played and its result, and echoes the
  // host's reports: for reading what a crashing input does.
  const char* traceSetting = std::getenv("FUZZ_CX_TRACE");
  trace = traceSetting != nullptr && *traceSetting != '\0' && *traceSetting != '0';
  cxh_set_quiet(trace ? 0 : 1);
  cxh_set_output_dir(nullptr);
  ::unsetenv("CHARTXML_OUTPUT");  // sent charts stay in memory, whatever the caller's setting
  cxh_set_string_tables(CHARTXML_FUZZ_STRINGS_DIR);
  // Held for the whole run, so that an instance's end does not take the XML
  // platform down and the next one build it again: that would cost most of
  // the time of a short input. Inputs with bit 7 of their settings let go.
  xercesc::XMLPlatformUtils::Initialize();

  const char* tmp = std::getenv("TMPDIR");
  std::string pattern =
      std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/chartxml_fuzz_cx_XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) {
    std::perror("fuzz_cx: mkdtemp");
    std::exit(1);
  }
  source.folder = pattern;
  source.csv = source.folder + "/data.csv";
  if (!writeFile(source.csv, kCsv) || !writeFile(source.csv + ".dict.json", kDictionary)) {
    std::fprintf(stderr, "fuzz_cx: cannot write %s\n", source.csv.c_str());
    std::exit(1);
  }
  source.table = cxh_open_csv(source.csv.c_str());
  const std::int64_t columns[] = {3, 2, 1, 0};
  source.procedure = cxh_dictionary(source.table, columns, 4);
  std::atexit(removeFiles);
  if (source.table == nullptr || source.procedure == nullptr) {
    std::fprintf(stderr, "fuzz_cx: the data source does not open: %s\n",
                 cxh_report_count() > 0 ? cxh_report_message(cxh_report_count() - 1) : "");
    std::exit(1);
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Player player(data, size);
  const std::uint8_t settings = player.byte();
  cxh_set_language(kLanguages[settings & 3]);
  cxh_set_code_page(kCodePages[(settings >> 2) & 7]);

  // The instance's data source, as a procedure would give it.
  VORN_FortranDictionary* dictionary = nullptr;
  void* area = nullptr;
  switch ((settings >> 5) & 3) {
    case 0:
      dictionary = static_cast<VORN_FortranDictionary*>(source.table);
      area = reinterpret_cast<void*>(~std::uintptr_t{0});
      break;
    case 1:
      dictionary = static_cast<VORN_FortranDictionary*>(source.procedure);
      break;
    case 2:
      break;
    default:
      dictionary = static_cast<VORN_FortranDictionary*>(source.procedure);
      area = &dictionary;
  }
  const bool platformWithInstance = (settings & 0x80) != 0;
  if (platformWithInstance) xercesc::XMLPlatformUtils::Terminate();
  const std::int64_t nameLength = 4;
  CX_INIT(area, &dictionary, "FUZZ", &nameLength);

  for (std::size_t played = 0; played < kMaxOperations && !player.done(); ++played) {
    const Operation& operation = kOperations[player.byte() % std::size(kOperations)];
    operation.play(player);
    if (trace) {
      std::fprintf(stderr, "%s -> %lld\n", operation.name, static_cast<long long>(player.result()));
    }
  }

  CX_TERMINATE();
  if (platformWithInstance) xercesc::XMLPlatformUtils::Initialize();
  cxh_clear_sent();
  cxh_clear_reports();
  cxh_clear_debug();
  return 0;
}
