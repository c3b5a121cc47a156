// Planning policy and persistent wisdom: the cache files, concurrent
// writers, the settings' first plans and the switch at a call boundary.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "dft/engine/dfti.h"
#include "dft/planning/planner.h"
#include "dft/planning/wisdom_file.h"
#include "support.h"

namespace fennel::test {
namespace {

using C = std::complex<double>;

// The tests never touch the user's cache folder: unless told another, each
// test process has a folder of its own, removed at its exit.
char g_folder[] = "/tmp/fennel-wisdom-XXXXXX";
const bool kPrivateFolder = [] {
    if (std::getenv("FENNEL_DSP_WISDOM_DIR") == nullptr && mkdtemp(g_folder) != nullptr) {
        setenv("FENNEL_DSP_WISDOM_DIR", g_folder, 1);
        std::atexit([] {
            engine::StopPlanning();  // the background thread writes no more
            std::error_code ignored;
            std::filesystem::remove_all(g_folder, ignored);
        });
    }
    return true;
}();

engine::RawSpec Problem(ptrdiff_t n) {
    engine::RawSpec s;
    s.dims[0] = {n, 1, 1};
    s.in_bytes = s.out_bytes = static_cast<size_t>(n) * sizeof(C);
    s.points = n;
    return s;
}

bool WisdomKnows(ptrdiff_t n) {
    engine::PlanHow how;
    how.effort = engine::Effort::kMeasure;
    how.wisdom_only = true;
    engine::RawPlan *plan = engine::MakeRawPlanHow(Problem(n), how);
    engine::FreeRawPlan(plan);
    return plan != nullptr;
}

void PlanMeasured(ptrdiff_t n) {
    planning::SetThreadEffort(2, -1.0);
    engine::FreeRawPlan(engine::MakeRawPlan(Problem(n)));
    planning::SetThreadEffort(0, -1.0);
}

std::string Read(const std::string &path) {
    std::ifstream f(path, std::ios::binary);
    std::stringstream s;
    s << f.rdbuf();
    return s.str();
}

void Write(const std::string &path, const std::string &text) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

std::string DoubleFile() { return planning::WisdomFolder() + "/wisdom-double"; }

TEST(PlanningWisdom, FileRoundTripAndFilesOfAnotherFftwOrMachineOrDamaged) {
    PlanMeasured(2048);
    ASSERT_TRUE(planning::SaveWisdom());
    planning::ForgetWisdom(false);
    EXPECT_FALSE(WisdomKnows(2048));
    EXPECT_TRUE(planning::LoadWisdomFile(DFTI_DOUBLE));
    EXPECT_TRUE(WisdomKnows(2048));
    const std::string good = Read(DoubleFile());
    // Exported text imports again; anything else is refused.
    const std::string text = planning::ExportWisdomText();
    planning::ForgetWisdom(false);
    EXPECT_FALSE(planning::ImportWisdomText("(fftw-3.3.10 fftw_wisdom)"));
    EXPECT_TRUE(planning::ImportWisdomText(text.c_str()));
    EXPECT_TRUE(WisdomKnows(2048));

    const auto replace = [&](const std::string &from, const std::string &to) {
        std::string t = good;
        t.replace(t.find(from), from.size(), to);
        return t;
    };
    std::string changed = good;  // one digit of FFTW's wisdom, which FFTW itself would take
    const size_t digit = changed.rfind(" #x") + 3;
    changed[digit] = changed[digit] == '0' ? '1' : '0';
    const std::string damaged[] = {
        changed,
        replace("\nfftw fftw-3", "\nfftw fftw-2"),          // another FFTW
        replace("\nmachine ", "\nmachine other "),          // another machine
        replace("precision double", "precision float"),    // the other precision's file
        good.substr(0, good.size() - 20),                   // cut short
        good.substr(0, 30),
        "",
    };
    for (const std::string &t : damaged) {
        Write(DoubleFile(), t);
        planning::ForgetWisdom(false);
        EXPECT_FALSE(planning::LoadWisdomFile(DFTI_DOUBLE)) << t.substr(0, 120);
        EXPECT_FALSE(WisdomKnows(2048));
    }
    Write(DoubleFile(), good);
}

TEST_F(HostTest, PlanningWisdomFoldersThatCannotBeWrittenAreNoError) {
    const std::string saved = planning::WisdomFolder();
    mkdir(saved.c_str(), 0755);
    Write(saved + "/not-a-folder", "x");
    PlanMeasured(1024);
    const struct {
        std::string folder;
        bool written;
    } rows[] = {
        {saved + "/not-a-folder/sub", false},
        {"/proc/fennel-dsp", false},
        {saved + "/new/nested", true},  // made on demand
    };
    for (const auto &row : rows) {
        setenv("FENNEL_DSP_WISDOM_DIR", row.folder.c_str(), 1);
        EXPECT_EQ(planning::SaveWisdom(), row.written) << row.folder;
        EXPECT_EQ(planning::LoadWisdomFile(DFTI_DOUBLE), row.written) << row.folder;
        Array<C> x(Random<C>(512, 1)), y;
        FDPlanHandle plan = nullptr;
        EXPECT_EQ(z1DFFTH(x.h(), y.h(), 0, 0, nullptr, &plan), 0);
        FreeMKLDftiDescH(&plan);
    }
    setenv("FENNEL_DSP_WISDOM_DIR", saved.c_str(), 1);
}

TEST(PlanningWisdom, ProcessesSavingAtOnceLeaveWholeFiles) {
    planning::WaitUntilIdle();  // no planner lock held across the fork
    pid_t children[3];
    for (int i = 0; i < 3; ++i)
        if ((children[i] = fork()) == 0) {
            PlanMeasured(640 + 64 * i);  // wisdom of its own in each
            for (int k = 0; k < 40; ++k) planning::SaveWisdomFile(DFTI_DOUBLE);
            _exit(0);
        }
    int whole = 0, torn = 0;
    for (bool running = true; running;) {
        running = false;
        for (pid_t child : children) running = running || waitpid(child, nullptr, WNOHANG) == 0;
        const std::string t = Read(DoubleFile());
        size_t used = 0;
        if (t.empty()) continue;
        (planning::Unpack(t.data(), t.size(), used) && used == t.size() ? whole : torn) += 1;
    }
    for (pid_t child : children) waitpid(child, nullptr, 0);
    EXPECT_EQ(torn, 0) << whole << " whole reads";
    planning::ForgetWisdom(false);
    ASSERT_TRUE(planning::LoadWisdomFile(DFTI_DOUBLE));
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(WisdomKnows(640 + 64 * i)) << "merged from child " << i;
}

// Run under each setting (tests/CMakeLists.txt): what the first call gets,
// whether a measured plan takes over, and only at the start of a call.
TEST_F(HostTest, PlanningModeFirstCallsAndTheSwitchAtACallBoundary) {
    const planning::Mode mode = planning::CurrentMode();
    const bool background = mode == planning::Mode::kBackground;
    const bool estimates = background || mode == planning::Mode::kEstimate;
    const int32_t n = 3000;
    planning::ForgetWisdom(true);
    Array<C> x(Random<C>(n, 7)), y;
    FDPlanHandle plan = nullptr;
    ASSERT_EQ(z1DFFTH(x.h(), y.h(), 0, 0, nullptr, &plan), 0);
    EXPECT_EQ(engine::PlansOf(plan).estimated, estimates ? 1 : 0);
    const std::vector<C> first(y.data(), y.data() + n);
    for (int i = 0; i < 3; ++i) ASSERT_EQ(z1DFFTH(x.h(), y.h(), 0, 0, nullptr, &plan), 0);
    planning::WaitUntilIdle();
    EXPECT_EQ(planning::QueuedCount() > 0, background);
    // Computations within a call keep their plan.
    std::vector<C> out(n);
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(DftiComputeForward(static_cast<DFTI_DESCRIPTOR_HANDLE>(plan), x.data(), out.data()), 0);
    EXPECT_EQ(engine::PlansOf(plan).estimated, estimates ? 1 : 0);
    // The next call starts with the measured plan (the default setting).
    bool same_bits = true;
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(z1DFFTH(x.h(), y.h(), 0, 0, nullptr, &plan), 0);
        same_bits = same_bits && std::memcmp(y.data(), first.data(), n * sizeof(C)) == 0;
        for (int k = 0; k < n; ++k) ASSERT_NEAR(std::abs(y.data()[k] - first[k]), 0.0, 1e-10);
    }
    EXPECT_EQ(engine::PlansOf(plan).estimated, mode == planning::Mode::kEstimate ? 1 : 0);
    if (mode == planning::Mode::kEstimate) {
        EXPECT_TRUE(same_bits);
    }
    FreeMKLDftiDescH(&plan);
    // Three calls that each make a new plan are three runs of the geometry.
    const long queued = planning::QueuedCount();
    Array<C> other(Random<C>(2000, 8));
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(z1DFFTH(other.h(), y.h(), 0, 0, nullptr, &plan), 0);
        FreeMKLDftiDescH(&plan);
    }
    EXPECT_EQ(planning::QueuedCount(), queued + (background ? 1 : 0));
    // A new slot of a geometry wisdom knows gets the measured plan at once.
    if (!background) return;
    ASSERT_EQ(z1DFFTH(x.h(), y.h(), 0, 0, nullptr, &plan), 0);
    EXPECT_EQ(engine::PlansOf(plan).estimated, 0);
    FreeMKLDftiDescH(&plan);
}

