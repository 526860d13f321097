// SPDX-License-Identifier: MIT
// Stands between the main window and the start of its worker, by the linker's --wrap.
#include "tests/app/ThreadStart.h"

#include "app/RefreshCardThread.h"

extern "C" {
wxThreadError __real__ZN17RefreshCardThread5StartEv(RefreshCardThread* self);

wxThreadError __wrap__ZN17RefreshCardThread5StartEv(RefreshCardThread* self) {
    return NoThreadStarts::IsInForce() ? wxTHREAD_NO_RESOURCE : __real__ZN17RefreshCardThread5StartEv(self);
}
}
