/* Visibility of the client interface: only what carries MARROWS_API leaves libmarrows.so. */
#ifndef MARROWS_EXPORT_H
#define MARROWS_EXPORT_H

#if defined(__GNUC__)
#define MARROWS_API __attribute__((visibility("default")))
#else
#define MARROWS_API
#endif

#ifdef __cplusplus
#define MARROWS_EXTERN_C extern "C"
#else
#define MARROWS_EXTERN_C
#endif

#endif
