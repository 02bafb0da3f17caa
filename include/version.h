/* Build banner of the library. */
#ifndef EDIDCOMPOSER_VERSION_H
#define EDIDCOMPOSER_VERSION_H

#ifdef __cplusplus
extern "C" {
#endif

/* "#@# libedidcomposer.so Unofficial Build <UTC build time as date prints it>" */
extern const char *gVersion;

#ifdef __cplusplus
}
#endif

#endif
