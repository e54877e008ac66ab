// Panels: the cells a frame's data is drawn in. One panel; one per level of
// the facets (crosses, nests and blends of facet variables: columns from
// those of role x, rows from those of role y); or the cells of a
// scatter-plot matrix, whose element's x and y are blends of variables,
// each nested in a constant naming it ("v1/v1label + v2/v2label").
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "layout/Geometry.h"
#include "model/ChartModel.h"
#include "stats/Binding.h"
#include "stats/Layers.h"

namespace chartxml::render {

struct Panel {
  RowSet rows;
  bool allRows = true;
  std::size_t column = 0, row = 0;     // its place in the grid; row 0 at the top
  std::size_t xScale = 0, yScale = 0;  // which of the grid's scales it uses
  std::string columnLabel, rowLabel;   // facet labels; empty: none
  // No panel lies beyond this one in that direction: its outer axes go here.
  bool bottomEdge = true, topEdge = true, leftEdge = true, rightEdge = true;
  // A matrix cell of a variable against itself shows the variable's name.
  bool diagonal = false;
  std::string diagonalLabel;
  std::string columnName, rowName;       // a matrix's variables of its column and row
  std::vector<const Element*> elements;  // what the panel draws
  std::vector<Layer> layers;
  Rect area;
};

struct PanelGrid {
  std::vector<Panel> panels;
  std::size_t columns = 1, rows = 1;
  std::size_t xScales = 1, yScales = 1;  // a matrix has a scale per column and per row
  bool matrix = false;
  // Each panel has its own scale along x (y): the document asks for it.
  bool ownX = false, ownY = false;
  std::deque<Element> made;  // the elements a matrix makes of its blends
};

// The panels of `frame` with their rows and elements. False with `error` set
// when a facet variable's data cannot be read.
bool makePanels(const DataFrame& frame, ChartModel& model, DataBinder& binder, PanelGrid& grid,
                std::string& error);

// Each panel's layers. False with `error` set when data cannot be read.
bool makeLayers(const DataFrame& frame, ChartModel& model, DataBinder& binder, PanelGrid& grid,
                std::string& error);

}  // namespace chartxml::render
