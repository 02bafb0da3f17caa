// The corpus televisions that the benchmarks and the instruction counts run
// over: every EDID of tests/corpus whose manifest class is "tv" or "hdmi3d"
// (real televisions with a CEA-861 extension), read once.
#pragma once

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace edc_bench {

inline std::vector<uint8_t> ReadBytes(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The manifest's first column is the file, its fifth the class; an empty
// class list takes every EDID.
inline std::vector<std::vector<uint8_t>> CorpusEdids(const std::string &corpus_dir,
                                                     const std::vector<std::string> &classes) {
  std::vector<std::vector<uint8_t>> edids;
  std::ifstream manifest(corpus_dir + "/MANIFEST.tsv");
  std::string line;
  std::getline(manifest, line);  // header
  while (std::getline(manifest, line)) {
    std::istringstream fields(line);
    std::string file, column, klass;
    std::getline(fields, file, '\t');
    for (int i = 0; i < 4; ++i) std::getline(fields, klass, '\t');
    if (classes.empty() || std::find(classes.begin(), classes.end(), klass) != classes.end())
      edids.push_back(ReadBytes(corpus_dir + "/edid/" + file));
  }
  return edids;
}

inline std::vector<std::vector<uint8_t>> CorpusTelevisions(const std::string &corpus_dir) {
  return CorpusEdids(corpus_dir, {"tv", "hdmi3d"});
}

}  // namespace edc_bench
