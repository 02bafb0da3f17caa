// The edid-composer command as a user runs it: version, help, one line with
// status 2 for every input or option it cannot use; its input reader (the
// forms in which users hold EDIDs, and a clear refusal of everything else);
// and its compose command: the options onto composer_cfg_t
// (tests/data/compose_settings.txt), the bytes it writes in each form, and
// the file it replaces.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "compose_profile.h"
#include "compose_settings.h"
#include "cta_reader.h"
#include "edc_test.h"
#include "edid_composer.h"
#include "edid_input.h"
#include "edid_output.h"
#include "version.h"

using namespace edc_test;  // NOLINT: capture and tool helpers throughout
using edc_tool::ComposeSettingsText;
using testing::HasSubstr;

namespace {

const std::string kConfig = std::string(EDC_EXAMPLES_DIR) + "/platform.toml";
const std::string kSink = std::string(EDC_EXAMPLES_DIR) + "/sony-tv.bin";

Bytes BytesOf(const std::string &text) {
  return {text.begin(), text.end()};
}

TEST(Tool, VersionPrintsTheBanner) {
  const auto result = RunTool("--version");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, std::string(gVersion) + "\n");
}

TEST(Tool, HelpListsTheCommandsAndComposeHelpEveryOptionWithItsDefault) {
  const auto top = RunTool("--help");
  EXPECT_EQ(top.status, 0);
  for (const char *command : {"compose", "compare", "dump"})
    EXPECT_THAT(top.out, HasSubstr("\n  " + std::string(command) + " "));
  const auto compose = RunTool("compose --help");
  EXPECT_EQ(compose.status, 0);
  for (const char *option :
       {"--config FILE REQUIRED", "--sink FILE", "-o,--output FILE", "(default: bin)",
        "(default: 1920x1080p60)", "default: 0)", "(default: sink)", "default: 0,0,0,0)",
        "(default: all)", "--sink-filter", "(default: off)", "--modern",
        "(default: as modern.enabled, 0)", "--max-tmds-rate MHZ", "--hdr WORDS", "--summary",
        "--full", "--quiet", "--debug"})
    EXPECT_THAT(compose.out, HasSubstr(option));
}

TEST(Tool, UnusableInputIsOneLineAndStatus2) {
  const std::string examples = EDC_EXAMPLES_DIR "/", temp = testing::TempDir();
  std::ofstream(temp + "edc_broken.toml") << "[platform.software]\nweek = \n";
  std::string out = "# == edid-composer <arguments>: exit status, standard output and error\n";
  for (const Line &row : ReadRows("tool_unusable.tsv")) {
    const Bytes input = row[2].ends_with(".bin") ? CorpusBytes(row[2]) : BytesOf(row[2]);
    const std::string arguments =
        std::regex_replace(std::regex_replace(row[1], std::regex(" (platform.toml|sony-tv.bin)"),
                                              " " + examples + "$1"),
                           std::regex(" edc_broken"), " " + temp + "edc_broken");
    const auto result =
        RunTool(arguments, input.empty() ? "" : std::string(input.begin(), input.end()) + "\n");
    out += "== " + row[0] + ": " + row[1] + "\n-> " + std::to_string(result.status) + "\n" +
           result.out + result.err;
  }
  remove((temp + "edc_broken.toml").c_str());
  // Paths that depend on the machine are left out.
  for (const std::string &path : {examples, temp})
    for (size_t at; (at = out.find(path)) != std::string::npos;) out.erase(at, path.size());
  ExpectGolden("tool_unusable.txt", out);
}

// The settings that the options give, every field on one line, or the refusal.
std::string Compose(const ComposeSettingsText &text) {
  std::string option, problem;
  const auto settings = edc_tool::ParseComposeSettings(text, option, problem);
  if (!settings) return option + ": " + problem;
  const composer_cfg_t &c = settings->cfg;
  const hdmi_mode_t &m = c.hdmi_current_mode;
  std::string line =
      Format("mode %ux%u interlaced %u rate %u; port %u; 3d %d; latency %u,%u,%u,%u; ", m.width,
             m.height, m.interlaced, m.refresh_rate, c.hdmi_port, c.setting_3d, c.edid_latency[0],
             c.edid_latency[1], c.edid_latency[2], c.edid_latency[3]);
  line += Format("audio 0x%x; filter %u; format %d; modern %d; rate ", c.audio_mask, c.sink_filter,
                 static_cast<int>(settings->format), settings->modern);
  line += settings->max_tmds_rate_mhz ? std::to_string(*settings->max_tmds_rate_mhz) : "-";
  line += "; eotfs ";
  line += settings->eotfs ? Format("0x%x", *settings->eotfs) : "-";
  return line;
}

