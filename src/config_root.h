// The configuration root under which every key of the library lives, and
// the full paths built from it.
#pragma once

#include <cstddef>
#include <cstring>

namespace edc {

inline constexpr char kConfigRoot[] = "platform.software.drivers.avcap.edid.";

// Writes the root followed by key into path, cut (silently) to what path
// holds, and always terminated. The library's one way to build a full path:
// it runs for every key of every composition, so it copies rather than
// formats.
template <size_t N>
void config_path(char (&path)[N], const char *key) {
  static_assert(N > sizeof kConfigRoot);
  constexpr size_t kRootLength = sizeof kConfigRoot - 1;
  memcpy(path, kConfigRoot, kRootLength);
  const size_t length = key != nullptr ? strnlen(key, N - 1 - kRootLength) : 0;
  memcpy(path + kRootLength, key, length);
  path[kRootLength + length] = '\0';
}

}  // namespace edc
