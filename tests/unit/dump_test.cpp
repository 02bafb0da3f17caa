// The text dump: whole outputs of real EDIDs and of a hand-built record
// compared with reviewed golden files, and the rules that real EDIDs do not
// show (the valid flag, skipped timings, the size checks, list checks).
//
// Golden files live in tests/golden/<name>.<full|summary>.txt and hold the
// normalized output (capture.h). After a deliberate change of the output,
// rewrite them with
//   EDC_UPDATE_GOLDEN=1 build/gcc/tests/edc_unit_tests --gtest_filter='Dump*'
// and review the diff line by line before committing it.
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
using testing::ElementsAreArray;

namespace {

void ExpectGolden(const std::string &name, const std::string &text) {
  const std::string path = std::string(EDC_TESTS_DIR) + "/golden/" + name;
  if (getenv("EDC_UPDATE_GOLDEN") != nullptr) {
    std::ofstream(path, std::ios::binary) << text;
    return;
  }
  const auto golden = edc_test::ReadFile(path);
  EXPECT_EQ(text, std::string(golden.begin(), golden.end())) << path;
}

std::string Printed(const std::function<void()> &print) {
  return edc_test::Normalize(edc_test::CaptureStdout(print));
}

// An HDMI TV with 3D structures per format, a UHD TV with HDMI VICs, a
// monitor without the HDMI block, a base block alone, three blocks, and a
// CEA extension whose checksum fails.
TEST(DumpGolden, RealEdidsInBothForms) {
  for (const char *stem : {"hdmi3d-01fed248b978", "hdmi3d-000ee288edb2", "monitor-cea-fcb67c4e575d",
                           "base-fabfe2602322", "multi-73dba7bd93d7", "odd-003aa3b7c39b"}) {
    const auto bytes = edc_test::ReadFile(edc_test::CorpusDir() + "/edid/" + stem + ".bin");
    for (const uint8_t summary : {0, 1}) {
      ExpectGolden(std::string(stem) + (summary ? ".summary.txt" : ".full.txt"), Printed([&] {
                     print_edid(bytes.data(), static_cast<uint32_t>(bytes.size()), summary, stem);
                   }));
    }
  }
}

template <typename T>
void Append(ll_list_t *list, const char *type, const T &element) {
  ll_entry_t *entry = nullptr;
  void *data = nullptr;
  ASSERT_TRUE(ll_create_entry(sizeof(T), &entry, &data, type));
  memcpy(data, &element, sizeof element);
  ASSERT_TRUE(ll_add_entry_to_back(list, entry));
}

// Every field the decoders never produce: a skipped timing between two
// valid ones (numbered 0 and 2), an aspect code outside 0..3, gamma 1.05,
// a zero image size, dual-link DVI, xvYCC709 alone.
void FillHandBuiltRecord(edid_t &e) {
  e.valid = 1;
  memcpy(e.manufacturer_id, "ABC", 4);
  e.serial = 0x89ABCDEF;  // negative in the summary's %d
  strcpy(e.monitor_serial, "SN-1");
  strcpy(e.monitor_data, "DATA");
  e.product_id = 0xBEEF, e.week = 53, e.year = 2012, e.version = 1, e.revision = 3;
  e.gamma = 5, e.h_size_cm = 0, e.v_size_cm = 30, e.gtf = 1;
  e.established_timings_2 = 0x101, e.num_extensions = 1;
  for (const std_timing_t st :
       {std_timing_t{1280, 0, 60}, {1280, 1, 75}, {1280, 2, 60}, {1920, 3, 50}, {1024, 7, 85}})
    Append(&e.std_timings, "std_timing_t", st);
  detailed_timing_t t{};
  ASSERT_TRUE(convert_vic_to_dtd(5, &t));  // 1920x1080i60
  Append(&e.dtd_list, "detailed_timing_t", t);
  Append(&e.dtd_list, "detailed_timing_t", detailed_timing_t{});
  ASSERT_TRUE(convert_vic_to_dtd(17, &t));  // 720x576p50
  t.stereo = 1, t.h_border = 8, t.v_border = 4;
  Append(&e.dtd_list, "detailed_timing_t", t);
  for (const short_video_desc_t svd : {short_video_desc_t{1, 16, 0x05}, {0, 0, 0x80}, {0, 65, 0}})
    Append(&e.video_list, "short_video_desc_t", svd);
  Append(&e.audio_list, "short_audio_desc_t", short_audio_desc_t{14, 2, 0x04, 0, 0, 0, 3});
  e.hdmi_vic_len = 2, e.hdmi_vic[0] = 4, e.hdmi_vic[1] = 9, e.present_3d = 1;
  e.speaker[0] = 0x0B;
  e.hdmi_vsdb_present = 1, e.address = {2, 1, 0, 0}, e.dvi_dual = 1, e.dc_30bit = 1;
  e.max_tmds_clock = 225, e.cnc2 = 1, e.basic_audio = 1, e.xvycc709 = 1;
}

TEST(DumpGolden, HandBuiltRecordAndTheValidFlag) {
  edc_test::PreparedEdid record;
  FillHandBuiltRecord(record.edid);
  const auto print = [&](uint8_t summary) {
    return Printed([&] { EXPECT_EQ(print_edid_struct(&record.edid, summary, "hand-built"), 1); });
  };
  ExpectGolden("hand-built.full.txt", print(0));
  ExpectGolden("hand-built.summary.txt", print(1));
  const std::string summary = print(1);
  // Without a recognised header the full form is the title alone; the
  // summary does not look at the flag.
  record.edid.valid = 0;
  EXPECT_EQ(print(0), "hand-built\n");
  EXPECT_EQ(print(1), summary);
}

TEST(Dump, ChecksEachListsTypeAndWalksItAnyway) {
  edc_test::PreparedEdid record;
  record.edid.valid = 1;
  ASSERT_TRUE(ll_delete_list(&record.edid.std_timings));
  ASSERT_TRUE(ll_init(&record.edid.std_timings, "other_t"));
  Append(&record.edid.std_timings, "other_t", std_timing_t{640, 1, 60});
  const auto lines = Lines([&] { print_edid_struct(&record.edid, 0, ""); });
  const auto at = std::find(lines.begin(), lines.end(), "Standard Timings: - 1 timings");
  ASSERT_NE(at, lines.end());
  EXPECT_EQ(at[-2], Error("print_edid_struct", "The list types don't match."));
  EXPECT_EQ(at[1], "\t640x480p60");
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                          [](const std::string &l) { return l.find("ERROR") != l.npos; }),
            1);
}

