// The check before compose writes anything: the new EDID must decode.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace edc_tool {

// Why the composed bytes cannot be read back, in one line; "" when they
// decode. A video data block that overflowed (the block's length field holds
// at most 31 bytes, one a format) names the configuration's lists and their
// lengths, read from the loaded configuration.
std::string ReadBackProblem(const std::vector<uint8_t> &composed);

}  // namespace edc_tool
