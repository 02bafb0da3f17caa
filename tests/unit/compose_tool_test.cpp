// "edid-composer compose": its options onto composer_cfg_t, the bytes it
// writes in each form, and the file it replaces.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "capture.h"
#include "compose_settings.h"
#include "edid_composer.h"
#include "edid_input.h"
#include "edid_output.h"
#include "tool_runner.h"

using namespace edc_test;  // NOLINT: capture and tool helpers throughout
using edc_tool::ComposeSettingsText;

namespace {

const std::string kConfig = std::string(EDC_EXAMPLES_DIR) + "/platform.toml";
const std::string kSink = std::string(EDC_EXAMPLES_DIR) + "/sony-tv.bin";

// Every field the options set, on one line.
std::string Describe(const edc_tool::ComposeSettings &s) {
  const composer_cfg_t &c = s.cfg;
  const hdmi_mode_t &m = c.hdmi_current_mode;
  return Format("mode %ux%u interlaced %u rate %u; port %u; 3d %d; latency %u,%u,%u,%u; ", m.width,
                m.height, m.interlaced, m.refresh_rate, c.hdmi_port, c.setting_3d,
                c.edid_latency[0], c.edid_latency[1], c.edid_latency[2], c.edid_latency[3]) +
         Format("audio 0x%x; filter %u; format %d", c.audio_mask, c.sink_filter,
                static_cast<int>(s.format));
}

std::string Compose(const ComposeSettingsText &text) {
  std::string option, problem;
  const auto settings = edc_tool::ParseComposeSettings(text, option, problem);
  return settings ? Describe(*settings) : option + ": " + problem;
}

// The expected values follow the option words' documentation: the frame
// height of "i" modes, ports counted from 0, 3D off/sink/on as 0/1/2, one
// mask bit per CTA-861 audio format code.
TEST(ComposeSettings, EachOptionFillsItsField) {
  using T = ComposeSettingsText;
  const std::string defaults =
      "mode 1920x1080 interlaced 0 rate 60; port 0; 3d 1; latency 0,0,0,0; audio 0xffffffff; "
      "filter 0; format 0";
  EXPECT_EQ(Compose({}), defaults);
  const struct {
    std::string T::*field;
    const char *text;
    const char *changed_from, *changed_to;
  } cases[] = {
      {&T::mode, "1920x1080i50", "1080 interlaced 0 rate 60", "1080 interlaced 1 rate 50"},
      {&T::mode, "3840x2160p30", "1920x1080 interlaced 0 rate 60",
       "3840x2160 interlaced 0 rate 30"},
      {&T::port, "14", "port 0", "port 14"},
      {&T::setting_3d, "off", "3d 1", "3d 0"},
      {&T::setting_3d, "on", "3d 1", "3d 2"},
      {&T::latency, "20,40,500,0", "latency 0,0,0,0", "latency 20,40,500,0"},
      {&T::audio_mask, "pcm", "0xffffffff", "0x1"},
      {&T::audio_mask, "pcm,ac3,eac3,truehd", "0xffffffff", "0xa03"},
      {&T::audio_mask, "mpeg1,mp3,mpeg2,aac,dts,atrac", "0xffffffff", "0xfc"},
      {&T::audio_mask, "dsd,dtshd,dst,wmapro", "0xffffffff", "0x3500"},
      {&T::audio_mask, "heaac,heaacv2,mpegsurround", "0xffffffff", "0x1c000"},
      {&T::audio_mask, "0X1C000", "0xffffffff", "0x1c000"},
      {&T::format, "hex", "format 0", "format 1"},
      {&T::format, "carray", "format 0", "format 2"},
  };
  for (const auto &c : cases) {
    T text;
    text.*c.field = c.text;
    std::string expected = defaults;
    expected.replace(expected.find(c.changed_from), strlen(c.changed_from), c.changed_to);
    EXPECT_EQ(Compose(text), expected) << c.text;
  }
  T filtered;
  filtered.sink_filter = true;
  EXPECT_EQ(Compose(filtered),
            "mode 1920x1080 interlaced 0 rate 60; port 0; 3d 1; "
            "latency 0,0,0,0; audio 0xffffffff; filter 1; format 0");
}

TEST(ComposeSettings, RefusesValuesOutsideTheirWords) {
  using T = ComposeSettingsText;
  const struct {
    std::string T::*field;
    const char *text, *option;
  } cases[] = {
      {&T::mode, "1920x1080", "--mode"},
      {&T::mode, "1920x1080p", "--mode"},
      {&T::mode, "x1080p60", "--mode"},
      {&T::mode, "1920x1080q60", "--mode"},
      {&T::mode, "0x1080p60", "--mode"},
      {&T::mode, "1920x1080p60Hz", "--mode"},
      {&T::port, "15", "--port"},
      {&T::port, "-1", "--port"},
      {&T::port, "", "--port"},
      {&T::setting_3d, "yes", "--3d"},
      {&T::latency, "1,2,3", "--latency"},
      {&T::latency, "1,2,3,501", "--latency"},
      {&T::latency, "1,2,3,4,5", "--latency"},
      {&T::audio_mask, "pcm,flac", "--audio-mask"},
      {&T::audio_mask, "0x", "--audio-mask"},
      {&T::audio_mask, "0x100000000", "--audio-mask"},
      {&T::audio_mask, "", "--audio-mask"},
      {&T::format, "raw", "--format"},
  };
  for (const auto &c : cases) {
    T text;
    text.*c.field = c.text;
    EXPECT_EQ(Compose(text).substr(0, strlen(c.option) + 1), std::string(c.option) + ":") << c.text;
  }
}

// The tool's bytes equal compose_edid's for the same settings, in every
// output form: its options reach the library as documented.
TEST(ToolCompose, WritesWhatComposeEdidComposes) {
  std::ifstream config_file(kConfig);
  const std::string toml((std::istreambuf_iterator<char>(config_file)), {});
  const auto sink = ReadFile(kSink);
  const std::string out = testing::TempDir() + "edc_compose_" + std::to_string(getpid());
  const struct {
    const char *arguments;
    bool with_sink;
    composer_cfg_t cfg;
  } cases[] = {
      {"", true, {{1920, 1080, 0, 60}, 0xFFFFFFFF, 0, 1, {0, 0, 0, 0}, nullptr, 0}},
      {"", false, {{1920, 1080, 0, 60}, 0xFFFFFFFF, 0, 1, {0, 0, 0, 0}, nullptr, 0}},
      {"--mode 1280x720p50 --port 2 --3d on --latency 20,40,60,80 --audio-mask pcm,ac3 "
       "--sink-filter",
       true,
       {{1280, 720, 0, 50}, 0x3, 1, 2, {20, 40, 60, 80}, nullptr, 2}},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.arguments);
    std::vector<uint8_t> expected(256);
    {
      ScopedConfig config(toml);
      composer_cfg_t cfg = c.cfg;
      CaptureStdout([&] {
        EXPECT_TRUE(compose_edid(c.with_sink ? sink.data() : nullptr, c.with_sink ? 256 : 0,
                                 expected.data(), 256, &cfg));
      });
    }
    const std::string common = "compose --quiet --config " + kConfig + " " + c.arguments +
                               (c.with_sink ? " --sink " + kSink : "");
    ASSERT_EQ(RunTool(common + " -o " + out).status, 0);
    EXPECT_EQ(ReadFile(out), expected);
    const auto hex = RunTool(common + " --format hex");
    EXPECT_EQ(hex.out, edc_tool::HexText(expected));
    const auto carray = RunTool(common + " --format carray");
    EXPECT_EQ(edc_tool::ParseEdid({carray.out.begin(), carray.out.end()}).bytes, expected);
    // edid-decode reads the hex form back to the same bytes.
    std::ofstream(out + ".hex") << hex.out;
    RunCommand("edid-decode -o raw '" + out + ".hex' '" + out + ".raw' >/dev/null 2>&1");
    EXPECT_EQ(ReadFile(out + ".raw"), expected);
  }
  for (const char *suffix : {"", ".hex", ".raw"}) unlink((out + suffix).c_str());
}

