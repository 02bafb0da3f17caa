// Timing and mode lookups in the VIC table: the composer converts every
// detailed timing and standard timing of a television, and its current mode.
#include <benchmark/benchmark.h>

#include "utility.h"

namespace {

// A 16:9 monitor, so that timings with no image size still decide.
edid_t Monitor() {
  edid_t edid{};
  edid.h_size_cm = 16;
  edid.v_size_cm = 9;
  return edid;
}

detailed_timing_t TimingOfVic(uint32_t vic) {
  detailed_timing_t timing{};
  convert_vic_to_dtd(vic, &timing);
  return timing;
}

// Argument 0: a match on row 1, 1: on row 64 (the whole table read), 2: a
// VESA 1024x768 timing that no row has (the whole table, and no trace).
void BM_DtdToVic(benchmark::State &state) {
  detailed_timing_t timing;
  switch (state.range(0)) {
    case 0:
      timing = TimingOfVic(1);
      break;
    case 1:
      timing = TimingOfVic(64);
      break;
    default:
      timing = TimingOfVic(1);  // then made 1024x768 at 65 MHz
      timing.pixel_clock = 65000000;
      timing.h_active = 1024;
      timing.h_blanking = 320;
      timing.v_active = 768;
      timing.v_blanking = 38;
  }
  edid_t edid = Monitor();
  for (auto _ : state) {
    uint32_t vic = 0;
    benchmark::DoNotOptimize(convert_dtd_to_vic(&edid, &timing, &vic));
    benchmark::DoNotOptimize(vic);
  }
}
BENCHMARK(BM_DtdToVic)->Arg(0)->Arg(1)->Arg(2);

// Argument 0: 1920x1080p60 (row 16), 1: 1920x1080p100 (row 64), 2: 3840x2160p30 (no row).
void BM_ModeToVic(benchmark::State &state) {
  const hdmi_mode_t modes[] = {{1920, 1080, 0, 60}, {1920, 1080, 0, 100}, {3840, 2160, 0, 30}};
  hdmi_mode_t mode = modes[state.range(0)];
  for (auto _ : state) {
    uint32_t vic = 0;
    benchmark::DoNotOptimize(mode_to_vic(&mode, &vic));
    benchmark::DoNotOptimize(vic);
  }
}
BENCHMARK(BM_ModeToVic)->Arg(0)->Arg(1)->Arg(2);

}  // namespace