// The text of the options with one of them typed as a row of
// tests/data/compose_settings.txt gives: its field, its value.
ComposeSettingsText Typed(const Line &row) {
  using T = ComposeSettingsText;
  const std::map<std::string, std::string T::*> fields = {
      {"mode", &T::mode},       {"port", &T::port},     {"3d", &T::setting_3d},
      {"latency", &T::latency}, {"format", &T::format}, {"audio_mask", &T::audio_mask}};
  T text;
  text.sink_filter = row[0] == "sink_filter";
  text.modern = row[0] == "modern";
  if (fields.contains(row[0])) text.*fields.at(row[0]) = row[1];
  if (row[0] == "max_tmds_rate") text.max_tmds_rate = row[1];
  if (row[0] == "hdr") text.hdr = row[1];
  return text;
}

TEST(ComposeSettings, EachOptionFillsItsField) {
  const std::string defaults = ReadTable("compose_settings.txt", "defaults").at(0).text;
  EXPECT_EQ(Compose({}), defaults);
  for (const Line &row : ReadTable("compose_settings.txt", "values taken")) {
    std::string expected = defaults;
    ASSERT_NE(expected.find(row[2]), std::string::npos) << row.text;
    expected.replace(expected.find(row[2]), row[2].size(), row[3]);
    EXPECT_EQ(Compose(Typed(row)), expected) << row.text;
  }
}

TEST(ComposeSettings, RefusesValuesOutsideTheirWords) {
  for (const Line &row : ReadTable("compose_settings.txt", "values refused"))
    EXPECT_EQ(Compose(Typed(row)).substr(0, row[2].size() + 1), row[2] + ":") << row.text;
}

// The tool's bytes equal compose_edid's for the same settings, in every
// output form: its options reach the library as documented.
TEST(ToolCompose, WritesWhatComposeEdidComposes) {
  SampleConfig config;  // kConfig
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
    composer_cfg_t cfg = c.cfg;
    Capture([&] {
      EXPECT_TRUE(compose_edid(c.with_sink ? sink.data() : nullptr, c.with_sink ? 256 : 0,
                               expected.data(), 256, &cfg));
    });
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

// With the modern profile the tool writes what compose_edid_profile writes
// for the configuration's profile with the options applied; each option
// changes the result, so each reaches the library.
TEST(ToolCompose, WritesWhatTheModernProfileComposes) {
  const std::string modern = EDC_EXAMPLES_DIR "/modern-4k60-hdr.toml";
  const std::string sink = EDC_EXAMPLES_DIR "/sony-4k-hdr-tv.bin";
  const struct {
    const std::string &config;
    const char *arguments;
    bool modern;
    int rate_mhz;  // -1: the configuration's
    int eotfs;     // -1: the configuration's
    bool scdc;     // set by the option (a rate above 340 MHz), else the configuration's
  } cases[] = {
      {kConfig, "", false, -1, -1, false},
      {kConfig, "--modern", true, -1, -1, false},
      {kConfig, "--modern --max-tmds-rate 600", true, 600, -1, true},
      {modern, "", false, -1, -1, false},
      {modern, "--max-tmds-rate 300", false, 300, -1, false},
      {modern, "--hdr off", false, -1, 0, false},
      {modern, "--modern --max-tmds-rate 0 --hdr hlg", true, 0, CTA_EOTF_HLG, false},
  };
  const Bytes tv = ReadFile(sink);
  std::set<std::string> results;  // each case's EDID in hex
  for (const auto &c : cases) {
    SCOPED_TRACE(c.config + " " + c.arguments);
    ASSERT_EQ(config_store_load_file(c.config.c_str()), 0);
    compose_profile_t profile;
    Bytes expected(256);
    uint8_t spa_offset = 0;
    composer_cfg_t cfg = {{1920, 1080, 0, 60}, 0xFFFFFFFF, 0, 1, {0, 0, 0, 0}, &spa_offset, 0};
    Capture([&] {
      compose_profile_read(&profile);
      profile.enabled = profile.enabled || c.modern;
      if (c.rate_mhz >= 0) profile.max_tmds_rate_mhz = static_cast<uint16_t>(c.rate_mhz);
      if (c.eotfs >= 0) profile.eotfs = static_cast<uint8_t>(c.eotfs);
      profile.scdc = profile.scdc || c.scdc;
      EXPECT_TRUE(compose_edid_profile(tv.data(), 256, expected.data(), 256, &cfg, &profile));
    });
    config_store_clear();
    const auto result = RunTool("compose --config " + c.config + " --sink " + sink + " " +
                                c.arguments + " --format hex --quiet");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, edc_tool::HexText(expected));
    results.insert(result.out);
  }
  EXPECT_EQ(results.size(), std::size(cases));
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
}

