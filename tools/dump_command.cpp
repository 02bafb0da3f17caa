#include "dump_command.h"

#include <cstdio>

#include "command.h"
#include "cta_view.h"
#include "decoded_edid.h"
#include "edid_composer.h"
#include "edid_input.h"
#include "edid_json.h"
#include "utility.h"

namespace edc_tool {

void AddDumpOptions(CLI::App &command, DumpOptions &options) {
  command.footer(
      "FILE is a binary EDID (as in /sys/class/drm/*/edid), hex text (as edid-decode or\n"
      "xxd -p print it), a C array, or - for standard input.\n"
      "Exit status: 0 decoded, 1 the library reported a decoding failure, 2 unusable input.");
  CLI::Option *summary =
      command.add_flag("--summary", options.summary,
                       "Print the summary form (identity, video formats, audio, physical address) "
                       "instead of every field");
  command
      .add_flag("--json", options.json,
                "Print every decoded field as JSON; the library's lines go to standard error")
      ->excludes(summary);
  command
      .add_option("--title", options.title,
                  "Text of the first line (default: FILE, or \"standard input\" for -)")
      ->type_name("TEXT");
  command.add_flag("--debug", options.debug, "Turn on the library's trace lines");
  command.add_option("FILE", options.file, "The EDID to print; - for standard input")
      ->required()
      ->type_name("FILE");
}

int RunDump(const DumpOptions &options) {
  const std::string name = DisplayName(options.file);
  const EdidInput input = ReadEdid(options.file);
  if (!input.error.empty()) return Refuse(name, input.error);
  debug_enable(options.debug);
  DecodedEdid edid;
  std::string diagnostics;
  const bool decoded = edid.Decode(input.bytes, diagnostics);
  // The modern blocks are shown whether or not the decoder accepted the EDID.
  const CtaRecord cta = ReadCta(input.bytes);
  if (options.json) {
    fputs(diagnostics.c_str(), stderr);
    if (decoded || cta.modern()) {
      Json json = decoded ? EdidJson(edid.record()) : Json{{"decoded", false}};
      if (cta.modern()) json["cta"] = CtaJson(cta.info);
      fputs(JsonText(json).c_str(), stdout);
    }
    return decoded ? kExitOk : kExitLibraryFailed;
  }
  const std::string title = options.title.empty() ? name : options.title;
  if (decoded) {
    fputs(diagnostics.c_str(), stdout);
    print_edid_struct(&edid.record(), options.summary ? 1 : 0, title.c_str());
  } else {
    // print_edid decodes again and says, in its own lines, which block failed.
    print_edid(input.bytes.data(), static_cast<uint32_t>(input.bytes.size()),
               options.summary ? 1 : 0, title.c_str());
  }
  fflush(stdout);
  if (!options.summary && cta.modern()) fputs(CtaText(cta.info).c_str(), stdout);
  fflush(stdout);
  return decoded ? kExitOk : kExitLibraryFailed;
}

}  // namespace edc_tool
