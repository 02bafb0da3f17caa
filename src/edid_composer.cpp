// The EDID composer: platform values and mode lists read from the platform
// configuration, the selection stages, the composition entry points, and the
// raw EDID dump driver.
#include "edid_composer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <strings.h>

#include "config_root.h"
#include "diagnostics.h"
#include "edid_composer_internal.h"
#include "edid_decode_encode_internal.h"
#include "linked_list.h"
#include "platform_config.h"
#include "utility.h"

// ===========================================================================
// Platform mode lists
// ===========================================================================



// ===========================================================================
// Platform values
// ===========================================================================



// ===========================================================================
// Raw EDID dump
// ===========================================================================



// ===========================================================================
// Composition (selection stages, population, entry points)
// ===========================================================================



