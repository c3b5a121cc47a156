// Random bad-input cases over every export of fennel_dsp.h.  RunCase decodes
// bytes into one call: the export and element type, argument values (0, 1,
// negative, huge and inconsistent sizes, selectors in and out of range, NULL
// workspaces, odd sampling intervals and resampler records), the block
// placement, an injected failure (host resize, DSNewPtr or a transform
// call), and a plan slot kept from the previous case or released first.
// After the call it checks the rules of the header: the status is 0 or one
// the header's comment lists for that export (read from the header at
// start-up), outputs, workspaces and plan are left as the header's failure
// rules say (Check), no host block is left behind, and a kept slot is
// releasable.  A breach aborts with the export and its arguments.
//
// Environment: FENNEL_FUZZ_ALIASING=0 leaves out the cases that pass an input
// as an output or workspace, or an output as a workspace (same type and
// rank), as a dataflow host does; FENNEL_FUZZ_CONTINUE=1 reports each kind of
// breach once per export and goes on.
//
//   fennel_fuzz [cases [seed [sweep]]]   runs that many pseudo-random cases,
//   then, with sweep non-zero, the fault sweep (Sweep) over the first `sweep`
//   cases.
// Built with FENNEL_LIBFUZZER, the file is a libFuzzer target instead (for a
// clang build of the library).
#include <dlfcn.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <limits>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "dft/engine/dfti.h"  // the engine's test controls
#include "fennel_dsp.h"
#include "fennel_host.h"

// Present in sanitizer builds only.
extern "C" void __sanitizer_set_death_callback(void (*)(void)) __attribute__((weak));

// The driver's memory services: the host's, refusing blocks above 4 MB so that
// huge accepted sizes end as a refused resize instead of exhausting memory.
// They count the calls and note the array of the first refused resize.
constexpr int64_t kCapBytes = int64_t{4} << 20;
int64_t g_resizes = 0, g_newPtrs = 0;
void **g_refused = nullptr;
extern "C" int32_t NumericArrayResize(int32_t code, int32_t dims, void ***handle, int64_t n) {
    static const auto next = reinterpret_cast<decltype(&NumericArrayResize)>(dlsym(RTLD_NEXT, "NumericArrayResize"));
    ++g_resizes;
    const int32_t st = n > kCapBytes / 16 ? 2 : next(code, dims, handle, n);
    if (st != 0 && n > 0 && g_refused == nullptr) g_refused = *handle;
    return st;
}
extern "C" void *DSNewPtr(size_t size) {
    static const auto next = reinterpret_cast<decltype(&DSNewPtr)>(dlsym(RTLD_NEXT, "DSNewPtr"));
    ++g_newPtrs;
    return size > static_cast<size_t>(kCapBytes) ? nullptr : next(size);
}

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
const char *const kFamilies[] = {"1D FFT", "2D/3D/multichannel FFT", "DCT/DST", "spectra",
                                 "convolution/correlation", "decimation/upsampling/resampling",
                                 "windows/FIR/IIR"};
constexpr int kFamilyCount = 7;
int64_t g_cases[kFamilyCount];
bool g_aliasing = true;
bool g_continue = false;  // FENNEL_FUZZ_CONTINUE=1: report each kind of violation once and go on
std::set<std::string> g_seen;
char g_call[1024];  // the call under way, for a sanitizer's report (outlives exit)
FDPlanHandle g_plan = nullptr, g_planBefore = nullptr;
// The failure to inject: none, the nth resize, DSNewPtr or call of a
// transform-engine function (kind 3 + the engine's Call); kind -1 lets the
// case's bytes choose.
int g_injectKind = -1, g_injectNth = 0;
// Engine functions that can be made to fail (after resize and DSNewPtr).
constexpr int kEngineKinds = static_cast<int>(fennel::engine::Call::kCount);
std::string g_lastName;  // the last case's export and status, for the sweep
int32_t g_lastStatus = 0;
int64_t g_ptrs = 0;  // live DSNewPtr blocks with no plan held
FDResampleState g_state;  // the stream state, kept between cases like the plan

// ---- statuses each export may return, from the header's comments ----------
std::map<std::string, std::set<int32_t>> g_allowed;

