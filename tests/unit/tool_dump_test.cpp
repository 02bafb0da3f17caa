// The dump command as a user runs it: every corpus EDID reads the same as
// binary, as edid-decode's hex and as xxd -p's, and the tool prints what
// print_edid prints; unusable input gets one line on standard error and 2.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "capture.h"
#include "edid_builder.h"
#include "edid_composer.h"
#include "edid_input.h"
#include "tool_runner.h"

using edc_test::RunTool;

namespace {

// The hex text of bytes as edid-decode prints it (a heading, 16 bytes a line,
// an empty line after each block, then the decoded text) or as xxd -p does.
std::string HexForm(const std::vector<uint8_t> &bytes, bool edid_decode) {
  std::string text = edid_decode ? "edid-decode (hex):\n\n" : "";
  const size_t per_line = edid_decode ? 16 : 30;
  for (size_t i = 0; i < bytes.size(); ++i) {
    char pair[3];
    snprintf(pair, sizeof pair, "%02x", bytes[i]);
    text += pair;
    text += (i + 1) % per_line == 0 || i + 1 == bytes.size() ? "\n" : edid_decode ? " " : "";
    if (edid_decode && (i + 1) % 128 == 0) text += "\n";
  }
  if (edid_decode) text += "----------------\n\nBlock 0, Base EDID:\n  Manufacturer: DEL\n";
  return text;
}

// The reader on every corpus EDID; the tool itself, with each option and
// form, on every tenth (on all with EDC_TOOL_FULL_CORPUS=1: about 20 s, and
// 100 s under the sanitizers).
TEST(ToolDump, ReadsEveryCorpusEdidInEachFormAsPrintEdidPrintsIt) {
  char dir[] = "/tmp/edc_dump_XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  const std::string xxd = std::string(dir) + "/edid.hex";
  const size_t stride = getenv("EDC_TOOL_FULL_CORPUS") != nullptr ? 1 : 10;
  const auto manifest = edc_test::ReadCorpusManifest();
  int statuses[2] = {0, 0};
  for (size_t i = 0; i < manifest.size(); ++i) {
    const std::string path = edc_test::CorpusDir() + "/edid/" + manifest[i].file;
    const auto binary = edc_test::ReadFile(path);
    const std::string forms[] = {HexForm(binary, true), HexForm(binary, false)};
    for (const auto &form : forms)
      EXPECT_EQ(edc_tool::ParseEdid({form.begin(), form.end()}).bytes, binary) << path;
    if (i % stride != 0) continue;

    const auto print = [&](uint8_t summary, const std::string &title) {
      return edc_test::CaptureStdout([&] {
        print_edid(binary.data(), static_cast<uint32_t>(binary.size()), summary, title.c_str());
      });
    };
    const std::string full = print(0, path);
    // print_edid prints nothing but the failure when decoding fails.
    const int status = full.find("print_edid() ERROR: Failed decoding") != std::string::npos;
    ++statuses[status];
    const std::string traced_summary = [&] {
      edc_test::DebugOn debug;
      return print(1, "TV");
    }();
    std::ofstream(xxd) << forms[1];
    const std::pair<edc_test::ToolResult, std::string> runs[] = {
        {RunTool("dump " + path), full},
        {RunTool("dump --summary --debug --title TV " + xxd), traced_summary},
        {RunTool("dump -", forms[0]), print(0, "standard input")}};
    for (const auto &[result, expected] : runs) {
      EXPECT_EQ(result.status, status) << path;
      EXPECT_EQ(result.out, expected) << path;
      EXPECT_EQ(result.err, "") << path;
    }
  }
  unlink(xxd.c_str());
  rmdir(dir);
  EXPECT_GT(statuses[0], 0);
  EXPECT_GT(statuses[1], 0);
}

TEST(ToolDump, UnusableInputIsOneLineAndStatus2) {
  const auto base = edc_test::ReadFile(edc_test::CorpusDir() + "/edid/base-fabfe2602322.bin");
  const struct {
    std::string file, input, error;
  } cases[] = {
      {"/nonexistent/edid.bin", "",
       "/nonexistent/edid.bin: cannot open: No such file or directory"},
      {"/", "", "/: cannot read: Is a directory"},
      {"-", "", "standard input: the input is empty"},
      {"-", "00 ff zz\n", "standard input: line 1: \"zz\" is not hexadecimal EDID data"},
      {"-", std::string(base.begin(), base.end()) + "\n",
       "standard input: 129 bytes of EDID data, which is not a multiple of 128"},
  };
  for (const auto &c : cases) {
    const auto result = RunTool("dump " + c.file, c.input);
    EXPECT_EQ(result.status, 2) << c.error;
    EXPECT_EQ(result.out, "") << c.error;
    EXPECT_EQ(result.err, "edid-composer: " + c.error + "\n");
  }
  const auto usage = RunTool("dump");  // FILE missing
  EXPECT_EQ(usage.status, 2);
  EXPECT_THAT(usage.err, testing::HasSubstr("FILE is required"));
}

}  // namespace
