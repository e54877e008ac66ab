// The commands that describe charts through the library (demo, plot, check)
// live in a module of their own, loaded by the tool only when one of them
// runs: drawing a sent chart then maps the renderer alone, not the library,
// its host and the XML parser's dependencies, which cost more to load than a
// small chart takes to draw.
#pragma once

// The module's file: beside the tool in the build tree, in the libraries'
// folder of an install (CHARTXML_COMMANDS_FROM_BINDIR from the tool's).
#define CHARTXML_COMMANDS_MODULE "libchartxml_commands.so"

extern "C" {

// The version the module was built as: the tool runs only its own.
using chartxml_commands_version_fn = const char* (*)();
#define CHARTXML_COMMANDS_VERSION_SYMBOL "chartxml_commands_version"

// Runs COMMAND with the words after it; returns the exit status.
using chartxml_commands_run_fn = int (*)(const char* command, int count, char* const* words);
#define CHARTXML_COMMANDS_RUN_SYMBOL "chartxml_commands_run"

}  // extern "C"
