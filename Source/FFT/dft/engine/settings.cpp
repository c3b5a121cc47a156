#include "dft/engine/settings.h"

#include <fftw3.h>

#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "dft/engine/dfti.h"

namespace fennel::engine {
namespace {

// Measured plans run 1.25 to 2.2 times faster than estimated ones; making
// one takes 0.07 s at 1024 points and up to about 5 s from 2^18 points on.
// A plan handle exists to pay that once, so the default measures, without a
// time limit: a limited planner that runs out of time keeps a plan no better
// than an estimated one (bench/README.md has the figures).

int EffortOverride() {
    static const int value = [] {
        const char *v = std::getenv("FENNEL_DSP_PLANNER");
        if (v == nullptr || std::strcmp(v, "default") == 0) return -1;
        if (std::strcmp(v, "estimate") == 0) return static_cast<int>(Effort::kEstimate);
        if (std::strcmp(v, "measure") == 0) return static_cast<int>(Effort::kMeasure);
        if (std::strcmp(v, "patient") == 0) return static_cast<int>(Effort::kPatient);
        return -1;
    }();
    return value;
}

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

// FFTW's thread support, initialised once before any planner setting (the
// threads library resets the planner when a thread count is set first),
// with its loops on the library's own threads.
// Each precision's on its first plan: setting up a planner takes about
// half a millisecond, paid by the first call that needs it.
void InitThreadsOf(bool single) {
    if (single) {
        static const bool done = [] {
            fftwf_init_threads();
            fftwf_threads_set_callback(&ParallelLoop, nullptr);
            return true;
        }();
        (void)done;
    } else {
        static const bool done = [] {
            fftw_init_threads();
            fftw_threads_set_callback(&ParallelLoop, nullptr);
            return true;
        }();
        (void)done;
    }
}

void InitThreads() {
    InitThreadsOf(false);
    InitThreadsOf(true);
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

Effort PlannerEffortFor(std::ptrdiff_t total) {
    (void)total;
    const int forced = EffortOverride();
    return forced >= 0 ? static_cast<Effort>(forced) : Effort::kMeasure;
}

int PlannerOverride() { return EffortOverride(); }

double PlannerTimeLimit() { return -1.0; }

int ThreadsFor(std::ptrdiff_t total) { return total >= kThreadsFrom ? Cores() : 1; }

void ApplyThreadCount(std::ptrdiff_t total) {
    InitThreads();
    const int threads = ThreadsFor(total);
    fftw_plan_with_nthreads(threads);
    fftwf_plan_with_nthreads(threads);
}

void ApplyThreadCountOf(bool single, std::ptrdiff_t total) {
    InitThreadsOf(single);
    (single ? fftwf_plan_with_nthreads : fftw_plan_with_nthreads)(ThreadsFor(total));
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
