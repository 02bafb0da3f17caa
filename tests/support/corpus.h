// The real EDIDs of tests/corpus/, as its manifest lists them.
#pragma once

#include <string>
#include <vector>

#include "capture.h"

namespace edc_test {

struct CorpusEdid {
  std::string file;  // name in tests/corpus/edid/
  std::string path;
  int blocks = 0;
  std::string odd;  // reasons for the odd class: ",version,analog,"
  Bytes bytes;
  // The first of reasons ("version analog") that the EDID has, or "".
  std::string FirstOdd(const std::string &reasons) const;
};

// A file of the corpus (tests/corpus/edid/<name>).
Bytes CorpusBytes(const std::string &name);

// Every EDID of the manifest with its bytes, read once per process.
const std::vector<CorpusEdid> &Corpus();

// What Debian's edid-decode prints for each of them ("" where it crashes),
// in the same order; run once per process.
const std::vector<std::string> &EdidDecodeTexts();

// Bytes as xxd -p prints them: hex, 30 bytes a line.
std::string XxdText(const Bytes &bytes);

}  // namespace edc_test
