/*
 * VIC timing table and conversions, names and printers of EDID codes, the
 * debug flag, the typed platform configuration readers and the platform
 * values record.
 */
#ifndef EDIDCOMPOSER_UTILITY_H
#define EDIDCOMPOSER_UTILITY_H

#include <stdbool.h>
#include <stdint.h>

#include "edid_decode_encode.h"
#include "linked_list.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A display mode; height is the frame height, also for interlaced modes. */
typedef struct {
  uint32_t width, height, interlaced, refresh_rate;
} hdmi_mode_t;

/* Everything the composer takes from the platform configuration. */
struct platform_values_t {
  ll_list_t audio_list; /* of "int": encoded short audio descriptors */
  ll_list_t video_50_priority;
  ll_list_t video_50_additional;
  ll_list_t video_60_priority;
  ll_list_t video_60_additional;
  uint32_t priority_4k_x_2k[7];
  uint32_t addition_4k_x_2k[7];
  int32_t native_refresh_rate;
  int32_t current_mode_set_to_priority;
  int32_t geometry_limit;
  int32_t audio_pass_through;
  int32_t underscan;
  int32_t is_tv;
  int32_t dc_30bit;
  int32_t dc_36bit;
  int32_t tmds_override;
  int32_t supports_ai;
  int32_t speaker_entry;
  int32_t xvycc601;
  int32_t xvycc709;
  int32_t native_bit;
  uint32_t product_id;
  uint32_t serial;
  uint32_t week;
  uint32_t year;
  uint32_t cnc0, cnc1, cnc2, cnc3;
  char manufacturer_id[4];
  char monitor_name[14];
  char monitor_serial[14];
  uint32_t established_timings_1;
  uint32_t established_timings_2;
  uint32_t manufacturer_timings;
  ll_list_t std_timings; /* of std_timing_t */
};

/* Conversions between VICs, detailed timings, standard timings and modes. */
uint32_t calculate_refresh_rate(uint32_t pixel_clock, uint32_t h_active, uint32_t h_blanking,
                                uint32_t v_active, uint32_t v_blanking);
uint8_t convert_geo_to_ratio(uint32_t width, uint32_t height, uint32_t *ratio);
uint8_t convert_vic_to_dtd(uint32_t vic, detailed_timing_t *timing);
uint8_t convert_dtd_to_vic(edid_t *edid, detailed_timing_t *timing, uint32_t *vic);
uint8_t convert_std_to_vic(edid_t *edid, std_timing_t *timing, uint32_t *vic);
uint8_t mode_to_vic(hdmi_mode_t *mode, uint32_t *vic);

/* Names and printers. */
const char *std_aspect_string(int32_t ratio);
const char *short_audio_string(uint32_t code);
int32_t audio_freq_string(uint32_t freq, char *string, uint32_t string_len);
int32_t audio_pcm_bits_string(uint32_t bits, char *string, uint32_t string_len);
int32_t print_speaker(uint8_t byte1, uint8_t byte2, uint8_t byte3);
int32_t print_audio_structure(short_audio_desc_t *audio);
void print_stereo_type(uint32_t stereo);
const char *hdmi_vic_string(int32_t vic);
void print_est_man_type(int32_t mask, const char *(*string_func)(int32_t), const char *title);
const char *est_timing_1_string(int32_t value);
const char *est_timing_2_string(int32_t value);
const char *man_timing_string(int32_t value);
const char *short_video_timing_string(uint32_t vic);

/* Debug flag: gates the trace lines. */
void debug_enable(bool enable);
bool debug_enabled(void);

/* Platform configuration readers; keys are relative to
 * "platform.software.drivers.avcap.edid.". */
bool get_pc_str(const char *key, char *buffer, uint32_t size, const char *default_val,
                bool verbose);
uint32_t get_pc_uint(const char *key, uint32_t min, uint32_t max, uint32_t default_val,
                     bool verbose);
int32_t get_pc_int(const char *key, int32_t min, int32_t max, int32_t default_val, bool verbose);

bool platform_values_init(platform_values_t *platform_values);
bool platform_values_destroy(platform_values_t *platform_values);

#ifdef __cplusplus
}
#endif

#endif
