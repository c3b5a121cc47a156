/*
 * fennel_dsp._fast: one library call on a numpy array without ctypes.
 *
 * A Call holds a library function taking (input, output, int32 x k,
 * workspace, plan) and the host arrays it keeps between calls.  Calling it
 * with a C-contiguous array of the input's type sizes the input host array,
 * copies the elements in, calls the library with the GIL released, and
 * returns the output as a new numpy array (optionally scaled, and optionally
 * keeping only the first elements of every row).  Anything it does not
 * handle returns NotImplemented so that the caller takes its general path; a
 * negative status is returned as an int.
 */
#define PY_SSIZE_T_CLEAN
#include <Python.h>
#define NPY_NO_DEPRECATED_API NPY_1_7_API_VERSION
#include <numpy/arrayobject.h>

#include <stddef.h>
#include <stdint.h>
#include <string.h>

typedef int32_t (*resize_fn)(int32_t, int32_t, void ***, int64_t);
typedef int32_t (*f0)(void **, void **, void **, void **);
typedef int32_t (*f1)(void **, void **, int32_t, void **, void **);
typedef int32_t (*f2)(void **, void **, int32_t, int32_t, void **, void **);
typedef int32_t (*f3)(void **, void **, int32_t, int32_t, int32_t, void **, void **);
typedef int32_t (*f4)(void **, void **, int32_t, int32_t, int32_t, int32_t, void **, void **);

typedef struct {
    PyObject_HEAD
    void *function;
    int ints;
    void **src, **out, **ws;
    void **plan;              /* the plan slot's address */
    resize_fn resize;
    int src_code, src_ndim, src_offset, src_typenum;
    int out_ndim, out_offset, out_typenum;
    int64_t src_count;        /* elements the input block holds, -1 unknown */
    PyObject *owner;          /* keeps the handles and the plan alive */
} Call;

static int Call_init(Call *self, PyObject *args, PyObject *kwds) {
    unsigned long long function, src, out, ws, plan, resize;
    PyObject *owner;
    (void)kwds;
    if (!PyArg_ParseTuple(args, "KiKKKKKiiiiiiiO", &function, &self->ints, &src, &out, &ws, &plan,
                          &resize, &self->src_code, &self->src_ndim, &self->src_offset,
                          &self->src_typenum, &self->out_ndim, &self->out_offset,
                          &self->out_typenum, &owner))
        return -1;
    if (self->ints < 0 || self->ints > 4 || self->src_ndim < 1 || self->src_ndim > 3 ||
        self->out_ndim < 1 || self->out_ndim > 3) {
        PyErr_SetString(PyExc_ValueError, "bad call description");
        return -1;
    }
    self->function = (void *)(uintptr_t)function;
    self->src = (void **)(uintptr_t)src;
    self->out = (void **)(uintptr_t)out;
    self->ws = (void **)(uintptr_t)ws;
    self->plan = (void **)(uintptr_t)plan;
    self->resize = (resize_fn)(uintptr_t)resize;
    self->src_count = -1;
    Py_INCREF(owner);
    Py_XSETREF(self->owner, owner);
    return 0;
}

static void Call_dealloc(Call *self) {
    Py_XDECREF(self->owner);
    Py_TYPE(self)->tp_free((PyObject *)self);
}

/* call(x, scale, first, keep, src_count, *ints)
 *   scale     multiplies every output element (1.0: none)
 *   first     multiplies element 0 of every row once more (1.0: none)
 *   keep      > 0: keep the first `keep` elements of every row
 *   src_count > 0 (1D only): size the input to this many elements and copy
 *             x to its start (the rest is not read by the library) */
