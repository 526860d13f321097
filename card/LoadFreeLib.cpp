// SPDX-License-Identifier: MIT
#include "card/LoadFreeLib.h"

#include <dlfcn.h>

namespace Velmor {

void* tk_dlopen(const char* file) {
    return dlopen(file, RTLD_LAZY);
}

void* tk_dlsym(void* handle, const char* name) {
    return dlsym(handle, name);
}

const char* tk_dlerror() {
    return dlerror();
}

int tk_dlclose(void* handle) {
    return dlclose(handle);
}

} // namespace Velmor
