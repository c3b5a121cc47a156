#include "host/library_load.h"

#include <cstring>
#include <cwchar>

#include "platform/platform.h"

namespace fennel {
namespace {

constexpr const wchar_t *kModuleNames[] = {L"ZORVA_FFT.dll", L"ZORVA_LINALG.dll",
                                           L"ZORVA_SPARSE.dll", L"ZORVA_THREAD.dll"};

bool EqualsIgnoringCase(const char *a, const char *b) {
    for (; *a != '\0' && *b != '\0'; ++a, ++b) {
        const char x = (*a >= 'a' && *a <= 'z') ? static_cast<char>(*a - 32) : *a;
        const char y = (*b >= 'a' && *b <= 'z') ? static_cast<char>(*b - 32) : *b;
        if (x != y) return false;
    }
    return *a == *b;
}

// Appends src to dst (capacity cap, terminator included); false if it does
// not fit, dst unchanged.
bool Append(wchar_t *dst, size_t cap, const wchar_t *src) {
    const size_t have = std::wcslen(dst), add = std::wcslen(src);
    if (have + add + 1 > cap) return false;
    std::wmemcpy(dst + have, src, add + 1);
    return true;
}

bool Copy(wchar_t *dst, size_t cap, const wchar_t *src, size_t count) {
    if (count + 1 > cap) return false;
    std::wmemcpy(dst, src, count);
    dst[count] = L'\0';
    return true;
}

// Splits a full file name into drive, directory, file name and extension in
// buffers of 16, 400, 32 and 8 characters; false when a part does not fit.
bool SplitPath(const wchar_t *path, wchar_t (&drive)[16], wchar_t (&dir)[400], wchar_t (&name)[32],
               wchar_t (&ext)[8]) {
    size_t start = 0;
    if (path[0] != L'\0' && path[1] == L':') start = 2;
    if (!Copy(drive, 16, path, start)) return false;
    const size_t length = std::wcslen(path);
    size_t last_sep = start;  // one past the last separator
    for (size_t i = start; i < length; ++i)
        if (path[i] == L'\\' || path[i] == L'/') last_sep = i + 1;
    if (!Copy(dir, 400, path + start, last_sep - start)) return false;
    size_t dot = length;
    for (size_t i = last_sep; i < length; ++i)
        if (path[i] == L'.') dot = i;
    return Copy(name, 32, path + last_sep, dot - last_sep) && Copy(ext, 8, path + dot, length - dot);
}

bool EndsInBackslash(const wchar_t *s) {
    const size_t n = std::wcslen(s);
    return n > 0 && s[n - 1] == L'\\';
}

// Finds the directory of the first loaded module among kModuleNames.
bool FindModuleDirectory(LoadState &state) {
    const PlatformApi &os = Platform();
    void *module = nullptr;
    for (const wchar_t *name : kModuleNames)
        if ((module = os.find_loaded_module(name)) != nullptr) break;
    if (module == nullptr) return false;
    wchar_t full[512] = {};
    if (os.module_file_name(module, full, 511) == 0) return false;
    full[511] = L'\0';
    wchar_t drive[16], dir[400], name[32], ext[8];
    if (!SplitPath(full, drive, dir, name, ext)) return false;
    state.path[0] = L'\0';
    if (!Append(state.path, 512, drive) || !Append(state.path, 512, dir)) return false;
    if (!EndsInBackslash(state.path) && !Append(state.path, 512, L"\\")) return false;
    return true;
}

// Loads the OpenMP runtime, then the core module, from directory.
int LoadEngine(LoadState &state, const wchar_t *directory) {
    const PlatformApi &os = Platform();
    wchar_t full[512];
    full[0] = L'\0';
    if (!Append(full, 512, directory) || !Append(full, 512, kOpenMpModule)) return 0;
    state.openmp_module = os.load_module(full);
    if (state.openmp_module == nullptr) return 0;
    full[0] = L'\0';
    if (!Append(full, 512, directory) || !Append(full, 512, kCoreModule)) {
        os.free_module(state.openmp_module);
        state.openmp_module = nullptr;
        return 0;
    }
    state.core_module = os.load_module(full);
    if (state.core_module == nullptr) {
        os.free_module(state.openmp_module);
        state.openmp_module = nullptr;
        return 0;
    }
    return 1;
}

// Reads the install directory from the registry into state.path, with the
// version folder appended; false (path emptied) when it cannot be read.
bool ReadRegistryDirectory(LoadState &state) {
    const PlatformApi &os = Platform();
    void *key = nullptr;
    if (!os.open_registry_key(kRegistryKey, &key)) {
        state.path[0] = L'\0';
        return false;
    }
    uint32_t bytes = 500;  // fixed, whatever the buffer holds
    if (!os.query_registry_value(key, kRegistryValue, state.path, &bytes)) {
        state.path[0] = L'\0';
        return false;  // the key stays open on this path
    }
    reinterpret_cast<char *>(state.path)[bytes] = '\0';
    state.path[511] = L'\0';
    if (!EndsInBackslash(state.path)) Append(state.path, 512, L"\\");
    Append(state.path, 512, L"13.0.0\\");
    os.close_registry_key(key);
    return true;
}

}  // namespace

LoadState &GetLoadState() {
    static LoadState state{};
    return state;
}

void AttachEnvironment(LoadState &state) {
    const PlatformApi &os = Platform();
    const size_t needed = os.get_env(kDuplicateLibVariable, state.saved_env, sizeof state.saved_env);
    if (needed == 0) {
        os.set_env(kDuplicateLibVariable, "TRUE");  // stays set after unload
    } else if (!EqualsIgnoringCase(state.saved_env, "TRUE")) {
        state.restore_env = true;
        os.set_env(kDuplicateLibVariable, "TRUE");
    }
}

void DetachEnvironment(LoadState &state) {
    if (state.restore_env && state.saved_env[0] != '\0')
        Platform().set_env(kDuplicateLibVariable, state.saved_env);
}

int ProcessAttach(LoadState &state) {
    AttachEnvironment(state);
    if (FindModuleDirectory(state) && LoadEngine(state, state.path) == 1) return 1;
    if (!ReadRegistryDirectory(state)) return 0;
    return LoadEngine(state, state.path);
}

int ThreadDetach(LoadState &state) {
    (void)state;
    const PlatformApi &os = Platform();
    void *core = os.find_loaded_module(kCoreModule);
    if (core != nullptr) {
        auto free_buffers = reinterpret_cast<void (*)()>(os.find_symbol(core, "MKL_Thread_Free_Buffers"));
        if (free_buffers != nullptr) free_buffers();
    }
    return 1;
}

int ProcessDetach(LoadState &state) {
    const PlatformApi &os = Platform();
    if (state.core_module != nullptr) os.free_module(state.core_module);
    if (state.openmp_module != nullptr) os.free_module(state.openmp_module);
    state.core_module = state.openmp_module = nullptr;
    DetachEnvironment(state);
    return 1;
}

}  // namespace fennel
