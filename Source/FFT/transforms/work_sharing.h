// Work that the calling thread and the helper thread share: the items of a
// pass are claimed in turn from one counter and counted done on another, so
// that one thread alone completes the pass and two split it without any
// item running twice.  The full spectrum of a real 3D transform and the
// expansion of a packed half spectrum both run on it.
#pragma once

#include <atomic>
#include <cstddef>
#include <thread>

#include "platform/helper_thread.h"

namespace fennel {

inline void Pause() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

// Waits until done reaches target: spins briefly, then gives the core away
// (the other thread may be waiting for one).
inline void WaitFor(const std::atomic<ptrdiff_t> &done, ptrdiff_t target) {
    for (int spin = 0; done.load(std::memory_order_acquire) < target; ++spin)
        if (spin < 2000)
            Pause();
        else
            std::this_thread::yield();
}

// The counters of one pass.
struct SharedPass {
    std::atomic<ptrdiff_t> next{0}, done{0};

    // The next unclaimed item (items from the pass's count on are past its end).
    ptrdiff_t Claim() { return next.fetch_add(1, std::memory_order_relaxed); }
    // Counts an item done; what the item wrote is visible to whoever waits
    // for it.
    void Done() { done.fetch_add(1, std::memory_order_acq_rel); }
    void WaitFor(ptrdiff_t target) const { fennel::WaitFor(done, target); }

    // Runs item(i) for every item this thread claims below count, then waits
    // until all count items are done (by either thread).
    template <class Item>
    void Run(ptrdiff_t count, Item &&item) {
        for (ptrdiff_t i; (i = Claim()) < count;) {
            item(i);
            Done();
        }
        WaitFor(count);
    }
};

// Runs Job::Run(&job) on the calling thread, and on the helper thread too
// when `share` and the helper is free.
template <class Job>
void RunShared(Job &job, bool share) {
    if (!share || !RunWithHelper(&Job::Run, &job)) Job::Run(&job);
}

}  // namespace fennel
