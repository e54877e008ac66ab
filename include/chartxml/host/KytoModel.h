// The sending library's model of a chart: a typed view over the parsed chart
// document. Changes made through the view are changes to the document, so
// what completion adjusts in the model is what the sent document shows.
//
// How the view reads the document:
// - graphs: the frames that hold at least one `dimension` child, in document
//   order;
// - a graph's coordinates: one per graph, made of its `dimension` children;
// - same-ratio transforms of a coordinates: one when any of its dimensions
//   has `sameRatio` "trueCentered", else none;
// - a dimension's axes: its `axis` children; an axis's major ticks: its first
//   `majorTicks` child;
// - source variables: the `variable` children of the document element that
//   read a data column (they have a `sourceName`), in document order.
//
// View objects are owned by the KytoVisualization that handed them out and
// live as long as it does. Not thread-safe.
#ifndef CHARTXML_HOST_KYTOMODEL_H_
#define CHARTXML_HOST_KYTOMODEL_H_

#include <memory>
#include <vector>

#include <xercesc/dom/DOMElement.hpp>

#include "chartxml/export.h"
#include "chartxml/host/ChartString.h"

// A variable's extension: statistic annotations (`extension` child).
class CHARTXML_HOST_EXPORT KytoExtension {
 public:
  explicit KytoExtension(xercesc::DOMElement* element) : element_(element) {}
  void setAttribute(const char16_t* name, const ChartString& value);
  void setValue(double value);
  void setMin(double value);
  void setMax(double value);
  xercesc::DOMElement* element() const { return element_; }

 private:
  xercesc::DOMElement* element_;
};

class CHARTXML_HOST_EXPORT CTVariableType {
 public:
  explicit CTVariableType(xercesc::DOMElement* element);
  ~CTVariableType();
  // The `description` of the variable's meta child ("" when none).
  ChartString getDescription() const;
  // Removes that description.
  void removeDescription();
  // The variable's `extension` child, or null. addExtension appends one
  // when there is none and otherwise gives the existing one.
  KytoExtension* getExtension();
  KytoExtension* addExtension();
  xercesc::DOMElement* element() const { return element_; }

 private:
  xercesc::DOMElement* element_;
  std::unique_ptr<KytoExtension> extension_;
};

class CHARTXML_HOST_EXPORT KytoMajorTicks {
 public:
  explicit KytoMajorTicks(xercesc::DOMElement* element) : element_(element) {}
  // Sets `labelAngle`, written with 16 significant digits.
  void setLabelAngle(double degrees);
  xercesc::DOMElement* element() const { return element_; }

 private:
  xercesc::DOMElement* element_;
};

class CHARTXML_HOST_EXPORT KytoAxis {
 public:
  explicit KytoAxis(xercesc::DOMElement* element);
  ~KytoAxis();
  // The axis's major ticks; made when it has none, placed ahead of its
  // minor ticks and legend targets as the library places them.
  KytoMajorTicks* getMajorTicks();

 private:
  xercesc::DOMElement* element_;
  std::unique_ptr<KytoMajorTicks> ticks_;
};

class CHARTXML_HOST_EXPORT KytoDimension {
 public:
  explicit KytoDimension(xercesc::DOMElement* element);
  ~KytoDimension();
  const std::vector<KytoAxis*>& getAxes() const { return axisViews_; }
  xercesc::DOMElement* element() const { return element_; }

 private:
  xercesc::DOMElement* element_;
  std::vector<std::unique_ptr<KytoAxis>> axes_;
  std::vector<KytoAxis*> axisViews_;
};

class CHARTXML_HOST_EXPORT KytoCoordinates {
 public:
  explicit KytoCoordinates(xercesc::DOMElement* frame);
  ~KytoCoordinates();
  const std::vector<KytoDimension*>& getDimensions() const { return dimensionViews_; }
  // 1 when a dimension is drawn to the same ratio as the others, else 0.
  int getSameRatioTransformCount() const;

 private:
  std::vector<std::unique_ptr<KytoDimension>> dimensions_;
  std::vector<KytoDimension*> dimensionViews_;
};

class CHARTXML_HOST_EXPORT KytoGraph {
 public:
  explicit KytoGraph(xercesc::DOMElement* frame);
  ~KytoGraph();
  const std::vector<KytoCoordinates*>& getCoordinates() const { return coordinateViews_; }
  xercesc::DOMElement* element() const { return frame_; }

 private:
  xercesc::DOMElement* frame_;
  std::vector<std::unique_ptr<KytoCoordinates>> coordinates_;
  std::vector<KytoCoordinates*> coordinateViews_;
};

class CHARTXML_HOST_EXPORT KytoVisualization {
 public:
  explicit KytoVisualization(xercesc::DOMElement* root);
  ~KytoVisualization();
  // Fresh views of the document as it is now (earlier views stay valid).
  std::vector<CTVariableType*> getSourceVariables();
  std::vector<KytoGraph*> getGraphs();
  xercesc::DOMElement* root() const { return root_; }

 private:
  xercesc::DOMElement* root_;
  std::vector<std::unique_ptr<CTVariableType>> variables_;
  std::vector<std::unique_ptr<KytoGraph>> graphs_;
};

#endif  // CHARTXML_HOST_KYTOMODEL_H_
