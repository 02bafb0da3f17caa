#include "command.h"

#include <cstdio>

namespace edc_tool {

int Refuse(const std::string &what, const std::string &problem) {
  fprintf(stderr, "edid-composer: %s: %s\n", what.c_str(), problem.c_str());
  return kExitUnusableInput;
}

std::string DisplayName(const std::string &path) {
  return path == "-" ? "standard input" : path;
}

}  // namespace edc_tool
