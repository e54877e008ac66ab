// A variable's display format as the document states it: the format children
// of its meta element.
//
//   type 1 (string)              <stringFormat/>
//   types 3-7, 15-17, 31-37      <numberFormat> with maximumFractionDigits and
//                                minimumFractionDigits = decimals, useGrouping,
//                                and by type: 4 prefix "$", 31-35 prefix
//                                "CCA ".."CCE ", 6 suffix "%", 7 scientific
//                                "true", 15 minimumIntegerDigits = width,
//                                17 groupingSeparator "." and decimalSeparator ",",
//                                36 negativePrefix "(" and negativeSuffix ")",
//                                37 negativePrefix "" and negativeSuffix "-"
//   types 20-30 (dates, times)   <dateTimeFormat pattern="..."> as the table below
// The types render as the host's formatter renders them (formatter.h).
//   anything else                nothing: the value is shown as it is
#include <string>

#include <xercesc/dom/DOMNode.hpp>
#include <xercesc/util/XMLString.hpp>

#include "chart/Chart.h"
#include "chartxml/formatSpec.h"
#include "chartxml/host/KytoUni.h"
#include "common/XmlText.h"

using chartxml::widenAscii;
using xercesc::DOMElement;
using xercesc::DOMNode;
using xercesc::XMLString;

namespace {

constexpr char16_t kNumberFormat[] = u"numberFormat";
constexpr char16_t kStringFormat[] = u"stringFormat";
constexpr char16_t kDateTimeFormat[] = u"dateTimeFormat";

struct DatePattern {
  int type;
  const char16_t* pattern;
};

constexpr DatePattern kDatePatterns[] = {
    {20, u"dd-MMM-yyyy"},
    {21, u"MM/dd/yyyy"},
    {22, u"dd.MM.yyyy"},
    {23, u"yyyy/MM/dd"},
    {24, u"dd-MMM-yyyy HH:mm:ss"},
    {25, u"HH:mm:ss"},
    {26, u"MMM yyyy"},
    {27, u"q Q yyyy"},
    {28, u"EEEE"},
    {29, u"MMMM"},
    {30, u"yyyy-MM-dd'T'HH:mm:ss"},
};

bool isFormatChild(const DOMNode* node) {
  const XMLCh* name = node->getNodeName();
  return XMLString::equals(name, kNumberFormat) || XMLString::equals(name, kStringFormat) ||
         XMLString::equals(name, kDateTimeFormat);
}

void set(DOMElement* element, const char16_t* name, const std::u16string& value) {
  element->setAttribute(name, value.c_str());
}

std::u16string number(int value) {
  return widenAscii(std::to_string(value));
}

}  // namespace

void Chart::writeDisplayFormat(DOMElement* meta, const VORN_Format& format) {
  for (DOMNode* node = meta->getFirstChild(); node != nullptr;) {
    DOMNode* next = node->getNextSibling();
    if (isFormatChild(node)) meta->removeChild(node);
    node = next;
  }
  const int type = format.type;
  if (type == VORN_Format::kStringType) {
    meta->appendChild(document()->createElement(kStringFormat));
    return;
  }
  for (const DatePattern& entry : kDatePatterns) {
    if (entry.type != type) continue;
    DOMElement* date = document()->createElement(kDateTimeFormat);
    set(date, u"pattern", entry.pattern);
    meta->appendChild(date);
    return;
  }
  if (!formatSpec::is_print_numeric(type)) return;

  DOMElement* numbers = document()->createElement(kNumberFormat);
  set(numbers, u"maximumFractionDigits", number(format.decimals));
  set(numbers, u"minimumFractionDigits", number(format.decimals));
  const bool grouped = type == 3 || type == 4 || type == 17 || (type >= 31 && type <= 36);
  set(numbers, u"useGrouping", grouped ? KytoUni::_true : KytoUni::_false);
  if (type == 4) set(numbers, u"prefix", u"$");
  if (type >= 31 && type <= 35) {
    set(numbers, u"prefix",
        u"CC" + std::u16string(1, static_cast<char16_t>(u'A' + type - 31)) + u" ");
  }
  if (type == 6) set(numbers, u"suffix", u"%");
  if (type == 7) set(numbers, KytoUni::_scientific, KytoUni::_true);
  if (type == 15) set(numbers, u"minimumIntegerDigits", number(format.width));
  if (type == 17) {
    set(numbers, u"groupingSeparator", u".");
    set(numbers, u"decimalSeparator", u",");
  }
  if (type == 36) {
    set(numbers, u"negativePrefix", u"(");
    set(numbers, u"negativeSuffix", u")");
  }
  if (type == 37) {
    set(numbers, u"negativePrefix", u"");
    set(numbers, u"negativeSuffix", u"-");
  }
  meta->appendChild(numbers);
}
