// Names of EDID codes (tests/data/names.tsv), the mask texts built into a
// caller's buffer and the printers' exact output (tests/golden/printers.txt).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <string>

#include "capture.h"
#include "golden.h"
#include "utility.h"

namespace {

TEST(Names, EveryCodeHasItsFixedText) {
  using Name = std::function<const char *(int64_t)>;
  const auto i32 = [](const char *(*fn)(int32_t)) {
    return Name([fn](int64_t code) { return fn(static_cast<int32_t>(code)); });
  };
  const auto u32 = [](const char *(*fn)(uint32_t)) {
    return Name([fn](int64_t code) { return fn(static_cast<uint32_t>(code)); });
  };
  const std::map<std::string, Name> functions = {
      {"std_aspect_string", i32(std_aspect_string)},
      {"short_audio_string", u32(short_audio_string)},
      {"hdmi_vic_string", i32(hdmi_vic_string)},
      {"est_timing_1_string", i32(est_timing_1_string)},
      {"est_timing_2_string", i32(est_timing_2_string)},
      {"man_timing_string", i32(man_timing_string)},
      {"short_video_timing_string", u32(short_video_timing_string)}};
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

// "call -> result "output"": what a function returned (left out where the
// result carries no meaning) and what it printed.
std::string Printed(const std::string &call, const std::function<int32_t()> &fn,
                    bool result_matters = true) {
  int32_t result = 0;
  const std::string out = edc_test::Normalize(edc_test::CaptureStdout([&] { result = fn(); }));
  return call + " ->" + (result_matters ? " " + std::to_string(result) : "") + " \"" +
         Escaped(out) + "\"\n";
}

// A mask text built into a buffer of 'x': the text, how many NULs fill the
// rest of string_len, and any message; the bytes beyond string_len stay 'x'.
std::string Built(const char *name, int32_t (*fn)(uint32_t, char *, uint32_t), uint32_t mask,
                  uint32_t string_len) {
  char buffer[128];
  memset(buffer, 'x', sizeof buffer);
  char call[64];
  snprintf(call, sizeof call, "%s(0x%02X, %u)", name, mask, string_len);
  std::string line = Printed(
      call, [&] { return fn(mask, buffer, string_len); }, string_len >= 17);
  const size_t text = strnlen(buffer, string_len);
  EXPECT_EQ(std::string(buffer + text, string_len - text), std::string(string_len - text, '\0'));
  EXPECT_EQ(std::string(buffer + string_len, sizeof buffer - string_len),
            std::string(sizeof buffer - string_len, 'x'));
  return line.substr(0, line.size() - 1) + " [" + std::string(buffer, text) + "] + " +
         std::to_string(string_len - text) + " NUL\n";
}

TEST(Printers, MaskTextsAndPrintedLinesAreExact) {
  std::string out = "# call -> result \"printed\" [text built] + NULs up to the length given\n";
  const std::pair<uint32_t, uint32_t> rates[] = {{0x7F, 100}, {0x7F, 17}, {0x00, 17},
                                                 {0x05, 17},  {0x80, 17}, {0x7F, 16}};
  for (const auto &[mask, length] : rates)
    out += Built("audio_freq_string", audio_freq_string, mask, length);
  const std::pair<uint32_t, uint32_t> bits[] = {
      {0x07, 30}, {0x07, 17}, {0x00, 17}, {0x02, 17}, {0x07, 16}};
  for (const auto &[mask, length] : bits)
    out += Built("audio_pcm_bits_string", audio_pcm_bits_string, mask, length);
  out += Printed(
      "audio_freq_string(NULL)", [] { return audio_freq_string(0x7F, nullptr, 40); }, false);
  out += Printed(
      "audio_pcm_bits_string(NULL)", [] { return audio_pcm_bits_string(0x7F, nullptr, 40); },
      false);

  const uint8_t speakers[][3] = {
      {0x0F, 0x00, 0xFF}, {0x02, 0, 0}, {0, 0, 0}, {0xFF, 0x07, 0}, {0x00, 0xFA, 0xFF}};
  for (const auto &s : speakers) {
    char call[64];
    snprintf(call, sizeof call, "print_speaker(0x%02X, 0x%02X, 0x%02X)", s[0], s[1], s[2]);
    out += Printed(call, [&] { return print_speaker(s[0], s[1], s[2]); });
  }
  // Every format-specific field holds the same value; only the format's own is shown.
  const uint32_t audio[][4] = {{1, 2, 0x07, 5},  {1, 8, 0, 0},     {2, 6, 0x04, 640},
                               {8, 2, 0x01, 64}, {9, 2, 0x01, 3},  {13, 8, 0x06, 1},
                               {14, 2, 0x04, 3}, {16, 2, 0x04, 9}, {18, 6, 0x40, 9},
                               {0, 2, 0x04, 9},  {15, 2, 0x04, 9}, {19, 2, 0x04, 9}};
  for (const auto &a : audio) {
    short_audio_desc_t sad = {a[0], a[1], a[2], a[3], a[3], a[3], a[3]};
    char call[96];
    snprintf(call, sizeof call, "print_audio_structure(format %u, channels %u, rates 0x%02X, %u)",
             a[0], a[1], a[2], a[3]);
    out += Printed(call, [&] { return print_audio_structure(&sad); });
  }
  out += Printed(
      "print_audio_structure(NULL)", [] { return print_audio_structure(nullptr); }, false);

  for (uint32_t mask : {0x00u, 0x81u, 0xFFu, 0x100u}) {
    char call[64];
    snprintf(call, sizeof call, "print_stereo_type(0x%02X)", mask);
    out += Printed(
        call,
        [&] {
          print_stereo_type(mask);
          return 0;
        },
        false);
  }
  const struct {
    int32_t mask;
    const char *(*fn)(int32_t);
    const char *title;
  } lists[] = {{0xA5, est_timing_1_string, "Established Timings 1"},
               {0xFF, est_timing_2_string, "Established Timings 2"},
               {0x80, man_timing_string, "Manufacturer Timings"},
               {0x0100, est_timing_1_string, "Established Timings 1"},
               {0x0000, est_timing_1_string, "Established Timings 1"},
               {0x80, nullptr, "Manufacturer Timings"},
               {0x80, man_timing_string, nullptr}};
  for (const auto &l : lists) {
    char call[96];
    snprintf(call, sizeof call, "print_est_man_type(0x%04X, %s, %s)", l.mask,
             l.fn != nullptr ? "names" : "NULL", l.title != nullptr ? l.title : "NULL");
    out += Printed(
        call,
        [&] {
          print_est_man_type(l.mask, l.fn, l.title);
          return 0;
        },
        false);
  }
  edc_test::ExpectGolden("printers.txt", out);
}

}  // namespace
