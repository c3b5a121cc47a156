#include "correlation/top_rows.h"

#include <cstring>

namespace fennel::corr {
namespace {

// The passes kept with a descriptor: the real transforms of the leading rows
// for up to four row counts (the oldest replaced first), then the pass along
// the columns.
constexpr uint32_t kTopRowsKey = 0x546f7052;  // "TopR"
constexpr int kRowPlans = 4, kColumns = kRowPlans;

struct TopRowsPlans {
    RawPlan *plans[kRowPlans + 1];
    int64_t row_counts[kRowPlans];
    int next;
};

void ReleaseTopRows(void *object) {
    auto *kept = static_cast<TopRowsPlans *>(object);
    for (RawPlan *p : kept->plans) FreeRawPlan(p);
    FreeAligned(kept);
}

// One pass: the real transforms of `rows` rows of lc reals into packed rows
// of lc / 2 + 1 bins, or (rows 0) the in-place lr-point transforms along the
// columns of those bins.  Effort and threads follow the whole 2D
// transform's size, as its own plan's would.
RawPlan *MakePass(DFTI_CONFIG_VALUE precision, int64_t lr, int64_t lc, int64_t rows) {
    const int64_t half = lc / 2 + 1;
    const size_t real = precision == DFTI_SINGLE ? sizeof(float) : sizeof(double);
    const size_t spectrum = static_cast<size_t>(lr * half) * 2 * real;
    RawSpec s;
    s.precision = precision;
    s.rank = 1;
    s.loop = true;
    s.points = lr * lc;
    if (rows > 0) {
        s.kind = RawKind::kRealForward;
        s.dims[0] = {lc, 1, 1};
        s.loop_dim = {rows, lc, half};
        s.in_bytes = real * static_cast<size_t>(rows * lc);
        s.out_bytes = spectrum;
    } else {
        s.kind = RawKind::kForward;
        s.dims[0] = {lr, half, half};
        s.loop_dim = {half, 1, 1};
        s.in_bytes = s.out_bytes = spectrum;
        s.in_place = true;
    }
    return MakeRawPlan(s);
}

// The row-major real layout the passes are made for.
bool RowMajorReal(const PlanGeometry &g) {
    const MKL_LONG lc = g.lengths[1], half = lc / 2 + 1;
    return g.domain == DFTI_REAL && g.rank == 2 && g.transforms == 1 && g.complex_complex &&
           g.strides && g.input_strides[0] == 0 && g.input_strides[1] == lc &&
           g.input_strides[2] == 1 && g.output_strides[0] == 0 && g.output_strides[1] == half &&
           g.output_strides[2] == 1;
}

}  // namespace

int32_t ForwardTopRows(const Plan &plan, const PlanGeometry &g, const void *input, void *output,
                       int64_t rows) {
    const int64_t lr = g.lengths[0], lc = g.lengths[1], half = lc / 2 + 1;
    if (plan.descriptor() == nullptr || input == nullptr ||
        output == nullptr || input == output || !RowMajorReal(g) || rows < 1 || rows > lr ||
        AlignmentClass(g.precision, input) != 0 || AlignmentClass(g.precision, output) != 0)
        return STATUS_DFTI_COMPUTE_FAILED;

    auto *kept = static_cast<TopRowsPlans *>(plan.Attachment(kTopRowsKey));
    if (kept == nullptr) {
        kept = static_cast<TopRowsPlans *>(AllocateAligned(sizeof(TopRowsPlans)));
        if (kept == nullptr) return STATUS_DFTI_COMPUTE_FAILED;
        *kept = {};
        if (!plan.Attach(kTopRowsKey, kept, &ReleaseTopRows, kept->plans, kRowPlans + 1))
            return STATUS_DFTI_COMPUTE_FAILED;
    }
    RawPlan *row_plan = nullptr;
    for (int i = 0; i < kRowPlans; ++i)
        if (kept->plans[i] != nullptr && kept->row_counts[i] == rows) row_plan = kept->plans[i];
    if (row_plan == nullptr) {
        const int i = kept->next;
        FreeRawPlan(kept->plans[i]);
        kept->plans[i] = row_plan = MakePass(g.precision, lr, lc, rows);
        if (row_plan == nullptr) return STATUS_DFTI_COMPUTE_FAILED;
        kept->row_counts[i] = rows;
        kept->next = (i + 1) % kRowPlans;
    }
    RawPlan *&columns = kept->plans[kColumns];
    if (columns == nullptr && (columns = MakePass(g.precision, lr, lc, 0)) == nullptr)
        return STATUS_DFTI_COMPUTE_FAILED;
    // FFTW's interface takes a non-const input; a real forward pass never
    // writes it.
    ExecuteRawPlan(row_plan, const_cast<void *>(input), output);
    const size_t bin = 2 * (g.precision == DFTI_SINGLE ? sizeof(float) : sizeof(double));
    std::memset(static_cast<char *>(output) + static_cast<size_t>(rows * half) * bin, 0,
                static_cast<size_t>((lr - rows) * half) * bin);
    ExecuteRawPlan(columns, output, output);
    return STATUS_OK;
}

}  // namespace fennel::corr
