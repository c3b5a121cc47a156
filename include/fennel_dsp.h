/*
 * fennel_dsp.h - the C interface of libfennel_dsp.
 *
 * Every function takes host array handles, resizes its outputs through the
 * host's NumericArrayResize, and returns a signed 32-bit status code: 0 on
 * success, one of the negative STATUS_ codes below on failure.
 *
 * After a failure every output is empty (and in-place arrays, as each function
 * says).  What a failure leaves in the plan and the workspace arrays depends on
 * when the call finds it:
 *   - before the transform step: every status but STATUS_OUT_OF_MEMORY,
 *     STATUS_NO_WORKSPACE and the STATUS_DFTI_ ones, and STATUS_OUT_OF_MEMORY
 *     from a refused output resize, an output size guard (sizes too large for
 *     31 bits) or the copy of an input that is also an output.  The plan and
 *     the workspaces are left as they were;
 *   - in the transform step: a NULL workspace, a refused workspace resize or
 *     scratch allocation, a transform that cannot be made, released or
 *     computed.  The plan is released (its slot NULL) and every workspace the
 *     call resized is emptied.
 * A workspace the call does not use is left as passed, except where a family
 * below says its workspaces are emptied after every call.
 *
 * Host array handle: a pointer to a pointer to one host block.  The block
 * starts with one int32 size per dimension (first dimension slowest), followed
 * by the packed elements.  The first element sits at byte
 *   1D: 4 (float, complex float) or 8 (double, complex double)
 *   2D: 8
 *   3D: 12 (float, complex float) or 16 (double, complex double)
 * Output and workspace handles must be real handles (they may hold 0
 * elements); a null workspace handle is accepted where a function does not
 * need its workspace, and gives STATUS_NO_WORKSPACE where it does.
 * One array may be passed as an input and as an output or workspace of the
 * same call (a host reusing buffers in place): the FFT, DCT/DST, spectrum,
 * convolution and correlation functions and the IIR filter's coefficients
 * then read the input as it was when the call began (from a copy the call
 * makes, STATUS_OUT_OF_MEMORY when it cannot), so the result equals that of
 * separate arrays.  Decimation and upsampling work in place by design.  Where
 * one array would have to hold two results it is refused with
 * STATUS_NO_WORKSPACE before anything but the outputs is changed: a workspace
 * that is also an output or another workspace of the call, a window's
 * workspace that is its X, FIRWindowedCoef's workspace that is its
 * coefficients, the IIR filter's signal and states passed as one another, and
 * a resampler's output or history that is also another array of the call.
 *
 * Plan handle: a caller-owned pointer-sized slot, initially NULL, passed by
 * address as the last argument of every transform function.  The library keeps
 * a committed transform in it between calls and rebuilds it when the geometry
 * changes.  Release it with FreeMKLDftiDescH.  A slot belongs to one function
 * at a time; two calls must not use the same slot concurrently.  Arrays whose
 * data are not 16-byte aligned are transformed through copies; copy buffers
 * of up to 16 MiB stay with the plan for the next call, larger ones are freed
 * when the call ends (a misaligned 2^24-point real FFT holds 256 MiB of them
 * only while it runs).
 * A slot passed to another function is safe: a kept transform of another
 * precision, domain, rank, length, layout or batch, and a kept record of the
 * 2D DCT/DST in a slot given to another function (or the reverse), is
 * released and rebuilt, and either release function frees either kind.  One
 * reuse keeps the transform deliberately: the inverse 1D DCT, whose transform
 * is real or complex after the parity of its length, keeps a kept transform
 * of the right length whatever its domain, so an inverse DCT of length 6
 * followed by one of length 3 on one slot gives wrong values (never a memory
 * error).
 */
#ifndef FENNEL_DSP_H
#define FENNEL_DSP_H

#include <stdint.h>

/* The library's version; the shared object's SONAME carries the major
   version (libfennel_dsp.so.1), which changes only when the interface does. */
#define FENNEL_DSP_VERSION_MAJOR 1
#define FENNEL_DSP_VERSION_MINOR 0
#define FENNEL_DSP_VERSION_PATCH 0

#if defined(_WIN32)
#  if defined(FENNEL_DSP_BUILD)
#    define FENNEL_DSP_API __declspec(dllexport)
#  else
#    define FENNEL_DSP_API __declspec(dllimport)
#  endif
#else
#  define FENNEL_DSP_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A host array handle (see above). */
typedef void **FDArrayHandle;

/* The content of a plan handle slot; functions take its address. */
typedef void *FDPlanHandle;

/* Host type codes passed to NumericArrayResize. */
enum {
    TYPE_CODE_FLOAT = 9,
    TYPE_CODE_DOUBLE = 10,
    TYPE_CODE_COMPLEX_FLOAT = 12,
    TYPE_CODE_COMPLEX_DOUBLE = 13
};

/* Status codes. */
enum {
    STATUS_OK = 0,
    STATUS_OUT_OF_MEMORY = -20001,
    STATUS_EMPTY_ARRAY = -20003,
    STATUS_EMPTY_OPERAND = -20008,
    STATUS_BAD_RESAMPLE_RATIO = -20016,
    STATUS_BAND_EDGE_ABOVE_NYQUIST = -20020,
    STATUS_BAD_TAP_COUNT = -20021,
    STATUS_BAD_DECIMATION_FACTOR = -20022,
    STATUS_BAD_FREQUENCY = -20023,
    STATUS_EVEN_TAPS = -20033,
    STATUS_BAD_PHASE = -20043,
    STATUS_OUTPUT_TOO_LARGE = -20046,
    STATUS_BAD_START_OFFSET = -20059,
    STATUS_BAD_SELECTOR = -20061,
    STATUS_TOO_MANY_TAPS = -20075,
    STATUS_BAD_SAMPLING_INTERVAL = -20140,
    STATUS_NO_WORKSPACE = -20999,
    STATUS_DFTI_COMPUTE_FAILED = -359501,
    STATUS_DFTI_SETUP_FAILED = -359502,
    STATUS_DFTI_FREE_FAILED = -359503
};

/* The constant's name and a short description of a status code, for
   messages; "unknown status" for a code the library never returns.  Inline,
   so the library's exported symbols stay exactly the functions below. */
static inline const char *FDStatusText(int32_t status) {
    switch (status) {
    case STATUS_OK: return "STATUS_OK: success";
    case STATUS_OUT_OF_MEMORY:
        return "STATUS_OUT_OF_MEMORY: the host refused to resize an output or workspace, "
               "scratch memory was refused, or the sizes are too large";
    case STATUS_EMPTY_ARRAY: return "STATUS_EMPTY_ARRAY: an input array is empty";
    case STATUS_EMPTY_OPERAND:
        return "STATUS_EMPTY_OPERAND: a required operand or coefficient array is empty";
    case STATUS_BAD_RESAMPLE_RATIO:
        return "STATUS_BAD_RESAMPLE_RATIO: the resampling ratio or interpolation factor is out of range";
    case STATUS_BAND_EDGE_ABOVE_NYQUIST:
        return "STATUS_BAND_EDGE_ABOVE_NYQUIST: a band edge lies above half the sampling rate";
    case STATUS_BAD_TAP_COUNT: return "STATUS_BAD_TAP_COUNT: the number of taps is below 1";
    case STATUS_BAD_DECIMATION_FACTOR:
        return "STATUS_BAD_DECIMATION_FACTOR: the decimation factor is below 1 or above the input length";
    case STATUS_BAD_FREQUENCY:
        return "STATUS_BAD_FREQUENCY: the sampling rate or a band edge is not positive, "
               "or the lower edge is not below the upper edge";
    case STATUS_EVEN_TAPS:
        return "STATUS_EVEN_TAPS: a highpass or bandstop filter needs an odd number of taps";
    case STATUS_BAD_PHASE: return "STATUS_BAD_PHASE: the phase is negative or not below the factor";
    case STATUS_OUTPUT_TOO_LARGE: return "STATUS_OUTPUT_TOO_LARGE: the output would be too large";
    case STATUS_BAD_START_OFFSET:
        return "STATUS_BAD_START_OFFSET: the start offset or the stream position is out of range";
    case STATUS_BAD_SELECTOR: return "STATUS_BAD_SELECTOR: a selector argument is outside its list";
    case STATUS_TOO_MANY_TAPS:
        return "STATUS_TOO_MANY_TAPS: an output needs more taps than the stream state holds, "
               "or the histories no longer match the state";
    case STATUS_BAD_SAMPLING_INTERVAL:
        return "STATUS_BAD_SAMPLING_INTERVAL: the sampling interval or factor is not positive";
    case STATUS_NO_WORKSPACE:
        return "STATUS_NO_WORKSPACE: a needed workspace handle is NULL, or one array is passed "
               "where the call writes two";
    case STATUS_DFTI_COMPUTE_FAILED: return "STATUS_DFTI_COMPUTE_FAILED: the transform failed";
    case STATUS_DFTI_SETUP_FAILED:
        return "STATUS_DFTI_SETUP_FAILED: the transform could not be created or committed";
    case STATUS_DFTI_FREE_FAILED: return "STATUS_DFTI_FREE_FAILED: a transform could not be released";
    default: return "unknown status";
    }
}

