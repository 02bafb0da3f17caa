#include "golden.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "capture.h"

namespace edc_test {

namespace {

std::string Slurp(const std::string &path, bool &found) {
  std::ifstream in(path, std::ios::binary);
  found = in.good();
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace

void ExpectGolden(const std::string &name, const std::string &text) {
  const std::string path = std::string(EDC_TESTS_DIR) + "/golden/" + name;
  const char *update = getenv("EDC_UPDATE_GOLDEN");
  if (update != nullptr && std::string(update) == "1") {
    std::ofstream(path, std::ios::binary) << text;
    return;
  }
  bool found = false;
  const std::string expected = Slurp(path, found);
  ASSERT_TRUE(found) << "missing golden file " << path << " (EDC_UPDATE_GOLDEN=1 writes it)";
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

}  // namespace edc_test
