// edid-composer: command-line front end of the library for test engineers and
// integrators.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

#include "version.h"

int main(int argc, char **argv) {
  CLI::App app{"edid-composer: decode, print and compose HDMI EDIDs", "edid-composer"};
  app.set_version_flag("--version", std::string(gVersion), "Print the library's build banner and exit");
  app.require_subcommand(0, 1);

  CLI11_PARSE(app, argc, argv);
  if (app.get_subcommands().empty()) {
    fputs(app.help().c_str(), stdout);
    return 0;
  }
  return 0;
}
