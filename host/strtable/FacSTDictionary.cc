// String tables: UTF-8 KEY<TAB>text files, per language and per procedure.
#include "chartxml/host/FacSTDictionary.h"

#include <unicode/ucnv.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <unordered_map>

#include "chartutl/ReportLog.h"
#include "chartxml/host/Platform.h"
#include "platform/FileIo.h"
#include "platform/Settings.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kSource = "host/strtable";
constexpr const char* kEnglish = "en";
constexpr const char* kGlobalFile = "global.txt";

// Texts are kept as UTF-16 so that each look-up only has to encode.
using Table = std::unordered_map<std::string, std::u16string>;

// A procedure name or language code becomes a path component; anything
// that could climb out of the string-table folder is refused.
bool isPlainName(const std::string& name) {
  return !name.empty() && name.front() != '.' && name.find_first_of("/\\") == std::string::npos &&
         name.find("..") == std::string::npos && name.find('\0') == std::string::npos;
}

std::string location(const fs::path& file, int line) {
  return file.string() + ":" + std::to_string(line);
}

// Reports each problem once for as long as the tables live: tables are
// reloaded for every chart's procedure, and a broken line is one problem.
class Reporter {
 public:
  void operator()(const std::string& message, int line) const {
    if (said_.insert(message).second) cxhost::report(message, kSource, line);
  }

 private:
  mutable std::set<std::string> said_;
};

// The code points of `text` that `converter` cannot represent, as
// "U+4E2D, U+6587" (at most a few, then "...").
std::string unrepresentable(UConverter* converter, const std::u16string& text) {
  std::string list;
  int listed = 0;
  for (std::size_t i = 0; i < text.size();) {
    UChar32 c;
    const std::size_t start = i;
    U16_NEXT(text.data(), i, text.size(), c);
    UErrorCode status = U_ZERO_ERROR;
    char bytes[16];
    ucnv_reset(converter);
    ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    ucnv_fromUChars(converter, bytes, sizeof bytes, text.data() + start,
                    static_cast<int32_t>(i - start), &status);
    if (U_SUCCESS(status)) continue;
    if (listed == 8) {
      list += ", ...";
      break;
    }
    char code[16];
    std::snprintf(code, sizeof code, "U+%04X", static_cast<unsigned>(c));
    list += (listed++ > 0 ? ", " : "") + std::string(code);
  }
  return list;
}

// Reads one table file into `table`; a missing file leaves it empty.
void loadTable(const fs::path& file, Table& table, const Reporter& report) {
  table.clear();
  std::string content;
  if (const int error = cxio::readWholeFile(file.string(), content)) {
    // A language without a table of its own is normal; any other failure
    // to read one is a fault worth knowing.
    if (error != ENOENT) report(file.string() + ": cannot read: " + cxio::errorText(error), 0);
    return;
  }
  std::size_t pos = content.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
  int lineNumber = 0;
  while (pos < content.size()) {
    std::size_t end = content.find('\n', pos);
    if (end == std::string::npos) end = content.size();
    std::string_view line(content.data() + pos, end - pos);
    pos = end + 1;
    ++lineNumber;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.empty() || line.front() == '#' ||
        line.find_first_not_of(" \t") == std::string_view::npos) {
      continue;
    }
    const std::size_t tab = line.find('\t');
    if (tab == std::string_view::npos || tab == 0) {
      report(location(file, lineNumber) + ": string table line without KEY<TAB>text", lineNumber);
      continue;
    }
    const std::string_view text = line.substr(tab + 1);
    UErrorCode status = U_ZERO_ERROR;
    int32_t substitutions = 0;
    int32_t length = 0;
    std::u16string wide(text.size(), u'\0');  // UTF-16 never needs more units than UTF-8 bytes
    u_strFromUTF8WithSub(wide.data(), static_cast<int32_t>(wide.size()), &length, text.data(),
                         static_cast<int32_t>(text.size()), 0xFFFD, &substitutions, &status);
    if (U_FAILURE(status)) continue;
    wide.resize(static_cast<std::size_t>(length));
    if (substitutions > 0) {
      report(location(file, lineNumber) +
                 ": string table text is not valid UTF-8; its invalid bytes became U+FFFD",
             lineNumber);
    }
    table.insert_or_assign(std::string(line.substr(0, tab)), std::move(wide));
  }
}

