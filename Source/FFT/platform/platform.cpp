#include "platform/platform.h"

#include <atomic>

namespace fennel {
namespace {

std::atomic<const PlatformApi *> g_platform{nullptr};

}  // namespace

const PlatformApi &Platform() {
    const PlatformApi *api = g_platform.load(std::memory_order_acquire);
    return api != nullptr ? *api : NativePlatform();
}

void SetPlatformForTesting(const PlatformApi *api) { g_platform.store(api, std::memory_order_release); }

}  // namespace fennel
