// Decoding and composing over the corpus televisions (700 real EDIDs); one
// iteration is one EDID, so the times read per EDID. Composing reads
// the platform configuration (examples/platform.toml) on every call, as it
// does on a device.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "config_store.h"
#include "corpus.h"
#include "compose_profile.h"
#include "edid_composer.h"
#include "edid_decode_encode.h"
#include "utility.h"

namespace {

const std::vector<std::vector<uint8_t>> &Televisions() {
  static const auto edids = edc_bench::CorpusTelevisions(EDC_CORPUS_DIR);
  return edids;
}

// The library reports on standard output (a television that offers too
// few formats, say); those lines go nowhere while measuring.
class DiscardedStdout {
 public:
  DiscardedStdout() : saved_(dup(STDOUT_FILENO)), null_(open("/dev/null", O_WRONLY)) {
    fflush(stdout);
    dup2(null_, STDOUT_FILENO);
  }
  ~DiscardedStdout() {
    fflush(stdout);
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
    close(null_);
  }

 private:
  int saved_, null_;
};

void DecodeCorpusTelevisions(benchmark::State &state, bool traces) {
  const auto &edids = Televisions();
  DiscardedStdout quiet;
  debug_enable(traces);
  size_t next = 0;
  for (auto _ : state) {
    const auto &bytes = edids[next++ % edids.size()];
    edid_t edid;
    edid_prepare(&edid);
    benchmark::DoNotOptimize(decode_edid_block_0(bytes.data(), &edid));
    benchmark::DoNotOptimize(decode_edid_extensions(
        bytes.data() + 128, static_cast<uint32_t>(bytes.size() - 128), &edid));
    edid_destroy(&edid);
  }
  debug_enable(false);
}

void BM_DecodeCorpusTelevisions(benchmark::State &state) {
  DecodeCorpusTelevisions(state, false);
}
// With the library's trace lines on (written to /dev/null).
void BM_DecodeCorpusTelevisionsWithTraces(benchmark::State &state) {
  DecodeCorpusTelevisions(state, true);
}
BENCHMARK(BM_DecodeCorpusTelevisions);
BENCHMARK(BM_DecodeCorpusTelevisionsWithTraces);

void ComposeCorpusTelevisions(benchmark::State &state, const char *config, bool profile) {
  const auto &edids = Televisions();
  if (config_store_load_file(config) != 0) {
    state.SkipWithError("the example configuration does not load");
    return;
  }
  DiscardedStdout quiet;
  composer_cfg_t cfg{};
  cfg.hdmi_current_mode = {1920, 1080, 0, 60};
  cfg.audio_mask = 0xFFFFFFFF;
  cfg.setting_3d = 1;
  uint8_t out[256];
  size_t next = 0;
  for (auto _ : state) {
    const auto &bytes = edids[next++ % edids.size()];
    const auto size = static_cast<int32_t>(bytes.size());
    benchmark::DoNotOptimize(
        profile ? compose_edid_profile(bytes.data(), size, out, sizeof out, &cfg, nullptr)
                : compose_edid(bytes.data(), size, out, sizeof out, &cfg));
  }
  config_store_clear();
}
void BM_ComposeCorpusTelevisions(benchmark::State &state) {
  ComposeCorpusTelevisions(state, EDC_EXAMPLES_DIR "/platform.toml", false);
}
// In the modern profile, for the 4K60 HDR example device.
void BM_ComposeProfileCorpusTelevisions(benchmark::State &state) {
  ComposeCorpusTelevisions(state, EDC_EXAMPLES_DIR "/modern-4k60-hdr.toml", true);
}
BENCHMARK(BM_ComposeProfileCorpusTelevisions);
BENCHMARK(BM_ComposeCorpusTelevisions);

}  // namespace
