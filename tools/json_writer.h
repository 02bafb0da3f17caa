// Compact JSON text written straight into a string, in the form
// nlohmann::json::dump() gives: no blanks, strings escaped as it escapes them
// (", \, the named control characters, \u00XX for the others), integers as
// they are and a double always with a fraction or an exponent ("32.0"), so
// that parsing the text and dumping it again gives the same text. Text that
// is not UTF-8 has each bad byte replaced by U+FFFD.
//
// It writes one JSON Lines object a file without building a tree, and it is
// the one place the record's JSON is made (see edid_json.h).
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace edc_tool {

class JsonWriter {
 public:
  void BeginObject() { Open('{'); }
  void EndObject() { Close('}'); }
  void BeginArray() { Open('['); }
  void EndArray() { Close(']'); }

  // The key of the next value in an object: one of the program's own names,
  // written as it is.
  void Key(std::string_view key);

  void Value(bool value);
  void Value(double value);
  void Value(std::string_view text);
  void Value(const char *text) { Value(std::string_view(text)); }
  template <std::integral T>
  void Value(T value) {
    if constexpr (std::is_signed_v<T>)
      Integer(static_cast<int64_t>(value));
    else
      Unsigned(static_cast<uint64_t>(value));
  }

  template <typename T>
  void Value(const std::vector<T> &values) {
    BeginArray();
    for (const T &value : values) Value(value);
    EndArray();
  }

  // Key and value.
  template <typename T>
  void Field(std::string_view key, const T &value) {
    Key(key);
    Value(value);
  }

  const std::string &text() const { return text_; }
  // Empties the text (keeping its memory) for the next document.
  void Clear();

 private:
  void Open(char bracket);
  void Close(char bracket);
  void Separate();
  void Integer(int64_t value);
  void Unsigned(uint64_t value);

  std::string text_;
  bool after_value_ = false;  // a ',' comes before the next key or element
};

}  // namespace edc_tool
