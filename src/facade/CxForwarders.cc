// The plain entry points, made from their lines in CxOperations.def: each
// checks its argument addresses and forwards to its ChartXml operation (see
// CxArguments.h for the frame every entry point runs in).
#include "chartxml/cx.h"
#include "facade/CxArguments.h"

using chartxml::cx::call;
using chartxml::cx::DataArea;
using chartxml::cx::Text;

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

#define CX_FORWARD(NAME, OPERATION, ...)                                \
  int64_t CX_##NAME(CX_PARAMS(__VA_ARGS__)) {                           \
    return call(__func__, &ChartXml::OPERATION CX_PASSES(__VA_ARGS__)); \
  }
#define CX_STEPS(NAME)

extern "C" {
#include "facade/CxOperations.def"
}