static PyObject *Call_call(Call *self, PyObject *const *args, Py_ssize_t nargs) {
    if (nargs != 5 + self->ints) {
        PyErr_SetString(PyExc_TypeError, "call(x, scale, first, keep, src_count, *ints)");
        return NULL;
    }
    PyObject *xo = args[0];
    if (!PyArray_CheckExact(xo)) Py_RETURN_NOTIMPLEMENTED;
    PyArrayObject *x = (PyArrayObject *)xo;
    if (PyArray_TYPE(x) != self->src_typenum || PyArray_NDIM(x) != self->src_ndim ||
        !PyArray_IS_C_CONTIGUOUS(x))
        Py_RETURN_NOTIMPLEMENTED;
    double scale = PyFloat_AsDouble(args[1]);
    double first = PyFloat_AsDouble(args[2]);
    long keep = PyLong_AsLong(args[3]);
    long src_count = PyLong_AsLong(args[4]);
    int32_t v[4] = {0, 0, 0, 0};
    for (int i = 0; i < self->ints; ++i) {
        long value = PyLong_AsLong(args[5 + i]);
        if (value > INT32_MAX || value < INT32_MIN) Py_RETURN_NOTIMPLEMENTED;
        v[i] = (int32_t)value;
    }
    if (PyErr_Occurred()) return NULL;

    npy_intp *shape = PyArray_DIMS(x);
    int32_t dims[3];
    int64_t count = 1;
    for (int i = 0; i < self->src_ndim; ++i) {
        if (shape[i] > INT32_MAX) Py_RETURN_NOTIMPLEMENTED;
        dims[i] = (int32_t)shape[i];
        count *= shape[i];
    }
    if (src_count > 0) {
        if (self->src_ndim != 1 || src_count < count || src_count > INT32_MAX)
            Py_RETURN_NOTIMPLEMENTED;
        dims[0] = (int32_t)src_count;
        count = src_count;
    }
    if (count != self->src_count) {
        if (self->resize(self->src_code, self->src_ndim, &self->src, count) != 0)
            return PyErr_NoMemory();
        self->src_count = count;
    }
    char *block = (char *)*self->src;
    memcpy(block, dims, sizeof(int32_t) * (size_t)self->src_ndim);
    memcpy(block + self->src_offset, PyArray_DATA(x), (size_t)PyArray_NBYTES(x));

    int32_t status;
    void **s = self->src, **o = self->out, **w = self->ws, **p = self->plan;
    Py_BEGIN_ALLOW_THREADS
    switch (self->ints) {
    case 0: status = ((f0)self->function)(s, o, w, p); break;
    case 1: status = ((f1)self->function)(s, o, v[0], w, p); break;
    case 2: status = ((f2)self->function)(s, o, v[0], v[1], w, p); break;
    case 3: status = ((f3)self->function)(s, o, v[0], v[1], v[2], w, p); break;
    default: status = ((f4)self->function)(s, o, v[0], v[1], v[2], v[3], w, p); break;
    }
    Py_END_ALLOW_THREADS
    if (status < 0) {
        self->src_count = -1;
        return PyLong_FromLong(status);
    }

    const char *ob = (const char *)*self->out;
    npy_intp odims[3];
    int32_t od[3];
    memcpy(od, ob, sizeof(int32_t) * (size_t)self->out_ndim);
    npy_intp rows = 1, row = 1;
    for (int i = 0; i < self->out_ndim; ++i) odims[i] = od[i] > 0 ? od[i] : 0;
    for (int i = 0; i + 1 < self->out_ndim; ++i) rows *= odims[i];
    row = odims[self->out_ndim - 1];
    npy_intp kept = (keep > 0 && keep < row) ? keep : row;
    odims[self->out_ndim - 1] = kept;
    PyArrayObject *y = (PyArrayObject *)PyArray_SimpleNew(self->out_ndim, odims,
                                                          self->out_typenum);
    if (y == NULL) return NULL;
    const npy_intp item = PyArray_ITEMSIZE(y);
    const char *from = ob + self->out_offset;
    char *to = (char *)PyArray_DATA(y);
    if (kept == row) {
        memcpy(to, from, (size_t)(rows * row * item));
    } else {
        for (npy_intp r = 0; r < rows; ++r)
            memcpy(to + r * kept * item, from + r * row * item, (size_t)(kept * item));
    }
    if (scale != 1.0 || first != 1.0) {
        const int cplx = PyTypeNum_ISCOMPLEX(self->out_typenum);
        const int single = item == (cplx ? 8 : 4);
        const npy_intp lanes = kept * (cplx ? 2 : 1);
        for (npy_intp r = 0; r < rows; ++r) {
            if (single) {
                float *q = (float *)(to + r * kept * item);
                for (npy_intp i = 0; i < lanes; ++i) q[i] = (float)(q[i] * scale);
                if (first != 1.0)
                    for (int i = 0; i < (cplx ? 2 : 1) && lanes; ++i) q[i] = (float)(q[i] * first);
            } else {
                double *q = (double *)(to + r * kept * item);
                for (npy_intp i = 0; i < lanes; ++i) q[i] *= scale;
                if (first != 1.0)
                    for (int i = 0; i < (cplx ? 2 : 1) && lanes; ++i) q[i] *= first;
            }
        }
    }
    return (PyObject *)y;
}

