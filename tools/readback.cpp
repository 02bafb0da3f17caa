#include "readback.h"

#include "decoded_edid.h"
#include "platform_config.h"

namespace edc_tool {

namespace {

constexpr size_t kBlockSize = 128;
constexpr uint8_t kVideoTag = 2;     // CTA-861 data block tag of short video descriptors
constexpr size_t kMostFormats = 31;  // a data block's length field has 5 bits
constexpr const char kEdidPath[] = "platform.software.drivers.avcap.edid.";
constexpr const char *kVideoLists[] = {
    "60_hz_priority_list", "60_hz_addition_list",   "50_hz_priority_list",
    "50_hz_addition_list", "4k_x_2k_priority_list", "4k_x_2k_addition_list",
};

// Whether the CTA extension holds a video data block that is empty or after
// which the data blocks no longer end where the extension says its detailed
// timings begin: the mark of more formats than the length field counts.
bool VideoBlockOverflowed(const std::vector<uint8_t> &bytes) {
  if (bytes.size() < 2 * kBlockSize || bytes[kBlockSize] != 0x02) return false;
  const uint8_t *cta = bytes.data() + kBlockSize;
  const size_t end = cta[2];  // byte 2: offset of the first detailed timing
  if (end < 4 || end > kBlockSize) return false;
  bool video = false;
  size_t at = 4;
  for (; at < end; at += 1 + (cta[at] & 0x1f)) {
    if ((cta[at] >> 5) != kVideoTag) continue;
    if ((cta[at] & 0x1f) == 0) return true;
    video = true;
  }
  return video && at != end;
}

size_t Entries(const char *list) {
  uint32_t node = 0, child = 0;
  if (config_node_find(0, (std::string(kEdidPath) + list).c_str(), &node) != 0 ||
      config_node_first_child(node, &child) != 0)
    return 0;
  size_t count = 1;
  while (config_node_next_sibling(child, &child) == 0) ++count;
  return count;
}

}  // namespace

std::string ReadBackProblem(const std::vector<uint8_t> &composed) {
  if (VideoBlockOverflowed(composed)) {
    std::string lists;
    for (const char *list : kVideoLists)
      if (const size_t entries = Entries(list); entries > 0)
        lists +=
            (lists.empty() ? "" : ", ") + std::string(list) + " (" + std::to_string(entries) + ")";
    return "the video data block holds at most " + std::to_string(kMostFormats) +
           " formats and the configuration offers more; shorten its lists: " + lists;
  }
  DecodedEdid edid;
  std::string diagnostics;
  if (edid.Decode(composed, diagnostics)) return "";
  const size_t error = diagnostics.find("ERROR: ");
  std::string reason = error == std::string::npos ? "the library could not decode it"
                                                  : diagnostics.substr(error + 7);
  return "the composed EDID does not decode: " + reason.substr(0, reason.find('\n'));
}

}  // namespace edc_tool
