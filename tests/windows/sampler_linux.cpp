// The sampler against the Linux build.
#include <dlfcn.h>

#include "sampler.h"

int main() { return sampler::Run([](const char *name) { return dlsym(RTLD_DEFAULT, name); }, stdout); }
