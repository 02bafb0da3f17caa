// The diagnostic line writers and the debug flag: the bottom of the library,
// which every other module reports through (see diagnostics.h).
#include "diagnostics.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>

namespace {

// Process-wide; written only by debug_enable. A plain byte that the host sets
// before it calls the library.
uint8_t g_debug_enabled = 0;

// "<file>:<line>:<func>() <severity>: <message>\n"
void prefixed_line(const char *severity, const char *file, int line, const char *func,
                   const char *fmt, va_list args) {
  printf("%s:%d:%s() %s: ", file, line, func, severity);
  vprintf(fmt, args);
  printf("\n");
}

}  // namespace

extern "C" {

void diag_line(const char *severity, const char *file, int line, const char *func, const char *fmt,
               ...) {
  va_list args;
  va_start(args, fmt);
  prefixed_line(severity, file, line, func, fmt, args);
  va_end(args);
}

void diag_trace(const char *func, int line, const char *fmt, ...) {
  va_list args;
  va_start(args, fmt);
  vprintf(fmt, args);
  va_end(args);
  printf(" \t\t\t%s():%d\n", func, line);
}

void debug_enable(bool enable) {
  g_debug_enabled = enable ? 1 : 0;
}

bool debug_enabled(void) {
  return g_debug_enabled != 0;
}

}  // extern "C"

void edc::report(const report_site &site, const char *severity, const char *fmt, ...) {
  va_list args;
  va_start(args, fmt);
  prefixed_line(severity, site.file, site.line, site.func, fmt, args);
  va_end(args);
}

bool edc::argument_present(const void *pointer, const char *name, const report_site &site) {
  if (pointer != nullptr) return true;
  report(site, "ERROR", "\"%s\" parameter is NULL. %s:%p", name, name, pointer);
  return false;
}
