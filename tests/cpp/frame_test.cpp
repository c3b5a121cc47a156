// Host arrays, resize rules, guards, scratch buffers and the host-service
// binding.
#include <dlfcn.h>
#include <pthread.h>

#include "frame/call_frame.h"
#include "frame/host_array.h"
#include "support.h"

namespace fennel::test {
namespace {

TEST(SizeGuard, RefusesProductsOf31BitsOrMore) {
    struct Row { std::vector<int32_t> dims; bool passes; };
    const Row rows[] = {
        {{65536, 32768}, false}, {{32768, 32768}, true}, {{1, 1}, true},
        {{32769, 32768}, false}, {{1, 1 << 30}, true},  {{2, 1 << 30}, false},
        {{1024, 1024, 1024}, true}, {{1025, 1024, 1024}, false}, {{1, 1, 1}, true},
    };
    for (const Row &r : rows) {
        bool passes;
        if (r.dims.size() == 2) {
            const int32_t d[2] = {r.dims[0], r.dims[1]};
            passes = PassesSizeGuard<2>(d);
        } else {
            const int32_t d[3] = {r.dims[0], r.dims[1], r.dims[2]};
            passes = PassesSizeGuard<3>(d);
        }
        EXPECT_EQ(passes, r.passes) << r.dims[0] << " x " << r.dims[1];
    }
}

// Calls that resolve the host services, for the binding tests.
int64_t ResizeThroughLibrary() {
    Array<double> a({1});
    HostArray<double, 1> view(a.h());
    const int64_t before = FennelHostResizeCalls();
    view.Resize(2);
    return FennelHostResizeCalls() - before;
}

TEST_F(HostTest, HostModuleComesFromTheSlotTheOverrideOrTheGlobalScope) {
    // The host library as loaded (by the path it was loaded from: its file
    // name carries the version).
    Dl_info info{};
    ASSERT_NE(dladdr(reinterpret_cast<void *>(&FennelHostNewArray), &info), 0);
    void *host = dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(host, nullptr);
    EXPECT_EQ(ResizeThroughLibrary(), 1);  // global scope

    SetFNRTModule(host);
    EXPECT_EQ(ResizeThroughLibrary(), 1);

    pthread_key_t key;
    ASSERT_EQ(pthread_key_create(&key, nullptr), 0);
    SetFNRTTLSIndex(static_cast<uint32_t>(key));
    SetFNRTModule(nullptr);
    EXPECT_EQ(ResizeThroughLibrary(), 1);  // slot empty: back to the global scope
    pthread_setspecific(key, host);
    EXPECT_EQ(ResizeThroughLibrary(), 1);  // slot names the host

    // A host module that lacks the services ends the process.
    void *other = dlopen("libm.so.6", RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(other, nullptr);
    pthread_setspecific(key, other);
    EXPECT_EXIT(ResizeThroughLibrary(), ::testing::ExitedWithCode(1),
                "Fatal Error: FENNELV.LIB could not locate \"NumericArrayResize\"\\.");
    pthread_setspecific(key, nullptr);
    SetFNRTTLSIndex(0xFFFFFFFFu);
    pthread_key_delete(key);
    SetFNRTModuleHook();
    SetFNRTTLSIndexHook();
    EXPECT_EQ(ResizeThroughLibrary(), 1);
    dlclose(host);
    dlclose(other);
}

}  // namespace
}  // namespace fennel::test