/* ---- Selectors ---------------------------------------------------------
 * Named values of the int32_t selector arguments below (the functions take
 * plain int32_t; these enumerations only name the values). */

/* windowType of AllCosWin, SymmWin and FIRWindowedCoef (AllCosWin takes
   only the cosine sums, 0 to 9 and 11). */
typedef enum FDWindowType {
    WINDOW_NONE = 0,
    WINDOW_HANN = 1,
    WINDOW_HAMMING = 2,
    WINDOW_BLACKMAN_HARRIS_3 = 3,
    WINDOW_EXACT_BLACKMAN = 4,
    WINDOW_BLACKMAN = 5,
    WINDOW_FLAT_TOP = 6,
    WINDOW_BLACKMAN_HARRIS_4 = 7,
    WINDOW_BLACKMAN_HARRIS_7 = 8,
    WINDOW_LOW_SIDELOBE = 9,
    WINDOW_BLACKMAN_NUTTALL = 11,
    WINDOW_TRIANGLE = 30,
    WINDOW_KAISER = 60,
    WINDOW_GAUSSIAN = 62
} FDWindowType;

/* filterType of FIRWindowedCoef. */
typedef enum FDFilterType {
    FILTER_LOWPASS = 0,
    FILTER_HIGHPASS = 1,
    FILTER_BANDPASS = 2,
    FILTER_BANDSTOP = 3
} FDFilterType;

/* outputMode of the 1D and 2D convolutions. */
typedef enum FDOutputMode {
    OUTPUT_FULL = 0,
    OUTPUT_SAME = 1,
    OUTPUT_VALID = 2
} FDOutputMode;

/* algorithm of the convolutions, correlations and autocorrelations. */
typedef enum FDAlgorithm {
    ALGORITHM_DIRECT = 0,
    ALGORITHM_FREQUENCY_DOMAIN = 1
} FDAlgorithm;

/* normalization of the 1D correlation and autocorrelation. */
typedef enum FDNormalization {
    NORMALIZATION_NONE = 0,
    NORMALIZATION_UNBIASED = 1,
    NORMALIZATION_BIASED = 2
} FDNormalization;

/* orientation of the multichannel 2D FFT: which lines are channels. */
typedef enum FDOrientation {
    ORIENTATION_ROWS = 0,
    ORIENTATION_COLUMNS = 1
} FDOrientation;

/* spectrumType of the auto power and cross power spectra. */
typedef enum FDSpectrumType {
    SPECTRUM_ONE_SIDED = 0,
    SPECTRUM_TWO_SIDED = 1
} FDSpectrumType;

/* tapMode of FDResampleParams (any value but 1 interpolates linearly). */
typedef enum FDTapMode {
    TAP_MODE_LINEAR = 0,
    TAP_MODE_NEAREST = 1
} FDTapMode;

/* ---- Plan handles ------------------------------------------------------ */

/* Releases the transform held in *plan (if any) and sets *plan to NULL.
   Returns 0, or STATUS_DFTI_FREE_FAILED. */
FENNEL_DSP_API int32_t FreeMKLDftiDescH(FDPlanHandle *plan);

/* Releases a plan record of the two-dimensional DCT/DST (two transforms and
   the record itself) and sets *plan to NULL.
   Returns 0, or STATUS_DFTI_FREE_FAILED (the record is then kept). */
FENNEL_DSP_API int32_t FreeMKLDCTDSTiDescH(FDPlanHandle *plan);

/* ---- Planning and wisdom -----------------------------------------------
 * A transform's first computation of a geometry never measures in the
 * caller's thread (unless FENNEL_DSP_PLANNER=measure or patient asks for
 * it): it uses a plan that FFTW's wisdom knows, else an estimated plan.  An
 * estimated plan that has run a few times is measured by one low-priority
 * thread of the library (a caller that needs the planner meanwhile cuts the
 * measurement short, to be tried again later), and the transform kept in a
 * plan handle switches to the measured plan at the start of a later call,
 * never within one.  Such a switch can change results in the last bits
 * between two calls; FENNEL_DSP_PLANNER=estimate keeps estimated plans only,
 * so that a process gets the same bits on every call.  Wisdom persists in a
 * file per precision in $XDG_CACHE_HOME/fennel-dsp (else ~/.cache/fennel-dsp;
 * FENNEL_DSP_WISDOM_DIR names another folder, empty: none), read at the
 * first plan and ignored when another FFTW version or machine wrote it.
 * Linux only: on Windows these functions change nothing. */
enum {
    FD_EFFORT_POLICY = 0,    /* the setting's policy (above) */
    FD_EFFORT_ESTIMATE = 1,
    FD_EFFORT_MEASURE = 2,   /* wisdom, else measured now */
    FD_EFFORT_PATIENT = 3
};
/* The planner effort of the transforms the calling thread plans from now on,
   with FFTW's time limit in seconds (negative: none): to plan ahead, set
   FD_EFFORT_MEASURE, compute each geometry once (its wisdom is recorded),
   set FD_EFFORT_POLICY back and call FDSaveWisdom.  Returns the previous
   effort, or -1 (nothing changed) for an unknown effort. */
FENNEL_DSP_API int32_t FDSetPlanningEffort(int32_t effort, double timeLimit);
/* Writes the process's wisdom to the cache folder (merged with what is
   there).  Returns 1 when a file was written, 0 otherwise. */
FENNEL_DSP_API int32_t FDSaveWisdom(void);
/* Copies the process's wisdom, as text, to buffer when size bytes hold it
   and its terminating zero; returns that size. */
FENNEL_DSP_API int64_t FDExportWisdom(char *buffer, int64_t size);
/* Adds wisdom exported by FDExportWisdom.  Returns 1, or 0 when the text is
   not wisdom of this FFTW version and machine. */
FENNEL_DSP_API int32_t FDImportWisdom(const char *text);
/* Forgets the process's wisdom (plans already made stay); with removeFiles
   non-zero also removes the cache files. */
FENNEL_DSP_API void FDForgetWisdom(int32_t removeFiles);

/* ---- Host binding ------------------------------------------------------ */

/* The host names the module that provides NumericArrayResize, DSNewPtr and
   DSDisposePtr (on Linux a handle from dlopen; NULL returns to the default
   search of the process's global symbols). */
FENNEL_DSP_API void SetFNRTModule(void *module);
/* The host names a thread-local slot whose value, when set, is the host
   module (on Linux a pthread key; 0xFFFFFFFF means none). */
FENNEL_DSP_API void SetFNRTTLSIndex(uint32_t index);
/* Hooks called after either setting; they do nothing. */
FENNEL_DSP_API void SetFNRTModuleHook(void);
FENNEL_DSP_API void SetFNRTTLSIndexHook(void);

