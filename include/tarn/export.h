/* TARN public interface: export and calling-convention macros.
 *
 * TARN_API marks a function exported from libtarn. The library is compiled
 * with hidden visibility, so only functions carrying this macro are visible
 * to a host. TARN_CALL is the calling convention of every export; it is empty
 * on Linux and other System V platforms.
 */
#ifndef TARN_EXPORT_H
#define TARN_EXPORT_H

#if defined(_WIN32) || defined(__CYGWIN__)
#if defined(TARN_BUILDING_LIBRARY)
#define TARN_API __declspec(dllexport)
#else
#define TARN_API __declspec(dllimport)
#endif
#define TARN_CALL __cdecl
#elif defined(__GNUC__) || defined(__clang__)
#define TARN_API __attribute__((visibility("default")))
#define TARN_CALL
#else
#define TARN_API
#define TARN_CALL
#endif

#ifdef __cplusplus
#define TARN_EXTERN_C_BEGIN extern "C" {
#define TARN_EXTERN_C_END }
#else
#define TARN_EXTERN_C_BEGIN
#define TARN_EXTERN_C_END
#endif

/* The missing value: an input, output or parameter that is absent or could
 * not be computed holds this double. */
#define TARN_MISSING 1e30

#endif /* TARN_EXPORT_H */
