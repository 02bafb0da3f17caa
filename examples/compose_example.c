/* Composes the EDID a device presents on its HDMI input from the television's
 * EDID and the platform configuration, as a capture driver would:
 *   compose_example platform.toml tv.bin new.bin
 * compose_edid_profile reads the modern profile's keys too: with
 * modern.enabled = 1 (examples/modern-4k60-hdr.toml) the EDID offers what an
 * HDMI 2.0 device with HDR carries; without it, it is compose_edid's.
 * Exit status 0 composed, 1 the library refused (its reasons are on standard
 * output), 2 unusable files. */
#include <stdio.h>

#include "config_store.h"
#include "compose_profile.h"
#include "edid_composer.h"

int main(int argc, char **argv) {
  uint8_t tv[512], edid[256], spa_offset = 0;
  FILE *in = argc == 4 ? fopen(argv[2], "rb") : NULL;
  if (in == NULL || config_store_load_file(argv[1]) != 0) return 2;
  const size_t tv_size = fread(tv, 1, sizeof tv, in);
  fclose(in);

  composer_cfg_t cfg = {.hdmi_current_mode = {1920, 1080, 0, 60}, /* 1080p60 out */
                        .audio_mask = 0xFFFFFFFF,                   /* every format */
                        .setting_3d = 1,                            /* 3D as the TV */
                        .spa_offset = &spa_offset,
                        .hdmi_port = 0};
  if (!compose_edid_profile(tv, (int32_t)tv_size, edid, sizeof edid, &cfg, NULL)) return 1;

  FILE *out = fopen(argv[3], "wb");
  if (out == NULL || fwrite(edid, 1, sizeof edid, out) != sizeof edid) return 2;
  fclose(out);
  printf("composed %s: physical address at bytes %u-%u\n", argv[3], spa_offset, spa_offset + 1);
  return 0;
}
