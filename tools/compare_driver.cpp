// Calls every export of fennel_dsp.h over a grid of sizes, parameters and block
// placements and prints one digest line per call: the status and, for every
// array of the call (inputs too, so that stray writes show), its sizes and a
// hash of its bytes, plus any scalar outputs and whether the plan slot is set.
// Two builds give the same lines exactly when they agree bit for bit.
//
//   compare_driver <library folder> [placement ...]
//
// The folder holds libfennel_host.so (loaded first, into the global scope,
// where the library finds its host services) and libfennel_dsp.so.  Exports
// are resolved by name and called with the header's signatures.
#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "fennel_dsp.h"
#include "fennel_host.h"

namespace {

void *g_dsp = nullptr, *g_host = nullptr;
int g_missing = 0;

template <class F>
F Sym(void *lib, const std::string &name) {
    void *f = dlsym(lib, name.c_str());
    if (f == nullptr) {
        std::printf("%s missing\n", name.c_str());
        ++g_missing;
    }
    return reinterpret_cast<F>(f);
}
// An export of the library, typed as the header's declaration `proto`.
#define EXPORT(proto, name) Sym<decltype(&proto)>(g_dsp, name)
#define HOST(fn) static const auto fn##_ = Sym<decltype(&fn)>(g_host, #fn)

int ElementBytes(int32_t code) { return code == 9 ? 4 : code == 13 ? 16 : 8; }
bool IsSingle(int32_t code) { return code == 9 || code == 12; }
// Type codes of a prefix letter: its own, its complex and its real type.
int32_t Code(char p) { return p == 's' ? 9 : p == 'd' ? 10 : p == 'c' ? 12 : 13; }
int32_t Cx(char p) { return (p == 's' || p == 'c') ? 12 : 13; }
int32_t Re(char p) { return (p == 's' || p == 'c') ? 9 : 10; }

uint64_t g_seed = 1;
double Next() {
    g_seed = g_seed * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<double>(g_seed >> 11) / 4503599627370496.0 - 1.0;  // [-1, 1)
}

struct Arr {
    void **h;
    int32_t code;
    int rank;
};

// The arrays and the plan slot of one case; arrays are freed at its end.
class Case {
   public:
    explicit Case(std::string label, bool trig = false) : label_(std::move(label)), trig_(trig) {}
    ~Case() {
        HOST(FennelHostFreeArray);
        if (plan != nullptr) FreePlan();
        for (const Arr &a : arrays_) FennelHostFreeArray_(a.h);
    }

    // A new array, filled with pseudo-random values unless fill is false.
    void **New(int32_t code, std::initializer_list<int32_t> dims, bool fill = true) {
        HOST(FennelHostNewArray);
        HOST(FennelHostArrayData);
        std::vector<int32_t> d(dims);
        Arr a{FennelHostNewArray_(code, static_cast<int32_t>(d.size()), d.data()), code,
              static_cast<int>(d.size())};
        arrays_.push_back(a);
        int64_t n = (code == 12 || code == 13) ? 2 : 1;
        for (int32_t v : d) n *= v;
        void *data = FennelHostArrayData_(a.h, code, a.rank);
        for (int64_t i = 0; fill && i < n; ++i) {
            if (IsSingle(code)) static_cast<float *>(data)[i] = static_cast<float>(Next());
            else static_cast<double *>(data)[i] = Next();
        }
        return a.h;
    }
    // Sets element i (real part) of an array.
    void Set(void **h, int64_t i, double v) {
        HOST(FennelHostArrayData);
        for (const Arr &a : arrays_)
            if (a.h == h) {
                void *data = FennelHostArrayData_(h, a.code, a.rank);
                const int64_t k = (a.code == 12 || a.code == 13) ? 2 * i : i;
                if (IsSingle(a.code)) static_cast<float *>(data)[k] = static_cast<float>(v);
                else static_cast<double *>(data)[k] = v;
            }
    }

    // One digest line: status, every array, the extra bytes, the plan slot.
    void Print(const char *call, int32_t status, const void *extra = nullptr, size_t extra_bytes = 0) {
        HOST(FennelHostArrayDims);
        HOST(FennelHostArrayData);
        std::printf("%s %s st=%d", label_.c_str(), call, static_cast<int>(status));
        for (const Arr &a : arrays_) {
            int32_t d[3] = {0, 0, 0};
            FennelHostArrayDims_(a.h, a.rank, d);
            int64_t n = 1;
            for (int i = 0; i < a.rank; ++i) n *= d[i];
            const auto *p = static_cast<const unsigned char *>(FennelHostArrayData_(a.h, a.code, a.rank));
            const uint64_t h = Hash(p, p == nullptr ? 0 : static_cast<size_t>(n) * ElementBytes(a.code));
            std::printf(" %d", d[0]);
            for (int i = 1; i < a.rank; ++i) std::printf("x%d", d[i]);
            std::printf(":%016llx", static_cast<unsigned long long>(h));
        }
        if (extra != nullptr)
            std::printf(" extra:%016llx",
                        static_cast<unsigned long long>(Hash(static_cast<const unsigned char *>(extra), extra_bytes)));
        std::printf(" plan=%d\n", plan != nullptr ? 1 : 0);
    }

    // Releases the plan and prints the release's status.
    void FreePlan() {
        static const auto free_dfti = EXPORT(FreeMKLDftiDescH, "FreeMKLDftiDescH");
        static const auto free_trig = EXPORT(FreeMKLDCTDSTiDescH, "FreeMKLDCTDSTiDescH");
        const int32_t st = trig_ ? free_trig(&plan) : free_dfti(&plan);
        std::printf("%s free st=%d plan=%d\n", label_.c_str(), static_cast<int>(st), plan != nullptr ? 1 : 0);
    }

