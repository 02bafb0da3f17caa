/*
 * Stand-alone configuration database: provides the functions of
 * platform_config.h from a TOML file or string. A key's full dotted path is
 * its configuration path. A load replaces the whole database; a load that
 * fails changes nothing, returns non-zero and writes one line
 * "<source>:<line>:<column>: <what>" to standard error.
 * Not thread-safe.
 */
#ifndef EDIDCOMPOSER_CONFIG_STORE_H
#define EDIDCOMPOSER_CONFIG_STORE_H

#include <stdint.h>

#include "platform_config.h"

#ifdef __cplusplus
extern "C" {
#endif

int32_t config_store_load_file(const char *path);   /* 0 on success */
int32_t config_store_load_string(const char *text); /* 0 on success */
void config_store_clear(void);                      /* empty database */

#ifdef __cplusplus
}
#endif

#endif
