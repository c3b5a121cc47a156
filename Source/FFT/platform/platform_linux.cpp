// The platform table on Linux.  The process's global symbol scope stands for
// the main executable; module names are looked up among the loaded shared
// objects; there is no registry.  The engine is linked into the library, so
// the constructor and destructor apply only the environment rules.
#if !defined(_WIN32)

#include <dlfcn.h>
#include <pthread.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "dft/engine/dfti.h"
#include "dft/planning/planner.h"
#include "platform/helper_thread.h"
#include "host/library_load.h"
#include "platform/platform.h"

namespace fennel {
namespace {

char g_main_token;  // the handle that stands for the main executable

bool Narrow(const wchar_t *wide, char *out, size_t size) {
    size_t i = 0;
    for (; wide[i] != L'\0'; ++i) {
        if (i + 1 >= size || wide[i] > 0x7F) return false;
        out[i] = static_cast<char>(wide[i]);
    }
    out[i] = '\0';
    return true;
}

size_t GetEnv(const char *name, char *buffer, size_t size) {
    const char *value = std::getenv(name);
    if (value == nullptr) return 0;
    const size_t needed = std::strlen(value) + 1;
    if (needed <= size)
        std::memcpy(buffer, value, needed);
    else if (size > 0)
        buffer[0] = '\0';
    return needed;
}

void SetEnv(const char *name, const char *value) { setenv(name, value, 1); }

void *FindLoadedModule(const wchar_t *name) {
    char narrow[512];
    if (!Narrow(name, narrow, sizeof narrow)) return nullptr;
    void *handle = dlopen(narrow, RTLD_LAZY | RTLD_NOLOAD);
    if (handle != nullptr) dlclose(handle);  // still loaded: the lookup took a reference
    return handle;
}

size_t ModuleFileName(void *, wchar_t *, size_t) { return 0; }

void *LoadModule(const wchar_t *path) {
    char narrow[512];
    return Narrow(path, narrow, sizeof narrow) ? dlopen(narrow, RTLD_NOW | RTLD_LOCAL) : nullptr;
}

void FreeModule(void *module) { dlclose(module); }
bool OpenRegistryKey(const char *, void **) { return false; }
bool QueryRegistryValue(void *, const wchar_t *, void *, uint32_t *) { return false; }
void CloseRegistryKey(void *) {}
void *TlsGet(uint32_t index) { return pthread_getspecific(static_cast<pthread_key_t>(index)); }
void *MainModule() { return &g_main_token; }

void *FindSymbol(void *module, const char *name) {
    return dlsym(module == &g_main_token ? RTLD_DEFAULT : module, name);
}

void MessageBox(const char *text, const char *caption, uint32_t) {
    std::fprintf(stderr, "%s: %s\n", caption, text);
    std::fflush(stderr);
}

void ExitProcess(int code) { std::_Exit(code); }

const PlatformApi kLinux = {GetEnv,          SetEnv,     FindLoadedModule, ModuleFileName,
                            LoadModule,      FreeModule, OpenRegistryKey,  QueryRegistryValue,
                            CloseRegistryKey, TlsGet,    MainModule,       FindSymbol,
                            MessageBox,      ExitProcess};

__attribute__((constructor)) void OnLoad() {
    AttachEnvironment(GetLoadState());
    engine::SetWorkSharing(&RunWithHelper);
    planning::Install();
}
__attribute__((destructor)) void OnUnload() {
    engine::StopPlanning();  // its measurements may share work with the helper
    StopHelper();
    DetachEnvironment(GetLoadState());
}

}  // namespace

const PlatformApi &NativePlatform() { return kLinux; }

}  // namespace fennel

#endif  // !_WIN32
