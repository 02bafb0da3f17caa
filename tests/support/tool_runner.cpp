#include "tool_runner.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "capture.h"

namespace edc_test {

std::string RunCommand(const std::string &command, int *status) {
  std::string out;
  FILE *pipe = popen(command.c_str(), "r");
  char chunk[4096];
  for (size_t got; pipe != nullptr && (got = fread(chunk, 1, sizeof chunk, pipe)) > 0;)
    out.append(chunk, got);
  const int raw = pipe != nullptr ? pclose(pipe) : -1;
  if (status != nullptr) *status = raw != -1 && WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return out;
}

ToolResult RunTool(const std::string &arguments, const std::string &stdin_text) {
  // Named for the process: CTest runs tests in parallel.
  const std::string base = testing::TempDir() + "edc_tool_" + std::to_string(getpid());
  std::ofstream(base + ".in", std::ios::binary) << stdin_text;
  ToolResult result;
  result.out = RunCommand(std::string("'") + EDC_TOOL_PATH + "' " + arguments + " <'" + base +
                              ".in' 2>'" + base + ".err'",
                          &result.status);
  const auto err = ReadFile(base + ".err");
  result.err.assign(err.begin(), err.end());
  unlink((base + ".in").c_str());
  unlink((base + ".err").c_str());
  return result;
}

}  // namespace edc_test
