/* The CBLAS level-1 routines the library calls, for the Windows build: there
   they are bound by name from the engine's core module (blas_bind_windows.cpp). */
#ifndef FENNEL_WIN_CBLAS_H
#define FENNEL_WIN_CBLAS_H

#ifdef __cplusplus
extern "C" {
#endif

typedef int blasint;

void cblas_sscal(int n, float alpha, float *x, int incx);
void cblas_dscal(int n, double alpha, double *x, int incx);
void cblas_csscal(int n, float alpha, void *x, int incx);
void cblas_zdscal(int n, double alpha, void *x, int incx);
void cblas_saxpy(int n, float alpha, const float *x, int incx, float *y, int incy);
void cblas_daxpy(int n, double alpha, const double *x, int incx, double *y, int incy);
void cblas_caxpy(int n, const void *alpha, const void *x, int incx, void *y, int incy);
void cblas_zaxpy(int n, const void *alpha, const void *x, int incx, void *y, int incy);
float cblas_sdot(int n, const float *x, int incx, const float *y, int incy);
double cblas_ddot(int n, const double *x, int incx, const double *y, int incy);

#ifdef __cplusplus
}
#endif

#endif
