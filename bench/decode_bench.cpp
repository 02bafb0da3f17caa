// Decoding a real television EDID (base block and CEA-861 extension with an
// HDMI vendor block and 3D), with the debug traces off and on.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include "edid_decode_encode.h"
#include "utility.h"

namespace {

std::vector<uint8_t> CorpusEdid() {
  std::ifstream in(EDC_CORPUS_DIR "/edid/hdmi3d-01fed248b978.bin", std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void Decode(benchmark::State &state, bool debug) {
  const auto bytes = CorpusEdid();
  if (bytes.size() < 256) {
    state.SkipWithError("corpus EDID missing");
    return;
  }
  debug_enable(debug);
  // The traces go to standard output: send them nowhere while measuring.
  fflush(stdout);
  const int saved = dup(STDOUT_FILENO);
  const int null = open("/dev/null", O_WRONLY);
  dup2(null, STDOUT_FILENO);
  for (auto _ : state) {
    edid_t edid;
    edid_prepare(&edid);
    benchmark::DoNotOptimize(decode_edid_block_0(bytes.data(), &edid));
    benchmark::DoNotOptimize(decode_edid_extensions(bytes.data() + 128, 128, &edid));
    edid_destroy(&edid);
  }
  fflush(stdout);
  dup2(saved, STDOUT_FILENO);
  close(saved);
  close(null);
  debug_enable(false);
}

void BM_DecodeTelevisionEdid(benchmark::State &state) {
  Decode(state, false);
}
void BM_DecodeTelevisionEdidWithTraces(benchmark::State &state) {
  Decode(state, true);
}
BENCHMARK(BM_DecodeTelevisionEdid);
BENCHMARK(BM_DecodeTelevisionEdidWithTraces);

}  // namespace
