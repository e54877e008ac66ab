// The document printer: a sent chart's DOM written as indented UTF-8, against
// pugixml writing the same document to the same sink (when it is installed).
// A chart of 100,000
// elements (each an element with attributes, a child with a variable
// reference, and a label with text) stands for the widest documents sent.
// Prints the speed and exits non-zero when it misses its target.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#ifdef CHARTXML_BENCH_PUGIXML
#include <pugixml.hpp>
#endif

#include "bench_support.h"
#include "chartxml/host/ChartBase.h"
#include "chartxml/host/ChartPrinter.h"

namespace {

constexpr int kElements = 100000;
constexpr double kMinMegabytesPerSecond = 350;

// A sink that keeps nothing, so that the printer's own work is timed: the
// bytes pass through a 64 KiB buffer as into a file's.
class CountingSink : public std::streambuf {
 public:
  CountingSink() { setp(buffer_, buffer_ + sizeof buffer_); }
  std::size_t bytes() const { return bytes_ + static_cast<std::size_t>(pptr() - pbase()); }

 protected:
  int_type overflow(int_type c) override {
    drain();
    if (!traits_type::eq_int_type(c, traits_type::eof())) {
      *pptr() = traits_type::to_char_type(c);
      pbump(1);
    }
    return traits_type::not_eof(c);
  }
  std::streamsize xsputn(const char* s, std::streamsize n) override {
    for (std::streamsize done = 0; done < n;) {
      if (pptr() == epptr()) drain();
      const std::streamsize room = epptr() - pptr();
      const std::streamsize step = std::min(room, n - done);
      std::memcpy(pptr(), s + done, static_cast<std::size_t>(step));
      pbump(static_cast<int>(step));
      done += step;
    }
    return n;
  }

 private:
  void drain() {
    benchmark::DoNotOptimize(buffer_[0]);
    bytes_ += static_cast<std::size_t>(pptr() - pbase());
    setp(buffer_, buffer_ + sizeof buffer_);
  }
  char buffer_[1 << 16];
  std::size_t bytes_ = 0;
};

struct WideChart {
  WideChart() {
    document = ChartBase::createDocument(ChartBase::_utf8);
    xercesc::DOMElement* root = document->getDocumentElement();
    for (int i = 0; i < kElements; ++i) {
      const std::u16string id = u"element" + std::u16string(1, char16_t(u'0' + i % 10));
      xercesc::DOMElement* element = document->createElement(u"element");
      element->setAttribute(u"id", id.c_str());
      element->setAttribute(u"type", u"interval");
      element->setAttribute(u"style", u"fill:#336699;stroke:#000000;stroke-width:1px");
      xercesc::DOMElement* x = document->createElement(u"x");
      x->setAttribute(u"variable", u"source0_V1");
      element->appendChild(x);
      xercesc::DOMElement* label = document->createElement(u"label");
      label->appendChild(document->createTextNode(u"Sales & returns <2024> \u65E5\u672C"));
      element->appendChild(label);
      root->appendChild(element);
    }
  }
  ~WideChart() { ChartBase::releaseDocument(document); }
  xercesc::DOMDocument* document = nullptr;
};

WideChart& chart() {
  static WideChart wide;
  return wide;
}

std::string printed() {
  std::ostringstream out;
  ChartPrinter printer;
  printer.setPrintWhiteSpace(true);
  printer.Print(chart().document, out);
  return out.str();
}

void BM_Print(benchmark::State& state) {
  std::size_t bytes = 0;
  for (auto _ : state) {
    CountingSink sink;
    std::ostream out(&sink);
    ChartPrinter printer;
    printer.setPrintWhiteSpace(true);
    printer.Print(chart().document, out);
    bytes = sink.bytes();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_Print)->Unit(benchmark::kMillisecond)->MinTime(1.0);

#ifdef CHARTXML_BENCH_PUGIXML
// The anchor: the same chart in pugixml's DOM, saved indented as UTF-8.
class PugiSink : public pugi::xml_writer {
 public:
  explicit PugiSink(std::ostream& out) : out_(out) {}
  void write(const void* data, std::size_t size) override {
    out_.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
  }

 private:
  std::ostream& out_;
};

pugi::xml_document& pugiChart() {
  static pugi::xml_document document = [] {
    pugi::xml_document built;
    pugi::xml_node root = built.append_child("visualization");
    for (int i = 0; i < kElements; ++i) {
      const std::string id = "element" + std::string(1, static_cast<char>('0' + i % 10));
      pugi::xml_node element = root.append_child("element");
      element.append_attribute("id") = id.c_str();
      element.append_attribute("type") = "interval";
      element.append_attribute("style") = "fill:#336699;stroke:#000000;stroke-width:1px";
      element.append_child("x").append_attribute("variable") = "source0_V1";
      element.append_child("label").text() = "Sales & returns <2024> \u65E5\u672C";
    }
    return built;
  }();
  return document;
}

void BM_PugixmlAnchor(benchmark::State& state) {
  std::size_t bytes = 0;
  for (auto _ : state) {
    CountingSink sink;
    std::ostream out(&sink);
    PugiSink writer(out);
    pugiChart().save(writer, "  ", pugi::format_indent, pugi::encoding_utf8);
    out.flush();
    bytes = sink.bytes();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_PugixmlAnchor)->Unit(benchmark::kMillisecond)->MinTime(1.0);
#endif

}  // namespace

int main(int argc, char** argv) {
  xercesc::XMLPlatformUtils::Initialize();
  benchmark::Initialize(&argc, argv);
  chart();  // built before the timing starts
#ifdef CHARTXML_BENCH_PUGIXML
  pugiChart();
#endif
  bench::Recorder recorder;
  benchmark::RunSpecifiedBenchmarks(&recorder);

  bool ok = true;
  const double megabytes = static_cast<double>(printed().size()) / 1e6;
  const double print = recorder.of("BM_Print").real;
  std::printf("\n");
  if (print > 0) {
    std::printf("%-52s %10.1f MB\n", "document printed (100,000 elements)", megabytes);
    const double pugixml = recorder.of("BM_PugixmlAnchor").real;
    if (pugixml > 0) {
      std::printf("%-52s %10.1f MB/s\n", "pugixml printing the same chart (the anchor)",
                  megabytes / (pugixml / 1e3));
      std::printf("%-52s %10.2f x\n", "printing / pugixml", print / pugixml);
    }
    ok &= bench::checkAtLeast("printer speed", megabytes / (print / 1e3), kMinMegabytesPerSecond,
                              "MB/s");
  }
  // The platform stays up: the chart is released at exit, after main.
  return bench::verdict(ok);
}