static PyObject *Call_vector(PyObject *self, PyObject *const *args, size_t nargsf,
                             PyObject *kwnames) {
    if (kwnames != NULL && PyTuple_GET_SIZE(kwnames)) {
        PyErr_SetString(PyExc_TypeError, "no keyword arguments");
        return NULL;
    }
    return Call_call((Call *)self, args, PyVectorcall_NARGS(nargsf));
}

typedef struct {
    Call base;
    vectorcallfunc vectorcall;
} CallV;

static int CallV_init(PyObject *self, PyObject *args, PyObject *kwds) {
    if (Call_init((Call *)self, args, kwds) < 0) return -1;
    ((CallV *)self)->vectorcall = Call_vector;
    return 0;
}

static PyObject *CallV_call(PyObject *self, PyObject *args, PyObject *kwds) {
    return PyVectorcall_Call(self, args, kwds);
}

static PyTypeObject CallType = {
    PyVarObject_HEAD_INIT(NULL, 0)
    .tp_name = "fennel_dsp._fast.Call",
    .tp_basicsize = sizeof(CallV),
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_VECTORCALL,
    .tp_vectorcall_offset = offsetof(CallV, vectorcall),
    .tp_call = CallV_call,
    .tp_new = PyType_GenericNew,
    .tp_init = CallV_init,
    .tp_dealloc = (destructor)Call_dealloc,
    .tp_doc = "Call(function, ints, src, out, ws, plan_slot, resize, src_code, src_ndim, "
              "src_offset, src_typenum, out_ndim, out_offset, out_typenum, owner)",
};

/* ---- the passes around the batched real FFTs of the DCT and DST -------------
 * Each takes 2D arrays of one precision: the real ones of float32 or float64,
 * the complex ones of the matching complex type, the arrays written
 * C-contiguous, and runs without the GIL.  Anything else returns
 * NotImplemented (the caller then takes its numpy steps). */

/* The real arrays' element type (NPY_FLOAT or NPY_DOUBLE) when every array
 * fits: reals[i] 2D real (written[i]: C-contiguous), cplx 2D C-contiguous of
 * the complex type (or NULL); -1 otherwise. */
