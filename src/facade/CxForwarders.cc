// The plain entry points, made from their lines in CxOperations.def: each
// checks its argument addresses and forwards to its ChartXml operation (see
// CxArguments.h for the frame every entry point runs in).
//
// The per-case entry points (rows and data values) run once per case and
// variable, so they first try a fast lane: with every address given, the
// instance alive and the chart the one resolved last, the chart's operation
// runs inline (the feed's store is inline too, see VarDataProcessor.h) where
// it can neither fail, report nor throw. Anything else takes the full path,
// unchanged, so every refusal and report is the full path's own.
#include "chartxml/cx.h"
#include "facade/CxArguments.h"
#include "facade/Forward.h"

using chartxml::cx::call;
using chartxml::cx::DataArea;
using chartxml::cx::integer;
using chartxml::cx::Text;

// Each entry point's tag (CX_FORWARD declares one per line of
// CxOperations.def); these have a fast lane.
struct CxTag_ADDROW;
struct CxTag_ADDDATAVALUE;
struct CxTag_ADDDOUBLEDATAVALUE;

namespace {

// The fast lane of an entry point, by its name's tag (most have none): run
// returning false (nothing done) sends the call down the full path.
template <class Tag>
struct Fast {
  static constexpr bool kLane = false;
};

// The chart a handle names when it is the one resolved last; else null, and
// the full path resolves (and reports).
[[gnu::always_inline]] inline Chart* lastChartNamed(const std::int64_t* chart) {
  if (ChartXml::_instance == nullptr) return nullptr;
  const chartxml::ResolvedChart& last = chartxml::lastResolved;
  return integer(chart) == last.handle ? last.chart : nullptr;
}

template <>
struct Fast<CxTag_ADDROW> {
  static constexpr bool kLane = true;
  static bool run(std::int64_t& result, const std::int64_t* chart,
                  const std::int64_t* source) noexcept {
    if (chart == nullptr || source == nullptr) return false;
    Chart* target = lastChartNamed(chart);
    int rows = 0;
    if (target == nullptr || !target->tryAddRow(rows)) return false;
    result = rows;
    return true;
  }
};

template <>
struct Fast<CxTag_ADDDATAVALUE> {
  static constexpr bool kLane = true;
  static bool run(std::int64_t& result, const std::int64_t* chart, const std::int64_t* source,
                  const std::int64_t* variable, const std::int64_t* text) noexcept {
    if (chart == nullptr || source == nullptr || variable == nullptr || text == nullptr) {
      return false;
    }
    Chart* target = lastChartNamed(chart);
    if (target == nullptr || integer(text) == -1 ||
        !target->tryAddDataValue(integer(variable), integer(text))) {
      return false;
    }
    result = 0;
    return true;
  }
};

template <>
struct Fast<CxTag_ADDDOUBLEDATAVALUE> {
  static constexpr bool kLane = true;
  static bool run(std::int64_t& result, const std::int64_t* chart, const std::int64_t* source,
                  const std::int64_t* variable, const double* value) noexcept {
    if (chart == nullptr || source == nullptr || variable == nullptr || value == nullptr) {
      return false;
    }
    Chart* target = lastChartNamed(chart);
    if (target == nullptr || !target->tryAddDoubleDataValue(integer(variable), *value)) {
      return false;
    }
    result = 0;
    return true;
  }
};

// The full path, out of line so that the fast lane keeps its arguments in
// registers.
template <class Operation, class... Args>
[[gnu::noinline, gnu::cold]] std::int64_t fullPath(const char* entry, Operation operation,
                                                   Args... args) {
  return call(entry, operation, args...);
}

// The fast lane, then the full path: the operation with its arguments (whose
// instantiation checks that the C signature fits the operation).
template <class Tag, class Operation, class... Args>
[[gnu::always_inline]] inline std::int64_t forward(const char* entry, Operation operation,
                                                   const Args&... args) {
  if constexpr (!Fast<Tag>::kLane) {
    return call(entry, operation, args...);
  } else {
    std::int64_t result;
    if (Fast<Tag>::run(result, args...)) [[likely]]
      return result;
    return fullPath(entry, operation, args...);
  }
}

}  // namespace

// Argument number n of each kind: its C parameters, then what the operation
// is passed (with the comma before it).
// clang-format off
#define CX_PARAM_I(n) const int64_t* a##n
#define CX_PARAM_D(n) const double* a##n
#define CX_PARAM_T(n) const char* a##n, const int64_t* a##n##Length
#define CX_PARAM_A(n) void* a##n
#define CX_PARAM_Y(n) VORN_FortranDictionary** a##n
#define CX_PARAM_X(n) const void*
#define CX_PASS_I(n) , a##n
#define CX_PASS_D(n) , a##n
#define CX_PASS_T(n) , Text{a##n, a##n##Length}
#define CX_PASS_A(n) , DataArea{a##n}
#define CX_PASS_Y(n) , a##n
#define CX_PASS_X(n)
// clang-format on