/* ---- 1D FFT -------------------------------------------------------------
 * Forward: (input, output, fftSize, shift, workspace, plan)
 *   input      1D array of n elements (float, double, complex float/double)
 *   output     resized to L complex elements, L = fftSize, or n if fftSize <= 0
 *   shift      non-zero: centre the spectrum (zero frequency at index L/2)
 *   workspace  1D array of the input's type, used only when L > n (zero
 *              padding); may be NULL otherwise
 * Inverse: (input, output, shift, workspace, plan)
 *   input      complex spectrum of N bins, natural order or centred (shift)
 *   output     N samples (real for s/d, complex for c/z), scaled by 1/N; the
 *              real inverses read only the non-negative half of the spectrum
 *   workspace  used only when shift is non-zero (float/double for s/d,
 *              complex for c/z); may be NULL otherwise
 * Status (forward and inverse): STATUS_EMPTY_ARRAY (empty input),
 *   STATUS_OUT_OF_MEMORY (an output or workspace resize refused),
 *   STATUS_NO_WORKSPACE (the workspace is needed and NULL),
 *   STATUS_DFTI_SETUP_FAILED, STATUS_DFTI_FREE_FAILED (replacing
 *   a kept transform of another geometry), STATUS_DFTI_COMPUTE_FAILED.
 * After a failure: an empty input or a refused output resize leaves the
 *   workspace and the plan as they were; any later failure releases the plan
 *   and empties the workspace if the call used it.  On success the workspace
 *   is empty if it was used, as passed otherwise.
 */
FENNEL_DSP_API int32_t s1DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                               int32_t shift, FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t d1DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                               int32_t shift, FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t c1DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                               int32_t shift, FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t z1DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                               int32_t shift, FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t s1DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t d1DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t c1DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t z1DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan);

/* ---- 2D and 3D FFT, multichannel 2D FFT ------------------------------------*/
/* 2D FFT.  Matrices are 2D arrays R x C (rows slowest).
 * Forward: (input, output, rows, columns, shift, workspace, plan)
 *   input      R x C (float, double, complex float/double)
 *   output     resized to L0 x L1 complex elements, L0 = rows, L1 = columns;
 *              a size <= 0 keeps the input's size in that dimension.  Larger
 *              sizes pad with zeros, smaller ones crop (the top-left block)
 *   shift      non-zero: centre the spectrum, zero frequency at (L0/2, L1/2)
 *   workspace  1D array of the input's type, used only when padding; may be
 *              NULL otherwise
 *   Real input gives the full spectrum (the conjugate-symmetric half is
 *   filled in).  Sizes whose bit lengths of (size - 1) sum to 31 or more
 *   give STATUS_OUT_OF_MEMORY before anything is resized.
 * Inverse: (input, output, shift, workspace, plan)
 *   input      complex R x C spectrum, natural order or centred (shift)
 *   output     R x C (real for s/d, complex for c/z), scaled by 1/(R*C); the
 *              real inverses read only columns 0 .. C/2 of every row
 *   workspace  complex 1D array (complex float for s/c, complex double for
 *              d/z), used only when shift is non-zero; may be NULL otherwise
 * Status (forward and inverse): STATUS_EMPTY_ARRAY (a dimension of the input
 *   is empty), STATUS_OUT_OF_MEMORY (the size guard above, or an output
 *   or workspace resize refused), STATUS_NO_WORKSPACE,
 *   STATUS_DFTI_SETUP_FAILED, STATUS_DFTI_FREE_FAILED (replacing
 *   a kept transform of another geometry), STATUS_DFTI_COMPUTE_FAILED.
 * After a failure: as the 1D FFT; the size guard, like an empty dimension and
 *   a refused output resize, leaves the workspace and the plan as they were.
 */
FENNEL_DSP_API int32_t s2DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t shift, FDArrayHandle workspace,
                               FDPlanHandle *plan);
FENNEL_DSP_API int32_t d2DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t shift, FDArrayHandle workspace,
                               FDPlanHandle *plan);
FENNEL_DSP_API int32_t c2DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t shift, FDArrayHandle workspace,
                               FDPlanHandle *plan);
FENNEL_DSP_API int32_t z2DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t shift, FDArrayHandle workspace,
                               FDPlanHandle *plan);
FENNEL_DSP_API int32_t s2DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t d2DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t c2DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t z2DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan);

/* 3D FFT.  Volumes are 3D arrays P x R x C (pages slowest).
 * Forward: (input, output, rows, columns, pages, shift, workspace, plan)
 *   Note the order of the sizes: rows (dimension 1), columns (dimension 2),
 *   then pages (dimension 0).  The output is pages x rows x columns complex
 *   elements; otherwise as the 2D forward (a size <= 0 keeps the input's,
 *   padding through the workspace, cropping without a copy, real input
 *   expanded to the full spectrum, shift centres all three dimensions).
 *   A real forward transform of 2^18 points or more with at least 8 pages,
 *   run on two threads, keeps its packed half spectrum (about half the
 *   output's size, up to 64 MB) with the plan between calls.
 * Inverse: (input, output, shift, workspace, plan)
 *   As the 2D inverse; the output is P x R x C scaled by 1/(P*R*C).
 * Status (forward and inverse): as the 2D FFT: STATUS_EMPTY_ARRAY,
 *   STATUS_OUT_OF_MEMORY (size guard over three dimensions, or a resize
 *   refused), STATUS_NO_WORKSPACE, STATUS_DFTI_SETUP_FAILED, STATUS_DFTI_FREE_FAILED (replacing
 *   a kept transform of another geometry), STATUS_DFTI_COMPUTE_FAILED.
 * After a failure: as the 2D FFT.
 */
FENNEL_DSP_API int32_t s3DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t pages, int32_t shift,
                               FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t d3DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t pages, int32_t shift,
                               FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t c3DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t pages, int32_t shift,
                               FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t z3DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t pages, int32_t shift,
                               FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t s3DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t d3DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t c3DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t z3DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan);

/* Multichannel 2D FFT: every row (orientation 0) or every column
 * (orientation 1) of an R x C matrix is one channel, transformed as by the
 * 1D FFT; all channels in one batched transform.
 * Forward: (input, output, fftSize, shift, orientation, workspace, plan)
 *   input        R x C (float, double, complex float/double)
 *   output       complex; orientation 0: R x L (row r holds the spectrum
 *                of row r), orientation 1: L x C (column c holds the
 *                spectrum of column c)
 *   fftSize      L, the transform length of every channel; <= 0 means the
 *                channel length (C for rows, R for columns).  Longer pads
 *                every channel with zeros, shorter truncates it
 *   shift        non-zero: centre every channel's spectrum (index L/2)
 *   orientation  0 rows are channels, 1 columns are channels; other values
 *                give STATUS_BAD_SELECTOR
 *   workspace    1D array of the input's type, used only when L exceeds the
 *                channel length; may be NULL otherwise
 * Inverse: (input, output, shift, orientation, workspace, plan)
 *   input        complex R x C; every channel a spectrum of N bins (N = C
 *                for rows, R for columns), natural order or centred (shift)
 *   output       R x C (real for s/d, complex for c/z), each channel scaled
 *                by 1/N; the real inverses read only bins 0 .. N/2
 *   workspace    complex 1D array, used only when shift is non-zero
 * Status (forward and inverse): STATUS_EMPTY_ARRAY, STATUS_BAD_SELECTOR
 *   (orientation), STATUS_OUT_OF_MEMORY (the 2D size guard, or a resize
 *   refused), STATUS_NO_WORKSPACE, STATUS_DFTI_SETUP_FAILED, STATUS_DFTI_FREE_FAILED (replacing
 *   a kept transform of another geometry), STATUS_DFTI_COMPUTE_FAILED.
 * After a failure: as the 2D FFT; a bad orientation also leaves the
 *   workspace and the plan as they were.
 */
FENNEL_DSP_API int32_t s2DMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                                      int32_t shift, int32_t orientation,
                                      FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t d2DMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                                      int32_t shift, int32_t orientation,
                                      FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t c2DMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                                      int32_t shift, int32_t orientation,
                                      FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t z2DMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                                      int32_t shift, int32_t orientation,
                                      FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t s2DInvMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                         int32_t orientation, FDArrayHandle workspace,
                                         FDPlanHandle *plan);
