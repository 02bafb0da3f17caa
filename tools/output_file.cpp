#include "output_file.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "command.h"
#include "edid_output.h"

namespace edc_tool {

namespace {

// The folder of path, as a prefix ("" or "dir/").
std::string FolderOf(const std::string &path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

constexpr int kMaxLinks = 40;  // as the kernel follows

// The path with its symbolic links followed (the last one may be dangling:
// its target is then the file to create). false after too many links.
bool FollowLinks(std::string &path) {
  for (int links = 0; links < kMaxLinks; ++links) {
    struct stat status;
    if (lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return true;
    char target[PATH_MAX];
    const ssize_t length = readlink(path.c_str(), target, sizeof target - 1);
    if (length < 0) return false;
    const std::string text(target, static_cast<size_t>(length));
    path = text.starts_with('/') ? text : FolderOf(path) + text;
  }
  errno = ELOOP;
  return false;
}

}  // namespace

std::string OutputIsAnInput(const std::string &output,
                            const std::vector<std::pair<std::string, std::string>> &inputs) {
  struct stat out;
  if (stat(output.c_str(), &out) != 0) return "";
  for (const auto &[option, path] : inputs) {
    struct stat in;
    if (path.empty() || path == "-" || stat(path.c_str(), &in) != 0) continue;
    if (in.st_dev == out.st_dev && in.st_ino == out.st_ino)
      return "is the file " + option + " reads; choose another output file";
  }
  return "";
}

bool WriteOutput(const std::string &path, const std::string &contents, std::string &error) {
  std::string target = path;
  if (!FollowLinks(target)) {
    error = std::string("cannot follow its symbolic link: ") + strerror(errno);
    return false;
  }
  struct stat status;
  if (stat(target.c_str(), &status) != 0 || S_ISREG(status.st_mode))
    return WriteFileAtomically(target, contents, error);
  if (S_ISDIR(status.st_mode)) {
    error = "is a folder";
    return false;
  }
  // A device, FIFO or socket: written where it is, never replaced.
  const int fd = open(target.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) {
    error = std::string("cannot open: ") + strerror(errno);
    return false;
  }
  const bool written = WriteAll(fd, contents);
  const int write_errno = errno;
  if (close(fd) != 0 || !written) {
    error = std::string("cannot write: ") + strerror(written ? errno : write_errno);
    return false;
  }
  return true;
}

}  // namespace edc_tool

namespace edc_tool {

int FinishStandardOutput(int status) {
  errno = 0;
  const bool flushed = fflush(stdout) == 0;
  const int flush_errno = errno;
  if (flushed && ferror(stdout) == 0) return status;
  return Refuse("standard output",
                std::string("cannot write: ") +
                    (flush_errno != 0 ? strerror(flush_errno) : "part of the output was lost"));
}

}  // namespace edc_tool
