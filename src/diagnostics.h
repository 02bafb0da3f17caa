// Diagnostic lines of the library. Every message goes to standard output as
// one line:
//   error    "<file>:<line>:<function>() ERROR: <message>\n"
//   warning  "<file>:<line>:<function>() WARNING: <message>\n"
//   bug      "<file>:<line>:<function>() BUG: <message>\n"
//   trace    "<message> \t\t\t<function>():<line>\n", only while debug is on.
// No function formats its own prefix: use the macros below.
//
// This is the bottom layer of the library: it includes no header of another
// module, so that every module (the list first of all) can report.
#pragma once

#include <concepts>
#include <cstdint>

extern "C" {
// The debug flag that gates the trace lines. Exported (utility.h declares
// the same prototypes for the library's callers), defined in diagnostics.cpp.
void debug_enable(bool enable);
bool debug_enabled(void);

void diag_line(const char *severity, const char *file, int line, const char *func, const char *fmt,
               ...) __attribute__((format(printf, 5, 6)));
void diag_trace(const char *func, int line, const char *fmt, ...)
    __attribute__((format(printf, 3, 4)));
}

#define LOG_ERROR(...) diag_line("ERROR", __FILE_NAME__, __LINE__, __func__, __VA_ARGS__)
#define LOG_WARNING(...) diag_line("WARNING", __FILE_NAME__, __LINE__, __func__, __VA_ARGS__)
#define LOG_BUG(...) diag_line("BUG", __FILE_NAME__, __LINE__, __func__, __VA_ARGS__)
#define LOG_TRACE(...)                                                \
  do {                                                                \
    if (debug_enabled()) diag_trace(__func__, __LINE__, __VA_ARGS__); \
  } while (0)

// The same lines on behalf of a named function, for code shared by several
// exported functions (the message then names the exported one).
#define LOG_ERROR_AS(func, ...) diag_line("ERROR", __FILE_NAME__, __LINE__, func, __VA_ARGS__)
#define LOG_BUG_AS(func, ...) diag_line("BUG", __FILE_NAME__, __LINE__, func, __VA_ARGS__)
#define LOG_WARNING_AS(func, ...) diag_line("WARNING", __FILE_NAME__, __LINE__, func, __VA_ARGS__)
#define LOG_TRACE_AS(func, ...)                                   \
  do {                                                            \
    if (debug_enabled()) diag_trace(func, __LINE__, __VA_ARGS__); \
  } while (0)

// A place to report from, for helpers that report on their caller's behalf
// (typed_list.h): the caller's source file, line and function.
namespace edc {
struct report_site {
  const char *file;
  int line;
  const char *func;
};
// One line of the given severity ("ERROR", "WARNING", "BUG") at site.
void report(const report_site &site, const char *severity, const char *fmt, ...)
    __attribute__((format(printf, 3, 4)));

// An integer for a %d conversion: its low 32 bits read as a signed number,
// so that unsigned values above 2147483647 print negative as they always
// have. Every unsigned value printed with %d goes through it (and generic
// code that prints a signed or an unsigned T).
// The usual check of a pointer argument: false, with the error "\"name\"
// parameter is NULL. name:(nil)" at site, when it is NULL.
bool argument_present(const void *pointer, const char *name, const report_site &site);

template <std::integral T>
constexpr int32_t as_int(T value) {
  return static_cast<int32_t>(value);
}

}  // namespace edc

#define EDC_HERE (edc::report_site{__FILE_NAME__, __LINE__, __func__})
#define EDC_HERE_AS(func) (edc::report_site{__FILE_NAME__, __LINE__, (func)})