FENNEL_DSP_API int32_t d2DInvMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                         int32_t orientation, FDArrayHandle workspace,
                                         FDPlanHandle *plan);
FENNEL_DSP_API int32_t c2DInvMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                         int32_t orientation, FDArrayHandle workspace,
                                         FDPlanHandle *plan);
FENNEL_DSP_API int32_t z2DInvMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                         int32_t orientation, FDArrayHandle workspace,
                                         FDPlanHandle *plan);

/* Batched strided FFT on the caller's memory (not host arrays), for bindings
 * that hold their own arrays: `transforms` transforms of rank 1 to 3 in one
 * batched transform, read from and written to the caller's buffers without
 * copies (misaligned buffers go through the engine's aligned ones).
 * (input, output, rank, lengths, inputStrides, outputStrides, transforms,
 *  inputDistance, outputDistance, direction, plan)
 *   input, output   distinct, non-overlapping buffers; the input is not
 *                   modified
 *   lengths         rank transform lengths, outermost first
 *   inputStrides, outputStrides
 *                   rank strides in elements (>= 1), one per dimension
 *   inputDistance, outputDistance
 *                   elements between transforms (>= 0)
 *   direction       0 forward (c/z: complex to complex; s/d: real input to
 *                   the non-negative half of the last dimension, L/2 + 1
 *                   complex bins), 1 backward without scaling (c/z: complex
 *                   to complex; s/d: those half spectra to real output, the
 *                   imaginary parts of bins 0 and L/2 ignored), 2 (s/d only)
 *                   forward to the full spectrum: the output strides and
 *                   distance describe all L bins of the last dimension, and
 *                   bins L/2 + 1 .. L - 1 are the conjugates of the bins at
 *                   the negated indices
 *   plan            keeps the transform between calls of one geometry; give
 *                   this function slots of its own (a slot last used by an
 *                   inverse export of the same geometry keeps its 1/N scale)
 * Status: STATUS_EMPTY_OPERAND (a null or shared buffer or size array),
 *   STATUS_EMPTY_ARRAY (a length or the count below 1), STATUS_BAD_SELECTOR
 *   (rank, direction, a stride below 1, a negative distance, a value beyond
 *   the engine's integer range), STATUS_DFTI_SETUP_FAILED, STATUS_DFTI_FREE_FAILED
 *   (replacing a kept transform of another geometry), STATUS_DFTI_COMPUTE_FAILED.
 */
FENNEL_DSP_API int32_t sStridedFFT(const void *input, void *output, int32_t rank,
                                  const int32_t *lengths, const int64_t *inputStrides,
                                  const int64_t *outputStrides, int32_t transforms,
                                  int64_t inputDistance, int64_t outputDistance,
                                  int32_t direction, FDPlanHandle *plan);
FENNEL_DSP_API int32_t dStridedFFT(const void *input, void *output, int32_t rank,
                                  const int32_t *lengths, const int64_t *inputStrides,
                                  const int64_t *outputStrides, int32_t transforms,
                                  int64_t inputDistance, int64_t outputDistance,
                                  int32_t direction, FDPlanHandle *plan);
FENNEL_DSP_API int32_t cStridedFFT(const void *input, void *output, int32_t rank,
                                  const int32_t *lengths, const int64_t *inputStrides,
                                  const int64_t *outputStrides, int32_t transforms,
                                  int64_t inputDistance, int64_t outputDistance,
                                  int32_t direction, FDPlanHandle *plan);
FENNEL_DSP_API int32_t zStridedFFT(const void *input, void *output, int32_t rank,
                                  const int32_t *lengths, const int64_t *inputStrides,
                                  const int64_t *outputStrides, int32_t transforms,
                                  int64_t inputDistance, int64_t outputDistance,
                                  int32_t direction, FDPlanHandle *plan);

/* ---- DCT and DST (1D and 2D) -----------------------------------------------*/
/* 1D, float (s) and double (d); the output has the input's element type.
 * Forward: (input, output, length, workspace, plan)
 *   s1DDCTH/d1DDCTH   orthonormal DCT-II
 *   s1DDSTH/d1DDSTH   DST-I, unscaled: out[k] = sum x[j] sin(pi (j+1)(k+1)/(N+1))
 *   input      1D array of n samples
 *   output     resized to N values, N = length, or n if length < 1 (the
 *              input is zero-padded or cut to N samples)
 *   workspace  required; 1D of the element type; empty on return
 * Inverse: (input, output, workspace, plan)
 *   s1DInvDCTH/d1DInvDCTH   orthonormal DCT-III (undoes the DCT); its
 *                           workspace is complex (complex float / double)
 *   s1DInvDSTH/d1DInvDSTH   DST-I scaled by 2/(n+1) (undoes the DST); its
 *                           workspace has the element type
 *   output     n values
 * plan: a slot holding one transform, released with FreeMKLDftiDescH.  The
 * transform is kept while its length stays the same.
 * Status (all eight): STATUS_EMPTY_ARRAY (empty input), STATUS_OUT_OF_MEMORY
 *   (an output, workspace or scratch allocation refused, or a length whose
 *   workspace would not fit 31 bits), STATUS_NO_WORKSPACE (NULL workspace),
 *   STATUS_DFTI_SETUP_FAILED, STATUS_DFTI_FREE_FAILED (replacing
 *   a kept transform of another geometry), STATUS_DFTI_COMPUTE_FAILED.
 * After a failure: the forward functions' STATUS_EMPTY_ARRAY and a refused
 *   output resize leave the workspace and the plan as they were; any later
 *   failure (the inverses' STATUS_EMPTY_ARRAY among them) releases the plan.
 *   The workspace is empty after every call that gets past those two.
 */
