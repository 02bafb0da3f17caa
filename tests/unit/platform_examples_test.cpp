// The sample configurations in examples/ load with the stand-alone store and
// read back to what their comments promise.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "capture.h"
#include "config_store.h"
#include "edid_composer_internal.h"

using edc_test::Lines;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// Every entry of a list as text: "vic stereo" for video modes, "width ratio
// rate" for standard timings, the number for audio entries.
std::vector<std::string> Entries(ll_list_t *list) {
  std::vector<std::string> out;
  for (int32_t i = 0; i < ll_size(list); ++i) {
    void *d = nullptr;
    ll_entry_at(list, i, &d);
    const auto *u = static_cast<uint32_t *>(d);
    if (ll_verify_list_type(list, "int"))
      out.push_back(std::to_string(u[0]));
    else if (ll_verify_list_type(list, "std_timing_t"))
      out.push_back(std::to_string(u[0]) + " " + std::to_string(u[1]) + " " + std::to_string(u[2]));
    else
      out.push_back(std::to_string(static_cast<short_video_desc_t *>(d)->vic) + " " +
                    std::to_string(static_cast<short_video_desc_t *>(d)->stereo));
  }
  return out;
}

class ExampleConfig : public testing::Test {
 protected:
  void Load(const std::string &name) {
    ASSERT_EQ(config_store_load_file((std::string(EDC_EXAMPLES_DIR) + "/" + name).c_str()), 0);
    ASSERT_TRUE(platform_values_init(&v));
    lines = Lines([&] { EXPECT_TRUE(_read_platform_values(&v)); });
  }
  void TearDown() override {
    platform_values_destroy(&v);
    config_store_clear();
  }
  platform_values_t v{};
  std::vector<std::string> lines;
};

TEST_F(ExampleConfig, FullSampleSetsEveryKeyAsItsCommentsSay) {
  Load("platform.toml");
  EXPECT_THAT(lines, IsEmpty());  // every key is present and valid
  EXPECT_EQ(std::tie(v.product_id, v.serial, v.week, v.year),
            std::make_tuple(0x1234u, 0x12345678u, 12u, 2024u));
  EXPECT_EQ(std::string(v.manufacturer_id) + "|" + v.monitor_name + "|" + v.monitor_serial,
            "EDC|EDC Set-top|SN-000042");
  EXPECT_EQ(std::tie(v.native_refresh_rate, v.current_mode_set_to_priority, v.geometry_limit,
                     v.native_bit, v.underscan, v.is_tv, v.dc_30bit, v.dc_36bit, v.tmds_override),
            std::make_tuple(60, 1, 0, 1, 0, 0, 1, 1, 0));
  EXPECT_EQ(std::tie(v.supports_ai, v.xvycc601, v.xvycc709), std::make_tuple(2, 2, 2));
  EXPECT_EQ(std::tie(v.cnc0, v.cnc1, v.cnc2, v.cnc3), std::make_tuple(2u, 2u, 2u, 2u));
  EXPECT_EQ(std::tie(v.audio_pass_through, v.speaker_entry), std::make_tuple(1, 0x0F));
  // 3D: FP 1, SBSH 2, TBH 4.
  EXPECT_THAT(Entries(&v.video_60_priority),
              ElementsAre("16 0", "4 5", "5 2", "32 5", "34 0", "3 0", "2 0", "1 0"));
  EXPECT_THAT(Entries(&v.video_60_additional), ElementsAre("4 0", "3 0", "1 0"));
  EXPECT_THAT(Entries(&v.video_50_priority),
              ElementsAre("31 0", "19 5", "20 2", "32 5", "33 0", "18 0", "17 0", "1 0"));
  EXPECT_THAT(Entries(&v.video_50_additional), ElementsAre("19 0", "18 0", "1 0"));
  EXPECT_THAT(v.priority_4k_x_2k, ElementsAre(1u, 2u, 3u, 4u, 0u, 0u, 0u));
  EXPECT_THAT(v.addition_4k_x_2k, ElementsAre(0u, 0u, 0u, 0u, 0u, 0u, 0u));
  EXPECT_EQ(std::tie(v.established_timings_1, v.established_timings_2, v.manufacturer_timings),
            std::make_tuple(0x21u, 0x09u, 0u));
  // Aspect codes: 1 4:3, 2 5:4, 3 16:9.
  EXPECT_THAT(Entries(&v.std_timings),
              ElementsAre("1920 3 60", "1600 1 60", "1280 2 60", "1280 3 60"));
  // Short audio descriptor bytes from the low end (CTA-861): format << 3 |
  // channels - 1; sample rates; sample sizes or bit rate / 8 kbit/s.
  EXPECT_THAT(Entries(&v.audio_list),
              ElementsAre(std::to_string(0x07 << 16 | 0x07 << 8 | (1 << 3 | 1)),
                          std::to_string(0x07 << 16 | 0x7F << 8 | (1 << 3 | 7)),
                          std::to_string((640 / 8) << 16 | 0x07 << 8 | (2 << 3 | 5)),
                          std::to_string((1536 / 8) << 16 | 0x06 << 8 | (7 << 3 | 5))));
}

TEST_F(ExampleConfig, MinimalSampleOnlyWarnsAboutTheValuesItLeavesOut) {
  Load("platform-minimal.toml");
  // 20 numbers and monitor_serial are left to their defaults; no list is missing.
  EXPECT_EQ(lines.size(), 21u);
  for (const auto &line : lines) EXPECT_THAT(line, testing::HasSubstr("() WARNING: ")) << line;
  EXPECT_EQ(std::string(v.manufacturer_id) + "|" + v.monitor_name, "EDC|EDC Set-top");
  EXPECT_EQ(std::tie(v.product_id, v.audio_pass_through), std::make_tuple(1u, 1));
  EXPECT_THAT(Entries(&v.video_60_priority), ElementsAre("16 0", "4 0", "5 0", "3 0", "1 0"));
  EXPECT_THAT(Entries(&v.video_50_priority), ElementsAre("31 0", "19 0", "20 0", "18 0", "1 0"));
  EXPECT_THAT(Entries(&v.audio_list), ElementsAre(std::to_string(0x070709)));
}

}  // namespace