void ParseHeader() {
    std::ifstream f(FENNEL_HEADER);
    std::stringstream buf;
    buf << f.rdbuf();
    const std::string s = buf.str();
    auto ident = [](const std::string &t, size_t i) {
        return t.substr(i, t.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789", i) - i);
    };
    std::map<std::string, int32_t> value;  // from the enum: STATUS_X = -N
    for (size_t i = s.find("STATUS_"); i != std::string::npos; i = s.find("STATUS_", i + 1)) {
        const std::string name = ident(s, i);
        if (s.compare(i + name.size(), 3, " = ") == 0) value[name] = std::atoi(s.c_str() + i + name.size() + 3);
    }
    // Each export takes the codes named in the last comment before it.
    const std::string decl = "FENNEL_DSP_API int32_t ";
    std::string comment;
    for (size_t i = 0;;) {
        const size_t c = s.find("/*", i), d = s.find(decl, i);
        if (d == std::string::npos) break;
        if (c < d) {
            i = s.find("*/", c);
            comment = s.substr(c, i - c);
            continue;
        }
        i = d + decl.size();
        std::set<int32_t> &codes = g_allowed[s.substr(i, s.find('(', i) - i)];
        codes.insert(0);
        for (size_t k = comment.find("STATUS_"); k != std::string::npos; k = comment.find("STATUS_", k + 1))
            if (value.count(ident(comment, k))) codes.insert(value[ident(comment, k)]);
    }
    if (g_allowed.size() < 100) {
        std::fprintf(stderr, "fuzz: cannot read the exports of %s\n", FENNEL_HEADER);
        std::abort();
    }
}

// ---- decoding -------------------------------------------------------------
const uint8_t *g_data;
size_t g_size;
uint32_t Byte() { return g_size > 0 ? (--g_size, *g_data++) : 0; }
uint32_t Pick(uint32_t n) { return (Byte() | Byte() << 8) % n; }
template <class T>
T Of(std::initializer_list<T> v) { return v.begin()[Pick(static_cast<uint32_t>(v.size()))]; }
int32_t Dim() { return Of({0, 1, 2, 3, 4, 5, 7, 8, 16, 17, 31, 64, 100, 257, 1000}); }
int32_t SmallDim() { return Of({0, 1, 2, 3, 4, 5, 8, 9, 16}); }
// A size argument: the array's own n nearby, or a small, negative or huge value.
int32_t Size(int32_t n) {
    return Of<int32_t>({0, 1, 2, 3, -1, -7, n, n + 1, n - 1, 2 * n, n / 2, 64, 1000, 32768, 46341, 65536, 1 << 20,
                        1 << 30, INT32_MAX, INT32_MIN});
}
int32_t Selector() { return Of<int32_t>({0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 3, -1, 255, INT32_MIN, INT32_MAX}); }
double Real() { return Of({1.0, 0.25, 0.5, 3.0, 0.0, -1.0, 1e-300, 1e300, kNaN, kInf, -kInf}); }
int32_t Code(char p) { return p == 's' ? 9 : p == 'd' ? 10 : p == 'c' ? 12 : 13; }
int32_t Cx(char p) { return (p == 's' || p == 'c') ? 12 : 13; }
int32_t Re(char p) { return (p == 's' || p == 'c') ? 9 : 10; }

// ---- one case: its arrays, its description, its checks ----------------------
enum Role { kIn, kOut, kWs };
struct Arr {
    void **h;
    int32_t code;
    int rank;
    Role role;
    const char *label;
    int alias;
    int64_t before;  // elements when the call began
};

struct Case {
    std::vector<Arr> a;
    std::string name, desc;
    int64_t arrays = 0;

    void Say(const char *fmt, ...) __attribute__((format(printf, 2, 3))) {
        char b[160];
        va_list ap;
        va_start(ap, fmt);
        std::vsnprintf(b, sizeof b, fmt, ap);
        va_end(ap);
        desc += desc.empty() ? "" : ", ";
        desc += b;
    }
    // A new array with pseudo-random elements (a few specials), or a NULL
    // workspace one time in four.
    int New(Role role, const char *label, int32_t code, const std::vector<int32_t> &d) {
        if (role == kWs && Pick(4) == 0) {
            a.push_back({nullptr, code, 1, role, label, -1, 0});
            Say("%s=NULL", label);
            return static_cast<int>(a.size()) - 1;
        }
        void **h = FennelHostNewArray(code, static_cast<int32_t>(d.size()), d.data());
        int64_t n = code >= 12 ? 2 : 1;
        std::string shape;
        for (int32_t v : d) n *= v, shape += (shape.empty() ? "" : "x") + std::to_string(v);
        uint32_t seed = Byte() * 2654435761u + 1, special = Pick(8);
        void *data = FennelHostArrayData(h, code, static_cast<int32_t>(d.size()));
        for (int64_t i = 0; i < n; ++i) {
            seed = seed * 1664525u + 1013904223u;
            double v = static_cast<double>(seed >> 8) / 8388608.0 - 1.0;
            if (special == 0 && i == n / 2) v = kNaN;
            if (special == 1) v = 0;
            if (special == 2) v *= 1e30;
            if (code == 9 || code == 12) static_cast<float *>(data)[i] = static_cast<float>(v);
            else static_cast<double *>(data)[i] = v;
        }
        a.push_back({h, code, static_cast<int>(d.size()), role, label, -1, 0});
        Say("%s=%s[%s]", label, shape.c_str(), code == 9 ? "f" : code == 10 ? "d" : code == 12 ? "cf" : "cd");
        return static_cast<int>(a.size()) - 1;
    }
    void **operator[](int i) const { return a[i].h; }
    // With aliasing on: an output or workspace becomes another array of its
    // type and rank.
    void Alias() {
        if (!g_aliasing || Pick(2) == 0) return;
        std::vector<std::pair<int, int>> pairs;
        for (size_t i = 0; i < a.size(); ++i)
            for (size_t j = 0; j < a.size(); ++j)
                if (i != j && a[i].role != kIn && a[i].h && a[j].h && a[i].code == a[j].code && a[i].rank == a[j].rank &&
                    a[j].alias < 0 && a[i].alias < 0)
                    pairs.emplace_back(static_cast<int>(i), static_cast<int>(j));
        if (pairs.empty()) return;
        const auto [i, j] = pairs[Pick(static_cast<uint32_t>(pairs.size()))];
        a[i].alias = j;
        FennelHostFreeArray(a[i].h);
        a[i].h = a[j].h;
        Say("%s IS %s", a[i].label, a[j].label);
    }
    ~Case() {
        for (const Arr &b : a)
            if (b.h && b.alias < 0) FennelHostFreeArray(b.h);
    }
    void Fail(const char *fmt, ...) const __attribute__((format(printf, 2, 3))) {
        if (g_continue && !g_seen.insert(name + fmt).second) return;
        va_list ap;
        va_start(ap, fmt);
        std::fprintf(stderr, "\nfuzz violation: %s(%s): ", name.c_str(), desc.c_str());
        std::vfprintf(stderr, fmt, ap);
        va_end(ap);
        std::fprintf(stderr, "\n");
        if (!g_continue) std::abort();
    }
    static int64_t Count(const Arr &b) {
        int32_t d[3] = {0, 0, 0};
        FennelHostArrayDims(b.h, b.rank, d);
        return int64_t{d[0]} * (b.rank > 1 ? d[1] : 1) * (b.rank > 2 ? d[2] : 1);
    }
    // The checks every export shares.  After a failure the outputs are empty.
    // A failure found before the transform step (every status but
    // STATUS_OUT_OF_MEMORY, STATUS_NO_WORKSPACE and the transform statuses,
    // and a refused output resize) leaves the plan and the workspaces as they
    // were; a NULL or refused workspace or a failed transform step releases
    // the plan.  Otherwise a workspace holds what it held or nothing (nothing
    // after its own refused resize; with wsEmpty 1 nothing after a success,
    // with 2 nothing after any return).  emptyLate: the routine finds an empty
    // input in its transform step.
    void Check(int32_t st, int wsEmpty, bool plan, bool emptyLate = false) {
        FennelHostFailResize(0);
        FennelHostFailNewPtr(0);
        fennel::engine::ClearFaults();
        g_lastName = name, g_lastStatus = st;
        const auto it = g_allowed.find(name);
        if (it == g_allowed.end() || it->second.count(st) == 0) Fail("status %d (%s) not listed for it", st, FDStatusText(st));
        // A kept plan may hold host blocks (the 2D DCT/DST's record); without one none is left.
        if (g_plan == nullptr && FennelHostLivePtrs() != g_ptrs)
            Fail("status %d, %lld DSNewPtr blocks left", st, static_cast<long long>(FennelHostLivePtrs() - g_ptrs));
        if (FennelHostLiveArrays() != arrays) Fail("status %d, live arrays changed", st);
        auto isOutput = [&](void **h) {
            for (const Arr &b : a)
                if (b.h == h && b.role == kOut) return true;
            return false;
        };
        const Arr *refused = nullptr;
        bool aliasedWs = false;
        for (const Arr &b : a) {
            if (b.h != nullptr && b.h == g_refused && refused == nullptr) refused = &b;
            for (const Arr &o : a)  // a workspace passed again as an output or workspace
                aliasedWs = aliasedWs || (&o != &b && b.role == kWs && o.role != kIn && b.h != nullptr && o.h == b.h);
        }
        const bool outputRefused = refused != nullptr && isOutput(refused->h);
        const bool late = (st == STATUS_NO_WORKSPACE && !aliasedWs) || st <= STATUS_DFTI_COMPUTE_FAILED ||
                          (st == STATUS_EMPTY_ARRAY && emptyLate) ||
                          (refused != nullptr && !outputRefused);
        const bool early = st < 0 && !late && st != STATUS_NO_WORKSPACE && (st != STATUS_OUT_OF_MEMORY || outputRefused);
        for (const Arr &b : a) {
            if (b.h == nullptr || b.role == kIn) continue;
            const int64_t n = Count(b);
            if (b.role == kOut || isOutput(b.h)) {
                if (st != 0 && n != 0) Fail("status %d, output %s holds %lld elements", st, b.label, static_cast<long long>(n));
            } else if (wsEmpty == 2 ? n != 0 : early ? n != b.before : n != 0 && (n != b.before || &b == refused || (st == 0 && wsEmpty))) {
                Fail("status %d, workspace %s holds %lld elements (%lld before)", st, b.label, static_cast<long long>(n),
                     static_cast<long long>(b.before));
            }
        }
        if (plan && st < 0 && late && g_plan != nullptr) Fail("status %d, plan slot still held", st);
        if (plan && st < 0 && !late && g_plan != g_planBefore && (early || g_plan != nullptr))
            Fail("status %d, plan slot changed", st);
    }
    // Called after the arrays are made: aliasing, the injected failure.
    void Go(const std::string &export_name) {
        name = export_name;
        Alias();
        arrays = FennelHostLiveArrays();
        for (Arr &b : a) b.before = b.h != nullptr ? Count(b) : 0;
        g_planBefore = g_plan;
        g_refused = nullptr;
        g_resizes = g_newPtrs = 0;
        const uint32_t pick = Pick(16), nth = 1 + Pick(4);
        const int kind = g_injectKind >= 0 ? g_injectKind : pick < 2 ? 1 : pick == 2 ? 2 : pick == 3 ? 3 + static_cast<int>(nth % kEngineKinds) : 0;
        const int k = g_injectKind >= 0 ? g_injectNth : static_cast<int>(nth);
        static const char *const what[] = {"", "resize", "DSNewPtr", "create", "query", "compute", "free"};
        if (kind == 1) FennelHostFailResize(k);
        if (kind == 2) FennelHostFailNewPtr(k);
        if (kind >= 3) fennel::engine::FailCall(static_cast<fennel::engine::Call>(kind - 3), k);
        if (kind > 0) Say("failing %s #%d", what[kind], k);
        std::snprintf(g_call, sizeof g_call, "%s(%s)", name.c_str(), desc.c_str());
    }
};

// The export of the case under way, by its name (the driver exports the
// library's symbols); CALL(prototype, args) calls it with the prototype's type.
template <class F>
F Export(const std::string &name) {
    void *f = dlsym(RTLD_DEFAULT, name.c_str());
    if (f == nullptr) std::fprintf(stderr, "fuzz: no export %s\n", name.c_str()), std::abort();
    return reinterpret_cast<F>(f);
}
#define CALL(proto, ...) Export<decltype(&proto)>(c.name)(__VA_ARGS__)
#define SAY_ARGS(...) c.Say(__VA_ARGS__)

// ---- the families -------------------------------------------------------------
void FFT1D(Case &c, int t, char p) {
    const int32_t shift = Of({0, 1, -1}), n = Dim();
    if (Pick(2)) {
        const int x = c.New(kIn, "x", Code(p), {n}), y = c.New(kOut, "out", Cx(p), {SmallDim()});
        const int w = c.New(kWs, "ws", Code(p), {SmallDim()});
        const int32_t size = Size(n);
        SAY_ARGS("fftSize=%d, shift=%d", size, shift);
        c.Go(p + std::string("1DFFTH"));
        c.Check(CALL(s1DFFTH, c[x], c[y], size, shift, c[w], &g_plan), 0, true);
    } else {
        const int x = c.New(kIn, "x", Cx(p), {n}), y = c.New(kOut, "out", Code(p), {SmallDim()});
        const int w = c.New(kWs, "ws", t < 2 ? Code(p) : Cx(p), {SmallDim()});
        SAY_ARGS("shift=%d", shift);
        c.Go(p + std::string("1DInvFFTH"));
        c.Check(CALL(s1DInvFFTH, c[x], c[y], shift, c[w], &g_plan), 0, true);
    }
}

void FFTMD(Case &c, int, char p) {
    static const char *const names[] = {"2DFFTH", "2DInvFFTH", "3DFFTH", "3DInvFFTH", "2DMultiChFFTH", "2DInvMultiChFFTH"};
    const int kind = static_cast<int>(Pick(6)), rank = kind == 2 || kind == 3 ? 3 : 2;
    const bool fwd = kind % 2 == 0;
    const int32_t d0 = SmallDim(), d1 = rank == 3 ? SmallDim() : Dim() % 65, d2 = SmallDim();
    const std::vector<int32_t> dims = rank == 3 ? std::vector<int32_t>{d0, d1, d2} : std::vector<int32_t>{d0, d1};
    const int x = c.New(kIn, "x", fwd ? Code(p) : Cx(p), dims);
    const int y = rank == 3 ? c.New(kOut, "out", fwd ? Cx(p) : Code(p), {SmallDim(), SmallDim(), 1})
                            : c.New(kOut, "out", fwd ? Cx(p) : Code(p), {SmallDim(), SmallDim()});
    const int w = c.New(kWs, "ws", fwd ? Code(p) : Cx(p), {SmallDim()});
    const int32_t shift = Of({0, 1, 7}), r = Size(d0), cl = Size(d1), pg = Size(d2), orient = Selector();
    if (kind == 0) SAY_ARGS("rows=%d, columns=%d", r, cl);
    if (kind == 2) SAY_ARGS("rows=%d, columns=%d, pages=%d", r, cl, pg);
    if (kind == 4) SAY_ARGS("fftSize=%d", cl);
    SAY_ARGS(kind >= 4 ? "shift=%d, orientation=%d" : "shift=%d", shift, orient);
    c.Go(p + std::string(names[kind]));
    int32_t st = 0;
    switch (kind) {
        case 0: st = CALL(s2DFFTH, c[x], c[y], r, cl, shift, c[w], &g_plan); break;
        case 2: st = CALL(s3DFFTH, c[x], c[y], r, cl, pg, shift, c[w], &g_plan); break;
        case 4: st = CALL(s2DMultiChFFTH, c[x], c[y], cl, shift, orient, c[w], &g_plan); break;
        case 5: st = CALL(s2DInvMultiChFFTH, c[x], c[y], shift, orient, c[w], &g_plan); break;
        default: st = CALL(s2DInvFFTH, c[x], c[y], shift, c[w], &g_plan); break;  // the 2D and 3D inverses
    }
    c.Check(st, 0, true);
}

void Trig(Case &c, int t, char) {
    const char p = "sd"[t % 2];
    const bool dst = Pick(2), two = Pick(2), inv = Pick(2);
    const int32_t r = two ? SmallDim() : Dim(), cl = SmallDim() * 3;
    const int x = two ? c.New(kIn, "x", Code(p), {r, cl}) : c.New(kIn, "x", Code(p), {r});
    const int y = two ? c.New(kOut, "out", Code(p), {SmallDim(), SmallDim()}) : c.New(kOut, "out", Code(p), {SmallDim()});
    const int w = c.New(kWs, "ws", inv && !dst ? Cx(p) : Code(p), {SmallDim()});
    const int32_t len = Size(r), len2 = Size(cl);
    if (!inv) SAY_ARGS(two ? "rows=%d, columns=%d" : "length=%d", len, len2);
    c.Go(p + std::string(two ? "2D" : "1D") + (inv ? "Inv" : "") + (dst ? "DSTH" : "DCTH"));
    const int32_t st = inv ? CALL(s1DInvDCTH, c[x], c[y], c[w], &g_plan)
                       : two ? CALL(s2DDCTH, c[x], c[y], len, len2, c[w], &g_plan)
                             : CALL(s1DDCTH, c[x], c[y], len, c[w], &g_plan);
    c.Check(st, 1, true, inv && !two);
}

void Spectra(Case &c, int, char p) {
    static const char *const names[] = {"PowerSpectrumH", "AutoPowerSpectrumH", "CrossPowerH", "CrossPowerSpectrumH"};
    const int kind = static_cast<int>(Pick(4));
    const int x = c.New(kIn, "x", Code(p), {Dim()}), y = kind >= 2 ? c.New(kIn, "y", Code(p), {Dim()}) : -1;
    const int o = c.New(kOut, kind == 3 ? "magnitude" : "out", kind == 2 ? Cx(p) : Re(p), {SmallDim()});
    const int ph = kind == 3 ? c.New(kOut, "phase", Re(p), {SmallDim()}) : -1;
    const int w = c.New(kWs, "ws", Code(p), {SmallDim()});
    const double dt = Real();
    const int32_t type = Selector();
    double df = 12345;
    if (kind % 2) SAY_ARGS("dt=%g, spectrumType=%d", dt, type);
    c.Go(p + std::string(names[kind]));
    int32_t st = 0;
    switch (kind) {
        case 0: st = CALL(sPowerSpectrumH, c[x], c[o], c[w], &g_plan); break;
        case 1: st = CALL(sAutoPowerSpectrumH, c[x], c[o], dt, type, &df, c[w], &g_plan); break;
        case 2: st = CALL(sCrossPowerH, c[x], c[y], c[o], c[w], &g_plan); break;
        default: st = CALL(sCrossPowerSpectrumH, c[x], c[y], dt, type, &df, c[o], c[ph], c[w], &g_plan); break;
    }
    c.Check(st, 1, true);
}

void Correlation(Case &c, int t, char p) {
    static const char *const pairs[] = {"s", "d", "c", "z", "sc", "dz", "cs", "zd"};
    static const char *const names[] = {"1DConvolutionH", "1DCorrelationH", "1DAutoCorrelationH",
                                        "2DConvolutionH", "2DCorrelationH", "2DAutoCorrelationH"};
    const int kind = static_cast<int>(Pick(6)), pair = kind < 2 ? t + 4 * static_cast<int>(Pick(2)) : t;
    const char px = pairs[pair][0], py = pairs[pair][1] ? pairs[pair][1] : px;
    const int32_t out = pair >= 4 ? Cx(px) : Code(px);
    const bool two = kind >= 3;
    auto arr = [&](Role role, const char *label, int32_t code, bool small) {
        return two ? c.New(role, label, code, {SmallDim(), SmallDim()}) : c.New(role, label, code, {small ? SmallDim() : Dim()});
    };
    const int x = arr(kIn, "x", Code(px), false), y = kind % 3 != 2 ? arr(kIn, "y", Code(py), false) : -1;
    const int o = arr(kOut, "out", out, true);
    const int w1 = c.New(kWs, kind % 3 == 0 ? "fullScratch" : "reverseScratch", kind % 3 == 0 ? out : Code(px), {SmallDim()});
    const int w2 = c.New(kWs, "fftScratch", out, {SmallDim()});
    const int32_t mode = Selector(), alg = Selector(), norm = Selector(), block = Size(7);
    SAY_ARGS("outputMode=%d, algorithm=%d, normalization=%d, blockSize=%d", mode, alg, norm, block);
    c.Go((kind < 2 ? pairs[pair] : std::string(1, p)) + names[kind]);
    int32_t st = 0;
    switch (kind) {
        case 0: st = CALL(s1DConvolutionH, c[x], c[y], c[o], mode, alg, block, c[w1], c[w2], &g_plan); break;
        case 1: st = CALL(s1DCorrelationH, c[x], c[y], c[o], alg, norm, block, c[w1], c[w2], &g_plan); break;
        case 2: st = CALL(s1DAutoCorrelationH, c[x], c[o], alg, norm, block, c[w1], c[w2], &g_plan); break;
        case 3: st = CALL(s2DConvolutionH, c[x], c[y], c[o], mode, alg, c[w1], c[w2], &g_plan); break;
        case 4: st = CALL(s2DCorrelationH, c[x], c[y], c[o], alg, c[w1], c[w2], &g_plan); break;
        default: st = CALL(s2DAutoCorrelationH, c[x], c[o], alg, c[w1], c[w2], &g_plan); break;
    }
    c.Check(st, 2, true);
}

void Resampling(Case &c, int, char p) {
    static const char *const names[] = {"DecimateH", "UpsampleH", "ResampleC2CH", "ResampleMultiChC2CH"};
    const int kind = static_cast<int>(Pick(4));
    if (kind < 2) {
        const int x = c.New(kIn, "x", Code(p), {Dim()}), o = c.New(kOut, "out", Code(p), {SmallDim()});
        const int32_t factor = Size(Of({1, 2, 3, 7})), arg = Of<int32_t>({0, 1, factor / 2, factor, -1});
        SAY_ARGS("factor=%d, %s=%d", factor, kind ? "phase" : "average", arg);
        c.Go(p + std::string(names[kind]));
        return c.Check(CALL(sDecimateH, c[x], c[o], factor, arg), 0, false);
    }
    const bool multi = kind == 3;
    // The block length N may be negative in the array (the header refuses it).
    const int32_t n = Pick(16) == 0 ? Of({-1, -100, INT32_MIN}) : Dim() % 300, ch = SmallDim() % 4;
    const int x = multi ? c.New(kIn, "x", Code(p), {ch, n < 0 ? 0 : n}) : c.New(kIn, "x", Code(p), {n < 0 ? 0 : n});
    if (n < 0) static_cast<int32_t *>(*c[x])[multi ? 1 : 0] = n, c.Say("x's N forged to %d", n);
    const int h = c.New(kIn, "coefficients", Re(p), {Of({0, 1, 2, 7, 31, 64})});
    const int o = multi ? c.New(kOut, "out", Code(p), {SmallDim(), 1}) : c.New(kOut, "out", Code(p), {SmallDim()});
    // The histories are kept between calls and emptied on failure, as outputs.
    const int ha = multi ? c.New(kOut, "historyA", Code(p), {SmallDim() % 4, SmallDim()})
                         : c.New(kOut, "historyA", Code(p), {SmallDim()});
    const int hb = c.New(kOut, "historyB", Re(p), {SmallDim()});
    FDResampleParams params{static_cast<float>(Of({0.5, 1.0, 2.5, 0.3, 1e-6, 0.0, -1.0, 1e9, 1073741824.0, kNaN, kInf})),
                            static_cast<float>(Of({0.0, 0.3, 5.0, -1.0, 1e9, kNaN})), Of({0, 1, 2, -1})};
    const int32_t interp = Of({1, 2, 4, 0, -1, 1000, INT32_MAX}), reset = Pick(4) != 0, aa = Pick(2);
    const bool noParams = Pick(8) == 0, noState = Pick(16) == 0;
    if (Pick(16) == 0) {  // a stream state of garbage
        for (size_t i = 0; i < sizeof g_state; ++i) reinterpret_cast<uint8_t *>(&g_state)[i] = static_cast<uint8_t>(Byte());
        c.Say("garbage state");
    }
    SAY_ARGS("interpolation=%d, ratio=%g, startOffset=%g, tapMode=%d%s, reset=%d, antiAlias=%d%s", interp,
             static_cast<double>(params.ratio), static_cast<double>(params.startOffset), params.tapMode,
             noParams ? " (params NULL)" : "", reset, aa, noState ? ", state=NULL" : "");
    float first = 7;
    c.Go(p + std::string(names[kind]));
    const int32_t st = CALL(sResampleC2CH, c[x], c[h], interp, noParams ? nullptr : &params, reset, aa, c[o], &first,
                            c[ha], c[hb], noState ? nullptr : &g_state);
    if (n < 0) static_cast<int32_t *>(*c[x])[multi ? 1 : 0] = 0;
    c.Check(st, 0, false);
}

template <class P>
void WindowsOf(Case &c, char p) {
    static const char *const names[] = {"AllCosWinH", "GaussWinH", "KaiserWinH", "SymmWinH", "TriangleWinH"};
    const int kind = static_cast<int>(Pick(5));
    const int x = c.New(kOut, "x", Code(p), {Dim()});
    const int w = kind % 3 == 0 ? c.New(kWs, "ws", TYPE_CODE_DOUBLE, {SmallDim()}) : -1;  // AllCosWin, SymmWin
    const int32_t type = Of<int32_t>({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 30, 60, 62, 63, -1, INT32_MAX});
    const int32_t norm = Of({0, 1, -1});
    const P param = static_cast<P>(Real());
    SAY_ARGS("windowType=%d, normalise=%d, parameter=%g", type, norm, static_cast<double>(param));
    c.Go(p + std::string(names[kind]));
    int32_t st = 0;
    switch (kind) {
        case 0: st = CALL(sAllCosWinH, c[x], type, norm, c[w]); break;
        case 3: st = Export<int32_t (*)(FDArrayHandle, int32_t, P, FDArrayHandle)>(c.name)(c[x], type, param, c[w]); break;
        case 4: st = CALL(sTriangleWinH, c[x]); break;
        default: st = Export<int32_t (*)(FDArrayHandle, P)>(c.name)(c[x], param); break;  // Gauss, Kaiser
    }
    c.Check(st, 0, false);
}

void Filters(Case &c, int t, char p) {
    const int kind = static_cast<int>(Pick(4));
    if (kind == 0) return t % 2 ? WindowsOf<double>(c, p) : WindowsOf<float>(c, p);
    if (kind == 1) {
        const int h = c.New(kOut, "coefficients", Code("sd"[t % 2]), {SmallDim()});
        const int w = c.New(kWs, "ws", TYPE_CODE_DOUBLE, {SmallDim()});
        const double fs = Of({1000.0, 1000.0, 0.0, -1.0, kNaN}), f1 = Of({100.0, 250.0, 499.0, 600.0, 0.0, -5.0, kNaN});
        const double f2 = Of({250.0, 100.0, 500.0, 700.0, kInf});
        const int32_t taps = Size(21), filter = Selector(), win = Of<int32_t>({0, 1, 7, 8, 10, 30, 60, 62, 63}), norm = Pick(2);
        const double param = Real();
        SAY_ARGS("fs=%g, f1=%g, f2=%g, taps=%d, filterType=%d, windowType=%d, parameter=%g, normalise=%d", fs, f1, f2,
                 taps, filter, win, param, norm);
        c.Go(t % 2 ? "dFIRWindowedCoefH" : "sFIRWindowedCoefH");
        return c.Check(t % 2 ? dFIRWindowedCoefH(c[h], fs, f1, f2, taps, filter, win, param, norm, c[w])
                             : sFIRWindowedCoefH(c[h], fs, f1, f2, taps, filter, win, static_cast<float>(param), norm, c[w]),
                       0, false);
    }
    const int32_t r = Re(p), na = Of({0, 1, 2, 3, 4, 5, 9, 17}), nb = Of({0, 1, 2, 3, 4, 5, 9, 17});
    const int x = c.New(kOut, "x", Code(p), {Dim()}), a = c.New(kIn, "a", r, {na}), b = c.New(kIn, "b", r, {nb});
    const int fst = c.New(kOut, "forwardState", Code(p), {Pick(2) ? nb - 1 : SmallDim()});
    const int rst = c.New(kOut, "reverseState", Code(p), {Pick(2) ? na - 1 : SmallDim()});
    if (na > 0 && Pick(4)) {  // a[0] = 1 mostly; otherwise whatever the fill gave
        void *a0 = FennelHostArrayData(c[a], r, 1);
        r == TYPE_CODE_FLOAT ? void(*static_cast<float *>(a0) = 1) : void(*static_cast<double *>(a0) = 1);
    }
    const int tw = c.New(kWs, "tailWorkspace", Code(p), {SmallDim()}), aw = c.New(kWs, "aWorkspace", r, {SmallDim()});
    const int bw = c.New(kWs, "bWorkspace", r, {SmallDim()});
    const int32_t init = Pick(2);
    SAY_ARGS("init=%d", init);
    static const char *const prefix[] = {"ss", "dd", "cs", "zd"};
    c.Go(prefix[t] + std::string("IIRDirectFilterH"));
    c.Check(CALL(ssIIRDirectFilterH, c[x], c[a], c[b], c[fst], c[rst], init, c[tw], c[aw], c[bw]), 0, false);
}

void (*const kRun[kFamilyCount])(Case &, int, char) = {FFT1D, FFTMD, Trig, Spectra, Correlation, Resampling, Filters};

void PrintCounts() {
    std::fprintf(stderr, "fuzz: cases per family:");
    for (int i = 0; i < kFamilyCount; ++i) std::fprintf(stderr, " %s %lld;", kFamilies[i], static_cast<long long>(g_cases[i]));
    std::fprintf(stderr, "\n");
}

void Init() {
    setenv("FENNEL_DSP_PLANNER", "estimate", 0);
    const char *alias = std::getenv("FENNEL_FUZZ_ALIASING");
    g_aliasing = alias == nullptr || std::strcmp(alias, "0") != 0;
    g_continue = std::getenv("FENNEL_FUZZ_CONTINUE") != nullptr;
    if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback([] { std::fprintf(stderr, "fuzz: the call was %s\n", g_call); });
    ParseHeader();
    // Links the exports in and checks that the cases find them by name.
    if (Export<decltype(&s1DFFTH)>("s1DFFTH") != &s1DFFTH) std::abort();
    g_ptrs = FennelHostLivePtrs();
    std::atexit([] {
        PrintCounts();
        FreeMKLDftiDescH(&g_plan);
    });
}

}  // namespace