static int pass_type(PyObject *const *reals, const int *written, int count, PyObject *cplx) {
    int t = -1;
    for (int i = 0; i < count; ++i) {
        if (!PyArray_CheckExact(reals[i])) return -1;
        PyArrayObject *a = (PyArrayObject *)reals[i];
        const int u = PyArray_TYPE(a);
        if ((u != NPY_FLOAT && u != NPY_DOUBLE) || (t >= 0 && u != t) || PyArray_NDIM(a) != 2)
            return -1;
        if (PyArray_STRIDES(a)[0] % PyArray_ITEMSIZE(a) || PyArray_STRIDES(a)[1] % PyArray_ITEMSIZE(a))
            return -1;
        if (written[i] && (!PyArray_IS_C_CONTIGUOUS(a) || !PyArray_ISWRITEABLE(a))) return -1;
        t = u;
    }
    if (cplx != NULL) {
        if (!PyArray_CheckExact(cplx)) return -1;
        PyArrayObject *c = (PyArrayObject *)cplx;
        if (PyArray_TYPE(c) != (t == NPY_FLOAT ? NPY_CFLOAT : NPY_CDOUBLE) ||
            PyArray_NDIM(c) < 1 || !PyArray_IS_C_CONTIGUOUS(c))
            return -1;
    }
    return t;
}

#define ROWS(a) PyArray_DIMS((PyArrayObject *)(a))[0]
#define COLS(a) PyArray_DIMS((PyArrayObject *)(a))[1]
#define DATA(a) PyArray_DATA((PyArrayObject *)(a))
/* Element strides of x (2D real). */
#define STRIDE(a, d) (PyArray_STRIDES((PyArrayObject *)(a))[d] / PyArray_ITEMSIZE((PyArrayObject *)(a)))

/* Runs fn's float or double loop (by the element type t) without the GIL. */
#define CALL_TYPED(t, fn, ...)                                   \
    do {                                                         \
        Py_BEGIN_ALLOW_THREADS                                   \
        if ((t) == NPY_FLOAT) fn##_float(__VA_ARGS__);           \
        else fn##_double(__VA_ARGS__);                           \
        Py_END_ALLOW_THREADS                                     \
    } while (0)

/* The loops below are cloned for AVX2 (chosen at load) and otherwise SSE2. */
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define VECTORIZED __attribute__((target_clones("avx2", "default")))
#else
#define VECTORIZED
#endif

/* dct2_pack(x, v): every row of v = x's even samples, then its odd ones
 * backwards (x and v of one shape): v[m] = x[2m], v[n - 1 - m] = x[2m + 1]. */
#define DCT2_PACK(R)                                                                \
    VECTORIZED static void dct2_pack_##R(const R *restrict x, npy_intp rs, npy_intp cs, \
                                         R *restrict v, npy_intp rows, npy_intp n) { \
        const npy_intp h = (n + 1) / 2, o = n / 2;                                  \
        for (npy_intp r = 0; r < rows; ++r, x += rs, v += n) {                      \
            if (cs == 1) {                                                          \
                for (npy_intp m = 0; m < o; ++m) {                                  \
                    v[m] = x[2 * m];                                                \
                    v[n - 1 - m] = x[2 * m + 1];                                    \
                }                                                                   \
                if (h > o) v[o] = x[2 * o];                                         \
                continue;                                                           \
            }                                                                       \
            for (npy_intp j = 0; j < h; ++j) v[j] = x[2 * j * cs];                  \
            for (npy_intp j = h; j < n; ++j) v[j] = x[(2 * (n - j) - 1) * cs];      \
        }                                                                           \
    }
DCT2_PACK(float)
DCT2_PACK(double)

/* dct2_unpack(V, twr, twi, y, scale, first): with W = V[k] tw[k], y[k] =
 * scale Re W for k below n/2 + 1 and y[n - k] = -scale Im W above, y[0]
 * once more times first; V (rows, n/2 + 1) complex, tw as real and
 * imaginary parts (n/2 + 1 each, the scale already in them), y (rows, n). */
#define DCT2_UNPACK(R)                                                                  \
    VECTORIZED static void dct2_unpack_##R(const R *restrict V, const R *restrict twr,  \
                                           const R *restrict twi, R *restrict y,        \
                                           npy_intp rows, npy_intp n, double first) {   \
        const npy_intp q = n / 2 + 1;                                                   \
        for (npy_intp r = 0; r < rows; ++r, V += 2 * q, y += n) {                       \
            for (npy_intp k = 0; k < q; ++k) y[k] = V[2 * k] * twr[k] - V[2 * k + 1] * twi[k]; \
            for (npy_intp k = 1; k <= n - q; ++k)                                       \
                y[n - k] = -(V[2 * k] * twi[k] + V[2 * k + 1] * twr[k]);                \
            if (first != 1.0) y[0] = (R)(y[0] * first);                                 \
        }                                                                               \
    }
