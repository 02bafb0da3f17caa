// The EDID record and its codec: lifecycle of edid_t, decoding of the VESA
// E-EDID 1.3 base block and of the CEA-861 extension (with the HDMI 1.4b
// vendor-specific data block), encoding of a record into 256 bytes, and the
// text dump of a decoded record.
#include "edid_decode_encode.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>

#include "bits.h"
#include "diagnostics.h"
#include "edid_decode_encode_internal.h"
#include "linked_list.h"
#include "utility.h"

using edc::bit_range;
using edc::has_bit;
using edc::put_bit;
using edc::put_bits;

// ===========================================================================
// Record lifecycle
// ===========================================================================



// ===========================================================================
// Base block decoding (VESA E-EDID 1.3)
// ===========================================================================



// ===========================================================================
// CEA-861 extension decoding
// ===========================================================================



// ===========================================================================
// Encoding
// ===========================================================================

extern "C" {

// The five mandatory HDMI 1.4b 3D formats. A sink that sets 3D_present in its
// HDMI vendor block supports these structures implicitly, so the encoder
// strips them from the per-format 3D entries it writes and the text dump
// lists them on their own.
constexpr short_video_desc_t _3d_man_modes[5] = {
    {0, 32, EDID_STEREO_FP | EDID_STEREO_TBH},  // 1920x1080p24
    {0, 4, EDID_STEREO_FP | EDID_STEREO_TBH},   // 1280x720p60
    {0, 5, EDID_STEREO_SSH},                    // 1920x1080i60
    {0, 19, EDID_STEREO_FP | EDID_STEREO_TBH},  // 1280x720p50
    {0, 20, EDID_STEREO_SSH},                   // 1920x1080i50
};

}  // extern "C"



// ===========================================================================
// Text dump
// ===========================================================================