const std::u16string* find(const Table& table, const std::string& key) {
  const auto it = table.find(key);
  return it == table.end() ? nullptr : &it->second;
}

}  // namespace

struct FacSTDictionary::Tables {
  fs::path folder;      // the string-table folder
  fs::path globalFile;  // a file given for the output language's global table, if any
  std::string procedure;
  std::string procedurePath;
  std::string language;
  std::string codePage;
  // When the output language is English only the English tables are filled.
  Table procedureLocal, globalLocal, procedureEnglish, globalEnglish;
  std::unique_ptr<UConverter, decltype(&ucnv_close)> converter{nullptr, &ucnv_close};
  Reporter report;

  // Takes the output language as it is now and opens its code page.
  void readLanguage() {
    std::string code = OLang().GetLanguageCode();
    if (code.empty()) code = kEnglish;
    if (code == language && converter) return;
    if (!isPlainName(code)) {
      report("output language \"" + code + "\" is not a plain name; using English only", 0);
    }
    language = code;
    codePage = cxhost::settings::codePageForLanguage(language);
    UErrorCode status = U_ZERO_ERROR;
    converter.reset(ucnv_open(codePage.c_str(), &status));
    if (U_FAILURE(status)) {
      report("cannot open code page " + codePage + " for string tables", 0);
      converter.reset();
      return;
    }
    // '?' rather than the code page's own substitute, which is a control
    // character (0x1A) in many: XML cannot carry that, and a label holding it
    // would be lost whole.
    if (ucnv_getType(converter.get()) != UCNV_UTF8) {
      status = U_ZERO_ERROR;
      ucnv_setSubstString(converter.get(), u"?", 1, &status);
    }
  }

  bool englishOnly() const { return language == kEnglish || !isPlainName(language); }

  // Without a global table every text would go out as its bare key (a
  // chart titled "E61219Cylinders"): that is an error, told once per folder
  // and language, never a quiet fallback.
  void checkFolder() const {
    if (!globalFile.empty()) return;
    std::error_code ec;
    const fs::path english = fs::path(kEnglish) / kGlobalFile;
    if (fs::is_regular_file(folder / english, ec)) return;
    std::string missing = english.string() + " is not there";
    if (!englishOnly()) {
      const fs::path local = fs::path(language) / kGlobalFile;
      if (fs::is_regular_file(folder / local, ec)) return;
      missing = "neither " + local.string() + " nor " + english.string() + " is there";
    }
    report("no string tables in " + folder.string() + ": " + missing +
               ", so texts would show their keys; CHARTXML_STRINGS or cxh_set_string_tables "
               "names the folder that holds them",
           0);
  }

  void loadGlobal() {
    checkFolder();
    loadTable(globalFile.empty() || !englishOnly() ? folder / kEnglish / kGlobalFile : globalFile,
              globalEnglish, report);
    if (englishOnly()) {
      globalLocal.clear();
    } else {
      loadTable(globalFile.empty() ? folder / language / kGlobalFile : globalFile, globalLocal,
                report);
    }
  }

  void loadProcedure() {
    procedurePath.clear();
    procedureLocal.clear();
    procedureEnglish.clear();
    if (procedure.empty()) return;
    const std::string fileName = procedure + ".txt";
    const fs::path english = folder / kEnglish / fileName;
    loadTable(english, procedureEnglish, report);
    const fs::path local = englishOnly() ? english : folder / language / fileName;
    if (!englishOnly()) loadTable(local, procedureLocal, report);
    std::error_code ec;
    if (fs::is_regular_file(local, ec)) procedurePath = local.string();
  }

