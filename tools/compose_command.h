// "edid-composer compose": the device's EDID from a television's EDID and a
// platform configuration, through compose_edid_profile.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "compose_settings.h"

namespace edc_tool {

struct ComposeOptions {
  std::string config;
  std::string sink;    // empty: compose from the configuration alone; "-": standard input
  std::string output;  // empty: standard output
  ComposeSettingsText settings;
  bool summary = false, full = false, quiet = false, debug = false;
};

void AddComposeOptions(CLI::App &command, ComposeOptions &options);

// Composes, writes and reports; returns the exit status.
int RunCompose(const ComposeOptions &options);

}  // namespace edc_tool
