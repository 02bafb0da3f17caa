// Platform values: the record's lifecycle, the defaults and messages of an
// empty configuration, the ranges and corrections, and the audio entries.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "capture.h"
#include "edid_composer_internal.h"

using edc_test::Bug;
using edc_test::Error;
using edc_test::Lines;
using edc_test::ScopedConfig;
using edc_test::Warning;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

const std::string kRoot = "platform.software.drivers.avcap.edid.";

// A record read from the configuration given, with the messages of the
// reading: all of them, or those whose text names the key given.
struct Read {
  explicit Read(const std::string &body, const std::string &key = "") {
    ScopedConfig config("[platform.software.drivers.avcap.edid]\n" + body);
    platform_values_init(&v);
    for (const auto &line : Lines([&] { result = _read_platform_values(&v); }))
      if (key.empty() || line.find(kRoot + key + " ") != std::string::npos ||
          line.find(kRoot + key + "\"") != std::string::npos)
        lines.push_back(line);
  }
  ~Read() { platform_values_destroy(&v); }
  std::vector<int32_t> Audio() {
    std::vector<int32_t> out;
    for (int32_t i = 0; i < ll_size(&v.audio_list); ++i) {
      void *d = nullptr;
      ll_entry_at(&v.audio_list, i, &d);
      out.push_back(*static_cast<int32_t *>(d));
    }
    return out;
  }
  platform_values_t v;
  bool result = false;
  std::vector<std::string> lines;
};

TEST(PlatformValues, EmptyConfigurationGivesTheDefaultsAndReportsEachKey) {
  Read read("");
  std::vector<std::string> expected;
  // The 22 numbers in the order they are read, as "key:default", signed ones first.
  std::istringstream numbers(
      "native_refresh_rate:60 current_mode_set_to_priority:0 audio.pass_through:0 underscan:0 "
      "is_tv:0 geometry_limit:0 dc_30bit:0 dc_36bit:0 tmds_override:0 supports_ai:0 "
      "speaker_entry:1 xvYCC601:0 xvYCC709:0 native_bit:1 | product_id:0 serial:0 week:1 "
      "year:2012 CNC0:0 CNC1:0 CNC2:0 CNC3:0");
  std::string reader = "get_pc_int";
  for (std::string word; numbers >> word;) {
    if (word == "|") reader = "get_pc_uint";
    if (word == "|") continue;
    const size_t colon = word.find(':');
    expected.push_back(Warning(reader, "Unable to find the platform path:" + kRoot +
                                           word.substr(0, colon) +
                                           " Defaulting to:" + word.substr(colon + 1)));
  }
  auto no_node = [&](const std::string &list) {
    expected.push_back(Error("_get_generic_platform_list",
                             "Unabled to find the platform node:" + kRoot + list + "."));
    expected.push_back("");
  };
  // Read in the order of their types 0, 2, 1, 3.
  const char *video_lists[] = {"50_hz_priority_list", "50_hz_addition_list", "60_hz_priority_list",
                               "60_hz_addition_list"};
  for (int i = 0; i < 4; ++i) {
    const std::string type(1, "0213"[i]);
    no_node(video_lists[i]);
    expected.push_back(
        Error("_get_platform_list",
              "A mode list (" + type +
                  ") is empty. Please verify that all of the video "
                  "mode lists are properly populated with 3D mode formated strings."));
    expected.push_back("");
  }
  no_node("4k_x_2k_priority_list");
  no_node("4k_x_2k_addition_list");
  for (const auto &[key, def] : std::vector<std::pair<std::string, std::string>>{
           {"manufacturer_id", "YYY"}, {"monitor_name", ""}, {"monitor_serial", ""}})
    expected.push_back(Warning("get_pc_str", "Error trying to read \"" + kRoot + key +
                                                 "\" from the platform config. Using:" + def));
  for (const char *list : {"established_timings_1", "established_timings_2", "manufacturer_timings",
                           "standard_timings"})
    no_node(list);
  EXPECT_THAT(read.lines, ElementsAreArray(expected));
  EXPECT_TRUE(read.result);

  const platform_values_t &v = read.v;
  EXPECT_EQ(v.native_refresh_rate, 60);
  EXPECT_EQ(v.native_bit, 1);
  EXPECT_EQ(v.speaker_entry, 1);
  EXPECT_EQ(v.week, 1u);
  EXPECT_EQ(v.year, 2012u);
  EXPECT_EQ(v.current_mode_set_to_priority | v.geometry_limit | v.audio_pass_through | v.underscan |
                v.is_tv | v.dc_30bit | v.dc_36bit | v.tmds_override | v.supports_ai | v.xvycc601 |
                v.xvycc709,
            0);
  EXPECT_EQ(v.product_id | v.serial | v.cnc0 | v.cnc1 | v.cnc2 | v.cnc3 | v.established_timings_1 |
                v.established_timings_2 | v.manufacturer_timings | v.priority_4k_x_2k[0] |
                v.addition_4k_x_2k[0],
            0u);
  EXPECT_STREQ(v.manufacturer_id, "YYY");
  EXPECT_STREQ(v.monitor_name, "");
  EXPECT_STREQ(v.monitor_serial, "");
  for (const ll_list_t *list : {&v.audio_list, &v.video_50_priority, &v.video_50_additional,
                                &v.video_60_priority, &v.video_60_additional, &v.std_timings})
    EXPECT_EQ(list->size, 0);
}

