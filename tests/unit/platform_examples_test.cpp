// The sample configurations in examples/: they load with the stand-alone
// store and read back to what their comments promise.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "capture.h"
#include "config_store.h"
#include "edid_composer_internal.h"
#include "linked_list.h"
#include "utility.h"

using edc_test::Lines;
using edc_test::Warning;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

const std::string kRoot = "platform.software.drivers.avcap.edid.";

// Loads one example file into the store and reads the platform values from it.
class ExampleConfig : public testing::Test {
 protected:
  void Load(const std::string &name) {
    ASSERT_EQ(config_store_load_file((std::string(EDC_EXAMPLES_DIR) + "/" + name).c_str()), 0);
    ASSERT_TRUE(platform_values_init(&v));
    lines = Lines([&] { EXPECT_TRUE(_read_platform_values(&v)); });
  }
  void TearDown() override {
    if (ll_is_initialized(&v.audio_list)) platform_values_destroy(&v);
    config_store_clear();
  }

  std::vector<std::vector<uint32_t>> Modes(ll_list_t *list) {
    std::vector<std::vector<uint32_t>> out;
    for (int32_t i = 0; i < ll_size(list); ++i) {
      void *data = nullptr;
      EXPECT_EQ(ll_entry_at(list, i, &data), 1);
      const auto *mode = static_cast<short_video_desc_t *>(data);
      out.push_back({mode->vic, mode->stereo});
    }
    return out;
  }
  std::vector<std::vector<uint32_t>> Timings() {
    std::vector<std::vector<uint32_t>> out;
    for (int32_t i = 0; i < ll_size(&v.std_timings); ++i) {
      void *data = nullptr;
      EXPECT_EQ(ll_entry_at(&v.std_timings, i, &data), 1);
      const auto *t = static_cast<std_timing_t *>(data);
      out.push_back({t->h_active, t->aspect_ratio, t->refresh_rate});
    }
    return out;
  }
  std::vector<int32_t> Audio() {
    std::vector<int32_t> out;
    for (int32_t i = 0; i < ll_size(&v.audio_list); ++i) {
      void *data = nullptr;
      EXPECT_EQ(ll_entry_at(&v.audio_list, i, &data), 1);
      out.push_back(*static_cast<int32_t *>(data));
    }
    return out;
  }

  platform_values_t v{};
  std::vector<std::string> lines;
};

constexpr uint32_t FP = 0x01, SBSH = 0x02, TBH = 0x04;

