// The tool's view of the modern CTA-861 reader (cta_reader.h): the record's
// fields as named rows, shared by dump (text and JSON) and compare.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "cta_reader.h"
#include "edid_json.h"

namespace edc_tool {

// One field of the record: its name and its value as text.
using CtaField = std::pair<std::string, std::string>;

// The reader's record for bytes; modern() says whether it holds any block
// the decoder does not read (an extended-tag block or a vendor block other
// than HDMI's), the condition for showing the fields at all.
struct CtaRecord {
  cta_info_t info{};
  bool read = false;
  bool modern() const;
};
CtaRecord ReadCta(const std::vector<uint8_t> &bytes);

// Every field in a fixed order: the HDMI Forum block, HDR, colorimetry, video
// capability, 4:2:0, speakers, room, audio descriptors, then every block with
// its place and payload (payloads) or one row naming the blocks in order.
std::vector<CtaField> CtaFields(const cta_info_t &info, bool payloads = true);

// The dump's section: a title line and one "  name: value" line a field.
std::string CtaText(const cta_info_t &info);

// The fields as dump --json writes them under "cta": [{"name", "value"}...].
Json CtaJson(const cta_info_t &info);

// dump --json's document: the record's fields (or {"decoded": false} when the
// decoder refused the EDID, record NULL) with the modern fields under "cta";
// null when there is neither a record nor a modern block to show.
Json DumpJson(const edid_t *record, const CtaRecord &cta);

}  // namespace edc_tool
