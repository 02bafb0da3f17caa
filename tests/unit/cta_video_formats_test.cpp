// The CTA-861 video format table (cta_video_formats.h) row by row against
// Debian's edid-decode: EDIDs whose video data blocks list every VIC, and an
// HDMI block listing the HDMI VICs, go through "edid-decode -L", and each
// timing it prints must be the table's, number for number. The names and the
// look-ups around the table are checked by hand-worked cases.
#include "cta_video_formats.h"

#include "edc_test.h"

using namespace edc_test;  // NOLINT: file and command helpers

namespace {

// One timing as both sides are compared: the first line of edid-decode's
// long form (size, scan, rate, aspect, line rate, clock), then the porches,
// sync widths and polarities, and for an interlaced format whether its
// fields are offset by half a line.
std::string Canonical(const cta_video_format_t &f) {
  static const char *const aspects[] = {"4:3", "16:9", "64:27", "256:135"};
  const double clock_hz = f.pixel_clock_khz * 1000.0;
  const double rate =
      clock_hz * (f.interlaced ? 2 : 1) / (static_cast<double>(f.h_total) * f.v_total);
  const unsigned field_lines =
      f.v_active / (f.interlaced ? 2 : 1) + f.v_front + f.v_sync + f.v_back;
  const char *fields = !f.interlaced                      ? ""
                       : f.v_total == 2 * field_lines + 1 ? " half-line"
                                                          : " both-fields";
  return Format("%ux%u%s %.6f Hz %s %.3f kHz %.6f MHz | h %u %u %u %c | v %u %u %u %c%s",
                f.h_active, f.v_active, f.interlaced ? "i" : "", rate, aspects[f.aspect],
                clock_hz / f.h_total / 1000, clock_hz / 1e6, f.h_front, f.h_sync, f.h_back,
                f.h_sync_positive ? 'P' : 'N', f.v_front, f.v_sync, f.v_back,
                f.v_sync_positive ? 'P' : 'N', fields);
}

// edid-decode's timings by "VIC n" or "HDMI VIC n", in Canonical's form;
// "unknown" for a number it does not know.
std::map<std::string, std::string> ParsePeer(const std::string &text) {
  static const std::regex head(
      R"( +((?:HDMI )?VIC) +(\d+): +(\d+)x(\d+)(i?) +([0-9.]+) Hz +(\d+:\d+) +([0-9.]+) kHz +)"
      R"(([0-9.]+) MHz.*)");
  static const std::regex h(R"( +Hfront +(\d+) Hsync +(\d+) Hback +(\d+) Hpol ([NP]).*)");
  static const std::regex v(R"( +Vfront +(\d+) Vsync +(\d+) Vback +(\d+) Vpol ([NP])(.*))");
  static const std::regex unknown(R"( +Unknown \(((?:HDMI )?VIC) (\d+)\))");
  std::map<std::string, std::string> timings;
  const std::vector<std::string> lines = SplitLines(text);
  std::smatch m, hm, vm;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (std::regex_match(lines[i], m, unknown)) timings[m[1].str() + " " + m[2].str()] = "unknown";
    if (!std::regex_match(lines[i], m, head)) continue;
    const std::string key = m[1].str() + " " + m[2].str();
    EXPECT_TRUE(i + 2 < lines.size() && std::regex_match(lines[i + 1], hm, h) &&
                std::regex_match(lines[i + 2], vm, v))
        << key << ": no timing lines after " << lines[i];
    if (hm.empty() || vm.empty()) continue;
    const std::string rest = vm[5].str();
    const char *fields = rest.find("Odd Field") != std::string::npos     ? " half-line"
                         : rest.find("Both Fields") != std::string::npos ? " both-fields"
                                                                         : "";
    timings[key] = m[3].str() + "x" + m[4].str() + m[5].str() + " " + m[6].str() + " Hz " +
                   m[7].str() + " " + m[8].str() + " kHz " + m[9].str() + " MHz | h " +
                   hm[1].str() + " " + hm[2].str() + " " + hm[3].str() + " " + hm[4].str() +
                   " | v " + vm[1].str() + " " + vm[2].str() + " " + vm[3].str() + " " +
                   vm[4].str() + fields;
  }
  return timings;
}

