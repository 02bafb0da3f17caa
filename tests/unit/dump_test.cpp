// The text dump: whole outputs compared with reviewed golden files
// (tests/golden/<name>.<full|summary>.txt, normalized as in capture.h), and
// the rules that real EDIDs do not show. After a deliberate change of the
// output, rewrite the golden files with
//   EDC_UPDATE_GOLDEN=1 build/gcc/tests/edc_unit_tests --gtest_filter='Dump*'
// and review their diff line by line before committing it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>

#include "capture.h"
#include "edid_builder.h"
#include "edid_composer.h"

using edc_test::Error;
using edc_test::Lines;
using testing::ElementsAre;

namespace {

std::vector<unsigned char> Corpus(const std::string &stem) {
  return edc_test::ReadFile(edc_test::CorpusDir() + "/edid/" + stem + ".bin");
}

void ExpectGolden(const std::string &name, const std::function<void()> &print) {
  const std::string text = edc_test::Normalize(edc_test::CaptureStdout(print));
  const std::string path = std::string(EDC_TESTS_DIR) + "/golden/" + name;
  if (getenv("EDC_UPDATE_GOLDEN") != nullptr) std::ofstream(path, std::ios::binary) << text;
  const auto golden = edc_test::ReadFile(path);
  EXPECT_EQ(text, std::string(golden.begin(), golden.end())) << path;
}

// An HDMI TV with 3D structures per format, a UHD TV with HDMI VICs, a
// monitor without the HDMI block, a base block alone, three blocks, and a
// CEA extension whose checksum fails.
TEST(DumpGolden, RealEdidsInBothForms) {
  for (const char *stem : {"hdmi3d-01fed248b978", "hdmi3d-000ee288edb2", "monitor-cea-fcb67c4e575d",
                           "base-fabfe2602322", "multi-73dba7bd93d7", "odd-003aa3b7c39b"}) {
    const auto bytes = Corpus(stem);
    for (const uint8_t summary : {0, 1})
      ExpectGolden(std::string(stem) + (summary ? ".summary.txt" : ".full.txt"), [&] {
        print_edid(bytes.data(), static_cast<uint32_t>(bytes.size()), summary, stem);
      });
  }
}

// A decoded TV altered to hold what decoding never produces: a skipped
// timing (numbered 0, 2, ...), a standard timings list of another type
// (reported, walked anyway) whose entry has an aspect code outside 0..3,
// gamma 1.05, no image size, an unknown HDMI VIC, dual DVI, xvYCC709 alone.
TEST(DumpGolden, AlteredRecordAndTheValidFlag) {
  const auto bytes = Corpus("hdmi3d-01fed248b978");
  edc_test::PreparedEdid record;
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
  for (const uint8_t summary : {0, 1})
    ExpectGolden(std::string("altered.") + (summary ? "summary.txt" : "full.txt"),
                 [&] { EXPECT_EQ(print_edid_struct(&e, summary, "altered"), 1); });
  // Without a recognised header the full form is the title alone; the
  // summary does not look at the flag.
  e.valid = 0;
  EXPECT_EQ(edc_test::CaptureStdout([&] { print_edid_struct(&e, 0, "altered"); }), "altered\n");
  ExpectGolden("altered.summary.txt", [&] { print_edid_struct(&e, 1, "altered"); });
}

TEST(Dump, RefusesWhatIsNotWholeBlocks) {
  const auto bytes = Corpus("base-fabfe2602322");
  const auto header =
      "Failed verifying the header. Expected:  ffffffffffff00 Received:" + std::string(15, ' ') +
      "0";
  EXPECT_THAT(Lines([&] { print_edid(nullptr, 128, 0, "t"); }),
              ElementsAre(Error("print_edid",
                                "\"edid_block\" memory block parameter is NULL. "
                                "Exiting. edid_block:(nil)")));
  EXPECT_THAT(Lines([&] { print_edid(bytes.data(), 129, 0, "t"); }),
              ElementsAre(Error("print_edid",
                                "Edid size is not an valid value. edid_bytes=129 "
                                "Range=(128-256)")));
  // 0 passes the test; no byte is read, so block 0 is all zeros.
  EXPECT_THAT(Lines([&] { print_edid(bytes.data(), 0, 0, "t"); }),
              ElementsAre(Error("decode_edid_block_0", header),
                          Error("print_edid", "Failed decoding EDID block 0.")));
  EXPECT_THAT(Lines([] { EXPECT_EQ(print_edid_struct(nullptr, 1, "t"), 0); }),
              ElementsAre(edc_test::Bug("print_edid_struct",
                                        "\"edid\" parameter is NULL. "
                                        "edid:(nil)")));
}

}  // namespace