// Each range class at and beyond its edges, and the two corrections.
TEST(PlatformValues, NumbersAreClampedAndCorrectedAtTheEdgesOfTheirRanges) {
  const struct {
    std::string key, value;
    int64_t expected;
    std::string reader;  // the function that warns; none when empty
    int64_t min, max;
  } cases[] = {
      {"native_refresh_rate", "49", 50, "get_pc_int", 50, 60},
      {"native_refresh_rate", "70", 60, "get_pc_int", 50, 60},
      {"native_refresh_rate", "55", 60, "_read_platform_values", 50, 60},
      {"underscan", "2", 1, "get_pc_int", 0, 1},
      {"CNC3", "-1", 2, "get_pc_uint", 0, 2},  // read as 4294967295, printed as -1
      {"tmds_override", "1276", 1275, "get_pc_int", 0, 1275},
      {"speaker_entry", "0", 1, "get_pc_int", 1, 2047},
      {"speaker_entry", "2048", 2047, "get_pc_int", 1, 2047},
      {"product_id", "65536", 65535, "get_pc_uint", 0, 65535},
      {"year", "2101", 2100, "get_pc_uint", 1990, 2100},
      {"week", "300", 255, "get_pc_uint", 0, 255},
      {"week", "255", 255, "", 0, 0},
      {"week", "254", 53, "", 0, 0},
      {"week", "54", 53, "", 0, 0},
      {"serial", "-1", 4294967295, "", 0, 0},
      {"xvycc601", "1", 0, "", 0, 0},  // keys are case-sensitive: xvYCC601 keeps its default
  };
  for (const auto &c : cases) {
    Read read(c.key + " = " + c.value + "\n", c.key);
    std::vector<std::string> expected;
    if (c.reader == "_read_platform_values")
      expected.push_back(Warning(c.reader, "Value in the platform config file for the domain \"" +
                                               kRoot + c.key + "\" is an unrecognized value:" +
                                               c.value + ". Valid values: 50,60. Using:60"));
    else if (!c.reader.empty())
      expected.push_back(Warning(
          c.reader,
          "The value for platform path:" + kRoot + c.key +
              (c.expected == c.max ? " is larger than the maximum value. Setting to maximum."
                                   : " is smaller than the minimum value. Setting to minimum.") +
              " Min:" + std::to_string(c.min) + " Val:" + c.value +
              " Max:" + std::to_string(c.max)));
    EXPECT_THAT(read.lines, ElementsAreArray(expected)) << c.key << " = " << c.value;
    const platform_values_t &v = read.v;
    const std::map<std::string, int64_t> fields = {{"native_refresh_rate", v.native_refresh_rate},
                                                   {"underscan", v.underscan},
                                                   {"CNC3", v.cnc3},
                                                   {"tmds_override", v.tmds_override},
                                                   {"speaker_entry", v.speaker_entry},
                                                   {"product_id", v.product_id},
                                                   {"serial", v.serial},
                                                   {"week", v.week},
                                                   {"year", v.year},
                                                   {"xvycc601", v.xvycc601}};
    EXPECT_EQ(fields.at(c.key), c.expected) << c.key << " = " << c.value;
  }
}

TEST(PlatformValues, AudioEntriesAreTakenInLetterOrderAsTheyStand) {
  Read read(
      "audio.entry_z = 0xFFFFFFFF\naudio.entry_c = 0x500715\naudio.entry_b = \"0x070709\"\n"
      "audio.entry_a = -5\naudio.entry_aa = 2\n");
  EXPECT_THAT(read.Audio(), ElementsAre(-5, 0x500715, -1));
  // An entry the audio list refuses ends the reading: nothing after it is read.
  ScopedConfig config("[platform.software.drivers.avcap.edid]\naudio.entry_a = 1\nyear = 2020\n");
  platform_values_t v;
  memset(&v, 0, sizeof v);  // lists never initialised
  bool result = true;
  const auto lines = Lines([&] { result = _read_platform_values(&v); });
  EXPECT_FALSE(result);
  EXPECT_EQ(lines.back(),
            Error("_read_platform_values", "Failed adding entry to the back of the list."));
  EXPECT_EQ(v.year, 2020u);
  EXPECT_STREQ(v.manufacturer_id, "");
}

TEST(PlatformValuesRecord, DestroyStopsAtTheFirstListItCannotRemove) {
  const std::pair<ll_list_t platform_values_t::*, std::string> lists[] = {
      {&platform_values_t::audio_list, "audio_list"},
      {&platform_values_t::video_50_priority, "video_50_priority"},
      {&platform_values_t::video_50_additional, "video_50_additional"},
      {&platform_values_t::video_60_priority, "video_60_priority"},
      {&platform_values_t::video_60_additional, "video_60_additional"},
      {&platform_values_t::std_timings, "values standard timings"},
  };
  for (size_t broken = 0; broken < std::size(lists); ++broken) {
    platform_values_t v;
    memset(&v, 0xA5, sizeof v);
    ASSERT_TRUE(platform_values_init(&v));
    ll_delete_list(&(v.*lists[broken].first));
    const auto lines = Lines([&] { EXPECT_FALSE(platform_values_destroy(&v)); });
    EXPECT_EQ(lines.back(),
              Bug("platform_values_destroy", "Failed removing platform " + lists[broken].second));
    for (size_t later = broken + 1; later < std::size(lists); ++later)
      EXPECT_EQ(ll_delete_list(&(v.*lists[later].first)), 1);  // left as they were
  }
  EXPECT_THAT(Lines([] { EXPECT_FALSE(platform_values_init(nullptr)); }),
              ElementsAre(Error("platform_values_init",
                                "\"platform_values\" parameter is NULL. platform_values:(nil)")));
}

}  // namespace