// Counts up to ten kinds, none included.
#define CX_COUNT(...) CX_COUNT_(__VA_OPT__(__VA_ARGS__, ) 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0)
#define CX_COUNT_(a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, n, ...) n
#define CX_JOIN(a, b) CX_JOIN_(a, b)
#define CX_JOIN_(a, b) a##b

#define CX_PARAMS(...) CX_JOIN(CX_PARAMS_, CX_COUNT(__VA_ARGS__))(__VA_ARGS__)
#define CX_PARAMS_0() void
#define CX_PARAMS_1(k1) CX_PARAM_##k1(1)
#define CX_PARAMS_2(k1, k2) CX_PARAMS_1(k1), CX_PARAM_##k2(2)
#define CX_PARAMS_3(k1, k2, k3) CX_PARAMS_2(k1, k2), CX_PARAM_##k3(3)
#define CX_PARAMS_4(k1, k2, k3, k4) CX_PARAMS_3(k1, k2, k3), CX_PARAM_##k4(4)
#define CX_PARAMS_5(k1, k2, k3, k4, k5) CX_PARAMS_4(k1, k2, k3, k4), CX_PARAM_##k5(5)
#define CX_PARAMS_6(k1, k2, k3, k4, k5, k6) CX_PARAMS_5(k1, k2, k3, k4, k5), CX_PARAM_##k6(6)
#define CX_PARAMS_7(k1, k2, k3, k4, k5, k6, k7) \
  CX_PARAMS_6(k1, k2, k3, k4, k5, k6), CX_PARAM_##k7(7)
#define CX_PARAMS_8(k1, k2, k3, k4, k5, k6, k7, k8) \
  CX_PARAMS_7(k1, k2, k3, k4, k5, k6, k7), CX_PARAM_##k8(8)
#define CX_PARAMS_9(k1, k2, k3, k4, k5, k6, k7, k8, k9) \
  CX_PARAMS_8(k1, k2, k3, k4, k5, k6, k7, k8), CX_PARAM_##k9(9)
#define CX_PARAMS_10(k1, k2, k3, k4, k5, k6, k7, k8, k9, k10) \
  CX_PARAMS_9(k1, k2, k3, k4, k5, k6, k7, k8, k9), CX_PARAM_##k10(10)

#define CX_PASSES(...) CX_JOIN(CX_PASSES_, CX_COUNT(__VA_ARGS__))(__VA_ARGS__)
#define CX_PASSES_0()
#define CX_PASSES_1(k1) CX_PASS_##k1(1)
#define CX_PASSES_2(k1, k2) CX_PASSES_1(k1) CX_PASS_##k2(2)
#define CX_PASSES_3(k1, k2, k3) CX_PASSES_2(k1, k2) CX_PASS_##k3(3)
#define CX_PASSES_4(k1, k2, k3, k4) CX_PASSES_3(k1, k2, k3) CX_PASS_##k4(4)
#define CX_PASSES_5(k1, k2, k3, k4, k5) CX_PASSES_4(k1, k2, k3, k4) CX_PASS_##k5(5)
#define CX_PASSES_6(k1, k2, k3, k4, k5, k6) CX_PASSES_5(k1, k2, k3, k4, k5) CX_PASS_##k6(6)
#define CX_PASSES_7(k1, k2, k3, k4, k5, k6, k7) CX_PASSES_6(k1, k2, k3, k4, k5, k6) CX_PASS_##k7(7)
#define CX_PASSES_8(k1, k2, k3, k4, k5, k6, k7, k8) \
  CX_PASSES_7(k1, k2, k3, k4, k5, k6, k7) CX_PASS_##k8(8)
#define CX_PASSES_9(k1, k2, k3, k4, k5, k6, k7, k8, k9) \
  CX_PASSES_8(k1, k2, k3, k4, k5, k6, k7, k8) CX_PASS_##k9(9)
#define CX_PASSES_10(k1, k2, k3, k4, k5, k6, k7, k8, k9, k10) \
  CX_PASSES_9(k1, k2, k3, k4, k5, k6, k7, k8, k9) CX_PASS_##k10(10)

#define CX_FORWARD(NAME, OPERATION, ...)                                                 \
  struct CxTag_##NAME;                                                                   \
  int64_t CX_##NAME(CX_PARAMS(__VA_ARGS__)) {                                            \
    return forward<CxTag_##NAME>(__func__, &ChartXml::OPERATION CX_PASSES(__VA_ARGS__)); \
  }
#define CX_STEPS(NAME)

extern "C" {
#include "facade/CxOperations.def"
}