DCT2_UNPACK(float)
DCT2_UNPACK(double)

/* The DST-I of n points from a real FFT of m = n + 1 points.  dst1_fold(x,
 * sines, y): y[0] = 0, y[j] = sin(pi j/m) (x_j + x_{m-j}) + (x_j - x_{m-j})/2
 * for j = 1 .. n, x_j = x[j - 1]; sines (1, m) holds sin(pi j/m).  Its
 * spectrum Y gives X_k = sum x_j sin(pi j k/m): X_2k = -Im Y_k, and
 * X_2k+1 = X_2k-1 + Re Y_k with X_1 = Re Y_0 / 2; dst1_unfold(Y, y, scale)
 * writes scale X_1 .. X_n. */
#define DST1_FOLD(R)                                                                \
    VECTORIZED static void dst1_fold_##R(const R *restrict x, npy_intp rs, npy_intp cs, \
                                         const R *restrict sines, R *restrict y,    \
                                         npy_intp rows, npy_intp n) {               \
        const npy_intp m = n + 1;                                                   \
        for (npy_intp r = 0; r < rows; ++r, x += rs, y += m) {                      \
            y[0] = 0;                                                               \
            for (npy_intp j = 1; j < m; ++j) {                                      \
                const R a = x[(j - 1) * cs], b = x[(m - j - 1) * cs];               \
                y[j] = sines[j] * (a + b) + (R)0.5 * (a - b);                       \
            }                                                                       \
        }                                                                           \
    }
DST1_FOLD(float)
DST1_FOLD(double)

#define DST1_UNFOLD(R)                                                                  \
    static void dst1_unfold_##R(const R *restrict Y, npy_intp yc, R *restrict out,      \
                                npy_intp rows, npy_intp n, double scale) {              \
        for (npy_intp r = 0; r < rows; ++r, Y += 2 * yc, out += n) {                    \
            for (npy_intp k = 1; 2 * k <= n; ++k) out[2 * k - 1] = (R)(-scale * Y[2 * k + 1]); \
            double odd = 0.5 * Y[0];                                                    \
            out[0] = (R)(scale * odd);                                                  \
            for (npy_intp k = 1; 2 * k + 1 <= n; ++k) {                                 \
                odd += Y[2 * k];                                                        \
                out[2 * k] = (R)(scale * odd);                                          \
            }                                                                           \
        }                                                                               \
    }
DST1_UNFOLD(float)
DST1_UNFOLD(double)

static PyObject *dst1_fold(PyObject *self, PyObject *const *args, Py_ssize_t nargs) {
    (void)self;
    static const int written[3] = {0, 0, 1};
    const int t = nargs == 3 ? pass_type(args, written, 3, NULL) : -1;
    if (t < 0 || ROWS(args[0]) != ROWS(args[2]) || COLS(args[2]) != COLS(args[0]) + 1 ||
        ROWS(args[1]) != 1 || COLS(args[1]) != COLS(args[2]) || STRIDE(args[1], 1) != 1)
        Py_RETURN_NOTIMPLEMENTED;
    const npy_intp rows = ROWS(args[0]), n = COLS(args[0]), rs = STRIDE(args[0], 0),
                   cs = STRIDE(args[0], 1);
    const void *x = DATA(args[0]), *sines = DATA(args[1]);
    void *y = DATA(args[2]);
    CALL_TYPED(t, dst1_fold, x, rs, cs, sines, y, rows, n);
    Py_RETURN_NONE;
}

