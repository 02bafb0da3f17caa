// The modern profile's keys of the platform configuration (modern.*).
#include "compose_profile.h"

#include "cta_reader.h"

extern "C" void compose_profile_defaults(compose_profile_t *profile) {
  if (profile == nullptr) return;
  *profile = compose_profile_t{};
  profile->max_tmds_rate_mhz = 340;
  profile->rgb_quantization_selectable = true;
}

extern "C" bool compose_profile_read(compose_profile_t *profile) {
  if (profile == nullptr) return false;
  compose_profile_defaults(profile);
  return true;
}
