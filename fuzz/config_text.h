// A configuration text as the fuzz targets load it: as it stands when it
// opens with a table header, otherwise under the configuration root's table
// header, so that bare keys reach the library's readers. One parse an input:
// parsing is most of what an input costs.
#pragma once

#include <string>

#include "config_root.h"

inline std::string ConfigDocument(const std::string &text) {
  if (text.starts_with('[')) return text;
  // The root without its trailing dot, as a table header.
  return "[" + std::string(edc::kConfigRoot, sizeof edc::kConfigRoot - 2) + "]\n" + text;
}