int RunCase(const uint8_t *data, size_t size) {
    g_data = data, g_size = size;
    const int family = static_cast<int>(Pick(kFamilyCount)), t = static_cast<int>(Pick(4));
    ++g_cases[family];
    if (Pick(4) == 0) {  // a fresh slot: the kept plan must release
        const bool dct = Pick(2);
        const int32_t st = dct ? FreeMKLDCTDSTiDescH(&g_plan) : FreeMKLDftiDescH(&g_plan);
        if (st != 0 || g_plan != nullptr || FennelHostLivePtrs() != g_ptrs) {
            std::fprintf(stderr, "fuzz violation: %s of the kept plan: status %d, slot %p, %lld blocks left\n",
                         dct ? "FreeMKLDCTDSTiDescH" : "FreeMKLDftiDescH", st, g_plan,
                         static_cast<long long>(FennelHostLivePtrs() - g_ptrs));
            std::abort();
        }
    }
    // Blocks start at a multiple of the component size: of 4 only where every
    // array of the call is single precision (the windows' workspace is double).
    const int32_t place = Of({-1, 0, 8, 16, 24, 32, 40, 48, 56, 4, 12, 20, 36, 60});
    FennelHostSetPlacement(place % 8 == 0 || (t % 2 == 0 && family != 6) ? place : place - 4);
    {
        Case c;
        kRun[family](c, t, "sdcz"[t]);
    }
    FennelHostReset();
    return 0;
}