    FDPlanHandle plan = nullptr;

   private:
    static uint64_t Hash(const unsigned char *p, size_t n) {
        uint64_t h = 1469598103934665603ULL;
        for (size_t i = 0; i < n; ++i) h = (h ^ p[i]) * 1099511628211ULL;
        return h;
    }
    std::string label_;
    bool trig_;
    std::vector<Arr> arrays_;
};

std::string L(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
std::string L(const char *fmt, ...) {
    char buf[256];
    va_list ap;
    va_start(ap, fmt);
    std::vsnprintf(buf, sizeof buf, fmt, ap);
    va_end(ap);
    return buf;
}

// Calls `call(c)` twice on one plan: the second call reuses it.
template <class F>
void Twice(Case &c, F call) {
    c.Print("#1", call());
    c.Print("#2", call());
}

const char *kSDCZ = "sdcz";

// ---- FFTs -------------------------------------------------------------------
void FFT1D() {
    for (const char *p = kSDCZ; *p; ++p) {
        const auto fwd = EXPORT(s1DFFTH, std::string(1, *p) + "1DFFTH");
        const auto inv = EXPORT(s1DInvFFTH, std::string(1, *p) + "1DInvFFTH");
        for (int32_t n : {1, 2, 7, 64, 1000, 4096, 262144}) {
            for (int32_t L0 : {0, n + 3, n / 2}) {
                if (n == 262144 && L0 != 0) continue;
                for (int32_t shift : {0, 1}) {
                    Case c(L("%c1DFFT n=%d L=%d shift=%d", *p, n, L0, shift));
                    void **x = c.New(Code(*p), {n}), **y = c.New(Cx(*p), {0}), **w = c.New(Code(*p), {0});
                    Twice(c, [&] { return fwd(x, y, L0, shift, w, &c.plan); });
                }
            }
            for (int32_t shift : {0, 1}) {
                Case c(L("%c1DInvFFT n=%d shift=%d", *p, n, shift));
                void **x = c.New(Cx(*p), {n}), **y = c.New(Code(*p), {0});
                void **w = c.New(*p == 's' || *p == 'd' ? Code(*p) : Cx(*p), {0});
                Twice(c, [&] { return inv(x, y, shift, w, &c.plan); });
            }
        }
        // Failures after a successful call: empty input, padding without a
        // workspace, a centred inverse without a workspace.
        {
            Case c(L("%c1DFFT fail", *p));
            void **x = c.New(Code(*p), {16}), **e = c.New(Code(*p), {0}), **y = c.New(Cx(*p), {0});
            c.Print("ok", fwd(x, y, 0, 0, nullptr, &c.plan));
            c.Print("empty", fwd(e, y, 0, 0, nullptr, &c.plan));
            c.Print("ok", fwd(x, y, 0, 0, nullptr, &c.plan));
            c.Print("nows", fwd(x, y, 32, 0, nullptr, &c.plan));
            c.Print("ok", inv(y, x, 0, nullptr, &c.plan));
            c.Print("inv-nows", inv(y, x, 1, nullptr, &c.plan));
        }
    }
}

void FFTMD() {
    for (const char *p = kSDCZ; *p; ++p) {
        const std::string s(1, *p);
        const auto fwd2 = EXPORT(s2DFFTH, s + "2DFFTH");
        const auto inv2 = EXPORT(s2DInvFFTH, s + "2DInvFFTH");
        const auto fwd3 = EXPORT(s3DFFTH, s + "3DFFTH");
        const auto inv3 = EXPORT(s3DInvFFTH, s + "3DInvFFTH");
        const auto mfwd = EXPORT(s2DMultiChFFTH, s + "2DMultiChFFTH");
        const auto minv = EXPORT(s2DInvMultiChFFTH, s + "2DInvMultiChFFTH");
        const int32_t ws_inv = Cx(*p);
        for (auto [R, C] : {std::pair{1, 1}, {2, 7}, {7, 64}, {64, 64}, {33, 100}, {512, 512}}) {
            for (auto [r, cc] : {std::pair{0, 0}, {R + 3, C + 1}, {R / 2, C}}) {
                if (R == 512 && r != 0) continue;
                for (int32_t shift : {0, 1}) {
                    Case c(L("%c2DFFT %dx%d to %dx%d shift=%d", *p, R, C, r, cc, shift));
                    void **x = c.New(Code(*p), {R, C}), **y = c.New(Cx(*p), {0, 0}), **w = c.New(Code(*p), {0});
                    Twice(c, [&] { return fwd2(x, y, r, cc, shift, w, &c.plan); });
                }
            }
            for (int32_t shift : {0, 1}) {
                Case c(L("%c2DInvFFT %dx%d shift=%d", *p, R, C, shift));
                void **x = c.New(Cx(*p), {R, C}), **y = c.New(Code(*p), {0, 0}), **w = c.New(ws_inv, {0});
                Twice(c, [&] { return inv2(x, y, shift, w, &c.plan); });
            }
            for (int32_t orient : {0, 1}) {
                for (int32_t fl : {0, C + 3, 5}) {
                    for (int32_t shift : {0, 1}) {
                        Case c(L("%c2DMultiChFFT %dx%d L=%d o=%d shift=%d", *p, R, C, fl, orient, shift));
                        void **x = c.New(Code(*p), {R, C}), **y = c.New(Cx(*p), {0, 0}), **w = c.New(Code(*p), {0});
                        Twice(c, [&] { return mfwd(x, y, fl, shift, orient, w, &c.plan); });
                    }
                }
                for (int32_t shift : {0, 1}) {
                    Case c(L("%c2DInvMultiChFFT %dx%d o=%d shift=%d", *p, R, C, orient, shift));
                    void **x = c.New(Cx(*p), {R, C}), **y = c.New(Code(*p), {0, 0}), **w = c.New(ws_inv, {0});
                    Twice(c, [&] { return minv(x, y, shift, orient, w, &c.plan); });
                }
            }
        }
        for (auto [P, R, C] : {std::tuple{1, 1, 1}, {2, 3, 7}, {4, 8, 16}, {5, 6, 9}, {8, 64, 512}}) {
            for (auto [pp, r, cc] : {std::tuple{0, 0, 0}, {P + 1, R + 2, C + 1}, {P, R / 2, C}}) {
                if (P == 8 && pp != 0) continue;
                for (int32_t shift : {0, 1}) {
                    Case c(L("%c3DFFT %dx%dx%d to %dx%dx%d shift=%d", *p, P, R, C, pp, r, cc, shift));
                    void **x = c.New(Code(*p), {P, R, C}), **y = c.New(Cx(*p), {0, 0, 0});
                    void **w = c.New(Code(*p), {0});
                    Twice(c, [&] { return fwd3(x, y, r, cc, pp, shift, w, &c.plan); });
                }
            }
            for (int32_t shift : {0, 1}) {
                Case c(L("%c3DInvFFT %dx%dx%d shift=%d", *p, P, R, C, shift));
                void **x = c.New(Cx(*p), {P, R, C}), **y = c.New(Code(*p), {0, 0, 0}), **w = c.New(ws_inv, {0});
                Twice(c, [&] { return inv3(x, y, shift, w, &c.plan); });
            }
        }
        {
            Case c(L("%cFFTMD fail", *p));
            void **x = c.New(Code(*p), {4, 6}), **y = c.New(Cx(*p), {0, 0}), **e = c.New(Code(*p), {0, 3});
            void **x3 = c.New(Code(*p), {2, 4, 6}), **y3 = c.New(Cx(*p), {0, 0, 0});
            c.Print("ok", fwd2(x, y, 0, 0, 0, nullptr, &c.plan));
            c.Print("empty", fwd2(e, y, 0, 0, 0, nullptr, &c.plan));
            c.Print("ok", fwd2(x, y, 0, 0, 0, nullptr, &c.plan));
            c.Print("toolarge", fwd2(x, y, 65536, 65536, 0, nullptr, &c.plan));
            c.Print("ok", fwd2(x, y, 0, 0, 0, nullptr, &c.plan));
            c.Print("nows", fwd2(x, y, 8, 8, 0, nullptr, &c.plan));
            c.Print("ok", inv2(y, x, 0, nullptr, &c.plan));
            c.Print("inv-nows", inv2(y, x, 1, nullptr, &c.plan));
            c.Print("ok3", fwd3(x3, y3, 0, 0, 0, 0, nullptr, &c.plan));
            c.Print("nows3", fwd3(x3, y3, 5, 7, 3, 0, nullptr, &c.plan));
            c.Print("ok", mfwd(x, y, 0, 0, 0, nullptr, &c.plan));
            c.Print("orient2", mfwd(x, y, 0, 0, 2, nullptr, &c.plan));
            c.Print("ok", mfwd(x, y, 0, 0, 1, nullptr, &c.plan));
            c.Print("inv-orient2", minv(y, x, 0, 2, nullptr, &c.plan));
        }
    }
}

// ---- DCT / DST ----------------------------------------------------------------
void Trig() {
    for (const char *p = "sd"; *p; ++p) {
        const std::string s(1, *p);
        for (const char *kind : {"DCT", "DST"}) {
            const auto fwd = EXPORT(s1DDCTH, s + "1D" + kind + "H");
            const auto inv = EXPORT(s1DInvDCTH, s + "1DInv" + kind + "H");
            const auto fwd2 = EXPORT(s2DDCTH, s + "2D" + kind + "H");
            const auto inv2 = EXPORT(s2DInvDCTH, s + "2DInv" + kind + "H");
            const bool dct = kind[1] == 'C';
            const int32_t inv_ws = dct ? Cx(*p) : Code(*p);
            for (int32_t n : {1, 2, 7, 64, 1000, 4096}) {
                for (int32_t len : {0, n + 3, n / 2}) {
                    Case c(L("%c1D%s n=%d len=%d", *p, kind, n, len));
                    void **x = c.New(Code(*p), {n}), **y = c.New(Code(*p), {0}), **w = c.New(Code(*p), {0});
                    Twice(c, [&] { return fwd(x, y, len, w, &c.plan); });
                }
                Case c(L("%c1DInv%s n=%d", *p, kind, n));
                void **x = c.New(Code(*p), {n}), **y = c.New(Code(*p), {0}), **w = c.New(inv_ws, {0});
                Twice(c, [&] { return inv(x, y, w, &c.plan); });
            }
            for (auto [R, C] : {std::pair{1, 1}, {2, 7}, {7, 64}, {33, 100}, {128, 128}}) {
                for (auto [r, cc] : {std::pair{0, 0}, {R + 2, C + 1}, {R / 2, C}}) {
                    Case c(L("%c2D%s %dx%d to %dx%d", *p, kind, R, C, r, cc), true);
                    void **x = c.New(Code(*p), {R, C}), **y = c.New(Code(*p), {0, 0}), **w = c.New(Code(*p), {0});
                    Twice(c, [&] { return fwd2(x, y, r, cc, w, &c.plan); });
                }
                Case c(L("%c2DInv%s %dx%d", *p, kind, R, C), true);
                void **x = c.New(Code(*p), {R, C}), **y = c.New(Code(*p), {0, 0}), **w = c.New(inv_ws, {0});
                Twice(c, [&] { return inv2(x, y, w, &c.plan); });
            }
            {
                Case c(L("%c1D%s fail", *p, kind));
                void **x = c.New(Code(*p), {10}), **y = c.New(Code(*p), {0}), **e = c.New(Code(*p), {0});
                void **w = c.New(Code(*p), {0});
                c.Print("ok", fwd(x, y, 0, w, &c.plan));
                c.Print("nows", fwd(x, y, 0, nullptr, &c.plan));
                c.Print("ok", fwd(x, y, 0, w, &c.plan));
                c.Print("empty", fwd(e, y, 0, w, &c.plan));
            }
            {
                Case c(L("%c2D%s fail", *p, kind), true);
                void **x = c.New(Code(*p), {4, 5}), **y = c.New(Code(*p), {0, 0}), **w = c.New(Code(*p), {0});
                c.Print("ok", fwd2(x, y, 0, 0, w, &c.plan));
                c.Print("nows", fwd2(x, y, 0, 0, nullptr, &c.plan));
                c.Print("ok", fwd2(x, y, 0, 0, w, &c.plan));
                c.Print("toolarge", fwd2(x, y, 65536, 65536, w, &c.plan));
            }
        }
    }
}

// ---- spectra ------------------------------------------------------------------
void Spectra() {
    for (const char *p = kSDCZ; *p; ++p) {
        const std::string s(1, *p);
        const auto power = EXPORT(sPowerSpectrumH, s + "PowerSpectrumH");
        const auto autop = EXPORT(sAutoPowerSpectrumH, s + "AutoPowerSpectrumH");
        const auto cross = EXPORT(sCrossPowerH, s + "CrossPowerH");
        const auto crosss = EXPORT(sCrossPowerSpectrumH, s + "CrossPowerSpectrumH");
        for (int32_t n : {1, 2, 7, 64, 1000, 4096, 65536}) {
            {
                Case c(L("%cPowerSpectrum n=%d", *p, n));
                void **x = c.New(Code(*p), {n}), **y = c.New(Re(*p), {0}), **w = c.New(Code(*p), {0});
                Twice(c, [&] { return power(x, y, w, &c.plan); });
            }
            for (int32_t type : {0, 1}) {
                Case c(L("%cAutoPowerSpectrum n=%d type=%d", *p, n, type));
                void **x = c.New(Code(*p), {n}), **y = c.New(Re(*p), {0}), **w = c.New(Code(*p), {0});
                double df = 0;
                for (const char *k : {"#1", "#2"}) {
                    const int32_t st = autop(x, y, 0.25, type, &df, w, &c.plan);
                    c.Print(k, st, &df, sizeof df);
                }
            }
        }
        for (auto [nx, ny] : {std::pair{1, 1}, {7, 64}, {64, 7}, {1000, 1000}, {4096, 100}, {33, 34}}) {
            {
                Case c(L("%cCrossPower %d,%d", *p, nx, ny));
                void **x = c.New(Code(*p), {nx}), **y = c.New(Code(*p), {ny}), **o = c.New(Cx(*p), {0});
                void **w = c.New(Code(*p), {0});
                Twice(c, [&] { return cross(x, y, o, w, &c.plan); });
            }
            for (int32_t type : {0, 1}) {
                Case c(L("%cCrossPowerSpectrum %d,%d type=%d", *p, nx, ny, type));
                void **x = c.New(Code(*p), {nx}), **y = c.New(Code(*p), {ny}), **m = c.New(Re(*p), {0});
                void **ph = c.New(Re(*p), {0}), **w = c.New(Code(*p), {0});
                double df = 0;
                for (const char *k : {"#1", "#2"}) {
                    const int32_t st = crosss(x, y, 0.5, type, &df, m, ph, w, &c.plan);
                    c.Print(k, st, &df, sizeof df);
                }
            }
        }
        {
            Case c(L("%cSpectra fail", *p));
            void **x = c.New(Code(*p), {12}), **y = c.New(Re(*p), {0}), **e = c.New(Code(*p), {0});
            void **o = c.New(Cx(*p), {0}), **ph = c.New(Re(*p), {0}), **w = c.New(Code(*p), {0});
            double df = 0;
            c.Print("ok", power(x, y, w, &c.plan));
            c.Print("nows", power(x, y, nullptr, &c.plan));
            c.Print("ok", power(x, y, w, &c.plan));
            c.Print("empty", power(e, y, w, &c.plan));
            c.Print("ok", autop(x, y, 1.0, 0, &df, w, &c.plan));
            c.Print("dt0", autop(x, y, 0.0, 0, &df, w, &c.plan), &df, sizeof df);
            c.Print("ok", autop(x, y, 1.0, 0, &df, w, &c.plan));
            c.Print("type2", autop(x, y, 1.0, 2, &df, w, &c.plan), &df, sizeof df);
            c.Print("ok", cross(x, x, o, w, &c.plan));
            c.Print("cross-empty", cross(x, e, o, w, &c.plan));
            c.Print("ok", crosss(x, x, 1.0, 1, &df, y, ph, w, &c.plan));
            c.Print("crosss-nows", crosss(x, x, 1.0, 1, &df, y, ph, nullptr, &c.plan), &df, sizeof df);
        }
    }
}

// ---- convolution and correlation ------------------------------------------------
void Correlation() {
    for (const char *pair : {"s", "d", "c", "z", "sc", "dz", "cs", "zd"}) {
        const std::string s(pair);
        const char px = pair[0], py = pair[1] ? pair[1] : pair[0];
        const int32_t out = (px == 'c' || px == 'z' || py == 'c' || py == 'z') ? Cx(px) : Code(px);
        const auto conv = EXPORT(s1DConvolutionH, s + "1DConvolutionH");
        const auto corr = EXPORT(s1DCorrelationH, s + "1DCorrelationH");
        for (auto [n, m] : {std::pair{1, 1}, {7, 2}, {64, 7}, {2, 64}, {1000, 30}, {4096, 1000}, {40, 40}}) {
            for (int32_t alg : {0, 1}) {
                for (int32_t mode : {0, 1, 2}) {
                    Case c(L("%s1DConvolution %d,%d mode=%d alg=%d", pair, n, m, mode, alg));
                    void **x = c.New(Code(px), {n}), **y = c.New(Code(py), {m}), **o = c.New(out, {0});
                    void **fs = c.New(out, {0}), **ff = c.New(out, {0});
                    Twice(c, [&] { return conv(x, y, o, mode, alg, 0, fs, ff, &c.plan); });
                }
                for (int32_t norm : {0, 1, 2}) {
                    Case c(L("%s1DCorrelation %d,%d alg=%d norm=%d", pair, n, m, alg, norm));
                    void **x = c.New(Code(px), {n}), **y = c.New(Code(py), {m}), **o = c.New(out, {0});
                    void **rs = c.New(Code(px), {0}), **ff = c.New(out, {0});
                    Twice(c, [&] { return corr(x, y, o, alg, norm, 0, rs, ff, &c.plan); });
                }
            }
            if (n == 1000) {  // blocked direct method
                Case c(L("%s1DConvolution %d,%d block=7", pair, n, m));
                void **x = c.New(Code(px), {n}), **y = c.New(Code(py), {m}), **o = c.New(out, {0});
                void **ff = c.New(out, {0});
                Twice(c, [&] { return conv(x, y, o, 0, 0, 7, nullptr, ff, &c.plan); });
                Case k(L("%s1DCorrelation %d,%d block=7", pair, n, m));
                void **kx = k.New(Code(px), {n}), **ky = k.New(Code(py), {m}), **ko = k.New(out, {0});
                void **rs = k.New(Code(px), {0});
                Twice(k, [&] { return corr(kx, ky, ko, 0, 0, 7, rs, nullptr, &k.plan); });
            }
        }
        if (pair[1] == 0) {  // the same array as both operands
            for (int32_t alg : {0, 1}) {
                Case c(L("%s1DConvolution same-array alg=%d", pair, alg));
                void **x = c.New(Code(px), {300}), **o = c.New(out, {0}), **ff = c.New(out, {0});
                void **rs = c.New(Code(px), {0});
                Twice(c, [&] { return conv(x, x, o, 0, alg, 0, nullptr, ff, &c.plan); });
                c.Print("corr", corr(x, x, o, alg, 1, 0, rs, ff, &c.plan));
            }
        }
        {
            Case c(L("%s1DConvolution fail", pair));
            void **x = c.New(Code(px), {5}), **y = c.New(Code(py), {9}), **o = c.New(out, {0});
            void **fs = c.New(out, {0}), **ff = c.New(out, {0}), **e = c.New(Code(py), {0});
            c.Print("ok", conv(x, y, o, 0, 1, 0, fs, ff, &c.plan));
            c.Print("valid-short", conv(x, y, o, 2, 1, 0, fs, ff, &c.plan));
            c.Print("ok", conv(x, y, o, 0, 1, 0, fs, ff, &c.plan));
            c.Print("alg2", conv(x, y, o, 0, 2, 0, fs, ff, &c.plan));
            c.Print("ok", conv(x, y, o, 0, 1, 0, fs, ff, &c.plan));
            c.Print("nofft", conv(x, y, o, 0, 1, 0, fs, nullptr, &c.plan));
            c.Print("ok", conv(x, y, o, 1, 1, 0, fs, ff, &c.plan));
            c.Print("nofull", conv(x, y, o, 1, 1, 0, nullptr, ff, &c.plan));
            c.Print("empty", conv(x, e, o, 0, 0, 0, fs, ff, &c.plan));
            c.Print("ok", corr(x, y, o, 1, 0, 0, nullptr, ff, &c.plan));
            c.Print("corr-norev", corr(x, y, o, 0, 0, 0, nullptr, ff, &c.plan));
        }
    }
    for (const char *p = kSDCZ; *p; ++p) {
        const std::string s(1, *p);
        const auto acorr = EXPORT(s1DAutoCorrelationH, s + "1DAutoCorrelationH");
        const auto conv2 = EXPORT(s2DConvolutionH, s + "2DConvolutionH");
        const auto corr2 = EXPORT(s2DCorrelationH, s + "2DCorrelationH");
        const auto acorr2 = EXPORT(s2DAutoCorrelationH, s + "2DAutoCorrelationH");
        const int32_t t = Code(*p);
        for (int32_t n : {1, 2, 7, 64, 1000}) {
            for (int32_t alg : {0, 1}) {
                for (int32_t norm : {0, 1, 2}) {
                    Case c(L("%c1DAutoCorrelation n=%d alg=%d norm=%d", *p, n, alg, norm));
                    void **x = c.New(t, {n}), **o = c.New(t, {0}), **rs = c.New(t, {0}), **ff = c.New(t, {0});
                    Twice(c, [&] { return acorr(x, o, alg, norm, 0, rs, ff, &c.plan); });
                }
            }
        }
        for (auto [a, b] : {std::pair{std::pair{1, 1}, std::pair{1, 1}}, {{7, 9}, {2, 3}}, {{4, 4}, {7, 7}},
                            {{33, 40}, {30, 31}}, {{3, 60}, {2, 30}}, {{60, 3}, {30, 2}}}) {
            for (int32_t alg : {0, 1}) {
                for (int32_t mode : {0, 1, 2}) {
                    Case c(L("%c2DConvolution %dx%d,%dx%d mode=%d alg=%d", *p, a.first, a.second, b.first,
                             b.second, mode, alg));
                    void **x = c.New(t, {a.first, a.second}), **y = c.New(t, {b.first, b.second});
                    void **o = c.New(t, {0, 0}), **fs = c.New(t, {0}), **ff = c.New(t, {0});
                    Twice(c, [&] { return conv2(x, y, o, mode, alg, fs, ff, &c.plan); });
                }
                {
                    Case c(L("%c2DCorrelation %dx%d,%dx%d alg=%d", *p, a.first, a.second, b.first, b.second, alg));
                    void **x = c.New(t, {a.first, a.second}), **y = c.New(t, {b.first, b.second});
                    void **o = c.New(t, {0, 0}), **rs = c.New(t, {0}), **ff = c.New(t, {0});
                    Twice(c, [&] { return corr2(x, y, o, alg, rs, ff, &c.plan); });
                }
                Case c(L("%c2DAutoCorrelation %dx%d alg=%d", *p, a.first, a.second, alg));
                void **x = c.New(t, {a.first, a.second}), **o = c.New(t, {0, 0}), **rs = c.New(t, {0});
                void **ff = c.New(t, {0});
                Twice(c, [&] { return acorr2(x, o, alg, rs, ff, &c.plan); });
            }
        }
        {
            Case c(L("%c2DCorrelation fail", *p));
            void **x = c.New(t, {4, 5}), **y = c.New(t, {2, 3}), **o = c.New(t, {0, 0});
            void **fs = c.New(t, {0}), **ff = c.New(t, {0}), **e = c.New(t, {0, 2});
            c.Print("ok", conv2(x, y, o, 0, 1, fs, ff, &c.plan));
            c.Print("valid-short", conv2(y, x, o, 2, 1, fs, ff, &c.plan));
            c.Print("ok", conv2(x, y, o, 0, 1, fs, ff, &c.plan));
            c.Print("empty", conv2(x, e, o, 0, 1, fs, ff, &c.plan));
            c.Print("ok", corr2(x, y, o, 1, fs, ff, &c.plan));
            c.Print("nofft", corr2(x, y, o, 1, fs, nullptr, &c.plan));
            c.Print("ok", acorr2(x, o, 1, fs, ff, &c.plan));
            c.Print("alg3", acorr2(x, o, 3, fs, ff, &c.plan));
        }
    }
}

// ---- decimation, upsampling, resampling --------------------------------------------
void Resampling() {
    for (const char *p = kSDCZ; *p; ++p) {
        const std::string s(1, *p);
        const auto dec = EXPORT(sDecimateH, s + "DecimateH");
        const auto up = EXPORT(sUpsampleH, s + "UpsampleH");
        const int32_t t = Code(*p);
        for (int32_t n : {1, 2, 7, 64, 1000, 4099}) {
            for (int32_t factor : {1, 2, 3, 4, 5, 7, 9, n}) {
                if (factor > n) continue;
                for (int32_t avg : {0, 1}) {
                    Case c(L("%cDecimate n=%d f=%d avg=%d", *p, n, factor, avg));
                    void **x = c.New(t, {n}), **y = c.New(t, {0});
                    c.Print("", dec(x, y, factor, avg));
                }
            }
            for (int32_t factor : {1, 2, 3, 4, 5, 9}) {
                for (int32_t phase : {0, factor - 1}) {
                    Case c(L("%cUpsample n=%d f=%d phase=%d", *p, n, factor, phase));
                    void **x = c.New(t, {n}), **y = c.New(t, {0});
                    c.Print("", up(x, y, factor, phase));
                }
            }
        }
        {
            Case c(L("%cDecimate fail", *p));
            void **x = c.New(t, {10}), **y = c.New(t, {3}), **e = c.New(t, {0});
            c.Print("factor>n", dec(x, y, 11, 0));
            c.Print("ok", dec(x, y, 2, 1));
            c.Print("factor0", dec(x, y, 0, 0));
            c.Print("ok", dec(x, y, 2, 1));
            c.Print("empty", dec(e, y, 1, 0));
            c.Print("ok", up(x, y, 2, 1));
            c.Print("phase=f", up(x, y, 2, 2));
            c.Print("ok", up(x, y, 2, 1));
            c.Print("factor0", up(x, y, 0, 0));
            c.Print("ok", up(x, y, 2, 1));
            c.Print("toolarge", up(x, y, 1 << 28, 0));
        }
        // Streams: a reset then two more blocks, one or three channels.
        for (bool multi : {false, true}) {
            const auto rs = multi ? EXPORT(sResampleMultiChC2CH, s + "ResampleMultiChC2CH")
                                  : EXPORT(sResampleC2CH, s + "ResampleC2CH");
            for (float ratio : {0.75f, 1.0f, 2.5f, 0.3f}) {
                for (int32_t tap : {0, 1}) {
                    for (int32_t aa : {0, 1}) {
                        for (int32_t n : {1, 64, 1000}) {
                            Case c(L("%cResample%s ratio=%g tap=%d aa=%d n=%d", *p, multi ? "MultiCh" : "",
                                     static_cast<double>(ratio), tap, aa, n));
                            void **h = c.New(Re(*p), {31});
                            void **x = multi ? c.New(t, {3, n}) : c.New(t, {n});
                            void **o = multi ? c.New(t, {0, 0}) : c.New(t, {0});
                            void **ha = multi ? c.New(t, {0, 0}) : c.New(t, {0});
                            void **hb = c.New(Re(*p), {0});
                            FDResampleParams params{ratio, 0.3f, tap};
                            FDResampleState state;
                            std::memset(&state, 0, sizeof state);
                            float first = 0;
                            for (int32_t block = 0; block < 3; ++block) {
                                const int32_t st = rs(x, h, 4, &params, block == 0, aa, o, &first, ha, hb, &state);
                                unsigned char bytes[56];
                                std::memcpy(bytes, &state, 52);
                                std::memcpy(bytes + 52, &first, 4);
                                c.Print(block == 0 ? "#1" : block == 1 ? "#2" : "#3", st, bytes, sizeof bytes);
                            }
                        }
                    }
                }
            }
            Case c(L("%cResample%s fail", *p, multi ? "MultiCh" : ""));
            void **h = c.New(Re(*p), {31}), **e = c.New(Re(*p), {0});
            void **x = multi ? c.New(t, {2, 20}) : c.New(t, {20});
            void **o = multi ? c.New(t, {0, 0}) : c.New(t, {0});
            void **ha = multi ? c.New(t, {0, 0}) : c.New(t, {0});
            void **hb = c.New(Re(*p), {0});
            FDResampleState state;
            std::memset(&state, 0, sizeof state);
            float first = 0;
            auto go = [&](const char *what, const FDResampleParams *pr, int32_t reset, void **coef, int32_t interp,
                          void **hista) {
                const int32_t st = rs(x, coef, interp, pr, reset, 0, o, &first, hista, hb, &state);
                unsigned char bytes[56];
                std::memcpy(bytes, &state, 52);
                std::memcpy(bytes + 52, &first, 4);
                c.Print(what, st, bytes, sizeof bytes);
            };
            const FDResampleParams good{1.5f, 0.0f, 0}, zero{0.0f, 0.0f, 0}, neg{1.0f, -1.0f, 0};
            go("ok", &good, 1, h, 4, ha);
            go("ratio0", &zero, 1, h, 4, ha);
            go("ok", &good, 1, h, 4, ha);
            go("offset<0", &neg, 1, h, 4, ha);
            go("ok", &good, 1, h, 4, ha);
            go("interp0", &good, 1, h, 0, ha);
            go("ok", &good, 1, h, 4, ha);
            go("nocoef", &good, 1, e, 4, ha);
            go("ok", &good, 1, h, 4, ha);
            go("noparams", nullptr, 1, h, 4, ha);
            go("ok", &good, 1, h, 4, ha);
            go("nohist", &good, 1, h, 4, nullptr);
            go("no-reset-after-failure", &good, 0, h, 4, ha);
        }
    }
}

// ---- windows, FIR design, IIR filter ------------------------------------------------
template <class P>
void WindowsOf(char p) {
    const std::string s(1, p);
    const int32_t t = Code(p);
    const auto allcos = EXPORT(sAllCosWinH, s + "AllCosWinH");
    const auto gauss = Sym<int32_t (*)(FDArrayHandle, P)>(g_dsp, s + "GaussWinH");
    const auto kaiser = Sym<int32_t (*)(FDArrayHandle, P)>(g_dsp, s + "KaiserWinH");
    const auto symm = Sym<int32_t (*)(FDArrayHandle, int32_t, P, FDArrayHandle)>(g_dsp, s + "SymmWinH");
    const auto tri = EXPORT(sTriangleWinH, s + "TriangleWinH");
    for (int32_t n : {0, 1, 2, 3, 7, 64, 1000, 4097}) {
        for (int32_t type : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}) {
            for (int32_t norm : {0, 1}) {
                Case c(L("%cAllCosWin n=%d type=%d norm=%d", p, n, type, norm));
                void **x = c.New(t, {n}), **w = c.New(10, {0});
                c.Print("", allcos(x, type, norm, w));
            }
        }
        for (int32_t type : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 30, 60, 62, 63}) {
            for (double param : {0.0, 0.3, 5.0}) {
                Case c(L("%cSymmWin n=%d type=%d param=%g", p, n, type, param));
                void **x = c.New(t, {n}), **w = c.New(10, {0});
                c.Print("", symm(x, type, static_cast<P>(param), w));
            }
        }
        for (double param : {0.0, -1.0, 0.2, 0.45, 3.0, 8.6}) {
            Case c(L("%cGaussKaiserWin n=%d param=%g", p, n, param));
            void **x = c.New(t, {n}), **y = c.New(t, {n});
            c.Print("gauss", gauss(x, static_cast<P>(param)));
            c.Print("kaiser", kaiser(y, static_cast<P>(param)));
        }
        Case c(L("%cTriangleWin n=%d", p, n));
        void **x = c.New(t, {n});
        c.Print("", tri(x));
    }
    {
        Case c(L("%cWindows fail", p));
        void **x = c.New(t, {8});
        c.Print("allcos-nows", allcos(x, 1, 0, nullptr));
        void **y = c.New(t, {8});
        c.Print("symm-nows", symm(y, 1, 0, nullptr));
    }
    if (p == 's' || p == 'd') {
        const auto fir = Sym<int32_t (*)(FDArrayHandle, double, double, double, int32_t, int32_t, int32_t, P,
                                         int32_t, FDArrayHandle)>(g_dsp, s + "FIRWindowedCoefH");
        for (int32_t type : {0, 1, 2, 3, 4}) {
            for (int32_t taps : {0, 1, 2, 20, 21, 101}) {
                for (int32_t win : {0, 1, 7, 8, 30, 60, 62, 10}) {
                    for (int32_t norm : {0, 1}) {
                        Case c(L("%cFIRWindowedCoef type=%d taps=%d win=%d norm=%d", p, type, taps, win, norm));
                        void **h = c.New(t, {3}), **w = c.New(10, {0});
                        c.Print("", fir(h, 1000.0, 100.0, 250.0, taps, type, win, static_cast<P>(win == 60 ? 4.0 : 0.4),
                                        norm, w));
                    }
                }
            }
        }
        for (auto [fs, f1, f2] : {std::tuple{1000.0, 600.0, 700.0}, {1000.0, 100.0, 600.0}, {1000.0, 0.0, 100.0},
                                  {0.0, 100.0, 200.0}, {1000.0, 300.0, 200.0}}) {
            for (int32_t type : {0, 2}) {
                Case c(L("%cFIRWindowedCoef fs=%g f1=%g f2=%g type=%d", p, fs, f1, f2, type));
                void **h = c.New(t, {3}), **w = c.New(10, {0});
                c.Print("", fir(h, fs, f1, f2, 21, type, 1, static_cast<P>(0), 1, w));
            }
        }
    }
}