// A run that fails leaves the output as it was; one that succeeds replaces
// it whole, keeps its permissions and leaves no temporary file behind.
TEST(ToolCompose, ReplacesTheOutputInOneStep) {
  namespace fs = std::filesystem;
  const fs::path folder = testing::TempDir() + "edc_atomic_" + std::to_string(getpid());
  fs::create_directories(folder);
  const std::string out = (folder / "edid.bin").string();
  std::ofstream(out) << "previous contents\n";
  chmod(out.c_str(), 0640);
  std::ofstream(folder / "broken.toml") << "[platform\n";
  const std::string failing[] = {
      "--config " + (folder / "broken.toml").string(),
      "--config " + kConfig + " --sink /nonexistent.bin",
      "--config " + kConfig + " --port 15",
  };
  for (const auto &arguments : failing) {
    EXPECT_EQ(RunTool("compose " + arguments + " -o " + out).status, 2) << arguments;
    const auto kept = ReadFile(out);
    EXPECT_EQ(std::string(kept.begin(), kept.end()), "previous contents\n");
  }
  ASSERT_EQ(RunTool("compose --quiet --config " + kConfig + " -o " + out).status, 0);
  EXPECT_EQ(fs::file_size(out), 256u);
  EXPECT_EQ(fs::status(out).permissions(), fs::perms(0640));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 2);
  fs::remove_all(folder);
}

