// Host settings (internal): the C API setter's value if set, else the
// environment variable, else the built-in default. An empty value, set or in
// the environment, counts as not set.
//
// The shipped string tables are those installed with the host library, found
// from the folder the library was loaded from, so that an install tree works
// wherever it is moved; in the build tree, the source tree's data/strings.
#ifndef CHARTXML_HOST_PLATFORM_SETTINGS_H_
#define CHARTXML_HOST_PLATFORM_SETTINGS_H_

#include <string>

namespace cxhost::settings {

std::string language();      // CHARTXML_LANG, default "en"
std::string codePage();      // CHARTXML_CODEPAGE, default "UTF-8"
std::string stringTables();  // CHARTXML_STRINGS, default the shipped tables
std::string outputDir();     // CHARTXML_OUTPUT, default "" (memory only)
bool bootstrapping();        // set only through cxh_set_bootstrapping
bool quiet();                // CHARTXML_QUIET=1, default false
bool validate();             // CHARTXML_VALIDATE=1, default false

// A file shipped with the host, such as "schema/chart.xsd", found as the
// string tables are (whether or not it exists).
std::string shippedDataFile(const char* relative);

// The code page that an output-language code selects for string-table texts.
const char* codePageForLanguage(const std::string& language);

// What the C API setters store. A null pointer forgets the value set before,
// so that the environment or the default applies again.
void setLanguage(const char* code);
void setCodePage(const char* name);
void setStringTables(const char* dir);
void setOutputDir(const char* dir);
void setBootstrapping(bool on);
// on < 0 forgets the value set before; otherwise quiet is on != 0.
void setQuiet(int on);
// The same for validate.
void setValidate(int on);

}  // namespace cxhost::settings

#endif  // CHARTXML_HOST_PLATFORM_SETTINGS_H_
