// The utility module: the VIC timing table row by row (tests/data/vic_table.tsv),
// the conversions between geometries, VICs, detailed timings, standard timings
// and display modes with their traces (tests/data/conversions.tsv,
// tests/golden/conversions.txt), the names of codes (tests/data/names.tsv) and
// the printers' exact output (tests/golden/printers.txt).
#include "utility.h"

#include <tuple>
#include <type_traits>

#include "edc_test.h"
#include "utility_internal.h"

using namespace edc_test;  // NOLINT: the test helpers throughout

namespace {

TEST(VicTable, EveryRowHoldsItsFormatsTimingAndFindsItselfAgain) {
  const auto rows = ReadRows("vic_table.tsv");
  ASSERT_EQ(rows.size(), g_vic_dtd_size);
  for (const auto &r : rows) {
    const uint32_t row = std::stoul(r[0]);
    detailed_timing_t t;
    memset(&t, 0xA5, sizeof t);
    ASSERT_EQ(convert_vic_to_dtd(row, &t), 1);
    const std::string got = Format(
        "%u\t%u\t%u\t%u\t%u\t%u\t%u\t%u\t%u\t%u\t%ux%u\t%s\t%s\t%s\t%u", g_vic_dtd[row - 1].vic,
        t.pixel_clock, t.h_active, t.h_blanking, t.h_sync_offset, t.h_sync_width, t.v_active,
        t.v_blanking, t.v_sync_offset, t.v_sync_width, t.h_image_size, t.v_image_size,
        t.progressive ? "P" : "I", t.h_sync_positive ? "+" : "-", t.v_sync_positive ? "+" : "-",
        calculate_refresh_rate(t.pixel_clock, t.h_active, t.h_blanking, t.v_active, t.v_blanking));
    EXPECT_EQ(got, r.text.substr(r.text.find('\t') + 1)) << "row " << row;
    EXPECT_EQ(t.valid + t.h_border + t.v_border + t.stereo, 1) << "row " << row;
    // No row shadows a later one: the row's own timing finds its VIC.
    edid_t edid{};
    uint32_t vic = 0;
    EXPECT_EQ(convert_dtd_to_vic(&edid, &t, &vic), 1) << "row " << row;
    EXPECT_EQ(vic, std::stoul(r[1])) << "row " << row;
  }
}

detailed_timing_t Raster(std::istream &in, edid_t &edid) {
  detailed_timing_t t{};
  std::string scan;
  char x;
  uint32_t h_cm = 0, v_cm = 0;
  in >> t.pixel_clock >> scan >> t.h_active >> t.h_blanking >> t.v_active >> t.v_blanking >>
      t.h_image_size >> x >> t.v_image_size >> h_cm >> x >> v_cm;
  t.valid = 1;
  t.progressive = scan == "P";
  edid.h_size_cm = static_cast<uint8_t>(h_cm);
  edid.v_size_cm = static_cast<uint8_t>(v_cm);
  return t;
}

// "== what", the lines printed (an unmatched timing's description only up to
// its first line, unless whole), then "-> result" and the output parameter's value.
std::string Call(const std::string &what, const std::function<uint32_t()> &fn,
                 const uint32_t *output, bool whole = false) {
  std::string out = "== " + what + "\n";
  uint32_t result = 0;
  for (const auto &line : Lines([&] { result = fn(); })) {
    out += line + "\n";
    if (!whole && line.find("Unable to match Detailed Timing Description.") == 0) break;
  }
  return out + "-> " + std::to_string(result) +
         (output != nullptr ? " " + std::to_string(*output) : "") + "\n";
}

TEST(Conversions, EachCaseGivesItsResultAndExplainsAFailureInTraces) {
  const auto rows = ReadRows("conversions.tsv");
  ASSERT_EQ(rows.size(), 54u);
  DebugOn debug;
  std::string out = "# == case, its lines (debug on), -> result and output value\n";
  for (const auto &row : rows) {
    uint32_t n[5] = {}, value = 77;  // n: the input's leading numbers
    const std::string call = Call(
        row[0] + " " + row[1],
        [&]() -> uint32_t {
          std::istringstream in(row[1]), numbers(row[1]);
          numbers >> n[0] >> n[1] >> n[2] >> n[3] >> n[4];
          edid_t edid{};
          hdmi_mode_t mode{n[0], n[1], n[2], n[3]};  // width, height, interlaced, rate
          std_timing_t standard{n[0], n[1], n[2]};   // width, aspect, rate
          detailed_timing_t timing = row[0] == "dtd" ? Raster(in, edid) : detailed_timing_t{};
          if (row[0] == "refresh") return calculate_refresh_rate(n[0], n[1], n[2], n[3], n[4]);
          if (row[0] == "geo") return convert_geo_to_ratio(n[0], n[1], &value);
          if (row[0] == "mode") return mode_to_vic(&mode, &value);
          if (row[0] == "dtd") return convert_dtd_to_vic(&edid, &timing, &value);
          return convert_std_to_vic(&edid, &standard, &value);
        },
        row[0] == "refresh" ? nullptr : &value);
    EXPECT_EQ(call.substr(call.rfind("-> ") + 3), row[2] + "\n") << row[0] << " " << row[1];
    out += call;
  }

  // valid, clock, H active, blanking, sync offset and width, border; the same for V; image
  // size, progressive, stereo, sync polarities
  detailed_timing_t t{1, 65000000, 1024, 320, 24, 136, 1, 768, 38, 3, 6, 2, 300, 225, 1, 1, 0, 1};
  edid_t edid{};
  uint32_t value = 77;
  out += Call(
      "dtd 1024x768p described in full", [&] { return convert_dtd_to_vic(&edid, &t, &value); },
      &value, true);
  detailed_timing_t untouched;
  memset(&untouched, 0xA5, sizeof untouched);
  for (uint32_t vic : {0u, 65u, 0xFFFFFFFFu}) {
    detailed_timing_t timing = untouched;
    out += Call(
        "vic " + std::to_string(vic), [&] { return convert_vic_to_dtd(vic, &timing); }, nullptr);
    EXPECT_EQ(memcmp(&timing, &untouched, sizeof timing), 0);
  }
  // Arguments are checked in order; the two timing conversions clear vic first.
  hdmi_mode_t mode{1920, 1080, 0, 60};
  std_timing_t s{};
  const std::pair<const char *, std::function<uint32_t()>> calls[] = {
      {"geo NULL", [&] { return convert_geo_to_ratio(16, 9, nullptr); }},
      {"vic NULL", [&] { return convert_vic_to_dtd(1, nullptr); }},
      {"mode NULL NULL", [&] { return mode_to_vic(nullptr, nullptr); }},
      {"mode, vic NULL", [&] { return mode_to_vic(&mode, nullptr); }},
      {"dtd vic NULL", [&] { return convert_dtd_to_vic(nullptr, nullptr, nullptr); }},
      {"dtd edid NULL", [&] { return convert_dtd_to_vic(nullptr, &t, &value); }},
      {"dtd timing NULL", [&] { return convert_dtd_to_vic(&edid, nullptr, &value); }},
      {"std vic NULL", [&] { return convert_std_to_vic(nullptr, nullptr, nullptr); }},
      {"std edid NULL", [&] { return convert_std_to_vic(nullptr, &s, &value); }},
      {"std timing NULL", [&] { return convert_std_to_vic(&edid, nullptr, &value); }}};
  for (const auto &[what, fn] : calls) {
    value = 77;
    out += Call(what, fn, &value);
  }
  ExpectGolden("conversions.txt", out);
}

// A name function of any code type, taking the code as read from the table.
template <typename Code>
std::function<const char *(int64_t)> Name(const char *(*fn)(Code)) {
  return [fn](int64_t code) { return fn(static_cast<Code>(code)); };
}

TEST(Names, EveryCodeHasItsFixedText) {
#define NAME(fn) \
  { #fn, Name(fn) }
  const std::map<std::string, std::function<const char *(int64_t)>> functions = {
      NAME(std_aspect_string),        NAME(short_audio_string),  NAME(hdmi_vic_string),
      NAME(est_timing_1_string),      NAME(est_timing_2_string), NAME(man_timing_string),
      NAME(short_video_timing_string)};
#undef NAME
  const auto rows = ReadRows("names.tsv");
  ASSERT_EQ(rows.size(), 137u);
  for (const auto &row : rows)
    EXPECT_STREQ(functions.at(row[0])(std::stoll(row[1], nullptr, 0)), row[2].c_str())
        << row[0] << "(" << row[1] << ")";
}

// Output with line ends and tabs shown as \n and \t, so that each call is one line.
std::string Escaped(const std::string &text) {
  std::string out;
  for (char c : text) out += c == '\n' ? "\\n" : c == '\t' ? "\\t" : std::string(1, c);
  return out;
}

// "call -> result "printed"": what a function returned (left out for one that
// returns nothing, or whose result means nothing) and what it printed.
template <typename Fn>
std::string Printed(const std::string &call, Fn fn) {
  std::string result;
  const std::string out = Normalize(Capture([&] {
    if constexpr (std::is_void_v<decltype(fn())>)
      fn();
    else
      result = std::to_string(fn()) + " ";
  }));
  return call + " -> " + result + "\"" + Escaped(out) + "\"\n";
}

// A mask text built into a buffer of 'x', shown up to two bytes past
// string_len with each NUL as '~'; or the refusal of a NULL buffer.
std::string Built(const std::string &call, int32_t (*fn)(uint32_t, char *, uint32_t), bool null,
                  uint32_t mask, uint32_t string_len) {
  char buffer[128];
  memset(buffer, 'x', sizeof buffer);
  if (null) return Printed(call, [&] { fn(0x7F, nullptr, 40); });
  std::string line = string_len >= 17  // below that the result means nothing
                         ? Printed(call, [&] { return fn(mask, buffer, string_len); })
                         : Printed(call, [&] { fn(mask, buffer, string_len); });
  std::string shown(buffer, string_len + 2);
  std::replace(shown.begin(), shown.end(), '\0', '~');
  return line.substr(0, line.size() - 1) + " [" + shown + "]\n";
}

TEST(Printers, MaskTextsAndPrintedLinesAreExact) {
  std::string out =
      "# call -> result \"printed\" [buffer up to 2 bytes past the length, NUL as ~]\n";
  for (const Line &row : ReadRows("printers.tsv")) {
    const std::string &fn = row[0];
    const bool null = row[1] == "NULL";
    std::string call = fn + "(";
    uint32_t n[4] = {};  // the arguments: the last word of each field
    for (size_t i = 1; i < row.size(); ++i) {
      call += row[i] + (i + 1 < row.size() ? ", " : ")");
      n[i - 1] = null ? 0 : std::stoul(row[i].substr(row[i].rfind(' ') + 1), nullptr, 0);
    }
    short_audio_desc_t sad = {n[0], n[1], n[2], n[3], n[3], n[3], n[3]};
    if (fn.starts_with("audio_"))
      out += Built(call, fn == "audio_freq_string" ? audio_freq_string : audio_pcm_bits_string,
                   null, n[0], n[1]);
    if (fn == "print_speaker")
      out += Printed(call, [&] { return print_speaker(n[0], n[1], n[2]); });
    if (fn == "print_audio_structure" && null)
      out += Printed(call, [] { print_audio_structure(nullptr); });
    if (fn == "print_audio_structure" && !null)
      out += Printed(call, [&] { return print_audio_structure(&sad); });
    if (fn == "print_stereo_type") out += Printed(call, [&] { print_stereo_type(n[0]); });
  }
  const char *const est1 = "Established Timings 1";
  const std::tuple<int32_t, const char *(*)(int32_t), const char *> lists[] = {
      {0xA5, est_timing_1_string, est1},
      {0xFF, est_timing_2_string, "Established Timings 2"},
      {0x80, man_timing_string, "Manufacturer Timings"},
      {0x0100, est_timing_1_string, est1},
      {0x0000, est_timing_1_string, est1},
      {0x80, nullptr, "Manufacturer Timings"},
      {0x80, man_timing_string, nullptr}};
  for (const auto &[mask, fn, title] : lists)
    out +=
        Printed(Format("print_est_man_type(0x%04X, %s, %s)", mask, fn ? "names" : "NULL",
                       title ? title : "NULL"),
                [&, mask = mask, fn = fn, title = title] { print_est_man_type(mask, fn, title); });
  ExpectGolden("printers.txt", out);
}

}  // namespace
