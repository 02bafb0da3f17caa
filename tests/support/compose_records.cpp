#include "compose_records.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

#include "edid_builder.h"

namespace edc_test {

PreparedPlatform::PreparedPlatform() {
  memset(&values, 0, sizeof values);
  EXPECT_TRUE(platform_values_init(&values));
}

PreparedPlatform::~PreparedPlatform() {
  platform_values_destroy(&values);
}

namespace {

template <typename T>
void Append(ll_list_t *list, const T &element, const char *type) {
  ll_entry_t *entry = nullptr;
  void *data = nullptr;
  ASSERT_TRUE(ll_create_entry(sizeof(T), &entry, &data, type));
  memcpy(data, &element, sizeof(T));
  ASSERT_TRUE(ll_add_entry_to_back(list, entry));
}

}  // namespace

void AddModes(ll_list_t *list, const std::string &text) {
  std::istringstream in(text);
  for (std::string word; in >> word;) {
    short_video_desc_t mode{};
    mode.native = word.back() == '*';
    mode.vic = std::stoul(word);
    if (const size_t slash = word.find('/'); slash != std::string::npos)
      mode.stereo = std::stoul(word.substr(slash + 1), nullptr, 16);
    Append(list, mode, "short_video_desc_t");
  }
}

std::string Modes(ll_list_t *list) {
  std::string text;
  for (const auto &mode : Elements<short_video_desc_t>(list))
    text += (text.empty() ? "" : " ") + std::to_string(mode.vic) +
            (mode.stereo != 0 ? Format("/%02X", mode.stereo) : "") + (mode.native ? "*" : "");
  return text;
}

short_audio_desc_t AudioDesc(const std::string &text) {
  uint32_t fields[7] = {};
  std::istringstream in(text);
  for (uint32_t &field : fields)
    if (std::string word; in >> word) field = std::stoul(word, nullptr, 0);
  short_audio_desc_t audio;
  static_assert(sizeof audio == sizeof fields);
  memcpy(&audio, fields, sizeof audio);
  return audio;
}

std::string AudioText(const short_audio_desc_t &audio) {
  uint32_t fields[7];
  memcpy(fields, &audio, sizeof fields);
  int used = 7;
  while (used > 1 && fields[used - 1] == 0) --used;
  std::string text;
  for (int i = 0; i < used; ++i) text += (i > 0 ? " " : "") + std::to_string(fields[i]);
  return text;
}

void AddAudio(ll_list_t *list, const std::string &text) {
  std::istringstream in(text);
  for (std::string one; std::getline(in, one, ',');)
    Append(list, AudioDesc(one), "short_audio_desc_t");
}

std::string Audio(ll_list_t *list) {
  std::string text;
  for (const auto &audio : Elements<short_audio_desc_t>(list))
    text += (text.empty() ? "" : ", ") + AudioText(audio);
  return text;
}

void AddTimings(edid_t *edid, const std::string &vics) {
  std::istringstream in(vics);
  for (uint32_t vic; in >> vic;) {
    detailed_timing_t timing{};
    ASSERT_TRUE(convert_vic_to_dtd(vic, &timing)) << vic;
    Append(&edid->dtd_list, timing, "detailed_timing_t");
  }
}

}  // namespace edc_test
