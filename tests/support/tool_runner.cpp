#include "tool_runner.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace edc_test {

namespace {

std::string Slurp(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace

ToolResult RunTool(const std::string &arguments, const std::string &stdin_text) {
#ifndef EDC_TOOL_PATH
  ADD_FAILURE() << "the tool is not part of this build";
  return {};
#else
  char dir[] = "/tmp/edc_tool_XXXXXX";
  if (mkdtemp(dir) == nullptr) {
    ADD_FAILURE() << "mkdtemp failed";
    return {};
  }
  const std::string base(dir);
  {
    std::ofstream in(base + "/in", std::ios::binary);
    in << stdin_text;
  }
  const std::string command = std::string("'") + EDC_TOOL_PATH + "' " + arguments + " <'" +
                              base + "/in' >'" + base + "/out' 2>'" + base + "/err'";
  const int raw = system(command.c_str());
  ToolResult result;
  result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  result.out = Slurp(base + "/out");
  result.err = Slurp(base + "/err");
  for (const char *name : {"/in", "/out", "/err"}) unlink((base + name).c_str());
  rmdir(dir);
  return result;
#endif
}

}  // namespace edc_test
