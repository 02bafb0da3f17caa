#include "tool_runner.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>

namespace edc_test {

namespace {

// Runs command and returns its raw status; its standard output goes to out.
int Run(const std::string &command, std::string &out) {
  FILE *pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return -1;
  char chunk[4096];
  for (size_t got; (got = fread(chunk, 1, sizeof chunk, pipe)) > 0;) out.append(chunk, got);
  return pclose(pipe);
}

}  // namespace

std::string RunCommand(const std::string &command) {
  std::string out;
  Run(command, out);
  return out;
}

ToolResult RunTool(const std::string &arguments, const std::string &stdin_text) {
  // Per process: CTest runs tests in parallel.
  const std::string base = testing::TempDir() + "edc_tool_" + std::to_string(getpid());
  std::ofstream(base + ".in", std::ios::binary) << stdin_text;
  ToolResult result;
  const int raw = Run(std::string("'") + EDC_TOOL_PATH + "' " + arguments + " <'" + base +
                          ".in' 2>'" + base + ".err'",
                      result.out);
  result.status = raw != -1 && WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  std::ifstream err(base + ".err", std::ios::binary);
  result.err.assign(std::istreambuf_iterator<char>(err), std::istreambuf_iterator<char>());
  unlink((base + ".in").c_str());
  unlink((base + ".err").c_str());
  return result;
}

}  // namespace edc_test
