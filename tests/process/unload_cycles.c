/* Loads and unloads the library 50 times with a 2^18-point FFT each: the
 * threads it started end and its memory is returned.  Prints the thread
 * count and resident size at the start and end, and fails when threads are
 * left or the resident size grew by 2 MB or more.  With a third argument,
 * a wisdom file, each cycle computes a new length four times, which starts
 * a background measurement, and unloads at once: the file must then hold
 * whole wisdom (the length its header gives). */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

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

static int g_runs = 1;

/* 1 when the file is missing or holds its header's byte count after it. */
static int whole_wisdom(const char *path) {
    FILE *f = fopen(path, "rb");
    if (f == NULL) return 1;
    static char text[1 << 22];
    const size_t size = fread(text, 1, sizeof text - 1, f);
    fclose(f);
    text[size] = '\0';
    const char *line = strstr(text, "\nbytes ");
    const char *body = line != NULL ? strchr(line + 1, '\n') : NULL;
    return body != NULL && strtoul(line + 7, NULL, 10) == size - (size_t)(body + 1 - text);
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
    int32_t status = fft(x, X, 0, 0, NULL, &plan);
    for (int i = 1; i < g_runs && status == 0; ++i) status = fft(x, X, 0, 0, NULL, &plan);
    if (g_runs > 1) usleep(50000);  /* the measurement is under way */
    release(&plan);
    dlclose(lib);
    /* Nothing may keep the library loaded (a unique symbol would). */
    if ((lib = dlopen(path, RTLD_NOW | RTLD_NOLOAD)) != NULL) {
        printf("FAILED: the library stays loaded after dlclose\n");
        dlclose(lib);
        return 1;
    }
    return status != 0;
}

int main(int argc, char **argv) {
    if (argc < 2) return 2;
    int32_t n = argc > 2 ? atoi(argv[2]) : 1 << 18, zero = 0;
    const char *wisdom = argc > 3 ? argv[3] : NULL;
    /* Measuring lengths one after the other leaves the heap fragmented by up
     * to a few MB (valgrind finds no block lost): counted after a warm-up. */
    const int warm = wisdom != NULL ? 6 : 1, cycles = wisdom != NULL ? 18 : 50;
    const long allowed_kb = wisdom != NULL ? 4096 : 2048;
    g_runs = wisdom != NULL ? 4 : 1;
    void **x = FennelHostNewArray(TYPE_CODE_DOUBLE, 1, &n);
    void **X = FennelHostNewArray(TYPE_CODE_COMPLEX_DOUBLE, 1, &zero);
    /* The first cycle loads what stays with the process (the C++ runtime,
     * the BLAS library's first touch); the count starts after it. */
    if (cycle(argv[1], x, X) != 0) return 1;
    long threads0 = status_field("Threads:"), rss0 = status_field("VmRSS:");
    for (int i = 1; i < cycles; ++i) {
        if (i == warm) {
            threads0 = status_field("Threads:");
            rss0 = status_field("VmRSS:");
        }
        if (wisdom != NULL) {
            FennelHostFreeArray(x);
            const int32_t length = n - 2 * i;  /* one the wisdom does not know */
            x = FennelHostNewArray(TYPE_CODE_DOUBLE, 1, &length);
        }
        if (cycle(argv[1], x, X) != 0) return 1;
        if (!whole_wisdom(wisdom != NULL ? wisdom : "")) {
            printf("FAILED: torn wisdom file after cycle %d\n", i);
            return 1;
        }
    }
    const long threads1 = status_field("Threads:"), rss1 = status_field("VmRSS:");
    printf("threads %ld -> %ld, resident %ld kB -> %ld kB\n", threads0, threads1, rss0, rss1);
    FennelHostFreeArray(x);
    FennelHostFreeArray(X);
    if (threads1 != threads0) return 1;
    return rss1 - rss0 >= allowed_kb;
}
