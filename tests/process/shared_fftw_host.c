/* A host that uses FFTW itself beside the library: the library's FFTW is its
 * own, so the host's plans, thread count, wisdom and cleanup are never
 * touched by library calls, and the host's never reach the library's.
 *   shared_fftw_host before|thread|settings|cleanup */
#include <fftw3.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>

#include "fennel_dsp.h"
#include "fennel_host.h"

static int fft(int32_t n, FDPlanHandle *plan) {
    void **x = FennelHostNewArray(TYPE_CODE_DOUBLE, 1, &n);
    int32_t zero = 0;
    void **X = FennelHostNewArray(TYPE_CODE_COMPLEX_DOUBLE, 1, &zero);
    double *data = FennelHostArrayData(x, TYPE_CODE_DOUBLE, 1);
    for (int32_t i = 0; i < n; ++i) data[i] = (double)(i % 7) - 3.0;
    int32_t status = d1DFFTH(x, X, 0, 0, NULL, plan);
    FennelHostFreeArray(x);
    FennelHostFreeArray(X);
    return status;
}

static fftw_plan host_plan(int n) {
    fftw_complex *a = fftw_alloc_complex(n);
    fftw_plan p = fftw_plan_dft_1d(n, a, a, FFTW_FORWARD, FFTW_ESTIMATE);
    fftw_free(a);
    return p;
}

static volatile int stop;
static void *host_planner(void *arg) {
    (void)arg;
    for (int i = 0; !stop; ++i) fftw_destroy_plan(host_plan(64 + i % 200));
    return NULL;
}

static int fail(const char *what) {
    printf("FAILED: %s\n", what);
    return 1;
}

int main(int argc, char **argv) {
    const char *mode = argc > 1 ? argv[1] : "";
    if (strcmp(mode, "before") == 0) {
        /* Plans made before the library's first calls outlive them. */
        for (int i = 0; i < 100; ++i) {
            fftw_plan p = host_plan(256 + i);
            FDPlanHandle plan = NULL;
            if (fft(1000 + i, &plan) != 0 || fft(1 << 18, &plan) != 0) return fail("library call");
            FreeMKLDftiDescH(&plan);
            fftw_destroy_plan(p);
        }
    } else if (strcmp(mode, "thread") == 0) {
        /* The host plans on its own thread while the library plans. */
        pthread_t t;
        pthread_create(&t, NULL, host_planner, NULL);
        for (int i = 0; i < 100; ++i) {
            FDPlanHandle plan = NULL;
            if (fft(500 + 3 * i, &plan) != 0) return fail("library call");
            FreeMKLDftiDescH(&plan);
        }
        stop = 1;
        pthread_join(t, NULL);
    } else if (strcmp(mode, "settings") == 0) {
        /* The host's thread count, time limit and wisdom stay its own. */
        fftw_init_threads();
        fftw_plan_with_nthreads(4);
        fftw_set_timelimit(0.05);
        fftw_destroy_plan(host_plan(1024));
        char *before = fftw_export_wisdom_to_string();
        FDPlanHandle plan = NULL;
        if (fft(1000, &plan) != 0 || fft(1 << 18, &plan) != 0) return fail("library call");
        FreeMKLDftiDescH(&plan);
        char *after = fftw_export_wisdom_to_string();
        if (fftw_planner_nthreads() != 4) return fail("host thread count changed");
        if (strcmp(before, after) != 0) return fail("host wisdom changed");
        fftw_free(before);
        fftw_free(after);
        fftw_cleanup_threads();
    } else if (strcmp(mode, "cleanup") == 0) {
        /* The host's fftw_cleanup leaves the library's kept plans alone. */
        FDPlanHandle plan = NULL;
        if (fft(4096, &plan) != 0) return fail("library call");
        fftw_destroy_plan(host_plan(128));
        fftw_cleanup();
        if (fft(4096, &plan) != 0) return fail("library call after the host's cleanup");
        if (FreeMKLDftiDescH(&plan) != 0) return fail("plan release");
    } else {
        return fail("mode: before|thread|settings|cleanup");
    }
    printf("ok %s\n", mode);
    return 0;
}
