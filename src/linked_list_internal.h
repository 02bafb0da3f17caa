// File-internal functions of linked_list.cpp, reachable from the tests
// through the static library.
#pragma once

#include "linked_list.h"

extern "C" {
uint32_t _get_magic_number(ll_list_t *list);
uint32_t _calculate_str_checksum(const char *type);
}
