#include "check_config_command.h"

#include "command.h"
#include "config_store.h"

namespace edc_tool {

void AddCheckConfigOptions(CLI::App &command, CheckConfigOptions &options) {
  command.add_option("FILE", options.file, "The platform configuration (TOML)")
      ->required()
      ->type_name("FILE");
  command.footer(
      "Prints, as FILE:LINE:COLUMN: warning: WHAT, every key the library does not read\n"
      "(with the nearest it does), every value of the wrong type or out of range, quoted\n"
      "keys that alias another path and mode strings read only loosely.\n"
      "Exit status: 0 no finding, 1 findings, 2 a file that cannot be read or parsed.");
}

int RunCheckConfig(const CheckConfigOptions &options) {
  uint32_t findings = 0;
  if (config_store_check_file(options.file.c_str(), &findings) != 0)
    return kExitUnusableInput;  // the store has printed file:line:column: what
  return findings == 0 ? kExitOk : kExitLibraryFailed;
}

}  // namespace edc_tool
