// The devices: one scene, drawn as PNG or PDF through cairo, or written as
// SVG text by our own writer (so that texts stay texts, with classes a reader
// can find). Each returns the whole file in memory; writing it to disk, whole
// or not at all, is the caller's.
//
// Every device is deterministic: the same scene gives the same bytes (no
// dates or clocks in the output).
#pragma once

#include <string>

#include "scene/Scene.h"
#include "text/TextEngine.h"

namespace chartxml::render {

// PNG of scene.width x scene.height pixels times `scale` (1, 2, ... for
// sharper pictures). False, with `error` set, when cairo fails (no memory, a
// picture too large).
bool drawPng(const Scene& scene, TextEngine& text, double scale, std::string& out,
             std::string& error);

// PDF of one page, scene.width x scene.height points.
bool drawPdf(const Scene& scene, TextEngine& text, std::string& out, std::string& error);

// SVG 1.1 of scene.width x scene.height, texts as <text> placed where pango
// places them.
bool drawSvg(const Scene& scene, TextEngine& text, std::string& out, std::string& error);

// The same SVG for inline use in a page: no XML declaration; marks and
// legend items carry their legend group (data-group) and marks their
// tooltip (data-tip, focusable by tabindex); every batch of points of role
// "mark point" is left to the page's script, an empty
// <g class="mark point" data-batch="K"> (K counting those batches from 0)
// keeping its place among the items.
bool drawSvgForPage(const Scene& scene, TextEngine& text, std::string& out, std::string& error);

// A self-contained HTML page of the scene: the drawing as inline SVG and a
// script of our own that adds tooltips, legend toggling, zoom and pan of
// continuous axes and keyboard access; the cases' values are embedded as
// JSON (compact binary arrays for big batches). The same scene gives the
// same bytes. False, with `error` set, when out of memory.
bool drawHtml(const Scene& scene, TextEngine& text, std::string& out, std::string& error);

}  // namespace chartxml::render
