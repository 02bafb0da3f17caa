// Arbitrary text as the platform configuration: reading the platform values
// and the modern profile's keys from whatever the store accepts must not
// crash, leak or hang.
// The text is loaded as config_text.h says.
#include <cstddef>
#include <cstdint>
#include <string>

#include "compose_profile.h"
#include "config_store.h"
#include "config_text.h"
#include "edid_composer_internal.h"
#include "utility.h"

namespace {

void ReadPlatformValues() {
  platform_values_t values;
  if (!platform_values_init(&values)) __builtin_trap();
  _read_platform_values(&values);
  if (!platform_values_destroy(&values)) __builtin_trap();
  compose_profile_t profile;
  if (!compose_profile_read(&profile) || profile.vic_count > COMPOSE_PROFILE_MAX_VICS ||
      profile.max_tmds_rate_mhz > 600)
    __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string text(reinterpret_cast<const char *>(data), size);
  if (config_store_load_string(ConfigDocument(text).c_str()) == 0) ReadPlatformValues();
  config_store_clear();
  return 0;
}