// Block 0 of a real television with one extension after it, and a CTA-861
// extension holding svds (31 to a video data block) and, when given, an HDMI
// vendor block listing hdmi_vics.
Bytes EdidWithVics(const std::vector<uint8_t> &svds, const std::vector<uint8_t> &hdmi_vics) {
  Bytes edid = ReadFile(EDC_EXAMPLES_DIR "/sony-tv.bin");
  edid.resize(256);
  EXPECT_EQ(edid[126], 1);
  Bytes blocks;
  for (size_t at = 0; at < svds.size(); at += 31) {
    const size_t n = std::min<size_t>(31, svds.size() - at);
    blocks.push_back(static_cast<uint8_t>(2 << 5 | n));  // video data block
    blocks.insert(blocks.end(), svds.begin() + at, svds.begin() + at + n);
  }
  if (!hdmi_vics.empty()) {
    // OUI 00-0C-03, address 1.0.0.0, no deep colour, no TMDS limit; then the
    // HDMI_Video_present flag, the image size byte, the lengths (HDMI_VIC_LEN
    // in bits 7-5) and the HDMI VICs.
    Bytes vsdb = {0x03, 0x0C, 0x00, 0x10, 0x00,
                  0x00, 0x00, 0x20, 0x00, static_cast<uint8_t>(hdmi_vics.size() << 5)};
    vsdb.insert(vsdb.end(), hdmi_vics.begin(), hdmi_vics.end());
    blocks.push_back(static_cast<uint8_t>(3 << 5 | vsdb.size()));
    blocks.insert(blocks.end(), vsdb.begin(), vsdb.end());
  }
  EXPECT_LE(blocks.size(), 123u);
  uint8_t *ext = &edid[128];
  std::fill(ext, ext + 128, 0);
  ext[0] = 0x02;  // CTA-861 extension, revision 3, no timing after the data blocks
  ext[1] = 3;
  ext[2] = static_cast<uint8_t>(4 + blocks.size());
  std::copy(blocks.begin(), blocks.end(), ext + 4);
  for (int block = 0; block < 2; ++block) {
    uint8_t sum = 0;
    for (int i = 0; i < 127; ++i) sum += edid[block * 128 + i];
    edid[block * 128 + 127] = static_cast<uint8_t>(-sum);
  }
  return edid;
}

// What "edid-decode -L" prints for bytes.
std::string PeerText(const Bytes &bytes) {
  const std::string path = testing::TempDir() + "edc_vics_" + std::to_string(getpid()) + ".bin";
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char *>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  const std::string text = RunCommand("edid-decode -L -s --skip-sha '" + path + "' 2>&1");
  unlink(path.c_str());
  return text;
}

// Every SVD byte whose VIC the table defines (1 to 127, 193 to 219), three
// EDIDs' worth; the reserved SVD bytes 0 and 128 and the natives 129 to 192
// are left out. The last EDID also lists HDMI VICs 1 to 4 and two undefined
// ones, and SVD bytes 220 to 255, which no revision defines.
TEST(CtaVideoFormats, EveryRowIsWhatEdidDecodePrints) {
  std::vector<uint8_t> defined;
  for (uint32_t vic = 0; vic < 256; ++vic)
    if (cta_video_format_find(vic) != nullptr) defined.push_back(static_cast<uint8_t>(vic));
  ASSERT_EQ(defined.size(), 127u + 27u);
  std::vector<uint8_t> undefined;
  for (uint32_t vic = 220; vic < 256; ++vic) undefined.push_back(static_cast<uint8_t>(vic));

  std::map<std::string, std::string> peer;
  const std::vector<uint8_t> parts[] = {{defined.begin(), defined.begin() + 93},
                                        {defined.begin() + 93, defined.end()}};
  for (const auto &svds : parts) peer.merge(ParsePeer(PeerText(EdidWithVics(svds, {}))));
  peer.merge(ParsePeer(PeerText(EdidWithVics(undefined, {1, 2, 3, 4, 5, 255}))));

  int compared = 0;
  for (uint32_t vic : defined) {
    const std::string key = "VIC " + std::to_string(vic);
    ASSERT_TRUE(peer.contains(key)) << key << " not printed by edid-decode";
    EXPECT_EQ(Canonical(*cta_video_format_find(vic)), peer[key]) << key;
    ++compared;
  }
  for (uint32_t vic : undefined) EXPECT_EQ(peer["VIC " + std::to_string(vic)], "unknown") << vic;
  for (uint32_t hdmi_vic : {1, 2, 3, 4}) {
    const std::string key = "HDMI VIC " + std::to_string(hdmi_vic);
    const cta_video_format_t *f = cta_video_format_find(cta_hdmi_vic_to_vic(hdmi_vic));
    ASSERT_NE(f, nullptr) << key;
    EXPECT_EQ(Canonical(*f), peer[key]) << key;
    ++compared;
  }
  for (uint32_t hdmi_vic : {5, 255}) {
    EXPECT_EQ(cta_hdmi_vic_to_vic(hdmi_vic), 0u);
    EXPECT_EQ(peer["HDMI VIC " + std::to_string(hdmi_vic)], "unknown") << hdmi_vic;
  }
  EXPECT_EQ(compared, 158);
}

