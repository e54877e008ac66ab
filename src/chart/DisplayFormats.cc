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
#include "chartxml/codes.h"
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
    {CX_FORMAT_DATE_DMY, u"dd-MMM-yyyy"},
    {CX_FORMAT_DATE_MDY, u"MM/dd/yyyy"},
    {CX_FORMAT_DATE_DOTTED, u"dd.MM.yyyy"},
    {CX_FORMAT_DATE_YMD, u"yyyy/MM/dd"},
    {CX_FORMAT_DATE_TIME, u"dd-MMM-yyyy HH:mm:ss"},
    {CX_FORMAT_DURATION, u"HH:mm:ss"},
    {CX_FORMAT_MONTH_YEAR, u"MMM yyyy"},
    {CX_FORMAT_QUARTER, u"q Q yyyy"},
    {CX_FORMAT_WEEKDAY, u"EEEE"},
    {CX_FORMAT_MONTH_NAME, u"MMMM"},
    {CX_FORMAT_ISO_DATE_TIME, u"yyyy-MM-dd'T'HH:mm:ss"},
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
  const bool grouped = type == CX_FORMAT_GROUPED || type == CX_FORMAT_DOLLAR ||
                       type == CX_FORMAT_DOT_GROUPED ||
                       (type >= CX_FORMAT_CURRENCY_A && type <= CX_FORMAT_ACCOUNTING);
  set(numbers, u"useGrouping", grouped ? KytoUni::_true : KytoUni::_false);
  if (type == CX_FORMAT_DOLLAR) set(numbers, u"prefix", u"$");
  if (type >= CX_FORMAT_CURRENCY_A && type <= CX_FORMAT_CURRENCY_E) {
    set(numbers, u"prefix",
        u"CC" + std::u16string(1, static_cast<char16_t>(u'A' + type - CX_FORMAT_CURRENCY_A)) +
            u" ");
  }
  if (type == CX_FORMAT_PERCENT) set(numbers, u"suffix", u"%");
  if (type == CX_FORMAT_SCIENTIFIC) set(numbers, KytoUni::_scientific, KytoUni::_true);
  if (type == CX_FORMAT_ZERO_PADDED) set(numbers, u"minimumIntegerDigits", number(format.width));
  if (type == CX_FORMAT_DOT_GROUPED) {
    set(numbers, u"groupingSeparator", u".");
    set(numbers, u"decimalSeparator", u",");
  }
  if (type == CX_FORMAT_ACCOUNTING) {
    set(numbers, u"negativePrefix", u"(");
    set(numbers, u"negativeSuffix", u")");
  }
  if (type == CX_FORMAT_TRAILING_MINUS) {
    set(numbers, u"negativePrefix", u"");
    set(numbers, u"negativeSuffix", u"-");
  }
  meta->appendChild(numbers);
}
