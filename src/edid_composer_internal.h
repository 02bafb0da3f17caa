// File-internal functions of edid_composer.cpp.
#pragma once

#include "edid_composer.h"

extern "C" {
typedef bool (*platform_list_callback_t)(const char *child_name, const char *list_name,
                                         int32_t value, char *string_value, uint32_t string_size,
                                         void *user_ptr);
bool _get_generic_platform_list(const char *list_name, bool is_int, void *user_ptr,
                                platform_list_callback_t callback);
bool _get_vic_list_callback(const char *child_name, const char *list_name, int32_t value,
                            char *string_value, uint32_t string_size, void *user_ptr);
bool _get_4k_x_2k_mode_callback(const char *child_name, const char *list_name, int32_t value,
                                char *string_value, uint32_t string_size, void *user_ptr);
bool _get_est_timing_callback(const char *child_name, const char *list_name, int32_t value,
                              char *string_value, uint32_t string_size, void *user_ptr);
bool _get_std_timing_callback(const char *child_name, const char *list_name, int32_t value,
                              char *string_value, uint32_t string_size, void *user_ptr);
bool _get_platform_list(uint32_t type, ll_list_t *target);
void _get_4k_x_2k_modes(const char *list_name, uint32_t *target);
void _get_est_timing_list(const char *list_name, uint32_t *target);
void _get_std_timing_list(ll_list_t *target);
bool _read_platform_values(platform_values_t *platform_values);
uint32_t _filter_video_modes(edid_t *edid, hdmi_mode_t *hdmi_current_mode, ll_list_t *ret_modes,
                             platform_values_t *platform_values);
int32_t _determine_tv_native_refresh_rate(edid_t *edid, platform_values_t *platform_values);
uint8_t _combine_lists(ll_list_t *vic_list, ll_list_t *extra_list);
uint8_t _valid_current_mode(hdmi_mode_t *mode);
uint32_t _maximum_pixel_clock(ll_list_t *list);
uint8_t _filter_4k_modes(edid_t *edid, edid_t *new_edid, platform_values_t *platform_values);
uint32_t _create_audio_mask(ll_list_t *list);
void _filter_audio_list_with_mask(ll_list_t *list, uint32_t mask);
bool _audio_format_in_list(ll_list_t *list, short_audio_desc_t *audio);
bool _audio_format_in_downstream_sink(edid_t *edid, short_audio_desc_t *audio);
bool _filter_audio_formats(edid_t *edid, uint32_t audio_mask, bool sink_filter, ll_list_t *ret_list,
                           platform_values_t *platform_values);
uint8_t _populate_new_edid(edid_t *new_edid, ll_list_t *modes, edid_t *edid, uint8_t port,
                           int32_t setting_3d, uint32_t *edid_latency,
                           platform_values_t *platform_values);
void _dump_raw_edid_block(const uint8_t *blocks, int32_t count);
}
