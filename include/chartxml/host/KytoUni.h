// Vocabulary tokens of the chart-description language: the element, attribute
// and value names that the document uses. Each constant's text is its name
// without the leading underscore.
#ifndef CHARTXML_HOST_KYTOUNI_H_
#define CHARTXML_HOST_KYTOUNI_H_

namespace KytoUni {
inline constexpr char16_t _UTF_base[] = u"UTF_base";
inline constexpr char16_t _area[] = u"area";
inline constexpr char16_t _auto[] = u"auto";
inline constexpr char16_t _axis[] = u"axis";
inline constexpr char16_t _baselineStyle[] = u"baselineStyle";
inline constexpr char16_t _blend[] = u"blend";
inline constexpr char16_t _categorical[] = u"categorical";
inline constexpr char16_t _center[] = u"center";
inline constexpr char16_t _color[] = u"color";
inline constexpr char16_t _complete[] = u"complete";
inline constexpr char16_t _creator[] = u"creator";
inline constexpr char16_t _cross[] = u"cross";
inline constexpr char16_t _cumulativeSum[] = u"cumulativeSum";
inline constexpr char16_t _cycle[] = u"cycle";
inline constexpr char16_t _data[] = u"data";
inline constexpr char16_t _description[] = u"description";
inline constexpr char16_t _distance[] = u"distance";
inline constexpr char16_t _distribution[] = u"distribution";
inline constexpr char16_t _dodge[] = u"dodge";
inline constexpr char16_t _domain[] = u"domain";
inline constexpr char16_t _dot[] = u"dot";
inline constexpr char16_t _element[] = u"element";
inline constexpr char16_t _exact[] = u"exact";
inline constexpr char16_t _expression[] = u"expression";
inline constexpr char16_t _false[] = u"false";
inline constexpr char16_t _fill[] = u"fill";
inline constexpr char16_t _frame[] = u"frame";
inline constexpr char16_t _from[] = u"from";
inline constexpr char16_t _function[] = u"function";
inline constexpr char16_t _graph[] = u"graph";
inline constexpr char16_t _inside[] = u"inside";
inline constexpr char16_t _interval[] = u"interval";
inline constexpr char16_t _label[] = u"label";
inline constexpr char16_t _labeling[] = u"labeling";
inline constexpr char16_t _legend[] = u"legend";
inline constexpr char16_t _line[] = u"line";
inline constexpr char16_t _log[] = u"log";
inline constexpr char16_t _max[] = u"max";
inline constexpr char16_t _mean[] = u"mean";
inline constexpr char16_t _median[] = u"median";
inline constexpr char16_t _min[] = u"min";
inline constexpr char16_t _minusIntersection[] = u"minusIntersection";
inline constexpr char16_t _natural[] = u"natural";
inline constexpr char16_t _nest[] = u"nest";
inline constexpr char16_t _never[] = u"never";
inline constexpr char16_t _nice[] = u"nice";
inline constexpr char16_t _none[] = u"none";
inline constexpr char16_t _normal[] = u"normal";
inline constexpr char16_t _object[] = u"object";
inline constexpr char16_t _outside[] = u"outside";
inline constexpr char16_t _path[] = u"path";
inline constexpr char16_t _phi[] = u"phi";
inline constexpr char16_t _point[] = u"point";
inline constexpr char16_t _power[] = u"power";
inline constexpr char16_t _range[] = u"range";
inline constexpr char16_t _relabel[] = u"relabel";
inline constexpr char16_t _schema[] = u"schema";
inline constexpr char16_t _scientific[] = u"scientific";
inline constexpr char16_t _shortLabel[] = u"shortLabel";
inline constexpr char16_t _source[] = u"source";
inline constexpr char16_t _sourceName[] = u"sourceName";
inline constexpr char16_t _stack[] = u"stack";
inline constexpr char16_t _statistic[] = u"statistic";
inline constexpr char16_t _style[] = u"style";
inline constexpr char16_t _sum[] = u"sum";
inline constexpr char16_t _theta[] = u"theta";
inline constexpr char16_t _to[] = u"to";
inline constexpr char16_t _transform[] = u"transform";
inline constexpr char16_t _true[] = u"true";
inline constexpr char16_t _type[] = u"type";
inline constexpr char16_t _value[] = u"value";
inline constexpr char16_t _x[] = u"x";
inline constexpr char16_t _y[] = u"y";
inline constexpr char16_t _z[] = u"z";
inline constexpr char16_t _zeta[] = u"zeta";
inline constexpr char16_t _r[] = u"r";
inline constexpr char16_t _position[] = u"position";
inline constexpr char16_t _location[] = u"location";
inline constexpr char16_t _grid[] = u"grid";
inline constexpr char16_t _hex[] = u"hex";
inline constexpr char16_t _both[] = u"both";
inline constexpr char16_t _binhighval[] = u"binhighval";
inline constexpr char16_t _binlowval[] = u"binlowval";
inline constexpr char16_t _count[] = u"count";
inline constexpr char16_t _constant[] = u"constant";
inline constexpr char16_t _majorTicks[] = u"majorTicks";
inline constexpr char16_t _minorTicks[] = u"minorTicks";
inline constexpr char16_t _legendTarget[] = u"legendTarget";
inline constexpr char16_t _guide[] = u"guide";
inline constexpr char16_t _coordinates[] = u"coordinates";
inline constexpr char16_t _dimension[] = u"dimension";
inline constexpr char16_t _scale[] = u"scale";
inline constexpr char16_t _parameter[] = u"parameter";
inline constexpr char16_t _sort[] = u"sort";
inline constexpr char16_t _visualization[] = u"visualization";
inline constexpr char16_t _pattern[] = u"pattern";
inline constexpr char16_t _id[] = u"id";
inline constexpr char16_t _name[] = u"name";
inline constexpr char16_t _variable[] = u"variable";
inline constexpr char16_t _meta[] = u"meta";
inline constexpr char16_t _labelAngle[] = u"labelAngle";
inline constexpr char16_t _split[] = u"split";
inline constexpr char16_t _size[] = u"size";
inline constexpr char16_t _facet[] = u"facet";
inline constexpr char16_t _facetLabel[] = u"facetLabel";
inline constexpr char16_t _facetLabeling[] = u"facetLabeling";
inline constexpr char16_t _weightname[] = u"weightname";
inline constexpr char16_t _casenum[] = u"casenum";
inline constexpr char16_t _extension[] = u"extension";
inline constexpr char16_t _numberFormat[] = u"numberFormat";
inline constexpr char16_t _stringFormat[] = u"stringFormat";
inline constexpr char16_t _dateTimeFormat[] = u"dateTimeFormat";
}  // namespace KytoUni

namespace KytoExtensionSV {
inline constexpr char16_t _customStatistic[] = u"customStatistic";
inline constexpr char16_t _numberOfCases[] = u"numberOfCases";
inline constexpr char16_t _validN[] = u"validN";
}  // namespace KytoExtensionSV

#endif  // CHARTXML_HOST_KYTOUNI_H_
