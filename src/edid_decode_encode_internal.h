// File-internal functions of edid_decode_encode.cpp.
#pragma once

#include "edid_decode_encode.h"

extern "C" {
uint8_t _calculate_checksum(const uint8_t *edid_block);
uint8_t _decode_edid_standard_timing(uint8_t byte1, uint8_t byte2, edid_t *edid);
uint8_t _decode_edid_dtd(const uint8_t *dtd, edid_t *edid);
void _replace_all_chars(char *string, int32_t length, uint8_t find, uint8_t replace);
uint8_t _decode_edid_vendor_block(const uint8_t *vendor_block, edid_t *edid);
uint8_t _encode_edid_dtd(uint8_t *dtd_block, detailed_timing_t *timing);
uint8_t _encode_edid_short_audio(uint8_t *cea_block, short_audio_desc_t *audio);
uint8_t encode_edid_latency_value(uint16_t latency);
}