FENNEL_DSP_API int32_t s1DDCTH(FDArrayHandle input, FDArrayHandle output, int32_t length,
                               FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t d1DDCTH(FDArrayHandle input, FDArrayHandle output, int32_t length,
                               FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t s1DDSTH(FDArrayHandle input, FDArrayHandle output, int32_t length,
                               FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t d1DDSTH(FDArrayHandle input, FDArrayHandle output, int32_t length,
                               FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t s1DInvDCTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t d1DInvDCTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t s1DInvDSTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t d1DInvDSTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan);

/* 2D: the 1D transform of the same kind along every row, then along every
 * column, with the 1D normalisations (the inverses undo the forwards).
 * Forward: (input, output, rows, columns, workspace, plan)
 *   s2DDCTH/d2DDCTH, s2DDSTH/d2DDSTH
 *   input      2D array, R x C
 *   output     resized to L0 x L1, L0 = rows (R if rows < 1), L1 = columns
 *              (C if columns < 1); the input is zero-padded or cut to
 *              L0 x L1 in each dimension.  STATUS_OUT_OF_MEMORY when the
 *              element count would not fit 31 bits
 * Inverse: (input, output, workspace, plan)
 *   s2DInvDCTH/d2DInvDCTH, s2DInvDSTH/d2DInvDSTH; output R x C
 * workspace: required; 1D, of the element type (complex for the inverse
 *   DCT); empty on return
 * plan: a slot holding a plan record of two transforms (rows, columns),
 *   released with FreeMKLDCTDSTiDescH; rebuilt when the sizes, the function
 *   or the precision change.
 * Status (all eight): STATUS_EMPTY_ARRAY (a dimension of the input is
 *   empty), STATUS_OUT_OF_MEMORY (the size guard, the plan record, or an
 *   output, workspace or scratch allocation refused), STATUS_NO_WORKSPACE
 *   (NULL workspace), STATUS_DFTI_SETUP_FAILED, STATUS_DFTI_FREE_FAILED (replacing
 *   a kept transform of another geometry), STATUS_DFTI_COMPUTE_FAILED.
 * After a failure: an empty dimension, the size guard and a refused output
 *   resize leave the workspace and the plan as they were; any later failure
 *   releases the plan record (the slot is NULL).  The workspace is empty
 *   after every call that gets past those.
 */
FENNEL_DSP_API int32_t s2DDCTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t d2DDCTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t s2DDSTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t d2DDSTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t s2DInvDCTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t d2DInvDCTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t s2DInvDSTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t d2DInvDSTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan);

/* ---- Power, auto power, cross power spectra --------------------------------*/
/* Power spectrum: (input, output, workspace, plan)
 *   input      1D signal of n samples (float, double, complex float/double)
 *   output     resized to n real values |X_k|^2 / n^2 (float for s/c,
 *              double for d/z), two-sided; for real input bin n-k equals bin k
 *   workspace  1D array of the input's type, resized to n + 2 elements for
 *              the intermediate spectrum and emptied again; must not be NULL
 * Auto power spectrum: (input, output, dt, spectrumType, df, workspace, plan)
 *   dt         sampling interval, > 0 (STATUS_BAD_SAMPLING_INTERVAL otherwise;
 *              a NaN is accepted and gives a NaN df)
 *   spectrumType  0 one-sided: floor(n/2) + 1 bins, for real input every bin
 *              but DC and Nyquist doubled; 1 two-sided: n bins; other values
 *              STATUS_BAD_SELECTOR.  Complex input is never doubled.
 *   df         receives the frequency step 1 / (n dt); NaN after a failure
 * Cross power: (x, y, output, workspace, plan)
 *   x, y       1D signals of nx and ny samples, both of the member's type;
 *              the shorter one is zero-padded at its end to L = max(nx, ny)
 *   output     resized to L complex values conj(X_k) Y_k / L^2
 *   workspace  input type, L + 2 elements while in use; must not be NULL
 * Cross power spectrum: (x, y, dt, spectrumType, df, magnitude, phase,
 *                        workspace, plan)
 *   magnitude, phase  real outputs of L (type 1) or floor(L/2) + 1 (type 0)
 *              bins: |conj(X_k) Y_k| / L^2 and its angle in radians; for real
 *              signals the DC and Nyquist bins have phase 0 or pi, interior
 *              bins are doubled (type 0) or mirrored with negated phase
 *              (type 1)
 *   df         1 / (L dt); NaN after a failure
 *   workspace  input type, 2L + 4 elements while in use; must not be NULL
 * Status: all four functions STATUS_EMPTY_ARRAY (an empty input),
 *   STATUS_OUT_OF_MEMORY (an output or workspace resize refused, or a
 *   length whose workspace would not fit 31 bits), STATUS_NO_WORKSPACE
 *   (NULL workspace), STATUS_DFTI_SETUP_FAILED, STATUS_DFTI_FREE_FAILED (replacing
 *   a kept transform of another geometry), STATUS_DFTI_COMPUTE_FAILED; the auto
 *   power and cross power spectra also STATUS_BAD_SAMPLING_INTERVAL (dt)
 *   and STATUS_BAD_SELECTOR (spectrumType).
 * After a failure: an empty input, a bad dt or spectrumType and a refused
 *   output resize leave the workspace and the plan as they were; any later
 *   failure releases the plan.  The workspace is empty after every call that
 *   gets past those.
 */
FENNEL_DSP_API int32_t sPowerSpectrumH(FDArrayHandle input, FDArrayHandle output,
                                       FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t dPowerSpectrumH(FDArrayHandle input, FDArrayHandle output,
                                       FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t cPowerSpectrumH(FDArrayHandle input, FDArrayHandle output,
                                       FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t zPowerSpectrumH(FDArrayHandle input, FDArrayHandle output,
                                       FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t sAutoPowerSpectrumH(FDArrayHandle input, FDArrayHandle output, double dt,
                                           int32_t spectrumType, double *df,
                                           FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t dAutoPowerSpectrumH(FDArrayHandle input, FDArrayHandle output, double dt,
                                           int32_t spectrumType, double *df,
                                           FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t cAutoPowerSpectrumH(FDArrayHandle input, FDArrayHandle output, double dt,
                                           int32_t spectrumType, double *df,
                                           FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t zAutoPowerSpectrumH(FDArrayHandle input, FDArrayHandle output, double dt,
                                           int32_t spectrumType, double *df,
                                           FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t sCrossPowerH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                    FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t dCrossPowerH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                    FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t cCrossPowerH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                    FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t zCrossPowerH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                    FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t sCrossPowerSpectrumH(FDArrayHandle x, FDArrayHandle y, double dt,
                                            int32_t spectrumType, double *df,
                                            FDArrayHandle magnitude, FDArrayHandle phase,
                                            FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t dCrossPowerSpectrumH(FDArrayHandle x, FDArrayHandle y, double dt,
                                            int32_t spectrumType, double *df,
                                            FDArrayHandle magnitude, FDArrayHandle phase,
                                            FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t cCrossPowerSpectrumH(FDArrayHandle x, FDArrayHandle y, double dt,
                                            int32_t spectrumType, double *df,
                                            FDArrayHandle magnitude, FDArrayHandle phase,
                                            FDArrayHandle workspace, FDPlanHandle *plan);
FENNEL_DSP_API int32_t zCrossPowerSpectrumH(FDArrayHandle x, FDArrayHandle y, double dt,
                                            int32_t spectrumType, double *df,
                                            FDArrayHandle magnitude, FDArrayHandle phase,
                                            FDArrayHandle workspace, FDPlanHandle *plan);

/* ---- Convolution, correlation, autocorrelation (1D and 2D) -----------------*/
/*
 * 1D convolution (s d c z, and the mixed pairs sc dz cs zd: first letter x,
 * second y):
 *   (x, y, output, outputMode, algorithm, blockSize, fullScratch, fftScratch, plan)
 *   x, y         1D operands of N and M elements
 *   output       full: N + M - 1 elements (outputMode 0); same: N, the centre
 *                part from index M/2 (1); valid: N - M + 1, the part where y
 *                lies wholly inside x (2; M > N gives STATUS_EMPTY_OPERAND)
 *   algorithm    0 direct (BLAS axpy over blocks of blockSize elements of the
 *                longer operand; blockSize < 1 means 100000), 1 frequency
 *                domain (transforms of the smallest 2-3-5-7-smooth length
 *                >= N + M - 1, kept in plan)
 *   fullScratch  workspace of the output's type for the full result; needed
 *                when outputMode is 1 or 2, may be NULL otherwise
 *   fftScratch   workspace of the output's type for algorithm 1, may be NULL
 *                for algorithm 0
 * 1D correlation (same types and pairs):
 *   (x, y, output, algorithm, normalization, blockSize, reverseScratch, fftScratch, plan)
 *   output       N + M - 1 elements; element k is lag k - (N - 1):
 *                sum over j of conj(x[j]) * y[j + k - (N - 1)]
 *   normalization 0 none, 1 unbiased (each lag divided by its number of
 *                products), 2 biased (all divided by max(N, M))
 *   reverseScratch workspace of x's type for algorithm 0 (the reversed x)
 * 1D autocorrelation (s d c z):
 *   (x, output, algorithm, normalization, blockSize, reverseScratch, fftScratch, plan)
 *   output       2N - 1 elements, lag 0 (the energy of x) at index N - 1
 * 2D (s d c z; matrices rows x columns, row-major):
 *   convolution     (x, y, output, outputMode, algorithm, fullScratch, fftScratch, plan)
 *                   full (R1+R2-1) x (C1+C2-1), same R1 x C1 from (R2/2, C2/2),
 *                   valid (R1-R2+1) x (C1-C2+1)
 *   correlation     (x, y, output, algorithm, reverseScratch, fftScratch, plan)
 *                   (R1+R2-1) x (C1+C2-1), lag (0, 0) at (R1-1, C1-1)
 *   autocorrelation (x, output, algorithm, reverseScratch, fftScratch, plan)
 *                   (2R1-1) x (2C1-1)
 * Workspaces are 1D arrays, left empty after every call, failed or not,
 * used or not; the one the chosen method needs must not be NULL
 * (STATUS_NO_WORKSPACE).  Passing the same
 * array as x and y takes one forward transform instead of two.
 * Status: every function STATUS_EMPTY_ARRAY (an empty operand or
 *   dimension), STATUS_BAD_SELECTOR (algorithm; outputMode of the
 *   convolutions; normalization of the 1D correlation and autocorrelation),
 *   STATUS_OUT_OF_MEMORY (an output or workspace resize refused, or a
 *   result too large for 31 bits), STATUS_NO_WORKSPACE;
 *   with algorithm 1 also STATUS_DFTI_SETUP_FAILED, STATUS_DFTI_FREE_FAILED (replacing
 *   a kept transform of another geometry), STATUS_DFTI_COMPUTE_FAILED;
 *   the convolutions also STATUS_EMPTY_OPERAND (valid mode with y larger
 *   than x in a dimension).
 * After a failure: STATUS_EMPTY_ARRAY, STATUS_BAD_SELECTOR,
 *   STATUS_EMPTY_OPERAND, an output too large for 31 bits and a refused
 *   output resize leave the plan as it was; any later failure releases it.
 */
FENNEL_DSP_API int32_t s1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan);
FENNEL_DSP_API int32_t d1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan);
FENNEL_DSP_API int32_t c1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan);
FENNEL_DSP_API int32_t z1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan);
FENNEL_DSP_API int32_t sc1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                        FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan);
FENNEL_DSP_API int32_t dz1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                        FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan);
FENNEL_DSP_API int32_t cs1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                        FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan);
FENNEL_DSP_API int32_t zd1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                        FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan);

FENNEL_DSP_API int32_t s1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, int32_t normalization, int32_t blockSize,
                                       FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan);
FENNEL_DSP_API int32_t d1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, int32_t normalization, int32_t blockSize,
                                       FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan);
FENNEL_DSP_API int32_t c1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, int32_t normalization, int32_t blockSize,
                                       FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan);
FENNEL_DSP_API int32_t z1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, int32_t normalization, int32_t blockSize,
                                       FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan);
