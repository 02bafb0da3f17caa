// The EDID record's lifecycle, and decoding of hand-built base blocks and CEA
// extensions: the corners that real displays rarely show. Each scenario's
// messages and the record it leaves are compared with tests/golden/decode_*.txt;
// short audio descriptors with tests/data/short_audio.tsv.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <sstream>

#include "capture.h"
#include "edid_builder.h"
#include "edid_decode_encode_internal.h"
#include "golden.h"

using namespace edc_test;  // NOLINT: builders and line helpers throughout

namespace {

void Put(std::ostream &o, const char *name, uint64_t value) {
  if (value != 0) o << name << "=" << value << "\n";
}
void Put(std::ostream &o, const char *name, const char *text) {
  if (text[0] != '\0') o << name << "=" << text << "\n";
}

// A list's elements; none for a list that is not initialised.
template <typename T>
std::vector<T> Items(ll_list_t *list) {
  return ll_is_initialized(list) ? Elements<T>(list) : std::vector<T>{};
}

// The fields of the record that are not zero, then its lists.
std::string Dump(edid_t &e) {
  std::ostringstream o;
// clang-format off
#define F(field) Put(o, #field, e.field);
  F(valid) F(manufacturer_id) F(product_id) F(serial) F(week) F(year) F(version) F(revision)
  F(digital) F(h_size_cm) F(v_size_cm) F(gamma) F(standby) F(suspend) F(active_off)
  F(standard_colorspace) F(preferred_timing) F(gtf) F(red_x) F(red_y) F(green_x) F(green_y)
  F(blue_x) F(blue_y) F(white_x) F(white_y) F(established_timings_1) F(established_timings_2)
  F(manufacturer_timings) F(monitor_serial) F(monitor_data) F(monitor_name) F(min_v_rate)
  F(max_v_rate) F(min_h_rate) F(max_h_rate) F(max_pixel_clock) F(num_extensions) F(checksum)
  F(underscan) F(basic_audio) F(ycbcr444) F(ycbcr422) F(speaker[0]) F(speaker[1]) F(speaker[2])
  F(hdmi_vsdb_present) F(address.a) F(address.b) F(address.c) F(address.d) F(dc_48bit)
  F(dc_36bit) F(dc_30bit) F(dc_y444) F(dvi_dual) F(max_tmds_clock) F(supports_ai) F(cnc0) F(cnc1)
  F(cnc2) F(cnc3) F(hdmi_video_present) F(video_latency) F(audio_latency)
  F(interlaced_video_latency) F(interlaced_audio_latency) F(present_3d) F(image_size)
  F(hdmi_vic_len) F(hdmi_vic[0]) F(hdmi_vic[1]) F(hdmi_vic[2]) F(hdmi_vic[3]) F(hdmi_vic[4])
  F(hdmi_vic[5]) F(hdmi_vic[6]) F(xvycc601) F(xvycc709);
#undef F
  // clang-format on
  for (const auto &t : Items<std_timing_t>(&e.std_timings))
    o << "std " << t.h_active << " aspect " << t.aspect_ratio << " " << t.refresh_rate << " Hz\n";
  for (const auto &t : Items<detailed_timing_t>(&e.dtd_list))
    o << "dtd valid " << +t.valid << " " << t.pixel_clock << " Hz " << t.h_active << "+"
      << t.h_blanking << " sync " << t.h_sync_offset << "/" << t.h_sync_width << " x " << t.v_active
      << "+" << t.v_blanking << " sync " << t.v_sync_offset << "/" << t.v_sync_width << " image "
      << t.h_image_size << "x" << t.v_image_size << " border " << +t.h_border << "/" << +t.v_border
      << (t.progressive ? " P" : " I") << " stereo " << +t.stereo << " polarity "
      << (t.h_sync_positive ? "+" : "-") << (t.v_sync_positive ? "+" : "-") << "\n";
  for (const auto &s : Items<short_video_desc_t>(&e.video_list))
    o << "svd " << s.vic << (s.native ? " native" : "") << " stereo " << s.stereo << "\n";
  for (const auto &a : Items<short_audio_desc_t>(&e.audio_list))
    o << "sad format " << a.format << " channels " << a.channels << " rates " << a.sample_rates
      << " depths " << a.bit_depths << " bitrate " << a.max_bitrate << " value " << a.format_value
      << " profile " << a.profile << "\n";
  return o.str();
}

// "== what", the lines printed, "-> result", then the record.
std::string Scene(const std::string &what, edid_t &edid, const std::function<int()> &fn) {
  int result = 0;
  std::string out = "== " + what + "\n";
  for (const auto &line : Lines([&] { result = fn(); })) out += line + "\n";
  return out + "-> " + std::to_string(result) + "\n" + Dump(edid);
}

std::string Base(const std::string &what, const Bytes &block) {
  PreparedEdid r;
  return Scene(what, r.edid, [&] { return decode_edid_block_0(block.data(), &r.edid); });
}

// Decoded from a heap copy of exactly size bytes, so that AddressSanitizer sees any overread.
std::string Ext(const std::string &what, const Bytes &bytes, size_t size = 128) {
  PreparedEdid r;
  auto copy = std::make_unique<uint8_t[]>(size + 1);
  memcpy(copy.get(), bytes.data(), std::min(size, bytes.size()));
  return Scene(what, r.edid, [&] { return decode_edid_extensions(copy.get(), size, &r.edid); });
}

std::string Vsdb(const std::string &what, const Bytes &block) {
  PreparedEdid r;
  auto copy = std::make_unique<uint8_t[]>(block.size());
  memcpy(copy.get(), block.data(), block.size());
  return Scene(what, r.edid, [&] { return _decode_edid_vendor_block(copy.get(), &r.edid); });
}

ll_list_t edid_t::*const kLists[] = {&edid_t::std_timings, &edid_t::dtd_list, &edid_t::video_list,
                                     &edid_t::audio_list};

TEST(EdidRecord, PrepareZeroesAndDestroyRefusesAtTheFirstUninitialisedList) {
  edid_t edid;
  memset(&edid, 0xA5, sizeof edid);
  ASSERT_EQ(edid_prepare(&edid), 1);
  edid_t zero;
  memset(&zero, 0, sizeof zero);
  const char *types[] = {"std_timing_t", "detailed_timing_t", "short_video_desc_t",
                         "short_audio_desc_t"};
  for (int i = 0; i < 4; ++i) {
    ll_list_t &list = edid.*kLists[i];
    EXPECT_EQ(ll_verify_list_type(&list, types[i]) + ll_is_initialized(&list), 2) << types[i];
    EXPECT_EQ(ll_size(&list), 0);
    zero.*kLists[i] = list;  // the heads are all that is set
  }
  EXPECT_EQ(memcmp(&zero, &edid, sizeof edid), 0);
  std::string out = "# which list is broken, then what edid_destroy printed and returned\n";
  const char *names[] = {"std_timings", "dtd_list", "video_list", "audio_list"};
  for (int broken = 0; broken < 4; ++broken) {
    auto &list = edid.*kLists[broken];
    list.magic = 0;
    out += Scene(names[broken], edid, [&] { return edid_destroy(&edid); });
    for (int i = 0; i < 4; ++i)
      EXPECT_EQ(ll_is_initialized(&(edid.*kLists[i])), i != broken) << names[broken];
    ll_init(&list, types[broken]);
  }
  const Bytes block = BaseBlock();
  ASSERT_EQ(decode_edid_block_0(block.data(), &edid), 1);
  out += Scene("decoded, destroyed", edid, [&] { return edid_destroy(&edid); });
  out += Scene("destroyed again", edid, [&] { return edid_destroy(&edid); });
  ASSERT_EQ(edid_prepare(&edid), 1);
  out += Scene("prepared and decoded again", edid,
               [&] { return decode_edid_block_0(block.data(), &edid) + edid_destroy(&edid); });
  ExpectGolden("decode_record.txt", out);
}

TEST(DecodeBaseBlock, FieldsChecksAndDescriptors) {
  std::string out = "# == scenario, its lines, -> result, then the fields that are not zero\n";
  BaseFields f;
  f.manufacturer = "GSM";
  f.product = 0x5B7F;
  f.serial = 0x01020304;
  f.features = 0xE7;
  // Low bits: red x 11, red y 10, green x 01, green y 00; blue and white the reverse.
  f.chromaticity = {0xE4, 0x1B, 0xA0, 0x54, 0x4C, 0x9A, 0x26, 0x0F, 0x50, 0x54};
  f.established_1 = 0x21;
  f.established_2 = 0x08;
  f.manufacturer_timings = 0x80;
  f.standard_timings = {{{0xD1, 0xC0},
                         {0x01, 0x01},
                         {0x81, 0x80},
                         {0x61, 0x4F},
                         {0x00, 0x00},
                         {0x01, 0x00},
                         {0xFF, 0x3F},
                         {0x01, 0x01}}};
  f.descriptors = {Dtd({}), RangeLimits(48, 62, 15, 70, 30), TextDescriptor(0xFC, "TV1"),
                   TextDescriptor(0xFF, "1234567890ABC")};
  f.extensions = 3;
  out += Base("every field", BaseBlock(f));

  const Bytes good = BaseBlock();
  const std::pair<const char *, std::vector<std::pair<int, uint8_t>>> patches[] = {
      {"header byte 7 is 1", {{7, 1}}},
      {"checksum off by 0x10", {{127, good[127] ^ 0x10}}},
      {"version 1.2", {{19, 2}}},
      {"version 2.0", {{18, 2}, {19, 0}}},
      {"version 1.4", {{19, 4}}},
      {"analog input", {{20, 0}}},
      {"manufacturer 0x00 0x00", {{8, 0}, {9, 0}}},
      {"descriptor 2 with byte 4 set", {{90 + 4, 0x0A}}}};
  for (const auto &[what, patch] : patches) {
    Bytes block = good;
    for (const auto &[at, value] : patch) block[at] = value;
    if (patch[0].first != 127) FixChecksum(block);
    out += Base(what, block);
  }

  PreparedEdid r;
  out += Scene("NULL block", r.edid, [&] { return decode_edid_block_0(nullptr, nullptr); });
  out += Scene("NULL record", r.edid, [&] { return decode_edid_block_0(good.data(), nullptr); });
  for (const auto list : kLists) {
    PreparedEdid unprepared;
    auto &head = unprepared.edid.*list;
    const ll_list_t saved = head;
    head.magic = 0;
    out += Scene("a list not initialised", unprepared.edid,
                 [&] { return decode_edid_block_0(good.data(), &unprepared.edid); });
    head = saved;
  }
  BaseFields twice;
  twice.standard_timings[3] = {0xD1, 0xC0};
  twice.descriptors[0] = Dtd({});
  const Bytes block = BaseBlock(twice);
  out += Scene("decoded twice into one record", r.edid, [&] {
    return decode_edid_block_0(block.data(), &r.edid) + decode_edid_block_0(block.data(), &r.edid);
  });
  ExpectGolden("decode_base.txt", out);
}

TEST(DecodeBaseBlock, DescriptorsOneByOne) {
  std::string out = "# == descriptor, its lines, -> result, then the fields that are not zero\n";
  const std::pair<const char *, Bytes> descriptors[] = {
      {"timing with every high bit", Dtd({297000000, 3840, 560, 2160, 90, 1000, 600, 40, 50, 1872,
                                          1053, 3, 2, true, true, false, 2})},
      {"timing, analog sync", Dtd({.interlaced = true, .sync_type = 1})},
      {"name", TextDescriptor(0xFC, "TV1")},
      {"data string with a line feed inside", TextDescriptor(0xFE, "a\nb")},
      {"serial of 13 characters", TextDescriptor(0xFF, "1234567890ABC")},
      {"colour point", DisplayDescriptor(0xFB)},
      {"standard timings", DisplayDescriptor(0xFA)},
      {"unknown tag", DisplayDescriptor(0xF7)},
      {"dummy", DisplayDescriptor(0x10)},
      {"tag 0", DisplayDescriptor(0x00)},
      {"clock 0 and byte 2 set", Cat({{0, 0, 7}, Bytes(15, 0)})}};
  DebugOn debug;
  for (const auto &[what, bytes] : descriptors) {
    PreparedEdid r;
    out += Scene(what, r.edid, [&] { return _decode_edid_dtd(bytes.data(), &r.edid); });
  }
  PreparedEdid r;
  out += Scene("replace in NULL", r.edid, [] {
    _replace_all_chars(nullptr, 3, 'a', 'b');
    return 0;
  });
  ExpectGolden("decode_descriptors.txt", out);
}

TEST(ShortAudio, FillsOnlyTheFieldOfItsFormat) {
  for (const auto &row : ReadTable("short_audio.tsv")) {
    short_audio_desc_t a;
    memset(&a, 0xEE, sizeof a);
    uint8_t result = 9;
    const auto lines = Lines([&] {
      result = decode_edid_short_audio(static_cast<uint8_t>(std::stoul(row[0], nullptr, 16)), 0xFF,
                                       static_cast<uint8_t>(std::stoul(row[1], nullptr, 16)), &a);
    });
    std::ostringstream got;
    got << +result << " " << a.format << " " << a.channels << " " << a.sample_rates << " "
        << a.bit_depths << " " << a.max_bitrate << " " << a.format_value << " " << a.profile;
    EXPECT_EQ(got.str(), row[2]) << row[0] << " " << row[1];
    EXPECT_EQ(lines, std::vector<std::string>(row.begin() + 3, row.end())) << row[0];
  }
  EXPECT_EQ(Lines([] { decode_edid_short_audio(0x09, 0, 0, nullptr); }),
            std::vector<std::string>{"decode_edid_short_audio() ERROR: Function called with "
                                     "\"audio\" parameter set to NULL. audio=(nil)"});
}

Bytes Svds(int n) {  // VIC 1 upwards
  Bytes svds;
  for (int i = 1; i <= n; ++i) svds.push_back(static_cast<uint8_t>(i));
  return svds;
}

TEST(DecodeExtension, HeaderTimingsAndDataBlocks) {
  std::string out = "# == scenario, its lines, -> result, then the fields that are not zero\n";
  const Bytes good = CeaExtension({.support = 0xF0});  // bytes 0-3 sum to 0xF9: checksum 0x07
  const auto patched = [&](int at, uint8_t value, bool fix) {
    Bytes b = good;
    b[at] = value;
    if (fix) FixChecksum(b);
    return b;
  };
  out += Ext("support flags", good);
  out += Ext("tag 0x70", patched(0, 0x70, false));
  out += Ext("no bytes", good, 0);
  out += Ext("one byte", good, 1);
  out += Ext("revision 1", patched(1, 1, false));
  out += Ext("checksum off", patched(5, 1, false));
  out += Ext("checksum byte not given", good, 127);
  out += Ext("offset 111", patched(2, 111, true));
  PreparedEdid r;
  out += Scene("NULL block", r.edid, [] { return decode_edid_extensions(nullptr, 128, nullptr); });
  out += Scene("NULL record", r.edid,
               [&] { return decode_edid_extensions(good.data(), 128, nullptr); });

  const Bytes dtd = Dtd({});
  out += Ext("offset 4, two timings", CeaExtension({.dtds = {dtd, dtd}}));
  out += Ext("offset 91, the last slot", CeaExtension({.dtd_offset = 91, .dtds = {dtd}}));
  out += Ext("offset 110", CeaExtension({.dtd_offset = 110}));
  const Bytes two_blocks = Cat({CeaExtension({.dtd_offset = 110}), dtd, Bytes(110)});
  out += Ext("offset 110, 256 bytes given", two_blocks, two_blocks.size());

  const Bytes video = DataBlock(2, {0x90, 4, 0x83});
  out +=
      Ext("a block ending at byte d - 1", CeaExtension({.data_blocks = {video}, .dtd_offset = 8}));
  out += Ext("a block one byte too long",
             CeaExtension({.data_blocks = {DataBlock(2, {1}), video}, .dtd_offset = 9}));
  for (uint8_t d : {0, 1, 3})
    out +=
        Ext("offset " + std::to_string(d), CeaExtension({.data_blocks = {video}, .dtd_offset = d}));

  const Bytes audio =
      Cat({ShortAudio(1, 2, 7, 7), ShortAudio(0, 2, 7, 0), ShortAudio(2, 6, 7, 80)});
  const Bytes kinds = CeaExtension(
      {.data_blocks = {DataBlock(0, {1}), DataBlock(2, {0x90, 0x04}), DataBlock(1, audio),
                       DataBlock(4, {0x4F, 1, 2}), DataBlock(3, {0xD8, 0x5D, 0xC4, 1}),
                       DataBlock(5, {}), DataBlock(6, {9}), ExtendedBlock(5, {0x03, 0}),
                       ExtendedBlock(0, {0x40}), DataBlock(4, {1, 2})}});
  // A 4-byte audio block takes its second descriptor's bytes 2 and 3 from the
  // next two headers; the empty extended block takes its code (5) and flags
  // (0x02) from the block after it.
  const Bytes short_blocks =
      CeaExtension({.data_blocks = {DataBlock(1, Cat({ShortAudio(1, 2, 7, 1), {0x11}})),
                                    DataBlock(7, {}), DataBlock(0, {0x02, 0, 0, 0, 0})}});
  out += Ext("short blocks read on", short_blocks);
  DebugOn debug;
  out += Ext("every kind of block", kinds);
  ExpectGolden("decode_extension.txt", out);
}

TEST(DecodeExtension, HdmiVendorBlock) {
  std::string out = "# == scenario, its lines, -> result, then the fields that are not zero\n";
  const Bytes blocks[] = {DataBlock(2, {3, 12, 0}),
                          DataBlock(3, {3, 12}),
                          DataBlock(3, {3, 12, 0, 0x12}),
                          DataBlock(3, {3, 12, 0, 0x12, 0x34}),
                          DataBlock(3, {3, 12, 0, 0x12, 0x34, 0x80}),
                          DataBlock(3, {3, 12, 0, 0x12, 0x34, 0xF9, 60})};
  for (const Bytes &block : blocks)
    out += Vsdb("length " + std::to_string(block.size() - 1), block);
  Bytes interlaced_only = HdmiVsdb({.hdmi_video = true, .image_size = 3});
  interlaced_only[8] |= 0x40;  // without bit 7 nothing is read: the video byte is byte 9
  out += Vsdb("latency 255 and 1", HdmiVsdb({.latency = std::pair(255, 1)}));
  out += Vsdb("latencies 0, 21, then 41, 255",
              HdmiVsdb({.latency = std::pair(0, 21), .interlaced_latency = std::pair(41, 255)}));
  out += Vsdb("latencies 11, 6 and image size 2",
              HdmiVsdb({.latency = std::pair(11, 6), .hdmi_video = true, .image_size = 2}));
  out += Vsdb("interlaced latency flag alone", interlaced_only);
  Bytes beyond = HdmiVsdb({.hdmi_video = true, .present_3d = true, .multi_3d = 2});
  beyond.back() = 0xFF;  // HDMI_VIC_LEN 7 and HDMI_3D_LEN 31, with no bytes behind them
  out += Vsdb("lengths beyond the block", beyond);
  PreparedEdid r;
  out += Scene("NULL block", r.edid, [] { return _decode_edid_vendor_block(nullptr, nullptr); });
  const uint8_t header = 0x60;
  out += Scene("NULL record", r.edid, [&] { return _decode_edid_vendor_block(&header, nullptr); });

  out += Ext("3D_Structure_ALL, 3D_MASK and entries",
             CeaExtension({.data_blocks = {DataBlock(2, Svds(3)),
                                           HdmiVsdb({.hdmi_video = true,
                                                     .present_3d = true,
                                                     .multi_3d = 2,
                                                     .fields_3d = {0x00, 0x01, 0x00, 0x05, 0x38,
                                                                   0x58, 0x24, 0x27, 0x11}})}}));
  DebugOn debug;
  // 3D_Structure_ALL bits 15, 6 and 0; format 3 side-by-side half with its
  // detail byte; format 15 field alternative.
  out +=
      Ext("3D_Structure_ALL for every format, 17 formats",
          CeaExtension({.data_blocks = {DataBlock(2, Svds(17)),
                                        HdmiVsdb({.hdmi_video = true,
                                                  .present_3d = true,
                                                  .multi_3d = 1,
                                                  .hdmi_vics = {1, 0x83},
                                                  .fields_3d = {0x80, 0x41, 0x38, 0x14, 0xF1}})}}));
  ExpectGolden("decode_hdmi.txt", out);
}

}  // namespace
