// How the CX_ entry points read and write their arguments, and the one frame
// every entry point runs in (argument checks, the instance, no exception out).
//
// Every argument arrives by address. Integers, handles and codes are 64-bit
// of which the low 32 bits count; logicals are true when any of the 64 bits is
// set; texts are exactly `length` bytes (no terminator, nothing trimmed);
// outputs and results are 32-bit values sign-extended to 64 bits.
#ifndef CHARTXML_FACADE_CXARGUMENTS_H_
#define CHARTXML_FACADE_CXARGUMENTS_H_

#include <cstdint>
#include <exception>
#include <new>
#include <string>

#include "chartxml/ChartXml.h"
#include "chartxml/host/ChartErrorHandler.h"
#include "chartxml/host/ChartException.h"
#include "chartxml/host/Platform.h"
#include "common/SourceNames.h"

namespace chartxml::cx {

// The low 32 bits as a signed value: a 64-bit host integer that a 32-bit
// operation reads.
inline int integer(const std::int64_t* value) {
  return static_cast<int>(static_cast<std::int32_t>(static_cast<std::uint32_t>(*value)));
}

inline bool logical(const std::int64_t* value) {
  return *value != 0;
}

// An optional integer is "not given" when all 64 bits read -1.
inline bool given(std::int64_t value) {
  return value != -1;
}

// Writes a handle back and passes it on, so that a step can write and test.
inline int put(std::int64_t* out, int handle) {
  *out = handle;
  return handle;
}

// A text argument: its first byte and the address of its length in bytes.
struct Text {
  const char* bytes;
  const std::int64_t* length;
  std::string str() const { return std::string(bytes, static_cast<std::size_t>(*length)); }
};

// The host's data area: a value, not an argument address, so it may be null.
struct DataArea {
  void* address;
};

// Reports a refused or failed call with the facade's source name. The
// instance's own handler may not exist (that can be the failure), and every
// handler writes to the same host log.
inline void report(const std::string& message, int line) {
  ChartErrorHandler().error(ChartException(message, kFacadeSource, line));
}

inline bool usable(const char* entry, const void* address) {
  if (address != nullptr) return true;
  report(std::string("null argument address for ") + entry, __LINE__);
  return false;
}

inline bool usable(const char* entry, const Text& text) {
  if (!usable(entry, text.bytes) || !usable(entry, text.length)) return false;
  if (*text.length >= 0) return true;
  report(std::string("negative text length for ") + entry, __LINE__);
  return false;
}

inline bool usable(const char*, const DataArea&) {
  return true;
}

// Runs body() so that nothing but the host's own unwinding leaves it: any
// other exception is reported and becomes -1.
template <class Body>
std::int64_t guarded(const char* entry, Body body) {
  try {
    return body();
  } catch (const VornGoToCaller&) {
    throw;  // the host's control flow, not a failure of ours
  } catch (const std::bad_alloc&) {
    report(std::string("out of memory in ") + entry, __LINE__);
  } catch (const std::exception& e) {
    report(std::string("internal error in ") + entry + " - " + e.what(), __LINE__);
  } catch (...) {
    report(std::string("internal error in ") + entry, __LINE__);
  }
  return -1;
}

// The frame of an entry point: every argument checked before anything is
// read, then body(instance) under guard.
template <class Body, class... Args>
std::int64_t run(const char* entry, Body body, const Args&... args) {
  if (!(usable(entry, args) && ...)) return -1;
  return guarded(entry, [&]() -> std::int64_t {
    ChartXml* instance = ChartXml::GetInstance();
    if (instance == nullptr) {
      report(std::string("no chart instance for ") + entry, __LINE__);
      return -1;
    }
    return body(*instance);
  });
}

// One argument converted to the type of the operation's parameter; a C
// signature that does not fit the operation fails to compile here.
template <class Parameter>
struct As;
template <>
struct As<int> {
  static int from(const std::int64_t* value) { return integer(value); }
};
template <>
struct As<long> {
  static long from(const std::int64_t* value) { return integer(value); }
};
template <>
struct As<bool> {
  static bool from(const std::int64_t* value) { return logical(value); }
};
template <>
struct As<double> {
  static double from(const double* value) { return *value; }
};
template <>
struct As<const double&> {
  static const double& from(const double* value) { return *value; }
};
template <>
struct As<const std::string&> {
  static std::string from(const Text& text) { return text.str(); }
};
template <>
struct As<void*> {
  static void* from(const DataArea& data) { return data.address; }
};
template <>
struct As<VORN_FortranDictionary*&> {
  static VORN_FortranDictionary*& from(VORN_FortranDictionary** dictionary) { return *dictionary; }
};

// A plain forwarder: the operation with the arguments in the same order.
template <class... Parameters, class... Args>
std::int64_t call(const char* entry, int (ChartXml::*operation)(Parameters...),
                  const Args&... args) {
  static_assert(sizeof...(Parameters) == sizeof...(Args), "one argument per parameter");
  return run(
      entry,
      [&](ChartXml& instance) -> std::int64_t {
        return (instance.*operation)(As<Parameters>::from(args)...);
      },
      args...);
}

}  // namespace chartxml::cx

#endif  // CHARTXML_FACADE_CXARGUMENTS_H_
