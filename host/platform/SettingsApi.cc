// The settings part of the host C API (chartxml_host.h).
#include "chartxml/chartxml_host.h"
#include "platform/Settings.h"

extern "C" {

void cxh_set_language(const char* code) {
  cxhost::settings::setLanguage(code);
}

void cxh_set_string_tables(const char* dir) {
  cxhost::settings::setStringTables(dir);
}

void cxh_set_code_page(const char* name) {
  cxhost::settings::setCodePage(name);
}

void cxh_set_bootstrapping(int on) {
  cxhost::settings::setBootstrapping(on != 0);
}

// A negative value forgets the setting, so CHARTXML_QUIET applies again.
void cxh_set_quiet(int on) {
  cxhost::settings::setQuiet(on);
}

// A negative value forgets the setting, so CHARTXML_VALIDATE applies again.
void cxh_set_validate(int on) {
  cxhost::settings::setValidate(on);
}

}  // extern "C"
