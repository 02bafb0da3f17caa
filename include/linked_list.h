/*
 * Typed, self-checking singly linked list.
 *
 * A list head is embedded by value in the record that owns it and is bound to
 * its own address: a zeroed, stale or moved head reads as uninitialised.
 * Every list and every entry carries a 32-bit code computed from the element
 * type's name, so an entry made for one type cannot join a list of another.
 * All operations return 1 on success and 0 on failure unless noted.
 */
#ifndef EDIDCOMPOSER_LINKED_LIST_H
#define EDIDCOMPOSER_LINKED_LIST_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct ll_entry_t {
  void *data;              /* element storage, zero-filled at creation */
  struct ll_entry_t *next; /* following entry or NULL */
  struct ll_list_t *list;  /* list the entry is linked into, NULL if none */
  uint32_t type_code;      /* code of the element type name */
} ll_entry_t;

typedef struct ll_list_t {
  uint32_t magic;     /* head address XOR 0xA0A06060 while initialised */
  uint32_t type_code; /* code of the element type name given to ll_init */
  int32_t size;       /* number of entries reachable from head */
  ll_entry_t *head;   /* first entry or NULL */
} ll_list_t;

uint8_t ll_is_initialized(ll_list_t *list);
uint8_t ll_verify_list_type(ll_list_t *list, const char *type);
uint8_t ll_init(ll_list_t *list, const char *type);
uint8_t ll_delete_list(ll_list_t *list);
int32_t ll_size(ll_list_t *list);
uint8_t ll_create_entry(int32_t size, ll_entry_t **entry, void **data, const char *type);
uint8_t ll_delete_entry(ll_entry_t *entry);
uint8_t ll_delete_entry_at(ll_list_t *list, uint32_t index);
uint8_t ll_add_entry_to_back(ll_list_t *list, ll_entry_t *entry);
uint8_t ll_add_entry_to_front(ll_list_t *list, ll_entry_t *entry);
uint8_t ll_entry_at(ll_list_t *list, int32_t index, void **entry_data);
uint8_t ll_verify_integrity(ll_list_t *list);
uint8_t ll_copy_list(ll_list_t *src_list, ll_list_t *dst_list, uint32_t size);

#ifdef __cplusplus
}
#endif

#endif
