#include "compose_records.h"

#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <sstream>

#include "capture.h"
#include "config_store.h"
#include "edid_builder.h"
#include "golden.h"
#include "scenario.h"
#include "typed_list.h"

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
void Append(ll_list_t *list, const T &element) {
  EXPECT_NE(edc::append_copy(list, element, EDC_HERE), nullptr);
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
    Append(list, mode);
  }
}

std::string Modes(ll_list_t *list) {
  std::string text;
  for (const short_video_desc_t *mode : edc::elements<short_video_desc_t>(list))
    text += (text.empty() ? "" : " ") + std::to_string(mode->vic) +
            (mode->stereo != 0 ? Format("/%02X", mode->stereo) : "") + (mode->native ? "*" : "");
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
  for (std::string one; std::getline(in, one, ',');) Append(list, AudioDesc(one));
}

std::string Audio(ll_list_t *list) {
  std::string text;
  for (const short_audio_desc_t *audio : edc::elements<short_audio_desc_t>(list))
    text += (text.empty() ? "" : ", ") + AudioText(*audio);
  return text;
}

void AddNumbers(ll_list_t *list, const std::string &text) {
  std::istringstream in(text);
  for (std::string word; in >> word;)
    Append(list, static_cast<int32_t>(std::stoul(word, nullptr, 0)));
}

void AddTimings(edid_t *edid, const std::string &vics) {
  std::istringstream in(vics);
  for (uint32_t vic; in >> vic;) {
    detailed_timing_t timing{};
    ASSERT_TRUE(convert_vic_to_dtd(vic, &timing)) << vic;
    Append(&edid->dtd_list, timing);
  }
}

SampleConfig::SampleConfig() {
  EXPECT_EQ(config_store_load_file(EDC_EXAMPLES_DIR "/platform.toml"), 0);
}
SampleConfig::~SampleConfig() {
  config_store_clear();
}

composer_cfg_t CorpusSettings() {
  composer_cfg_t cfg{};
  cfg.hdmi_current_mode = {1920, 1080, 0, 60};
  cfg.audio_mask = 0xFFFFFFFF;
  cfg.sink_filter = 1;
  cfg.setting_3d = 1;
  cfg.edid_latency[0] = 20;
  cfg.edid_latency[1] = 40;
  cfg.hdmi_port = 1;
  return cfg;
}

std::vector<uint8_t> CorpusBytes(const std::string &name) {
  return ReadFile(CorpusDir() + "/edid/" + name);
}

void DecodeComposed(const std::vector<uint8_t> &bytes, edid_t *edid) {
  ASSERT_EQ(bytes.size(), 256u);
  for (size_t block : {0, 128})
    EXPECT_EQ(std::accumulate(bytes.begin() + block, bytes.begin() + block + 128, 0) % 256, 0);
  CaptureStdout([&] {
    EXPECT_TRUE(decode_edid_block_0(bytes.data(), edid));
    EXPECT_TRUE(decode_edid_extensions(bytes.data() + 128, 128, edid));
  });
}

std::string Case::Get(const std::string &key) const {
  std::string value = "-";
  for (const auto &[k, v] : lines) value = k == key ? v : value;
  return value;
}

std::vector<Case> ReadCases(const std::string &name) {
  std::vector<Case> cases;
  std::vector<std::pair<std::string, std::string>> defaults;
  for (const Scenario &scenario : ReadScenarios(name)) {
    auto &lines = scenario.title.empty() ? defaults
                                         : cases.emplace_back(Case{scenario.title, defaults}).lines;
    for (const Line &line : scenario.lines) lines.emplace_back(line[0], line[1]);
  }
  return cases;
}

std::string ExpectedLine(const std::string &text) {
  std::istringstream in(text);
  std::string kind, func, message, raw;
  in >> kind >> func;
  std::getline(in >> std::ws, raw);
  for (size_t i = 0; i < raw.size(); ++i) {
    const bool tab = raw.compare(i, 2, "\\t") == 0;
    message += tab ? '\t' : raw[i];
    i += tab;
  }
  if (kind == "ERROR") return Error(func, message);
  if (kind == "WARNING") return Warning(func, message);
  if (kind == "BUG") return Bug(func, message);
  return Trace(func, message);
}

std::string FirstMissing(const std::vector<std::string> &printed,
                         const std::vector<std::string> &expected) {
  size_t found = 0;
  for (const auto &line : printed) found += found < expected.size() && line == expected[found];
  return found < expected.size() ? expected[found] : "";
}

}  // namespace edc_test
