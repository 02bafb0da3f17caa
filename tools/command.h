// What the commands share: exit statuses and the one line that refuses input.
#pragma once

#include <string>

namespace edc_tool {

// Exit statuses of every command.
constexpr int kExitOk = 0;
constexpr int kExitLibraryFailed = 1;  // decoding or composing failed; the library says why
constexpr int kExitUnusableInput = 2;  // a file or an option value cannot be used

// Prints "edid-composer: <what>: <problem>" on standard error and returns
// kExitUnusableInput. what names the file or option that cannot be used.
int Refuse(const std::string &what, const std::string &problem);

// How a file argument is named in messages: "standard input" for "-".
std::string DisplayName(const std::string &path);

}  // namespace edc_tool
