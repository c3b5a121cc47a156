#include "transforms/full_spectrum_3d.h"

#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "transforms/spectrum.h"
#include "transforms/work_sharing.h"

namespace fennel::md {
namespace {

// The packed spectrum and buffers kept with a descriptor are limited to this
// many bytes (larger transforms are expanded in place), and the transform
// along the pages needs enough pages to be worth taking apart.
constexpr size_t kKeepLimit = size_t{64} << 20;
constexpr int32_t kMinPages = 8;
// Outputs from this many bytes are written with stores that bypass the
// cache: the full spectrum is written once and not read back here.
constexpr size_t kStreamFrom = size_t{2} << 20;
// The key of the attached sub-plans and blocks.
constexpr uint32_t kAttachmentKey = 0x33444655;  // "3DFU"

// Packed rows of C / 2 + 1 bins lie `pitch` apart: an even pitch in float
// keeps every row in the alignment class of the first.
template <class R>
ptrdiff_t Pitch(ptrdiff_t half) {
    return sizeof(R) == 4 ? half + (half & 1) : half;
}

// What stays with the descriptor: the plans, [0] the 2D r2c of one page
// into packed rows and [1] the P-point transforms along the pages of the
// bins of one row (out of place into [P][C / 2 + 1]), both for one thread;
// the packed spectrum with two row-pair buffers; and the aligned copy of a
// misaligned input.
struct Kept {
    RawPlan *parts[2];
    void *block;
    size_t block_bytes;
    void *input;
    size_t input_bytes;
};

void Release(void *object) {
    Kept *kept = static_cast<Kept *>(object);
    for (RawPlan *part : kept->parts) FreeRawPlan(part);
    FreeAligned(kept->block);
    FreeAligned(kept->input);
    FreeAligned(kept);
}

// The kept objects of the descriptor, attached on first use: STATUS_OK
// with *kept null when the descriptor keeps nothing more.
int32_t KeptOf(Plan plan, Kept **kept) {
    *kept = static_cast<Kept *>(plan.Attachment(kAttachmentKey));
    if (*kept != nullptr) return STATUS_OK;
    auto *fresh = static_cast<Kept *>(AllocateAligned(sizeof(Kept)));
    if (fresh == nullptr) return STATUS_DFTI_COMPUTE_FAILED;
    std::memset(static_cast<void *>(fresh), 0, sizeof(Kept));
    if (plan.Attach(kAttachmentKey, fresh, &Release, fresh->parts, 2)) *kept = fresh;
    return STATUS_OK;
}

// An aligned buffer of at least `bytes`, kept.
bool Ensure(void *&buffer, size_t &have, size_t bytes) {
    if (have >= bytes) return true;
    FreeAligned(buffer);
    buffer = AllocateAligned(bytes);
    have = buffer != nullptr ? bytes : 0;
    return buffer != nullptr;
}

// Plans the page or the along-the-pages transform for one thread, with the
// effort of the whole transform.  A plan runs on later pages and rows (and
// on the second half of a pair buffer) only if they share its arrays'
// alignment class; otherwise it is made for any alignment.
template <class R>
RawPlan *MakePartPlan(const int32_t (&L)[3], bool page) {
    const ptrdiff_t P = L[0], rows = L[1], C = L[2], half = C / 2 + 1;
    const ptrdiff_t pitch = Pitch<R>(half);
    const size_t complex_bytes = 2 * sizeof(R);
    RawSpec s;
    s.precision = kPrecisionOf<R>;
    s.points = P * rows * C;
    s.one_thread = true;
    s.in_bytes = page ? sizeof(R) * static_cast<size_t>(rows * C)
                      : static_cast<size_t>(P * rows * pitch) * complex_bytes;
    s.out_bytes = static_cast<size_t>(page ? rows * pitch : 2 * P * pitch) * complex_bytes;
    // The next page's input and output, or the next row and the mirror half
    // of the pair buffer, from an aligned start.
    const size_t in_step = page ? sizeof(R) * rows * C : complex_bytes * pitch;
    const size_t out_step = complex_bytes * (page ? rows : P) * pitch;
    s.any_alignment = AlignmentClass(s.precision, reinterpret_cast<const void *>(in_step)) != 0 ||
                      AlignmentClass(s.precision, reinterpret_cast<const void *>(out_step)) != 0;
    if (page) {
        s.kind = RawKind::kRealForward;
        s.rank = 2;
        s.dims[0] = {rows, C, pitch};
        s.dims[1] = {C, 1, 1};
    } else {
        s.kind = RawKind::kForward;
        s.rank = 1;
        s.dims[0] = {P, rows * pitch, half};
        s.loop = true;
        s.loop_dim = {half, 1, 1};
    }
    return MakeRawPlan(s);
}

// One run on one or two threads.  First the pages, claimed in turn, each
// transformed into the packed spectrum; then, once every page is done, the
// rows in pairs r and R - r, transformed along the pages together into a
// buffer of the thread's own and written out with each other's mirrors
// while they sit in the cache.  Every page and row goes through the same
// plan whichever thread takes it, so results do not depend on the thread
// count.
template <class R>
struct Job {
    using Cx = typename Traits<R>::Complex;
    const RawPlan *page, *along;
    const R *input;  // P x rows x C
    Cx *spectrum;    // packed, P x rows x half, rows `pitch` apart
    Cx *out;         // full, P x rows x C
    Cx *buffers[2];  // [P][half] for row r, then (pitch * P on) for its mirror row
    ptrdiff_t pages, rows, C, half, pitch;
    bool stream;
    SharedPass page_pass, pair_pass;
    std::atomic<int> participants{0};

