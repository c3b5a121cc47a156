// Plan-handle release and host-binding entries.
#include "fennel_dsp.h"
#include "host/host_services.h"
#include "dft/plan.h"

extern "C" {

FENNEL_DSP_API int32_t FreeMKLDftiDescH(FDPlanHandle *plan) { return fennel::FreeDftiPlan(plan); }

FENNEL_DSP_API int32_t FreeMKLDCTDSTiDescH(FDPlanHandle *plan) { return fennel::FreeTrigPlan(plan); }

FENNEL_DSP_API void SetFNRTModuleHook(void) {}

// The same function as SetFNRTModuleHook under a second export name.  gcc
// wants the alias to repeat the nothrow it infers for the target; clang
// takes no attributes on an alias.
#if defined(__clang__)
FENNEL_DSP_API void SetFNRTTLSIndexHook(void) __attribute__((alias("SetFNRTModuleHook")));
#else
FENNEL_DSP_API void SetFNRTTLSIndexHook(void) __attribute__((alias("SetFNRTModuleHook"), nothrow));
#endif

FENNEL_DSP_API void SetFNRTModule(void *module) {
    fennel::SetHostModule(module);
    SetFNRTModuleHook();
}

FENNEL_DSP_API void SetFNRTTLSIndex(uint32_t index) {
    fennel::SetHostTlsIndex(index);
    SetFNRTModuleHook();
}

}  // extern "C"
