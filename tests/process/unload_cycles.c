/* Loads and unloads the library 50 times with a 2^18-point FFT each: the
 * threads it started end and its memory is returned.  Prints the thread
 * count and resident size at the start and end, and fails when threads are
 * left or the resident size grew by 2 MB or more. */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "fennel_dsp.h"
#include "fennel_host.h"

static long status_field(const char *name) {
    FILE *f = fopen("/proc/self/status", "r");
    char line[256];
    long value = -1;
    while (f != NULL && fgets(line, sizeof line, f) != NULL)
        if (strncmp(line, name, strlen(name)) == 0) value = strtol(line + strlen(name), NULL, 10);
    if (f != NULL) fclose(f);
    return value;
}

typedef int32_t (*Fft)(FDArrayHandle, FDArrayHandle, int32_t, int32_t, FDArrayHandle, FDPlanHandle *);
typedef int32_t (*Free)(FDPlanHandle *);

static int cycle(const char *path, void **x, void **X) {
    void *lib = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (lib == NULL) {
        printf("FAILED: %s\n", dlerror());
        return 1;
    }
    Fft fft = (Fft)dlsym(lib, "d1DFFTH");
    Free release = (Free)dlsym(lib, "FreeMKLDftiDescH");
    FDPlanHandle plan = NULL;
    const int32_t status = fft(x, X, 0, 0, NULL, &plan);
    release(&plan);
    dlclose(lib);
    return status != 0;
}

int main(int argc, char **argv) {
    if (argc < 2) return 2;
    int32_t n = argc > 2 ? atoi(argv[2]) : 1 << 18, zero = 0;
    void **x = FennelHostNewArray(TYPE_CODE_DOUBLE, 1, &n);
    void **X = FennelHostNewArray(TYPE_CODE_COMPLEX_DOUBLE, 1, &zero);
    /* The first cycle loads what stays with the process (the C++ runtime,
     * the BLAS library's first touch); the count starts after it. */
    if (cycle(argv[1], x, X) != 0) return 1;
    const long threads0 = status_field("Threads:"), rss0 = status_field("VmRSS:");
    for (int i = 0; i < 49; ++i)
        if (cycle(argv[1], x, X) != 0) return 1;
    const long threads1 = status_field("Threads:"), rss1 = status_field("VmRSS:");
    printf("threads %ld -> %ld, resident %ld kB -> %ld kB\n", threads0, threads1, rss0, rss1);
    FennelHostFreeArray(x);
    FennelHostFreeArray(X);
    if (threads1 != threads0) return 1;
    return rss1 - rss0 >= 2048;
}
