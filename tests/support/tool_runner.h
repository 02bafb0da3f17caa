// Running programs from tests: a shell command, or the edid-composer binary
// of this build.
#pragma once

#include <string>
#include <vector>

namespace edc_test {

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
