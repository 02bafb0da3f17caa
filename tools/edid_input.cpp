#include "edid_input.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace edc_tool {

namespace {

constexpr size_t kBlockSize = 128;
// An EDID has at most 256 blocks (32 KiB); its hex dump with edid-decode's
// decoded text is well below this. Larger input is refused unread.
constexpr size_t kMaxInput = 4u << 20;
constexpr size_t kReadChunk = 4096;
constexpr uint8_t kHeader[8] = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};

bool IsTextByte(uint8_t c) {
  return (c >= 0x20 && c < 0x7F) || (c >= '\t' && c <= '\r');
}

bool LooksBinary(const std::vector<uint8_t> &contents) {
  if (contents.size() >= sizeof kHeader && memcmp(contents.data(), kHeader, sizeof kHeader) == 0)
    return true;
  for (uint8_t c : contents)
    if (!IsTextByte(c)) return true;
  return false;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Appends the bytes of one token ("00", "0xff", "00ffffff..."); false when it
// is not an even run of hex digits.
bool AppendToken(std::string_view token, std::vector<uint8_t> &out) {
  if (token.size() > 2 && token[0] == '0' && (token[1] == 'x' || token[1] == 'X'))
    token.remove_prefix(2);
  if (token.empty() || token.size() % 2 != 0) return false;
  for (char c : token)
    if (HexDigit(c) < 0) return false;
  for (size_t i = 0; i < token.size(); i += 2)
    out.push_back(static_cast<uint8_t>(HexDigit(token[i]) * 16 + HexDigit(token[i + 1])));
  return true;
}

enum class LineKind { kBlank, kHex, kText };

// Classifies one line; the bytes of a hex line are appended to out.
LineKind ReadLine(std::string_view line, std::vector<uint8_t> &out, std::string &bad_token) {
  std::vector<uint8_t> bytes;
  size_t tokens = 0;
  size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t' || line[i] == '\r' ||
                               line[i] == ',' || line[i] == '\f' || line[i] == '\v'))
      ++i;
    if (i == line.size()) break;
    size_t end = i;
    while (end < line.size() && line[end] != ' ' && line[end] != '\t' && line[end] != '\r' &&
           line[end] != ',' && line[end] != '\f' && line[end] != '\v')
      ++end;
    const std::string_view token = line.substr(i, end - i);
    ++tokens;
    if (!AppendToken(token, bytes)) {
      bad_token = std::string(token);
      return LineKind::kText;
    }
    i = end;
  }
  if (tokens == 0) return LineKind::kBlank;
  out.insert(out.end(), bytes.begin(), bytes.end());
  return LineKind::kHex;
}

std::string Quote(std::string_view text) {
  constexpr size_t kMax = 40;
  std::string shown(text.substr(0, kMax));
  if (text.size() > kMax) shown += "...";
  return "\"" + shown + "\"";
}

// A line before the data that names it: one ending in ':' (edid-decode's
// "edid-decode (hex):") or '{' (a C array's declaration), or a C comment.
bool IsHeaderLine(std::string_view line) {
  const size_t first = line.find_first_not_of(" \t");
  const size_t last = line.find_last_not_of(" \t\r");
  if (first == std::string_view::npos) return false;
  const std::string_view trimmed = line.substr(first, last - first + 1);
  return trimmed.back() == ':' || trimmed.back() == '{' || trimmed.starts_with("/*") ||
         trimmed.starts_with("*") || trimmed.starts_with("//");
}

EdidInput ParseHex(std::string_view text) {
  EdidInput input;
  size_t line_number = 0;
  size_t start = 0;
  while (start <= text.size()) {
    const size_t end = std::min(text.find('\n', start), text.size());
    const std::string_view line = text.substr(start, end - start);
    ++line_number;
    start = end + 1;
    std::string bad_token;
    const LineKind kind = ReadLine(line, input.bytes, bad_token);
    if (kind != LineKind::kText) continue;
    if (!input.bytes.empty()) break;  // the decoded text that follows the hex dump
    if (IsHeaderLine(line)) continue;
    input.error = "line " + std::to_string(line_number) + ": " + Quote(bad_token) +
                  " is not hexadecimal EDID data";
    return input;
  }
  return input;
}

}  // namespace

EdidInput ParseEdid(const std::vector<uint8_t> &contents) {
  EdidInput input;
  if (contents.empty()) {
    input.error = "the input is empty";
    return input;
  }
  if (LooksBinary(contents)) {
    input.bytes = contents;
  } else {
    input = ParseHex(
        std::string_view(reinterpret_cast<const char *>(contents.data()), contents.size()));
    if (!input.error.empty()) return input;
    if (input.bytes.empty()) {
      input.error = "no hexadecimal EDID data found";
      return input;
    }
  }
  if (input.bytes.size() % kBlockSize != 0) {
    input.error =
        std::to_string(input.bytes.size()) + " bytes of EDID data, which is not a multiple of 128";
    input.bytes.clear();
  }
  return input;
}

EdidInput ReadEdid(const std::string &path) {
  const bool from_stdin = path == "-";
  const int fd = from_stdin ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return EdidInput{{}, std::string("cannot open: ") + strerror(errno)};
  // Straight into the vector: an EDID file is one read (and one to see its end).
  std::vector<uint8_t> contents(kReadChunk);
  size_t used = 0;
  ssize_t got = 0;
  while (used <= kMaxInput &&
         (got = read(fd, contents.data() + used, contents.size() - used)) != 0) {
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) break;
    used += static_cast<size_t>(got);
    if (used == contents.size()) contents.resize(contents.size() * 2);
  }
  const int saved_errno = errno;
  if (!from_stdin) close(fd);
  if (got < 0) return EdidInput{{}, std::string("cannot read: ") + strerror(saved_errno)};
  if (used > kMaxInput) return EdidInput{{}, "more than 4 MiB of input; this is not an EDID"};
  contents.resize(used);
  return ParseEdid(contents);
}

}  // namespace edc_tool
