// Records for tests, built from and shown as short text forms, and records
// that clean up after themselves; the real EDIDs of tests/corpus/.
//
// A record line sets one field: "week 12", "speaker 0x4F 1 0", "monitor_name
// \"EDC  \"" (quotes keep blanks; a text fills its whole array when it is
// that long). A list element takes the element's fields in declaration
// order: "std_timing", "dtd", "svd", "sad". "clear svd" empties a list;
// "33x svd 0 1 0" repeats a line. The platform record takes its number and
// text fields alike, "std_timing ..." and its lists in their text forms
// ("video_60_priority 16 4/05", "audio_list 0x070709").
//
// The text forms of lists:
//   video modes  "16 4/05 5*"   VIC, "/" and the 3D structure mask in hex,
//                               "*" when the native flag is set
//   audio        "1 2 7 5, 2 6 7 0 640"  each descriptor's fields in
//                               declaration order (format channels
//                               sample_rates bit_depths max_bitrate
//                               format_value profile), trailing zeros left out
//   std timings  "1920 3 60, 1280 1 75" in the same way
//   numbers      "0x070709 5"   (a list of int)
//   timings      "31 16"        the detailed timings of these VICs; shown as
//                               their fields, as audio is
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "capture.h"
#include "edid_composer.h"
#include "edid_decode_encode.h"
#include "utility.h"

namespace edc_test {

// A prepared edid_t and an initialised platform record, destroyed with the object.
struct PreparedEdid {
  PreparedEdid() { EXPECT_EQ(edid_prepare(&edid), 1); }
  ~PreparedEdid() {
    if (ll_is_initialized(&edid.std_timings)) edid_destroy(&edid);
  }
  edid_t edid{};
};
struct PreparedPlatform {
  PreparedPlatform() { EXPECT_TRUE(platform_values_init(&values)); }
  ~PreparedPlatform() { platform_values_destroy(&values); }
  platform_values_t values{};
};

// Applies a record line; false for a line it does not know.
bool ApplyRecordLine(const std::string &line, edid_t *edid);
bool ApplyRecordLine(const std::string &line, platform_values_t *values);

// The record as such lines, every field (or only those not all zero) and
// every element of the lists that are initialised ("manufacturer_id SAM",
// "svd 1 16 0"), for comparing two records.
std::vector<std::string> RecordLines(edid_t *edid, bool set_fields_only = false);

// Appends to a list in the text form of its element type; a list as text.
void Add(ll_list_t *list, const std::string &text);
std::string Text(ll_list_t *list);

// One audio descriptor from text and as text.
short_audio_desc_t AudioDesc(const std::string &text);
std::string AudioText(const short_audio_desc_t &audio);

// The sample configuration of examples/, loaded for the object's lifetime.
struct SampleConfig {
  SampleConfig() { EXPECT_EQ(config_store_load_file(EDC_EXAMPLES_DIR "/platform.toml"), 0); }
  ~SampleConfig() { config_store_clear(); }
};

// The caller's settings used with the corpus: 1080p60 output, every audio
// format, the sink filter on, 3D as the television, latencies 20 and 40 ms,
// the second input (port 2).
composer_cfg_t CorpusSettings();

// Decodes a composed EDID of 256 bytes into a prepared record: both blocks
// must sum to 0 and decode.
void DecodeComposed(const std::vector<uint8_t> &bytes, edid_t *edid);

// The real EDIDs of tests/corpus/, as its manifest lists them.
struct CorpusEdid {
  std::string file;  // name in tests/corpus/edid/
  std::string path;
  int blocks = 0;
  std::string odd;  // reasons for the odd class: ",version,analog,"
  Bytes bytes;
  // The first of reasons ("version analog") that the EDID has, or "".
  std::string FirstOdd(const std::string &reasons) const;
};

// A file of the corpus (tests/corpus/edid/<name>).
Bytes CorpusBytes(const std::string &name);

// Every EDID of the manifest with its bytes, read once per process.
const std::vector<CorpusEdid> &Corpus();

// What Debian's edid-decode prints for each of them ("" where it crashes),
// in the same order; run once per process.
const std::vector<std::string> &EdidDecodeTexts();

// Bytes as xxd -p prints them: hex, 30 bytes a line.
std::string XxdText(const Bytes &bytes);

}  // namespace edc_test
