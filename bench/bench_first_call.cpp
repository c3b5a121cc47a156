// First call of a new geometry and the steady state after it, one figure per
// process (bench/first_call.py runs it):
//   bench_first_call fftw estimate|measure ROWS [COLS]   raw FFTW: plan + one
//       transform, then the time per transform (the library's thread count)
//   bench_first_call lib ROWS [COLS]    z1DFFTH / z2DFFTH with a kept plan:
//       the first call, then, once the background planner has written the
//       wisdom file, the time per call
//   bench_first_call warm ROWS [COLS]   the same with the wisdom already in
//       the cache folder: the first call and the time per call right after
// Prints: first call seconds, steady seconds per transform, seconds waited.
#include <fftw3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fennel_dsp.h"
#include "fennel_host.h"

namespace {

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

template <class F>
double PerCall(F &&f) {
    int reps = 0;
    const double start = Now();
    double end = start;
    while (end - start < 0.5 || reps < 5) {
        f();
        ++reps;
        end = Now();
    }
    return (end - start) / reps;
}

void Fftw(bool measure, int rows, int cols) {
    const long n = static_cast<long>(rows) * (cols > 0 ? cols : 1);
    fftw_complex *in = fftw_alloc_complex(n), *out = fftw_alloc_complex(n);
    const unsigned flags = measure ? FFTW_MEASURE : FFTW_ESTIMATE;
    const double t0 = Now();
    // FFTW's own threads from the size the library starts its second thread.
    if (n >= (1 << 18)) {
        fftw_init_threads();
        fftw_plan_with_nthreads(static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN)));
    }
    fftw_plan p = cols > 0 ? fftw_plan_dft_2d(rows, cols, in, out, FFTW_FORWARD, flags)
                           : fftw_plan_dft_1d(rows, in, out, FFTW_FORWARD, flags);
    for (long i = 0; i < n; ++i) in[i][0] = in[i][1] = 1.0 / static_cast<double>(i + 1);
    fftw_execute(p);
    const double first = Now() - t0;
    const double steady = PerCall([&] { fftw_execute(p); });
    std::printf("%.6f %.9f 0\n", first, steady);
    fftw_destroy_plan(p);
    fftw_free(in);
    fftw_free(out);
}

void Library(bool wait, int rows, int cols) {
    const int32_t dims[2] = {rows, cols};
    void **x = FennelHostNewArray(TYPE_CODE_COMPLEX_DOUBLE, cols > 0 ? 2 : 1, dims);
    const int32_t zero[2] = {0, 0};
    void **y = FennelHostNewArray(TYPE_CODE_COMPLEX_DOUBLE, cols > 0 ? 2 : 1, zero);
    auto *data = static_cast<double *>(FennelHostArrayData(x, TYPE_CODE_COMPLEX_DOUBLE, cols > 0 ? 2 : 1));
    const long n = static_cast<long>(rows) * (cols > 0 ? cols : 1);
    for (long i = 0; i < 2 * n; ++i) data[i] = 1.0 / static_cast<double>(i + 1);
    FDPlanHandle plan = nullptr;
    const auto call = [&] {
        const int32_t s = cols > 0 ? z2DFFTH(x, y, rows, cols, 0, nullptr, &plan)
                                   : z1DFFTH(x, y, 0, 0, nullptr, &plan);
        if (s != 0) std::exit(1);
    };
    const double t0 = Now();
    call();
    const double first = Now() - t0;
    double waited = 0;
    if (wait) {
        // Runs that start the background measurement, then the wait for its file.
        for (int i = 0; i < 3; ++i) call();
        const char *dir = std::getenv("FENNEL_DSP_WISDOM_DIR");
        const std::string file = std::string(dir != nullptr ? dir : ".") + "/wisdom-double";
        struct stat st;
        const double w0 = Now();
        while (stat(file.c_str(), &st) != 0 && Now() - w0 < 120) usleep(20000);
        waited = Now() - w0;
        call();  // the call boundary where the measured plan takes over
    }
    const double steady = PerCall(call);
    std::printf("%.6f %.9f %.3f\n", first, steady, waited);
    FreeMKLDftiDescH(&plan);
    FennelHostFreeArray(x);
    FennelHostFreeArray(y);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 3) return 2;
    const bool fftw = std::strcmp(argv[1], "fftw") == 0;
    const int at = fftw ? 3 : 2;
    if (argc <= at) return 2;
    const int rows = std::atoi(argv[at]), cols = argc > at + 1 ? std::atoi(argv[at + 1]) : 0;
    if (fftw)
        Fftw(std::strcmp(argv[2], "measure") == 0, rows, cols);
    else
        Library(std::strcmp(argv[1], "lib") == 0, rows, cols);
    return 0;
}
