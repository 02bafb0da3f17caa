// The "dump" subcommand: prints an EDID file through the library's text dump.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace edc_tool {

struct DumpOptions {
  bool summary = false;
  bool debug = false;
  std::string title;  // empty: the file name, or "standard input"
  std::string file;   // "-" for standard input
};

// Exit statuses of the command.
constexpr int kExitDecoded = 0;
constexpr int kExitDecodeFailed = 1;
constexpr int kExitUnusableInput = 2;

// Registers "dump" with app; options is filled when the command line is parsed.
CLI::App *AddDumpCommand(CLI::App &app, DumpOptions &options);

// Reads, decodes and prints; returns the exit status.
int RunDump(const DumpOptions &options);

}  // namespace edc_tool
