// compose_profile_read: the modern.* keys of a configuration loaded in the
// store, read into the profile record. Expected records and lines follow
// the keys' documentation (examples/platform.toml): defaults without a
// word, numbers clamped, list entries that cannot be used skipped, each with
// a warning.
#include "compose_profile.h"
#include "cta_reader.h"
#include "edc_test.h"

using namespace edc_test;  // NOLINT: capture and tool helpers throughout

namespace {

const std::string kRoot = "[platform.software.drivers.avcap.edid]\n";
const std::string kPath = "platform.software.drivers.avcap.edid.";

// Every field of the record on one line.
std::string Describe(const compose_profile_t &p) {
  std::string vics;
  for (int i = 0; i < p.vic_count; ++i) vics += (i == 0 ? "" : ",") + std::to_string(p.vics[i]);
  return Format("enabled %d; rate %d; scdc %d; 420 %d; dc %d/%d/%d; ", p.enabled,
                p.max_tmds_rate_mhz, p.scdc, p.ycbcr420, p.dc_30bit_420, p.dc_36bit_420,
                p.dc_48bit_420) +
         "vics [" + vics + "]; " +
         Format("eotfs 0x%x; type1 %d; colorimetry 0x%x; vendor %d; qs %d", p.eotfs,
                p.static_metadata_type1, p.colorimetry, p.vendor_hdr,
                p.rgb_quantization_selectable);
}

const std::string kDefaults =
    "enabled 0; rate 340; scdc 0; 420 0; dc 0/0/0; vics []; eotfs 0x0; type1 0; "
    "colorimetry 0x0; vendor 0; qs 1";

// Reads the profile from toml (below the root table); the record's line
// and the lines printed.
std::pair<std::string, std::vector<std::string>> Read(const std::string &toml) {
  ScopedConfig config(kRoot + toml);
  compose_profile_t profile;
  memset(&profile, 0xA5, sizeof profile);  // nothing is left from before
  std::vector<std::string> lines = Lines([&] { EXPECT_TRUE(compose_profile_read(&profile)); });
  return {Describe(profile), lines};
}

std::string Warning(const std::string &text) {
  return ExpectedLine("WARNING compose_profile_read " + text);
}

TEST(ComposeProfileRead, MissingKeysTakeTheDefaultsSilently) {
  compose_profile_t defaults;
  compose_profile_defaults(&defaults);
  EXPECT_EQ(Describe(defaults), kDefaults);
  for (const char *toml :
       {"", "week = 12\n", "modern.other = 1\n", "[other]\nmodern.enabled = 1\n"})
    EXPECT_EQ(Read(toml), std::make_pair(kDefaults, std::vector<std::string>{})) << toml;
  // No configuration loaded at all.
  config_store_clear();
  compose_profile_t profile;
  EXPECT_TRUE(Lines([&] { EXPECT_TRUE(compose_profile_read(&profile)); }).empty());
  EXPECT_EQ(Describe(profile), kDefaults);

  EXPECT_THAT(Lines([] { EXPECT_FALSE(compose_profile_read(nullptr)); }),
              testing::ElementsAre(ExpectedLine(
                  "ERROR compose_profile_read \"profile\" parameter is NULL. profile:(nil)")));
  compose_profile_defaults(nullptr);  // no crash
}

// Each key reaches its own field, written as dotted keys or as a table,
// flags as numbers or booleans.
TEST(ComposeProfileRead, EveryKeyFillsItsField) {
  const std::string every =
      "modern.enabled = 1\nmodern.max_tmds_rate = 600\nmodern.scdc = 1\nmodern.ycbcr420 = 1\n"
      "modern.dc_30bit_420 = 1\nmodern.dc_36bit_420 = 1\nmodern.dc_48bit_420 = 1\n"
      "modern.vic_priority_list = [97, 96, 219, 65]\n"
      "modern.hdr_eotfs = [\"SDR\", \"PQ\", \"HLG\"]\nmodern.hdr_static_metadata_type1 = 1\n"
      "modern.colorimetry = [\"BT2020YCC\", \"BT2020RGB\"]\nmodern.vendor_hdr = 1\n"
      "modern.rgb_quantization_selectable = 0\n";
  EXPECT_EQ(Read(every).first,
            "enabled 1; rate 600; scdc 1; 420 1; dc 1/1/1; vics [97,96,219,65]; eotfs 0xd; "
            "type1 1; colorimetry 0xc0; vendor 1; qs 0");

  const struct {
    const char *toml, *changed, *to;
  } cases[] = {
      {"modern.enabled = true", "enabled 0", "enabled 1"},
      {"modern.max_tmds_rate = 297", "rate 340", "rate 297"},
      {"modern.max_tmds_rate = 0", "rate 340", "rate 0"},
      {"modern.scdc = true", "scdc 0", "scdc 1"},
      {"modern.ycbcr420 = 1", "420 0", "420 1"},
      {"modern.dc_30bit_420 = 1", "dc 0/0/0", "dc 1/0/0"},
      {"modern.dc_36bit_420 = 1", "dc 0/0/0", "dc 0/1/0"},
      {"modern.dc_48bit_420 = 1", "dc 0/0/0", "dc 0/0/1"},
      {"modern.hdr_static_metadata_type1 = 1", "type1 0", "type1 1"},
      {"modern.vendor_hdr = 1", "vendor 0", "vendor 1"},
      {"modern.rgb_quantization_selectable = false", "qs 1", "qs 0"},
      {"modern.hdr_eotfs = []", "", ""},
      {"[platform.software.drivers.avcap.edid.modern]\nenabled = 1\nvic_priority_list = [98]",
       "enabled 0; rate 340; scdc 0; 420 0; dc 0/0/0; vics []",
       "enabled 1; rate 340; scdc 0; 420 0; dc 0/0/0; vics [98]"},
      // A list written as a table: its entries in file order.
      {"[platform.software.drivers.avcap.edid.modern.hdr_eotfs]\nb = \"hlg\"\na = \"pq\"",
       "eotfs 0x0", "eotfs 0xc"},
  };
  for (const auto &c : cases) {
    std::string expected = kDefaults;
    expected.replace(expected.find(c.changed), strlen(c.changed), c.to);
    EXPECT_EQ(Read(std::string(c.toml) + "\n"),
              std::make_pair(expected, std::vector<std::string>{}))
        << c.toml;
  }
}

TEST(ComposeProfileRead, ClampsNumbersOutOfRangeWithAWarning) {
  const struct {
    const char *key;
    const char *value;
    const char *changed, *to;
    int min, read, max, used;
  } cases[] = {
      {"max_tmds_rate", "601", "rate 340", "rate 600", 0, 601, 600, 600},
      {"max_tmds_rate", "-5", "rate 340", "rate 0", 0, -5, 600, 0},
      // Above 2147483647 the store keeps the 32-bit pattern: negative.
      {"max_tmds_rate", "4294967295", "rate 340", "rate 0", 0, -1, 600, 0},
      {"enabled", "2", "enabled 0", "enabled 1", 0, 2, 1, 1},
      {"scdc", "-1", "scdc 0", "scdc 0", 0, -1, 1, 0},
      {"dc_48bit_420", "9", "dc 0/0/0", "dc 0/0/1", 0, 9, 1, 1},
      {"rgb_quantization_selectable", "-7", "qs 1", "qs 0", 0, -7, 1, 0},
  };
  for (const auto &c : cases) {
    std::string expected = kDefaults;
    expected.replace(expected.find(c.changed), strlen(c.changed), c.to);
    const auto [profile, lines] = Read(Format("modern.%s = %s\n", c.key, c.value));
    EXPECT_EQ(profile, expected) << c.key << " = " << c.value;
    EXPECT_THAT(lines, testing::ElementsAre(Warning(
                           Format("The value for platform path:%smodern.%s is out of range. "
                                  "Min:%d Val:%d Max:%d Using:%d",
                                  kPath.c_str(), c.key, c.min, c.read, c.max, c.used))));
  }
}

// Words in any case; an unknown word, or an entry that is no word, is
// skipped with a warning and the rest are still read. A text longer than
// the reader's buffer is read cut (and so matches no word).
TEST(ComposeProfileRead, ReadsWordListsAndSkipsUnknownWords) {
  auto [profile, lines] = Read(
      "modern.hdr_eotfs = [\"pq\", \"Hdr10\", \"HLG\", 4, \"sdr\", \"PQ\", \"\"]\n"
      "modern.colorimetry = [\"xvycc601\", \"XVYCC709\", \"sYCC601\", \"opYCC601\", \"oprgb\",\n"
      "  \"BT2020cYCC\", \"bt2020ycc\", \"BT2020RGB\", \"ictcp\", \"ST2113RGB\", \"BT.2020\",\n"
      "  \"BT2020RGB with more text than any word has\"]\n");
  // SDR 0x01, PQ 0x04, HLG 0x08; colorimetry bits 0-7, ICtCp 0x4000, ST 2113 0x8000.
  EXPECT_EQ(profile,
            "enabled 0; rate 340; scdc 0; 420 0; dc 0/0/0; vics []; eotfs 0xd; type1 0; "
            "colorimetry 0xc0ff; vendor 0; qs 1");
  const std::string eotfs = kPath + "modern.hdr_eotfs", colorimetry = kPath + "modern.colorimetry";
  EXPECT_THAT(lines, testing::ElementsAre(
                         Warning("Unknown word \"Hdr10\" in " + eotfs + ". Skipping it."),
                         Warning("Unknown word \"4\" in " + eotfs + ". Skipping it."),
                         Warning("Unknown word \"\" in " + eotfs + ". Skipping it."),
                         Warning("Unknown word \"BT.2020\" in " + colorimetry + ". Skipping it."),
                         Warning("Unknown word \"BT2020RGB with more text than a\" in " +
                                 colorimetry + ". Skipping it.")));

  // An entry that has no text (a table) is skipped too.
  std::tie(profile, lines) = Read("modern.hdr_eotfs = [{a = 1}, \"PQ\"]\n");
  EXPECT_NE(profile.find("eotfs 0x4;"), std::string::npos) << profile;
  EXPECT_THAT(lines, testing::ElementsAre(Warning("Invalid entry in " + eotfs +
                                                  ". Expected a string. Skipping it.")));
}

// VICs 65..127 and 193..219 in their order, each once; anything else is
// skipped with a warning.
TEST(ComposeProfileRead, KeepsOnlyDefinedVicsAbove64Once) {
  const auto [profile, lines] = Read(
      "modern.vic_priority_list = [97, 64, 1, 0, -3, 128, 192, 220, 353, 219, 193, 127, 65, "
      "97, \"96\", 96]\n");
  EXPECT_NE(profile.find("vics [97,219,193,127,65,96];"), std::string::npos) << profile;
  const std::string list = kPath + "modern.vic_priority_list";
  std::vector<std::string> expected;
  for (int vic : {64, 1, 0, -3, 128, 192, 220, 353})
    expected.push_back(Warning(Format(
        "VIC %d in %s is not a CTA-861 VIC from 65 to 219. Skipping it.", vic, list.c_str())));
  expected.push_back(Warning("VIC 97 is listed twice in " + list + ". Skipping the repeat."));
  expected.push_back(Warning("Invalid entry in " + list + ". Expected an integer. Skipping it."));
  EXPECT_EQ(lines, expected);
}

TEST(ComposeProfileRead, KeepsAtMost32Vics) {
  // VICs 65..104 are all defined: the first 32 (65..96) are kept.
  std::string vics;
  for (int vic = 65; vic <= 104; ++vic) vics += (vic == 65 ? "" : ", ") + std::to_string(vic);
  const auto [profile, lines] = Read("modern.vic_priority_list = [" + vics + ", 65, 300]\n");
  std::string kept;
  for (int vic = 65; vic <= 96; ++vic) kept += (vic == 65 ? "" : ",") + std::to_string(vic);
  EXPECT_NE(profile.find("vics [" + kept + "];"), std::string::npos) << profile;
  const std::string list = kPath + "modern.vic_priority_list";
  // A repeat or a bad VIC beyond the limit still has its own line.
  EXPECT_THAT(
      lines,
      testing::ElementsAre(
          Warning("VIC 65 is listed twice in " + list + ". Skipping the repeat."),
          Warning("VIC 300 in " + list + " is not a CTA-861 VIC from 65 to 219. Skipping it."),
          Warning(list + " holds more than 32 VICs. Dropping the 8 from VIC 97 on.")));

  // Exactly 32: no warning.
  EXPECT_THAT(
      Read("modern.vic_priority_list = [" + vics.substr(0, vics.find(", 97")) + "]\n").second,
      testing::IsEmpty());
}

}  // namespace
