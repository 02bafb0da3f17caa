// edid-composer: command-line front end of the library for test engineers and
// integrators.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

#include "dump_command.h"
#include "version.h"

int main(int argc, char **argv) {
  CLI::App app{"edid-composer: decode and print HDMI EDIDs", "edid-composer"};
  app.set_version_flag("--version", std::string(gVersion),
                       "Print the library's build banner and exit");
  app.require_subcommand(0, 1);

  edc_tool::DumpOptions dump_options;
  CLI::App *dump = edc_tool::AddDumpCommand(app, dump_options);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError &e) {
    // --help and --version end here with status 0; usage errors print their
    // reason on standard error and end with the status of unusable input.
    const int status = app.exit(e);
    return status == 0 ? 0 : edc_tool::kExitUnusableInput;
  }
  if (dump->parsed()) return edc_tool::RunDump(dump_options);
  fputs(app.help().c_str(), stdout);
  return 0;
}
