// The call frame of an export: it owns the call's status and what must be
// cleaned up when the call ends, so that a handle-level routine reads as the
// algorithm's steps and any return, plain or early, cleans up the same way:
// - outputs registered with EmptyOnFailure are emptied when the call fails;
// - workspaces registered with EmptyAtExit are emptied when the call ends
//   (with EmptyAtExitIfHeld only when they hold elements then);
// - plans registered with FreePlanOnFailure are released when the call fails;
// - caller records registered with ZeroOnFailure are zeroed when the call fails.
// Routines take the frame as their first argument; Call runs one in a fresh
// frame.  The frame holds no memory of its own (the library allocates only
// through the host).
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <cstring>
#include <type_traits>
#include <utility>

#include "fennel_dsp.h"
#include "frame/host_array.h"

namespace fennel {

class CallFrame {
   public:
    CallFrame() = default;
    ~CallFrame() { Finish(); }
    CallFrame(const CallFrame &) = delete;
    CallFrame &operator=(const CallFrame &) = delete;

    // Empties the array when the call fails.
    template <class T, int Rank>
    void EmptyOnFailure(const HostArray<T, Rank> &array, int32_t typeCode = Traits<T>::kTypeCode) {
        Add(Entry::kOutput, array.handle(), typeCode, Rank);
    }
    // Empties the array when the call ends, whatever its status.
    template <class T, int Rank>
    void EmptyAtExit(const HostArray<T, Rank> &array, int32_t typeCode = Traits<T>::kTypeCode) {
        Add(Entry::kWorkspace, array.handle(), typeCode, Rank);
    }
    // Empties the array when the call ends if it holds a block whose first
    // size is not 0 then: an array left empty costs no host call.
    template <class T, int Rank>
    void EmptyAtExitIfHeld(const HostArray<T, Rank> &array, int32_t typeCode = Traits<T>::kTypeCode) {
        Add(Entry::kHeldWorkspace, array.handle(), typeCode, Rank);
    }
    // Releases the plan in the slot when the call fails, leaving it null (a
    // failed release leaves it set); release(slot) returns 0 on success.
    void FreePlanOnFailure(void *slot, int32_t (*release)(void *slot)) {
        if (slot != nullptr && plan_count_ < kMaxPlans) plans_[plan_count_++] = {slot, release};
    }

    // Zeroes `bytes` bytes at `record` when the call fails (a caller's
    // out-argument or stream state); a null record is skipped.
    void ZeroOnFailure(void *record, size_t bytes) {
        if (record != nullptr && zero_count_ < kMaxZeroed) zeroed_[zero_count_++] = {record, bytes};
    }

    // Makes `input` read a private copy of its block when any handle in
    // `written` (outputs, workspaces, states) is the same handle: a host that
    // reuses buffers in place passes one array as both, and what the call
    // resizes or writes must not change what it still reads.  Called before
    // the routine takes any data pointer of the input.  -20001 when the copy
    // cannot be made.
    template <class T, int Rank>
    int32_t KeepInput(HostArray<T, Rank> &input, std::initializer_list<FDArrayHandle> written) {
        const FDArrayHandle h = input.handle();
        if (h == nullptr || *h == nullptr) return STATUS_OK;
        bool aliased = false;
        for (FDArrayHandle w : written) aliased = aliased || w == h;
        if (!aliased) return STATUS_OK;
        size_t count = 1;
        for (int i = 0; i < Rank; ++i) count *= static_cast<size_t>(input.size(i) > 0 ? input.size(i) : 0);
        const size_t bytes = DataOffset<T, Rank>() + count * sizeof(T);
        void *block = copy_count_ < kMaxCopies ? HostNewPtr(bytes) : nullptr;
        if (block == nullptr) return STATUS_OUT_OF_MEMORY;
        std::memcpy(block, *h, bytes);
        copies_[copy_count_] = block;
        input = HostArray<T, Rank>(reinterpret_cast<FDArrayHandle>(&copies_[copy_count_++]));
        return STATUS_OK;
    }

    // A plan slot of this call only, for a caller that passed no plan
    // address: release(slot) runs when the call ends.
    void **LocalSlot(int32_t (*release)(void *slot)) {
        local_release_ = release;
        return &local_slot_;
    }

    // Records the call's status; cleanup runs once, when the frame ends.
    int32_t Return(int32_t status) {
        status_ = status;
        return status;
    }
    int32_t status() const { return status_; }

