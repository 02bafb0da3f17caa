// Two EDIDs from arbitrary bytes (the input split in two, each rounded down
// to whole blocks) through the JSON form of dump --json and the rows and
// text of compare. Whatever the records' texts hold, the JSON text must be
// UTF-8: nlohmann-json throws, and the run stops, on anything else.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "compare_command.h"
#include "decoded_edid.h"
#include "edid_json.h"
#include "utility.h"

namespace {

constexpr size_t kBlock = 128;

std::vector<uint8_t> WholeBlocks(const uint8_t *data, size_t size) {
  return std::vector<uint8_t>(data, data + size / kBlock * kBlock);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  debug_enable(false);
  const size_t half = size / 2;
  edc_tool::DecodedEdid edids[2];
  const std::vector<uint8_t> inputs[2] = {WholeBlocks(data, half),
                                          WholeBlocks(data + half, size - half)};
  std::string diagnostics;
  for (int side = 0; side < 2; ++side) edids[side].Decode(inputs[side], diagnostics);

  for (const auto &edid : edids)
    if (edc_tool::JsonText(edc_tool::EdidJson(edid.record())).empty()) __builtin_trap();
  const auto rows = edc_tool::CompareRows(edids[0].record(), edids[1].record());
  if (edc_tool::CompareText(rows, "a", "b").empty()) __builtin_trap();
  return 0;
}
