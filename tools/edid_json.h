// The JSON form of a decoded EDID record, shared by "dump --json" and
// "compare --json". Keys are the record's field names (edid_t and its element
// types); a few keys beside them give names for the numbers (listed in the
// README). Key order follows the record.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "edid_decode_encode.h"
#include "json_writer.h"

namespace edc_tool {

using Json = nlohmann::ordered_json;

Json EdidJson(const edid_t &edid);

// The same keys and values written into an object that w has open (after
// any keys it holds already): the JSON Lines of dump.
void WriteEdidFields(const edid_t &edid, JsonWriter &w);

// The document as text: two-space indentation, a final line end. The record's
// text fields are ASCII by the standard; a byte above 0x7F is written as the
// character U+0080..U+00FF of the same number.
std::string JsonText(const Json &json);

}  // namespace edc_tool
