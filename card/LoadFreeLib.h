// SPDX-License-Identifier: MIT
#ifndef ORSEL_CARD_LOADFREELIB_H
#define ORSEL_CARD_LOADFREELIB_H

// The system loader under neutral names, so that the card class is free of the platform's.

namespace Velmor {

/// dlopen with lazy binding. Null on failure; tk_dlerror then tells why.
void* tk_dlopen(const char* file);

/// dlsym. Null when the library lacks the name.
void* tk_dlsym(void* handle, const char* name);

/// dlerror: the last failure's text, or null. Valid until the next loader call of this thread.
const char* tk_dlerror();

/// dlclose. 0 on success.
int tk_dlclose(void* handle);

} // namespace Velmor

#endif
