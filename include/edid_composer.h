/*
 * Composition of the device's own EDID from the television's EDID, the
 * caller's settings and the platform configuration.
 */
#ifndef EDIDCOMPOSER_EDID_COMPOSER_H
#define EDIDCOMPOSER_EDID_COMPOSER_H

#include <stdbool.h>
#include <stdint.h>

#include "edid_decode_encode.h"
#include "linked_list.h"
#include "utility.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
  hdmi_mode_t hdmi_current_mode; /* the device's current HDMI output mode */
  uint32_t audio_mask;           /* allowed audio formats, one bit per format */
  uint32_t sink_filter;          /* 1: offer only audio the television takes */
  int32_t setting_3d;            /* 0 no 3D, 1 as the television, 2 3D present */
  uint32_t edid_latency[4];      /* video, audio, interlaced video, interlaced audio (ms) */
  uint8_t *spa_offset;           /* receives the physical address offset; may be NULL */
  uint32_t hdmi_port;            /* input port, counted from 0 */
} composer_cfg_t;

bool compose_edid(const uint8_t *edid_block, int32_t edid_bytes, uint8_t *new_edid_block,
                  uint32_t new_size, composer_cfg_t *cfg);
bool compose_edid_internal(const uint8_t *edid_block, int32_t edid_bytes, uint8_t *new_edid_block,
                           uint32_t new_size, composer_cfg_t *cfg,
                           platform_values_t *platform_values);
void print_edid(const uint8_t *edid_block, uint32_t edid_bytes, uint8_t summary, const char *title);
void print_platform_node(uint32_t node, const char *label);
int32_t _find_largest_height(ll_list_t *list);
void _remove_larger_height_modes(uint32_t limit, ll_list_t *list);
uint32_t _audio_type_to_audio_mask(uint32_t format);
void print_edid_audio_mask(uint32_t mask);

#ifdef __cplusplus
}
#endif

#endif
