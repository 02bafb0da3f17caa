#include <cstdlib>
#include <iterator>

#include "edc_test.h"

namespace edc_test {

void ExpectGolden(const std::string &name, const std::string &text) {
  const std::string path = std::string(EDC_TESTS_DIR) + "/golden/" + name;
  if (const char *update = getenv("EDC_UPDATE_GOLDEN"); update && std::string(update) == "1")
    return void(std::ofstream(path, std::ios::binary) << text);
  std::ifstream in(path, std::ios::binary);
  ASSERT_TRUE(in.good()) << "missing golden file " << path << " (EDC_UPDATE_GOLDEN=1 writes it)";
  const std::string expected{std::istreambuf_iterator<char>(in), {}};
  if (expected == text) return;
  const auto want = SplitLines(expected);
  const auto got = SplitLines(text);
  size_t line = 0;
  while (line < want.size() && line < got.size() && want[line] == got[line]) ++line;
  ADD_FAILURE() << path << " differs first at line " << line + 1
                << "\n  expected: " << (line < want.size() ? "\"" + want[line] + "\"" : "<end>")
                << "\n  actual:   " << (line < got.size() ? "\"" + got[line] + "\"" : "<end>")
                << "\n  (" << want.size() << " lines expected, " << got.size() << " produced)";
}

void Transcript::Name(const void *address, const std::string &name) {
  char text[32];
  snprintf(text, sizeof text, "%p", address);
  names_.emplace_back(text, "<" + name + ">");
  const auto mark = static_cast<int32_t>(
      static_cast<uint32_t>(reinterpret_cast<uintptr_t>(address)) ^ 0xA0A06060u);
  names_.emplace_back(std::to_string(mark), "<mark " + name + ">");
}

void Transcript::Note(const std::string &line) {
  text_ += "\n# " + line + "\n";
}

void Transcript::Call(const std::string &label, const std::function<long()> &call) {
  long result = 0;
  const std::string printed = Capture([&] { result = call(); });
  text_ += label + " -> " + std::to_string(result) + "\n" + Normalize(printed);
}

std::string Transcript::Text() const {
  std::string text = text_;
  for (const auto &[from, to] : names_)
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
      text.replace(at, from.size(), to);
  return text;
}

}  // namespace edc_test
