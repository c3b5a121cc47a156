/*
 * fennel_host.h - the stand-alone host of libfennel_dsp.
 *
 * libfennel_host provides the three memory services that the library looks up
 * by name at run time (NumericArrayResize, DSNewPtr, DSDisposePtr), helpers
 * to create, inspect and free host arrays of 1 to 3 dimensions, and controls
 * for tests: fault injection, call and block counters, and the placement of
 * blocks modulo 64.  Load it with global visibility (RTLD_GLOBAL, or link it
 * into the program) before libfennel_dsp.
 */
#ifndef FENNEL_HOST_H
#define FENNEL_HOST_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#  define FENNEL_HOST_API __declspec(dllexport)
#else
#  define FENNEL_HOST_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Exported so that the library recognises the process as a host. */
FENNEL_HOST_API extern const uint32_t gFNRTVersion;

/* ---- Memory services -------------------------------------------------------
 * NumericArrayResize: resizes the block of *handle to hold totalElements
 * elements of the type after the numDims int32 sizes (the data offset of the
 * layout: the first multiple of the component size after the sizes).  Creates
 * a handle when *handle is NULL.  Keeps the old content up to the smaller
 * size; never writes the sizes of an existing block.  Returns 0 on success,
 * 1 for bad arguments, 2 when memory is refused. */
FENNEL_HOST_API int32_t NumericArrayResize(int32_t typeCode, int32_t numDims, void ***handle,
                                           int64_t totalElements);
FENNEL_HOST_API void *DSNewPtr(size_t size);
FENNEL_HOST_API void DSDisposePtr(void *pointer);

/* ---- Arrays ----------------------------------------------------------------*/
/* A new array of the given sizes, elements zeroed.  NULL on failure. */
FENNEL_HOST_API void **FennelHostNewArray(int32_t typeCode, int32_t numDims, const int32_t *dims);
/* A new array of the given sizes holding a copy of the packed elements
   (zeroed when elements is NULL). */
FENNEL_HOST_API void **FennelHostNewArrayFrom(int32_t typeCode, int32_t numDims,
                                              const int32_t *dims, const void *elements);
/* Writes numDims sizes of the array to dims (zeros for a NULL handle). */
FENNEL_HOST_API void FennelHostArrayDims(void **handle, int32_t numDims, int32_t *dims);
/* The first element of the array. */
FENNEL_HOST_API void *FennelHostArrayData(void **handle, int32_t typeCode, int32_t numDims);
/* Byte offset of the first element for a type code and dimension count. */
FENNEL_HOST_API int32_t FennelHostDataOffset(int32_t typeCode, int32_t numDims);
/* Frees the block and the handle. */
FENNEL_HOST_API void FennelHostFreeArray(void **handle);

/* ---- Test controls -------------------------------------------------------- */
/* The nth NumericArrayResize call from now fails (1: the next); 0 disarms. */
FENNEL_HOST_API void FennelHostFailResize(int64_t nth);
/* The nth DSNewPtr call from now returns NULL (1: the next); 0 disarms. */
FENNEL_HOST_API void FennelHostFailNewPtr(int64_t nth);
/* Calls of NumericArrayResize since the last reset. */
FENNEL_HOST_API int64_t FennelHostResizeCalls(void);
/* Live array handles, and live DSNewPtr blocks. */
FENNEL_HOST_API int64_t FennelHostLiveArrays(void);
FENNEL_HOST_API int64_t FennelHostLivePtrs(void);
/* New array blocks start at this address modulo 64 (a multiple of 4, 0 to
   60; choose multiples of the element's component size), DSNewPtr blocks at
   the same address rounded down to a multiple of 16.  A negative value (the
   default) places each array block so that its first element sits on a
   64-byte boundary. */
FENNEL_HOST_API void FennelHostSetPlacement(int32_t offsetModulo64);
/* Bytes that a resize adds and DSNewPtr hands out are filled with this byte
   (0xFF fills floats with NaN to catch reads of unwritten data); a negative
   value (the default) leaves fresh memory as allocated. */
FENNEL_HOST_API void FennelHostSetFillByte(int32_t value);
/* Disarms faults, zeroes the call counter, restores placement and fill. */
FENNEL_HOST_API void FennelHostReset(void);

#ifdef __cplusplus
}
#endif

#endif /* FENNEL_HOST_H */
