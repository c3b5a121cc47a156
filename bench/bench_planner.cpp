// Planner effort: first-call latency (plan + one execution) and steady-state
// time per transform for FFTW_ESTIMATE, FFTW_MEASURE and FFTW_PATIENT, and the
// plan time of a repeated MEASURE plan once the process has the wisdom.
// Complex double, out of place, aligned; each effort plans with fresh wisdom.
#include <fftw3.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

struct Result {
    double plan_s;
    double first_call_s;
    double steady_s;
};

Result Measure(int n, unsigned flags) {
    fftw_forget_wisdom();
    fftw_complex *in = fftw_alloc_complex(n), *out = fftw_alloc_complex(n);
    const double t0 = Now();
    fftw_plan p = fftw_plan_dft_1d(n, in, out, FFTW_FORWARD, flags);
    const double t1 = Now();
    for (int i = 0; i < n; ++i) in[i][0] = in[i][1] = 1.0 / (i + 1);
    fftw_execute(p);
    const double t2 = Now();
    int reps = 0;
    const double start = Now();
    double end = start;
    while (end - start < 0.3 || reps < 3) {
        fftw_execute(p);
        ++reps;
        end = Now();
    }
    fftw_destroy_plan(p);
    fftw_free(in);
    fftw_free(out);
    return {t1 - t0, t2 - t0, (end - start) / reps};
}

double ReplanWithWisdom(int n) {
    fftw_complex *in = fftw_alloc_complex(n), *out = fftw_alloc_complex(n);
    fftw_plan p = fftw_plan_dft_1d(n, in, out, FFTW_FORWARD, FFTW_MEASURE);
    fftw_destroy_plan(p);
    const double t0 = Now();
    p = fftw_plan_dft_1d(n, in, out, FFTW_FORWARD, FFTW_MEASURE);
    const double t1 = Now();
    fftw_destroy_plan(p);
    fftw_free(in);
    fftw_free(out);
    return t1 - t0;
}

}  // namespace

int main(int argc, char **argv) {
    const bool patient = argc > 1 && argv[1][0] == 'p';
    std::printf("%9s  %-8s %12s %14s %12s\n", "n", "effort", "plan/ms", "first call/ms", "steady/us");
    for (int n : {1024, 4096, 65536, 262144, 1048576}) {
        const Result e = Measure(n, FFTW_ESTIMATE);
        const Result m = Measure(n, FFTW_MEASURE);
        std::printf("%9d  %-8s %12.3f %14.3f %12.2f\n", n, "estimate", e.plan_s * 1e3, e.first_call_s * 1e3,
                    e.steady_s * 1e6);
        std::printf("%9d  %-8s %12.3f %14.3f %12.2f   (steady %.2fx of estimate)\n", n, "measure",
                    m.plan_s * 1e3, m.first_call_s * 1e3, m.steady_s * 1e6, m.steady_s / e.steady_s);
        if (patient && n <= 65536) {
            const Result p = Measure(n, FFTW_PATIENT);
            std::printf("%9d  %-8s %12.3f %14.3f %12.2f\n", n, "patient", p.plan_s * 1e3,
                        p.first_call_s * 1e3, p.steady_s * 1e6);
        }
        std::printf("%9d  %-8s %12.3f\n", n, "wisdom", ReplanWithWisdom(n) * 1e3);
    }
    return 0;
}
