// A stand-in for the OpenMP runtime module in the Windows tests.
extern "C" __declspec(dllexport) int omp_get_max_threads() { return 1; }
