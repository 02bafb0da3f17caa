// File-internal functions of linked_list.cpp, reachable from the tests
// through the static library, and the library's own fast paths into the
// list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "linked_list.h"

extern "C" {
uint32_t _get_magic_number(ll_list_t *list);
uint32_t _calculate_str_checksum(const char *type);
}

namespace edc {

// The type code of an element type's name: each byte, sign-extended, XORed
// in at byte position 0, 1, 2, 3, 0, ... This is _calculate_str_checksum;
// being constexpr, it gives the library's own type names their codes when
// the library is compiled, not at every entry.
constexpr uint32_t type_code(std::string_view name) {
  uint32_t code = 0;
  for (size_t i = 0; i < name.size(); ++i) {
    const auto extended = static_cast<uint32_t>(static_cast<int32_t>(static_cast<int8_t>(name[i])));
    code ^= extended << (8 * (i % 4));
  }
  return code;
}
static_assert(type_code("short_video_desc_t") == 0x27054358 && type_code("int") == 0x00746E69);

// ll_init, ll_create_entry and ll_verify_list_type for a type name whose
// code the caller already knows (code is type_code(type)): the same checks,
// the same reports under the same function names, the same result.
uint8_t init_list(ll_list_t *list, const char *type, uint32_t code);
uint8_t create_entry(int32_t size, ll_entry_t **entry, void **data, const char *type,
                     uint32_t code);
uint8_t list_has_type(ll_list_t *list, const char *type, uint32_t code);

}  // namespace edc
