// Plan handles: reuse-or-rebuild and the two releases.
#include "dft/engine/dfti.h"
#include "dft/plan.h"
#include "support.h"

namespace fennel::test {
namespace {

using engine::Call;

// A descriptor of four real points in double or single precision.
MKL_LONG MakeFour(DFTI_DESCRIPTOR_HANDLE *slot, DFTI_CONFIG_VALUE precision = DFTI_DOUBLE) {
    engine::Geometry g;
    g.precision = precision;
    g.domain = DFTI_REAL;
    g.lengths[0] = 4;
    return engine::Create(slot, g);
}

TEST_F(HostTest, SameLengthReusesAnotherLengthRebuilds) {
    Array<double> x(Random<double>(16, 1)), y(Random<double>(8, 2));
    Array<cdouble> out;
    FDPlanHandle plan = nullptr;
    ASSERT_EQ(d1DFFTH(x.h(), out.h(), 0, 0, nullptr, &plan), STATUS_OK);
    ASSERT_EQ(d1DFFTH(x.h(), out.h(), 0, 1, nullptr, &plan), STATUS_OK);
    EXPECT_EQ(engine::GetCounters().creates, 1);
    ASSERT_EQ(d1DFFTH(y.h(), out.h(), 0, 0, nullptr, &plan), STATUS_OK);
    EXPECT_EQ(engine::GetCounters().creates, 2);
    EXPECT_EQ(engine::GetCounters().frees, 1);
    EXPECT_EQ(FreeMKLDftiDescH(&plan), STATUS_OK);
    EXPECT_EQ(plan, nullptr);
    // A null plan address plans for the one call.
    ASSERT_EQ(d1DFFTH(y.h(), out.h(), 0, 0, nullptr, nullptr), STATUS_OK);
    EXPECT_EQ(engine::GetCounters().live, live_);
}

TEST_F(HostTest, FreeDftiPlanOnNullCallsNothingAndReportsFailedFrees) {
    FDPlanHandle plan = nullptr;
    EXPECT_EQ(FreeMKLDftiDescH(&plan), STATUS_OK);
    EXPECT_EQ(engine::GetCounters().frees, 0);
    ASSERT_EQ(MakeFour(PlanSlot(&plan)), 0);
    engine::FailCall(Call::kFree);
    EXPECT_EQ(FreeMKLDftiDescH(&plan), STATUS_DFTI_FREE_FAILED);
    EXPECT_NE(plan, nullptr);
    EXPECT_EQ(FreeMKLDftiDescH(&plan), STATUS_OK);
    EXPECT_EQ(plan, nullptr);
}

TEST_F(HostTest, FreeTrigPlanFreesWhatIsSetThenTheRecord) {
    struct Row { bool first; bool second; Call fail; int nth; int32_t status; };
    const Row rows[] = {
        {false, true, Call::kCount, 0, STATUS_OK},
        {true, false, Call::kCount, 0, STATUS_OK},
        {true, true, Call::kCount, 0, STATUS_OK},
        {true, true, Call::kFree, 1, STATUS_DFTI_FREE_FAILED},
        {true, true, Call::kFree, 2, STATUS_DFTI_FREE_FAILED},
    };
    FDPlanHandle plan = nullptr;
    EXPECT_EQ(FreeMKLDCTDSTiDescH(&plan), STATUS_OK);
    for (const Row &r : rows) {
        auto *record = static_cast<TrigPlanRecord *>(DSNewPtr(sizeof(TrigPlanRecord)));
        record->first = record->second = nullptr;
        if (r.first) {
            ASSERT_EQ(MakeFour(&record->first, DFTI_SINGLE), 0);
        }
        if (r.second) {
            ASSERT_EQ(MakeFour(&record->second, DFTI_SINGLE), 0);
        }
        plan = record;
        const long frees = engine::GetCounters().frees;
        if (r.fail != Call::kCount) engine::FailCall(r.fail, r.nth);
        EXPECT_EQ(FreeMKLDCTDSTiDescH(&plan), r.status);
        if (r.status == STATUS_OK) {
            EXPECT_EQ(plan, nullptr);
            EXPECT_EQ(engine::GetCounters().frees - frees, int(r.first) + int(r.second));
        } else {
            EXPECT_EQ(plan, record);  // the record stays; a retry releases the rest
            EXPECT_EQ(FreeMKLDCTDSTiDescH(&plan), STATUS_OK);
        }
        EXPECT_EQ(FennelHostLivePtrs(), ptrs_);
    }
}

}  // namespace
}  // namespace fennel::test
