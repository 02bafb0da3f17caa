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



// ===========================================================================
// Text dump
// ===========================================================================