static PyObject *dst1_unfold(PyObject *self, PyObject *const *args, Py_ssize_t nargs) {
    (void)self;
    static const int written[1] = {1};
    if (nargs != 3) Py_RETURN_NOTIMPLEMENTED;
    const int t = pass_type(args + 1, written, 1, args[0]);
    const double scale = PyFloat_AsDouble(args[2]);
    if (PyErr_Occurred()) return NULL;
    if (t < 0) Py_RETURN_NOTIMPLEMENTED;
    PyArrayObject *Y = (PyArrayObject *)args[0];
    const npy_intp rows = ROWS(args[1]), n = COLS(args[1]);
    if (PyArray_NDIM(Y) != 2 || PyArray_DIMS(Y)[0] != rows || PyArray_DIMS(Y)[1] != (n + 1) / 2 + 1)
        Py_RETURN_NOTIMPLEMENTED;
    const void *Yd = PyArray_DATA(Y);
    const npy_intp yc = PyArray_DIMS(Y)[1];
    void *y = DATA(args[1]);
    CALL_TYPED(t, dst1_unfold, Yd, yc, y, rows, n, scale);
    Py_RETURN_NONE;
}

static PyObject *dct2_pack(PyObject *self, PyObject *const *args, Py_ssize_t nargs) {
    (void)self;
    static const int written[2] = {0, 1};
    const int t = nargs == 2 ? pass_type(args, written, 2, NULL) : -1;
    if (t < 0 || ROWS(args[0]) != ROWS(args[1]) || COLS(args[0]) != COLS(args[1]))
        Py_RETURN_NOTIMPLEMENTED;
    const npy_intp rows = ROWS(args[1]), n = COLS(args[1]), rs = STRIDE(args[0], 0),
                   cs = STRIDE(args[0], 1);
    void *x = DATA(args[0]), *v = DATA(args[1]);
    CALL_TYPED(t, dct2_pack, x, rs, cs, v, rows, n);
    Py_RETURN_NONE;
}

static PyObject *dct2_unpack(PyObject *self, PyObject *const *args, Py_ssize_t nargs) {
    (void)self;
    static const int written[1] = {1};
    static const int read[2] = {0, 0};
    if (nargs != 5) Py_RETURN_NOTIMPLEMENTED;
    const int t = pass_type(args + 3, written, 1, args[0]);
    const double first = PyFloat_AsDouble(args[4]);
    if (PyErr_Occurred()) return NULL;
    if (t < 0 || pass_type(args + 1, read, 2, NULL) != t) Py_RETURN_NOTIMPLEMENTED;
    PyArrayObject *V = (PyArrayObject *)args[0], *twr = (PyArrayObject *)args[1],
                  *twi = (PyArrayObject *)args[2];
    const npy_intp rows = ROWS(args[3]), n = COLS(args[3]), q = n / 2 + 1;
    if (PyArray_NDIM(V) != 2 || PyArray_DIMS(V)[0] != rows || PyArray_DIMS(V)[1] != q ||
        ROWS(twr) != 1 || COLS(twr) != q || ROWS(twi) != 1 || COLS(twi) != q ||
        !PyArray_IS_C_CONTIGUOUS(twr) || !PyArray_IS_C_CONTIGUOUS(twi))
        Py_RETURN_NOTIMPLEMENTED;
    const void *Vd = PyArray_DATA(V), *rd = PyArray_DATA(twr), *id = PyArray_DATA(twi);
    void *y = DATA(args[3]);
    CALL_TYPED(t, dct2_unpack, Vd, rd, id, y, rows, n, first);
    Py_RETURN_NONE;
}

/* sub_product(y, t, m): y -= t @ m for float64 arrays, y (R, L) with unit
 * column stride, t (R, K) and m (K, L) C-contiguous; a small K (the IIR
 * tails' state responses), so one pass of y per row, on one thread. */