// A binary EDID is not written to a terminal: the tool's standard output is
// a pseudo-terminal here, its standard error a pipe.
TEST(ToolCompose, RefusesToWriteBinaryToATerminal) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0)
    GTEST_SKIP() << "no pseudo-terminal on this machine";
  const std::string replica = ptsname(terminal);
  int error_pipe[2];
  ASSERT_EQ(pipe(error_pipe), 0);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    const int out = open(replica.c_str(), O_WRONLY | O_NOCTTY);
    if (out < 0 || dup2(out, STDOUT_FILENO) < 0 || dup2(error_pipe[1], STDERR_FILENO) < 0)
      _exit(99);
    execl(EDC_TOOL_PATH, EDC_TOOL_PATH, "compose", "--config", kConfig.c_str(), nullptr);
    _exit(98);
  }
  close(error_pipe[1]);
  std::string err;
  char buffer[256];
  for (ssize_t n; (n = read(error_pipe[0], buffer, sizeof buffer)) > 0;) err.append(buffer, n);
  close(error_pipe[0]);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  // Nothing reached the terminal.
  const int flags = fcntl(terminal, F_GETFL);
  fcntl(terminal, F_SETFL, flags | O_NONBLOCK);
  EXPECT_LE(read(terminal, buffer, sizeof buffer), 0);
  close(terminal);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 2);
  EXPECT_EQ(err,
            "edid-composer: standard output: a binary EDID is not written to a terminal; use -o "
            "FILE or --format hex\n");
}

// The input reader --------------------------------------------------------------------------------

// Hex text of bytes: per_line bytes a line, each as printf(format).
std::string Hex(const std::vector<uint8_t> &bytes, int per_line, const char *format,
                const char *separator) {
  std::string text;
  for (size_t i = 0; i < bytes.size(); ++i)
    text += Format(format, bytes[i]) + ((i + 1) % per_line == 0 ? "\n" : separator);
  return text;
}

TEST(EdidInput, ReadsBinaryAndEveryHexForm) {
  Bytes edid;  // two blocks: the EDID header, then 8, 9, 10, ... (9, 10, 11, ... in the second)
  for (int i = 0; i < 256; ++i)
    edid.push_back(i % 128 > 7 ? i % 128 + i / 128 : i % 128 == 0 || i % 128 == 7 ? 0 : 0xFF);
  const std::string spaced = Hex(edid, 16, "%02x", " ");
  const std::string first = spaced.substr(0, spaced.size() / 2);
  const std::string second = spaced.substr(spaced.size() / 2);
  const std::string forms[] = {
      std::string(edid.begin(), edid.end()),  // binary
      spaced,                                 // plain hex
      Hex(edid, 30, "%02x", ""),              // xxd -p
      Hex(edid, 16, "%02X", " "),             // upper case
      Hex(edid, 8, "0x%02x", ", ") + "\n",    // 0x prefixes and commas
      "unsigned char edid[] = {\n" + Hex(edid, 8, "0x%02x", ", ") + "};\n",  // a C array
      "edid-decode (hex):\n\n" + first + "\n" + second +
          "\n----------------\n\nBlock 0, Base EDID:\n  Version 1.3\n",  // edid-decode
      "// EDID\n/*\n * of a TV\n */\n" + Hex(edid, 8, "0x%02x", ", "),   // C comments
      edc_tool::HexText(edid),                                           // compose's forms
      edc_tool::CArrayText(edid, "composed from tv.bin */ and platform.toml"),
  };
  for (const auto &form : forms) {
    const auto input = edc_tool::ParseEdid(BytesOf(form));
    EXPECT_EQ(input.error, "") << form;
    EXPECT_EQ(input.bytes, edid) << form;
  }
}

TEST(EdidInput, RefusesUnusableInputWithAReason) {
  const std::pair<Bytes, const char *> cases[] = {
      {{}, "the input is empty"},
      {BytesOf("\n \n"), "no hexadecimal EDID data found"},
      {BytesOf("hello world\n00 ff\n"), "line 1: \"hello\" is not hexadecimal EDID data"},
      {BytesOf("00 ff 0g\n"), "line 1: \"0g\" is not hexadecimal EDID data"},
      {BytesOf("00 ff f\n"), "line 1: \"f\" is not hexadecimal EDID data"},
      {BytesOf("00 ff ff\n"), "3 bytes of EDID data, which is not a multiple of 128"},
      {Bytes(129, 0), "129 bytes of EDID data, which is not a multiple of 128"}};
  for (const auto &[contents, reason] : cases) {
    const auto input = edc_tool::ParseEdid(contents);
    EXPECT_EQ(input.error, reason);
    EXPECT_TRUE(input.bytes.empty());
  }
}

TEST(EdidInput, BinaryWithoutAHeaderIsStillBinary) {
  const auto input = edc_tool::ParseEdid(Bytes(256, 0x80));
  EXPECT_EQ(input.error, "");
  EXPECT_EQ(input.bytes.size(), 256u);
}

TEST(EdidInput, ReadsFilesAndNamesWhatWentWrong) {
  const auto input = edc_tool::ReadEdid(CorpusDir() + "/edid/tv-0001b68004cc.bin");
  EXPECT_EQ(input.error, "");
  EXPECT_EQ(input.bytes.size(), 256u);
  EXPECT_EQ(edc_tool::ReadEdid("/nonexistent/edid.bin").error,
            "cannot open: No such file or directory");
  EXPECT_THAT(edc_tool::ReadEdid("/").error, HasSubstr("cannot read: Is a directory"));
}

}  // namespace
