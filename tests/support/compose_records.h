// Records for the composer's tests, written and read in short text forms:
//   video modes  "16 4/05 5*"    VIC, "/" and the 3D structure mask in hex,
//                                "*" when the native flag is set
//   audio        "1 2 7 5, 2 6 7 0 640"  each descriptor's fields in
//                                declaration order (format channels
//                                sample_rates bit_depths max_bitrate
//                                format_value profile), trailing zeros left out
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "edid_composer.h"
#include "edid_decode_encode.h"
#include "utility.h"

namespace edc_test {

// A platform values record, initialised and destroyed with the object.
struct PreparedPlatform {
  PreparedPlatform();
  ~PreparedPlatform();
  PreparedPlatform(const PreparedPlatform &) = delete;
  PreparedPlatform &operator=(const PreparedPlatform &) = delete;
  platform_values_t values;
};

// Appends the modes to a list of short_video_desc_t; the list as text.
void AddModes(ll_list_t *list, const std::string &text);
std::string Modes(ll_list_t *list);

// Appends the descriptors to a list of short_audio_desc_t; the list as text.
void AddAudio(ll_list_t *list, const std::string &text);
std::string Audio(ll_list_t *list);
std::string AudioText(const short_audio_desc_t &audio);
short_audio_desc_t AudioDesc(const std::string &text);

// Appends numbers ("0x070709 5") to a list of int.
void AddNumbers(ll_list_t *list, const std::string &text);

// Appends the detailed timing of each VIC ("31 16") to the record's dtd_list.
void AddTimings(edid_t *edid, const std::string &vics);

// The sample configuration of examples/, loaded for the object's lifetime.
struct SampleConfig {
  SampleConfig();
  ~SampleConfig();
  SampleConfig(const SampleConfig &) = delete;
  SampleConfig &operator=(const SampleConfig &) = delete;
};

// The caller's settings used with the corpus: 1080p60 output, every audio
// format, the sink filter on, 3D as the television, latencies 20 and 40 ms,
// the second input (port 2).
composer_cfg_t CorpusSettings();

// A file of the corpus (tests/corpus/edid/<name>).
std::vector<uint8_t> CorpusBytes(const std::string &name);

// Decodes a composed EDID of 256 bytes into a prepared record: both blocks
// must sum to 0 and decode.
void DecodeComposed(const std::vector<uint8_t> &bytes, edid_t *edid);

// The cases of a data file (tests/data/<name>): "== title" opens a case, and
// its other lines are a key and a value each ("svds 16 4"); lines before the
// first case are defaults, in front of every case's own lines.
struct Case {
  std::string title;
  std::vector<std::pair<std::string, std::string>> lines;
  // The value of the key's last line, or "-" when there is none.
  std::string Get(const std::string &key) const;
};
std::vector<Case> ReadCases(const std::string &name);

// A line expected in the output, written "ERROR func text", "TRACE func
// text" (WARNING, BUG too; "\t" stands for a tab), as Lines() gives it.
std::string ExpectedLine(const std::string &text);

// The first of the expected lines that is not among the lines printed, in
// this order, or "" when all are.
std::string FirstMissing(const std::vector<std::string> &printed,
                         const std::vector<std::string> &expected);

}  // namespace edc_test