FENNEL_DSP_API int32_t sc1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t algorithm, int32_t normalization, int32_t blockSize,
                                        FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan);
FENNEL_DSP_API int32_t dz1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t algorithm, int32_t normalization, int32_t blockSize,
                                        FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan);
FENNEL_DSP_API int32_t cs1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t algorithm, int32_t normalization, int32_t blockSize,
                                        FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan);
FENNEL_DSP_API int32_t zd1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t algorithm, int32_t normalization, int32_t blockSize,
                                        FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan);

FENNEL_DSP_API int32_t s1DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           int32_t normalization, int32_t blockSize,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan);
FENNEL_DSP_API int32_t d1DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           int32_t normalization, int32_t blockSize,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan);
FENNEL_DSP_API int32_t c1DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           int32_t normalization, int32_t blockSize,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan);
FENNEL_DSP_API int32_t z1DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           int32_t normalization, int32_t blockSize,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan);

FENNEL_DSP_API int32_t s2DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan);
FENNEL_DSP_API int32_t d2DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan);
FENNEL_DSP_API int32_t c2DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan);
FENNEL_DSP_API int32_t z2DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan);

FENNEL_DSP_API int32_t s2DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, FDArrayHandle reverseScratch,
                                       FDArrayHandle fftScratch, FDPlanHandle *plan);
FENNEL_DSP_API int32_t d2DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, FDArrayHandle reverseScratch,
                                       FDArrayHandle fftScratch, FDPlanHandle *plan);
FENNEL_DSP_API int32_t c2DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, FDArrayHandle reverseScratch,
                                       FDArrayHandle fftScratch, FDPlanHandle *plan);
FENNEL_DSP_API int32_t z2DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, FDArrayHandle reverseScratch,
                                       FDArrayHandle fftScratch, FDPlanHandle *plan);

FENNEL_DSP_API int32_t s2DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan);
FENNEL_DSP_API int32_t d2DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan);
FENNEL_DSP_API int32_t c2DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan);
FENNEL_DSP_API int32_t z2DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan);

/* ---- Decimation, upsampling, rational resampling ---------------------------*/
/* Decimation: (x, output, factor, average)
 *   x        1D signal of N elements
 *   output   resized to N / factor elements (the last N mod factor samples
 *            are dropped)
 *   factor   1 ... N, else STATUS_BAD_DECIMATION_FACTOR
 *   average  0: output[k] = x[k*factor]; otherwise the mean of
 *            x[k*factor ... k*factor + factor - 1], summed in the element
 *            precision (float: four partial sums over whole groups of four,
 *            joined as (p0 + p2) + (p1 + p3), then the remainder; double and
 *            complex: running sums in order), divided by factor
 * Status: STATUS_EMPTY_ARRAY (empty x), STATUS_BAD_DECIMATION_FACTOR,
 *   STATUS_OUT_OF_MEMORY (output resize refused).
 */
FENNEL_DSP_API int32_t sDecimateH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t average);
FENNEL_DSP_API int32_t dDecimateH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t average);
FENNEL_DSP_API int32_t cDecimateH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t average);
FENNEL_DSP_API int32_t zDecimateH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t average);

/* Upsampling by zero insertion: (x, output, factor, phase)
 *   x        1D signal of N elements
 *   output   resized to N * factor elements: output[i*factor + phase] = x[i],
 *            every other element 0
 *   factor   >= 1, else STATUS_BAD_SAMPLING_INTERVAL; STATUS_OUTPUT_TOO_LARGE
 *            when ceil(log2 N) + ceil(log2 factor) >= 31
 *   phase    0 ... factor - 1, else STATUS_BAD_PHASE
 * Status: STATUS_EMPTY_ARRAY (empty x), STATUS_BAD_SAMPLING_INTERVAL,
 *   STATUS_BAD_PHASE, STATUS_OUTPUT_TOO_LARGE, STATUS_OUT_OF_MEMORY (output
 *   resize refused).
 */
FENNEL_DSP_API int32_t sUpsampleH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t phase);
FENNEL_DSP_API int32_t dUpsampleH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t phase);
FENNEL_DSP_API int32_t cUpsampleH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t phase);
FENNEL_DSP_API int32_t zUpsampleH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t phase);

/* Streaming resampling by an arbitrary step through a prototype lowpass FIR.
 *
 * The parameter record, read only when reset is not 0 (12 bytes). */
typedef struct FDResampleParams {
    float ratio;        /* offset 0: output step in input samples (> 1 decimates) */
    float startOffset;  /* offset 4: stream time of the first output, >= 0 */
    int32_t tapMode;    /* offset 8: 1 nearest prototype tap, otherwise linear */
} FDResampleParams;

/* The stream state, owned by the caller and kept between calls (56 bytes
 * with natural alignment; the library reads and writes bytes 0 to 51).  A
 * failed call zeroes it, so the next call must reset. */
typedef struct FDResampleState {
    int32_t historyCount;     /* offset  0: samples per channel held in historyA */
    int32_t historyChannels;  /* offset  4: channels the history was set up for */
    int32_t historyCapacity;  /* offset  8: H, history and tap slots per channel */
    int32_t tapMode;          /* offset 12: 1 nearest tap, otherwise linear */
    double tapSpacing;        /* offset 16: tap spacing s of the last call */
    double ratio;             /* offset 24: output step in input samples */
    double samplesSeen;       /* offset 32: input samples consumed by earlier calls */
    double fraction;          /* offset 40: fractional part of the next output time */
    int32_t position;         /* offset 48: integer part of the next output time,
                                 counted from the first sample held in historyA */
} FDResampleState;

