#include "transcript.h"

#include <cstdint>
#include <cstdio>

#include "capture.h"

namespace edc_test {

void Transcript::Name(const void *address, const std::string &name) {
  char text[32];
  snprintf(text, sizeof text, "%p", address);
  names_.emplace_back(text, "<" + name + ">");
  const auto mark = static_cast<int32_t>(
      static_cast<uint32_t>(reinterpret_cast<uintptr_t>(address)) ^ 0xA0A06060u);
  names_.emplace_back(std::to_string(mark), "<mark " + name + ">");
}

void Transcript::Note(const std::string &line) {
  text_ += "\n# " + line + "\n";
}

void Transcript::Call(const std::string &label, const std::function<long()> &call) {
  long result = 0;
  const std::string printed = CaptureStdout([&] { result = call(); });
  text_ += label + " -> " + std::to_string(result) + "\n" + Normalize(printed);
}

std::string Transcript::Text() const {
  std::string text = text_;
  for (const auto &[from, to] : names_)
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
      text.replace(at, from.size(), to);
  return text;
}

}  // namespace edc_test
