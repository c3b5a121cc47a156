/*
 * A tour of libfennel_dsp on built-in data: a two-tone signal is transformed,
 * its strongest bins are printed with their frequencies, the centred spectrum
 * is checked, and the inverse transform brings the signal back.  Then the
 * first call of a new geometry: estimated at once, measured in the caller's
 * thread (what planning ahead costs), and taken from wisdom (what a process
 * with a warm cache gets), with the wisdom in a folder of the demo's own.
 */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "fennel_dsp.h"
#include "fennel_host.h"

#define N 1000
#define RATE 8000.0

static void **NewArray1D(int32_t typeCode, int32_t n) { return FennelHostNewArray(typeCode, 1, &n); }

static double Now(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return t.tv_sec + 1e-9 * t.tv_nsec;
}

/* Seconds of one z1DFFTH of n points on a new plan handle. */
static double FirstCall(int32_t n) {
    int32_t zero = 0;
    void **in = FennelHostNewArray(TYPE_CODE_COMPLEX_DOUBLE, 1, &n);
    void **out = FennelHostNewArray(TYPE_CODE_COMPLEX_DOUBLE, 1, &zero);
    FDPlanHandle plan = NULL;
    const double t0 = Now();
    const int32_t status = z1DFFTH(in, out, 0, 0, NULL, &plan);
    const double t = Now() - t0;
    FreeMKLDftiDescH(&plan);
    FennelHostFreeArray(in);
    FennelHostFreeArray(out);
    return status == STATUS_OK ? t : -1.0;
}

static int32_t Length(void **h) {
    int32_t n = 0;
    FennelHostArrayDims(h, 1, &n);
    return n;
}

int main(void) {
    /* The demo's wisdom stays in a folder of its own (read at the first plan). */
    char folder[] = "/tmp/fennel-demo-XXXXXX";
    if (mkdtemp(folder) != NULL) setenv("FENNEL_DSP_WISDOM_DIR", folder, 1);
    const double pi = 3.14159265358979323846;
    void **signal = NewArray1D(TYPE_CODE_DOUBLE, N);
    void **spectrum = NewArray1D(TYPE_CODE_COMPLEX_DOUBLE, 0);
    void **centred = NewArray1D(TYPE_CODE_COMPLEX_DOUBLE, 0);
    void **back = NewArray1D(TYPE_CODE_DOUBLE, 0);
    void **workspace = NewArray1D(TYPE_CODE_DOUBLE, 0);
    FDPlanHandle forward = NULL, inverse = NULL;

    const double f1 = 440.0, a1 = 1.0, f2 = 1000.0, a2 = 0.25, offset = 0.1;
    double *x = FennelHostArrayData(signal, TYPE_CODE_DOUBLE, 1);
    for (int i = 0; i < N; ++i) {
        const double t = i / RATE;
        x[i] = a1 * sin(2 * pi * f1 * t) + a2 * cos(2 * pi * f2 * t) + offset;
    }
    printf("fennel-dsp %d.%d.%d demo: %d samples at %.0f Hz: %.0f Hz (amplitude %g), %.0f Hz (%g), "
           "offset %g\n", FENNEL_DSP_VERSION_MAJOR, FENNEL_DSP_VERSION_MINOR, FENNEL_DSP_VERSION_PATCH,
           N, RATE, f1, a1, f2, a2, offset);

    int32_t status = d1DFFTH(signal, spectrum, 0, 0, workspace, &forward);
    printf("d1DFFTH: status %d, %d bins\n", (int)status, (int)Length(spectrum));
    if (status != STATUS_OK) return 1;
    const double *X = FennelHostArrayData(spectrum, TYPE_CODE_COMPLEX_DOUBLE, 1);
    printf("  bin  frequency/Hz  amplitude\n");
    for (int k = 0; k <= N / 2; ++k) {
        const double amplitude = hypot(X[2 * k], X[2 * k + 1]) * (k == 0 ? 1.0 : 2.0) / N;
        if (amplitude > 0.05) printf("  %3d  %12.1f  %9.4f\n", k, k * RATE / N, amplitude);
    }

    status = d1DFFTH(signal, centred, 0, 1, workspace, &forward);
    const double *Y = FennelHostArrayData(centred, TYPE_CODE_COMPLEX_DOUBLE, 1);
    printf("d1DFFTH with shift: status %d, zero frequency at index %d holds %.4f (sum of samples)\n",
           (int)status, N / 2, Y[2 * (N / 2)]);

    status = d1DInvFFTH(spectrum, back, 0, workspace, &inverse);
    const double *xb = FennelHostArrayData(back, TYPE_CODE_DOUBLE, 1);
    double worst = 0.0;
    for (int i = 0; i < N; ++i) worst = fmax(worst, fabs(xb[i] - x[i]));
    printf("d1DInvFFTH: status %d, largest round-trip error %.3g\n", (int)status, worst);

    status = d1DFFTH(signal, spectrum, 2 * N, 0, NULL, &forward);
    printf("zero padding without a workspace array: status %d (%s), output length %d\n",
           (int)status, FDStatusText(status), (int)Length(spectrum));

    const int32_t n = 16384;
    const double estimated = FirstCall(n);
    FDSetPlanningEffort(FD_EFFORT_MEASURE, -1.0);
    const double measured = FirstCall(n);
    FDSetPlanningEffort(FD_EFFORT_POLICY, -1.0);
    FDSaveWisdom();
    const double warm = FirstCall(n);
    printf("first call of z1DFFTH on %d points: estimated at once %.2f ms, measured in the caller's "
           "thread %.0f ms, from wisdom (a warm cache) %.2f ms\n",
           (int)n, 1e3 * estimated, 1e3 * measured, 1e3 * warm);
    FDForgetWisdom(1);
    rmdir(folder);

    FreeMKLDftiDescH(&forward);
    FreeMKLDftiDescH(&inverse);
    FennelHostFreeArray(signal);
    FennelHostFreeArray(spectrum);
    FennelHostFreeArray(centred);
    FennelHostFreeArray(back);
    FennelHostFreeArray(workspace);
    return worst < 1e-9 ? 0 : 1;
}
