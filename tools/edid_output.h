// Writing an EDID out: the byte forms other tools read, and a file replaced
// in one step.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace edc_tool {

enum class OutputFormat { kBinary, kHex, kCArray };

// Hex text, 16 bytes a line as "00 ff ff ...": what edid-decode and the V4L2
// EDID utilities (v4l2-ctl --set-edid=file=...) read.
std::string HexText(const std::vector<uint8_t> &bytes);

// A C initialiser "const unsigned char edid[N] = {...};", 8 bytes a line,
// after a comment holding comment_text.
std::string CArrayText(const std::vector<uint8_t> &bytes, const std::string &comment_text);

// The bytes of format (binary: the EDID itself).
std::string Render(OutputFormat format, const std::vector<uint8_t> &bytes,
                   const std::string &comment_text);

// Replaces path with contents in one step: a temporary file in the same
// folder, written and flushed, then renamed over path. An existing file is
// never left half-written and keeps its permissions; a new file gets 0666
// less the umask. On failure returns false with the reason in error and
// leaves path as it was. The signals that end the tool wait until the
// temporary file is renamed or removed.
bool WriteFileAtomically(const std::string &path, const std::string &contents, std::string &error);

// Writes all of contents to a file descriptor; false on a write error.
bool WriteAll(int fd, const std::string &contents);

}  // namespace edc_tool
