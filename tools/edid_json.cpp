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

void StandardTiming(JsonWriter &w, const std_timing_t &timing) {
  w.BeginObject();
  w.Field("h_active", timing.h_active);
  w.Field("aspect_ratio", timing.aspect_ratio);
  w.Field("aspect", std_aspect_string(static_cast<int32_t>(timing.aspect_ratio)));
  w.Field("refresh_rate", timing.refresh_rate);
  w.EndObject();
}

void DetailedTiming(JsonWriter &w, const detailed_timing_t &t) {
  w.BeginObject();
  w.Field("name", TimingName(t));
  w.Field("valid", t.valid != 0);
  w.Field("pixel_clock", t.pixel_clock);
  w.Field("h_active", t.h_active);
  w.Field("h_blanking", t.h_blanking);
  w.Field("h_sync_offset", t.h_sync_offset);
  w.Field("h_sync_width", t.h_sync_width);
  w.Field("h_border", t.h_border);
  w.Field("v_active", t.v_active);
  w.Field("v_blanking", t.v_blanking);
  w.Field("v_sync_offset", t.v_sync_offset);
  w.Field("v_sync_width", t.v_sync_width);
  w.Field("v_border", t.v_border);
  w.Field("h_image_size", t.h_image_size);
  w.Field("v_image_size", t.v_image_size);
  w.Field("progressive", t.progressive != 0);
  w.Field("stereo", t.stereo);
  w.Field("h_sync_positive", t.h_sync_positive != 0);
  w.Field("v_sync_positive", t.v_sync_positive != 0);
  w.Field("refresh_rate", RefreshRate(t));
  w.EndObject();
}

void VideoFormat(JsonWriter &w, const short_video_desc_t &svd) {
  w.BeginObject();
  w.Field("vic", svd.vic);
  // A byte of VIC 193 up, which the record holds as VIC 65 up marked native.
  if (SvdVic(svd) != svd.vic) w.Field("cta_vic", SvdVic(svd));
  w.Field("name", VicName(SvdVic(svd)));
  w.Field("native", svd.native != 0);
  w.Field("stereo", svd.stereo);
  w.Field("stereo_names", StereoNames(svd.stereo));
  w.EndObject();
}

void AudioFormat(JsonWriter &w, const short_audio_desc_t &sad) {
  w.BeginObject();
  w.Field("format", sad.format);
  w.Field("name", short_audio_string(sad.format));
  w.Field("channels", sad.channels);
  w.Field("sample_rates", sad.sample_rates);
  w.Field("sample_rates_khz", SampleRatesKhz(sad.sample_rates));
  w.Field("bit_depths", sad.bit_depths);
  w.Field("bit_depths_bits", BitDepths(sad.bit_depths));
  w.Field("max_bitrate", sad.max_bitrate);
  w.Field("format_value", sad.format_value);
  w.Field("profile", sad.profile);
  w.EndObject();
}

template <typename T, typename Shape>
void List(JsonWriter &w, std::string_view key, const ll_list_t &list, Shape shape) {
  w.Key(key);
  w.BeginArray();
  for (const T &element : Elements<T>(list)) shape(w, element);
  w.EndArray();
}

void HdmiVic(JsonWriter &w, uint32_t vic) {
  w.BeginObject();
  w.Field("vic", vic);
  w.Field("name", hdmi_vic_string(static_cast<int32_t>(vic)));
  w.EndObject();
}

}  // namespace

Json EdidJson(const edid_t &e) {
  JsonWriter w;
  w.BeginObject();
  WriteEdidFields(e, w);
  w.EndObject();
  return Json::parse(w.text());
}

