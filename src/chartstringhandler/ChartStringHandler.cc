#include "chartstringhandler/ChartStringHandler.h"

#include <string>

#include "chartxml/ChartXml.h"
#include "chartxml/host/ChartBase.h"
#include "chartxml/host/ChartException.h"
#include "common/SourceNames.h"

using chartxml::keyOf;
using chartxml::kStringsSource;

ChartStringHandler::ChartStringHandler(ChartXml& owner, ChartErrorHandler& errors)
    : owner_(owner), errors_(errors) {
  fillVocabulary();
}

ChartStringHandler::~ChartStringHandler() = default;

void ChartStringHandler::report(const std::string& message, int line) {
  errors_.error(ChartException(message, kStringsSource, line));
}

void ChartStringHandler::insert(int code, const ChartString& text) {
  const ChartKey key = keyOf(code);
  if (strings_.find(key) != nullptr) ++generation_;  // a text replaced under its handle
  strings_.insertOrAssign(key, text);
}

int ChartStringHandler::add(const ChartString& text) {
  const int handle = next_++;
  insert(handle, text);
  return handle;
}

int ChartStringHandler::addComposite(const ChartString& pattern) {
  const int handle = next_++;
  composites_[handle] =
      std::make_unique<OmComposite>(OmStringCell(pattern.toUTF8(), pattern.toUTF8ForEng()));
  return handle;
}

bool ChartStringHandler::checkHandle(int handle, const char* role, const char* file, int line) {
  if (handle >= 0 && handle <= next_) return true;
  errors_.error(ChartException(std::string(role) + " handle out of range", file, line));
  return false;
}

OmComposite* ChartStringHandler::findComposite(int handle, int line) {
  auto it = composites_.find(handle);
  if (it == composites_.end()) {
    report("composite string not found " + std::to_string(handle), line);
    return nullptr;
  }
  return it->second.get();
}

template <class Op>
int ChartStringHandler::onComposite(int composite, const char* role, const char* failure, Op op) {
  if (!checkHandle(composite, role, kStringsSource, __LINE__)) return -1;
  OmComposite* target = findComposite(composite, __LINE__);
  if (target == nullptr) return -1;
  // The cell library reports misuse by throwing; here it becomes a report.
  try {
    op(*target);
  } catch (const std::exception&) {
    report(failure, __LINE__);
    return -1;
  }
  return 0;
}

int ChartStringHandler::addParameter(int composite, int parameter) {
  if (!checkHandle(composite, "composite", kStringsSource, __LINE__) ||
      !checkHandle(parameter, "parameter", kStringsSource, __LINE__)) {
    return -1;
  }
  return onComposite(composite, "composite", "add parameter failed", [&](OmComposite& target) {
    const ChartString value = getString(parameter);
    target.Add(OmStringCell(value.toUTF8(), value.toUTF8ForEng()));
  });
}

int ChartStringHandler::beginRepeat(int composite) {
  return onComposite(composite, "pattern", "begin repeat list failed",
                     [](OmComposite& target) { target.BeginRepeatList(); });
}

int ChartStringHandler::endRepeat(int composite) {
  return onComposite(composite, "pattern", "end repeat list failed",
                     [](OmComposite& target) { target.EndRepeatList(); });
}

int ChartStringHandler::endComposite(int composite) {
  const int result =
      onComposite(composite, "pattern", "end composite string failed", [](OmComposite& target) {
        target.End();
        target.Substitute(true);
      });
  return result == 0 ? composite : result;
}

int ChartStringHandler::styleString(int string, int index) {
  if (!checkHandle(string, "string", kStringsSource, __LINE__)) return -1;
  if (index < 0) {
    report("negative handles are not allowed " + std::to_string(index), __LINE__);
    return -1;
  }
  ChartString text = getString(string);
  text.append(ChartBase::_underscore);
  text.append(ChartString::fromUTF8(std::to_string(index)));
  return add(text);
}

const ChartString* ChartStringHandler::peek(int handle) {
  const ChartKey key = keyOf(handle);
  if (const ChartString* cached = strings_.find(key)) return cached;
  auto it = composites_.find(handle);
  if (it == composites_.end()) return nullptr;
  // Cache the resolved composite: later parameters no longer show, as the
  // text a chart already used must not change under it.
  std::u16string text = ChartString::fromUTF8(it->second->GetText());
  std::u16string english = ChartString::fromUTF8(it->second->GetEnglishText());
  if (english.empty()) english = text;
  ChartString resolved(text, english);
  resolved.replace(u"\r", u"\n");
  strings_.insert(key, resolved);
  return strings_.find(key);
}

ChartString ChartStringHandler::getString(int handle) {
  if (const ChartString* found = peek(handle)) return *found;
  report("String not found for handle " + std::to_string(handle), __LINE__);
  return ChartString();
}

void ChartStringHandler::reset() {
  ++generation_;
  next_ = 0;
  composites_.clear();
  strings_.clear();
  fillVocabulary();
}

ChartString ChartStringHandler::transcode(const std::string& narrow) {
  return owner_.transcode(narrow);
}

ChartString ChartStringHandler::translate(const std::string& key) {
  return owner_.translate(key);
}
