#include "edid_output.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace edc_tool {

namespace {

std::string Byte(const char *format, uint8_t value) {
  char text[8];
  snprintf(text, sizeof text, format, value);
  return text;
}

// The folder of path, as a prefix ("" or "dir/").
std::string FolderOf(const std::string &path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

mode_t NewFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

std::string HexText(const std::vector<uint8_t> &bytes) {
  constexpr size_t kPerLine = 16;
  std::string text;
  for (size_t i = 0; i < bytes.size(); ++i)
    text += Byte((i + 1) % kPerLine == 0 || i + 1 == bytes.size() ? "%02x\n" : "%02x ", bytes[i]);
  return text;
}

std::string CArrayText(const std::vector<uint8_t> &bytes, const std::string &comment_text) {
  constexpr size_t kPerLine = 8;
  std::string comment = comment_text;  // a "*/" inside would end the comment early
  for (size_t at; (at = comment.find("*/")) != std::string::npos;) comment.replace(at, 2, "* /");
  std::string text = "/* " + comment + " */\n";
  text += "const unsigned char edid[" + std::to_string(bytes.size()) + "] = {\n";
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (i % kPerLine == 0) text += "   ";
    text += Byte(" 0x%02x,", bytes[i]);
    if ((i + 1) % kPerLine == 0 || i + 1 == bytes.size()) text += "\n";
  }
  return text + "};\n";
}

std::string Render(OutputFormat format, const std::vector<uint8_t> &bytes,
                   const std::string &comment_text) {
  switch (format) {
    case OutputFormat::kHex:
      return HexText(bytes);
    case OutputFormat::kCArray:
      return CArrayText(bytes, comment_text);
    case OutputFormat::kBinary:
      break;
  }
  return std::string(bytes.begin(), bytes.end());
}

bool WriteAll(int fd, const std::string &contents) {
  size_t done = 0;
  while (done < contents.size()) {
    const ssize_t wrote = write(fd, contents.data() + done, contents.size() - done);
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) return false;
    done += static_cast<size_t>(wrote);
  }
  return true;
}

namespace {

// Holds back the signals that end the tool (Ctrl-C, kill, a closed terminal)
// while it lives, so that a temporary file is always renamed or removed
// before one of them takes effect.
class SignalsHeld {
 public:
  SignalsHeld() {
    sigset_t held;
    sigemptyset(&held);
    for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&held, signal);
    sigprocmask(SIG_BLOCK, &held, &previous_);
  }
  ~SignalsHeld() { sigprocmask(SIG_SETMASK, &previous_, nullptr); }
  SignalsHeld(const SignalsHeld &) = delete;
  SignalsHeld &operator=(const SignalsHeld &) = delete;

 private:
  sigset_t previous_;
};

}  // namespace

bool WriteFileAtomically(const std::string &path, const std::string &contents, std::string &error) {
  const SignalsHeld held;
  struct stat existing;
  const mode_t mode = stat(path.c_str(), &existing) == 0 ? existing.st_mode & 07777 : NewFileMode();
  std::string temporary = FolderOf(path) + ".edid-composer-XXXXXX";
  const int fd = mkstemp(temporary.data());
  if (fd < 0) {
    error = std::string("cannot create a temporary file beside it: ") + strerror(errno);
    return false;
  }
  const bool written = WriteAll(fd, contents) && fchmod(fd, mode) == 0 && fsync(fd) == 0;
  const int write_errno = errno;
  if (close(fd) != 0 || !written) {
    error = std::string("cannot write: ") + strerror(written ? errno : write_errno);
    unlink(temporary.c_str());
    return false;
  }
  if (rename(temporary.c_str(), path.c_str()) != 0) {
    error = std::string("cannot replace: ") + strerror(errno);
    unlink(temporary.c_str());
    return false;
  }
  return true;
}

}  // namespace edc_tool
