#include "edid_json.h"

#include "decoded_edid.h"
#include "utility.h"

namespace edc_tool {

namespace {

// A text field of the record. The standard's texts are ASCII; any other byte
// becomes the character of the same number (Latin-1), so that every byte
// survives in the UTF-8 of JSON.
std::string Text(const std::string &bytes) {
  std::string utf8;
  for (unsigned char c : bytes) {
    if (c < 0x80) {
      utf8 += static_cast<char>(c);
    } else {
      utf8 += static_cast<char>(0xC0 | (c >> 6));
      utf8 += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return utf8;
}

Json StandardTiming(const std_timing_t &timing) {
  Json j;
  j["h_active"] = timing.h_active;
  j["aspect_ratio"] = timing.aspect_ratio;
  j["aspect"] = std_aspect_string(static_cast<int32_t>(timing.aspect_ratio));
  j["refresh_rate"] = timing.refresh_rate;
  return j;
}

Json DetailedTiming(const detailed_timing_t &t) {
  Json j;
  j["name"] = TimingName(t);
  j["valid"] = t.valid != 0;
  j["pixel_clock"] = t.pixel_clock;
  j["h_active"] = t.h_active;
  j["h_blanking"] = t.h_blanking;
  j["h_sync_offset"] = t.h_sync_offset;
  j["h_sync_width"] = t.h_sync_width;
  j["h_border"] = t.h_border;
  j["v_active"] = t.v_active;
  j["v_blanking"] = t.v_blanking;
  j["v_sync_offset"] = t.v_sync_offset;
  j["v_sync_width"] = t.v_sync_width;
  j["v_border"] = t.v_border;
  j["h_image_size"] = t.h_image_size;
  j["v_image_size"] = t.v_image_size;
  j["progressive"] = t.progressive != 0;
  j["stereo"] = t.stereo;
  j["h_sync_positive"] = t.h_sync_positive != 0;
  j["v_sync_positive"] = t.v_sync_positive != 0;
  j["refresh_rate"] = RefreshRate(t);
  return j;
}

Json VideoFormat(const short_video_desc_t &svd) {
  Json j;
  j["vic"] = svd.vic;
  // A byte of VIC 193 up, which the record holds as VIC 65 up marked native.
  if (SvdVic(svd) != svd.vic) j["cta_vic"] = SvdVic(svd);
  j["name"] = VicName(SvdVic(svd));
  j["native"] = svd.native != 0;
  j["stereo"] = svd.stereo;
  j["stereo_names"] = StereoNames(svd.stereo);
  return j;
}

Json AudioFormat(const short_audio_desc_t &sad) {
  Json j;
  j["format"] = sad.format;
  j["name"] = short_audio_string(sad.format);
  j["channels"] = sad.channels;
  j["sample_rates"] = sad.sample_rates;
  j["sample_rates_khz"] = SampleRatesKhz(sad.sample_rates);
  j["bit_depths"] = sad.bit_depths;
  j["bit_depths_bits"] = BitDepths(sad.bit_depths);
  j["max_bitrate"] = sad.max_bitrate;
  j["format_value"] = sad.format_value;
  j["profile"] = sad.profile;
  return j;
}

template <typename T, typename Shape>
Json List(const ll_list_t &list, Shape shape) {
  Json array = Json::array();
  for (const T &element : Elements<T>(list)) array.push_back(shape(element));
  return array;
}

}  // namespace

Json EdidJson(const edid_t &e) {
  Json hdmi_vics = Json::array();
  for (uint32_t vic : HdmiVics(e))
    hdmi_vics.push_back(Json{{"vic", vic}, {"name", hdmi_vic_string(static_cast<int32_t>(vic))}});
  Json j;
  j["valid"] = e.valid != 0;
  j["manufacturer_id"] = Text(FieldText(e.manufacturer_id));
  j["product_id"] = e.product_id;
  j["serial"] = e.serial;
  j["week"] = e.week;
  j["year"] = e.year;
  j["version"] = e.version;
  j["revision"] = e.revision;
  j["digital"] = e.digital != 0;
  j["h_size_cm"] = e.h_size_cm;
  j["v_size_cm"] = e.v_size_cm;
  j["gamma"] = e.gamma;
  j["standby"] = e.standby != 0;
  j["suspend"] = e.suspend != 0;
  j["active_off"] = e.active_off != 0;
  j["standard_colorspace"] = e.standard_colorspace != 0;
  j["preferred_timing"] = e.preferred_timing != 0;
  j["gtf"] = e.gtf != 0;
  j["red_x"] = e.red_x;
  j["red_y"] = e.red_y;
  j["green_x"] = e.green_x;
  j["green_y"] = e.green_y;
  j["blue_x"] = e.blue_x;
  j["blue_y"] = e.blue_y;
  j["white_x"] = e.white_x;
  j["white_y"] = e.white_y;
  j["established_timings_1"] = e.established_timings_1;
  j["established_timings_2"] = e.established_timings_2;
  j["manufacturer_timings"] = e.manufacturer_timings;
  j["established_timing_names"] = EstablishedTimingNames(e);
  j["std_timings"] = List<std_timing_t>(e.std_timings, StandardTiming);
  j["dtd_list"] = List<detailed_timing_t>(e.dtd_list, DetailedTiming);
  j["monitor_serial"] = Text(FieldText(e.monitor_serial));
  j["monitor_data"] = Text(FieldText(e.monitor_data));
  j["monitor_name"] = Text(FieldText(e.monitor_name));
  j["min_v_rate"] = e.min_v_rate;
  j["max_v_rate"] = e.max_v_rate;
  j["min_h_rate"] = e.min_h_rate;
  j["max_h_rate"] = e.max_h_rate;
  j["max_pixel_clock"] = e.max_pixel_clock;
  j["num_extensions"] = e.num_extensions;
  j["checksum"] = e.checksum;
  j["underscan"] = e.underscan != 0;
  j["basic_audio"] = e.basic_audio != 0;
  j["ycbcr444"] = e.ycbcr444 != 0;
  j["ycbcr422"] = e.ycbcr422 != 0;
  j["video_list"] = List<short_video_desc_t>(e.video_list, VideoFormat);
  j["audio_list"] = List<short_audio_desc_t>(e.audio_list, AudioFormat);
  j["speaker"] = Json::array({e.speaker[0], e.speaker[1], e.speaker[2]});
  j["speaker_names"] = SpeakerNames(e.speaker);
  j["hdmi_vsdb_present"] = e.hdmi_vsdb_present != 0;
  j["address"] = AddressText(e.address);
  j["dc_48bit"] = e.dc_48bit != 0;
  j["dc_36bit"] = e.dc_36bit != 0;
  j["dc_30bit"] = e.dc_30bit != 0;
  j["dc_y444"] = e.dc_y444 != 0;
  j["dvi_dual"] = e.dvi_dual != 0;
  j["max_tmds_clock"] = e.max_tmds_clock;
  j["supports_ai"] = e.supports_ai != 0;
  j["cnc0"] = e.cnc0 != 0;
  j["cnc1"] = e.cnc1 != 0;
  j["cnc2"] = e.cnc2 != 0;
  j["cnc3"] = e.cnc3 != 0;
  j["hdmi_video_present"] = e.hdmi_video_present != 0;
  j["video_latency"] = e.video_latency;
  j["audio_latency"] = e.audio_latency;
  j["interlaced_video_latency"] = e.interlaced_video_latency;
  j["interlaced_audio_latency"] = e.interlaced_audio_latency;
  j["present_3d"] = e.present_3d != 0;
  j["image_size"] = e.image_size;
  j["hdmi_vic_len"] = e.hdmi_vic_len;
  j["hdmi_vic"] = hdmi_vics;
  j["xvycc601"] = e.xvycc601 != 0;
  j["xvycc709"] = e.xvycc709 != 0;
  return j;
}

std::string JsonText(const Json &json) {
  return json.dump(2) + "\n";
}

}  // namespace edc_tool