/* Resampling: (x, coefficients, interpolation, params, reset, antiAlias,
 *              output, firstOutputTime, historyA, historyB, state)
 *   x              the input block: 1D of N samples, or for the MultiCh
 *                  members 2D channels x N (one row per channel); N may be 0
 *   coefficients   1D prototype h[0 .. M-1] (float for s/c, double for d/z)
 *                  designed at interpolation times the input rate; its
 *                  centre c = (M - 1) / 2 sits on each output's time
 *   interpolation  >= 1, the oversampling factor of the prototype
 *   params         the record above, read only when reset is not 0
 *   reset          not 0: start a new stream (samples before it count as 0)
 *   antiAlias      not 0 and ratio > 1: tap spacing s = interpolation / ratio
 *                  (the prototype stretched to the output rate); otherwise
 *                  s = interpolation
 *   output         resized to K samples (MultiCh: channels x K), every output
 *                  whose taps end inside the samples received so far.  Output
 *                  k is the signal at stream time firstOutputTime + k * ratio,
 *                  filtered by the taps and scaled by s (unit gain)
 *   firstOutputTime  receives the stream time of output 0 (may be NULL)
 *   historyA       the samples kept for the next call, of the signal's type:
 *                  1D of H elements (MultiCh: 2D channels x H)
 *   historyB       the taps of the current output: 1D of H reals (float for
 *                  s/c, double for d/z).  H = 2 floor(c / s0) + 2 with
 *                  s0 = interpolation / max(ratio, 1), fixed at reset
 *   state          the record above
 * A long signal fed block by block gives the same samples, bit for bit, as
 * fed in one block.  Failures: STATUS_BAD_RESAMPLE_RATIO (ratio not positive
 * or not below 2^30, interpolation < 1, NULL params on reset, NULL state),
 * STATUS_BAD_START_OFFSET (startOffset negative or not below 2^30, a negative
 * next output time in the state, a negative N), STATUS_EMPTY_OPERAND (no
 * coefficients), STATUS_EMPTY_ARRAY (MultiCh with no rows),
 * STATUS_NO_WORKSPACE (a NULL history handle, or the output or a history
 * that is also another array of the call), STATUS_TOO_MANY_TAPS (an
 * output needs more than H taps or history slots, or the histories or the
 * channel count no longer match the state), STATUS_OUT_OF_MEMORY.  After a
 * failure the output and both histories are empty, *firstOutputTime is 0 and
 * the state is zeroed.
 */
FENNEL_DSP_API int32_t sResampleC2CH(
    FDArrayHandle x, FDArrayHandle coefficients, int32_t interpolation,
    const FDResampleParams *params, int32_t reset, int32_t antiAlias, FDArrayHandle output,
    float *firstOutputTime, FDArrayHandle historyA, FDArrayHandle historyB,
    FDResampleState *state);
FENNEL_DSP_API int32_t dResampleC2CH(
    FDArrayHandle x, FDArrayHandle coefficients, int32_t interpolation,
    const FDResampleParams *params, int32_t reset, int32_t antiAlias, FDArrayHandle output,
    float *firstOutputTime, FDArrayHandle historyA, FDArrayHandle historyB,
    FDResampleState *state);
FENNEL_DSP_API int32_t cResampleC2CH(
    FDArrayHandle x, FDArrayHandle coefficients, int32_t interpolation,
    const FDResampleParams *params, int32_t reset, int32_t antiAlias, FDArrayHandle output,
    float *firstOutputTime, FDArrayHandle historyA, FDArrayHandle historyB,
    FDResampleState *state);
FENNEL_DSP_API int32_t zResampleC2CH(
    FDArrayHandle x, FDArrayHandle coefficients, int32_t interpolation,
    const FDResampleParams *params, int32_t reset, int32_t antiAlias, FDArrayHandle output,
    float *firstOutputTime, FDArrayHandle historyA, FDArrayHandle historyB,
    FDResampleState *state);
FENNEL_DSP_API int32_t sResampleMultiChC2CH(
    FDArrayHandle x, FDArrayHandle coefficients, int32_t interpolation,
    const FDResampleParams *params, int32_t reset, int32_t antiAlias, FDArrayHandle output,
    float *firstOutputTime, FDArrayHandle historyA, FDArrayHandle historyB,
    FDResampleState *state);
FENNEL_DSP_API int32_t dResampleMultiChC2CH(
    FDArrayHandle x, FDArrayHandle coefficients, int32_t interpolation,
    const FDResampleParams *params, int32_t reset, int32_t antiAlias, FDArrayHandle output,
    float *firstOutputTime, FDArrayHandle historyA, FDArrayHandle historyB,
    FDResampleState *state);
FENNEL_DSP_API int32_t cResampleMultiChC2CH(
    FDArrayHandle x, FDArrayHandle coefficients, int32_t interpolation,
    const FDResampleParams *params, int32_t reset, int32_t antiAlias, FDArrayHandle output,
    float *firstOutputTime, FDArrayHandle historyA, FDArrayHandle historyB,
    FDResampleState *state);
FENNEL_DSP_API int32_t zResampleMultiChC2CH(
    FDArrayHandle x, FDArrayHandle coefficients, int32_t interpolation,
    const FDResampleParams *params, int32_t reset, int32_t antiAlias, FDArrayHandle output,
    float *firstOutputTime, FDArrayHandle historyA, FDArrayHandle historyB,
    FDResampleState *state);

/* ---- Windows, FIR design, IIR filter ---------------------------------------*/
/* Windows are applied in place: X (1D) holds the signal and, on return, the
 * windowed signal.  s/c take float parameters, d/z double; complex samples
 * have both parts scaled by the same real factor.  After a failure X is empty.
 *
 * Window types: 0 none; cosine sums 1 Hann, 2 Hamming, 3 Blackman-Harris
 * (3 terms), 4 exact Blackman, 5 Blackman, 6 flat top, 7 Blackman-Harris
 * (4 terms), 8 Blackman-Harris (7 terms), 9 low sidelobe, 11 Blackman-Nuttall;
 * 30 triangle; 60 Kaiser; 62 Gaussian.  Other numbers (10 too) give
 * STATUS_BAD_SELECTOR.
 *
 * AllCosWin: (X, windowType, normalise, workspace)
 *   periodic cosine-sum window of type 0..9 or 11; normalise non-zero divides
 *   the coefficients by a0 (unit coherent gain); workspace: float64 array used
 *   while running and emptied on return (needed for every type but 0).
 *   A one-sample X is returned unchanged whatever the other arguments.
 * GaussWin: (X, sigma)   periodic Gaussian exp(-0.5((n - N/2)/(sigma(N+1)))^2);
 *   sigma <= 0 or NaN means 0.2.
 * KaiserWin: (X, beta)   periodic Kaiser I0(beta sqrt(1-r^2))/I0(beta),
 *   r = 1 - 2n/N; beta = 0 or NaN leaves X unchanged.
 * SymmWin: (X, windowType, windowParameter, workspace)
 *   symmetric window (period N-1, both ends equal) of any type above;
 *   windowParameter is beta (60) or sigma (62); N < 3 leaves X unchanged;
 *   type 0 returns 0 even for an empty X; workspace as for AllCosWin.
 * TriangleWin: (X)       periodic triangle, w[n] = 2n/N up to N/2, w[0] = 0.
 * Status: AllCosWin and SymmWin STATUS_EMPTY_ARRAY (empty X),
 *   STATUS_BAD_SELECTOR (windowType), STATUS_NO_WORKSPACE (NULL workspace
 *   for a cosine-sum type), STATUS_OUT_OF_MEMORY (workspace resize
 *   refused); GaussWin, KaiserWin and TriangleWin only STATUS_EMPTY_ARRAY.
 * The workspace is empty after every call that runs a cosine sum (AllCosWin
 *   past its checks of X and windowType, SymmWin with a cosine-sum type),
 *   failed or not, and as passed after any other call.
 */
FENNEL_DSP_API int32_t sAllCosWinH(FDArrayHandle x, int32_t windowType, int32_t normalise,
                                   FDArrayHandle workspace);
FENNEL_DSP_API int32_t dAllCosWinH(FDArrayHandle x, int32_t windowType, int32_t normalise,
                                   FDArrayHandle workspace);
FENNEL_DSP_API int32_t cAllCosWinH(FDArrayHandle x, int32_t windowType, int32_t normalise,
                                   FDArrayHandle workspace);
FENNEL_DSP_API int32_t zAllCosWinH(FDArrayHandle x, int32_t windowType, int32_t normalise,
                                   FDArrayHandle workspace);
