// edid-composer check-config: a platform configuration against the keys the
// library reads.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace edc_tool {

struct CheckConfigOptions {
  std::string file;
};

void AddCheckConfigOptions(CLI::App &command, CheckConfigOptions &options);
int RunCheckConfig(const CheckConfigOptions &options);

}  // namespace edc_tool
