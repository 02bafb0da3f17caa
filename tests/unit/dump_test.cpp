// The text dump, whole outputs compared with reviewed golden files
// (tests/golden/, normalized as in capture.h), and the dump command as a
// user runs it.
#include "edc_test.h"
#include "edid_composer.h"

using namespace edc_test;  // NOLINT: capture, record and tool helpers throughout

namespace {

std::string Printed(const Bytes &bytes, uint8_t summary, const std::string &title,
                    bool traces = false) {
  DebugOn debug(traces);
  return Capture([&] {
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
    ExpectGolden(stem + ".full.txt", Normalize(Printed(CorpusBytes(stem + ".bin"), 0, stem)));
    ExpectGolden(stem + ".summary.txt", Normalize(Printed(CorpusBytes(stem + ".bin"), 1, stem)));
  }
}

// A decoded TV altered to hold what decoding never produces: a skipped
// timing (numbered 0, 2, ...), a standard timings list of another type
// (reported, walked anyway) whose entry has an aspect code outside 0..3,
// gamma 1.05, no image size, an unknown HDMI VIC, dual DVI, xvYCC709 alone.
TEST(DumpGolden, AlteredRecordAndTheValidFlag) {
  const auto bytes = CorpusBytes("hdmi3d-01fed248b978.bin");
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
    return Normalize(Capture([&] { EXPECT_EQ(print_edid_struct(&e, summary, "altered"), 1); }));
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
  const auto bytes = CorpusBytes("base-fabfe2602322.bin");
  ExpectGolden("dump_refusals.txt",
               "# print_edid: NULL, 129 bytes, 0 bytes (none read: block 0 is all zeros); "
               "print_edid_struct: NULL\n" +
                   Normalize(Capture([&] {
                     print_edid(nullptr, 128, 0, "t");
                     print_edid(bytes.data(), 129, 0, "t");
                     print_edid(bytes.data(), 0, 0, "t");
                     EXPECT_EQ(print_edid_struct(nullptr, 1, "t"), 0);
                   })));
}

// On every tenth corpus EDID (all with EDC_TOOL_FULL_CORPUS=1: about 20 s,
// and 100 s under the sanitizers) the tool, from a binary file and from
// standard input as xxd -p's and edid-decode's text, prints what print_edid
// prints, exit status 1 where decoding fails. That it reads every EDID in
// each form is checked in corpus_test.cpp.
TEST(ToolDump, ReadsCorpusEdidsInEachFormAsPrintEdidPrintsThem) {
  const size_t stride = getenv("EDC_TOOL_FULL_CORPUS") != nullptr ? 1 : 10;
  for (size_t i = 0; i < Corpus().size(); i += stride) {
    const CorpusEdid &c = Corpus()[i];
    SCOPED_TRACE(c.path);
    const std::string full = Printed(c.bytes, 0, c.path);
    const int status = full.find("print_edid() ERROR: Failed decoding") != std::string::npos;
    std::string peer = RunCommand("edid-decode '" + c.path + "' 2>/dev/null");
    if (peer.empty()) peer.assign(c.bytes.begin(), c.bytes.end());  // edid-decode crashed
    const std::pair<ToolResult, std::string> runs[] = {
        {RunTool("dump " + c.path), full},
        {RunTool("dump --summary --debug --title TV -", XxdText(c.bytes)),
         Printed(c.bytes, 1, "TV", true)},
        {RunTool("dump -", peer), Printed(c.bytes, 0, "standard input")}};
    for (const auto &[result, expected] : runs) {
      EXPECT_EQ(result.status, status);
      EXPECT_EQ(result.out, expected);
      EXPECT_EQ(result.err, "");
    }
  }
}

}  // namespace
