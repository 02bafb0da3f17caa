#include "json_writer.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace edc_tool {

namespace {

// The UTF-8 sequence at text[at]: its length and whether it is well formed
// (RFC 3629: no overlong forms, no surrogates, nothing above U+10FFFF). A bad
// one is as long as its well-formed start, at least one byte, and is replaced
// as a whole (Unicode's practice of the maximal subpart, nlohmann's too).
struct Sequence {
  size_t length;
  bool valid;
};

Sequence Utf8Sequence(std::string_view text, size_t at) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[at + i]); };
  const unsigned char lead = byte(0);
  size_t length = 0;
  unsigned char low = 0x80, high = 0xBF;  // the second byte's range
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  }
  if (length == 0) return {1, false};
  for (size_t i = 1; i < length; ++i) {
    const bool fits = at + i < text.size() && byte(i) >= (i == 1 ? low : 0x80) &&
                      byte(i) <= (i == 1 ? high : 0xBF);
    if (!fits) return {i, false};
  }
  return {length, true};
}

bool IsPlain(unsigned char c) {
  return c >= 0x20 && c < 0x80 && c != '"' && c != '\\';
}

void AppendString(std::string &out, std::string_view text) {
  out += '"';
  for (size_t at = 0; at < text.size();) {
    size_t plain = at;  // a run of bytes written as they are
    while (plain < text.size() && IsPlain(static_cast<unsigned char>(text[plain]))) ++plain;
    out.append(text.substr(at, plain - at));
    if (plain == text.size()) break;
    at = plain;
    const auto c = static_cast<unsigned char>(text[at]);
    if (c >= 0x80) {
      const Sequence sequence = Utf8Sequence(text, at);
      out.append(sequence.valid ? text.substr(at, sequence.length) : "\xEF\xBF\xBD");
      at += sequence.length;
      continue;
    }
    ++at;
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\b':
        out += "\\b";
        break;
      case '\f':
        out += "\\f";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default: {
        char escape[8];
        snprintf(escape, sizeof escape, "\\u%04x", c);
        out += escape;
      }
    }
  }
  out += '"';
}

template <typename T>
void AppendNumber(std::string &out, T value) {
  char digits[32];
  const auto result = std::to_chars(std::begin(digits), std::end(digits), value);
  out.append(digits, result.ptr);
}

#if !defined(__cpp_lib_to_chars)
// A standard library without floating-point to_chars (Emscripten's): the
// fewest significant digits that read back as the value.
template <>
void AppendNumber(std::string &out, double value) {
  char digits[32];
  for (int precision = 1; precision <= 17; ++precision) {
    snprintf(digits, sizeof digits, "%.*g", precision, value);
    if (strtod(digits, nullptr) == value) break;
  }
  out += digits;
}
#endif

}  // namespace

void JsonWriter::Clear() {
  text_.clear();
  after_value_ = false;
}

void JsonWriter::Separate() {
  if (after_value_) text_ += ',';
}

void JsonWriter::Open(char bracket) {
  Separate();
  text_ += bracket;
  after_value_ = false;
}

void JsonWriter::Close(char bracket) {
  text_ += bracket;
  after_value_ = true;
}

void JsonWriter::Key(std::string_view key) {
  // One append of ,"key": for the common short key.
  char field[64];
  if (key.size() + 4 > sizeof field) {
    Separate();
    text_.append(1, '"').append(key).append("\":");
  } else {
    size_t length = 0;
    if (after_value_) field[length++] = ',';
    field[length++] = '"';
    key.copy(field + length, key.size());
    length += key.size();
    field[length++] = '"';
    field[length++] = ':';
    text_.append(field, length);
  }
  after_value_ = false;
}

void JsonWriter::Value(bool value) {
  Separate();
  text_ += value ? "true" : "false";
  after_value_ = true;
}

void JsonWriter::Value(double value) {
  Separate();
  after_value_ = true;
  if (!std::isfinite(value)) {
    text_ += "null";  // as nlohmann writes what JSON cannot hold
    return;
  }
  const size_t start = text_.size();
  AppendNumber(text_, value);  // the shortest text that reads back as value
  if (text_.find_first_of(".e", start) == std::string::npos) text_ += ".0";
}

void JsonWriter::Value(std::string_view text) {
  Separate();
  AppendString(text_, text);
  after_value_ = true;
}

void JsonWriter::Integer(int64_t value) {
  Separate();
  AppendNumber(text_, value);
  after_value_ = true;
}

void JsonWriter::Unsigned(uint64_t value) {
  Separate();
  AppendNumber(text_, value);
  after_value_ = true;
}

}  // namespace edc_tool
