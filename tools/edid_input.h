// Reading an EDID as users hold it: the binary file the kernel exposes under
// /sys/class/drm/*/edid, or hex text as edid-decode and xxd -p print it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace edc_tool {

struct EdidInput {
  std::vector<uint8_t> bytes;  // a non-zero multiple of 128 when error is empty
  std::string error;           // what is wrong with the input, for one line of stderr
};

// Interprets file contents. Binary when they start with the EDID header or
// hold bytes that are not text; otherwise hex text: bytes as pairs of hex
// digits, optionally prefixed with 0x and separated by blanks, line ends or
// commas. Ignored: before the data, header lines ending in ':' or '{' and C
// comment lines; after it, everything from the first line that is not hex
// (edid-decode's decoded section, a C array's closing brace).
EdidInput ParseEdid(const std::vector<uint8_t> &contents);

// When bytes hold fewer extension blocks than the base block announces
// (byte 0x7E), says so ("the base block announces 1 extension block but the
// file holds none: it is cut short"); "" otherwise.
std::string MissingBlocks(const std::vector<uint8_t> &bytes);

// Reads path ("-" for standard input) and parses it.
EdidInput ReadEdid(const std::string &path);

}  // namespace edc_tool
