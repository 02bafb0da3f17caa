// Encoding a fully filled record: two timings, name, range limits and serial,
// 16 video formats (six with 3D structures), 8 audio formats, an HDMI block
// with latencies and HDMI VICs, and colorimetry; all of it fits, so nothing
// is printed.
#include <benchmark/benchmark.h>

#include <cstring>

#include "edid_decode_encode.h"
#include "linked_list.h"
#include "typed_list.h"
#include "utility.h"

namespace {

template <typename T>
void Append(ll_list_t *list, const T &value) {
  edc::append_copy(list, value, EDC_HERE);
}

void FillRecord(edid_t &edid) {
  memcpy(edid.manufacturer_id, "SAM", 4);
  strcpy(edid.monitor_name, "Set-top box");
  strcpy(edid.monitor_serial, "SN0123456789");
  edid.product_id = 0x1234;
  edid.serial = 42;
  edid.week = 12;
  edid.year = 2024;
  edid.version = 1;
  edid.revision = 3;
  edid.gamma = 120;
  edid.standard_colorspace = edid.preferred_timing = 1;
  edid.red_x = 640, edid.red_y = 348, edid.green_x = 287, edid.green_y = 609;
  edid.blue_x = 159, edid.blue_y = 72, edid.white_x = 290, edid.white_y = 305;
  edid.established_timings_1 = 0x21;
  edid.min_v_rate = 49, edid.max_v_rate = 61, edid.min_h_rate = 15, edid.max_h_rate = 70;
  edid.max_pixel_clock = 150;
  for (uint32_t width : {1920u, 1280u, 1024u})
    Append(&edid.std_timings, std_timing_t{width, 3, 60});
  for (uint32_t vic : {16u, 4u}) {
    detailed_timing_t timing;
    if (convert_vic_to_dtd(vic, &timing)) Append(&edid.dtd_list, timing);
  }
  for (uint32_t vic = 1; vic <= 16; ++vic)
    Append(&edid.video_list,
           short_video_desc_t{vic == 16, vic, vic <= 6 ? EDID_STEREO_FP | EDID_STEREO_TBH : 0});
  for (uint32_t format = 1; format <= 8; ++format)
    Append(&edid.audio_list, short_audio_desc_t{format, 6, 0x07, 0x05, 640, 0, 0});
  edid.speaker[0] = 0x4F;
  edid.hdmi_vsdb_present = 1;
  edid.address = {1, 2, 0, 0};
  edid.dc_36bit = edid.dc_30bit = edid.dc_y444 = 1;
  edid.max_tmds_clock = 300;
  edid.video_latency = 20, edid.audio_latency = 40;
  edid.interlaced_video_latency = 30, edid.interlaced_audio_latency = 50;
  edid.hdmi_video_present = edid.present_3d = edid.image_size = 1;
  edid.hdmi_vic_len = 4;
  for (uint32_t i = 0; i < 4; ++i) edid.hdmi_vic[i] = i + 1;
  edid.xvycc601 = edid.xvycc709 = 1;
}

void BM_EncodeFullRecord(benchmark::State &state) {
  edid_t edid;
  edid_prepare(&edid);
  FillRecord(edid);
  platform_values_t platform{};
  platform.native_bit = 1;
  uint8_t out[256];
  uint8_t spa = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(encode_edid(out, sizeof out, &edid, &spa, &platform));
    benchmark::ClobberMemory();
  }
  edid_destroy(&edid);
}
BENCHMARK(BM_EncodeFullRecord);

}  // namespace
