/* The version of the chartxml libraries these headers belong to: a caller
 * compiled against them can check what it was built with. The build's own
 * version (its shared libraries' names, chartxml --version) must be the same,
 * which the tool's tests check. */
#ifndef CHARTXML_VERSION_H_
#define CHARTXML_VERSION_H_

#define CHARTXML_VERSION_MAJOR 0
#define CHARTXML_VERSION_MINOR 1
#define CHARTXML_VERSION_PATCH 0
#define CHARTXML_VERSION_STRING "0.1.0"
/* One number that orders versions: 10000 * major + 100 * minor + patch. */
#define CHARTXML_VERSION_NUMBER \
  (10000 * CHARTXML_VERSION_MAJOR + 100 * CHARTXML_VERSION_MINOR + CHARTXML_VERSION_PATCH)

#endif /* CHARTXML_VERSION_H_ */
