// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_ZOO_SOUND_H
#define ORSEL_TESTS_ZOO_SOUND_H

#include <p11-kit/pkcs11.h>

#include "card/tkPKCS11.h"

/// A token library of the zoo stands before the simulated one. What it does not define itself is passed on,
/// so that an animal is the few lines that are wrong with it.
namespace zoo {

/// An entry point of the simulated library.
void* SoundEntryPoint(const char* name);

template <typename Function>
Function Sound(const char* name) {
    return reinterpret_cast<Function>(SoundEntryPoint(name));
}

} // namespace zoo

/// The sound form of an entry point: ORSEL_SOUND(C_GetInfo)(info).
using Velmor::CK_C_CardAttribute;
using Velmor::CK_C_CardTransmit;
#define ORSEL_SOUND(name) zoo::Sound<CK_##name>(#name)

#endif
