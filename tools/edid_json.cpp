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
  return {{"h_active", timing.h_active},
          {"aspect_ratio", timing.aspect_ratio},
          {"aspect", std_aspect_string(static_cast<int32_t>(timing.aspect_ratio))},
          {"refresh_rate", timing.refresh_rate}};
}

Json DetailedTiming(const detailed_timing_t &t) {
  return {{"name", TimingName(t)},
          {"valid", t.valid != 0},
          {"pixel_clock", t.pixel_clock},
          {"h_active", t.h_active},
          {"h_blanking", t.h_blanking},
          {"h_sync_offset", t.h_sync_offset},
          {"h_sync_width", t.h_sync_width},
          {"h_border", t.h_border},
          {"v_active", t.v_active},
          {"v_blanking", t.v_blanking},
          {"v_sync_offset", t.v_sync_offset},
          {"v_sync_width", t.v_sync_width},
          {"v_border", t.v_border},
          {"h_image_size", t.h_image_size},
          {"v_image_size", t.v_image_size},
          {"progressive", t.progressive != 0},
          {"stereo", t.stereo},
          {"h_sync_positive", t.h_sync_positive != 0},
          {"v_sync_positive", t.v_sync_positive != 0},
          {"refresh_rate", RefreshRate(t)}};
}

Json VideoFormat(const short_video_desc_t &svd) {
  return {{"vic", svd.vic},
          {"name", short_video_timing_string(svd.vic)},
          {"native", svd.native != 0},
          {"stereo", svd.stereo},
          {"stereo_names", StereoNames(svd.stereo)}};
}

Json AudioFormat(const short_audio_desc_t &sad) {
  return {{"format", sad.format},
          {"name", short_audio_string(sad.format)},
          {"channels", sad.channels},
          {"sample_rates", sad.sample_rates},
          {"sample_rates_khz", SampleRatesKhz(sad.sample_rates)},
          {"bit_depths", sad.bit_depths},
          {"bit_depths_bits", BitDepths(sad.bit_depths)},
          {"max_bitrate", sad.max_bitrate},
          {"format_value", sad.format_value},
          {"profile", sad.profile}};
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
    hdmi_vics.push_back({{"vic", vic}, {"name", hdmi_vic_string(static_cast<int32_t>(vic))}});
  return {
      {"valid", e.valid != 0},
      {"manufacturer_id", Text(FieldText(e.manufacturer_id))},
      {"product_id", e.product_id},
      {"serial", e.serial},
      {"week", e.week},
      {"year", e.year},
      {"version", e.version},
      {"revision", e.revision},
      {"digital", e.digital != 0},
      {"h_size_cm", e.h_size_cm},
      {"v_size_cm", e.v_size_cm},
      {"gamma", e.gamma},
      {"standby", e.standby != 0},
      {"suspend", e.suspend != 0},
      {"active_off", e.active_off != 0},
      {"standard_colorspace", e.standard_colorspace != 0},
      {"preferred_timing", e.preferred_timing != 0},
      {"gtf", e.gtf != 0},
      {"red_x", e.red_x},
      {"red_y", e.red_y},
      {"green_x", e.green_x},
      {"green_y", e.green_y},
      {"blue_x", e.blue_x},
      {"blue_y", e.blue_y},
      {"white_x", e.white_x},
      {"white_y", e.white_y},
      {"established_timings_1", e.established_timings_1},
      {"established_timings_2", e.established_timings_2},
      {"manufacturer_timings", e.manufacturer_timings},
      {"established_timing_names", EstablishedTimingNames(e)},
      {"std_timings", List<std_timing_t>(e.std_timings, StandardTiming)},
      {"dtd_list", List<detailed_timing_t>(e.dtd_list, DetailedTiming)},
      {"monitor_serial", Text(FieldText(e.monitor_serial))},
      {"monitor_data", Text(FieldText(e.monitor_data))},
      {"monitor_name", Text(FieldText(e.monitor_name))},
      {"min_v_rate", e.min_v_rate},
      {"max_v_rate", e.max_v_rate},
      {"min_h_rate", e.min_h_rate},
      {"max_h_rate", e.max_h_rate},
      {"max_pixel_clock", e.max_pixel_clock},
      {"num_extensions", e.num_extensions},
      {"checksum", e.checksum},
      {"underscan", e.underscan != 0},
      {"basic_audio", e.basic_audio != 0},
      {"ycbcr444", e.ycbcr444 != 0},
      {"ycbcr422", e.ycbcr422 != 0},
      {"video_list", List<short_video_desc_t>(e.video_list, VideoFormat)},
      {"audio_list", List<short_audio_desc_t>(e.audio_list, AudioFormat)},
      {"speaker", {e.speaker[0], e.speaker[1], e.speaker[2]}},
      {"speaker_names", SpeakerNames(e.speaker)},
      {"hdmi_vsdb_present", e.hdmi_vsdb_present != 0},
      {"address", AddressText(e.address)},
      {"dc_48bit", e.dc_48bit != 0},
      {"dc_36bit", e.dc_36bit != 0},
      {"dc_30bit", e.dc_30bit != 0},
      {"dc_y444", e.dc_y444 != 0},
      {"dvi_dual", e.dvi_dual != 0},
      {"max_tmds_clock", e.max_tmds_clock},
      {"supports_ai", e.supports_ai != 0},
      {"cnc0", e.cnc0 != 0},
      {"cnc1", e.cnc1 != 0},
      {"cnc2", e.cnc2 != 0},
      {"cnc3", e.cnc3 != 0},
      {"hdmi_video_present", e.hdmi_video_present != 0},
      {"video_latency", e.video_latency},
      {"audio_latency", e.audio_latency},
      {"interlaced_video_latency", e.interlaced_video_latency},
      {"interlaced_audio_latency", e.interlaced_audio_latency},
      {"present_3d", e.present_3d != 0},
      {"image_size", e.image_size},
      {"hdmi_vic_len", e.hdmi_vic_len},
      {"hdmi_vic", hdmi_vics},
      {"xvycc601", e.xvycc601 != 0},
      {"xvycc709", e.xvycc709 != 0},
  };
}

std::string JsonText(const Json &json) {
  return json.dump(2) + "\n";
}

}  // namespace edc_tool
