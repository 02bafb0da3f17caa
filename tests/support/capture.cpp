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

std::string Error(const std::string &func, const std::string &message) {
  return func + "() ERROR: " + message;
}
std::string Warning(const std::string &func, const std::string &message) {
  return func + "() WARNING: " + message;
}
std::string Bug(const std::string &func, const std::string &message) {
  return func + "() BUG: " + message;
}
std::string Trace(const std::string &func, const std::string &message) {
  return message + " \t\t\t" + func + "()";
}

std::string ExpectedLine(const std::string &text, const void *pointer) {
  std::istringstream in(text);
  std::string kind, func, message, raw;
  in >> kind >> func;
  std::getline(in >> std::ws, raw);
  for (size_t i = 0; i < raw.size(); ++i) {
    const bool tab = raw.compare(i, 2, "\\t") == 0;
    message += tab ? '\t' : raw[i];
    i += tab;
  }
  message = std::regex_replace(message, std::regex("%p"), Format("%p", pointer));
  for (char &c : kind) c = static_cast<char>(toupper(c));
  return kind == "ERROR"     ? Error(func, message)
         : kind == "WARNING" ? Warning(func, message)
         : kind == "BUG"     ? Bug(func, message)
                             : Trace(func, message);
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

}  // namespace edc_test
