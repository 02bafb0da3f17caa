#include "edid_input.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
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

// Text saved by editors that mark their encoding: UTF-8's byte-order mark
// is skipped; UTF-16 (a mark, or ASCII with a NUL byte after or before each
// character) is named for what it is.
constexpr uint8_t kUtf8Bom[3] = {0xEF, 0xBB, 0xBF};

bool LooksUtf16(const std::vector<uint8_t> &contents) {
  if (contents.size() < 4) return false;
  const uint8_t a = contents[0], b = contents[1], c = contents[2], d = contents[3];
  if ((a == 0xFF && b == 0xFE) || (a == 0xFE && b == 0xFF)) return true;
  const auto ascii = [](uint8_t byte) { return byte != 0 && IsTextByte(byte); };
  return (ascii(a) && b == 0 && ascii(c) && d == 0) || (a == 0 && ascii(b) && c == 0 && ascii(d));
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

enum class LineKind { kBlank, kHex, kDamaged, kText };

bool IsSeparator(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == ',' || c == '\f' || c == '\v';
}

// Classifies one line; the bytes of a hex line are appended to out. A line
// holding an odd run of hex digits (a digit lost), or at least two bytes and
// more bytes than other words (one mangled), is damaged; bad_token is the
// first token that is not bytes.
LineKind ReadLine(std::string_view line, std::vector<uint8_t> &out, std::string &bad_token) {
  std::vector<uint8_t> bytes;
  size_t tokens = 0, good = 0;
  for (size_t i = 0; i < line.size();) {
    while (i < line.size() && IsSeparator(line[i])) ++i;
    if (i == line.size()) break;
    size_t end = i;
    while (end < line.size() && !IsSeparator(line[end])) ++end;
    const std::string_view token = line.substr(i, end - i);
    const bool is_bytes = AppendToken(token, bytes);
    ++tokens;
    if (is_bytes)
      ++good;
    else if (bad_token.empty())
      bad_token = std::string(token);
    i = end;
  }
  if (tokens == 0) return LineKind::kBlank;
  if (bad_token.empty()) {
    out.insert(out.end(), bytes.begin(), bytes.end());
    return LineKind::kHex;
  }
  std::string_view digits = bad_token;
  if (digits.starts_with("0x") || digits.starts_with("0X")) digits.remove_prefix(2);
  const bool odd_digits =
      std::all_of(digits.begin(), digits.end(), [](char c) { return HexDigit(c) >= 0; });
  return odd_digits || (good >= 2 && good * 2 >= tokens) ? LineKind::kDamaged : LineKind::kText;
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
    if (kind == LineKind::kBlank || kind == LineKind::kHex) continue;
    if (kind == LineKind::kDamaged && !input.bytes.empty()) {
      input.error = "line " + std::to_string(line_number) + ": " + Quote(bad_token) +
                    " is not a whole byte; the hex line is damaged";
      input.bytes.clear();
      return input;
    }
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
  if (LooksUtf16(contents)) {
    input.error = "the input is UTF-16 text; convert it first (iconv -f UTF-16 -t UTF-8)";
    return input;
  }
  const bool bom =
      contents.size() >= sizeof kUtf8Bom && memcmp(contents.data(), kUtf8Bom, sizeof kUtf8Bom) == 0;
  std::string_view text(reinterpret_cast<const char *>(contents.data()), contents.size());
  if (bom) text.remove_prefix(sizeof kUtf8Bom);
  if (LooksBinary(contents) && !bom) {
    input.bytes = contents;
  } else {
    input = ParseHex(text);
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

std::string MissingBlocks(const std::vector<uint8_t> &bytes) {
  constexpr size_t kExtensionCount = 0x7E;  // VESA E-EDID 1.3, base block byte 0x7E
  if (bytes.size() < kBlockSize) return "";
  const size_t announced = bytes[kExtensionCount], held = bytes.size() / kBlockSize - 1;
  if (held >= announced) return "";
  return "the base block announces " + std::to_string(announced) + " extension block" +
         (announced == 1 ? "" : "s") + " but the file holds " +
         (held == 0 ? std::string("none") : std::to_string(held)) + ": it is cut short";
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
