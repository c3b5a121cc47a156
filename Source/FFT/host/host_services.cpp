// Binding to the host's memory services.
//
// Each service has a record holding the resolved function and the module it
// came from.  Every call first finds the host module: the value of the host's
// thread-local slot when one was named and is set, else the module named by
// SetFNRTModule, else the main executable when it exports "gFNRTVersion" or
// "AZNewHandle", else the loaded "fnrt.dll", else "fnffrt.dll".  A record is
// looked up again whenever the host module differs from the one it was
// resolved in.  No host module, or a missing service, ends the process with
// the "Fatal Error" message and exit code 1.
#include "host/host_services.h"

#include <atomic>
#include <cstdio>

#include "platform/platform.h"

namespace fennel {
namespace {

constexpr uint32_t kNoSlot = 0xFFFFFFFFu;
constexpr uint32_t kFatalStyle = 0x2010;  // stop icon, task-modal

std::atomic<void *> g_module_override{nullptr};
std::atomic<uint32_t> g_tls_index{kNoSlot};
std::atomic<const PlatformApi *> g_exe_api{nullptr};
std::atomic<void *> g_exe_host{nullptr};

// Records are written without a lock: threads that race store the same values.
struct ServiceRecord {
    std::atomic<void *> function{nullptr};
    std::atomic<void *> module{nullptr};
    const char *name;
};

ServiceRecord g_resize{{nullptr}, {nullptr}, "NumericArrayResize"};
ServiceRecord g_new_ptr{{nullptr}, {nullptr}, "DSNewPtr"};
ServiceRecord g_dispose_ptr{{nullptr}, {nullptr}, "DSDisposePtr"};

void Fatal(const char *text) {
    const PlatformApi &os = Platform();
    os.message_box(text, "Fatal Error", kFatalStyle);
    os.exit_process(1);
}

void *FindHostModule() {
    const PlatformApi &os = Platform();
    const uint32_t slot = g_tls_index.load(std::memory_order_relaxed);
    if (slot < kNoSlot) {
        void *value = os.tls_get(slot);
        if (value != nullptr) return value;
    }
    void *module = g_module_override.load(std::memory_order_relaxed);
    if (module != nullptr) return module;
    // A module's exports never change, so a main executable seen to export a
    // mark is remembered (per platform table) instead of looked up each call.
    if (g_exe_api.load(std::memory_order_acquire) == &os) return g_exe_host.load(std::memory_order_relaxed);
    void *exe = os.main_module();
    if (os.find_symbol(exe, "gFNRTVersion") != nullptr || os.find_symbol(exe, "AZNewHandle") != nullptr) {
        g_exe_host.store(exe, std::memory_order_relaxed);
        g_exe_api.store(&os, std::memory_order_release);
        return exe;
    }
    module = os.find_loaded_module(L"fnrt.dll");
    if (module == nullptr) module = os.find_loaded_module(L"fnffrt.dll");
    return module;
}

void *Resolve(ServiceRecord &record) {
    void *module = FindHostModule();
    if (module == nullptr) {
        Fatal("FENNELV.LIB was not called from a Fennel process.");
        return nullptr;
    }
    void *function = record.function.load(std::memory_order_relaxed);
    if (function == nullptr || record.module.load(std::memory_order_relaxed) != module) {
        function = Platform().find_symbol(module, record.name);
        record.function.store(function, std::memory_order_relaxed);
        record.module.store(module, std::memory_order_relaxed);
    }
    if (function == nullptr) {
        char text[300];
        std::snprintf(text, sizeof text, "FENNELV.LIB could not locate \"%s\".", record.name);
        Fatal(text);
    }
    return function;
}

}  // namespace

int32_t HostNumericArrayResize(int32_t typeCode, int32_t numDims, void ***handle,
                               int64_t totalElements) noexcept {
    using Fn = int32_t (*)(int32_t, int32_t, void ***, int64_t);
    return reinterpret_cast<Fn>(Resolve(g_resize))(typeCode, numDims, handle, totalElements);
}

void *HostNewPtr(size_t size) noexcept {
    using Fn = void *(*)(size_t);
    return reinterpret_cast<Fn>(Resolve(g_new_ptr))(size);
}

void HostDisposePtr(void *pointer) noexcept {
    using Fn = void (*)(void *);
    reinterpret_cast<Fn>(Resolve(g_dispose_ptr))(pointer);
}

void SetHostModule(void *module) noexcept {
    g_module_override.store(module, std::memory_order_relaxed);
}

void SetHostTlsIndex(uint32_t index) noexcept {
    g_tls_index.store(index, std::memory_order_relaxed);
}

}  // namespace fennel
