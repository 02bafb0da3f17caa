// edid-composer in careless or hostile hands (tests/data/tool_hostile.tsv):
// every run ends with the status and the one line expected, and leaves on
// disk exactly what it should: nothing it does not own replaced, no input
// overwritten, no temporary file.
#include <unistd.h>

#include <filesystem>

#include "edc_test.h"

using namespace edc_test;  // NOLINT: capture and tool helpers throughout

namespace {

std::string Substituted(std::string text, const std::string &scratch) {
  const std::pair<std::string, std::string> names[] = {
      {"$S", scratch},
      {"$C", EDC_EXAMPLES_DIR "/platform.toml"},
      {"$T", EDC_EXAMPLES_DIR "/sony-tv.bin"},
      {"$E", EDC_TOOL_PATH},
  };
  for (const auto &[name, value] : names)
    for (size_t at; (at = text.find(name)) != std::string::npos;) text.replace(at, 2, value);
  return text;
}

std::string FirstLine(const std::string &text) {
  return text.substr(0, text.find('\n'));
}

TEST(ToolHostile, EachRunSaysWhatIsWrongAndLosesNothing) {
  namespace fs = std::filesystem;
  const std::string scratch = testing::TempDir() + "edc_hostile_" + std::to_string(getpid());
  for (const Line &row : ReadRows("tool_hostile.tsv")) {
    SCOPED_TRACE(row[0]);
    std::string setup = row[1] == "-" ? "" : row[1];
    if (setup.starts_with("root:")) {
      if (geteuid() != 0) continue;  // device nodes are made by root only
      setup.erase(0, 5);
    }
    fs::remove_all(scratch);
    fs::create_directories(scratch);
    const std::string in_scratch = "cd '" + scratch + "' && ";
    if (!setup.empty())
      RunCommand(in_scratch + "{ " + Substituted(setup, scratch) + "; } 2>/dev/null");
    const auto result = RunTool(Substituted(row[2], scratch));
    EXPECT_EQ(std::to_string(result.status), row[3]);
    std::string first = FirstLine(result.err);
    for (size_t at; (at = first.find(scratch)) != std::string::npos;)
      first.replace(at, scratch.size(), "$S");
    EXPECT_EQ(first, row[4] == "-" ? "" : row[4]);
    if (row[5] != "-") {
      EXPECT_EQ(FirstLine(RunCommand(in_scratch + Substituted(row[5], scratch))),
                row[6] == "-" ? "" : row[6]);
    }
  }
  fs::remove_all(scratch);
}

}  // namespace
