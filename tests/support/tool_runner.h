// Running programs from tests: a shell command, or the edid-composer binary
// of this build.
#pragma once

#include <string>

namespace edc_test {

// What a shell command printed on standard output; its exit status (-1 when
// it did not exit normally) goes to status when that is given.
std::string RunCommand(const std::string &command, int *status = nullptr);

struct ToolResult {
  int status = -1;
  std::string out, err;
};

// Runs "edid-composer <arguments>" (arguments as shell words), optionally
// with stdin_text on standard input.
ToolResult RunTool(const std::string &arguments, const std::string &stdin_text = "");

}  // namespace edc_test
