// Records for the composer's tests, written and read in short text forms:
//   video modes  "16 4/05 5*"    VIC, "/" and the 3D structure mask in hex,
//                                "*" when the native flag is set
//   audio        "1 2 7 5, 2 6 7 0 640"  each descriptor's fields in
//                                declaration order (format channels
//                                sample_rates bit_depths max_bitrate
//                                format_value profile), trailing zeros left out
#pragma once

#include <string>

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

// Appends the detailed timing of each VIC ("31 16") to the record's dtd_list.
void AddTimings(edid_t *edid, const std::string &vics);

}  // namespace edc_test
