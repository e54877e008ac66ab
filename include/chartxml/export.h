// Symbol visibility for the chartxml shared libraries.
//
// Every library is built with hidden default visibility; only what is marked
// with its own macro is part of its binary interface: CHARTXML_EXPORT for
// libchartxml, CHARTXML_HOST_EXPORT for the reference host libchartxml_host
// (CHARTXML_RENDER_EXPORT, for libchartxml_render, is in render.h). Each
// library defines its CHARTXML_..._BUILDING while it is built, so that on
// Windows it exports what the others import.
#ifndef CHARTXML_EXPORT_H_
#define CHARTXML_EXPORT_H_

#if defined(_WIN32)
#if defined(CHARTXML_BUILDING)
#define CHARTXML_EXPORT __declspec(dllexport)
#else
#define CHARTXML_EXPORT __declspec(dllimport)
#endif
#if defined(CHARTXML_HOST_BUILDING)
#define CHARTXML_HOST_EXPORT __declspec(dllexport)
#else
#define CHARTXML_HOST_EXPORT __declspec(dllimport)
#endif
#else
#define CHARTXML_EXPORT __attribute__((visibility("default")))
#define CHARTXML_HOST_EXPORT __attribute__((visibility("default")))
#endif

#endif  // CHARTXML_EXPORT_H_
