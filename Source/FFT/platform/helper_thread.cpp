#include "platform/helper_thread.h"

#if defined(_WIN32)

namespace fennel {
bool RunWithHelper(void (*)(void *), void *) { return false; }
void StopHelper() {}
}  // namespace fennel

#else

#include <pthread.h>

#include <condition_variable>
#include <mutex>

namespace fennel {
namespace {

struct Helper {
    std::mutex user;  // held by the caller the helper serves
    std::mutex m;     // guards the fields below
    std::condition_variable cv;
    void (*task)(void *) = nullptr;  // the offered task, null when none
    void *context = nullptr;
    bool running = false;  // the helper has taken the task and runs it
    bool started = false;
    bool quit = false;  // the library is being unloaded: the helper returns
    pthread_t thread;
};

// Made at the first use and destroyed at unload, once the thread has ended.
Helper *g_helper = nullptr;
Helper &Instance() {
    static Helper *helper = g_helper = new Helper;
    return *helper;
}

void *Serve(void *) {
    Helper &h = Instance();
    std::unique_lock<std::mutex> lock(h.m);
    for (;;) {
        h.cv.wait(lock, [&] { return h.quit || (h.task != nullptr && !h.running); });
        if (h.quit) return nullptr;
        void (*task)(void *) = h.task;
        void *context = h.context;
        h.running = true;
        lock.unlock();
        task(context);
        lock.lock();
        h.running = false;
        h.task = nullptr;
        h.cv.notify_all();
    }
    return nullptr;
}

}  // namespace

bool RunWithHelper(void (*task)(void *), void *context) {
    Helper &h = Instance();
    if (!h.user.try_lock()) return false;
    std::unique_lock<std::mutex> lock(h.m);
    if (!h.started) {
        if (h.quit || pthread_create(&h.thread, nullptr, Serve, nullptr) != 0) {
            lock.unlock();
            h.user.unlock();
            return false;
        }
        h.started = true;
    }
    h.task = task;
    h.context = context;
    lock.unlock();
    h.cv.notify_all();
    task(context);
    lock.lock();
    if (h.running)
        h.cv.wait(lock, [&] { return !h.running; });
    else
        h.task = nullptr;  // not taken: withdrawn
    lock.unlock();
    h.user.unlock();
    return true;
}

void StopHelper() {
    if (g_helper == nullptr) return;
    Helper &h = *g_helper;
    std::unique_lock<std::mutex> lock(h.m);
    const bool running = h.started && !h.quit;
    h.quit = true;
    lock.unlock();
    if (running) {
        h.cv.notify_all();
        pthread_join(h.thread, nullptr);
    }
    delete g_helper;
    g_helper = nullptr;
}

}  // namespace fennel

#endif
