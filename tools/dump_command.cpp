#include "dump_command.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "edid_composer.h"
#include "edid_decode_encode.h"
#include "edid_input.h"
#include "utility.h"

namespace edc_tool {

namespace {

constexpr size_t kBlockSize = 128;

// Points standard output at /dev/null for its lifetime.
class SilencedStdout {
 public:
  SilencedStdout() {
    fflush(stdout);
    const int null_fd = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null_fd < 0) return;
    saved_fd_ = dup(STDOUT_FILENO);
    if (saved_fd_ >= 0 && dup2(null_fd, STDOUT_FILENO) < 0) {
      close(saved_fd_);
      saved_fd_ = -1;
    }
    close(null_fd);
  }
  ~SilencedStdout() {
    if (saved_fd_ < 0) return;
    fflush(stdout);
    dup2(saved_fd_, STDOUT_FILENO);
    close(saved_fd_);
  }
  SilencedStdout(const SilencedStdout &) = delete;
  SilencedStdout &operator=(const SilencedStdout &) = delete;
  bool ok() const { return saved_fd_ >= 0; }

 private:
  int saved_fd_ = -1;
};

// Decodes bytes as print_edid does (block 0, then the extensions when there
// are any) and says whether the library reported no failure.
bool DecodesCleanly(const std::vector<uint8_t> &bytes) {
  edid_t edid;
  if (!edid_prepare(&edid)) return false;
  bool decoded = decode_edid_block_0(bytes.data(), &edid) != 0;
  if (decoded && bytes.size() > kBlockSize)
    decoded = decode_edid_extensions(bytes.data() + kBlockSize,
                                     static_cast<uint32_t>(bytes.size() - kBlockSize), &edid) != 0;
  return edid_destroy(&edid) != 0 && decoded;
}

}  // namespace

CLI::App *AddDumpCommand(CLI::App &app, DumpOptions &options) {
  CLI::App *dump = app.add_subcommand("dump", "Print an EDID as text");
  dump->footer(
      "FILE is a binary EDID (as in /sys/class/drm/*/edid), hex text (as edid-decode or\n"
      "xxd -p print it) or - for standard input.\n"
      "Exit status: 0 decoded, 1 the library reported a decoding failure, 2 unusable input.");
  dump->add_flag("--summary", options.summary,
                 "Print the summary form (identity, video formats, audio, physical address) "
                 "instead of every field");
  dump->add_option("--title", options.title,
                   "Text of the first line (default: FILE, or \"standard input\" for -)");
  dump->add_flag("--debug", options.debug, "Turn on the library's trace lines");
  dump->add_option("FILE", options.file, "The EDID to print; - for standard input")->required();
  return dump;
}

int RunDump(const DumpOptions &options) {
  const std::string name = options.file == "-" ? "standard input" : options.file;
  const EdidInput input = ReadEdid(options.file);
  if (!input.error.empty()) {
    fprintf(stderr, "edid-composer: %s: %s\n", name.c_str(), input.error.c_str());
    return kExitUnusableInput;
  }
  // print_edid returns nothing, so the exit status comes from a first,
  // silent decode; decoding is deterministic, so both agree. The decoders
  // report on standard output, hence the silencing.
  bool decoded = false;
  {
    SilencedStdout silenced;
    if (!silenced.ok()) {
      fprintf(stderr, "edid-composer: cannot open /dev/null: %s\n", strerror(errno));
      return kExitUnusableInput;
    }
    decoded = DecodesCleanly(input.bytes);
  }
  debug_enable(options.debug);
  const std::string title = options.title.empty() ? name : options.title;
  print_edid(input.bytes.data(), static_cast<uint32_t>(input.bytes.size()), options.summary ? 1 : 0,
             title.c_str());
  fflush(stdout);
  return decoded ? kExitDecoded : kExitDecodeFailed;
}

}  // namespace edc_tool
