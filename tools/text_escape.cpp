#include "text_escape.h"

#include <cstdio>

namespace edc_tool {

namespace {

bool IsControl(unsigned char c) {
  return (c < 0x20 && c != '\t' && c != '\n') || (c >= 0x7F && c <= 0x9F);
}

}  // namespace

std::string EscapeControls(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (!IsControl(c)) {
      out += static_cast<char>(c);
      continue;
    }
    char escaped[8];
    snprintf(escaped, sizeof escaped, "\\x%02x", c);
    out += escaped;
  }
  return out;
}

}  // namespace edc_tool
