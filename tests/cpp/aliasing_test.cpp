// A host that reuses buffers in place passes one array as input and output,
// or as a workspace: the call gives what it gives with separate arrays.
#include <functional>

#include "support.h"

namespace fennel::test {
namespace {

// Runs a call on (input, output, workspace) handles and returns the status
// and the output's bytes.
using Aliased = std::function<int32_t(FDArrayHandle in, FDArrayHandle out, FDArrayHandle ws)>;

struct Outcome {
    int32_t status;
    std::vector<unsigned char> bytes;
    bool operator==(const Outcome &) const = default;
};

// A 1D or 2D array of `code` holding `values` (doubles, or complex doubles
// as pairs), with the given sizes.
FDArrayHandle Make(int32_t code, const std::vector<int32_t> &dims, const std::vector<double> &values) {
    FDArrayHandle h = FennelHostNewArray(code, static_cast<int32_t>(dims.size()), dims.data());
    std::memcpy(FennelHostArrayData(h, code, static_cast<int32_t>(dims.size())), values.data(),
                values.size() * sizeof(double));
    return h;
}

std::vector<unsigned char> Bytes(FDArrayHandle h, int32_t code, int rank, size_t element) {
    std::vector<int32_t> dims(static_cast<size_t>(rank));
    FennelHostArrayDims(h, rank, dims.data());
    size_t n = 1;
    for (int32_t d : dims) n *= static_cast<size_t>(d);
    const auto *p = static_cast<const unsigned char *>(FennelHostArrayData(h, code, rank));
    return std::vector<unsigned char>(p, p + n * element);
}

TEST_F(HostTest, OneArrayAsInputAndOutputOrWorkspaceGivesTheSeparateResult) {
    struct Row {
        const char *what;
        int32_t in_code, out_code, rank;
        std::vector<int32_t> dims;
        size_t out_element;
        Aliased call;
    };
    const Row rows[] = {
        {"z1DFFTH padded", TYPE_CODE_COMPLEX_DOUBLE, TYPE_CODE_COMPLEX_DOUBLE, 1, {48}, 16,
         [](FDArrayHandle i, FDArrayHandle o, FDArrayHandle w) { return z1DFFTH(i, o, 64, 1, w, nullptr); }},
        {"z3DFFTH padded", TYPE_CODE_COMPLEX_DOUBLE, TYPE_CODE_COMPLEX_DOUBLE, 3, {3, 4, 5}, 16,
         [](FDArrayHandle i, FDArrayHandle o, FDArrayHandle w) { return z3DFFTH(i, o, 4, 6, 8, 0, w, nullptr); }},
        {"d2DDCTH", TYPE_CODE_DOUBLE, TYPE_CODE_DOUBLE, 2, {6, 10}, 8,
         [](FDArrayHandle i, FDArrayHandle o, FDArrayHandle w) { return d2DDCTH(i, o, 8, 12, w, nullptr); }},
        {"dAutoPowerSpectrumH", TYPE_CODE_DOUBLE, TYPE_CODE_DOUBLE, 1, {40}, 8,
         [](FDArrayHandle i, FDArrayHandle o, FDArrayHandle w) {
             double df = 0;
             return dAutoPowerSpectrumH(i, o, 0.5, 0, &df, w, nullptr);
         }},
        {"d1DAutoCorrelationH direct", TYPE_CODE_DOUBLE, TYPE_CODE_DOUBLE, 1, {30}, 8,
         [](FDArrayHandle i, FDArrayHandle o, FDArrayHandle w) {
             return d1DAutoCorrelationH(i, o, 0, 0, 0, w, nullptr, nullptr);
         }},
        {"d1DConvolutionH direct", TYPE_CODE_DOUBLE, TYPE_CODE_DOUBLE, 1, {30}, 8,
         [](FDArrayHandle i, FDArrayHandle o, FDArrayHandle w) {
             return d1DConvolutionH(i, i, o, 0, 0, 0, w, nullptr, nullptr);
         }},
    };
    // A workspace that is the output cannot be both: a documented refusal.
    {
        Array<cdouble> x(Random<cdouble>(16, 2));
        EXPECT_EQ(z1DFFTH(x.h(), x.h(), 32, 0, x.h(), nullptr), STATUS_NO_WORKSPACE);
    }
    for (const Row &r : rows) {
        size_t count = 1;
        for (int32_t d : r.dims) count *= static_cast<size_t>(d);
        const size_t doubles = count * (r.in_code == TYPE_CODE_COMPLEX_DOUBLE ? 2 : 1);
        const std::vector<double> values = Random<double>(doubles, 7);
        const int32_t zero[3] = {0, 0, 0};
        // Separate input, output and workspace.
        FDArrayHandle in = Make(r.in_code, r.dims, values);
        FDArrayHandle out = FennelHostNewArray(r.out_code, r.rank, zero);
        FDArrayHandle ws = FennelHostNewArray(r.in_code, 1, zero);
        const Outcome expected{r.call(in, out, ws), Bytes(out, r.out_code, r.rank, r.out_element)};
        // The input as the output, then as the workspace.
        FDArrayHandle same = Make(r.in_code, r.dims, values);
        const int32_t status = r.call(same, same, ws);
        EXPECT_EQ((Outcome{status, Bytes(same, r.out_code, r.rank, r.out_element)}), expected) << r.what;
        FDArrayHandle again = Make(r.in_code, r.dims, values);
        FDArrayHandle out2 = FennelHostNewArray(r.out_code, r.rank, zero);
        const int32_t status2 = r.call(again, out2, again);
        EXPECT_EQ((Outcome{status2, Bytes(out2, r.out_code, r.rank, r.out_element)}), expected) << r.what;
        for (FDArrayHandle h : {in, out, ws, same, again, out2}) FennelHostFreeArray(h);
    }
}

}  // namespace
}  // namespace fennel::test
