// The modern profile over every corpus television: with the profile off the
// composition is compose_edid's to the byte; with each of the two example
// devices (examples/modern-4k60-hdr.toml, examples/modern-4k30-300.toml)
// every result passes Debian's edid-decode --check, reads back in the
// library's own decoder, keeps the physical address where the offset says,
// and holds the profile's invariants (each VIC once, 4:2:0 only where HDMI
// 2.0 defines it and within the rate, the HDMI Forum block only where the
// television has one).
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <set>

#include "compose_profile.h"
#include "cta_reader.h"
#include "cta_video_formats.h"
#include "edc_test.h"
#include "edid_composer.h"
#include "utility.h"

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#else
#define RUNNING_ON_VALGRIND 0
#endif

using namespace edc_test;  // NOLINT: corpus, record and line helpers throughout

namespace {

// Under valgrind a sample, unless EDC_FULL_CORPUS=1 asks for every television.
size_t Stride() {
  const char *full = getenv("EDC_FULL_CORPUS");
  return RUNNING_ON_VALGRIND && (full == nullptr || strcmp(full, "1") != 0) ? 15 : 1;
}

// An example configuration by name, or a configuration text.
struct LoadedConfig {
  explicit LoadedConfig(const std::string &name) {
    if (name.ends_with(".toml"))
      EXPECT_EQ(config_store_load_file((std::string(EDC_EXAMPLES_DIR "/") + name).c_str()), 0);
    else
      EXPECT_EQ(config_store_load_string(name.c_str()), 0);
  }
  ~LoadedConfig() { config_store_clear(); }
};

// The failure section of an edid-decode --check report.
std::string Failures(const std::string &report) {
  const size_t start = report.find("Failures:");
  return start == std::string::npos ? report.substr(report.size() > 2000 ? report.size() - 2000 : 0)
                                    : report.substr(start);
}

TEST(ComposeProfileCorpus, ProfileOffComposesExactlyAsComposeEdid) {
  SampleConfig config;  // examples/platform.toml: the modern keys are commented out
  compose_profile_t read;
  ASSERT_TRUE(compose_profile_read(&read));
  EXPECT_FALSE(read.enabled);
  for (size_t n = 0; n < Corpus().size(); n += Stride()) {
    const CorpusEdid &entry = Corpus()[n];
    SCOPED_TRACE(entry.file);
    composer_cfg_t cfg = CorpusSettings();
    uint8_t offset_a = 0, offset_b = 0;
    Bytes a(256), b(256);
    const auto size = static_cast<int32_t>(entry.bytes.size());
    bool ok_a = false, ok_b = false;
    const std::string printed_a = Capture([&] {
      cfg.spa_offset = &offset_a;
      ok_a = compose_edid(entry.bytes.data(), size, a.data(), 256, &cfg);
    });
    const std::string printed_b = Capture([&] {
      cfg.spa_offset = &offset_b;
      ok_b = compose_edid_profile(entry.bytes.data(), size, b.data(), 256, &cfg, nullptr);
    });
    ASSERT_EQ(ok_a, ok_b);
    EXPECT_EQ(a, b);
    EXPECT_EQ(offset_a, offset_b);
    EXPECT_EQ(printed_a, printed_b);
  }
}

// What the profile must hold whatever the television: checked on the
// reader's record of the result.
void ExpectProfileInvariants(const compose_profile_t &device, const cta_info_t &tv,
                             const Bytes &out) {
  cta_info_t got;
  ASSERT_EQ(cta_read_edid(out.data(), 256, &got), 1);
  std::set<uint32_t> seen;
  for (uint32_t i = 0; i < got.svd_count; ++i)
    EXPECT_TRUE(seen.insert(got.svd_vics[i]).second) << "VIC " << +got.svd_vics[i] << " twice";
  for (uint32_t i = 0; i < got.ycbcr420_count; ++i)
    EXPECT_TRUE(seen.insert(got.ycbcr420_vics[i]).second)
        << "4:2:0-only VIC " << +got.ycbcr420_vics[i] << " also elsewhere";

  EXPECT_EQ(got.hf_vsdb.present, tv.hf_vsdb.present);
  const uint32_t rate = got.hf_vsdb.max_tmds_character_rate_mhz;
  EXPECT_LE(rate, device.max_tmds_rate_mhz);
  EXPECT_EQ(got.hf_vsdb.scdc_present, rate > 340);
  EXPECT_FALSE(got.hf_vsdb.has_byte8);  // no HDMI 2.1 field
  const uint32_t carried_khz = (rate > 340 ? rate : 340) * 1000;
  for (uint32_t i = 0; i < got.svd_count; ++i) {
    const cta_video_format_t *format = cta_video_format_find(got.svd_vics[i]);
    ASSERT_NE(format, nullptr);
    if (got.svd_vics[i] > 64) {
      EXPECT_LE(format->pixel_clock_khz, carried_khz) << +format->vic;
    }
  }
  for (uint32_t i = 0; i < got.ycbcr420_map_count; ++i) {
    const cta_video_format_t *format = cta_video_format_find(got.ycbcr420_map_vics[i]);
    ASSERT_NE(format, nullptr);
    EXPECT_GE(format->pixel_clock_khz, 590000u);
  }
  for (uint32_t i = 0; i < got.ycbcr420_count; ++i) {
    const cta_video_format_t *format = cta_video_format_find(got.ycbcr420_vics[i]);
    ASSERT_NE(format, nullptr);
    EXPECT_GE(format->pixel_clock_khz, 590000u);
    EXPECT_LE(format->pixel_clock_khz / 2, carried_khz);
    EXPECT_TRUE(device.ycbcr420);
  }
  EXPECT_EQ(got.hdr_static.eotfs & ~device.eotfs, 0);
  EXPECT_EQ(got.colorimetry.metadata, 0);
  EXPECT_TRUE(got.video_capability.present);
  EXPECT_EQ(got.video_capability.qs, device.rgb_quantization_selectable);
}

void ComposeCorpusWith(const std::string &config_name) {
  LoadedConfig config(config_name);
  compose_profile_t device;
  ASSERT_TRUE(compose_profile_read(&device));
  ASSERT_TRUE(device.enabled);
  const std::string folder = testing::TempDir() + "edc_profile_" + std::to_string(getpid()) +
                             "_" + std::to_string(std::hash<std::string>()(config_name));
  ASSERT_EQ(RunCommand("mkdir -p '" + folder + "' && echo ok"), "ok\n");
  std::vector<const CorpusEdid *> composed;
  std::vector<std::string> files;
  size_t with_forum = 0, above_340 = 0, with_420 = 0, with_hdr = 0;
  for (size_t n = 0; n < Corpus().size(); n += Stride()) {
    const CorpusEdid &entry = Corpus()[n];
    SCOPED_TRACE(entry.file);
    composer_cfg_t cfg = CorpusSettings();
    uint8_t offset = 0, plain_offset = 0;
    cfg.spa_offset = &offset;
    Bytes out(256), plain(256);
    bool ok = false;
    const std::string printed = Capture([&] {
      ok = compose_edid_profile(entry.bytes.data(), static_cast<int32_t>(entry.bytes.size()),
                                out.data(), 256, &cfg, &device);
      compose_profile_t off = device;
      off.enabled = false;
      cfg.spa_offset = &plain_offset;
      compose_edid_profile(entry.bytes.data(), static_cast<int32_t>(entry.bytes.size()),
                           plain.data(), 256, &cfg, &off);
    });
    ASSERT_TRUE(ok) << printed;
    // (empty mode lists make the composer report its empty list as a bug)
    if (config_name.ends_with(".toml")) {
      EXPECT_EQ(printed.find(" BUG: "), std::string::npos) << printed;
    }
    // The address bytes moved with the HDMI VSDB, unchanged.
    ASSERT_LT(offset + 1u, 256u);
    EXPECT_EQ(out[offset], plain[plain_offset]);
    EXPECT_EQ(out[offset + 1u], plain[plain_offset + 1u]);
    PreparedEdid back;
    DecodeComposed(out, &back.edid);

    cta_info_t tv, got;
    cta_read_edid(entry.bytes.data(), static_cast<uint32_t>(entry.bytes.size()), &tv);
    ExpectProfileInvariants(device, tv, out);
    cta_read_edid(out.data(), 256, &got);
    with_forum += got.hf_vsdb.present;
    above_340 += got.hf_vsdb.max_tmds_character_rate_mhz > 340;
    with_420 += got.ycbcr420_count + got.ycbcr420_map_count > 0;
    with_hdr += got.hdr_static.present;

    files.push_back(std::to_string(composed.size()) + ".bin");
    std::ofstream(folder + "/" + files.back(), std::ios::binary)
        .write(reinterpret_cast<const char *>(out.data()), 256);
    composed.push_back(&entry);
  }
  const auto reports = RunForEach(folder, files, "edid-decode --check \"$f\" 2>&1");
  size_t passed = 0;
  for (size_t i = 0; i < composed.size(); ++i) {
    SCOPED_TRACE(composed[i]->file);
    const bool pass = reports[i].find("EDID conformity: PASS") != std::string::npos;
    EXPECT_TRUE(pass) << Failures(reports[i]);
    passed += pass;
  }
  RunCommand("rm -rf '" + folder + "'");
  printf("%s: %zu televisions composed, %zu pass edid-decode --check; HDMI Forum VSDB %zu "
         "(above 340 MHz %zu), YCbCr 4:2:0 %zu, HDR static metadata %zu\n",
         config_name.substr(0, config_name.find('\n')).c_str(), composed.size(), passed, with_forum, above_340, with_420, with_hdr);
}

TEST(ComposeProfileCorpus, EveryTelevisionThrough4k60HdrDevicePassesEdidDecodeCheck) {
  ComposeCorpusWith("modern-4k60-hdr.toml");
}

TEST(ComposeProfileCorpus, EveryTelevisionThrough300MhzDevicePassesEdidDecodeCheck) {
  ComposeCorpusWith("modern-4k30-300.toml");
}

// A configuration of nothing but the switch: every other key at its default
// (no product name, empty mode lists: four 640x480 formats that become one,
// the composer's extension count written early).
TEST(ComposeProfileCorpus, EveryTelevisionThroughBareConfigurationPassesEdidDecodeCheck) {
  ComposeCorpusWith("[platform.software.drivers.avcap.edid]\nmodern.enabled = 1\n");
}

}  // namespace
