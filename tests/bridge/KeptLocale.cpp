// SPDX-License-Identifier: MIT
// Loaded before a program that others wrote, together with a sanitizer: lets no locale go. When such a
// program ends with SoftHSM and a sanitizer loaded, p11-kit's last act, to let its locale go, waits for ever
// for a lock, with the bare module as through the bridge.
#include <clocale>

#include <locale.h>

extern "C" void freelocale(locale_t /*locale*/) noexcept {}
