// The Windows build under test: this program is the host (it exports the
// memory services and "gFNRTVersion"), loads fennel_dsp.dll in the module
// layouts prepared by the build, and checks the load rules and results.
//   wine_test.exe <folder of fennel_dsp.dll> <layout root> <sample output file>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "sampler.h"

namespace {

int g_passed = 0, g_failed = 0;

void Check(bool ok, const char *what) {
    std::printf("%s: %s\n", ok ? "ok" : "FAILED", what);
    (ok ? g_passed : g_failed)++;
}

std::wstring Widen(const char *s) { return std::wstring(s, s + std::strlen(s)); }

std::wstring g_bin, g_root;
HMODULE g_library = nullptr;

HMODULE LoadLibraryUnderTest() { return LoadLibraryW((g_bin + L"\\fennel_dsp.dll").c_str()); }
bool Loaded(const wchar_t *name) { return GetModuleHandleW(name) != nullptr; }

std::string Env() {
    const char *v = std::getenv("KMP_DUPLICATE_LIB_OK");
    return v ? v : "(absent)";
}

void SetEnv(const char *value) { _putenv_s("KMP_DUPLICATE_LIB_OK", value ? value : ""); }

std::wstring ModulePath(const wchar_t *name) {
    wchar_t path[512] = {};
    GetModuleFileNameW(GetModuleHandleW(name), path, 511);
    return path;
}

DWORD WINAPI Worker(LPVOID) { return 0; }

const char *kKey = "SOFTWARE\\Corvane\\Fennel\\13.0\\AddOns\\Zorvakit";

void SetRegistry(const std::wstring &dir) {
    HKEY key;
    RegCreateKeyExA(HKEY_LOCAL_MACHINE, kKey, 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr);
    RegSetValueExW(key, L"RunTimeDIR64", 0, REG_SZ, reinterpret_cast<const BYTE *>(dir.c_str()),
                   static_cast<DWORD>((dir.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
}

void ClearRegistry() { RegDeleteKeyA(HKEY_LOCAL_MACHINE, kKey); }

}  // namespace

int main(int argc, char **argv) {
    if (argc < 4) return 2;
    g_bin = Widen(argv[1]);
    g_root = Widen(argv[2]);
    ClearRegistry();

    // From the module directory: a loaded module of the toolkit marks it.
    HMODULE marker = LoadLibraryW((g_root + L"\\moddir\\ZORVA_FFT.dll").c_str());
    Check(marker != nullptr, "marker module loads");
    SetEnv(nullptr);
    g_library = LoadLibraryUnderTest();
    Check(g_library != nullptr, "library loads from the module directory");
    Check(Loaded(L"libiomp5md.dll") && Loaded(L"zorva_core_130000.dll"), "engine modules loaded");
    Check(ModulePath(L"zorva_core_130000.dll") == g_root + L"\\moddir\\zorva_core_130000.dll",
          "core module from the module directory");
    Check(Env() == "TRUE", "absent variable set to TRUE");
    if (g_library != nullptr) {
        FILE *out = std::fopen(argv[3], "w");
        const int missing = sampler::Run(
            [](const char *name) { return reinterpret_cast<void *>(GetProcAddress(g_library, name)); }, out);
        std::fclose(out);
        Check(missing == 0, "every sampled export found");
        auto calls = reinterpret_cast<int (*)()>(
            GetProcAddress(GetModuleHandleW(L"zorva_core_130000.dll"), "StandInFreeBufferCalls"));
        const int before = calls ? calls() : -1;
        HANDLE t = CreateThread(nullptr, 0, Worker, nullptr, 0, nullptr);
        WaitForSingleObject(t, INFINITE);
        CloseHandle(t);
        Check(calls && calls() == before + 1, "thread detach frees the engine's thread buffers");
        FreeLibrary(g_library);
    }
    Check(!Loaded(L"libiomp5md.dll") && !Loaded(L"zorva_core_130000.dll"), "engine unloaded at detach");
    Check(Env() == "TRUE", "variable that was absent stays TRUE after unload");

    // The variable's cases.
    struct Row { const char *before, *loaded, *after; };
    const Row rows[] = {{"FALSE", "TRUE", "FALSE"}, {"true", "true", "true"}, {"tRuE", "tRuE", "tRuE"},
                        {"LONGVALUE", "TRUE", "TRUE"}};
    for (const Row &r : rows) {
        SetEnv(r.before);
        HMODULE h = LoadLibraryUnderTest();
        const std::string loaded = Env();
        if (h) FreeLibrary(h);
        const std::string after = Env();
        Check(h && loaded == r.loaded && after == r.after,
              (std::string("variable ") + r.before + " -> " + loaded + " -> " + after).c_str());
    }
    FreeLibrary(marker);

    // From the registry directory, with and without a trailing backslash.
    for (const wchar_t *suffix : {L"", L"\\"}) {
        SetRegistry(g_root + L"\\regdir" + suffix);
        HMODULE h = LoadLibraryUnderTest();
        Check(h != nullptr, "library loads from the registry directory");
        Check(ModulePath(L"zorva_core_130000.dll") == g_root + L"\\regdir\\13.0.0\\zorva_core_130000.dll",
              "core module from <registry directory>\\13.0.0\\");
        if (h) FreeLibrary(h);
    }
    ClearRegistry();

    // Core module missing: the runtime is unloaded again and the load fails.
    marker = LoadLibraryW((g_root + L"\\nocore\\ZORVA_FFT.dll").c_str());
    HMODULE h = LoadLibraryUnderTest();
    Check(h == nullptr, "load fails without the core module");
    Check(!Loaded(L"libiomp5md.dll"), "OpenMP runtime unloaded again");
    if (h) FreeLibrary(h);
    FreeLibrary(marker);

    std::printf("%d passed, %d failed\n", g_passed, g_failed);
    return g_failed == 0 ? 0 : 1;
}
