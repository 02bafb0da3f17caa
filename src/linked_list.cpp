// Typed, self-checking singly linked list.
//
// A head is bound to its own address through its mark (address XOR
// 0xA0A06060), so a zeroed, stale or moved head reads as uninitialised. Every
// entry carries the code of its element type's name. Each operation but
// ll_is_initialized, ll_verify_list_type and ll_delete_entry walks the whole
// list to verify it before doing anything. Lists hold a few dozen entries at
// most, so the walks (and the quadratic cost of building a list without a
// tail pointer) are deliberate: the integrity rules cover every pointer there is.
#include "linked_list.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "diagnostics.h"
#include "linked_list_internal.h"

using edc::as_int;

namespace {

constexpr uint32_t kMagicXor = 0xA0A06060u;

// The mark of an initialised head: its address XOR 0xA0A06060.
uint32_t mark_of(const ll_list_t *list) {
  return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(list)) ^ kMagicXor;
}

constexpr const char kLlVerifyIntegrity[] = "ll_verify_integrity";

// The reports of a NULL argument, at the caller's site, in the wordings the
// operations have always used: "list ptr is NULL." for the operations on a
// head, "\"type\" ptr is NULL. type=(nil)", and
// "\"<name>\" parameter is NULL. <name>:(nil)" (or "pointer is NULL"). Each
// gives 0 for the caller to return. Callers test the pointer themselves and
// pass their line and name as plain arguments: the tests run on every list
// operation, and so cost no more than a compare.
[[gnu::cold]] int null_head(int line, const char *func) {
  diag_line("ERROR", __FILE_NAME__, line, func, "list ptr is NULL.");
  return 0;
}

[[gnu::cold]] int null_type(int line, const char *func) {
  diag_line("ERROR", __FILE_NAME__, line, func, "\"type\" ptr is NULL. type=%p",
            static_cast<const void *>(nullptr));
  return 0;
}

[[gnu::cold]] int null_argument(int line, const char *func, const char *name,
                                const char *noun = "parameter") {
  diag_line("ERROR", __FILE_NAME__, line, func, "\"%s\" %s is NULL. %s:%p", name, noun, name,
            static_cast<const void *>(nullptr));
  return 0;
}

// ll_verify_integrity, which also gives the list's last entry (nullptr for
// an empty list) to a caller that asks, so that appending needs no second
// walk.
uint8_t integrity(ll_list_t *list, ll_entry_t **last) {
  if (list == nullptr) return null_argument(__LINE__, kLlVerifyIntegrity, "list");
  const uint32_t expected = mark_of(list);
  if (list->magic != expected) {
    // The labels stand before the other value ("ExpectedMagic" shows the stored mark).
    LOG_ERROR_AS(kLlVerifyIntegrity,
                 "Corrupt List: List not initialized. Ptr:%p ExpectedMagic:%d Magic:%d Size:%d "
                 "Head:%p ",
                 static_cast<void *>(list), as_int(list->magic), as_int(expected), list->size,
                 static_cast<void *>(list->head));
    return 0;
  }
  if (last != nullptr) *last = nullptr;
  if (list->head == nullptr) {
    if (list->size == 0) return 1;
    LOG_ERROR_AS(kLlVerifyIntegrity,
                 "Corrupt List: The list's head is NULL, but the size isn't zero. Size:%d",
                 list->size);
    return 0;
  }
  if (list->size == 0) {
    LOG_ERROR_AS(kLlVerifyIntegrity,
                 "Corrupt List: The list's size is zero, but the head isn't NULL. HeadPtr:%p",
                 static_cast<void *>(list->head));
    return 0;
  }
  // The counter stops the walk once it reaches the size, so a cycle ends too.
  const uint32_t code = list->type_code;
  const int32_t size = list->size;
  int32_t count = 0;
  ll_entry_t *entry = list->head;
  ll_entry_t *next = nullptr;
  for (;;) {
    if (entry->list == nullptr) {
      LOG_BUG_AS(kLlVerifyIntegrity,
                 "Corrupt List: An entry's list attribute is set to NULL. Ptr:%p",
                 static_cast<void *>(entry->list));
      return 0;
    }
    if (entry->type_code != code) {
      LOG_BUG_AS(kLlVerifyIntegrity,
                 "Corrupt List: An entry's type does not match the lists. Count:%d", count);
      return 0;
    }
    next = entry->next;
    if (++count >= size || next == nullptr) break;
    entry = next;
  }
  if (next == nullptr && count == size) {
    if (last != nullptr) *last = entry;
    return 1;
  }
  if (next == nullptr) {
    // The labels stand in the opposite order to the values.
    LOG_ERROR_AS(kLlVerifyIntegrity,
                 "Corrupt List: Either the list's size doesn't match the number of entries. "
                 "ListSize:%d Counted:%d",
                 count, size);
  } else {
    LOG_ERROR_AS(kLlVerifyIntegrity,
                 "Corrupt List: Either the list is the wrong size or the final entry is not "
                 "NULL. Counted=%d Len=%d NextPtr=%p",
                 count, size, static_cast<void *>(next));
  }
  return 0;
}

