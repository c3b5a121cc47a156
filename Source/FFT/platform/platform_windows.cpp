// The platform table on Windows, and the library's entry point: process
// attach loads the engine, thread detach frees its per-thread buffers,
// process detach unloads it.
#if defined(_WIN32)

#include <windows.h>

#include <cstdlib>
#include <cstring>

#include "host/library_load.h"
#include "platform/platform.h"

namespace fennel {
namespace {

size_t OsGetEnv(const char *name, char *buffer, size_t size) {
    const char *value = std::getenv(name);
    if (value == nullptr) return 0;
    const size_t needed = std::strlen(value) + 1;
    if (needed <= size)
        std::memcpy(buffer, value, needed);
    else if (size > 0)
        buffer[0] = '\0';
    return needed;
}

void OsSetEnv(const char *name, const char *value) { _putenv_s(name, value); }
void *OsFindLoadedModule(const wchar_t *name) { return GetModuleHandleW(name); }

size_t OsModuleFileName(void *module, wchar_t *buffer, size_t size) {
    return GetModuleFileNameW(static_cast<HMODULE>(module), buffer, static_cast<DWORD>(size));
}

void *OsLoadModule(const wchar_t *path) {
    return LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

void OsFreeModule(void *module) { FreeLibrary(static_cast<HMODULE>(module)); }

bool OsOpenRegistryKey(const char *path, void **key) {
    HKEY k = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &k) != ERROR_SUCCESS) return false;
    *key = k;
    return true;
}

bool OsQueryRegistryValue(void *key, const wchar_t *name, void *data, uint32_t *bytes) {
    DWORD count = *bytes;
    const LONG r = RegQueryValueExW(static_cast<HKEY>(key), name, nullptr, nullptr,
                                    static_cast<BYTE *>(data), &count);
    *bytes = count;
    return r == ERROR_SUCCESS;
}

void OsCloseRegistryKey(void *key) { RegCloseKey(static_cast<HKEY>(key)); }
void *OsTlsGet(uint32_t index) { return TlsGetValue(index); }
void *OsMainModule() { return GetModuleHandleW(nullptr); }

void *OsFindSymbol(void *module, const char *name) {
    return reinterpret_cast<void *>(GetProcAddress(static_cast<HMODULE>(module), name));
}

void OsShowMessage(const char *text, const char *caption, uint32_t style) {
    MessageBoxA(nullptr, text, caption, style);
}

void OsEndProcess(int code) { ExitProcess(static_cast<UINT>(code)); }

const PlatformApi kWindows = {OsGetEnv,          OsSetEnv,     OsFindLoadedModule, OsModuleFileName,
                              OsLoadModule,      OsFreeModule, OsOpenRegistryKey,  OsQueryRegistryValue,
                              OsCloseRegistryKey, OsTlsGet,    OsMainModule,       OsFindSymbol,
                              OsShowMessage,     OsEndProcess};

}  // namespace

const PlatformApi &NativePlatform() { return kWindows; }

}  // namespace fennel

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    fennel::LoadState &state = fennel::GetLoadState();
    switch (reason) {
        case DLL_PROCESS_ATTACH: return fennel::ProcessAttach(state);
        case DLL_THREAD_DETACH: return fennel::ThreadDetach(state);
        case DLL_PROCESS_DETACH: return fennel::ProcessDetach(state);
        default: return TRUE;
    }
}

#endif  // _WIN32
