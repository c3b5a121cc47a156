// Library load and host binding driven through a fake platform: environment
// rules, module directory and registry fallback, engine load order, detach,
// and the search for the host module.
#include <map>
#include <set>
#include <string>

#include "frame/host_array.h"
#include "host/library_load.h"
#include "platform/platform.h"
#include "support.h"

namespace fennel::test {
namespace {

// A scripted operating system.
struct FakeOs {
    std::map<std::string, std::string> env;
    std::map<std::wstring, void *> loaded;       // name -> handle
    std::map<void *, std::wstring> file_names;   // handle -> full file name
    std::set<std::wstring> loadable;             // full paths that load
    bool key_exists = false;
    bool value_exists = false;
    std::wstring value;
    int key_closes = 0;
    std::vector<std::wstring> log;               // "load <path>", "free <path>"
    std::map<void *, std::wstring> handles;      // handles this fake handed out
    std::map<uint32_t, void *> tls;
    std::map<std::pair<void *, std::string>, void *> symbols;
    int free_buffer_calls = 0;
    int handle_count = 0;
};
FakeOs *g_os = nullptr;
char g_exe;

void *NewHandle() { return reinterpret_cast<void *>(0x1000 + 16 * ++g_os->handle_count); }

const PlatformApi kFake = {
    [](const char *name, char *buffer, size_t size) -> size_t {
        auto it = g_os->env.find(name);
        if (it == g_os->env.end()) return 0;
        const size_t needed = it->second.size() + 1;
        if (needed <= size) std::memcpy(buffer, it->second.c_str(), needed);
        else buffer[0] = '\0';
        return needed;
    },
    [](const char *name, const char *value) { g_os->env[name] = value; },
    [](const wchar_t *name) -> void * {
        auto it = g_os->loaded.find(name);
        return it == g_os->loaded.end() ? nullptr : it->second;
    },
    [](void *module, wchar_t *buffer, size_t size) -> size_t {
        const std::wstring &f = g_os->file_names[module];
        if (f.size() + 1 > size) return 0;
        std::wmemcpy(buffer, f.c_str(), f.size() + 1);
        return f.size();
    },
    [](const wchar_t *path) -> void * {
        g_os->log.push_back(L"load " + std::wstring(path));
        if (g_os->loadable.count(path) == 0) return nullptr;
        void *h = NewHandle();
        g_os->handles[h] = path;
        return h;
    },
    [](void *module) { g_os->log.push_back(L"free " + g_os->handles[module]); },
    [](const char *path, void **key) {
        EXPECT_STREQ(path, "SOFTWARE\\Corvane\\Fennel\\13.0\\AddOns\\Zorvakit");
        *key = &g_os->key_exists;
        return g_os->key_exists;
    },
    [](void *, const wchar_t *name, void *data, uint32_t *bytes) {
        EXPECT_STREQ(name, L"RunTimeDIR64");
        EXPECT_EQ(*bytes, 500u);
        if (!g_os->value_exists) return false;
        // A string value comes with its terminator; the rest of the buffer is garbage.
        const size_t n = (g_os->value.size() + 1) * sizeof(wchar_t);
        std::memset(data, 0x7F, 500);
        std::memcpy(data, g_os->value.data(), n);
        *bytes = static_cast<uint32_t>(n);
        return true;
    },
    [](void *) { ++g_os->key_closes; },
    [](uint32_t index) -> void * { return g_os->tls.count(index) ? g_os->tls[index] : nullptr; },
    []() -> void * { return &g_exe; },
    [](void *module, const char *name) -> void * {
        auto it = g_os->symbols.find({module, name});
        return it == g_os->symbols.end() ? nullptr : it->second;
    },
    [](const char *text, const char *caption, uint32_t style) {
        std::fprintf(stderr, "[%s|0x%x] %s\n", caption, style, text);
    },
    [](int code) { std::_Exit(code); },
};

class LibraryLoadTest : public ::testing::Test {
   protected:
    void SetUp() override {
        g_os = &os_;
        SetPlatformForTesting(&kFake);
        state_ = LoadState{};
    }
    void TearDown() override {
        SetPlatformForTesting(nullptr);
        g_os = nullptr;
    }
    void InstallEngineIn(const std::wstring &dir) {
        os_.loadable.insert(dir + L"libiomp5md.dll");
        os_.loadable.insert(dir + L"zorva_core_130000.dll");
    }
    void LoadedModule(const std::wstring &name, const std::wstring &file) {
        void *h = NewHandle();
        os_.loaded[name] = h;
        os_.file_names[h] = file;
    }
    FakeOs os_;
    LoadState state_;
};

TEST_F(LibraryLoadTest, EnvironmentRules) {
    struct Row { const char *before; const char *loaded; const char *after; };
    const Row rows[] = {
        {nullptr, "TRUE", "TRUE"},           // absent: set and left set
        {"true", "true", "true"},            // any case of TRUE: untouched
        {"TrUe", "TrUe", "TrUe"},
        {"FALSE", "TRUE", "FALSE"},          // restored at unload
        {"1234567", "TRUE", "1234567"},      // 7 characters fit the saved value
        {"12345678", "TRUE", "TRUE"},        // 8 do not: not restored
        {"", "TRUE", "TRUE"},                // empty saved value: not restored
    };
    for (const Row &r : rows) {
        SCOPED_TRACE(r.before ? r.before : "(absent)");
        os_.env.clear();
        if (r.before) os_.env["KMP_DUPLICATE_LIB_OK"] = r.before;
        state_ = LoadState{};
        AttachEnvironment(state_);
        EXPECT_EQ(os_.env["KMP_DUPLICATE_LIB_OK"], r.loaded);
        EXPECT_EQ(ProcessDetach(state_), 1);
        EXPECT_EQ(os_.env["KMP_DUPLICATE_LIB_OK"], r.after);
    }
}

TEST_F(LibraryLoadTest, EngineLoadsFromTheFirstLoadedModulesDirectory) {
    LoadedModule(L"ZORVA_SPARSE.dll", L"C:\\Kit\\bin\\ZORVA_SPARSE.dll");
    LoadedModule(L"ZORVA_THREAD.dll", L"D:\\Other\\ZORVA_THREAD.dll");
    InstallEngineIn(L"C:\\Kit\\bin\\");
    EXPECT_EQ(ProcessAttach(state_), 1);
    EXPECT_EQ(os_.log, (std::vector<std::wstring>{L"load C:\\Kit\\bin\\libiomp5md.dll",
                                                   L"load C:\\Kit\\bin\\zorva_core_130000.dll"}));
    EXPECT_EQ(ProcessDetach(state_), 1);  // core first, then the runtime
    EXPECT_EQ(os_.log[2], L"free C:\\Kit\\bin\\zorva_core_130000.dll");
    EXPECT_EQ(os_.log[3], L"free C:\\Kit\\bin\\libiomp5md.dll");
}

TEST_F(LibraryLoadTest, RegistryDirectoryWhenNoModuleNameIsLoaded) {
    struct Row { std::wstring value; std::wstring dir; };
    const Row rows[] = {{L"E:\\Zorva", L"E:\\Zorva\\13.0.0\\"}, {L"E:\\Zorva\\", L"E:\\Zorva\\13.0.0\\"}};
    for (const Row &r : rows) {
        os_ = FakeOs{};
        state_ = LoadState{};
        os_.key_exists = os_.value_exists = true;
        os_.value = r.value;
        InstallEngineIn(r.dir);
        EXPECT_EQ(ProcessAttach(state_), 1);
        EXPECT_EQ(std::wstring(state_.path), r.dir);
        EXPECT_EQ(os_.key_closes, 1);
        EXPECT_EQ(os_.log.back(), L"load " + r.dir + L"zorva_core_130000.dll");
    }
}

TEST_F(LibraryLoadTest, ModuleDirectoryWithoutTheEngineFallsBackToTheRegistry) {
    LoadedModule(L"ZORVA_FFT.dll", L"C:\\Kit\\ZORVA_FFT.dll");
    os_.key_exists = os_.value_exists = true;
    os_.value = L"F:\\Run";
    InstallEngineIn(L"F:\\Run\\13.0.0\\");
    EXPECT_EQ(ProcessAttach(state_), 1);
    EXPECT_EQ(os_.log.front(), L"load C:\\Kit\\libiomp5md.dll");
    EXPECT_EQ(os_.log.back(), L"load F:\\Run\\13.0.0\\zorva_core_130000.dll");
}

TEST_F(LibraryLoadTest, FailedLoads) {
    // Runtime present, core missing: the runtime is unloaded again.
    LoadedModule(L"ZORVA_LINALG.dll", L"C:\\Kit\\ZORVA_LINALG.dll");
    os_.loadable.insert(L"C:\\Kit\\libiomp5md.dll");
    EXPECT_EQ(ProcessAttach(state_), 0);
    EXPECT_EQ(os_.log, (std::vector<std::wstring>{L"load C:\\Kit\\libiomp5md.dll",
                                                   L"load C:\\Kit\\zorva_core_130000.dll",
                                                   L"free C:\\Kit\\libiomp5md.dll"}));
    EXPECT_EQ(state_.openmp_module, nullptr);
    // No key: the path is emptied.  Key without value: emptied, key left open.
    for (bool key : {false, true}) {
        os_ = FakeOs{};
        state_ = LoadState{};
        os_.key_exists = key;
        EXPECT_EQ(ProcessAttach(state_), 0);
        EXPECT_EQ(state_.path[0], L'\0');
        EXPECT_EQ(os_.key_closes, 0);
    }
}

TEST_F(LibraryLoadTest, ThreadDetachFreesTheEnginesThreadBuffers) {
    EXPECT_EQ(ThreadDetach(state_), 1);  // no engine: nothing to call
    LoadedModule(L"zorva_core_130000.dll", L"C:\\Kit\\zorva_core_130000.dll");
    static int calls = 0;
    os_.symbols[{os_.loaded[L"zorva_core_130000.dll"], "MKL_Thread_Free_Buffers"}] =
        reinterpret_cast<void *>(+[] { ++calls; });
    EXPECT_EQ(ThreadDetach(state_), 1);
    EXPECT_EQ(calls, 1);
}

// Host services through the fake: which module each call resolves in.
int64_t ResizeOnce() {
    Array<double> a({1});
    HostArray<double, 1> view(a.h());
    const int64_t before = FennelHostResizeCalls();
    view.Resize(2);
    return FennelHostResizeCalls() - before;
}

TEST_F(LibraryLoadTest, HostModuleSearchOrder) {
    void *resize = reinterpret_cast<void *>(&NumericArrayResize);
    auto host_at = [&](void *module) { os_.symbols[{module, "NumericArrayResize"}] = resize; };
    host_at(&g_exe);
    // The main executable exports neither mark: fnrt.dll, else fnffrt.dll.
    LoadedModule(L"fnffrt.dll", L"C:\\fnffrt.dll");
    host_at(os_.loaded[L"fnffrt.dll"]);
    EXPECT_EQ(ResizeOnce(), 1);
    LoadedModule(L"fnrt.dll", L"C:\\fnrt.dll");
    EXPECT_EXIT(ResizeOnce(), ::testing::ExitedWithCode(1),
                "\\[Fatal Error\\|0x2010\\] FENNELV.LIB could not locate \"NumericArrayResize\"\\.");
    host_at(os_.loaded[L"fnrt.dll"]);
    EXPECT_EQ(ResizeOnce(), 1);
    // The override, and the thread-local slot before it.
    void *overridden = NewHandle(), *slot = NewHandle();
    host_at(overridden);
    host_at(slot);
    SetFNRTModule(overridden);
    EXPECT_EQ(ResizeOnce(), 1);
    os_.tls[7] = slot;
    SetFNRTTLSIndex(7);
    EXPECT_EQ(ResizeOnce(), 1);
    os_.tls[7] = NewHandle();  // a changed module is looked up again: this one lacks it
    EXPECT_EXIT(ResizeOnce(), ::testing::ExitedWithCode(1), "could not locate");
    SetFNRTTLSIndex(0xFFFFFFFFu);
    SetFNRTModule(nullptr);
    // No host module at all.
    os_.loaded.clear();
    EXPECT_EXIT(ResizeOnce(), ::testing::ExitedWithCode(1),
                "\\[Fatal Error\\|0x2010\\] FENNELV.LIB was not called from a Fennel process\\.");
    // The main executable, once it exports one of the two marks.
    os_.symbols[{&g_exe, "AZNewHandle"}] = &g_exe;
    EXPECT_EQ(ResizeOnce(), 1);
}

}  // namespace
}  // namespace fennel::test