TEST(ToolCompose, ReportsTheNewEdidAndWhereItsAddressLies) {
  const std::string out = testing::TempDir() + "edc_report_" + std::to_string(getpid());
  const auto result = RunTool("compose --config " + kConfig + " --sink " + kSink + " -o " + out);
  unlink(out.c_str());
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  // The television's address is 4.0.0.0 and the device sits on its port 1.
  EXPECT_NE(result.out.find("Composed EDID, written to " + out + "\n"), std::string::npos);
  EXPECT_NE(result.out.find("\tAddress=4.1.0.0\n"), std::string::npos);
  EXPECT_NE(result.out.find("\nPhysical address bytes at offset 165 (0xa5)\n"), std::string::npos);
  // With the EDID on standard output the report moves to standard error.
  const auto piped = RunTool("compose --config " + kConfig + " --sink " + kSink + " --format hex");
  EXPECT_EQ(piped.out.size(), 16u * 48);
  EXPECT_NE(piped.err.find("\tAddress=4.1.0.0\n"), std::string::npos);
  // --quiet keeps the library's error lines (a configuration with too few
  // video formats) and drops its warnings (keys left out) and the report.
  const std::string minimal =
      "compose --config " + std::string(EDC_EXAMPLES_DIR) + "/platform-minimal.toml --format hex";
  const auto loud = RunTool(minimal), quiet = RunTool(minimal + " --quiet");
  EXPECT_NE(loud.err.find("() WARNING: "), std::string::npos);
  std::string errors;
  for (const auto &line : SplitLines(loud.err))
    if (line.find("() ERROR: ") != std::string::npos) errors += line + "\n";
  EXPECT_NE(errors, "");
  EXPECT_EQ(quiet.err, errors);
  EXPECT_EQ(quiet.out, loud.out);
  // A binary EDID is not written to a terminal (script(1) gives the tool one).
  int status = -1;
  const std::string terminal = RunCommand("script -qec \"'" + std::string(EDC_TOOL_PATH) +
                                              "' compose --config " + kConfig + "\" /dev/null",
                                          &status);
  EXPECT_EQ(status, 2);
  EXPECT_EQ(terminal,
            "edid-composer: standard output: a binary EDID is not written to a terminal; use -o "
            "FILE or --format hex\r\n");
}

}  // namespace
