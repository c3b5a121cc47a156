// The 2D DCT and DST: the 1D transform of the same kind along every row, then
// along every column, each pass in chunks of lines that share one batched DFT.  The two descriptors (rows,
// columns) live in the caller's plan record.
#include <algorithm>
#include <climits>

#include "frame/host_array.h"
#include "dft/plan.h"
#include "transforms/dct_dst.h"
#include "transforms/dct_dst_kernels.h"
#include "transforms/sizes.h"

namespace fennel {
namespace {

using trig::Batch;
using trig::Kind;
using trig::LineDft;
using trig::Pass;

// The record's own fields say what its descriptors were built for: kind,
// precision and the number of rows of the row pass, then the output sizes.
// Any difference rebuilds both.
int64_t RecordTag(Kind kind, DFTI_CONFIG_VALUE precision, int32_t rowLines) {
    return (static_cast<int64_t>(rowLines) << 8) | (precision == DFTI_DOUBLE ? 4 : 0) | kind;
}
int64_t RecordSizes(int32_t L0, int32_t L1) {
    return (static_cast<int64_t>(L0) << 32) | static_cast<uint32_t>(L1);
}

// A batched 1D DFT over `count` lines, each contiguous in the work areas.
PlanGeometry PassGeometry(DFTI_CONFIG_VALUE precision, const LineDft &dft, ptrdiff_t count) {
    PlanGeometry g;
    g.precision = precision;
    g.domain = dft.domain;
    g.lengths[0] = dft.length;
    g.inverse = !dft.forward;
    g.strides = true;
    g.input_strides[1] = 1;
    g.output_strides[1] = 1;
    g.transforms = count;
    g.input_distance = dft.in_len;
    g.output_distance = dft.out_len;
    return g;
}

// Lines per chunk: the work areas of a chunk stay in cache between packing,
// DFT and unpacking (about 256 KiB), in whole cache lines of the column
// passes, and never more than the lines there are.
template <class W>
ptrdiff_t Lanes(ptrdiff_t lines, const LineDft &dft) {
    constexpr ptrdiff_t kChunkBytes = 256 * 1024, kMin = 16, kMax = 64;
    const ptrdiff_t bytes = dft.work * static_cast<ptrdiff_t>(sizeof(W));
    const ptrdiff_t lanes = std::clamp(kChunkBytes / bytes / kMin * kMin, kMin, kMax);
    return std::min(lanes, lines);
}

template <class T, bool kRows>
int32_t RunPass(Kind kind, const Pass<T, kRows> &p, T *work, Plan plan) {
    switch (kind) {
        case trig::kDCT: return trig::DCTPass(p, work, plan);
        case trig::kDST: return trig::DSTPass(p, T(-0.5), work, plan);
        case trig::kInvDCT: return trig::InvDCTPass(p, work, plan);
        case trig::kInvDST:
            return trig::DSTPass(p, static_cast<T>(-1.0 / (static_cast<double>(p.N) + 1.0)), work,
                                 plan);
    }
    return STATUS_BAD_SELECTOR;
}

// Computing routine: R x C input into the L0 x L1 output.  W is the
// workspace element type (complex for the inverse DCT).
template <class T, class W>
int32_t Trig2DCore(CallFrame &frame, const T *x, int32_t R, int32_t C, T *out, int32_t L0, int32_t L1,
                   Kind kind, FDArrayHandle workspace, TrigPlan plan) {
    plan.ReleaseOnFailure(frame);
    HostArray<W, 1> ws(workspace);
    frame.EmptyAtExit(ws);
    if (ws.is_null()) return STATUS_NO_WORKSPACE;

    // Rows past the input are zero and stay zero through the row pass: only
    // the first min(R, L0) rows are transformed.
    const int32_t rowLines = std::min(R, L0);
    const LineDft rowDft = trig::DftFor(kind, L1), colDft = trig::DftFor(kind, L0);
    const ptrdiff_t rowLanes = Lanes<W>(rowLines, rowDft), colLanes = Lanes<W>(L1, colDft);
    FENNEL_TRY(plan.Acquire(RecordTag(kind, kPrecisionOf<T>, rowLines), RecordSizes(L0, L1)));

    // Room to start both work areas on 64-byte boundaries.
    const int64_t slack = 2 * trig::kAlignBytes / static_cast<int64_t>(sizeof(W));
    const int64_t need = std::max(static_cast<int64_t>(rowLanes) * rowDft.work,
                                  static_cast<int64_t>(colLanes) * colDft.work) + slack;
    if (need > INT32_MAX) return STATUS_OUT_OF_MEMORY;
    FENNEL_TRY(ws.Resize(static_cast<int32_t>(need)));
    constexpr DFTI_CONFIG_VALUE kPrecision = kPrecisionOf<T>;
    FENNEL_TRY(plan.First().Acquire(PassGeometry(kPrecision, rowDft, rowLanes)));
    FENNEL_TRY(plan.Second().Acquire(PassGeometry(kPrecision, colDft, colLanes)));

    T *work = trig::Aligned(reinterpret_cast<T *>(ws.data()));
    for (ptrdiff_t first = 0; first < rowLines; first += rowLanes) {
        const Batch<true> chunk{std::min<ptrdiff_t>(rowLanes, rowLines - first), rowLanes, first};
        const Pass<T, true> rows{chunk, x, C, std::min(C, L1), L1, out, L1};
        FENNEL_TRY(RunPass(kind, rows, work, plan.First()));
    }
    for (ptrdiff_t first = 0; first < L1; first += colLanes) {
        const Batch<false> chunk{std::min<ptrdiff_t>(colLanes, L1 - first), colLanes, first, L1};
        const Pass<T, false> columns{chunk, out, L1, rowLines, L0, out, L1};
        FENNEL_TRY(RunPass(kind, columns, work, plan.Second()));
    }
    return STATUS_OK;
}

}  // namespace

template <class T>
int32_t Trig2D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t rows,
               int32_t columns, int32_t kind, FDArrayHandle workspace, FDPlanHandle *plan) {
    HostArray<T, 2> in(input);
    HostArray<T, 2> out(output);
    frame.EmptyOnFailure(out);
    FENNEL_TRY(frame.KeepInput(in, {output, workspace}));
    FENNEL_TRY(SeparateWorkspaces({workspace}, {output}));
    if (in.empty()) return STATUS_EMPTY_ARRAY;
    if (kind < trig::kDCT || kind > trig::kInvDST) return STATUS_BAD_SELECTOR;
    const int32_t R = in.size(0), C = in.size(1);
    const bool forward = kind == trig::kDCT || kind == trig::kDST;
    const int32_t L0 = forward && rows >= 1 ? rows : R;
    const int32_t L1 = forward && columns >= 1 ? columns : C;
    const int32_t dims[2] = {L0, L1};
    FENNEL_TRY(SizeOutput(out, dims));
    const Kind k = static_cast<Kind>(kind);
    if (k == trig::kInvDCT)
        return Trig2DCore<T, typename Traits<T>::Complex>(frame, in.data(), R, C, out.data(), L0, L1, k,
                                                          workspace, TrigPlan::Of(frame, plan));
    return Trig2DCore<T, T>(frame, in.data(), R, C, out.data(), L0, L1, k, workspace,
                            TrigPlan::Of(frame, plan));
}

template int32_t Trig2D<float>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t, int32_t, int32_t,
                               FDArrayHandle, FDPlanHandle *);
template int32_t Trig2D<double>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t, int32_t, int32_t,
                                FDArrayHandle, FDPlanHandle *);

}  // namespace fennel
