// CaptureStdout on Linux. (The WebAssembly page has its own, in web/.)
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>

#include "decoded_edid.h"

namespace edc_tool {

// Standard output goes to an in-memory file while fn runs (memfd_create: no
// file system work, which made every decode of a file cost milliseconds).
std::string CaptureStdout(const std::function<void()> &fn) {
  fflush(stdout);
  const int sink = memfd_create("edid-composer-output", MFD_CLOEXEC);
  const int saved = sink >= 0 ? dup(STDOUT_FILENO) : -1;
  if (saved < 0 || dup2(sink, STDOUT_FILENO) < 0) {
    // Nowhere to capture to: let the output through rather than lose it.
    if (saved >= 0) close(saved);
    if (sink >= 0) close(sink);
    fn();
    return "";
  }
  fn();
  fflush(stdout);
  dup2(saved, STDOUT_FILENO);
  close(saved);
  std::string text;
  char chunk[4096];
  lseek(sink, 0, SEEK_SET);
  for (ssize_t got; (got = read(sink, chunk, sizeof chunk)) > 0;)
    text.append(chunk, static_cast<size_t>(got));
  close(sink);
  return text;
}

}  // namespace edc_tool