   private:
    struct Entry {
        enum Kind { kOutput, kWorkspace, kHeldWorkspace } kind;
        FDArrayHandle handle;
        int32_t type_code;
        int rank;
    };
    struct PlanEntry {
        void *slot;
        int32_t (*release)(void *slot);
    };
    struct ZeroEntry {
        void *record;
        size_t bytes;
    };
    static constexpr int kMaxEntries = 8, kMaxPlans = 2, kMaxZeroed = 2, kMaxCopies = 3;

    void Add(Entry::Kind kind, FDArrayHandle handle, int32_t typeCode, int rank) {
        if (handle == nullptr) return;
        // Registered again alike: emptied once.  One handle registered under
        // two element types or ranks is emptied under each.
        for (int i = 0; i < count_; ++i)
            if (entries_[i].handle == handle && entries_[i].kind == kind &&
                entries_[i].type_code == typeCode && entries_[i].rank == rank)
                return;
        if (count_ < kMaxEntries) entries_[count_++] = {kind, handle, typeCode, rank};
    }
    void Finish() {
        const bool failed = status_ < 0;
        // Plans first: a release may fail and then leaves its slot set.
        for (int i = plan_count_ - 1; failed && i >= 0; --i) plans_[i].release(plans_[i].slot);
        for (int i = count_ - 1; i >= 0; --i) {
            const Entry &e = entries_[i];
            if (e.kind == Entry::kOutput && !failed) continue;
            if (e.kind == Entry::kHeldWorkspace &&
                (*e.handle == nullptr || *static_cast<const int32_t *>(*e.handle) == 0))
                continue;
            EmptyArray(e.handle, e.type_code, e.rank);
        }
        for (int i = 0; failed && i < zero_count_; ++i)
            std::memset(zeroed_[i].record, 0, zeroed_[i].bytes);
        if (local_release_ != nullptr) local_release_(&local_slot_);
        for (int i = 0; i < copy_count_; ++i) HostDisposePtr(copies_[i]);
    }

    int32_t status_ = STATUS_OK;
    Entry entries_[kMaxEntries];
    PlanEntry plans_[kMaxPlans];
    int count_ = 0;
    int plan_count_ = 0;
    ZeroEntry zeroed_[kMaxZeroed];
    void *copies_[kMaxCopies] = {};
    int copy_count_ = 0;
    int zero_count_ = 0;
    void *local_slot_ = nullptr;
    int32_t (*local_release_)(void *slot) = nullptr;
};

// Sizes a one-dimensional workspace to `count` elements (no host call when it
// holds them already); -20001 when the count exceeds a host array's sizes.
template <class T>
int32_t ResizeWorkspace(HostArray<T, 1> &workspace, int64_t count) {
    if (count > INT32_MAX) return STATUS_OUT_OF_MEMORY;
    return workspace.Resize(static_cast<int32_t>(count));
}

// STATUS_NO_WORKSPACE when a workspace handle is also one of the call's
// outputs (or, with `distinct`, another of its workspaces): an array cannot
// be both emptied as a workspace and hold a result.  Null workspaces are left
// to the routine.
inline int32_t SeparateWorkspaces(std::initializer_list<FDArrayHandle> workspaces,
                                  std::initializer_list<FDArrayHandle> outputs, bool distinct = false) {
    for (auto w = workspaces.begin(); w != workspaces.end(); ++w) {
        if (*w == nullptr) continue;
        for (FDArrayHandle o : outputs)
            if (o == *w) return STATUS_NO_WORKSPACE;
        for (auto v = w + 1; distinct && v != workspaces.end(); ++v)
            if (*v == *w) return STATUS_NO_WORKSPACE;
    }
    return STATUS_OK;
}

// Returns the status of a step when it failed: the steps of a routine read
// FENNEL_TRY(out.Resize(L)); and the frame cleans up.
#define FENNEL_TRY(step)                                   \
    do {                                                   \
        if (const int32_t fennel_status_ = (step); fennel_status_ < 0) return fennel_status_; \
    } while (0)

// Runs routine(frame, args...) in a frame of its own and returns its status;
// the frame's cleanup has run by then.  Routines not yet written over a frame
// are called as they are.
template <class Routine, class... Args>
int32_t Call(Routine routine, Args... args) {
    if constexpr (std::is_invocable_v<Routine, CallFrame &, Args...>) {
        CallFrame frame;
        return frame.Return(routine(frame, args...));
    } else {
        return routine(args...);
    }
}

}  // namespace fennel
