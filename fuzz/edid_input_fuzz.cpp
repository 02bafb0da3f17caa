// Arbitrary bytes through the tool's input reader, which takes whatever file
// or pipe a user names: either an error or whole blocks, never both, and the
// bytes it accepts read back the same from the forms the tool writes.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "edid_input.h"
#include "edid_output.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const edc_tool::EdidInput input = edc_tool::ParseEdid(std::vector<uint8_t>(data, data + size));
  if (input.error.empty() == input.bytes.empty()) __builtin_trap();
  if (input.bytes.size() % 128 != 0) __builtin_trap();
  if (input.bytes.empty()) return 0;
  for (const std::string &text :
       {edc_tool::HexText(input.bytes), edc_tool::CArrayText(input.bytes, "read back */")}) {
    if (edc_tool::ParseEdid(std::vector<uint8_t>(text.begin(), text.end())).bytes != input.bytes)
      __builtin_trap();
  }
  return 0;
}
