// CaptureStdout on Linux. (The WebAssembly page has its own, in web/.)
#include <sys/types.h>

#include <cstdio>

#include "decoded_edid.h"

namespace edc_tool {

namespace {

// The write function of the stream that captures standard output.
ssize_t AppendTo(void *text, const char *data, size_t size) {
  static_cast<std::string *>(text)->append(data, size);
  return static_cast<ssize_t>(size);
}

}  // namespace

// The library prints through stdio's stdout alone, and in glibc stdout is an
// ordinary variable that a program may set (so documented): while fn runs it
// is an unbuffered stream whose writes append to the text. No system call
// and no buffer, where a file for each capture made every decode of a file
// cost milliseconds.
std::string CaptureStdout(const std::function<void()> &fn) {
  fflush(stdout);
  std::string text;
  cookie_io_functions_t io = {};
  io.write = AppendTo;
  FILE *const memory = fopencookie(&text, "w", io);
  if (memory == nullptr) {  // nowhere to capture to: let the output through rather than lose it
    fn();
    return "";
  }
  setvbuf(memory, nullptr, _IONBF, 0);
  FILE *const saved = stdout;
  stdout = memory;
  fn();
  stdout = saved;
  fclose(memory);
  return text;
}

}  // namespace edc_tool