void Filters() {
    WindowsOf<float>('s');
    WindowsOf<double>('d');
    WindowsOf<float>('c');
    WindowsOf<double>('z');
    for (const char *pre : {"ss", "dd", "cs", "zd"}) {
        const auto iir = EXPORT(ssIIRDirectFilterH, std::string(pre) + "IIRDirectFilterH");
        const int32_t t = Code(pre[0]), r = Code(pre[1]);
        for (auto [na, nb] : {std::pair{0, 0}, {0, 3}, {1, 1}, {1, 4}, {2, 2}, {3, 3}, {5, 2}, {2, 6},
                              {5, 5}, {9, 9}, {17, 17}, {4, 13}}) {
            for (int32_t n : {1, 3, 7, 64, 1000}) {
                Case c(L("%sIIRDirectFilter na=%d nb=%d n=%d", pre, na, nb, n));
                void **x = c.New(t, {n}), **a = c.New(r, {na}), **b = c.New(r, {nb});
                void **fst = c.New(t, {0}), **rst = c.New(t, {0});
                void **tw = c.New(t, {0}), **aw = c.New(r, {0}), **bw = c.New(r, {0});
                if (na > 0) c.Set(a, 0, 1.0 + 0.25 * na);  // a[0] other than 1
                for (int32_t k = 1; k < na; ++k) c.Set(a, k, 0.3 * Next() / na);
                // Two blocks carrying the states, then a restart.
                c.Print("#1", iir(x, a, b, fst, rst, 1, tw, aw, bw));
                c.Print("#2", iir(x, a, b, fst, rst, 0, tw, aw, bw));
                c.Print("init", iir(x, a, b, fst, rst, 1, tw, aw, bw));
            }
        }
        Case c(L("%sIIRDirectFilter fail", pre));
        void **x = c.New(t, {10}), **a = c.New(r, {3}), **b = c.New(r, {3}), **e = c.New(r, {0});
        void **fst = c.New(t, {0}), **rst = c.New(t, {0}), **tw = c.New(t, {0});
        c.Set(a, 0, 1.0);
        c.Print("ok", iir(x, a, b, fst, rst, 1, tw, nullptr, nullptr));
        c.Print("b-empty", iir(x, a, e, fst, rst, 0, tw, nullptr, nullptr));
        void **y = c.New(t, {10});
        c.Print("ok", iir(y, a, b, fst, rst, 1, tw, nullptr, nullptr));
        c.Print("notail", iir(y, a, b, fst, rst, 0, nullptr, nullptr, nullptr));
    }
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s <library folder> [placement ...]\n", argv[0]);
        return 2;
    }
    const std::string dir = argv[1];
    g_host = dlopen((dir + "/libfennel_host.so").c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (g_host == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 2;
    }
    g_dsp = dlopen((dir + "/libfennel_dsp.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    if (g_dsp == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 2;
    }
    HOST(FennelHostSetPlacement);
    HOST(FennelHostSetFillByte);
    HOST(FennelHostLiveArrays);
    std::vector<int32_t> placements;
    for (int i = 2; i < argc; ++i) placements.push_back(std::atoi(argv[i]));
    if (placements.empty()) placements = {-1, 0, 8, 24, 40};
    // Fresh memory filled with a fixed byte, so that bytes an export leaves
    // unwritten are the same in every run.
    FennelHostSetFillByte_(0xA5);
    for (int32_t placement : placements) {
        std::printf("== placement %d\n", static_cast<int>(placement));
        FennelHostSetPlacement_(placement);
        g_seed = 1;
        FFT1D();
        FFTMD();
        Trig();
        Spectra();
        Correlation();
        Resampling();
        Filters();
        std::printf("== live arrays %lld\n", static_cast<long long>(FennelHostLiveArrays_()));
        std::fflush(stdout);
    }
    return g_missing == 0 ? 0 : 1;
}
