// SPDX-License-Identifier: MIT
#include "tests/zoo/Sound.h"

#include <memory>

#include <dlfcn.h>

namespace zoo {

namespace {

struct LibraryCloser {
    void operator()(void* library) const { dlclose(library); }
};

} // namespace

void* SoundEntryPoint(const char* name) {
    static const std::unique_ptr<void, LibraryCloser> library(dlopen(ORSEL_SIMULATED_LIBRARY, RTLD_LAZY));
    return dlsym(library.get(), name);
}

} // namespace zoo
