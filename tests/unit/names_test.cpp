// Names of EDID codes (tests/data/names.tsv), the mask texts built into a
// caller's buffer and the printers' exact output (tests/golden/printers.txt).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <type_traits>

#include "capture.h"
#include "golden.h"
#include "utility.h"

namespace {

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
  const auto rows = edc_test::ReadTable("names.tsv");
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

std::string Hex(uint32_t value, int digits = 2) {
  char text[16];
  snprintf(text, sizeof text, "0x%0*X", digits, value);
  return text;
}

// "call -> result "printed"": what a function returned (left out for one that
// returns nothing, or whose result means nothing) and what it printed.
template <typename Fn>
std::string Printed(const std::string &call, Fn fn) {
  std::string result;
  const std::string out = edc_test::Normalize(edc_test::CaptureStdout([&] {
    if constexpr (std::is_void_v<decltype(fn())>)
      fn();
    else
      result = std::to_string(fn()) + " ";
  }));
  return call + " -> " + result + "\"" + Escaped(out) + "\"\n";
}

// A mask text built into a buffer of 'x': the text, how many NULs fill the
// rest of string_len, and any message; the bytes beyond string_len stay 'x'.
std::string Built(const char *name, int32_t (*fn)(uint32_t, char *, uint32_t), uint32_t mask,
                  uint32_t string_len) {
  char buffer[128];
  memset(buffer, 'x', sizeof buffer);
  const std::string call = name + ("(" + Hex(mask)) + ", " + std::to_string(string_len) + ")";
  const std::string line = string_len >= 17  // below that the result means nothing
                               ? Printed(call, [&] { return fn(mask, buffer, string_len); })
                               : Printed(call, [&] { fn(mask, buffer, string_len); });
  const size_t text = strnlen(buffer, string_len);
  EXPECT_EQ(std::string(buffer + text, string_len - text), std::string(string_len - text, '\0'));
  EXPECT_EQ(std::string(buffer + string_len, sizeof buffer - string_len),
            std::string(sizeof buffer - string_len, 'x'));
  return line.substr(0, line.size() - 1) + " [" + std::string(buffer, text) + "] + " +
         std::to_string(string_len - text) + " NUL\n";
}

TEST(Printers, MaskTextsAndPrintedLinesAreExact) {
  std::string out = "# call -> result \"printed\" [text built] + NULs up to the length given\n";
  for (const auto &[mask, length] :
       {std::pair{0x7Fu, 100u}, {0x7F, 17}, {0x00, 17}, {0x05, 17}, {0x80, 17}, {0x7F, 16}})
    out += Built("audio_freq_string", audio_freq_string, mask, length);
  for (const auto &[mask, length] :
       {std::pair{0x07u, 30u}, {0x07, 17}, {0x00, 17}, {0x02, 17}, {0x07, 16}})
    out += Built("audio_pcm_bits_string", audio_pcm_bits_string, mask, length);
  out += Printed("audio_freq_string(NULL)", [] { audio_freq_string(0x7F, nullptr, 40); });
  out += Printed("audio_pcm_bits_string(NULL)", [] { audio_pcm_bits_string(0x7F, nullptr, 40); });
  const uint8_t speakers[][3] = {
      {0x0F, 0x00, 0xFF}, {0x02, 0, 0}, {0, 0, 0}, {0xFF, 0x07, 0}, {0x00, 0xFA, 0xFF}};
  for (const auto &s : speakers)
    out += Printed("print_speaker(" + Hex(s[0]) + ", " + Hex(s[1]) + ", " + Hex(s[2]) + ")",
                   [&] { return print_speaker(s[0], s[1], s[2]); });
  // Every format-specific field holds the same value; only the format's own is shown.
  const uint32_t audio[][4] = {{1, 2, 0x07, 5},  {1, 8, 0, 0},     {2, 6, 0x04, 640},
                               {8, 2, 0x01, 64}, {9, 2, 0x01, 3},  {13, 8, 0x06, 1},
                               {14, 2, 0x04, 3}, {16, 2, 0x04, 9}, {18, 6, 0x40, 9},
                               {0, 2, 0x04, 9},  {15, 2, 0x04, 9}, {19, 2, 0x04, 9}};
  for (const auto &a : audio) {
    short_audio_desc_t sad = {a[0], a[1], a[2], a[3], a[3], a[3], a[3]};
    out += Printed("print_audio_structure(format " + std::to_string(a[0]) + ", channels " +
                       std::to_string(a[1]) + ", rates " + Hex(a[2]) + ", " + std::to_string(a[3]) +
                       ")",
                   [&] { return print_audio_structure(&sad); });
  }
  out += Printed("print_audio_structure(NULL)", [] { print_audio_structure(nullptr); });
  for (uint32_t mask : {0x00u, 0x81u, 0xFFu, 0x100u})
    out += Printed("print_stereo_type(" + Hex(mask) + ")", [&] { print_stereo_type(mask); });
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
        Printed("print_est_man_type(" + Hex(mask, 4) + ", " + (fn ? "names" : "NULL") + ", " +
                    (title ? title : "NULL") + ")",
                [&, mask = mask, fn = fn, title = title] { print_est_man_type(mask, fn, title); });
  edc_test::ExpectGolden("printers.txt", out);
}

}  // namespace
