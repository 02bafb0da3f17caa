// Runs the edid-composer binary of this build through the shell.
#pragma once

#include <string>

namespace edc_test {

struct ToolResult {
  int status = -1;  // exit status, or -1 when it did not exit normally
  std::string out;
  std::string err;
};

// Runs "edid-composer <arguments>" (arguments as shell words), optionally
// with stdin_text on standard input.
ToolResult RunTool(const std::string &arguments, const std::string &stdin_text = "");

}  // namespace edc_test
