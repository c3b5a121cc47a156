// Planning ahead and wisdom.  The Windows engine is a foreign one with no
// wisdom of ours: there the functions change nothing.
#include <cstring>

#include "fennel_dsp.h"
#if !defined(_WIN32)
#include "dft/planning/planner.h"
#endif

extern "C" {

#if defined(_WIN32)

FENNEL_DSP_API int32_t FDSetPlanningEffort(int32_t effort, double) {
    return effort >= FD_EFFORT_POLICY && effort <= FD_EFFORT_PATIENT ? FD_EFFORT_POLICY : -1;
}
FENNEL_DSP_API int32_t FDSaveWisdom(void) { return 0; }
FENNEL_DSP_API int64_t FDExportWisdom(char *buffer, int64_t size) {
    if (buffer != nullptr && size > 0) buffer[0] = '\0';
    return 1;
}
FENNEL_DSP_API int32_t FDImportWisdom(const char *) { return 0; }
FENNEL_DSP_API void FDForgetWisdom(int32_t) {}

#else

FENNEL_DSP_API int32_t FDSetPlanningEffort(int32_t effort, double timeLimit) {
    return fennel::planning::SetThreadEffort(effort, timeLimit);
}

FENNEL_DSP_API int32_t FDSaveWisdom(void) { return fennel::planning::SaveWisdom() ? 1 : 0; }

FENNEL_DSP_API int64_t FDExportWisdom(char *buffer, int64_t size) {
    const std::string text = fennel::planning::ExportWisdomText();
    const int64_t needed = static_cast<int64_t>(text.size()) + 1;
    if (buffer != nullptr && size >= needed) std::memcpy(buffer, text.c_str(), text.size() + 1);
    else if (buffer != nullptr && size > 0) buffer[0] = '\0';
    return needed;
}

FENNEL_DSP_API int32_t FDImportWisdom(const char *text) {
    return fennel::planning::ImportWisdomText(text) ? 1 : 0;
}

FENNEL_DSP_API void FDForgetWisdom(int32_t removeFiles) { fennel::planning::ForgetWisdom(removeFiles != 0); }

#endif

}  // extern "C"