bool verify(ll_list_t *list, ll_entry_t **last = nullptr) {
  return integrity(list, last) != 0;
}

// An entry and its element share one zero-filled allocation: the element's
// storage follows the entry, aligned for any type. One calloc and one free
// an entry instead of two each.
constexpr size_t kStorageOffset =
    (sizeof(ll_entry_t) + alignof(std::max_align_t) - 1) & ~(alignof(std::max_align_t) - 1);

void *element_storage(ll_entry_t *entry) {
  return reinterpret_cast<unsigned char *>(entry) + kStorageOffset;
}

constexpr const char kLlInit[] = "ll_init";
constexpr const char kLlCreateEntry[] = "ll_create_entry";
constexpr const char kLlVerifyListType[] = "ll_verify_list_type";

}  // namespace

uint8_t edc::init_list(ll_list_t *list, const char *type, uint32_t code) {
  if (list == nullptr) return null_head(__LINE__, kLlInit);
  if (type == nullptr) return null_type(__LINE__, kLlInit);
  if (list->magic == mark_of(list)) {
    LOG_ERROR_AS(kLlInit,
                 "List Corruption: This list has already been initialized. Ptr:%p MagicNum:%d",
                 static_cast<void *>(list), as_int(list->magic));
    return 0;
  }
  list->size = 0;
  list->head = nullptr;
  list->magic = mark_of(list);
  list->type_code = code;
  if (!verify(list)) {
    LOG_BUG_AS(kLlInit, "Failed verifying the integrity of the list.");
    return 0;
  }
  return 1;
}

uint8_t edc::create_entry(int32_t size, ll_entry_t **entry, void **data, const char *type,
                          uint32_t code) {
  if (size < 1) {
    LOG_ERROR_AS(kLlCreateEntry, "Create entry called with an invalid size. size:%d", size);
    return 0;
  }
  if (entry == nullptr) return null_argument(__LINE__, kLlCreateEntry, "entry", "pointer");
  if (data == nullptr) return null_argument(__LINE__, kLlCreateEntry, "data", "pointer");
  if (type == nullptr) return null_argument(__LINE__, kLlCreateEntry, "type", "pointer");
  *entry = static_cast<ll_entry_t *>(calloc(1, kStorageOffset + static_cast<size_t>(size)));
  if (*entry == nullptr) {
    LOG_BUG_AS(kLlCreateEntry, "calloc failed to allocate memory for the entry. ptr:%p",
               static_cast<void *>(entry));
    return 0;
  }
  (*entry)->data = element_storage(*entry);
  (*entry)->list = nullptr;
  (*entry)->next = nullptr;
  (*entry)->type_code = code;
  *data = (*entry)->data;
  return 1;
}