// The plans a family keeps with a descriptor (the real 3D full spectrum's
// page and along-the-pages plans; correlation's leading-rows and column
// passes) switch at a call boundary as the descriptor's own do.
TEST_F(HostTest, PlanningKeptPlansOfTheFamiliesSwitchToo) {
    const planning::Mode mode = planning::CurrentMode();
    const bool estimates = mode == planning::Mode::kBackground || mode == planning::Mode::kEstimate;
    Array<double> cube({8, 64, 512}), image({40, 50}), kernel({9, 7}), conv, full, fft, ws;
    const std::vector<double> values = Random<double>(8 * 64 * 512, 9);
    std::memcpy(cube.data(), values.data(), values.size() * sizeof(double));
    std::memcpy(image.data(), values.data(), 40 * 50 * sizeof(double));
    std::memcpy(kernel.data(), values.data() + 4000, 9 * 7 * sizeof(double));
    Array<C> spectrum;
    const auto widened = [&] {
        const std::vector<double> v = conv.values();
        return std::vector<C>(v.begin(), v.end());
    };
    const struct {
        std::function<int32_t(FDPlanHandle *)> call;
        std::function<std::vector<C>()> result;
        int plans;
    } rows[] = {
        {[&](FDPlanHandle *p) { return d3DFFTH(cube.h(), spectrum.h(), 0, 0, 0, 0, ws.h(), p); },
         [&] { return spectrum.values(); }, 2},
        // Two row counts, the columns, the backward transform.
        {[&](FDPlanHandle *p) {
             return d2DConvolutionH(image.h(), kernel.h(), conv.h(), 0, 1, full.h(), fft.h(), p);
         },
         widened, 4},
    };
    for (const auto &row : rows) {
        planning::ForgetWisdom(true);
        FDPlanHandle plan = nullptr;
        ASSERT_EQ(row.call(&plan), 0);
        EXPECT_EQ(engine::PlansOf(plan).estimated, estimates ? row.plans : 0);
        const std::vector<C> first = row.result();
        for (int i = 0; i < 3; ++i) ASSERT_EQ(row.call(&plan), 0);
        planning::WaitUntilIdle();
        ASSERT_EQ(row.call(&plan), 0);
        EXPECT_EQ(engine::PlansOf(plan).made, row.plans);
        EXPECT_EQ(engine::PlansOf(plan).estimated, mode == planning::Mode::kEstimate ? row.plans : 0);
        const std::vector<C> now = row.result();
        ASSERT_EQ(now.size(), first.size());
        for (size_t k = 0; k < now.size(); ++k) ASSERT_NEAR(std::abs(now[k] - first[k]), 0.0, 1e-9) << k;
        FreeMKLDftiDescH(&plan);
    }
}

