/*
 * fennel_dsp.h - the C interface of libfennel_dsp.
 *
 * Every function takes host array handles, resizes its outputs through the
 * host's NumericArrayResize, and returns a signed 32-bit status code: 0 on
 * success, one of the negative STATUS_ codes below on failure.  After a
 * failure every output is empty, every workspace array is empty and a cached
 * transform plan has been released.
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
 *
 * Plan handle: a caller-owned pointer-sized slot, initially NULL, passed by
 * address as the last argument of every transform function.  The library keeps
 * a committed transform in it between calls and rebuilds it when the geometry
 * changes.  Release it with FreeMKLDftiDescH.  A slot belongs to one function
 * at a time; two calls must not use the same slot concurrently.
 */
#ifndef FENNEL_DSP_H
#define FENNEL_DSP_H

#include <stdint.h>

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

/* ---- Plan handles ------------------------------------------------------ */

/* Releases the transform held in *plan (if any) and sets *plan to NULL.
   Returns 0, or STATUS_DFTI_FREE_FAILED. */
FENNEL_DSP_API int32_t FreeMKLDftiDescH(FDPlanHandle *plan);

/* Releases a plan record of the two-dimensional DCT/DST (two transforms and
   the record itself) and sets *plan to NULL. */
FENNEL_DSP_API int32_t FreeMKLDCTDSTiDescH(FDPlanHandle *plan);

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
/* @@fft-md-begin */
/* @@fft-md-end */

/* ---- DCT and DST (1D and 2D) -----------------------------------------------*/
/* @@trig-begin */
/* @@trig-end */

/* ---- Power, auto power, cross power spectra --------------------------------*/
/* @@spectra-begin */
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
/* @@spectra-end */

/* ---- Convolution, correlation, autocorrelation (1D and 2D) -----------------*/
/* @@correlation-begin */
/* @@correlation-end */

/* ---- Decimation, upsampling, rational resampling ---------------------------*/
/* @@resampling-begin */
/* @@resampling-end */

/* ---- Windows, FIR design, IIR filter ---------------------------------------*/
/* @@windows-begin */
/* @@windows-end */

#ifdef __cplusplus
}
#endif

#endif /* FENNEL_DSP_H */