TEST_F(ExampleConfig, FullSampleSetsEveryKeyAsItsCommentsSay) {
  Load("platform.toml");
  EXPECT_THAT(lines, IsEmpty());  // every key present and valid

  EXPECT_STREQ(v.manufacturer_id, "EDC");
  EXPECT_EQ(v.product_id, 0x1234u);
  EXPECT_EQ(v.serial, 0x12345678u);
  EXPECT_EQ(v.week, 12u);
  EXPECT_EQ(v.year, 2024u);
  EXPECT_STREQ(v.monitor_name, "EDC Set-top");
  EXPECT_STREQ(v.monitor_serial, "SN-000042");

  EXPECT_EQ(v.native_refresh_rate, 60);
  EXPECT_EQ(v.current_mode_set_to_priority, 1);
  EXPECT_EQ(v.geometry_limit, 0);
  EXPECT_EQ(v.native_bit, 1);
  EXPECT_THAT(
      Modes(&v.video_60_priority),
      ElementsAreArray(std::vector<std::vector<uint32_t>>{
          {16, 0}, {4, FP | TBH}, {5, SBSH}, {32, FP | TBH}, {34, 0}, {3, 0}, {2, 0}, {1, 0}}));
  EXPECT_THAT(Modes(&v.video_60_additional),
              ElementsAreArray(std::vector<std::vector<uint32_t>>{{4, 0}, {3, 0}, {1, 0}}));
  EXPECT_THAT(
      Modes(&v.video_50_priority),
      ElementsAreArray(std::vector<std::vector<uint32_t>>{
          {31, 0}, {19, FP | TBH}, {20, SBSH}, {32, FP | TBH}, {33, 0}, {18, 0}, {17, 0}, {1, 0}}));
  EXPECT_THAT(Modes(&v.video_50_additional),
              ElementsAreArray(std::vector<std::vector<uint32_t>>{{19, 0}, {18, 0}, {1, 0}}));
  EXPECT_THAT(v.priority_4k_x_2k, ElementsAre(1u, 2u, 3u, 4u, 0u, 0u, 0u));
  EXPECT_THAT(v.addition_4k_x_2k, ElementsAre(0u, 0u, 0u, 0u, 0u, 0u, 0u));
  EXPECT_EQ(v.established_timings_1, 0x21u);  // bits 5 and 0
  EXPECT_EQ(v.established_timings_2, 0x09u);  // bits 3 and 0
  EXPECT_EQ(v.manufacturer_timings, 0u);
  // Aspect codes: 0 1:1, 1 4:3, 2 5:4, 3 16:9.
  EXPECT_THAT(Timings(), ElementsAreArray(std::vector<std::vector<uint32_t>>{
                             {1920, 3, 60}, {1600, 1, 60}, {1280, 2, 60}, {1280, 3, 60}}));

  EXPECT_EQ(v.underscan, 0);
  EXPECT_EQ(v.is_tv, 0);
  EXPECT_EQ(v.dc_30bit, 1);
  EXPECT_EQ(v.dc_36bit, 1);
  EXPECT_EQ(v.tmds_override, 0);
  EXPECT_EQ(v.supports_ai, 2);
  EXPECT_EQ(v.xvycc601, 2);
  EXPECT_EQ(v.xvycc709, 2);
  EXPECT_EQ(v.cnc0, 2u);
  EXPECT_EQ(v.cnc1, 2u);
  EXPECT_EQ(v.cnc2, 2u);
  EXPECT_EQ(v.cnc3, 2u);

  EXPECT_EQ(v.audio_pass_through, 1);
  EXPECT_EQ(v.speaker_entry, 0x0F);
  // Short audio descriptors, bytes 1, 2, 3 from the low end (CTA-861):
  // format << 3 | channels - 1; sample rates; sizes or bit rate / 8 kbit/s.
  EXPECT_THAT(Audio(), ElementsAre(0x07 << 16 | 0x07 << 8 | (1 << 3 | 1),
                                   0x07 << 16 | 0x7F << 8 | (1 << 3 | 7),
                                   (640 / 8) << 16 | 0x07 << 8 | (2 << 3 | 5),
                                   (1536 / 8) << 16 | 0x06 << 8 | (7 << 3 | 5)));
}

TEST_F(ExampleConfig, MinimalSampleLeavesOnlyDefaultsToWarnAbout) {
  Load("platform-minimal.toml");
  // The keys it leaves out, with their defaults.
  const std::pair<const char *, const char *> signed_keys[] = {
      {"native_refresh_rate", "60"},
      {"current_mode_set_to_priority", "0"},
      {"underscan", "0"},
      {"is_tv", "0"},
      {"geometry_limit", "0"},
      {"dc_30bit", "0"},
      {"dc_36bit", "0"},
      {"tmds_override", "0"},
      {"supports_ai", "0"},
      {"speaker_entry", "1"},
      {"xvYCC601", "0"},
      {"xvYCC709", "0"},
      {"native_bit", "1"}};
  const std::pair<const char *, const char *> unsigned_keys[] = {
      {"serial", "0"}, {"week", "1"}, {"year", "2012"}, {"CNC0", "0"},
      {"CNC1", "0"},   {"CNC2", "0"}, {"CNC3", "0"}};
  std::vector<std::string> expected;
  for (const auto &[key, def] : signed_keys)
    expected.push_back(Warning(
        "get_pc_int", "Unable to find the platform path:" + kRoot + key + " Defaulting to:" + def));
  for (const auto &[key, def] : unsigned_keys)
    expected.push_back(Warning("get_pc_uint", "Unable to find the platform path:" + kRoot + key +
                                                  " Defaulting to:" + def));
  expected.push_back(Warning(
      "get_pc_str",
      "Error trying to read \"" + kRoot + "monitor_serial\" from the platform config. Using:"));
  EXPECT_THAT(lines, ElementsAreArray(expected));

  EXPECT_STREQ(v.manufacturer_id, "EDC");
  EXPECT_EQ(v.product_id, 1u);
  EXPECT_STREQ(v.monitor_name, "EDC Set-top");
  EXPECT_EQ(ll_size(&v.video_60_priority), 5);
  EXPECT_EQ(ll_size(&v.video_50_priority), 5);
  EXPECT_EQ(v.audio_pass_through, 1);
  EXPECT_THAT(Audio(), ElementsAre(0x070709));
}

}  // namespace