// Three runs of an estimated plan of big, then the wait (bounded) for the
// background thread to start measuring it.
void StartMeasurement(Array<C> &big, Array<C> &y, FDPlanHandle *plan) {
    for (int i = 0; i < 3; ++i) ASSERT_EQ(z1DFFTH(big.h(), y.h(), 0, 0, nullptr, plan), 0);
    for (int i = 0; i < 30000 && !engine::MeasurementUnderWay(); ++i) usleep(1000);  // no hang
}

// A first plan wanted while the background thread measures cuts the
// measurement short; it is measured again later and the slot switches.
TEST_F(HostTest, PlanningBackgroundMeasurementGivesWayToAFirstPlan) {
    if (planning::CurrentMode() != planning::Mode::kBackground) GTEST_SKIP() << "default setting only";
    planning::ForgetWisdom(true);
    Array<C> big(Random<C>(1 << 15, 3)), small(Random<C>(700, 4)), y;
    FDPlanHandle plan = nullptr, other = nullptr;
    ASSERT_NO_FATAL_FAILURE(StartMeasurement(big, y, &plan));
    ASSERT_TRUE(engine::MeasurementUnderWay());
    const long before = planning::InterruptedCount();
    ASSERT_EQ(z1DFFTH(small.h(), y.h(), 0, 0, nullptr, &other), 0);
    planning::WaitUntilIdle();
    EXPECT_EQ(planning::InterruptedCount(), before + 1);
    ASSERT_EQ(z1DFFTH(big.h(), y.h(), 0, 0, nullptr, &plan), 0);
    EXPECT_EQ(engine::PlansOf(plan).estimated, 0);
    FreeMKLDftiDescH(&plan);
    FreeMKLDftiDescH(&other);
}

// A process forked while the background thread measures can plan at once.
TEST_F(HostTest, PlanningForkDuringAMeasurementLeavesTheChildAPlanner) {
    if (planning::CurrentMode() != planning::Mode::kBackground) GTEST_SKIP() << "default setting only";
    planning::ForgetWisdom(true);
    // The geometry the test above had measured: forgetting lets it be measured again.
    Array<C> big(Random<C>(1 << 15, 5)), small(Random<C>(900, 6)), y;
    FDPlanHandle plan = nullptr, other = nullptr;
    ASSERT_NO_FATAL_FAILURE(StartMeasurement(big, y, &plan));
    ASSERT_TRUE(engine::MeasurementUnderWay());
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);  // a child left with a held lock ends here
        _exit(z1DFFTH(small.h(), y.h(), 0, 0, nullptr, &other) == 0 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    planning::WaitUntilIdle();
    FreeMKLDftiDescH(&plan);
}

}  // namespace
}  // namespace fennel::test