    void Pair(ptrdiff_t r, Cx *own) {
        const ptrdiff_t mr = r == 0 ? 0 : rows - r;
        Cx *other = own + pages * pitch;
        ExecuteRawPlan(along, spectrum + r * pitch, own);
        if (mr != r) ExecuteRawPlan(along, spectrum + mr * pitch, other);
        const Cx *mirrorOfR = mr != r ? other : own;
        const int32_t cols = static_cast<int32_t>(C);
        for (ptrdiff_t p = 0; p < pages; ++p) {
            const ptrdiff_t mp = p == 0 ? 0 : pages - p;
            WriteFullRow(out + (p * rows + r) * C, own + p * half, mirrorOfR + mp * half, cols, stream);
            if (mr != r)
                WriteFullRow(out + (p * rows + mr) * C, other + p * half, own + mp * half, cols, stream);
        }
    }

    static void Run(void *context) {
        Job &job = *static_cast<Job *>(context);
        Cx *own = job.buffers[job.participants.fetch_add(1, std::memory_order_relaxed) & 1];
        job.page_pass.Run(job.pages, [&job](ptrdiff_t p) {
            ExecuteRawPlan(job.page, const_cast<R *>(job.input + p * job.rows * job.C),
                           job.spectrum + p * job.rows * job.pitch);
        });
        // The caller returns with every row written, without waiting on the
        // helper's wake-up.
        job.pair_pass.Run(job.rows / 2 + 1, [&job, own](ptrdiff_t r) {
            job.Pair(r, own);
#if defined(__SSE2__)
            // Streamed rows are visible to the caller once counted done.
            if (job.stream) _mm_sfence();
#endif
        });
    }
};

}  // namespace

template <class R>
int32_t ForwardFull(Plan plan, bool rowMajor, const R *input, typename Traits<R>::Complex *output,
                    const int32_t (&L)[3], bool *done) {
    using Cx = typename Traits<R>::Complex;
    *done = false;
    const ptrdiff_t pages = L[0], rows = L[1], C = L[2], half = C / 2 + 1;
    const ptrdiff_t pitch = Pitch<R>(half);
    const auto line = [](size_t b) { return (b + 63) / 64 * 64; };
    const size_t pair_bytes = line(static_cast<size_t>(2 * pages * pitch) * sizeof(Cx));
    const size_t spectrum_bytes = line(static_cast<size_t>(pages * rows * pitch) * sizeof(Cx));
    const size_t keep = spectrum_bytes + 2 * pair_bytes;
    // On one thread FFTW's own 3D plan and the expansion are faster.
    const ptrdiff_t total = pages * rows * C;
    if (!Plan::HasExtensions() || !rowMajor || pages < kMinPages || C < 2 || keep > kKeepLimit ||
        Plan::ThreadsFor(total) <= 1)
        return STATUS_OK;
    Kept *kept = nullptr;
    FENNEL_TRY(KeptOf(plan, &kept));
    if (kept == nullptr) return STATUS_OK;

    const void *src = input;
    if (AlignmentClass(kPrecisionOf<R>, input) != 0) {
        const size_t in_bytes = sizeof(R) * static_cast<size_t>(total);
        if (!Ensure(kept->input, kept->input_bytes, in_bytes)) return STATUS_DFTI_COMPUTE_FAILED;
        std::memcpy(kept->input, input, in_bytes);
        src = kept->input;
    }
    if (!Ensure(kept->block, kept->block_bytes, keep)) return STATUS_DFTI_COMPUTE_FAILED;
    for (int i = 0; i < 2; ++i)
        if (kept->parts[i] == nullptr && (kept->parts[i] = MakePartPlan<R>(L, i == 0)) == nullptr)
            return STATUS_OK;

    char *block = static_cast<char *>(kept->block);
    Job<R> job;
    job.page = kept->parts[0];
    job.along = kept->parts[1];
    job.input = static_cast<const R *>(src);
    job.spectrum = reinterpret_cast<Cx *>(block);
    job.buffers[0] = reinterpret_cast<Cx *>(block + spectrum_bytes);
    job.buffers[1] = reinterpret_cast<Cx *>(block + spectrum_bytes + pair_bytes);
    job.out = output;
    job.pages = pages;
    job.rows = rows;
    job.C = C;
    job.half = half;
    job.pitch = pitch;
    job.stream = reinterpret_cast<uintptr_t>(output) % 16 == 0 && (sizeof(R) == 8 || C % 2 == 0) &&
                 static_cast<size_t>(total) * sizeof(Cx) >= kStreamFrom;
    RunShared(job, true);
    *done = true;
    return STATUS_OK;
}

template int32_t ForwardFull<float>(Plan, bool, const float *, cfloat *, const int32_t (&)[3], bool *);
template int32_t ForwardFull<double>(Plan, bool, const double *, cdouble *, const int32_t (&)[3], bool *);

}  // namespace fennel::md