VECTORIZED static void sub_product_double(double *y, npy_intp ys, const double *restrict t,
                                          const double *restrict m, npy_intp R, npy_intp L,
                                          npy_intp K) {
    for (npy_intp r = 0; r < R; ++r, y += ys, t += K) {
        double *restrict row = y;
        for (npy_intp k = 0; k < K; ++k) {
            const double c = t[k];
            const double *restrict mk = m + k * L;
            for (npy_intp l = 0; l < L; ++l) row[l] -= c * mk[l];
        }
    }
}

static PyObject *sub_product(PyObject *self, PyObject *const *args, Py_ssize_t nargs) {
    (void)self;
    if (nargs != 3) Py_RETURN_NOTIMPLEMENTED;
    for (int i = 0; i < 3; ++i)
        if (!PyArray_CheckExact(args[i]) || PyArray_TYPE((PyArrayObject *)args[i]) != NPY_DOUBLE ||
            PyArray_NDIM((PyArrayObject *)args[i]) != 2)
            Py_RETURN_NOTIMPLEMENTED;
    PyArrayObject *y = (PyArrayObject *)args[0], *t = (PyArrayObject *)args[1],
                  *m = (PyArrayObject *)args[2];
    const npy_intp R = PyArray_DIMS(y)[0], L = PyArray_DIMS(y)[1], K = PyArray_DIMS(t)[1];
    if (PyArray_DIMS(t)[0] != R || PyArray_DIMS(m)[0] != K || PyArray_DIMS(m)[1] != L ||
        !PyArray_IS_C_CONTIGUOUS(t) || !PyArray_IS_C_CONTIGUOUS(m) || !PyArray_ISWRITEABLE(y) ||
        PyArray_STRIDES(y)[1] != sizeof(double) || PyArray_STRIDES(y)[0] % sizeof(double))
        Py_RETURN_NOTIMPLEMENTED;
    double *yd = PyArray_DATA(y);
    const npy_intp ys = PyArray_STRIDES(y)[0] / (npy_intp)sizeof(double);
    const double *td = PyArray_DATA(t), *md = PyArray_DATA(m);
    Py_BEGIN_ALLOW_THREADS
    sub_product_double(yd, ys, td, md, R, L, K);
    Py_END_ALLOW_THREADS
    Py_RETURN_NONE;
}

static PyMethodDef methods[] = {
    {"sub_product", (PyCFunction)(void (*)(void))sub_product, METH_FASTCALL,
     "sub_product(y, t, m): y -= t @ m (float64, small inner size, one thread)"},
    {"dct2_pack", (PyCFunction)(void (*)(void))dct2_pack, METH_FASTCALL,
     "dct2_pack(x, v): v's rows = x's even samples, then its odd ones backwards"},
    {"dct2_unpack", (PyCFunction)(void (*)(void))dct2_unpack, METH_FASTCALL,
     "dct2_unpack(V, twr, twi, y, first): the DCT-II from the twiddled half spectra"},
    {"dst1_fold", (PyCFunction)(void (*)(void))dst1_fold, METH_FASTCALL,
     "dst1_fold(x, sines, y): the DST-I's input folded for a real FFT of n + 1 points"},
    {"dst1_unfold", (PyCFunction)(void (*)(void))dst1_unfold, METH_FASTCALL,
     "dst1_unfold(Y, y, scale): the DST-I from that FFT"},
    {NULL, NULL, 0, NULL}};

static struct PyModuleDef module = {
    PyModuleDef_HEAD_INIT, "_fast", "One library call on a numpy array without ctypes.", -1,
    methods, NULL, NULL, NULL, NULL};

PyMODINIT_FUNC PyInit__fast(void) {
    import_array();
    if (PyType_Ready(&CallType) < 0) return NULL;
    PyObject *m = PyModule_Create(&module);
    if (m == NULL) return NULL;
    Py_INCREF(&CallType);
    if (PyModule_AddObject(m, "Call", (PyObject *)&CallType) < 0) {
        Py_DECREF(&CallType);
        Py_DECREF(m);
        return NULL;
    }
    return m;
}
