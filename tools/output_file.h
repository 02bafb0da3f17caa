// Where -o writes: the file a path names after its symbolic links, written
// in the way its kind allows.
#pragma once

#include <string>
#include <vector>

namespace edc_tool {

// The problem with writing to output when it is the same file (device and
// inode, after links) as one of inputs, named by the option in front of each
// ("--config FILE"); "" when it is none of them or does not exist yet.
std::string OutputIsAnInput(const std::string &output,
                            const std::vector<std::pair<std::string, std::string>> &inputs);

// Writes contents to the file path names. A symbolic link is followed and
// its target replaced in one step in the target's folder; a regular file (or
// none) is replaced in one step; a device, FIFO or socket is opened and
// written, never replaced; a folder is refused. On failure returns false
// with the reason in error.
bool WriteOutput(const std::string &path, const std::string &contents, std::string &error);

}  // namespace edc_tool

namespace edc_tool {

// Flushes standard output and returns status, or, when any write to it
// failed (a full disk, a closed pipe, /dev/full), says so in one line on
// standard error and returns kExitUnusableInput.
int FinishStandardOutput(int status);

}  // namespace edc_tool
