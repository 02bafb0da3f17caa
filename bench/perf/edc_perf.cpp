// The instruction counts of scripts/perf.sh: runs one operation over the
// corpus televisions inside a function of its own, which callgrind alone
// measures (--toggle-collect), so that reading the files and starting the
// process are not counted.
//   edc_perf decode CORPUS_DIR
//   edc_perf cta CORPUS_DIR   (the modern CTA-861 reader)
//   edc_perf compose CORPUS_DIR PLATFORM_TOML
//   edc_perf profile CORPUS_DIR PLATFORM_TOML   (compose_edid_profile, its keys read too)
// Prints the number of EDIDs on standard error; the library's own lines go
// to standard output.
//
// And the soak: every corpus EDID composed ROUNDS times in one process with
// one configuration, printing the peak resident set size after the first
// round and every tenth of the way, which must stay flat:
//   edc_perf soak CORPUS_DIR PLATFORM_TOML ROUNDS
#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "compose_profile.h"
#include "config_store.h"
#include "corpus.h"
#include "cta_reader.h"
#include "edid_composer.h"
#include "edid_decode_encode.h"

using Edids = std::vector<std::vector<uint8_t>>;

extern "C" __attribute__((noinline)) void edc_perf_decode(const Edids &edids) {
  for (const auto &bytes : edids) {
    edid_t edid;
    edid_prepare(&edid);
    decode_edid_block_0(bytes.data(), &edid);
    decode_edid_extensions(bytes.data() + 128, static_cast<uint32_t>(bytes.size() - 128), &edid);
    edid_destroy(&edid);
  }
}

extern "C" __attribute__((noinline)) void edc_perf_cta(const Edids &edids) {
  static cta_info_t info;  // about 4 KiB: kept off the stack
  for (const auto &bytes : edids)
    cta_read_edid(bytes.data(), static_cast<uint32_t>(bytes.size()), &info);
}

// 1080p60 out, every audio format, 3D as the television.
composer_cfg_t Settings() {
  composer_cfg_t cfg{};
  cfg.hdmi_current_mode = {1920, 1080, 0, 60};
  cfg.audio_mask = 0xFFFFFFFF;
  cfg.setting_3d = 1;
  return cfg;
}

extern "C" __attribute__((noinline)) void edc_perf_compose(const Edids &edids) {
  composer_cfg_t cfg = Settings();
  uint8_t out[256];
  for (const auto &bytes : edids)
    compose_edid(bytes.data(), static_cast<int32_t>(bytes.size()), out, sizeof out, &cfg);
}

extern "C" __attribute__((noinline)) void edc_perf_profile(const Edids &edids) {
  composer_cfg_t cfg = Settings();
  uint8_t out[256];
  for (const auto &bytes : edids)
    compose_edid_profile(bytes.data(), static_cast<int32_t>(bytes.size()), out, sizeof out, &cfg,
                         nullptr);
}

// Peak resident set size so far, in KiB.
long PeakRssKib() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

int Soak(const char *corpus_dir, long rounds) {
  const Edids edids = edc_bench::CorpusEdids(corpus_dir, {});
  long first = 0;
  for (long round = 1; round <= rounds; ++round) {
    edc_perf_compose(edids);
    if (round == 1) first = PeakRssKib();
    if (round == 1 || round % (rounds / 10 > 0 ? rounds / 10 : 1) == 0)
      fprintf(stderr, "round %ld: %zu compositions, peak RSS %ld KiB\n", round,
              static_cast<size_t>(round) * edids.size(), PeakRssKib());
  }
  const long last = PeakRssKib();
  fprintf(stderr, "peak RSS after round 1: %ld KiB, after round %ld: %ld KiB (%s)\n", first, rounds,
          last, last == first ? "flat" : "GREW");
  return last == first ? 0 : 1;
}

int main(int argc, char **argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: edc_perf decode|cta|compose|profile CORPUS_DIR [PLATFORM_TOML]\n");
    return 2;
  }
  if (strcmp(argv[1], "soak") == 0 && argc == 5) {
    if (config_store_load_file(argv[3]) != 0) return 2;
    return Soak(argv[2], strtol(argv[4], nullptr, 10));
  }
  const Edids edids = edc_bench::CorpusTelevisions(argv[2]);
  if (strcmp(argv[1], "decode") == 0) {
    edc_perf_decode(edids);
  } else if (strcmp(argv[1], "cta") == 0) {
    edc_perf_cta(edids);
  } else if (strcmp(argv[1], "compose") == 0 && argc == 4) {
    if (config_store_load_file(argv[3]) != 0) return 2;
    edc_perf_compose(edids);
  } else if (strcmp(argv[1], "profile") == 0 && argc == 4) {
    if (config_store_load_file(argv[3]) != 0) return 2;
    edc_perf_profile(edids);
  } else {
    fprintf(stderr, "edc_perf: unknown operation %s\n", argv[1]);
    return 2;
  }
  fprintf(stderr, "%zu\n", edids.size());
  return 0;
}
