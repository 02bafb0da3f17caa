/* A C11 program that includes every public header and links the library:
 * the C ABI as a C caller sees it. */
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#include "compose_profile.h"
#include "config_store.h"
#include "cta_video_formats.h"
#include "edid_composer.h"
#include "edid_decode_encode.h"
#include "linked_list.h"
#include "platform_config.h"
#include "utility.h"
#include "version.h"

/* The layout a C caller depends on (x86_64 / LP64 natural alignment). */
_Static_assert(sizeof(ll_entry_t) == 32, "ll_entry_t layout");
_Static_assert(sizeof(ll_list_t) == 24 && offsetof(ll_list_t, head) == 16, "ll_list_t layout");
_Static_assert(sizeof(detailed_timing_t) == 60, "detailed_timing_t layout");
_Static_assert(sizeof(short_video_desc_t) == 12, "short_video_desc_t layout");
_Static_assert(sizeof(short_audio_desc_t) == 28, "short_audio_desc_t layout");
_Static_assert(sizeof(hdmi_mode_t) == 16, "hdmi_mode_t layout");
_Static_assert(offsetof(composer_cfg_t, spa_offset) == 48, "composer_cfg_t layout");
_Static_assert(sizeof(compose_profile_t) == 48 && offsetof(compose_profile_t, vics) == 10,
               "compose_profile_t layout");

static int failures = 0;
#define CHECK(cond)                                                                         \
  ((cond) ? (void)0                                                                         \
          : (void)(fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond), \
                   failures++))

int main(void) {
  ll_list_t list;
  ll_entry_t *entry = NULL;
  void *data = NULL;
  memset(&list, 0, sizeof list);

  CHECK(strncmp(gVersion, "#@# libedidcomposer.so Unofficial Build ", 40) == 0);
  CHECK(ll_init(&list, "int") == 1);
  CHECK(ll_create_entry(sizeof(int), &entry, &data, "int") == 1);
  *(int *)data = 42;
  CHECK(ll_add_entry_to_back(&list, entry) == 1);
  CHECK(ll_size(&list) == 1);
  CHECK(ll_entry_at(&list, 0, &data) == 1 && *(int *)data == 42);
  CHECK(ll_delete_list(&list) == 1);

  CHECK(config_store_load_string("[platform.software.drivers.avcap.edid]\nweek = 12\n") == 0);
  CHECK(get_pc_uint("week", 0, 255, 1, true) == 12);
  debug_enable(true);
  CHECK(debug_enabled());
  debug_enable(false);
  config_store_clear();

  {
    const cta_video_format_t *uhd = cta_video_format_find(cta_hdmi_vic_to_vic(1));
    char name[CTA_VIDEO_FORMAT_NAME_SIZE];
    CHECK(uhd != NULL && uhd->vic == 95 && uhd->pixel_clock_khz == 297000 && uhd->h_total == 4400);
    CHECK(cta_video_format_name(95, name, sizeof name) == 17 &&
          strcmp(name, "3840x2160p30 16:9") == 0);
    CHECK(cta_video_format_find(128) == NULL);
  }

  {
    /* The modern profile from C: the device's record filled by hand. */
    compose_profile_t device;
    uint8_t edid[256], spa_offset = 0;
    composer_cfg_t cfg;
    memset(&cfg, 0, sizeof cfg);
    cfg.hdmi_current_mode.width = 1920;
    cfg.hdmi_current_mode.height = 1080;
    cfg.hdmi_current_mode.refresh_rate = 60;
    cfg.audio_mask = 0xFFFFFFFF;
    cfg.spa_offset = &spa_offset;
    compose_profile_defaults(&device);
    CHECK(!device.enabled && device.max_tmds_rate_mhz == 340 && device.rgb_quantization_selectable);
    device.enabled = true;
    CHECK(compose_edid_profile(NULL, 0, edid, sizeof edid, &cfg, &device));
    /* no television: the HDMI VSDB first after speaker, video and audio blocks */
    CHECK(spa_offset > 128 && edid[spa_offset - 3] == 0x03 && edid[spa_offset - 2] == 0x0C);
  }

  if (failures == 0) printf("c_api: all checks passed\n");
  return failures == 0 ? 0 : 1;
}
