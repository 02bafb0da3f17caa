// EDID records for tests: records written and read as text lines, prepared
// records that clean up after themselves.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "edid_decode_encode.h"

namespace edc_test {

// Fills a record from text, one field a line: "week 12", "speaker 0x4F 1 0",
// "monitor_name \"EDC  \"" (quotes keep blanks; a text fills its whole
// array when it is that long). List elements take the element's fields in
// declaration order: "std_timing", "dtd", "svd", "sad". "clear svd" empties
// a list; "33x svd 0 1 0" repeats a line. False for a line it does not know.
bool ApplyRecordLine(const std::string &line, edid_t *edid);
// The record as such lines, every field (or only those not all zero) and
// every element of the lists that are initialised ("manufacturer_id SAM",
// "svd 1 16 0"), for comparing two records.
std::vector<std::string> RecordLines(edid_t *edid, bool set_fields_only = false);

// A prepared edid_t, destroyed with the object.
struct PreparedEdid {
  PreparedEdid();
  ~PreparedEdid();
  PreparedEdid(const PreparedEdid &) = delete;
  PreparedEdid &operator=(const PreparedEdid &) = delete;
  edid_t edid;
};

}  // namespace edc_test
