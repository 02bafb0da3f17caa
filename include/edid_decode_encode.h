/*
 * The decoded EDID record and its codec: VESA E-EDID 1.3 base block and one
 * CEA-861 (revision 3) extension with the HDMI 1.4b vendor-specific block.
 */
#ifndef EDIDCOMPOSER_EDID_DECODE_ENCODE_H
#define EDIDCOMPOSER_EDID_DECODE_ENCODE_H

#include <stdint.h>

#include "linked_list.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Defined in utility.h; the encoder only takes a pointer to it. */
typedef struct platform_values_t platform_values_t;

/* Source physical address A.B.C.D, one nibble value (0..15) in each field. */
typedef struct {
  uint8_t a, b, c, d;
} physical_address_t;

/* Standard timing: aspect_ratio 0 "1:1", 1 "4:3", 2 "5:4", 3 "16:9". */
typedef struct {
  uint32_t h_active, aspect_ratio, refresh_rate;
} std_timing_t;

/* Stereo mask bits of a short video descriptor (HDMI 3D_Structure). */
#define EDID_STEREO_FP 0x01u  /* frame packing */
#define EDID_STEREO_SSH 0x02u /* side-by-side (half) */
#define EDID_STEREO_TBH 0x04u /* top-and-bottom */
#define EDID_STEREO_FA 0x08u  /* field alternative */
#define EDID_STEREO_LA 0x10u  /* line alternative */
#define EDID_STEREO_SSF 0x20u /* side-by-side (full) */
#define EDID_STEREO_LD 0x40u  /* L + depth */
#define EDID_STEREO_LDG 0x80u /* L + depth + graphics + graphics-depth */

typedef struct {
  uint8_t native;
  uint32_t vic;
  uint32_t stereo;
} short_video_desc_t;

/* format: 1..14 as in CEA-861, 16 HE-AAC, 17 HE-AACv2, 18 MPEG Surround. */
typedef struct {
  uint32_t format, channels, sample_rates, bit_depths, max_bitrate, format_value, profile;
} short_audio_desc_t;

typedef struct {
  uint8_t valid;
  uint32_t pixel_clock, h_active, h_blanking, h_sync_offset, h_sync_width;
  uint8_t h_border;
  uint32_t v_active, v_blanking, v_sync_offset, v_sync_width;
  uint8_t v_border;
  uint32_t h_image_size, v_image_size;
  uint8_t progressive, stereo, h_sync_positive, v_sync_positive;
} detailed_timing_t;

typedef struct edid_t {
  uint8_t valid;
  char manufacturer_id[4];
  uint32_t product_id;
  uint32_t serial;
  uint8_t week;
  uint32_t year;
  uint8_t version;
  uint8_t revision;
  uint8_t digital;
  uint8_t h_size_cm;
  uint8_t v_size_cm;
  uint32_t gamma;
  uint8_t standby;
  uint8_t suspend;
  uint8_t active_off;
  uint8_t standard_colorspace;
  uint8_t preferred_timing;
  uint8_t gtf;
  uint32_t red_x, red_y, green_x, green_y, blue_x, blue_y, white_x, white_y;
  uint32_t established_timings_1;
  uint32_t established_timings_2;
  uint32_t manufacturer_timings;
  ll_list_t std_timings; /* of std_timing_t */
  ll_list_t dtd_list;    /* of detailed_timing_t */
  char monitor_serial[14];
  char monitor_data[14];
  char monitor_name[14];
  uint8_t min_v_rate;
  uint8_t max_v_rate;
  uint8_t min_h_rate;
  uint8_t max_h_rate;
  uint32_t max_pixel_clock;
  uint8_t num_extensions;
  uint8_t checksum;
  uint8_t underscan;
  uint8_t basic_audio;
  uint8_t ycbcr444;
  uint8_t ycbcr422;
  ll_list_t video_list; /* of short_video_desc_t */
  ll_list_t audio_list; /* of short_audio_desc_t */
  uint8_t speaker[3];
  uint8_t hdmi_vsdb_present;
  physical_address_t address;
  uint8_t dc_48bit;
  uint8_t dc_36bit;
  uint8_t dc_30bit;
  uint8_t dc_y444;
  uint8_t dvi_dual;
  uint32_t max_tmds_clock;
  uint8_t supports_ai;
  uint8_t cnc0, cnc1, cnc2, cnc3;
  uint8_t hdmi_video_present;
  uint16_t video_latency;
  uint16_t audio_latency;
  uint16_t interlaced_video_latency;
  uint16_t interlaced_audio_latency;
  uint8_t present_3d;
  uint8_t image_size;
  uint8_t hdmi_vic_len;
  uint32_t hdmi_vic[7];
  uint8_t xvycc601;
  uint8_t xvycc709;
} edid_t;

uint8_t edid_prepare(edid_t *edid);
uint8_t edid_destroy(edid_t *edid);
uint8_t decode_edid_block_0(const uint8_t *edid_block, edid_t *edid);
uint8_t decode_edid_extensions(const uint8_t *edid_extension, uint32_t edid_bytes, edid_t *edid);
uint8_t decode_edid_short_audio(uint8_t b1, int32_t b2, uint8_t b3, short_audio_desc_t *audio);
uint8_t encode_edid(uint8_t *edid_blocks, int32_t size, edid_t *edid, uint8_t *spa_offset,
                    platform_values_t *platform_values);
int32_t _encode_string(uint8_t *block, int8_t tag, const char *string);
extern const short_video_desc_t _3d_man_modes[5];
uint8_t print_edid_struct(edid_t *edid, uint8_t summary, const char *title);

#ifdef __cplusplus
}
#endif

#endif