namespace {

void NextBytes(uint64_t &seed, uint8_t (&bytes)[96]) {
    for (uint8_t &b : bytes) seed = seed * 6364136223846793005ULL + 1442695040888963407ULL, b = static_cast<uint8_t>(seed >> 56);
}

// The fault sweep: of the first `cases` cases, the successful one with the
// most host calls of each export runs again, from an empty slot and the
// stream state it began with, with each of its resizes, each of its DSNewPtr
// calls and the first calls of each transform-engine function failing in
// turn; Check holds each outcome to the failure rules.
void Sweep(uint64_t seed, long cases) {
    struct Chosen {
        std::vector<uint8_t> bytes;
        FDResampleState state;
        int64_t calls[2];
    };
    std::map<std::string, Chosen> chosen;
    uint8_t bytes[96];
    g_injectKind = 0;
    for (long i = 0; i < cases; ++i) {
        NextBytes(seed, bytes);
        FreeMKLDftiDescH(&g_plan);
        const FDResampleState state = g_state;
        RunCase(bytes, sizeof bytes);
        Chosen &c = chosen[g_lastName];
        if (g_lastStatus == 0 && (c.bytes.empty() || g_resizes + g_newPtrs > c.calls[0] + c.calls[1]))
            c = {std::vector<uint8_t>(bytes, bytes + sizeof bytes), state, {g_resizes, g_newPtrs}};
    }
    long runs = 0, exports = 0;
    for (const auto &[name, c] : chosen) {
        if (c.bytes.empty()) continue;
        ++exports;
        for (int kind = 1; kind < 3 + kEngineKinds; ++kind)
            for (int nth = 1; kind > 2 ? nth <= 4 : nth <= c.calls[kind - 1]; ++nth, ++runs) {
                FreeMKLDftiDescH(&g_plan);
                g_state = c.state;
                g_injectKind = kind, g_injectNth = nth;
                RunCase(c.bytes.data(), c.bytes.size());
                if (kind > 2 && g_lastStatus == 0) break;  // no such call left
            }
    }
    g_injectKind = -1;
    std::fprintf(stderr, "fuzz: fault sweep over %ld exports, %ld failing calls; not reached:", exports, runs);
    for (const auto &[name, codes] : g_allowed)
        if (name.rfind("Free", 0) != 0 && (chosen.count(name) == 0 || chosen[name].bytes.empty()))
            std::fprintf(stderr, " %s", name.c_str());
    std::fprintf(stderr, "\n");
}

}  // namespace

#ifdef FENNEL_LIBFUZZER
extern "C" int LLVMFuzzerInitialize(int *, char ***) { return Init(), 0; }
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) { return RunCase(data, size); }
#else
int main(int argc, char **argv) {
    Init();
    const long cases = argc > 1 ? std::atol(argv[1]) : 4000;
    uint64_t seed = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
    const long sweep = argc > 3 ? std::atol(argv[3]) : 0;
    uint8_t bytes[96];
    for (long i = 0; i < cases; ++i) {
        NextBytes(seed, bytes);
        RunCase(bytes, sizeof bytes);
        if ((i + 1) % 100000 == 0) PrintCounts();
    }
    if (sweep > 0) Sweep(seed, sweep);
    return 0;
}
#endif
