// Composition end to end over every EDID of the real corpus with the sample
// configuration (examples/platform.toml): the result has valid checksums,
// this library and Debian's edid-decode read it, and edid-decode --check
// finds nothing but what the fixed shape of a composed EDID always gives
// (tests/data/check_failures.txt).
// The televisions' results are summarised in tests/golden/compose_televisions.txt,
// so that a change of selection policy shows as a readable diff.
#include "edc_test.h"
#include "edid_composer.h"

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#else
#define RUNNING_ON_VALGRIND 0
#endif

using namespace edc_test;  // NOLINT: record and line helpers throughout

namespace {

// The kinds of failure that edid-decode --check reports (its failure lines,
// not their indented details).
std::set<std::string> CheckFailures(const std::string &report) {
  std::set<std::string> kinds;
  bool failures = false;
  for (const auto &line : SplitLines(report)) {
    if (line.starts_with("Failures:") || line.starts_with("EDID conformity"))
      failures = line.starts_with("Failures:");
    else if (failures && line.starts_with("  ") && !line.starts_with("    "))
      kinds.insert(std::regex_replace(line.substr(2), std::regex("[0-9]+(\\.[0-9]+)?"), "N"));
  }
  return kinds;
}

// One television's composed EDID, as decoded here, in two lines.
std::string Summary(const std::string &file, edid_t &e) {
  std::string vics;
  for (int i = 0; i < e.hdmi_vic_len && i < 7; ++i) vics += " " + std::to_string(e.hdmi_vic[i]);
  return Format("%-24s v %s |", file.c_str(), Text(&e.video_list).c_str()) + " 4k" +
         (vics.empty() ? " -" : vics) +
         Format(
             " | pa %d.%d.%d.%d tmds %u lat %u %u %u %u 3d %d dc %d%d%d ai %d cnc %d%d%d%d xv "
             "%d%d\n",
             e.address.a, e.address.b, e.address.c, e.address.d, e.max_tmds_clock, e.video_latency,
             e.audio_latency, e.interlaced_video_latency, e.interlaced_audio_latency, e.present_3d,
             e.dc_30bit, e.dc_36bit, e.dc_y444, e.supports_ai, e.cnc0, e.cnc1, e.cnc2, e.cnc3,
             e.xvycc601, e.xvycc709) +
         "    a " + Text(&e.audio_list) + "\n";
}

TEST(ComposeCorpus, EveryEdidComposesIntoOneThatBothDecodersReadAndEdidDecodeAccepts) {
  SampleConfig config;
  const size_t stride = RUNNING_ON_VALGRIND ? 15 : 1;  // valgrind: a sample
  const std::string folder = testing::TempDir() + "edc_composed_" + std::to_string(getpid());
  ASSERT_EQ(RunCommand("mkdir -p '" + folder + "' && echo ok"), "ok\n");
  std::string summaries =
      "# file, the selected video modes, 4Kx2K modes, address, TMDS clock, "
      "latencies, 3D, deep colour 30/36/y444, AI, content types, xvYCC\n"
      "# 601/709; then the audio formats (format channels rates depths "
      "rate value profile)\n";
  std::vector<const CorpusEdid *> composed;
  for (size_t n = 0; n < Corpus().size(); n += stride) {
    const CorpusEdid &entry = Corpus()[n];
    SCOPED_TRACE(entry.file);
    composer_cfg_t cfg = CorpusSettings();
    Bytes out(256);
    bool result = false;
    debug_enable(n % 10 == 0);  // the traces and the check decode, on a tenth
    const std::string printed = Capture([&] {
      result = compose_edid(entry.bytes.data(), static_cast<int32_t>(entry.bytes.size()),
                            out.data(), 256, &cfg);
    });
    debug_enable(false);
    ASSERT_TRUE(result) << printed;
    EXPECT_FALSE(std::regex_search(printed, std::regex(" BUG: |the new edid"))) << printed;
    PreparedEdid back;
    DecodeComposed(out, &back.edid);
    if (entry.file.starts_with("tv-") || entry.file.starts_with("hdmi3d-") ||
        entry.file.starts_with("multi-"))
      summaries += Summary(entry.file.substr(0, entry.file.size() - 4), back.edid);
    std::ofstream(folder + "/" + std::to_string(composed.size()) + ".bin", std::ios::binary)
        .write(reinterpret_cast<const char *>(out.data()), 256);
    composed.push_back(&entry);
  }

  std::map<std::string, int> failures;
  std::set<std::string> expected;  // tests/data/check_failures.txt
  for (const Line &line : ReadRows("check_failures.txt")) expected.insert(line.text);
  ASSERT_EQ(expected.size(), 7u);
  std::vector<std::string> files;  // one shell runs edid-decode --check on each
  for (size_t i = 0; i < composed.size(); ++i) files.push_back(std::to_string(i) + ".bin");
  const auto reports = RunForEach(folder, files, "edid-decode --check \"$f\" 2>/dev/null");
  for (size_t i = 0; i < composed.size(); ++i) {
    SCOPED_TRACE(composed[i]->file);
    const std::string &report = reports[i];
    EXPECT_NE(report.find("Block 1, CTA-861 Extension Block:"), std::string::npos) << report;
    EXPECT_FALSE(std::regex_search(report, std::regex("Invalid checksum|[(]should be"))) << report;
    for (const auto &kind : CheckFailures(report)) {
      ++failures[kind];
      EXPECT_TRUE(expected.contains(kind)) << "edid-decode --check: " << kind;
    }
  }
  RunCommand("rm -rf '" + folder + "'");
  printf("composed %zu EDIDs; EDIDs per kind of edid-decode --check failure:\n", composed.size());
  for (const auto &[kind, count] : failures) printf("%5d %s\n", count, kind.c_str());
  if (stride == 1) ExpectGolden("compose_televisions.txt", summaries);
}

}  // namespace
