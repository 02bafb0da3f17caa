// "edid-composer compare": two EDIDs side by side, one row per capability
// that matters for HDMI (for example a television and the EDID composed for
// it).
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "cta_view.h"
#include "edid_decode_encode.h"
#include "edid_json.h"

namespace edc_tool {

struct CompareOptions {
  std::string a, b;  // "-" for standard input (one of them at most)
  bool json = false;
};

void AddCompareOptions(CLI::App &command, CompareOptions &options);

// Reads, decodes and prints both; returns the exit status.
int RunCompare(const CompareOptions &options);

// One capability: its value on each side, nullopt where that side lacks it
// (a video format, 4Kx2K mode or audio format it does not list).
enum class RowStatus { kSame, kDiffers, kOnlyA, kOnlyB };

struct CompareRow {
  std::string capability;
  std::optional<std::string> a, b;

  RowStatus Status() const;
};

// "same", "differs", "only_a" or "only_b", as compare --json writes it.
const char *StatusName(RowStatus status);

// The rows in a fixed order: identity, physical address, native rate, video
// formats (A's order, then those only in B), 4Kx2K modes, 3D, audio formats,
// speakers, deep colour, maximum TMDS clock, latencies.
std::vector<CompareRow> CompareRows(const edid_t &a, const edid_t &b);

// Rows for the modern reader's fields, one per field name, when either side
// holds a modern block (see CtaRecord::modern); none otherwise.
void AddCtaRows(std::vector<CompareRow> &rows, const CtaRecord &a, const CtaRecord &b);

// The table as text, with names for the two columns.
std::string CompareText(const std::vector<CompareRow> &rows, const std::string &name_a,
                        const std::string &name_b);

// The rows as compare --json writes them: capability, a, b (null where
// absent) and status.
Json RowsJson(const std::vector<CompareRow> &rows);

}  // namespace edc_tool
