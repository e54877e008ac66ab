// Symbol visibility for the chartxml shared libraries.
//
// Both libraries are built with hidden default visibility; only what is marked
// CHARTXML_EXPORT is part of their binary interface.
#ifndef CHARTXML_EXPORT_H_
#define CHARTXML_EXPORT_H_

#if defined(_WIN32)
#if defined(CHARTXML_BUILDING)
#define CHARTXML_EXPORT __declspec(dllexport)
#else
#define CHARTXML_EXPORT __declspec(dllimport)
#endif
#else
#define CHARTXML_EXPORT __attribute__((visibility("default")))
#endif

#endif  // CHARTXML_EXPORT_H_
