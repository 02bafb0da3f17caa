#include "dump_command.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "command.h"
#include "cta_view.h"
#include "decoded_edid.h"
#include "edid_input.h"
#include "edid_json.h"
#include "text_escape.h"
#include "utility.h"

namespace edc_tool {

void AddDumpOptions(CLI::App &command, DumpOptions &options) {
  command.footer(
      "FILE is a binary EDID (as in /sys/class/drm/*/edid), hex text (as edid-decode or\n"
      "xxd -p print it), a C array, or - for standard input. With --json, several FILEs or a\n"
      "directory (its files, sorted; not its subdirectories) print JSON Lines: one object a\n"
      "line per file, with its \"path\", or its \"error\" and \"status\".\n"
      "Exit status: 0 decoded, 1 the library reported a decoding failure, 2 unusable input\n"
      "(for several files, the worst).");
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
  command
      .add_option("FILE", options.files,
                  "The EDID to print; - for standard input. With --json, several FILEs or "
                  "directories (their files, sorted; not their subdirectories) print one JSON "
                  "object a line per file")
      ->required()
      ->type_name("FILE");
}

namespace {

// The files that the arguments name: a directory stands for the files in it
// (sorted by name; its subdirectories are left out). A directory that cannot
// be listed stays in the list, for the read to report.
std::vector<std::string> ExpandDirectories(const std::vector<std::string> &arguments) {
  namespace fs = std::filesystem;
  std::vector<std::string> files;
  for (const std::string &argument : arguments) {
    std::error_code error;
    if (argument == "-" || !fs::is_directory(argument, error)) {
      files.push_back(argument);
      continue;
    }
    std::vector<std::string> inside;
    for (fs::directory_iterator it(argument, error), end; !error && it != end; it.increment(error))
      if (!it->is_directory(error)) inside.push_back(it->path().string());
    if (error) inside = {argument};
    std::sort(inside.begin(), inside.end());
    files.insert(files.end(), inside.begin(), inside.end());
  }
  return files;
}

bool NamesSeveralFiles(const std::vector<std::string> &files) {
  std::error_code error;
  return files.size() > 1 || (files[0] != "-" && std::filesystem::is_directory(files[0], error));
}

// Every line of text, after "path: ", on standard error.
void PrintDiagnostics(const std::string &path, const std::string &text) {
  for (size_t start = 0, end; start < text.size(); start = end + 1) {
    end = std::min(text.find('\n', start), text.size());
    fprintf(stderr, "%s: %.*s\n", path.c_str(), static_cast<int>(end - start), &text[start]);
  }
}

// The modern reader's fields under "cta", as a single dump writes them, for an
// EDID that holds modern blocks.
void WriteCtaFields(const std::vector<uint8_t> &bytes, JsonWriter &line) {
  const CtaRecord cta = ReadCta(bytes);
  if (!cta.modern()) return;
  line.Key("cta");
  line.BeginArray();
  for (const auto &[name, value] : CtaFields(cta.info)) {
    line.BeginObject();
    line.Field("name", name);
    line.Field("value", value);
    line.EndObject();
  }
  line.EndArray();
}

// One line of JSON per file: {"path": ..., then the keys of a single dump}, or
// {"path", "error", "status"} for a file that cannot be read or decoded. The
// library's lines for a decoded file go to standard error after its path.
int RunJsonLines(const std::vector<std::string> &arguments) {
  // Many lines to a pipe or file: fewer, larger writes.
  static char output_buffer[1 << 16];
  setvbuf(stdout, output_buffer, _IOFBF, sizeof output_buffer);
  int worst = kExitOk;
  JsonWriter line;
  for (const std::string &path : ExpandDirectories(arguments)) {
    line.Clear();
    line.BeginObject();
    line.Field("path", path);
    const EdidInput input = ReadEdid(path);
    std::string diagnostics;
    int status = kExitOk;
    if (!input.error.empty()) {
      line.Field("error", input.error);
      status = kExitUnusableInput;
    } else if (DecodedEdid decoded; decoded.Decode(input.bytes, diagnostics)) {
      WriteEdidFields(decoded.record(), line);
      PrintDiagnostics(path, diagnostics);
    } else {
      while (!diagnostics.empty() && diagnostics.back() == '\n') diagnostics.pop_back();
      line.Field("error",
                 diagnostics.empty() ? "the library reported a decoding failure" : diagnostics);
      status = kExitLibraryFailed;
    }
    if (status != kExitOk) line.Field("status", status);
    if (input.error.empty()) WriteCtaFields(input.bytes, line);
    line.EndObject();
    worst = std::max(worst, status);
    fwrite(line.text().data(), 1, line.text().size(), stdout);
    fputc('\n', stdout);
  }
  return worst;
}

}  // namespace

int RunDump(const DumpOptions &options) {
  if (options.files.size() > 1 && !options.json)
    return Refuse("usage", "several FILEs are printed with --json only");
  if (options.json && NamesSeveralFiles(options.files)) {
    debug_enable(options.debug);
    return RunJsonLines(options.files);
  }
  const std::string name = DisplayName(options.files[0]);
  const EdidInput input = ReadEdid(options.files[0]);
  if (!input.error.empty()) return Refuse(name, input.error);
  if (const std::string missing = MissingBlocks(input.bytes); !missing.empty())
    fprintf(stderr, "edid-composer: %s: %s\n", name.c_str(), missing.c_str());
  debug_enable(options.debug);
  DecodedEdid edid;
  std::string diagnostics;
  const bool decoded = edid.Decode(input.bytes, diagnostics);
  // The modern blocks are shown whether or not the decoder accepted the EDID.
  const CtaRecord cta = ReadCta(input.bytes);
  if (options.json) {
    fputs(diagnostics.c_str(), stderr);
    if (const Json json = DumpJson(decoded ? &edid.record() : nullptr, cta); !json.is_null())
      fputs(JsonText(json).c_str(), stdout);
    return decoded ? kExitOk : kExitLibraryFailed;
  }
  const std::string title = options.title.empty() ? name : options.title;
  // The library prints the names an EDID holds as they are: escaped here.
  fputs(EscapeControls(DumpText(edid, decoded, diagnostics, input.bytes, options.summary, title))
            .c_str(),
        stdout);
  if (!options.summary && cta.modern()) fputs(CtaText(cta.info).c_str(), stdout);
  return decoded ? kExitOk : kExitLibraryFailed;
}

}  // namespace edc_tool
