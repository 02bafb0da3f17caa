#include <sys/wait.h>

#include <iterator>

#include "edc_test.h"

namespace edc_test {

std::string Capture(const std::function<void()> &fn, FILE *stream) {
  fflush(stream);
  FILE *sink = tmpfile();
  if (sink == nullptr) {
    ADD_FAILURE() << "tmpfile failed";
    return {};
  }
  const int fd = fileno(stream);
  const int saved = dup(fd);
  dup2(fileno(sink), fd);
  fn();
  fflush(stream);
  dup2(saved, fd);
  close(saved);

  std::string text;
  rewind(sink);
  for (int c; (c = fgetc(sink)) != EOF;) text += static_cast<char>(c);
  fclose(sink);
  return text;
}

std::string Normalize(const std::string &text) {
  static const std::regex prefix(R"(^[^:\n]+:[0-9]+:(\w+)\(\) (ERROR|WARNING|BUG): )",
                                 std::regex::multiline);
  static const std::regex suffix(R"( \t\t\t(\w+)\(\):[0-9]+$)", std::regex::multiline);
  return std::regex_replace(std::regex_replace(text, prefix, "$1() $2: "), suffix, " \t\t\t$1()");
}

std::vector<std::string> SplitLines(const std::string &text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> Lines(const std::function<void()> &fn, bool debug) {
  DebugOn on(debug);
  return SplitLines(Normalize(Capture(fn)));
}

std::string ExpectedLine(const std::string &text, const void *pointer) {
  std::istringstream in(text);
  std::string kind, func, message;
  in >> kind >> func;
  std::getline(in >> std::ws, message);
  message = std::regex_replace(message, std::regex("\\\\t"), "\t");
  message = std::regex_replace(message, std::regex("%p"), Format("%p", pointer));
  for (char &c : kind) c = static_cast<char>(toupper(c));
  if (kind == "TRACE") return message + " \t\t\t" + func + "()";
  return func + "() " + kind + ": " + message;
}

std::string FirstMissing(const std::vector<std::string> &printed,
                         const std::vector<std::string> &expected) {
  size_t found = 0;
  for (const auto &line : printed) found += found < expected.size() && line == expected[found];
  return found < expected.size() ? expected[found] : "";
}

std::string CorpusDir() {
  return EDC_CORPUS_DIR;
}

Bytes ReadFile(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << "cannot open " << path;
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string RunCommand(const std::string &command, int *status) {
  std::string out;
  FILE *pipe = popen(command.c_str(), "r");
  for (int c; pipe != nullptr && (c = fgetc(pipe)) != EOF;) out += static_cast<char>(c);
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
  for (const uint8_t byte : ReadFile(base + ".err")) result.err += static_cast<char>(byte);
  unlink((base + ".in").c_str());
  unlink((base + ".err").c_str());
  return result;
}

}  // namespace edc_test
