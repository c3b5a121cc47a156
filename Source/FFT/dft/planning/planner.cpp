#include "dft/planning/planner.h"

#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "dft/engine/dfti.h"
#include "dft/planning/wisdom_file.h"

namespace fennel::planning {
namespace {

using engine::Effort;
using engine::PlanHow;
using engine::RawPlan;
using engine::RawSpec;

// Runs of an estimated plan before the background thread measures it: a
// geometry computed once or twice is not worth a measurement.
constexpr unsigned kMeasureAfter = 3;
// Background measurements run without a time limit: a limited planner that
// runs out of time keeps a plan no better than an estimated one, and once
// it has, FFTW declines to measure under a limit again in the process.
// Callers never wait for a measurement: one that needs the planner cuts it
// short (FFTW's time limit set to 0, which its planner reads at every
// check), and it is tried again later.
// The pause before a measurement cut short is tried again.
constexpr useconds_t kRetryPause = 200000;
constexpr int kQueueMax = 32;

Mode ParseMode() {
    const char *v = std::getenv("FENNEL_DSP_PLANNER");
    if (v == nullptr) return Mode::kBackground;
    if (std::strcmp(v, "estimate") == 0) return Mode::kEstimate;
    if (std::strcmp(v, "measure") == 0) return Mode::kMeasure;
    if (std::strcmp(v, "patient") == 0) return Mode::kPatient;
    return Mode::kBackground;
}

std::atomic<unsigned> g_generation{1};
std::atomic<long> g_queued{0}, g_interruptions{0};

thread_local int t_effort = 0;
thread_local double t_time_limit = -1.0;

// The cache file of each precision is read at its first plan.
std::mutex g_load_mutex;
std::atomic<bool> g_loaded[2];
// Whether the precision's planner may have wisdom (a file read, wisdom
// imported or measured): a wisdom-only attempt costs about as much as an
// estimated plan, so none is made before.
std::atomic<bool> g_has_wisdom[2];

void NoteWisdom(DFTI_CONFIG_VALUE precision) {
    g_has_wisdom[precision == DFTI_SINGLE].store(true, std::memory_order_release);
    g_generation.fetch_add(1, std::memory_order_release);
}

void EnsureLoaded(DFTI_CONFIG_VALUE precision) {
    std::atomic<bool> &loaded = g_loaded[precision == DFTI_SINGLE];
    if (loaded.load(std::memory_order_acquire)) return;
    std::lock_guard<std::mutex> lock(g_load_mutex);
    if (loaded.load(std::memory_order_relaxed)) return;
    if (LoadWisdomFile(precision)) NoteWisdom(precision);
    loaded.store(true, std::memory_order_release);
}

// ---- the background thread ---------------------------------------------------

struct Background {
    std::condition_variable cv;
    RawSpec queue[kQueueMax];
    int count = 0;
    bool busy = false;  // a measurement runs
    bool quit = false;
    bool started = false;
    std::atomic<bool> ended{false};  // the thread has left its loop
    pthread_t thread;
};

std::mutex g_mutex;  // guards the pointer and the fields of the background state
Background *g_background = nullptr;  // made at the first measurement wanted
bool g_stopped = false;              // the library is going away: nothing more starts

bool SameSpec(const RawSpec &a, const RawSpec &b) {
    if (a.precision != b.precision || a.kind != b.kind || a.rank != b.rank || a.loop != b.loop ||
        a.in_bytes != b.in_bytes || a.out_bytes != b.out_bytes || a.in_place != b.in_place ||
        a.preserve_input != b.preserve_input || a.destroy_input != b.destroy_input ||
        a.any_alignment != b.any_alignment || a.points != b.points || a.one_thread != b.one_thread ||
        a.loop_dim.n != b.loop_dim.n || a.loop_dim.is != b.loop_dim.is || a.loop_dim.os != b.loop_dim.os)
        return false;
    for (int i = 0; i < a.rank; ++i)
        if (a.dims[i].n != b.dims[i].n || a.dims[i].is != b.dims[i].is || a.dims[i].os != b.dims[i].os)
            return false;
    return true;
}

// False when a caller cut the measurement short.
bool Measure(const RawSpec &problem) {
    EnsureLoaded(problem.precision);
    PlanHow how;
    how.effort = Effort::kMeasure;
    bool interrupted = false;
    how.interruptible = true;
    how.interrupted = &interrupted;
    RawPlan *plan = engine::MakeRawPlanHow(problem, how);
    engine::FreeRawPlan(plan);
    if (interrupted) {
        g_interruptions.fetch_add(1, std::memory_order_relaxed);
        return false;
    }
    if (plan == nullptr) return true;
    NoteWisdom(problem.precision);
    SaveWisdomFile(problem.precision);
    return true;
}

void *Work(void *) {
    // Below the callers' priority: the measurement fills idle time.
    const pid_t self = gettid();
    const int nice = getpriority(PRIO_PROCESS, self);
    setpriority(PRIO_PROCESS, self, nice + 10 > 19 ? 19 : nice + 10);
    std::unique_lock<std::mutex> lock(g_mutex);
    Background &b = *g_background;
    for (;;) {
        b.cv.wait(lock, [&] { return b.quit || b.count > 0; });
        if (b.quit) break;
        const RawSpec problem = b.queue[0];
        for (int i = 1; i < b.count; ++i) b.queue[i - 1] = b.queue[i];
        --b.count;
        b.busy = true;
        lock.unlock();
        const bool done = Measure(problem);
        if (!done) usleep(kRetryPause);
        lock.lock();
        if (!done && !b.quit && b.count < kQueueMax) b.queue[b.count++] = problem;  // again, later
        b.busy = false;
        b.cv.notify_all();
    }
    b.ended.store(true, std::memory_order_release);
    return nullptr;
}

void Enqueue(const RawSpec &problem) {
    std::lock_guard<std::mutex> lock(g_mutex);
    if (g_stopped) return;
    if (g_background == nullptr && (g_background = new (std::nothrow) Background) == nullptr) return;
    Background &b = *g_background;
    for (int i = 0; i < b.count; ++i)
        if (SameSpec(b.queue[i], problem)) return;
    if (b.count == kQueueMax) return;
    if (!b.started) {
        // The thread takes no signals of the process's.
        sigset_t all, old;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &old);
        b.started = pthread_create(&b.thread, nullptr, &Work, nullptr) == 0;
        pthread_sigmask(SIG_SETMASK, &old, nullptr);
        if (!b.started) return;
    }
    b.queue[b.count++] = problem;
    g_queued.fetch_add(1, std::memory_order_relaxed);
    b.cv.notify_all();
}

// Ends the thread, cutting a measurement under way short, and frees the
// state.
void Stop() {
    std::unique_lock<std::mutex> lock(g_mutex);
    g_stopped = true;
    Background *b = g_background;
    if (b == nullptr) return;
    b->quit = true;
    b->cv.notify_all();
    lock.unlock();
    // A measurement under way is cut short (again, should one start meanwhile).
    while (b->started && !b->ended.load(std::memory_order_acquire)) {
        engine::InterruptMeasurements();
        usleep(1000);
    }
    if (b->started) pthread_join(b->thread, nullptr);
    lock.lock();
    g_background = nullptr;
    delete b;
}

// ---- the policy ------------------------------------------------------------

RawPlan *Make(const RawSpec &problem) {
    const Mode mode = CurrentMode();
    const int effort = t_effort;
    PlanHow how;
    if (effort == 1 || (effort == 0 && mode == Mode::kEstimate)) return engine::MakeRawPlanHow(problem, how);
    EnsureLoaded(problem.precision);
    // A geometry wisdom knows costs nothing, whoever asks.
    how.effort = effort == 3 || (effort == 0 && mode == Mode::kPatient) ? Effort::kPatient : Effort::kMeasure;
    how.wisdom_only = true;
    if (g_has_wisdom[problem.precision == DFTI_SINGLE].load(std::memory_order_acquire))
        if (RawPlan *plan = engine::MakeRawPlanHow(problem, how)) return plan;
    how.wisdom_only = false;
    if (effort >= 2 || mode != Mode::kBackground) {
        // Measured in this thread: asked for by the setting or by planning ahead.
        how.time_limit = effort != 0 ? t_time_limit : -1.0;
        RawPlan *plan = engine::MakeRawPlanHow(problem, how);
        if (plan != nullptr) {
            NoteWisdom(problem.precision);
            if (effort == 0) SaveWisdomFile(problem.precision);
        }
        return plan;
    }
    how.effort = Effort::kEstimate;
    RawPlan *plan = engine::MakeRawPlanHow(problem, how);
    if (plan != nullptr) engine::NoteOf(plan).generation = g_generation.load(std::memory_order_acquire);
    return plan;
}

// Runs of estimated plans, per geometry: a geometry computed a few times
// counts whether one plan handle kept it or each call made a new one.
struct Count {
    RawSpec problem;
    unsigned runs = 0;
    unsigned long last = 0;
};
constexpr int kCounted = 64;
Count g_counts[kCounted];  // guarded by g_mutex
unsigned long g_clock = 0;

unsigned CountRun(const RawSpec &problem) {
    std::lock_guard<std::mutex> lock(g_mutex);
    Count *slot = &g_counts[0];
    for (Count &c : g_counts) {
        if (c.runs > 0 && SameSpec(c.problem, problem)) {
            slot = &c;
            break;
        }
        if (c.last < slot->last) slot = &c;  // else the least recently counted
    }
    if (slot->runs == 0 || !SameSpec(slot->problem, problem)) *slot = Count{problem, 0, 0};
    slot->last = ++g_clock;
    return ++slot->runs;
}

void RanEstimated(const RawPlan *plan) {
    if (CurrentMode() != Mode::kBackground) return;
    // Each plan counts its first runs only: the lock is not taken on every call.
    engine::PlanNote &note = engine::NoteOf(plan);
    if (note.runs >= kMeasureAfter) return;
    ++note.runs;
    if (CountRun(engine::SpecOf(plan)) == kMeasureAfter) Enqueue(engine::SpecOf(plan));
}

RawPlan *Replacement(const RawPlan *plan) {
    if (CurrentMode() != Mode::kBackground) return nullptr;
    engine::PlanNote &note = engine::NoteOf(plan);
    const unsigned generation = g_generation.load(std::memory_order_acquire);
    if (note.generation == generation) return nullptr;
    bool busy = false;
    PlanHow how;
    how.effort = Effort::kMeasure;
    how.wisdom_only = true;
    how.wait = false;
    how.busy = &busy;
    RawPlan *better = engine::MakeRawPlanHow(engine::SpecOf(plan), how);
    if (better == nullptr && !busy) note.generation = generation;  // nothing new for it
    return better;
}

const engine::PlanPolicy kPolicy = {&Make, &RanEstimated, &Replacement, &Stop};

// fork() copies only the calling thread: every lock the background thread
// might hold is taken first (its measurement cut short), and in the child,
// where that thread does not exist, a later measurement starts a new one.
void PrepareFork() {
    g_mutex.lock();
    g_load_mutex.lock();
    engine::LockForFork();
}

void ParentAfterFork() {
    engine::UnlockAfterFork();
    g_load_mutex.unlock();
    g_mutex.unlock();
}

void ChildAfterFork() {
    engine::UnlockAfterFork();
    g_load_mutex.unlock();
    g_background = nullptr;  // the parent's thread and its state stay the parent's
    g_mutex.unlock();
}

}  // namespace

