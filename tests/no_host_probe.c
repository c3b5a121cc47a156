/* Calls the library in a process that has no host services. */
#include <stdio.h>

#include "fennel_dsp.h"

int main(void) {
    double block[4] = {0};
    void *pointer = block;
    ((int32_t *)block)[0] = 2;
    FDPlanHandle plan = NULL;
    int32_t status = d1DFFTH(&pointer, &pointer, 0, 0, NULL, &plan);
    printf("returned %d\n", (int)status);
    return 0;
}