void WriteEdidFields(const edid_t &e, JsonWriter &w) {
  w.Field("valid", e.valid != 0);
  w.Field("manufacturer_id", Text(FieldText(e.manufacturer_id)));
  w.Field("product_id", e.product_id);
  w.Field("serial", e.serial);
  w.Field("week", e.week);
  w.Field("year", e.year);
  w.Field("version", e.version);
  w.Field("revision", e.revision);
  w.Field("digital", e.digital != 0);
  w.Field("h_size_cm", e.h_size_cm);
  w.Field("v_size_cm", e.v_size_cm);
  w.Field("gamma", e.gamma);
  w.Field("standby", e.standby != 0);
  w.Field("suspend", e.suspend != 0);
  w.Field("active_off", e.active_off != 0);
  w.Field("standard_colorspace", e.standard_colorspace != 0);
  w.Field("preferred_timing", e.preferred_timing != 0);
  w.Field("gtf", e.gtf != 0);
  w.Field("red_x", e.red_x);
  w.Field("red_y", e.red_y);
  w.Field("green_x", e.green_x);
  w.Field("green_y", e.green_y);
  w.Field("blue_x", e.blue_x);
  w.Field("blue_y", e.blue_y);
  w.Field("white_x", e.white_x);
  w.Field("white_y", e.white_y);
  w.Field("established_timings_1", e.established_timings_1);
  w.Field("established_timings_2", e.established_timings_2);
  w.Field("manufacturer_timings", e.manufacturer_timings);
  w.Field("established_timing_names", EstablishedTimingNames(e));
  List<std_timing_t>(w, "std_timings", e.std_timings, StandardTiming);
  List<detailed_timing_t>(w, "dtd_list", e.dtd_list, DetailedTiming);
  w.Field("monitor_serial", Text(FieldText(e.monitor_serial)));
  w.Field("monitor_data", Text(FieldText(e.monitor_data)));
  w.Field("monitor_name", Text(FieldText(e.monitor_name)));
  w.Field("min_v_rate", e.min_v_rate);
  w.Field("max_v_rate", e.max_v_rate);
  w.Field("min_h_rate", e.min_h_rate);
  w.Field("max_h_rate", e.max_h_rate);
  w.Field("max_pixel_clock", e.max_pixel_clock);
  w.Field("num_extensions", e.num_extensions);
  w.Field("checksum", e.checksum);
  w.Field("underscan", e.underscan != 0);
  w.Field("basic_audio", e.basic_audio != 0);
  w.Field("ycbcr444", e.ycbcr444 != 0);
  w.Field("ycbcr422", e.ycbcr422 != 0);
  List<short_video_desc_t>(w, "video_list", e.video_list, VideoFormat);
  List<short_audio_desc_t>(w, "audio_list", e.audio_list, AudioFormat);
  w.Field("speaker", std::vector<uint32_t>(e.speaker, e.speaker + 3));
  w.Field("speaker_names", SpeakerNames(e.speaker));
  w.Field("hdmi_vsdb_present", e.hdmi_vsdb_present != 0);
  w.Field("address", AddressText(e.address));
  w.Field("dc_48bit", e.dc_48bit != 0);
  w.Field("dc_36bit", e.dc_36bit != 0);
  w.Field("dc_30bit", e.dc_30bit != 0);
  w.Field("dc_y444", e.dc_y444 != 0);
  w.Field("dvi_dual", e.dvi_dual != 0);
  w.Field("max_tmds_clock", e.max_tmds_clock);
  w.Field("supports_ai", e.supports_ai != 0);
  w.Field("cnc0", e.cnc0 != 0);
  w.Field("cnc1", e.cnc1 != 0);
  w.Field("cnc2", e.cnc2 != 0);
  w.Field("cnc3", e.cnc3 != 0);
  w.Field("hdmi_video_present", e.hdmi_video_present != 0);
  w.Field("video_latency", e.video_latency);
  w.Field("audio_latency", e.audio_latency);
  w.Field("interlaced_video_latency", e.interlaced_video_latency);
  w.Field("interlaced_audio_latency", e.interlaced_audio_latency);
  w.Field("present_3d", e.present_3d != 0);
  w.Field("image_size", e.image_size);
  w.Field("hdmi_vic_len", e.hdmi_vic_len);
  w.Key("hdmi_vic");
  w.BeginArray();
  for (uint32_t vic : HdmiVics(e)) HdmiVic(w, vic);
  w.EndArray();
  w.Field("xvycc601", e.xvycc601 != 0);
  w.Field("xvycc709", e.xvycc709 != 0);
}

std::string JsonText(const Json &json) {
  return json.dump(2) + "\n";
}

}  // namespace edc_tool
