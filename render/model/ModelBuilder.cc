#include "model/ModelBuilder.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>

namespace chartxml::render {
namespace {

std::optional<double> parseNumber(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  double value = 0;
  const auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || ptr != text.data() + text.size() || text.empty()) return std::nullopt;
  return value;
}

int parseInt(std::string_view text, int fallback) {
  int value = 0;
  const auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  return ec == std::errc() && ptr == text.data() + text.size() ? value : fallback;
}

bool isTrue(std::string_view text) {
  return text == "true";
}

std::optional<Role> roleOf(std::string_view tag) {
  if (tag == "x") return Role::kX;
  if (tag == "y") return Role::kY;
  if (tag == "z") return Role::kZ;
  if (tag == "theta") return Role::kTheta;
  if (tag == "r") return Role::kR;
  if (tag == "phi") return Role::kPhi;
  return std::nullopt;
}

Parameters parametersOf(const XmlNode& node) {
  Parameters parameters;
  for (const XmlNode& child : node.children) {
    if (child.tag == "parameter") {
      parameters.emplace_back(std::string(child.attr("name")), std::string(child.attr("value")));
    }
  }
  return parameters;
}

NumberFormat numberFormatOf(const XmlNode& node) {
  NumberFormat format;
  format.minFractionDigits = parseInt(node.attr("minimumFractionDigits"), -1);
  format.maxFractionDigits = parseInt(node.attr("maximumFractionDigits"), -1);
  format.grouping = isTrue(node.attr("useGrouping"));
  if (const auto* s = node.find("groupingSeparator")) format.groupingSeparator = *s;
  if (const auto* s = node.find("decimalSeparator")) format.decimalSeparator = *s;
  format.prefix = node.attr("prefix");
  format.suffix = node.attr("suffix");
  format.scientific = isTrue(node.attr("scientific"));
  format.minIntegerDigits = parseInt(node.attr("minimumIntegerDigits"), 0);
  if (const auto* s = node.find("negativePrefix")) format.negativePrefix = *s;
  if (const auto* s = node.find("negativeSuffix")) format.negativeSuffix = *s;
  return format;
}

// Reads the display format among `node`'s children into `format`; false
// when it has none.
bool readFormat(const XmlNode& node, ValueFormat& format) {
  for (const XmlNode& child : node.children) {
    if (child.tag == "numberFormat") {
      format.kind = ValueFormat::Kind::kNumber;
      format.number = numberFormatOf(child);
    } else if (child.tag == "dateTimeFormat") {
      format.kind = ValueFormat::Kind::kDate;
      format.datePattern = child.attr("pattern");
    } else if (child.tag == "stringFormat") {
      format.kind = ValueFormat::Kind::kString;
    } else {
      continue;
    }
    return true;
  }
  return false;
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

std::optional<std::uint32_t> colorOf(std::string_view text) {
  text = trimmed(text);
  if (text.size() != 7 || text.front() != '#') return std::nullopt;
  std::uint32_t value = 0;
  const auto [ptr, ec] = std::from_chars(text.data() + 1, text.data() + 7, value, 16);
  if (ec != std::errc() || ptr != text.data() + 7) return std::nullopt;
  return value;
}

CycleStyle cycleStyleOf(std::string_view value) {
  CycleStyle style;
  while (!value.empty()) {
    const std::size_t end = std::min(value.find(';'), value.size());
    const std::string_view part = value.substr(0, end);
    value.remove_prefix(std::min(end + 1, value.size()));
    const std::size_t colon = part.find(':');
    if (colon == std::string_view::npos) continue;
    const std::string_view key = trimmed(part.substr(0, colon));
    const std::string_view text = trimmed(part.substr(colon + 1));
    if ((key == "color" || key == "fill" || key == "stroke") && !style.color) {
      style.color = colorOf(text);
    } else if (key == "symbol" || key == "shape" || key == "marker") {
      style.shape = text;
    } else if (key == "stroke-dasharray") {
      std::string_view rest = text;
      while (!rest.empty()) {
        const std::size_t cut = std::min(rest.find_first_of(", "), rest.size());
        if (const auto length = parseNumber(rest.substr(0, cut)); length && *length >= 0) {
          style.dash.push_back(*length);
        }
        rest.remove_prefix(std::min(cut + 1, rest.size()));
      }
    } else if (key == "fill-pattern") {
      const int pattern = parseInt(text, -1);
      if (pattern >= 0) style.pattern = pattern;
    }
  }
  return style;
}

// A margin such as "5%" as a fraction of the range.
std::optional<double> marginOf(std::string_view text) {
  if (text.empty() || text.back() != '%') return std::nullopt;
  const auto percent = parseNumber(text.substr(0, text.size() - 1));
  if (!percent || *percent < 0 || *percent > 1000) return std::nullopt;
  return *percent / 100;
}

// A length such as "12px", "9pt", "0.5in", "1cm", "4mm" or a bare number of
// pixels, in pixels (96 to the inch); nothing for any other text.
std::optional<double> lengthOf(std::string_view text) {
  text = trimmed(text);
  static constexpr std::pair<std::string_view, double> kUnits[] = {
      {"px", 1.0}, {"pt", 96.0 / 72}, {"in", 96.0}, {"cm", 96.0 / 2.54}, {"mm", 96.0 / 25.4}};
  double scale = 1;
  for (const auto& [unit, pixels] : kUnits) {
    if (text.size() > unit.size() && text.ends_with(unit)) {
      text.remove_suffix(unit.size());
      scale = pixels;
      break;
    }
  }
  const auto value = parseNumber(text);
  if (!value || !std::isfinite(*value) || *value < 0) return std::nullopt;
  return *value * scale;
}

class Builder {
 public:
  explicit Builder(ChartModel& model) : model_(model) {}

  void readStyles(const XmlNode& node) {
    for (const XmlNode& child : node.children) {
      if (child.tag != "style") continue;
      if (const auto* value = child.find("value")) styles_[std::string(child.attr("id"))] = *value;
      readStyles(child);
    }
  }

  // A style cycle's entries in order, each read from its style's value
  // ("color:#e69f00;symbol:square;stroke-dasharray:4 2;fill-pattern:3").
  void readStyleCycle(const XmlNode& node) {
    std::vector<CycleStyle> entries;
    for (const XmlNode& cycle : node.children) {
      if (cycle.tag != "cycle") continue;
      for (const XmlNode& style : cycle.children) {
        if (style.tag == "style") entries.push_back(cycleStyleOf(style.attr("value")));
      }
    }
    model_.styleCycles[std::string(node.attr("id"))] = std::move(entries);
  }

  void readDomain(const XmlNode& node) {
    DomainRange range;
    if (const XmlNode* interval = node.child("interval")) {
      range.min = parseNumber(interval->attr("min"));
      range.max = parseNumber(interval->attr("max"));
    }
    if (const XmlNode* sort = node.child("sort")) {
      CategoryOrder order;
      order.descending = isTrue(sort->attr("descending"));
      if (const XmlNode* simple = sort->child("simpleSort")) {
        const std::string_view method = simple->attr("method");
        if (method == "data" || method == "dataOrder" || method == "none") {
          order.by = CategoryOrder::By::kData;
        }
      }
      if (const XmlNode* statistic = sort->child("statisticSort")) {
        order.by = CategoryOrder::By::kStatistic;
        order.statistic = statistic->attr("statVariable");
        if (order.statistic.empty()) order.statistic = statistic->attr("sourceVariable");
      }
      range.order = order;
    }
    for (const XmlNode& child : node.children) {
      if (child.tag == "domainReference") range.variables.emplace_back(child.attr("variable"));
    }
    domains_[std::string(node.attr("id"))] = range;
  }

  void readVariable(const XmlNode& node) {
    Variable variable;
    variable.id = node.attr("id");
    variable.label = node.attr("label");
    variable.shortLabel = node.attr("shortLabel");
    variable.source = node.attr("source");
    variable.sourceName = node.attr("sourceName");
    variable.categorical = isTrue(node.attr("categorical"));
    variable.derived = node.find("expression") != nullptr || node.find("value") != nullptr;
    variable.expression = node.attr("expression");
    if (const XmlNode* meta = node.child("meta")) {
      readFormat(*meta, variable.format);
      // The first weight variable weighs the chart's cases.
      if (isTrue(meta->attr("weight")) && model_.weight.empty()) model_.weight = variable.id;
    }
    readFormat(node, variable.format);
    for (const XmlNode& child : node.children) {
      if (child.tag == "relabel") {
        variable.relabels.emplace_back(std::string(child.attr("from")),
                                       std::string(child.attr("to")));
      } else if (child.tag == "extension") {
        variable.summary = child.attr("statistic");
      }
    }
    model_.variables.push_back(std::move(variable));
  }

  void readFrame(const XmlNode& node) {
    const std::string frameId(node.attr("id"));
    bool drawsData = false;
    for (const XmlNode& child : node.children) {
      const std::string_view tag = child.tag;
      if (tag == "element" || tag == "elementGroup" || tag == "dimension" ||
          tag == "coordinateTransform" || tag == "guide" || tag == "coordinateFacet") {
        drawsData = true;
      }
    }
    if (drawsData) model_.frames.push_back(readDataFrame(node));
    for (const XmlNode& child : node.children) {
      if (child.tag == "frame") {
        readFrame(child);
      } else if (child.tag == "legend") {
        readLegend(child);
      } else if (child.tag == "label") {
        readLabel(frameId, child);
      }
    }
  }

  // Variables take the category order of the sorting domains that span
  // them: a domain's own references, and the dimensions naming the domain
  // (each element's variable along the dimension's role).
  void applyOrders() {
    const auto give = [&](const std::string& id, const CategoryOrder& order) {
      for (Variable& variable : model_.variables) {
        if (variable.id == id && !variable.order) variable.order = order;
      }
    };
    for (const DataFrame& frame : model_.frames) {
      for (const Dimension& dimension : frame.dimensions) {
        const auto domain = domains_.find(dimension.domain);
        if (domain == domains_.end() || !domain->second.order) continue;
        // A polar frame's angle may be positioned as x or theta, its radius as y or r.
        std::vector<Role> roles{dimension.role};
        if (dimension.role == Role::kTheta) roles.push_back(Role::kX);
        if (dimension.role == Role::kX) roles.push_back(Role::kTheta);
        for (const Element& element : frame.elements) {
          for (const Role role : roles) {
            if (const std::string* id = element.position(role)) give(*id, *domain->second.order);
          }
        }
      }
    }
    for (const auto& [id, domain] : domains_) {
      if (!domain.order) continue;
      for (const std::string& variable : domain.variables) give(variable, *domain.order);
    }
  }

 private:
  struct DomainRange {
    std::optional<double> min, max;
    std::optional<CategoryOrder> order;
    std::vector<std::string> variables;  // the variables its references name
  };

  void readLabel(const std::string& frameId, const XmlNode& label) {
    const std::string labelId(label.attr("id"));
    const auto says = [&](std::string_view word) {
      return frameId.find(word) != std::string::npos || labelId.find(word) != std::string::npos;
    };
    // Subtitle before title: "subtitle" holds "title".
    std::string* slot = says("subtitle")   ? &model_.subtitle
                        : says("footnote") ? &model_.footnote
                        : says("title")    ? &model_.title
                                           : nullptr;
    if (slot == nullptr) {
      model_.skip("label " + labelId + " of frame " + frameId +
                  " (a frame label of no known place)");
      return;
    }
    if (!slot->empty()) *slot += "\n";
    *slot += label.text;
  }

  void readLegend(const XmlNode& node) {
    Legend legend;
    legend.id = node.attr("id");
    for (const XmlNode& child : node.children) {
      if (child.tag == "label") {
        legend.title = child.text;
      } else if (child.tag == "legendTarget") {
        legend.targets.push_back(
            {std::string(child.attr("element")), std::string(child.attr("aesthetic"))});
      }
    }
    model_.legends.push_back(std::move(legend));
  }

  DataFrame readDataFrame(const XmlNode& node) {
    DataFrame frame;
    frame.id = node.attr("id");
    frame.clip = node.attr("clip") != "false";
    for (const XmlNode& child : node.children) {
      const std::string_view tag = child.tag;
      if (tag == "coordinateTransform") {
        frame.coordinates = child.attr("method");
        frame.coordinateParameters = parametersOf(child);
      } else if (tag == "dimension") {
        readDimension(frame, child);
      } else if (tag == "element") {
        frame.elements.push_back(readElement(child));
      } else if (tag == "elementGroup") {
        for (const XmlNode& inner : child.children) {
          if (inner.tag == "element") frame.elements.push_back(readElement(inner));
        }
      } else if (tag == "guide") {
        frame.guides.push_back({std::string(child.attr("id")), std::string(child.attr("type")),
                                std::string(child.attr("name")), parametersOf(child)});
      } else if (tag == "coordinateFacet") {
        readFacet(frame, child);
      } else if (tag == "facetLabeling") {
        readFacetLabeling(frame, child);
      } else if (tag == "tableFacet") {
        // Asks that the facets' panels be laid out as a table: they always are.
      } else if (tag == "frame" || tag == "label" || tag == "legend") {
        // Read by readFrame.
      } else {
        model_.skip(std::string(tag) + " of frame " + frame.id);
      }
    }
    return frame;
  }

  void readFacetLabeling(DataFrame& frame, const XmlNode& node) {
    if (const auto aspect = parseNumber(node.attr("cellAspect")); aspect && *aspect > 0) {
      frame.cellAspect = std::clamp(*aspect, 0.05, 20.0);
    }
    for (const XmlNode& label : node.children) {
      if (label.tag != "facetLabel") continue;
      const int level = parseInt(label.attr("level"), 0);
      const std::string what =
          "facet label of level " + std::to_string(level) + " of frame " + frame.id;
      if (isTrue(label.attr("reverse"))) {
        if (level == 1) frame.reverseColumns = true;
        if (level == 2) frame.reverseRows = true;
      }
      if (const auto* gap = label.find("gap")) {
        const auto pixels = lengthOf(*gap);
        // Level 1 parts the columns, level 2 the rows; the cells' own level
        // (0) has no neighbours to keep apart.
        if (pixels && (level == 1 || level == 2)) {
          (level == 1 ? frame.columnGap : frame.rowGap) = std::min(*pixels, 500.0);
        } else {
          model_.skip("gap '" + *gap + "' of the " + what);
        }
      }
      // The cell classes of our own look: data and pie cells are the plain
      // panels, a matrix's are its grey variable cells; both are drawn so.
      if (const auto* cell = label.find("cellStyle")) {
        static constexpr std::string_view kKnown[] = {"data_1", "pie_1", "matrixscatterx_1",
                                                      "matrixscattery_1"};
        if (std::find(std::begin(kKnown), std::end(kKnown), *cell) == std::end(kKnown)) {
          model_.skip("cell style '" + *cell + "' of the " + what);
        }
      }
      for (const XmlNode& child : label.children) {
        if (child.tag != "axis" || (level != 1 && level != 2)) {
          model_.skip(child.tag + " of the " + what);
          continue;
        }
        double angle = 0;
        if (const XmlNode* ticks = child.child("majorTicks")) {
          if (const auto* text = ticks->find("labelAngle")) {
            angle = std::clamp(parseNumber(*text).value_or(0), -90.0, 90.0);
          }
        }
        (level == 1 ? frame.columnAxisAngle : frame.rowAxisAngle) = angle;
      }
    }
  }

  void readFacet(DataFrame& frame, const XmlNode& node) {
    FacetTerm top;
    top.kind = FacetTerm::Kind::kCross;
    readFacetTerms(frame, node, top, 0);
    if (!top.terms.empty()) frame.facet = std::move(top);
  }

  // The terms under `node` into `into`: facet variables, crosses, nests and
  // blends, nested as deep as the document nests them (within reason).
  void readFacetTerms(DataFrame& frame, const XmlNode& node, FacetTerm& into, int depth) {
    for (const XmlNode& child : node.children) {
      FacetTerm term;
      if (child.tag == "facetVariable") {
        const auto role = roleOf(child.attr("role"));
        if (!role || (*role != Role::kX && *role != Role::kY)) {
          model_.skip("facet by " + std::string(child.attr("variable")) + " along role '" +
                      std::string(child.attr("role")) + "' of frame " + frame.id);
          continue;
        }
        term.role = *role;
        term.variable = child.attr("variable");
        frame.facets.emplace_back(term.role, term.variable);
      } else if (child.tag == "cross" || child.tag == "nest" || child.tag == "blend") {
        term.kind = child.tag == "cross"  ? FacetTerm::Kind::kCross
                    : child.tag == "nest" ? FacetTerm::Kind::kNest
                                          : FacetTerm::Kind::kBlend;
        if (depth >= 16) {
          model_.skip("facets of frame " + frame.id + " nested deeper than 16");
          continue;
        }
        readFacetTerms(frame, child, term, depth + 1);
        if (term.terms.empty()) continue;
      } else {
        model_.skip("facet " + child.tag + " of frame " + frame.id);
        continue;
      }
      into.terms.push_back(std::move(term));
    }
  }

  void readDimension(DataFrame& frame, const XmlNode& node) {
    const auto role = roleOf(node.attr("role"));
    if (!role) {
      model_.skip("dimension of role '" + std::string(node.attr("role")) + "' of frame " +
                  frame.id);
      return;
    }
    Dimension dimension;
    dimension.role = *role;
    dimension.domain = node.attr("domain");
    if (!dimension.domain.empty()) {
      const auto domain = domains_.find(dimension.domain);
      if (domain != domains_.end()) {
        dimension.min = domain->second.min;
        dimension.max = domain->second.max;
      }
    }
    const auto margin = [&](std::string_view name) {
      const std::string_view text = node.attr(name);
      if (text.empty()) return 0.0;
      if (const auto value = marginOf(text)) return *value;
      model_.skip(std::string(name) + " '" + std::string(text) + "' of the " + roleName(*role) +
                  " dimension (only percentages are drawn)");
      return 0.0;
    };
    dimension.sharedByPanels = node.attr("facetsShareScale") != "false";
    dimension.lowerMargin = margin("lowerMargin");
    dimension.upperMargin = margin("upperMargin");
    for (const XmlNode& child : node.children) {
      if (child.tag == "scale") {
        dimension.scale = child.attr("method");
        dimension.inverted = isTrue(child.attr("invert"));
        const Parameters parameters = parametersOf(child);
        // A log scale's base; a power's exponent (the base parameter every
        // other method carries is not one).
        const bool log = dimension.scale == "log";
        if (const auto* value = findParameter(parameters, log ? "UTF_base" : "exponent")) {
          dimension.scaleParameter = parseNumber(*value).value_or(0);
        }
      } else if (child.tag == "axis") {
        dimension.axis = readAxis(child);
      }
    }
    frame.dimensions.push_back(std::move(dimension));
  }

  Axis readAxis(const XmlNode& node) {
    Axis axis;
    axis.id = node.attr("id");
    axis.opposite = isTrue(node.attr("opposite"));
    for (const XmlNode& child : node.children) {
      if (child.tag == "label") {
        axis.title = child.text;
      } else if (child.tag == "majorTicks") {
        axis.majorTicks = true;
        axis.majorGrid = child.child("gridLines") != nullptr;
        if (const auto* angle = child.find("labelAngle")) axis.labelAngle = parseNumber(*angle);
      } else if (child.tag == "minorTicks") {
        axis.minorTicks = true;
        axis.minorGrid = child.child("gridLines") != nullptr;
        if (const auto* number = child.find("number")) {
          axis.minorCount = std::clamp(parseInt(*number, 0), 0, 99);
        }
      } else if (child.tag == "transform") {
        axis.percent = child.attr("method") == "percent";
      }
    }
    return axis;
  }

  Element readElement(const XmlNode& node) {
    Element element;
    element.id = node.attr("id");
    element.type = node.attr("type");
    element.positionModifier = node.attr("positionModifier");
    element.name = node.attr("name");
    const auto style = styles_.find(std::string(node.attr("style")));
    if (style != styles_.end()) {
      element.hollow = style->second.find("fill:transparent") != std::string::npos;
    }
    readElementChildren(element, node);
    element.hideCollidingLabels = node.attr("showCollidingLabels") == "false";
    if (const auto* handling = node.find("labelCollisionHandling")) {
      if (*handling == "shift") {
        element.shiftCollidingLabels = true;
      } else if (*handling == "hide") {
        element.hideCollidingLabels = true;
      } else if (*handling != "normal") {
        model_.skip("label collision handling '" + *handling + "' of element " + element.id);
      }
    }
    if (const auto* dot = node.find("dot")) {
      element.dot = *dot == "dot" || *dot == "true";
      if (element.type != "point" && element.dot) {
        model_.skip("dot plot of element " + element.id + " of type '" + element.type + "'");
      } else if (!element.dot && *dot != "false" && !dot->empty()) {
        model_.skip("dot setting '" + *dot + "' of element " + element.id);
      }
    }
    return element;
  }

  // An element's positions may sit in a position child; its statistic too.
  void readElementChildren(Element& element, const XmlNode& node) {
    for (const XmlNode& child : node.children) {
      const std::string_view tag = child.tag;
      const std::string variable(child.attr("variable"));
      if (const auto role = roleOf(tag)) {
        element.positions[*role] = variable;
      } else if (tag == "position") {
        readElementChildren(element, child);
      } else if (tag == "statistic") {
        element.statistic = Statistic{std::string(child.attr("method")), parametersOf(child)};
        // A statistic may name the variable that weighs its cases.
        for (const char* name : {"weight", "wgt"}) {
          if (const auto* id = findParameter(element.statistic->parameters, name)) {
            element.weight = *id;
          }
        }
      } else if (tag == "color") {
        element.color = variable;
      } else if (tag == "styleBy") {
        element.styleBy = variable;
        element.styleById = child.attr("id");
        element.styleCycle = child.attr("styleCycle");
      } else if (tag == "size") {
        element.size = variable;
        readSizeRange(element, child);
      } else if (tag == "split") {
        element.split = variable;
      } else if (tag == "transparency") {
        element.transparency = variable;
      } else if (tag == "weight") {
        element.weight = variable;
      } else if (tag == "labeling") {
        element.labeled = true;
        element.labeling = variable;
        for (const XmlNode& part : child.children) {
          if (part.tag == "size") element.labelSize = part.attr("variable");
        }
      } else if (tag == "label" || tag == "facetStyle") {
        // An element's name as a label, and styles of some of its panels
        // (the matrix's diagonal): drawn by the panels themselves.
      } else {
        model_.skip(std::string(tag) + " of element " + element.id);
      }
    }
  }

  // The marker sizes of the least and greatest values. The binned
  // element's words name our look's own sizes for counts: its default range.
  void readSizeRange(Element& element, const XmlNode& size) {
    const auto read = [&](std::string_view name, std::string_view word) -> std::optional<double> {
      const auto* text = size.find(name);
      if (text == nullptr || *text == word) return std::nullopt;
      if (const auto pixels = lengthOf(*text)) return std::clamp(*pixels, 0.5, 200.0);
      model_.skip("size " + std::string(name) + " '" + *text + "' of element " + element.id +
                  " (not a length: the default range is drawn)");
      return std::nullopt;
    };
    element.sizeLow = read("low", "binlowval");
    element.sizeHigh = read("high", "binhighval");
  }

  ChartModel& model_;
  std::map<std::string, std::string> styles_;
  std::map<std::string, DomainRange> domains_;
};

}  // namespace

std::optional<ChartModel> buildModel(const XmlNode& document, std::string& error) {
  if (document.tag != "visualization") {
    error = "not a chart document: its root element is <" + document.tag + ">, not <visualization>";
    return std::nullopt;
  }
  ChartModel model;
  Builder builder(model);
  // Styles and domains first: frames refer to them wherever they stand.
  for (const XmlNode& child : document.children) {
    if (child.tag == "style") builder.readStyles(child);
    if (child.tag == "styleCycle") builder.readStyleCycle(child);
    if (child.tag == "domain") builder.readDomain(child);
  }
  for (const XmlNode& child : document.children) {
    if (child.tag == "source") {
      model.sources.emplace_back(child.attr("id"));
    } else if (child.tag == "variable") {
      builder.readVariable(child);
    } else if (child.tag == "frame") {
      builder.readFrame(child);
    }
  }
  builder.applyOrders();
  return model;
}

}  // namespace chartxml::render
