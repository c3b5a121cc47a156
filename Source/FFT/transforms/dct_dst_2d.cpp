// The 2D DCT and DST: the 1D transform of the same kind along every row, then
// along every column, each pass in chunks of lines that share one batched DFT.  The two descriptors (rows,
// columns) live in the caller's plan record.
#include <algorithm>
#include <climits>

#include "frame/host_array.h"
#include "host/host_services.h"
#include "dft/plan.h"
#include "transforms/dct_dst.h"
#include "transforms/dct_dst_kernels.h"

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

// Releases the whole plan record (slot left null) when the status is
// negative at scope exit.
class ReleaseRecordOnFailure {
   public:
    ReleaseRecordOnFailure(FDPlanHandle *plan, const int32_t &status) : plan_(plan), status_(status) {}
    ~ReleaseRecordOnFailure() {
        if (status_ < 0) FreeTrigPlan(plan_);
    }
    ReleaseRecordOnFailure(const ReleaseRecordOnFailure &) = delete;
    ReleaseRecordOnFailure &operator=(const ReleaseRecordOnFailure &) = delete;

   private:
    FDPlanHandle *plan_;
    const int32_t &status_;
};

// The caller's slot, or for a null plan address a record of this call only.
class TransientRecord {
   public:
    explicit TransientRecord(FDPlanHandle *plan) : plan_(plan != nullptr ? plan : &local_) {}
    ~TransientRecord() {
        if (plan_ == &local_) FreeTrigPlan(&local_);
    }
    TransientRecord(const TransientRecord &) = delete;
    TransientRecord &operator=(const TransientRecord &) = delete;
    FDPlanHandle *get() const { return plan_; }

   private:
    FDPlanHandle local_ = nullptr;
    FDPlanHandle *plan_;
};

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
int32_t RunPass(Kind kind, const Pass<T, kRows> &p, T *work, DFTI_DESCRIPTOR_HANDLE plan) {
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
int32_t Trig2DCore(const T *x, int32_t R, int32_t C, T *out, int32_t L0, int32_t L1, Kind kind,
                   FDArrayHandle workspace, FDPlanHandle *plan) {
    int32_t status = STATUS_OK;
    ReleaseRecordOnFailure plan_guard(plan, status);
    HostArray<W, 1> ws(workspace);
    EmptyAtExit<W, 1> ws_guard(ws, true);
    if (ws.is_null()) return status = STATUS_NO_WORKSPACE;

    // Rows past the input are zero and stay zero through the row pass: only
    // the first min(R, L0) rows are transformed.
    const int32_t rowLines = std::min(R, L0);
    const LineDft rowDft = trig::DftFor(kind, L1), colDft = trig::DftFor(kind, L0);
    const ptrdiff_t rowLanes = Lanes<W>(rowLines, rowDft), colLanes = Lanes<W>(L1, colDft);
    const int64_t tag = RecordTag(kind, kPrecisionOf<T>, rowLines);
    const int64_t sizes = RecordSizes(L0, L1);
    auto *record = static_cast<TrigPlanRecord *>(*plan);
    if (record == nullptr) {
        record = static_cast<TrigPlanRecord *>(HostNewPtr(sizeof(TrigPlanRecord)));
        if (record == nullptr) return status = STATUS_OUT_OF_MEMORY;
        record->first = record->second = nullptr;
        record->tag = tag;
        record->sizes = sizes;
        *plan = record;
    } else if (record->tag != tag || record->sizes != sizes) {
        if (record->first != nullptr && DftiFreeDescriptor(&record->first) != 0)
            return status = STATUS_DFTI_FREE_FAILED;
        if (record->second != nullptr && DftiFreeDescriptor(&record->second) != 0)
            return status = STATUS_DFTI_FREE_FAILED;
        record->tag = tag;
        record->sizes = sizes;
    }

    // Room to start both work areas on 64-byte boundaries.
    const int64_t slack = 2 * trig::kAlignBytes / static_cast<int64_t>(sizeof(W));
    const int64_t need = std::max(static_cast<int64_t>(rowLanes) * rowDft.work,
                                  static_cast<int64_t>(colLanes) * colDft.work) + slack;
    if (need > INT32_MAX) return status = STATUS_OUT_OF_MEMORY;
    if ((status = ws.Resize(static_cast<int32_t>(need))) < 0) return status;
    constexpr DFTI_CONFIG_VALUE kPrecision = kPrecisionOf<T>;
    if ((status = AcquirePlan(&record->first, PassGeometry(kPrecision, rowDft, rowLanes))) < 0)
        return status;
    if ((status = AcquirePlan(&record->second, PassGeometry(kPrecision, colDft, colLanes))) < 0)
        return status;

    T *work = trig::Aligned(reinterpret_cast<T *>(ws.data()));
    for (ptrdiff_t first = 0; first < rowLines; first += rowLanes) {
        const Batch<true> chunk{std::min<ptrdiff_t>(rowLanes, rowLines - first), rowLanes, first};
        const Pass<T, true> rows{chunk, x, C, std::min(C, L1), L1, out, L1};
        if ((status = RunPass(kind, rows, work, record->first)) < 0) return status;
    }
    for (ptrdiff_t first = 0; first < L1; first += colLanes) {
        const Batch<false> chunk{std::min<ptrdiff_t>(colLanes, L1 - first), colLanes, first, L1};
        const Pass<T, false> columns{chunk, out, L1, rowLines, L0, out, L1};
        if ((status = RunPass(kind, columns, work, record->second)) < 0) return status;
    }
    return status;
}

}  // namespace

template <class T>
int32_t Trig2D(FDArrayHandle input, FDArrayHandle output, int32_t rows, int32_t columns,
               int32_t kind, FDArrayHandle workspace, FDPlanHandle *plan) {
    HostArray<T, 2> in(input);
    HostArray<T, 2> out(output);
    int32_t status = STATUS_OK;
    EmptyOnFailure<T, 2> out_guard(out, status, Traits<T>::kTypeCode);
    if (in.empty()) return status = STATUS_EMPTY_ARRAY;
    if (kind < trig::kDCT || kind > trig::kInvDST) return status = STATUS_BAD_SELECTOR;
    const int32_t R = in.size(0), C = in.size(1);
    const bool forward = kind == trig::kDCT || kind == trig::kDST;
    const int32_t L0 = forward && rows >= 1 ? rows : R;
    const int32_t L1 = forward && columns >= 1 ? columns : C;
    const int32_t dims[2] = {L0, L1};
    if (!PassesSizeGuard(dims)) return status = STATUS_OUT_OF_MEMORY;
    if ((status = out.Resize(dims)) < 0) return status;
    TransientRecord slot(plan);
    const Kind k = static_cast<Kind>(kind);
    if (k == trig::kInvDCT)
        return status = Trig2DCore<T, typename Traits<T>::Complex>(in.data(), R, C, out.data(), L0,
                                                                   L1, k, workspace, slot.get());
    return status = Trig2DCore<T, T>(in.data(), R, C, out.data(), L0, L1, k, workspace, slot.get());
}

template int32_t Trig2D<float>(FDArrayHandle, FDArrayHandle, int32_t, int32_t, int32_t,
                               FDArrayHandle, FDPlanHandle *);
template int32_t Trig2D<double>(FDArrayHandle, FDArrayHandle, int32_t, int32_t, int32_t,
                                FDArrayHandle, FDPlanHandle *);

}  // namespace fennel
