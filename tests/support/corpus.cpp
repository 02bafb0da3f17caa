#include "edc_test.h"

namespace edc_test {

std::string CorpusEdid::FirstOdd(const std::string &reasons) const {
  std::istringstream in(reasons);
  std::string reason;
  while (in >> reason && odd.find("," + reason + ",") == std::string::npos) reason.clear();
  return reason;
}

Bytes CorpusBytes(const std::string &name) {
  return ReadFile(CorpusDir() + "/edid/" + name);
}

const std::vector<CorpusEdid> &Corpus() {
  static const std::vector<CorpusEdid> corpus = [] {
    std::vector<CorpusEdid> all;
    for (const auto &row : ReadRows("../corpus/MANIFEST.tsv"))  // with its heading, "file ..."
      if (row.size() > 10 && row[0] != "file") {
        const std::string path = CorpusDir() + "/edid/" + row[0];
        all.push_back({row[0], path, std::stoi(row[2]), "," + row[10] + ",", ReadFile(path)});
      }
    EXPECT_GT(all.size(), 1000u) << "corpus manifest missing or short";
    return all;
  }();
  return corpus;
}

const std::vector<std::string> &EdidDecodeTexts() {
  static const std::vector<std::string> texts = [] {
    std::vector<std::string> files;
    for (const CorpusEdid &c : Corpus()) files.push_back(c.file);
    return RunForEach(CorpusDir() + "/edid", files, "edid-decode \"$f\" 2>/dev/null");
  }();
  return texts;
}

std::string XxdText(const Bytes &bytes) {
  std::string text;
  for (size_t at = 0; at < bytes.size(); ++at)
    text += Format((at + 1) % 30 == 0 || at + 1 == bytes.size() ? "%02x\n" : "%02x", bytes[at]);
  return text;
}

}  // namespace edc_test