uint8_t edc::list_has_type(ll_list_t *list, const char *type, uint32_t code) {
  if (list == nullptr) return null_head(__LINE__, kLlVerifyListType);
  if (type == nullptr) return null_type(__LINE__, kLlVerifyListType);
  return list->type_code == code ? 1 : 0;
}

extern "C" {

uint32_t _get_magic_number(ll_list_t *list) {
  if (list == nullptr) return null_head(__LINE__, __func__);
  return mark_of(list);
}

uint32_t _calculate_str_checksum(const char *type) {
  return type != nullptr ? edc::type_code(type) : 0;
}

uint8_t ll_is_initialized(ll_list_t *list) {
  if (list == nullptr) return null_head(__LINE__, __func__);
  return list->magic == mark_of(list) ? 1 : 0;
}

uint8_t ll_verify_list_type(ll_list_t *list, const char *type) {
  return edc::list_has_type(list, type, _calculate_str_checksum(type));
}

uint8_t ll_init(ll_list_t *list, const char *type) {
  return edc::init_list(list, type, _calculate_str_checksum(type));
}

uint8_t ll_delete_list(ll_list_t *list) {
  if (list == nullptr) return null_head(__LINE__, __func__);
  if (!verify(list)) {
    LOG_BUG("Failed verifying integrity of the list. list:%p", static_cast<void *>(list));
    return 0;
  }
  uint8_t result = 1;
  ll_entry_t *entry = list->head;
  while (entry != nullptr) {
    ll_entry_t *next = entry->next;
    entry->list = nullptr;
    if (!ll_delete_entry(entry)) {
      LOG_BUG("Failed deleting an entry during list deletion. ptr:%p", static_cast<void *>(entry));
      result = 0;
    }
    entry = next;
  }
  list->size = 0;
  list->head = nullptr;
  list->magic = 0;
  return result;
}

int32_t ll_size(ll_list_t *list) {
  if (list == nullptr) return null_head(__LINE__, __func__);
  if (!verify(list)) {
    LOG_BUG("Failed integrity test. list:%p", static_cast<void *>(list));
    return 0;
  }
  return list->size;
}

uint8_t ll_create_entry(int32_t size, ll_entry_t **entry, void **data, const char *type) {
  return edc::create_entry(size, entry, data, type, _calculate_str_checksum(type));
}

uint8_t ll_delete_entry(ll_entry_t *entry) {
  if (entry == nullptr) return null_argument(__LINE__, __func__, "delete_entry");
  if (entry->data != element_storage(entry)) free(entry->data);  // storage a caller put there
  entry->list = nullptr;
  entry->data = nullptr;
  entry->next = nullptr;
  free(entry);
  return 1;
}

uint8_t ll_delete_entry_at(ll_list_t *list, uint32_t index) {
  if (list == nullptr) return null_argument(__LINE__, __func__, "list");
  if (!verify(list)) {
    LOG_BUG("List failed integrity test.");
    return 0;
  }
  if (index >= static_cast<uint32_t>(list->size)) {
    LOG_ERROR(
        "Index Out of Range: Requesting a value outside the range of the list. Index:%d "
        "Size:%d",
        as_int(index), list->size);
    return 0;
  }
  ll_entry_t **link = &list->head;
  for (uint32_t i = 0; i < index; ++i) link = &(*link)->next;
  ll_entry_t *entry = *link;
  *link = entry->next;
  entry->list = nullptr;
  if (!ll_delete_entry(entry)) {
    LOG_ERROR("Failed deleting entry.");
    return 0;
  }
  list->size--;
  if (!verify(list)) {
    LOG_BUG("List failed the integrity check. list:%p", static_cast<void *>(list));
    return 0;
  }
  return 1;
}

namespace {

// The checks shared by both insertions, in their order, reported as func:
// the list is verified before the entry is looked at. to_this is the
// mismatch report's wording of "to this list" ("tothis" for the front).
bool check_insertion(ll_list_t *list, ll_entry_t *new_entry, const char *func, const char *to_this,
                     ll_entry_t **last = nullptr) {
  if (list == nullptr) return null_argument(__LINE__, func, "list");
  if (!verify(list, last)) {
    LOG_BUG_AS(func, "List failed integrity test.");
    return false;
  }
  if (new_entry == nullptr) return null_argument(__LINE__, func, "new_entry");
  if (new_entry->type_code != list->type_code) {
    LOG_BUG_AS(func,
               "This entry represents a different type and cannot be added %s list. "
               "List:0x%08X Entry:0x%08X",
               to_this, list->type_code, new_entry->type_code);
    return false;
  }
  return true;
}

}  // namespace

uint8_t ll_add_entry_to_back(ll_list_t *list, ll_entry_t *new_entry) {
  ll_entry_t *last = nullptr;  // the verification walk ends there
  if (!check_insertion(list, new_entry, __func__, "to this", &last)) return 0;
  (last != nullptr ? last->next : list->head) = new_entry;
  new_entry->list = list;
  list->size++;
  return 1;
}

uint8_t ll_add_entry_to_front(ll_list_t *list, ll_entry_t *new_entry) {
  // "tothis" is how this message has always read; log scrapers match it.
  if (!check_insertion(list, new_entry, __func__, "tothis")) return 0;
  new_entry->next = list->head;
  list->head = new_entry;
  new_entry->list = list;
  list->size++;
  return 1;
}

uint8_t ll_entry_at(ll_list_t *list, int32_t index, void **entry_data) {
  if (entry_data == nullptr) return null_argument(__LINE__, __func__, "entry_data");
  *entry_data = nullptr;
  if (list == nullptr) return null_argument(__LINE__, __func__, "list");
  if (!verify(list)) {
    LOG_BUG("List failed integrity test.");
    return 0;
  }
  if (index < 0 || index >= list->size) {
    LOG_ERROR(
        "Index Out of Range: Requesting a value outside the range of the list. Index:%d "
        "Size:%d",
        index, list->size);
    return 0;
  }
  ll_entry_t *entry = list->head;
  for (int32_t i = 0; i < index; ++i) entry = entry->next;
  *entry_data = entry->data;
  return 1;
}

uint8_t ll_verify_integrity(ll_list_t *list) {
  return integrity(list, nullptr);
}

uint8_t ll_copy_list(ll_list_t *src_list, ll_list_t *dst_list, uint32_t size) {
  if (src_list == nullptr) return null_argument(__LINE__, __func__, "src_list");
  if (dst_list == nullptr) return null_argument(__LINE__, __func__, "dst_list");
  if (!verify(src_list)) {
    LOG_BUG("Source list failed integrity test.");
    return 0;
  }
  if (!verify(dst_list)) {
    LOG_BUG("Destination list failed integrity test.");
    return 0;
  }
  // Copy as many entries as the source holds now, so that copying a list
  // onto itself ends.
  const int32_t count = src_list->size;
  ll_entry_t *source = src_list->head;
  for (int32_t i = 0; i < count && source != nullptr; ++i, source = source->next) {
    ll_entry_t *copy = nullptr;
    void *data = nullptr;
    if (!ll_create_entry(static_cast<int32_t>(size), &copy, &data, "")) {
      LOG_BUG("Failed creating entry for the destination list.");
      return 0;
    }
    copy->type_code = source->type_code;
    memcpy(data, source->data, size);
    if (!ll_add_entry_to_back(dst_list, copy)) {
      if (ll_delete_entry(copy))
        LOG_BUG("Failed adding entry to back of the destination list.");
      else
        LOG_BUG("Failed deleting entry.");
      return 0;
    }
  }
  return 1;
}

}  // extern "C"
