// A whole composition from arbitrary input: a platform configuration text
// and a television's EDID bytes. Whatever the bytes and the text, composing
// must not crash, leak or hang, and a composition that succeeds gives two
// blocks with valid checksums. The composition goes through
// compose_edid_profile, so a text that sets modern.enabled = 1 runs the
// modern profile too (the seeds platform-modern-* do).
//
// Input: the configuration text up to the first NUL byte (loaded as
// config_text.h says; empty when it does not load), then one byte of
// settings (bits 0-1 the 3D setting, bit 2 the sink filter, bit 3 debug
// traces, bits 4-7 the input port), then the television's EDID, of whatever
// length.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "config_store.h"
#include "config_text.h"
#include "compose_profile.h"
#include "edid_composer.h"
#include "utility.h"

namespace {

uint8_t BlockSum(const uint8_t *block) {
  uint8_t sum = 0;
  for (size_t i = 0; i < 128; ++i) sum = static_cast<uint8_t>(sum + block[i]);
  return sum;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const auto *end = static_cast<const uint8_t *>(memchr(data, 0, size));
  const size_t text_size = end != nullptr ? static_cast<size_t>(end - data) : size;
  // Most inputs differ from the one before only in the EDID: the store is
  // loaded again only when the text changed (it holds what the text gives,
  // either way).
  static std::string loaded;
  const std::string text(reinterpret_cast<const char *>(data), text_size);
  if (text != loaded) {
    config_store_clear();
    config_store_load_string(ConfigDocument(text).c_str());
    loaded = text;
  }

  size_t at = text_size + 1;
  const uint8_t settings = at < size ? data[at++] : 0;
  const uint8_t *sink = at < size ? data + at : nullptr;
  const auto sink_size = static_cast<int32_t>(at < size ? size - at : 0);

  composer_cfg_t cfg{};
  cfg.hdmi_current_mode = {1920, 1080, 0, 60};
  cfg.audio_mask = 0xFFFFFFFF;
  cfg.setting_3d = settings & 3;
  cfg.sink_filter = (settings >> 2) & 1;
  cfg.hdmi_port = settings >> 4;
  uint8_t spa_offset = 0;
  cfg.spa_offset = &spa_offset;
  debug_enable(((settings >> 3) & 1) != 0);
  uint8_t out[256];
  if (compose_edid_profile(sink, sink_size, out, sizeof out, &cfg, nullptr)) {
    if (BlockSum(out) != 0 || BlockSum(out + 128) != 0 || spa_offset < 128) __builtin_trap();
  }
  debug_enable(false);
  return 0;
}
