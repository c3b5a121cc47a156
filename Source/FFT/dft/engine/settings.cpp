#include "dft/engine/settings.h"

#include <fftw3.h>

#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace fennel::engine {
namespace {

// From this many points (all dimensions and batches) a plan runs on every
// core.  Measured on the idle 2-core machine (bench/README.md), two threads
// pay off from about 2^18 complex points; below that, waiting for the second
// core costs as much as it saves or more.
constexpr std::ptrdiff_t kThreadsFrom = std::ptrdiff_t{1} << 18;

bool (*g_share)(void (*)(void *), void *) = nullptr;

// One parallel loop of FFTW: the jobs, claimed in turn by the caller and,
// when it is free, the library's second thread.
struct Loop {
    void *(*work)(char *);
    char *jobs;
    size_t size;
    int count;
    std::atomic<int> next{0};

    static void Run(void *context) {
        Loop &loop = *static_cast<Loop *>(context);
        for (int i; (i = loop.next.fetch_add(1, std::memory_order_relaxed)) < loop.count;)
            loop.work(loop.jobs + loop.size * static_cast<size_t>(i));
    }
};

void ParallelLoop(void *(*work)(char *), char *jobs, size_t size, int count, void *) {
    Loop loop{work, jobs, size, count};
    if (count < 2 || g_share == nullptr || !g_share(&Loop::Run, &loop)) Loop::Run(&loop);
}

// The machine's cores (FENNEL_DSP_THREADS overrides).
int Cores() {
    static const int cores = [] {
        long n = sysconf(_SC_NPROCESSORS_ONLN);
        if (const char *v = std::getenv("FENNEL_DSP_THREADS")) n = std::strtol(v, nullptr, 10);
        return n < 1 ? 1 : static_cast<int>(n > 64 ? 64 : n);
    }();
    return cores;
}

}  // namespace

// Measured plans run 1.25 to 2.2 times faster than estimated ones
// (bench/README.md); the planning policy (dft/planning/) decides when to
// measure, and without it every plan is measured.
Effort DefaultEffort() {
    static const Effort effort = [] {
        const char *v = std::getenv("FENNEL_DSP_PLANNER");
        if (v != nullptr && std::strcmp(v, "estimate") == 0) return Effort::kEstimate;
        if (v != nullptr && std::strcmp(v, "patient") == 0) return Effort::kPatient;
        return Effort::kMeasure;
    }();
    return effort;
}

int ThreadsFor(std::ptrdiff_t total) { return total >= kThreadsFrom ? Cores() : 1; }

// FFTW's thread support is set up before any other planner setting (setting
// a thread count first resets the planner), on the first plan of each
// precision (about half a millisecond), with its loops on our threads.
void SetPlanThreads(bool single, std::ptrdiff_t points) {
    static std::once_flag once[2];
    std::call_once(once[single], [single] {
        (single ? fftwf_init_threads : fftw_init_threads)();
        (single ? fftwf_threads_set_callback : fftw_threads_set_callback)(&ParallelLoop, nullptr);
    });
    (single ? fftwf_plan_with_nthreads : fftw_plan_with_nthreads)(ThreadsFor(points));
}

void SetWorkSharing(bool (*share)(void (*)(void *), void *)) { g_share = share; }

// The FFTW linked into the library is the library's own: at unload its
// planner's memory is freed, and the free memory that large transforms left
// in the C heap goes back to the system (the heap keeps freed blocks above
// its dynamic mapping threshold otherwise, which grows with every block of
// a large transform it has seen).
__attribute__((destructor)) void ReleaseFftw() {
    StopPlanning();
    fftw_cleanup_threads();
    fftwf_cleanup_threads();
    malloc_trim(0);
}

}  // namespace fennel::engine
