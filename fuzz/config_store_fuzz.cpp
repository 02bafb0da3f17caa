// Arbitrary text as a TOML configuration: the store must load it or refuse it
// cleanly, and every lookup over what it loaded must stay safe.
#include <cstddef>
#include <cstdint>
#include <string>

#include "config_store.h"

namespace {

// Visits every node below node (bounded, in case of a cycle bug).
void Walk(uint32_t node, int depth, int &budget) {
  char text[32];
  int32_t value = 0;
  config_node_get_name(node, text, sizeof text);
  config_node_get_int(node, &value);
  config_node_get_str(node, text, sizeof text);
  if (depth > 64) return;
  uint32_t child = 0;
  if (config_node_first_child(node, &child) != 0) return;
  do {
    if (--budget < 0) return;
    Walk(child, depth + 1, budget);
  } while (config_node_next_sibling(child, &child) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string text(reinterpret_cast<const char *>(data), size);
  if (config_store_load_string(text.c_str()) == 0) {
    uint32_t root = 0;
    if (config_node_find(0, "", &root) == 0) {
      int budget = 100000;
      Walk(root, 0, budget);
    }
    int32_t value = 0;
    char buffer[16];
    config_get_int(0, "a", &value);
    config_get_str(0, "a.b", buffer, sizeof buffer);
  }
  config_store_clear();
  return 0;
}
