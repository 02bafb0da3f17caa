// Golden files: whole expected outputs kept as text under tests/golden/,
// reviewed by hand once and compared byte for byte afterwards.
//
// To rewrite them deliberately (after a reviewed change of the output):
//   EDC_UPDATE_GOLDEN=1 build/gcc/tests/edc_unit_tests --gtest_filter=<tests>
// then read the diff (git diff tests/golden) before committing it.
#pragma once

#include <string>

namespace edc_test {

// Compares text with tests/golden/<name>; reports the first differing line.
void ExpectGolden(const std::string &name, const std::string &text);

}  // namespace edc_test