TEST(Dump, RefusesWhatIsNotWholeBlocks) {
  const edc_test::Bytes block = edc_test::BaseBlock();
  EXPECT_THAT(Lines([&] { print_edid(nullptr, 128, 0, "t"); }),
              ElementsAre(Error("print_edid",
                                "\"edid_block\" memory block parameter is NULL. "
                                "Exiting. edid_block:(nil)")));
  EXPECT_THAT(
      Lines([&] { print_edid(block.data(), 129, 0, "t"); }),
      ElementsAre(
          Error("print_edid", "Edid size is not an valid value. edid_bytes=129 Range=(128-256)")));
  // 0 passes the test; no byte is read, so block 0 is all zeros.
  EXPECT_THAT(Lines([&] { print_edid(block.data(), 0, 0, "t"); }),
              ElementsAre(Error("decode_edid_block_0",
                                "Failed verifying the header. Expected:  ffffffffffff00 Received:" +
                                    std::string(15, ' ') + "0"),
                          Error("print_edid", "Failed decoding EDID block 0.")));
  EXPECT_THAT(
      Lines([] { EXPECT_EQ(print_edid_struct(nullptr, 1, "t"), 0); }),
      ElementsAre(edc_test::Bug("print_edid_struct", "\"edid\" parameter is NULL. edid:(nil)")));
}

}  // namespace
