// FacSTDictionary: the host's string tables, which translate message keys
// into the output language.
//
// Layout on disk, under a string-table folder:
//   LANG/global.txt        the global table of language LANG ("en", "ja", ...)
//   LANG/PROCEDURE.txt     a procedure's own table, looked up first
// Each line is KEY<TAB>text (UTF-8); lines starting with '#' and blank lines
// are skipped; a line without a tab, or with an empty key, is skipped and
// reported with its file and line number, and bytes that are not UTF-8 become
// U+FFFD and are reported the same way. A leading UTF-8 byte-order mark and
// CRLF line ends are accepted. A text may hold the two characters backslash
// and 'n'.
//
// A key missing from the current language falls back to "en"; the companion
// (English) text always comes from "en". LookUp returns its texts encoded in
// the code page that the current output language selects (ru CP1251, pl
// CP1250, zh-tw CP950, zh-cn CP936, ko CP949, ja CP932, others CP1252), so
// that a transcoder for that code page turns them back into characters.
//
// The output language is read from OLang when a table is (re)loaded. A
// missing procedure table, or a missing LANG/global.txt beside en/global.txt,
// leaves that table empty. A folder with neither LANG/global.txt nor
// en/global.txt has no tables at all: that is reported once, as "no string
// tables in FOLDER: ...", and every look-up misses. Not thread-safe.
#ifndef CHARTXML_HOST_FACSTDICTIONARY_H_
#define CHARTXML_HOST_FACSTDICTIONARY_H_

#include <memory>
#include <string>

#include "chartxml/export.h"

class CHARTXML_HOST_EXPORT FacSTDictionary {
 public:
  // `stringTablePath`: the string-table folder; the global tables are loaded.
  explicit FacSTDictionary(const std::string& stringTablePath);
  ~FacSTDictionary();
  FacSTDictionary(const FacSTDictionary&) = delete;
  FacSTDictionary& operator=(const FacSTDictionary&) = delete;

  // Selects the global tables: `path` is a string-table folder, or a file
  // holding one language's global table. A file serves as the output
  // language's global table; "en" and procedure tables then still come from
  // the folder selected before.
  void SetGlobalStringTable(const std::string& path);
  // Selects the procedure's own tables (LANG/NAME.txt under the folder); an
  // empty name selects none. A name that could leave the folder (holding '/',
  // '\\' or "..", or starting with '.') is reported and selects none.
  // Returns the path of the procedure table that was loaded for the output
  // language, or "" when there is none; the reference stays valid until the
  // next call.
  const std::string& SetProcedure(const std::string& name);

  // Looks `key` up: procedure table, then global table, of the output
  // language, then of "en". On a hit, `text` is the translation and
  // `companion` the English text (the translation when "en" lacks the key),
  // both in the output language's code page. On a miss both are the key
  // itself and the result is false.
  bool LookUp(const std::string& key, std::string& text, std::string& companion) const;

 private:
  struct Tables;
  std::unique_ptr<Tables> tables_;
};

#endif  // CHARTXML_HOST_FACSTDICTIONARY_H_
