// CaptureStdout in the browser. The runtime hands every line written to
// standard output to Module.print; the page's print appends it to the
// innermost open capture (Module.edcCaptures) when there is one.
#include <emscripten/emscripten.h>

#include <cstdio>
#include <cstdlib>

#include "decoded_edid.h"

// clang-format off
EM_JS(void, edc_capture_open, (), { Module.edcCaptures.push(""); });
EM_JS(char *, edc_capture_close, (), {
  const text = Module.edcCaptures.pop();
  const size = lengthBytesUTF8(text) + 1;
  const copy = _malloc(size);
  stringToUTF8(text, copy, size);
  return copy;
});
// clang-format on

namespace edc_tool {

std::string CaptureStdout(const std::function<void()> &fn) {
  fflush(stdout);
  edc_capture_open();
  fn();
  fflush(stdout);
  char *text = edc_capture_close();
  std::string captured(text);
  free(text);
  return captured;
}

}  // namespace edc_tool
