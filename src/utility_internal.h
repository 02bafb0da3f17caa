// File-internal items of utility.cpp, reachable from the tests through the
// static library.
#pragma once

#include <cstdint>

#include "utility.h"

// Rows in the VIC timing table: VICs 1 to 64, row n describing VIC n. This is
// also the highest VIC the library knows: code that checks a VIC against the
// table's range (a configured mode list, say) takes this name.
constexpr uint32_t g_vic_dtd_size = 64;

extern "C" {
// One row of the VIC timing table: the VIC that a match on the row reports
// (the row number, but 20 in row 39) and the row's complete timing.
typedef struct {
  uint32_t vic;
  detailed_timing_t timing;
} vic_dtd_t;

extern const vic_dtd_t g_vic_dtd[g_vic_dtd_size];
}
