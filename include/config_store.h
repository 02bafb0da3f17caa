/*
 * Stand-alone configuration database: provides the functions of
 * platform_config.h from a TOML file or string. A key's full dotted path is
 * its configuration path. A load replaces the whole database; a load that
 * fails changes nothing, returns non-zero and writes one line
 * "<source>:<line>:<column>: <what>" to standard error. A text over 1 MiB or
 * nested deeper than 64 levels is refused.
 * Not thread-safe.
 */
#ifndef EDIDCOMPOSER_CONFIG_STORE_H
#define EDIDCOMPOSER_CONFIG_STORE_H

#include <stdint.h>

#include "platform_config.h"

#ifdef __cplusplus
extern "C" {
#endif

int32_t config_store_load_file(const char *path); /* 0 on success */
/* Loads path as config_store_load_file does and sets *findings to the number
 * of warnings written about it ("<path>:<line>:<column>: warning: <what>"):
 * keys the library does not read, values of the wrong type or out of range,
 * quoted keys that alias a path, mode strings read only loosely.
 * config_store_load_file writes the same warnings. */
int32_t config_store_check_file(const char *path, uint32_t *findings);
int32_t config_store_load_string(const char *text); /* 0 on success */
void config_store_clear(void);                      /* empty database */

#ifdef __cplusplus
}
#endif

#endif
