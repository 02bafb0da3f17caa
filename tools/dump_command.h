// "edid-composer dump": an EDID file as the library's text dump, or as JSON.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace edc_tool {

struct DumpOptions {
  bool summary = false;
  bool json = false;
  bool debug = false;
  std::string title;  // empty: the file name, or "standard input"
  std::string file;   // "-" for standard input
};

void AddDumpOptions(CLI::App &command, DumpOptions &options);

// Reads, decodes and prints; returns the exit status.
int RunDump(const DumpOptions &options);

}  // namespace edc_tool
