// What happens when the library is loaded and unloaded and when a thread
// ends: the OpenMP duplicate-runtime variable, the search for the engine's
// module directory (loaded modules, then the registry), loading and unloading
// the OpenMP runtime and the engine's core module.
#pragma once

#include <cstdint>

namespace fennel {

// Module names and the registry location of the engine.
inline constexpr const wchar_t *kOpenMpModule = L"libiomp5md.dll";
inline constexpr const wchar_t *kCoreModule = L"zorva_core_130000.dll";
inline constexpr const char *kRegistryKey = "SOFTWARE\\Corvane\\Fennel\\13.0\\AddOns\\Zorvakit";
inline constexpr const wchar_t *kRegistryValue = L"RunTimeDIR64";
inline constexpr const char *kDuplicateLibVariable = "KMP_DUPLICATE_LIB_OK";

// Process-wide state of the load.
struct LoadState {
    void *openmp_module;
    void *core_module;
    char saved_env[8];  // previous value of the variable (at most 7 characters)
    bool restore_env;   // the library changed the variable and restores it
    wchar_t path[512];  // module directory, then each full module path
};

LoadState &GetLoadState();

// The environment rules of attach and detach (all platforms).
void AttachEnvironment(LoadState &state);
void DetachEnvironment(LoadState &state);

// The whole attach: environment, module directory, engine; 1 lets the load
// proceed, 0 makes it fail.
int ProcessAttach(LoadState &state);
// Frees the engine's per-thread buffers of the ending thread; returns 1.
int ThreadDetach(LoadState &state);
// Unloads the core module, then the OpenMP runtime, then restores the
// variable where flagged; returns 1.
int ProcessDetach(LoadState &state);

}  // namespace fennel
