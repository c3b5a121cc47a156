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

static struct PyModuleDef module = {
    PyModuleDef_HEAD_INIT, "_fast", "One library call on a numpy array without ctypes.", -1,
    NULL, NULL, NULL, NULL, NULL};

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
