// Plan handles: reuse-or-rebuild and the two releases.
#include "dft/engine/dfti.h"
#include "dft/plan.h"
#include "support.h"

namespace fennel::test {
namespace {

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

}  // namespace
}  // namespace fennel::test