Mode CurrentMode() {
    static const Mode mode = ParseMode();
    return mode;
}

void Install() {
    engine::SetPlanPolicy(&kPolicy);
    pthread_atfork(&PrepareFork, &ParentAfterFork, &ChildAfterFork);
}

int SetThreadEffort(int effort, double time_limit) {
    if (effort < 0 || effort > 3) return -1;
    const int previous = t_effort;
    t_effort = effort;
    t_time_limit = time_limit;
    return previous;
}

bool SaveWisdom() {
    const bool d = SaveWisdomFile(DFTI_DOUBLE);
    const bool s = SaveWisdomFile(DFTI_SINGLE);
    return d || s;
}

std::string ExportWisdomText() { return Pack(DFTI_DOUBLE) + Pack(DFTI_SINGLE); }

bool ImportWisdomText(const char *text) {
    if (text == nullptr) return false;
    size_t size = std::strlen(text), at = 0, used = 0;
    bool any = false;
    while (at < size && Unpack(text + at, size - at, used)) {
        at += used;
        any = true;
    }
    if (any) {
        NoteWisdom(DFTI_DOUBLE);
        NoteWisdom(DFTI_SINGLE);
    }
    return any && at == size;
}

void ForgetWisdom(bool remove_files) {
    {
        // A file read later would bring the wisdom back.
        std::lock_guard<std::mutex> lock(g_load_mutex);
        for (std::atomic<bool> &loaded : g_loaded) loaded.store(true, std::memory_order_release);
    }
    for (DFTI_CONFIG_VALUE precision : {DFTI_DOUBLE, DFTI_SINGLE}) engine::ForgetWisdom(precision);
    if (remove_files) RemoveWisdomFiles();
    // Geometries counted before are measured again after their next runs.
    std::lock_guard<std::mutex> lock(g_mutex);
    for (Count &c : g_counts) c = Count{};
}

unsigned Generation() { return g_generation.load(std::memory_order_acquire); }
long QueuedCount() { return g_queued.load(std::memory_order_relaxed); }
long InterruptedCount() { return g_interruptions.load(std::memory_order_relaxed); }


void WaitUntilIdle() {
    std::unique_lock<std::mutex> lock(g_mutex);
    Background *b = g_background;
    if (b != nullptr) b->cv.wait(lock, [&] { return b->quit || (b->count == 0 && !b->busy); });
}

}  // namespace fennel::planning
