// Code-page names as ICU knows them (internal). The transcoder and the CSV
// reader open code pages through this one table, so that a file and the
// library read a code page alike.
#ifndef CHARTXML_HOST_CHARTUTL_ICUCODEPAGES_H_
#define CHARTXML_HOST_CHARTUTL_ICUCODEPAGES_H_

#include <string>

namespace cxhost {

// The ICU converter name for `codePage`: the Windows tables for the Windows
// code-page names whose ICU alias is missing or names a different (IBM)
// table; else `codePage` itself. The result lives as long as `codePage`.
const char* icuCodePageName(const std::string& codePage);

}  // namespace cxhost

#endif  // CHARTXML_HOST_CHARTUTL_ICUCODEPAGES_H_
