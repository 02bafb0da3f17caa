// Golden files: whole expected outputs kept as text under tests/golden/,
// reviewed by hand once and compared byte for byte afterwards; transcripts
// of calls to compare with them.
//
// To rewrite them deliberately (after a reviewed change of the output):
//   EDC_UPDATE_GOLDEN=1 build/gcc/tests/edc_unit_tests --gtest_filter=<tests>
// then read the diff (git diff tests/golden) before committing it.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace edc_test {

// Compares text with tests/golden/<name>; reports the first differing line.
void ExpectGolden(const std::string &name, const std::string &text);

// A transcript of calls: each call's label and result, then the lines it
// printed (normalized as capture.h does). Names stand in for addresses (and
// the list marks derived from them), which change from run to run.
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
