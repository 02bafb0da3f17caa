// The edid-composer command as a user runs it: version, help, and one line
// with status 2 for every input or option it cannot use.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "capture.h"
#include "golden.h"
#include "tool_runner.h"
#include "version.h"

using edc_test::RunTool;
using testing::HasSubstr;

namespace {

TEST(Tool, VersionPrintsTheBanner) {
  const auto result = RunTool("--version");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, std::string(gVersion) + "\n");
}

TEST(Tool, HelpListsTheCommandsAndComposeHelpEveryOptionWithItsDefault) {
  const auto top = RunTool("--help");
  EXPECT_EQ(top.status, 0);
  for (const char *command : {"compose", "compare", "dump"})
    EXPECT_THAT(top.out, HasSubstr("\n  " + std::string(command) + " "));
  const auto compose = RunTool("compose --help");
  EXPECT_EQ(compose.status, 0);
  for (const char *option :
       {"--config FILE REQUIRED", "--sink FILE", "-o,--output FILE", "(default: bin)",
        "(default: 1920x1080p60)", "default: 0)", "(default: sink)", "default: 0,0,0,0)",
        "(default: all)", "--sink-filter", "(default: off)", "--summary", "--full", "--quiet",
        "--debug"})
    EXPECT_THAT(compose.out, HasSubstr(option));
}

TEST(Tool, UnusableInputIsOneLineAndStatus2) {
  const std::string examples = EDC_EXAMPLES_DIR;
  const std::string broken = testing::TempDir() + "edc_broken.toml";
  std::ofstream(broken) << "[platform.software]\nweek = \n";
  const auto base = edc_test::ReadFile(edc_test::CorpusDir() + "/edid/base-fabfe2602322.bin");
  const std::string config = " --config " + examples + "/platform.toml";
  const std::string cases[][3] = {
      // what, arguments, standard input
      {"a file that is not there", "dump /nonexistent/edid.bin", ""},
      {"a directory", "dump /", ""},
      {"nothing on standard input", "dump -", ""},
      {"a word that is not hex", "dump -", "00 ff zz\n"},
      {"129 bytes", "dump -", std::string(base.begin(), base.end()) + "\n"},
      {"no file named", "dump", ""},
      {"an unknown command", "decode x.bin", ""},
      {"no configuration", "compose -o /dev/null", ""},
      {"a configuration that is not there", "compose --config /nonexistent.toml", ""},
      {"a broken configuration", "compose --format hex --config " + broken, ""},
      {"a television EDID that is not hex", "compose --format hex --sink -" + config, "0g\n"},
      {"a bad option value", "compose --format hex --mode 1080p60" + config, ""},
      {"an output folder that is not there", "compose -o /nonexistent/edid.bin" + config, ""},
      {"standard input twice", "compare - -", ""},
      {"a second EDID that is not there", "compare " + examples + "/sony-tv.bin /nonexistent", ""},
  };
  std::string out = "# == edid-composer <arguments>: exit status, standard output and error\n";
  for (const auto &[what, arguments, input] : cases) {
    const auto result = RunTool(arguments, input);
    out += "== " + what + ": " + arguments + "\n-> " + std::to_string(result.status) + "\n" +
           result.out + result.err;
  }
  remove(broken.c_str());
  // Paths that depend on the machine are left out.
  for (const std::string &path : {examples + "/", testing::TempDir()})
    for (size_t at; (at = out.find(path)) != std::string::npos;) out.erase(at, path.size());
  edc_test::ExpectGolden("tool_unusable.txt", out);
}

}  // namespace
