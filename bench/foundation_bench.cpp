// The typed list and the configuration store: the costs every other stage
// pays. Lists are deliberately verified on every operation.
#include <benchmark/benchmark.h>

#include <cstring>

#include "config_store.h"
#include "linked_list.h"
#include "typed_list.h"
#include "utility.h"

namespace {

// Builds and frees a list of n ints: quadratic by design (every append walks
// and verifies the whole list).
void BM_ListBuild(benchmark::State &state) {
  const int n = static_cast<int>(state.range(0));
  for (auto _ : state) {
    ll_list_t list;
    memset(&list, 0, sizeof list);
    ll_init(&list, "int");
    for (int32_t i = 0; i < n; ++i) edc::append_copy(&list, i, EDC_HERE);
    benchmark::DoNotOptimize(ll_size(&list));
    ll_delete_list(&list);
  }
}
BENCHMARK(BM_ListBuild)->Arg(8)->Arg(32)->Arg(64);

// One configuration read through get_pc_uint against a loaded store.
void BM_ConfigRead(benchmark::State &state) {
  config_store_load_string(
      "[platform.software.drivers.avcap.edid]\nweek = 12\nyear = 2020\nserial = 77\n");
  for (auto _ : state) benchmark::DoNotOptimize(get_pc_uint("week", 0, 255, 1, false));
  config_store_clear();
}
BENCHMARK(BM_ConfigRead);

}  // namespace
