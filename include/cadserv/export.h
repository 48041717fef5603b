// Export and calling-convention macros shared by every public header.
#ifndef CADSERV_EXPORT_H
#define CADSERV_EXPORT_H

#if defined(_WIN32)
#if defined(CADSERV_BUILDING)
#define CADSERV_API __declspec(dllexport)
#else
#define CADSERV_API __declspec(dllimport)
#endif
#else
#define CADSERV_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#define CADSERV_EXTERN_C extern "C"
#else
#define CADSERV_EXTERN_C
#endif

// Exported plain functions: C linkage, the platform's default calling convention.
#define CADSERV_CAPI CADSERV_EXTERN_C CADSERV_API

#endif  // CADSERV_EXPORT_H
