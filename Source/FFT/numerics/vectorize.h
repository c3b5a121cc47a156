// The attribute of hot loops: compiled for AVX-512, AVX2 and the baseline,
// picked once at load, and never contracted into fused multiply-adds, so
// every build and every clone rounds alike.  Cloned functions belong in an
// anonymous namespace: the resolver of a clone with external linkage would be
// exported whatever its visibility.  FENNEL_NO_CLONES (the ThreadSanitizer
// build, whose instrumented resolvers cannot run at load) keeps one clone, and
// so does clang (the fuzzing build), which clones no templates; clang takes
// its no-contraction rule from -ffp-contract=off alone.
#pragma once

#if defined(__clang__)
#define FENNEL_VECTORIZED
#elif defined(FENNEL_NO_CLONES)
#define FENNEL_VECTORIZED __attribute__((optimize("fp-contract=off")))
#else
#define FENNEL_VECTORIZED \
    __attribute__((target_clones("avx512f", "avx2", "default"), optimize("fp-contract=off")))
#endif
