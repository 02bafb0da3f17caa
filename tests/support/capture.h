// Capturing the library's standard output and comparing diagnostic lines;
// running programs from tests (a shell command, or the edid-composer binary
// of this build).
//
// Diagnostic lines carry the source file and line of the statement that
// printed them; tests compare whole lines with those two left out:
//   "linked_list.cpp:42:ll_init() ERROR: msg"  ->  "ll_init() ERROR: msg"
//   "msg \t\t\tll_init():42"                    ->  "msg \t\t\tll_init()"
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "config_store.h"
#include "utility.h"

namespace edc_test {

using Bytes = std::vector<uint8_t>;

// Runs fn with standard output (or another stream) redirected and returns
// what it printed.
std::string Capture(const std::function<void()> &fn, FILE *stream = stdout);

// Removes file names and line numbers from diagnostic prefixes and trace suffixes.
std::string Normalize(const std::string &text);

// Splits text into lines (without their line ends); a final partial line is kept.
std::vector<std::string> SplitLines(const std::string &text);

// Capture, Normalize and SplitLines in one, with the debug flag set if asked.
std::vector<std::string> Lines(const std::function<void()> &fn, bool debug = false);

// An expected normalized line from "ERROR func text" (WARNING, BUG, TRACE;
// in either case; "\t" stands for a tab, "%p" for pointer).
std::string ExpectedLine(const std::string &text, const void *pointer = nullptr);

// The first of the expected lines that is not among the lines printed, in
// this order, or "" when all are.
std::string FirstMissing(const std::vector<std::string> &printed,
                         const std::vector<std::string> &expected);

// Sets the debug flag (when on) for the lifetime of the object; restores it after.
struct DebugOn {
  explicit DebugOn(bool on = true) : was(debug_enabled()) { debug_enable(was || on); }
  ~DebugOn() { debug_enable(was); }
  const bool was;
};

// Loads a TOML configuration into the stand-alone store for the lifetime of
// the object; the store is emptied afterwards. Fails the test on a load error.
struct ScopedConfig {
  explicit ScopedConfig(const std::string &toml) {
    EXPECT_EQ(config_store_load_string(toml.c_str()), 0) << toml;
  }
  ~ScopedConfig() { config_store_clear(); }
};

// printf into a string of at most 255 characters.
template <typename... Args>
std::string Format(const char *format, Args... args) {
  char text[256];
  snprintf(text, sizeof text, format, args...);
  return text;
}

// Directory of the real EDID corpus (tests/corpus).
std::string CorpusDir();

// Reads a whole file as bytes; fails the test when it cannot.
Bytes ReadFile(const std::string &path);

// What a shell command printed on standard output; its exit status (-1 when
// it did not exit normally) goes to status when that is given.
std::string RunCommand(const std::string &command, int *status = nullptr);

// What a shell command ("$f" the file) prints for each of the files of
// folder, in order; one shell runs them all.
std::vector<std::string> RunForEach(const std::string &folder,
                                    const std::vector<std::string> &files,
                                    const std::string &command);

struct ToolResult {
  int status = -1;
  std::string out, err;
};

// Runs "edid-composer <arguments>" (arguments as shell words), optionally
// with stdin_text on standard input.
ToolResult RunTool(const std::string &arguments, const std::string &stdin_text = "");

}  // namespace edc_test
