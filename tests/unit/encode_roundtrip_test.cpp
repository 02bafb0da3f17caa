// Every television of the corpus through decode, encode and decode again:
// what the encoder writes decodes to the values it was given for every field
// it copies and to the fixed values for the fields it replaces, and the peer
// decoder edid-decode reads both blocks with valid checksums.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <regex>

#include "capture.h"
#include "edid_builder.h"
#include "utility.h"

using namespace edc_test;  // NOLINT: builders and line helpers throughout

namespace {

std::string RunCommand(const std::string &command) {
  std::string out;
  FILE *pipe = popen(command.c_str(), "r");
  char chunk[4096];
  for (size_t got; pipe != nullptr && (got = fread(chunk, 1, sizeof chunk, pipe)) > 0;)
    out.append(chunk, got);
  if (pipe != nullptr) pclose(pipe);
  return out;
}

// A display text as written: at most 13 characters, trailing blanks trimmed
// down to the first; none when shorter than 2 or starting with a blank.
void ExpectDisplayText(char (&text)[14]) {
  std::string s(text, strnlen(text, 13));
  while (s.size() > 1 && s.back() == ' ') s.pop_back();
  if (strnlen(text, 2) < 2 || text[0] == ' ') s.clear();
  memset(text, 0, sizeof text);
  memcpy(text, s.data(), s.size());
}

// Calls fn(element, index) for each element of a record list; deletes the
// elements for which it returns true.
template <typename T, typename Fn>
void Edit(ll_list_t *list, Fn &&fn) {
  for (int32_t i = ll_size(list) - 1; i >= 0; --i) {
    void *data = nullptr;
    if (ll_entry_at(list, i, &data) && fn(*static_cast<T *>(data), i)) ll_delete_entry_at(list, i);
  }
}

// The record of a decoded television as the encoder is meant to give it back.
void ExpectEncoded(edid_t &e, const std::vector<uint8_t> &out, bool native_bit, bool serial_fits) {
  // Without a name or complete limits the extension count and checksum
  // stand early, in a descriptor slot that then decodes as a timing.
  const bool name = strnlen(e.monitor_name, 2) == 2 && e.monitor_name[0] != ' ';
  const bool limits =
      e.min_v_rate && e.max_v_rate && e.min_h_rate && e.max_h_rate && e.max_pixel_clock;
  if (!limits) e.min_v_rate = e.max_v_rate = e.min_h_rate = e.max_h_rate = e.max_pixel_clock = 0;
  e.num_extensions = name && limits;
  ExpectDisplayText(e.monitor_name);
  ExpectDisplayText(e.monitor_serial);
  if (!serial_fits) e.monitor_serial[0] = '\0';
  e.monitor_data[0] = '\0';
  e.checksum = out[127];  // both checksums are checked by the decoder
  e.digital = e.basic_audio = e.ycbcr444 = e.ycbcr422 = e.hdmi_vsdb_present = 1;
  if (e.h_size_cm == 0 || e.v_size_cm == 0) e.h_size_cm = 160, e.v_size_cm = 90;
  // Latencies above 500 ms are written as 500; without an interlaced pair the
  // decoder repeats the progressive one.
  for (uint16_t *ms : {&e.video_latency, &e.audio_latency, &e.interlaced_video_latency,
                       &e.interlaced_audio_latency})
    *ms = *ms > 500 ? 500 : *ms;
  if (e.interlaced_video_latency == 0 && e.interlaced_audio_latency == 0)
    e.interlaced_video_latency = e.video_latency, e.interlaced_audio_latency = e.audio_latency;
  if (!e.hdmi_video_present) {
    e.present_3d = e.image_size = e.hdmi_vic_len = 0;
    memset(e.hdmi_vic, 0, sizeof e.hdmi_vic);
  }
  // Timing stereo flags are not written; the extension's timing is VIC 1.
  Edit<detailed_timing_t>(&e.dtd_list, [](detailed_timing_t &t, int) { return t.stereo = 0; });
  if (!e.num_extensions) {
    const size_t at = name || limits ? 108 : 90;
    const uint32_t clock = (out[at] + out[at + 1] * 256u) * 10000;
    ASSERT_TRUE(
        ApplyRecordLine("dtd 1 " + std::to_string(clock) + " 0 0 0 0 0 0 0 0 0 0 0 0 1 0 0 0", &e));
  }
  ASSERT_TRUE(
      ApplyRecordLine("dtd 1 25180000 640 160 16 96 0  480 45 10 2 0  531 398 1 0 0 0", &e));
  // A 13-character serial leaves its line feed in the next slot, which the
  // decoder reads as a 0.1 MHz timing when the slot ends before the checksum.
  const size_t after_serial = out[130] + 2 * size_t{18};
  if (serial_fits && strnlen(e.monitor_serial, 14) == 13 && after_serial + 18 < 128) {
    EXPECT_EQ(out[128 + after_serial], 0x0A);
    ASSERT_TRUE(ApplyRecordLine("dtd 1 100000 0 0 0 0 0 0 0 0 0 0 0 0 1 0 0 0", &e));
  }
  const bool written_3d = e.hdmi_video_present && e.present_3d;
  Edit<short_video_desc_t>(&e.video_list, [&](short_video_desc_t &svd, int i) {
    svd.native = native_bit && (svd.native || i == 0);
    for (const auto &mandatory : _3d_man_modes)
      if (svd.vic == mandatory.vic) svd.stereo &= ~mandatory.stereo;
    if (!written_3d || i >= 16) svd.stereo = 0;
    return i >= 32;
  });
  if (ll_size(&e.video_list) == 0) {
    ASSERT_TRUE(ApplyRecordLine("svd " + std::to_string(native_bit) + " 1 0", &e));
  }
  Edit<short_audio_desc_t>(&e.audio_list, [](short_audio_desc_t &, int i) { return i >= 10; });
  if (ll_size(&e.audio_list) == 0) {
    ASSERT_TRUE(ApplyRecordLine("sad 1 2 7 5 0 0 0", &e));
  }
}

// Lines as one text, so that a failure shows the lines that differ.
std::string Joined(const std::vector<std::string> &lines) {
  std::string text;
  for (const auto &line : lines) text += line + "\n";
  return text;
}

std::vector<uint32_t> Stereo(ll_list_t *list, size_t count) {
  std::vector<uint32_t> masks;
  for (const auto &svd : Elements<short_video_desc_t>(list)) masks.push_back(svd.stereo);
  masks.resize(std::min(masks.size(), count));
  return masks;
}

TEST(EncodeRoundTrip, CorpusTelevisionsDecodeToWhatTheyWereEncodedFrom) {
  const std::string file = testing::TempDir() + "encode_roundtrip.bin";
  int televisions = 0;
  for (const auto &entry : ReadCorpusManifest()) {
    SCOPED_TRACE(entry.file);
    const auto bytes = ReadFile(CorpusDir() + "/edid/" + entry.file);
    PreparedEdid given, want, back;
    bool decoded = false;
    CaptureStdout([&] {
      decoded = entry.blocks > 1 && decode_edid_block_0(bytes.data(), &given.edid) &&
                decode_edid_extensions(bytes.data() + 128, 128, &given.edid);
    });
    if (!decoded || !given.edid.hdmi_vsdb_present || ll_size(&given.edid.dtd_list) < 2) continue;
    ++televisions;
    // Two timings, as the composer gives them; format 0 (an unknown extension
    // type) is refused by the encoder.
    Edit<detailed_timing_t>(&given.edid.dtd_list,
                            [](detailed_timing_t &, int i) { return i >= 2; });
    Edit<short_audio_desc_t>(&given.edid.audio_list,
                             [](short_audio_desc_t &a, int) { return a.format == 0; });
    for (const auto &line : RecordLines(&given.edid))
      ASSERT_TRUE(ApplyRecordLine(line, &want.edid)) << line;

    platform_values_t platform{};
    platform.native_bit = televisions % 2;
    std::vector<uint8_t> out(256);
    uint8_t result = 0;
    const std::string printed = CaptureStdout(
        [&] { result = encode_edid(out.data(), 256, &given.edid, nullptr, &platform); });
    ASSERT_EQ(result, 1) << printed;
    CaptureStdout([&] {
      EXPECT_TRUE(decode_edid_block_0(out.data(), &back.edid));
      EXPECT_TRUE(decode_edid_extensions(out.data() + 128, 128, &back.edid));
    });
    ExpectEncoded(want.edid, out, platform.native_bit, printed.find("serial") == std::string::npos);
    // 3D entries that found no room in the vendor block are missing from the
    // format that the warning names on.
    std::smatch dropped;
    if (std::regex_search(printed, dropped, std::regex(R"(from order\[(\d+)\])"))) {
      const auto decoded_masks = Stereo(&back.edid.video_list, 16);
      Edit<short_video_desc_t>(&want.edid.video_list, [&](short_video_desc_t &svd, int i) {
        if (i < std::stoi(dropped[1]) || i >= 16) return false;
        EXPECT_EQ(decoded_masks.at(i) & ~svd.stereo, 0u) << i;
        svd.stereo = decoded_masks.at(i);
        return false;
      });
    }
    EXPECT_EQ(Joined(RecordLines(&back.edid)), Joined(RecordLines(&want.edid)));

    std::ofstream(file, std::ios::binary).write(reinterpret_cast<const char *>(out.data()), 256);
    const std::string peer = RunCommand("edid-decode -c -s --skip-sha '" + file + "' 2>&1");
    EXPECT_THAT(peer, testing::HasSubstr("Block 1, CTA-861 Extension Block:"));
    EXPECT_THAT(peer, testing::Not(testing::ContainsRegex("Invalid checksum|[(]should be")));
  }
  printf("round trips: %d televisions\n", televisions);
  EXPECT_GT(televisions, 600);
}

}  // namespace