FENNEL_DSP_API int32_t sGaussWinH(FDArrayHandle x, float sigma);
FENNEL_DSP_API int32_t dGaussWinH(FDArrayHandle x, double sigma);
FENNEL_DSP_API int32_t cGaussWinH(FDArrayHandle x, float sigma);
FENNEL_DSP_API int32_t zGaussWinH(FDArrayHandle x, double sigma);
FENNEL_DSP_API int32_t sKaiserWinH(FDArrayHandle x, float beta);
FENNEL_DSP_API int32_t dKaiserWinH(FDArrayHandle x, double beta);
FENNEL_DSP_API int32_t cKaiserWinH(FDArrayHandle x, float beta);
FENNEL_DSP_API int32_t zKaiserWinH(FDArrayHandle x, double beta);
FENNEL_DSP_API int32_t sSymmWinH(FDArrayHandle x, int32_t windowType, float windowParameter,
                                 FDArrayHandle workspace);
FENNEL_DSP_API int32_t dSymmWinH(FDArrayHandle x, int32_t windowType, double windowParameter,
                                 FDArrayHandle workspace);
FENNEL_DSP_API int32_t cSymmWinH(FDArrayHandle x, int32_t windowType, float windowParameter,
                                 FDArrayHandle workspace);
FENNEL_DSP_API int32_t zSymmWinH(FDArrayHandle x, int32_t windowType, double windowParameter,
                                 FDArrayHandle workspace);
FENNEL_DSP_API int32_t sTriangleWinH(FDArrayHandle x);
FENNEL_DSP_API int32_t dTriangleWinH(FDArrayHandle x);
FENNEL_DSP_API int32_t cTriangleWinH(FDArrayHandle x);
FENNEL_DSP_API int32_t zTriangleWinH(FDArrayHandle x);

/* FIRWindowedCoef: (coefficients, fs, f1, f2, taps, filterType, windowType,
 *                   windowParameter, normalise, workspace)
 *   coefficients  output, resized to taps elements (float for s, double for d)
 *   fs            sampling rate; f1 cut-off (lower edge for band filters);
 *                 f2 upper edge for band filters, ignored otherwise
 *   filterType    0 lowpass, 1 highpass, 2 bandpass, 3 bandstop (1 and 3 need
 *                 an odd number of taps)
 *   windowType    a window type as above, applied in its symmetric form;
 *                 windowParameter is beta (60) or sigma (62)
 *   normalise     non-zero: unit gain at 0 (lowpass, bandstop), at fs/2
 *                 (highpass) or at the band centre (bandpass)
 *   workspace     float64 array for the cosine-sum windows; emptied on return
 * Status: STATUS_BAD_SELECTOR (filterType, windowType), STATUS_BAD_TAP_COUNT
 *   (taps < 1), STATUS_BAD_FREQUENCY (fs, f1 or f2 not positive, f1 >= f2
 *   for band filters), STATUS_BAND_EDGE_ABOVE_NYQUIST, STATUS_EVEN_TAPS,
 *   STATUS_NO_WORKSPACE (NULL workspace for a cosine-sum window),
 *   STATUS_OUT_OF_MEMORY (output or workspace resize refused).  The
 *   workspace is empty after every call that runs a cosine-sum window, as
 *   passed after any other; after a failure the coefficients are empty.
 */
FENNEL_DSP_API int32_t sFIRWindowedCoefH(FDArrayHandle coefficients, double fs, double f1,
                                         double f2, int32_t taps, int32_t filterType,
                                         int32_t windowType, float windowParameter,
                                         int32_t normalise, FDArrayHandle workspace);
FENNEL_DSP_API int32_t dFIRWindowedCoefH(FDArrayHandle coefficients, double fs, double f1,
                                         double f2, int32_t taps, int32_t filterType,
                                         int32_t windowType, double windowParameter,
                                         int32_t normalise, FDArrayHandle workspace);

/* IIRDirectFilter: (X, a, b, forwardState, reverseState, init, tailWorkspace,
 *                   aWorkspace, bWorkspace)
 *   X             signal (in/out), filtered in place:
 *                 y[n] = (sum b[k] x[n-k] - sum_{k>=1} a[k] y[n-k]) / a[0]
 *   a, b          reverse and forward coefficients (float for ss/cs, double for
 *                 dd/zd); b empty with a empty passes X unchanged, b empty
 *                 with a given is STATUS_EMPTY_OPERAND
 *   forwardState  the last len(b)-1 inputs, oldest first (in/out)
 *   reverseState  the last len(a)-1 outputs, oldest first (in/out); states of
 *                 the wrong length, or init non-zero, start from rest
 *   tailWorkspace signal-typed workspace, needed when len(b) >= 2
 *   aWorkspace, bWorkspace  coefficient-typed workspaces for coefficients
 *                 padded to a multiple of four (unused by zd); may be NULL
 *                 when no padding is needed.  Each one the call uses is
 *                 empty on return, failed or not; the others are left as
 *                 passed.
 *   Prefixes: ss float/float, dd double/double, cs complex float signal with
 *   float coefficients, zd complex double signal with double coefficients.
 *   After a failure X and both states are empty.
 *   Block-wise filtering: carrying the states from one call to the next
 *   continues the same filter, but not bit for bit the same as one call over
 *   the whole signal.  A block's first outputs (those whose taps reach into
 *   the states: up to len(b)-1 rounded up to a multiple of four for the
 *   forward sum, and as many as the feedback order rounded up to a multiple
 *   of four for the feedback sum) are summed tap by tap in the order of k,
 *   the later outputs in four interleaved partial sums, so those first
 *   outputs can differ from one call's by about one rounding (1 ulp of the
 *   output's scale).  Without feedback (len(a) <= 1) the difference stays in
 *   those outputs; with feedback it carries into the later outputs like any
 *   rounding difference, scaled by the filter's sensitivity to rounding.
 *   Measured (ulp of the output's peak, 30 blocks over 20000 samples): a few
 *   at order 2, up to about 60 at order 4, hundreds to about 1400 at order
 *   8 (Butterworth), and at order 16 from about a hundred up to millions for
 *   filters that this direct form barely keeps stable (a 16th-order
 *   Butterworth).
 *   Each call is deterministic: the same blocks give the same bits on every
 *   machine and instruction set.
 * Status: 0 also for an empty X or two empty coefficient arrays (nothing
 *   changes); STATUS_EMPTY_OPERAND (b empty, a not), STATUS_NO_WORKSPACE (a
 *   needed workspace is NULL, or X and the states are not three arrays),
 *   STATUS_OUT_OF_MEMORY (a state or workspace resize refused).
 */
FENNEL_DSP_API int32_t ssIIRDirectFilterH(FDArrayHandle x, FDArrayHandle a, FDArrayHandle b,
                                          FDArrayHandle forwardState, FDArrayHandle reverseState,
                                          int32_t init, FDArrayHandle tailWorkspace,
                                          FDArrayHandle aWorkspace, FDArrayHandle bWorkspace);
FENNEL_DSP_API int32_t ddIIRDirectFilterH(FDArrayHandle x, FDArrayHandle a, FDArrayHandle b,
                                          FDArrayHandle forwardState, FDArrayHandle reverseState,
                                          int32_t init, FDArrayHandle tailWorkspace,
                                          FDArrayHandle aWorkspace, FDArrayHandle bWorkspace);
FENNEL_DSP_API int32_t csIIRDirectFilterH(FDArrayHandle x, FDArrayHandle a, FDArrayHandle b,
                                          FDArrayHandle forwardState, FDArrayHandle reverseState,
                                          int32_t init, FDArrayHandle tailWorkspace,
                                          FDArrayHandle aWorkspace, FDArrayHandle bWorkspace);
FENNEL_DSP_API int32_t zdIIRDirectFilterH(FDArrayHandle x, FDArrayHandle a, FDArrayHandle b,
                                          FDArrayHandle forwardState, FDArrayHandle reverseState,
                                          int32_t init, FDArrayHandle tailWorkspace,
                                          FDArrayHandle aWorkspace, FDArrayHandle bWorkspace);

#ifdef __cplusplus
}
#endif

#endif /* FENNEL_DSP_H */
