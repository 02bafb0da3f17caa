#include <sys/wait.h>

#include "edc_test.h"

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

std::vector<std::string> RunForEach(const std::string &folder,
                                    const std::vector<std::string> &files,
                                    const std::string &command) {
  // A NUL, which the commands never print, after each file's output.
  std::string script = "cd '" + folder + "' && for f in";
  for (const std::string &file : files) script += " '" + file + "'";
  std::istringstream out(RunCommand(script + "; do " + command + "; printf '\\0'; done"));
  std::vector<std::string> all;
  for (std::string text; std::getline(out, text, '\0');) all.push_back(text);
  EXPECT_EQ(all.size(), files.size());
  all.resize(files.size());
  return all;
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
