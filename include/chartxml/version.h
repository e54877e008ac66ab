/** \file
 * The version of the chartxml libraries these headers belong to: a caller
 * compiled against them can check what it was built with. The build's own
 * version (its shared libraries' names, chartxml --version) must be the same,
 * which the tool's tests check. */
#ifndef CHARTXML_VERSION_H_
#define CHARTXML_VERSION_H_

/** The major version: it changes, and with it the libraries' SONAME, when an
 * entry point or a structure's layout is removed or changed, or a contract
 * changes, so that a program built against the old one would misbehave. */
#define CHARTXML_VERSION_MAJOR 0
/** The minor version: it changes when something is added and nothing that
 * was there changes. */
#define CHARTXML_VERSION_MINOR 1
/** The patch version: fixes only, no new name. */
#define CHARTXML_VERSION_PATCH 0
/** The three numbers as text, "MAJOR.MINOR.PATCH", as chartxml --version
 * prints them. */
#define CHARTXML_VERSION_STRING "0.1.0"
/** One number that orders versions: 10000 * major + 100 * minor + patch. */
#define CHARTXML_VERSION_NUMBER \
  (10000 * CHARTXML_VERSION_MAJOR + 100 * CHARTXML_VERSION_MINOR + CHARTXML_VERSION_PATCH)

#endif /* CHARTXML_VERSION_H_ */
