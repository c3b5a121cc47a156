// Test controls of the transform engine: call counters and fault injection.
// Linked into the C++ tests through the static library; not exported from the
// shared library.
#pragma once

namespace fennel::engine {

enum class Call { kCreate, kSetValue, kGetValue, kCommit, kCompute, kFree, kCount };

struct Counters {
    long creates = 0;   // successful descriptor creations
    long commits = 0;   // successful commits
    long frees = 0;     // successful frees
    long computes = 0;  // successful computations
    long live = 0;      // descriptors created and not yet freed
};

Counters GetCounters();
void ResetCounters();  // zeroes all but live

// Makes the nth next call of the given function fail (n = 1: the next one).
void FailCall(Call call, int nth = 1);
void ClearFaults();

// The descriptor's plans made so far, and how many of them are estimated.
struct PlanCounts {
    int made = 0, estimated = 0;
};
PlanCounts PlansOf(const void *descriptor);

// Whether a measurement that a waiter may cut short holds a planner lock.
bool MeasurementUnderWay();

}  // namespace fennel::engine
