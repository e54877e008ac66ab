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

}  // namespace chartxml::render
