// The text dump, whole outputs compared with reviewed golden files
// (tests/golden/<name>.<full|summary>.txt, normalized as in capture.h), and
// the dump command as a user runs it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <fstream>

#include "capture.h"
#include "edid_builder.h"
#include "edid_composer.h"
#include "edid_input.h"
#include "golden.h"
#include "tool_runner.h"

using namespace edc_test;  // NOLINT: capture, record and tool helpers throughout
using testing::ElementsAre;

namespace {

std::vector<unsigned char> Corpus(const std::string &stem) {
  return ReadFile(CorpusDir() + "/edid/" + stem + ".bin");
}

std::string Printed(const std::vector<unsigned char> &bytes, uint8_t summary,
                    const std::string &title) {
  return CaptureStdout([&] {
    print_edid(bytes.data(), static_cast<uint32_t>(bytes.size()), summary, title.c_str());
  });
}

// An HDMI TV with 3D structures per format, a UHD TV with HDMI VICs, a
// monitor without the HDMI block, a base block alone, three blocks, and a
// CEA extension whose checksum fails.
TEST(DumpGolden, RealEdidsInBothForms) {
  for (const std::string stem :
       {"hdmi3d-01fed248b978", "hdmi3d-000ee288edb2", "monitor-cea-fcb67c4e575d",
        "base-fabfe2602322", "multi-73dba7bd93d7", "odd-003aa3b7c39b"}) {
    ExpectGolden(stem + ".full.txt", Normalize(Printed(Corpus(stem), 0, stem)));
    ExpectGolden(stem + ".summary.txt", Normalize(Printed(Corpus(stem), 1, stem)));
  }
}

// A decoded TV altered to hold what decoding never produces: a skipped
// timing (numbered 0, 2, ...), a standard timings list of another type
// (reported, walked anyway) whose entry has an aspect code outside 0..3,
// gamma 1.05, no image size, an unknown HDMI VIC, dual DVI, xvYCC709 alone.
TEST(DumpGolden, AlteredRecordAndTheValidFlag) {
  const auto bytes = Corpus("hdmi3d-01fed248b978");
  PreparedEdid record;
  edid_t &e = record.edid;
  ASSERT_TRUE(decode_edid_block_0(bytes.data(), &e) &&
              decode_edid_extensions(&bytes[128], 128, &e));
  void *data = nullptr;
  ASSERT_TRUE(ll_entry_at(&e.dtd_list, 1, &data));
  static_cast<detailed_timing_t *>(data)->valid = 0;
  ASSERT_TRUE(ll_entry_at(&e.std_timings, 0, &data));
  static_cast<std_timing_t *>(data)->aspect_ratio = 7;
  e.std_timings.type_code = e.std_timings.head->type_code = 1;
  e.serial = 0x89ABCDEF, e.monitor_name[0] = '\0', strcpy(e.monitor_data, "DATA");
  e.gamma = 5, e.h_size_cm = 0, e.dvi_dual = 1, e.xvycc709 = 1;
  e.hdmi_vic_len = 2, e.hdmi_vic[0] = 4, e.hdmi_vic[1] = 9;
  const auto print = [&](uint8_t summary) {
    return Normalize(
        CaptureStdout([&] { EXPECT_EQ(print_edid_struct(&e, summary, "altered"), 1); }));
  };
  ExpectGolden("altered.full.txt", print(0));
  ExpectGolden("altered.summary.txt", print(1));
  // Without a recognised header the full form is the title alone; the
  // summary does not look at the flag.
  e.valid = 0;
  EXPECT_EQ(print(0), "altered\n");
  ExpectGolden("altered.summary.txt", print(1));
}

TEST(Dump, RefusesWhatIsNotWholeBlocks) {
  const auto bytes = Corpus("base-fabfe2602322");
  EXPECT_THAT(
      Lines([&] {
        print_edid(nullptr, 128, 0, "t");
        print_edid(bytes.data(), 129, 0, "t");
        print_edid(bytes.data(), 0, 0, "t");  // 0 passes; no byte is read: block 0 is all zeros
        EXPECT_EQ(print_edid_struct(nullptr, 1, "t"), 0);
      }),
      ElementsAre(
          Error("print_edid",
                "\"edid_block\" memory block parameter is NULL. Exiting. edid_block:(nil)"),
          Error("print_edid", "Edid size is not an valid value. edid_bytes=129 Range=(128-256)"),
          Error("decode_edid_block_0",
                "Failed verifying the header. Expected:  ffffffffffff00 Received:               0"),
          Error("print_edid", "Failed decoding EDID block 0."),
          Bug("print_edid_struct", "\"edid\" parameter is NULL. edid:(nil)")));
}

// Every corpus EDID read as xxd -p prints it (edid-decode's form is read
// back in the corpus cross-check); the tool, with each option and form of
// input, on every tenth (all with EDC_TOOL_FULL_CORPUS=1: about 20 s, and
// 100 s under the sanitizers) prints what print_edid prints, with exit
// status 1 where decoding fails.
TEST(ToolDump, ReadsCorpusEdidsInEachFormAsPrintEdidPrintsThem) {
  const std::string xxd_file = testing::TempDir() + "edc_dump_" + std::to_string(getpid());
  const size_t stride = getenv("EDC_TOOL_FULL_CORPUS") != nullptr ? 1 : 10;
  const auto manifest = ReadCorpusManifest();
  int statuses[2] = {0, 0};
  for (size_t i = 0; i < manifest.size(); ++i) {
    const std::string path = CorpusDir() + "/edid/" + manifest[i].file;
    SCOPED_TRACE(path);
    const auto binary = ReadFile(path);
    std::string xxd;  // 30 bytes a line
    for (size_t at = 0; at < binary.size(); ++at)
      xxd += Format((at + 1) % 30 == 0 || at + 1 == binary.size() ? "%02x\n" : "%02x", binary[at]);
    EXPECT_EQ(edc_tool::ParseEdid({xxd.begin(), xxd.end()}).bytes, binary);
    if (i % stride != 0) continue;
    const std::string full = Printed(binary, 0, path);
    const int status = full.find("print_edid() ERROR: Failed decoding") != std::string::npos;
    ++statuses[status];
    const std::string traced_summary = [&] {
      DebugOn debug;
      return Printed(binary, 1, "TV");
    }();
    std::ofstream(xxd_file) << xxd;
    std::string peer = RunCommand("edid-decode '" + path + "' 2>/dev/null");
    if (peer.empty()) peer.assign(binary.begin(), binary.end());  // edid-decode crashed
    const std::pair<ToolResult, std::string> runs[] = {
        {RunTool("dump " + path), full},
        {RunTool("dump --summary --debug --title TV " + xxd_file), traced_summary},
        {RunTool("dump -", peer), Printed(binary, 0, "standard input")}};
    for (const auto &[result, expected] : runs) {
      EXPECT_EQ(result.status, status);
      EXPECT_EQ(result.out, expected);
      EXPECT_EQ(result.err, "");
    }
  }
  unlink(xxd_file.c_str());
  EXPECT_GT(statuses[0], 0);
  EXPECT_GT(statuses[1], 0);
}

TEST(ToolDump, UnusableInputIsOneLineAndStatus2) {
  const auto base = Corpus("base-fabfe2602322");
  const struct {
    std::string file, input, error;
  } inputs[] = {
      {"/nonexistent/edid.bin", "",
       "/nonexistent/edid.bin: cannot open: No such file or directory"},
      {"/", "", "/: cannot read: Is a directory"},
      {"-", "", "standard input: the input is empty"},
      {"-", "00 ff zz\n", "standard input: line 1: \"zz\" is not hexadecimal EDID data"},
      {"-", std::string(base.begin(), base.end()) + "\n",
       "standard input: 129 bytes of EDID data, which is not a multiple of 128"},
  };
  for (const auto &c : inputs) {
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
