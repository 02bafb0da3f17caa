// edid-composer: command-line front end of the library for test engineers and
// integrators.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>

#include "check_config_command.h"
#include "command.h"
#include "compare_command.h"
#include "compose_command.h"
#include "dump_command.h"
#include "output_file.h"
#include "version.h"

namespace {

struct Command {
  const char *name;
  const char *description;
  std::function<void(CLI::App &)> add_options;
  std::function<int()> run;
};

// The command the command line names: its first word that is not an option
// ("" for none).
const char *NamedCommand(int argc, char **argv) {
  for (int i = 1; i < argc; ++i)
    if (argv[i][0] != '-') return argv[i];
  return "";
}

int Run(int argc, char **argv) {
  using namespace edc_tool;
  CLI::App app{"edid-composer: compose, compare and print HDMI EDIDs", "edid-composer"};
  app.set_version_flag("--version", std::string(gVersion),
                       "Print the library's build banner and exit");
  app.require_subcommand(0, 1);

  DumpOptions dump;
  ComposeOptions compose;
  CompareOptions compare;
  CheckConfigOptions check_config;
  const Command commands[] = {
      {"compose", "Compose the device's EDID from a television's EDID and a configuration",
       [&](CLI::App &c) { AddComposeOptions(c, compose); }, [&] { return RunCompose(compose); }},
      {"compare", "Show two EDIDs side by side, one row per capability",
       [&](CLI::App &c) { AddCompareOptions(c, compare); }, [&] { return RunCompare(compare); }},
      {"dump", "Print an EDID as text or JSON", [&](CLI::App &c) { AddDumpOptions(c, dump); },
       [&] { return RunDump(dump); }},
      {"check-config", "Check a platform configuration against the keys the library reads",
       [&](CLI::App &c) { AddCheckConfigOptions(c, check_config); },
       [&] { return RunCheckConfig(check_config); }},
  };
  // Building the parser costs more than a dump itself, so only the command
  // named is registered, with its options. Without one, every command is
  // registered, without options, for --help to list.
  const char *named = NamedCommand(argc, argv);
  const bool known = std::any_of(std::begin(commands), std::end(commands),
                                 [&](const Command &c) { return strcmp(named, c.name) == 0; });
  if (!known && named[0] != '\0')
    return Refuse("usage", "\"" + std::string(named) +
                               "\" is not a command: compose, compare, dump or check-config");
  CLI::App *subcommands[std::size(commands)] = {};
  for (size_t i = 0; i < std::size(commands); ++i) {
    if (known && strcmp(named, commands[i].name) != 0) continue;
    subcommands[i] = app.add_subcommand(commands[i].name, commands[i].description);
    if (known) commands[i].add_options(*subcommands[i]);
  }

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError &e) {
    // --help and --version end here with status 0; a usage error is one line
    // on standard error and the status of unusable input.
    if (e.get_exit_code() == 0) return app.exit(e);
    return Refuse("usage", e.what());
  }
  for (size_t i = 0; i < std::size(commands); ++i)
    if (subcommands[i] != nullptr && subcommands[i]->parsed()) return commands[i].run();
  fputs(app.help().c_str(), stdout);
  return kExitOk;
}

}  // namespace

int main(int argc, char **argv) {
  // Every command's output, --help and --version included, is checked once
  // it is all written. Off a terminal, a buffer that holds a whole report
  // keeps the first failed write for that check, with the system's reason.
  static char output_buffer[1 << 16];
  if (!isatty(STDOUT_FILENO)) setvbuf(stdout, output_buffer, _IOFBF, sizeof output_buffer);
  return edc_tool::FinishStandardOutput(Run(argc, argv));
}
