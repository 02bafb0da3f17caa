// A transcript of calls: each call's label and result, then the lines it
// printed (normalized as capture.h does), for comparison with a golden file.
// Names stand in for addresses (and the list marks derived from them),
// which change from run to run.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace edc_test {

class Transcript {
 public:
  // Prints address as "<name>" and its list mark as "<mark name>".
  void Name(const void *address, const std::string &name);
  // A comment line that heads the calls after it.
  void Note(const std::string &line);
  // Runs call, recording "label -> result" and what it printed.
  void Call(const std::string &label, const std::function<long()> &call);
  std::string Text() const;

 private:
  std::string text_;
  std::vector<std::pair<std::string, std::string>> names_;
};

}  // namespace edc_test