// The field rate in millihertz is the rate that the clock and totals give,
// and every row's name fits the documented buffer.
TEST(CtaVideoFormats, FieldRateAndNameFollowFromTheTiming) {
  for (uint32_t vic = 0; vic < 256; ++vic) {
    const cta_video_format_t *f = cta_video_format_find(vic);
    if (f == nullptr) continue;
    SCOPED_TRACE(vic);
    EXPECT_EQ(f->vic, vic);
    const double rate =
        f->pixel_clock_khz * 1e6 * (f->interlaced ? 2 : 1) / f->h_total / f->v_total;
    EXPECT_NEAR(f->field_rate_mhz, rate, 0.5);
    EXPECT_LT(cta_video_format_name(vic, nullptr, 0), CTA_VIDEO_FORMAT_NAME_SIZE);
  }
}

TEST(CtaVideoFormats, NamesSizeScanRateAndAspect) {
  const std::pair<uint32_t, const char *> cases[] = {
      {1, "640x480p60 4:3"},          // 59.94 Hz at 25.175 MHz
      {5, "1920x1080i60 16:9"},       // a field rate
      {8, "1440x240p60 4:3"},         // 60.054 Hz
      {39, "1920x1080i50 16:9"},      // the 1250-line raster
      {60, "1280x720p24 16:9"},       // the table's last row
      {65, "1280x720p24 64:27"},      // the first beyond it
      {97, "3840x2160p60 16:9"},      // the 4K television's format
      {98, "4096x2160p24 256:135"},   // HDMI VIC 4
      {127, "5120x2160p100 64:27"},   //
      {193, "5120x2160p120 64:27"},   // the second run
      {217, "10240x4320p120 64:27"},  // the longest
      {219, "4096x2160p120 256:135"}, {0, ""}, {128, ""}, {192, ""}, {220, ""}, {0x100 + 1, ""}};
  for (const auto &[vic, name] : cases) {
    char text[CTA_VIDEO_FORMAT_NAME_SIZE] = "x";
    EXPECT_EQ(cta_video_format_name(vic, text, sizeof text), static_cast<int32_t>(strlen(name)))
        << vic;
    EXPECT_STREQ(text, name) << vic;
  }
  char cut[5] = "abcd";
  EXPECT_EQ(cta_video_format_name(97, cut, sizeof cut), 17);
  EXPECT_STREQ(cut, "3840");
  EXPECT_EQ(cta_video_format_name(97, nullptr, 0), 17);
  EXPECT_EQ(cta_video_format_name(0, nullptr, 0), 0);
}

TEST(CtaVideoFormats, HdmiVicsMapToTheVicsOfTheSameFormat) {
  const uint32_t expected[] = {0, 95, 94, 93, 98, 0, 0};
  for (uint32_t hdmi_vic = 0; hdmi_vic < std::size(expected); ++hdmi_vic)
    EXPECT_EQ(cta_hdmi_vic_to_vic(hdmi_vic), expected[hdmi_vic]) << hdmi_vic;
  EXPECT_EQ(cta_hdmi_vic_to_vic(0xFFFFFFFF), 0u);
}

}  // namespace
