// One helper thread kept for the process, for passes that two threads can
// share (the engine runs large transforms on both cores; the passes around
// them follow).
#pragma once

namespace fennel {

// Offers task(context) to the helper thread and runs it on the calling thread
// too; returns once the caller's run has returned and the helper has either
// finished its run or never started it.  The task must therefore complete
// the whole job when it runs alone and share it when two run at once.
// Returns false, having run nothing, when the helper serves another caller
// or cannot be started (and on Windows, where the foreign engine sets its
// own threads): the caller then does the work itself.
bool RunWithHelper(void (*task)(void *), void *context);

// Ends the helper thread, waiting for it, before the library's code goes
// away (the library's unload); later calls run their work alone.
void StopHelper();

}  // namespace fennel