  // Encodes a table text into the output language's code page; characters
  // the code page lacks become its substitution character and are reported.
  std::string encode(const std::u16string& text, const std::string& key) const {
    if (!converter) {
      std::string utf8;
      UErrorCode status = U_ZERO_ERROR;
      int32_t length = 0;
      utf8.resize(text.size() * 3);
      u_strToUTF8WithSub(utf8.data(), static_cast<int32_t>(utf8.size()), &length, text.data(),
                         static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &status);
      utf8.resize(U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
      return utf8;
    }
    std::string out;
    if (convert(text, UCNV_FROM_U_CALLBACK_STOP, out)) return out;
    report("string table text of " + key + " has characters that " + codePage +
               " cannot represent (" + unrepresentable(converter.get(), text) +
               "); they became '?'",
           0);
    convert(text, UCNV_FROM_U_CALLBACK_SUBSTITUTE, out);
    return out;
  }

  bool convert(const std::u16string& text, UConverterFromUCallback callback,
               std::string& out) const {
    UErrorCode status = U_ZERO_ERROR;
    ucnv_reset(converter.get());
    ucnv_setFromUCallBack(converter.get(), callback, nullptr, nullptr, nullptr, &status);
    const auto length = static_cast<int32_t>(text.size());
    out.resize(static_cast<std::size_t>(
        UCNV_GET_MAX_BYTES_FOR_STRING(length, ucnv_getMaxCharSize(converter.get()))));
    const int32_t written =
        ucnv_fromUChars(converter.get(), out.data(), static_cast<int32_t>(out.size()), text.data(),
                        length, &status);
    out.resize(U_SUCCESS(status) ? static_cast<std::size_t>(written) : 0);
    return U_SUCCESS(status);
  }
};

FacSTDictionary::FacSTDictionary(const std::string& stringTablePath)
    : tables_(std::make_unique<Tables>()) {
  SetGlobalStringTable(stringTablePath);
}

FacSTDictionary::~FacSTDictionary() = default;

void FacSTDictionary::SetGlobalStringTable(const std::string& path) {
  const fs::path folderBefore = tables_->folder;
  const std::string languageBefore = tables_->language;
  std::error_code ec;
  if (fs::is_regular_file(path, ec)) {
    tables_->globalFile = path;
  } else {
    tables_->folder = path;
    tables_->globalFile.clear();
  }
  tables_->readLanguage();
  tables_->loadGlobal();
  // Procedure tables live in the same folder and language.
  if (tables_->folder != folderBefore || tables_->language != languageBefore) {
    tables_->loadProcedure();
  }
}

const std::string& FacSTDictionary::SetProcedure(const std::string& name) {
  if (!name.empty() && !isPlainName(name)) {
    tables_->report("procedure name \"" + name + "\" is not a plain file name; no procedure table",
                    0);
    tables_->procedure.clear();
  } else {
    tables_->procedure = name;
  }
  const std::string before = tables_->language;
  tables_->readLanguage();
  if (tables_->language != before) tables_->loadGlobal();
  tables_->loadProcedure();
  return tables_->procedurePath;
}

bool FacSTDictionary::LookUp(const std::string& key, std::string& text,
                             std::string& companion) const {
  const Tables& t = *tables_;
  const std::u16string* english = find(t.procedureEnglish, key);
  if (english == nullptr) english = find(t.globalEnglish, key);
  const std::u16string* local = find(t.procedureLocal, key);
  if (local == nullptr) local = find(t.globalLocal, key);
  if (local == nullptr) local = english;
  if (local == nullptr) {
    text = key;
    companion = key;
    return false;
  }
  // With no English entry the translation is the best companion there is.
  text = t.encode(*local, key);
  companion = english == nullptr ? text : t.encode(*english, key);
  return true;
}
