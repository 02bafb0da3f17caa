/*
 * The host's configuration database, imported by the library. On a device
 * the host process provides these functions; elsewhere the stand-alone store
 * (config_store.h, libedidcomposer-store) does.
 *
 * Handle 0 is the default database; nodes are non-zero 32-bit handles.
 * Results: 0 success; config_node_find gives 2 for no such node,
 * config_node_first_child 2 for no children, config_node_next_sibling 1 at
 * the last child; any other failure gives 1. String results copy at most
 * size - 1 bytes and always end with a NUL.
 */
#ifndef EDIDCOMPOSER_PLATFORM_CONFIG_H
#define EDIDCOMPOSER_PLATFORM_CONFIG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

int32_t config_get_int(uint32_t handle, const char *path, int32_t *value);
int32_t config_get_str(uint32_t handle, const char *path, char *buffer, uint32_t size);
int32_t config_node_find(uint32_t handle, const char *path, uint32_t *node);
int32_t config_node_first_child(uint32_t node, uint32_t *child);
int32_t config_node_next_sibling(uint32_t node, uint32_t *next);
int32_t config_node_get_name(uint32_t node, char *buffer, uint32_t size);
int32_t config_node_get_int(uint32_t node, int32_t *value);
int32_t config_node_get_str(uint32_t node, char *buffer, uint32_t size);

#ifdef __cplusplus
}
#endif

#endif
