// "edid-composer dump": an EDID file as the library's text dump, or as JSON;
// many files as JSON Lines.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace edc_tool {

struct DumpOptions {
  bool summary = false;
  bool json = false;
  bool debug = false;
  std::string title;  // empty: the file name, or "standard input"
  // "-" for standard input. Several, or a directory, only with --json: one
  // JSON object a line per file (JSON Lines).
  std::vector<std::string> files;
};

void AddDumpOptions(CLI::App &command, DumpOptions &options);

// Reads, decodes and prints; returns the exit status.
int RunDump(const DumpOptions &options);

}  // namespace edc_tool
