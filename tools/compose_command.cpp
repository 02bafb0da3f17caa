#include "compose_command.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include "command.h"
#include "config_store.h"
#include "decoded_edid.h"
#include "edid_composer.h"
#include "edid_input.h"
#include "edid_output.h"
#include "mode_choice.h"
#include "output_file.h"
#include "readback.h"
#include "text_escape.h"
#include "utility.h"

namespace edc_tool {

namespace {

// The library's error and bug lines among its output ("file:line:func() ERROR: ...").
std::string ErrorLines(const std::string &text) {
  std::string errors;
  for (size_t start = 0; start < text.size();) {
    size_t end = text.find('\n', start);
    end = end == std::string::npos ? text.size() : end + 1;
    const std::string_view line(text.data() + start, end - start);
    if (line.find("() ERROR: ") != std::string_view::npos ||
        line.find("() BUG: ") != std::string_view::npos)
      errors.append(line);
    start = end;
  }
  return errors;
}

bool Readable(const std::string &path, std::string &problem) {
  FILE *file = fopen(path.c_str(), "rb");
  if (file == nullptr) {
    problem = std::string("cannot open: ") + strerror(errno);
    return false;
  }
  fclose(file);
  return true;
}

}  // namespace

void AddComposeOptions(CLI::App &command, ComposeOptions &options) {
  ComposeSettingsText &s = options.settings;
  command
      .add_option("--config", options.config,
                  "The platform configuration (TOML), loaded with the configuration store")
      ->required()
      ->type_name("FILE");
  command
      .add_option("--sink", options.sink,
                  "The television's EDID, in any form dump reads; - for standard input "
                  "(default: none, compose from the configuration alone)")
      ->type_name("FILE");
  command
      .add_option("-o,--output", options.output,
                  "Write the new EDID to FILE, replacing it in one step "
                  "(default: standard output)")
      ->type_name("FILE");
  command
      .add_option("--format", s.format,
                  "bin (256 bytes), hex (16 bytes a line, as edid-decode reads it) or "
                  "carray (a C initialiser) (default: bin)")
      ->type_name("FORMAT");
  command
      .add_option("--mode", s.mode,
                  "The device's current HDMI output mode, WxH{p|i}RATE with H the frame "
                  "height (default: 1920x1080p60)")
      ->type_name("MODE");
  command
      .add_option("--port", s.port,
                  "The device's HDMI input port, counted from 0 (0 to 14; default: 0)")
      ->type_name("N");
  command
      .add_option("--3d", s.setting_3d,
                  "3D: off, sink (as the television declares) or on (default: sink)")
      ->type_name("WORD");
  command
      .add_option("--latency", s.latency,
                  "The device's own latencies in ms: video, audio, interlaced video, "
                  "interlaced audio (0 to 500 each; default: 0,0,0,0)")
      ->type_name("V,A,IV,IA");
  command
      .add_option("--audio-mask", s.audio_mask,
                  "Audio formats to allow: comma-separated words (" + AudioMaskWords() +
                      "), all, or a mask 0xHEX (default: all)")
      ->type_name("FORMATS");
  command.add_flag("--sink-filter", s.sink_filter,
                   "Offer only the audio formats the television accepts (default: off)");
  command.add_flag("--modern", s.modern,
                   "Compose with the modern profile (HDMI 2.0, HDR) whatever the configuration's "
                   "modern.enabled says (default: as modern.enabled, 0)");
  command
      .add_option_function<std::string>(
          "--max-tmds-rate", [&s](const std::string &value) { s.max_tmds_rate = value; },
          "The modern profile: the device's TMDS character rate in MHz, 0 to 600, in place of "
          "modern.max_tmds_rate (above 340 the device has SCDC too)")
      ->type_name("MHZ");
  command
      .add_option_function<std::string>(
          "--hdr", [&s](const std::string &value) { s.hdr = value; },
          "The modern profile: HDR transfer functions, comma-separated words (sdr, pq, hlg) or "
          "off, in place of modern.hdr_eotfs")
      ->type_name("WORDS");
  CLI::Option *summary =
      command.add_flag("--summary", options.summary, "Print the new EDID's summary (the default)");
  CLI::Option *full = command.add_flag("--full", options.full, "Print every field of the new EDID");
  command.add_flag("--quiet", options.quiet, "Print nothing but errors")->excludes(summary, full);
  full->excludes(summary);
  command.add_flag("--debug", options.debug, "Turn on the library's trace lines");
  command.footer(
      "Prints the new EDID (summary form unless --full or --quiet) and the offset of its\n"
      "physical address bytes. When the EDID itself goes to standard output, all of that\n"
      "goes to standard error instead. A binary EDID is not written to a terminal.\n"
      "--max-tmds-rate and --hdr need the modern profile: --modern or modern.enabled = 1.\n"
      "Exit status: 0 composed, 1 the library refused (its lines say why), 2 unusable input\n"
      "or usage (one line on standard error).");
}

int RunCompose(const ComposeOptions &options) {
  std::string option, problem;
  std::optional<ComposeSettings> settings = ParseComposeSettings(options.settings, option, problem);
  if (!settings) return Refuse(option, problem);
  std::string chosen_row;
  if (!ChooseModeRow(settings->cfg.hdmi_current_mode, chosen_row, problem))
    return Refuse("--mode", problem);
  const bool to_stdout = options.output.empty();
  if (to_stdout && settings->format == OutputFormat::kBinary && isatty(STDOUT_FILENO))
    return Refuse("standard output",
                  "a binary EDID is not written to a terminal; use -o FILE or --format hex");

  if (!to_stdout) {
    problem =
        OutputIsAnInput(options.output, {{"--config", options.config}, {"--sink", options.sink}});
    if (!problem.empty()) return Refuse(options.output, problem);
  }

  EdidInput sink;
  if (!options.sink.empty()) {
    sink = ReadEdid(options.sink);
    if (!sink.error.empty()) return Refuse(DisplayName(options.sink), sink.error);
    if (const std::string missing = MissingBlocks(sink.bytes); !missing.empty())
      fprintf(stderr, "edid-composer: %s: %s\n", DisplayName(options.sink).c_str(),
              missing.c_str());
  }
  if (!Readable(options.config, problem)) return Refuse(options.config, problem);
  if (config_store_load_file(options.config.c_str()) != 0)
    return kExitUnusableInput;  // the store has printed file:line:column: what

  compose_profile_t profile;
  std::string library_lines;
  if (!ReadProfile(*settings, options.debug, profile, library_lines, option, problem))
    return Refuse(option, problem);

  std::vector<uint8_t> composed;
  uint8_t spa_offset = 0;
  const bool ok = ComposeEdid(sink.bytes, settings->cfg, &profile, options.debug, composed,
                              spa_offset, library_lines);
  // With the EDID on standard output, everything else goes to standard error.
  FILE *report = to_stdout ? stderr : stdout;
  if (!options.quiet && !chosen_row.empty()) fprintf(report, "%s\n", chosen_row.c_str());
  fputs(EscapeControls(options.quiet ? ErrorLines(library_lines) : library_lines).c_str(), report);
  if (!ok) {
    fflush(report);
    return kExitLibraryFailed;
  }
  if (const std::string unreadable = ReadBackProblem(composed); !unreadable.empty()) {
    fprintf(stderr, "edid-composer: nothing written: %s\n", unreadable.c_str());
    return kExitLibraryFailed;
  }

  const std::string sink_name =
      options.sink.empty() ? "no television EDID" : "television " + DisplayName(options.sink);
  const std::string contents = Render(
      settings->format, composed,
      "EDID composed by edid-composer from " + sink_name + " and configuration " + options.config);
  if (to_stdout) {
    fflush(report);
    if (!WriteAll(STDOUT_FILENO, contents))
      return Refuse("standard output", std::string("cannot write: ") + strerror(errno));
  } else if (!WriteOutput(options.output, contents, problem)) {
    return Refuse(options.output, problem);
  }
  if (options.quiet) return kExitOk;

  const std::string title =
      to_stdout ? "Composed EDID" : "Composed EDID, written to " + options.output;
  const std::string dump = CaptureStdout(
      [&] { print_edid(composed.data(), kComposedSize, options.full ? 0 : 1, title.c_str()); });
  fprintf(report, "%s\nPhysical address bytes at offset %u (0x%02x)\n",
          EscapeControls(dump).c_str(), spa_offset, spa_offset);
  return kExitOk;
}

}  // namespace edc_tool
