// SPDX-License-Identifier: MIT
// A token library that stands before the simulated one and interrupts the program in the middle of a call:
// one that has begun and goes on behind the interruption, as cards do. ORSEL_INTERRUPT says in which call,
// counted from 0 at C_Initialize, and how:
//     "7 signal 2"   by this signal
//     "7 close 5"    by closing this descriptor, such as the end of a pipe that standard output is read from
#include <csignal>
#include <cstdlib>
#include <memory>
#include <sstream>

#include <dlfcn.h>
#include <unistd.h>

#include <p11-kit/pkcs11.h>

#include "card/tkPKCS11.h"

namespace {

struct LibraryCloser {
    void operator()(void* library) const { dlclose(library); }
};

void* SimulatedLibrary() {
    static const std::unique_ptr<void, LibraryCloser> library(dlopen(ORSEL_SIMULATED_LIBRARY, RTLD_LAZY));
    return library.get();
}

long g_Call = 0;

void InterruptWhenDue() {
    const char* plan = std::getenv("ORSEL_INTERRUPT");
    std::istringstream words(plan != nullptr ? plan : "");
    long call = -1;
    std::string way;
    int number = 0;
    if (!(words >> call >> way >> number) || call != g_Call++) {
        return;
    }
    if (way == "signal") {
        raise(number);
    } else {
        close(number);
    }
}

template <typename Function>
Function PassedOn(const char* name) {
    InterruptWhenDue();
    return reinterpret_cast<Function>(dlsym(SimulatedLibrary(), name));
}

} // namespace

extern "C" {

CK_RV C_Initialize(void* arguments) {
    g_Call = 0;
    return PassedOn<CK_C_Initialize>("C_Initialize")(arguments);
}

CK_RV C_Finalize(void* reserved) {
    return PassedOn<CK_C_Finalize>("C_Finalize")(reserved);
}

CK_RV C_GetInfo(CK_INFO* info) {
    return PassedOn<CK_C_GetInfo>("C_GetInfo")(info);
}

CK_RV C_GetSlotList(unsigned char present, CK_SLOT_ID* slots, CK_ULONG* count) {
    return PassedOn<CK_C_GetSlotList>("C_GetSlotList")(present, slots, count);
}

CK_RV C_GetSlotInfo(CK_SLOT_ID slot, CK_SLOT_INFO* info) {
    return PassedOn<CK_C_GetSlotInfo>("C_GetSlotInfo")(slot, info);
}

CK_RV C_GetTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO* info) {
    return PassedOn<CK_C_GetTokenInfo>("C_GetTokenInfo")(slot, info);
}

CK_RV C_OpenSession(CK_SLOT_ID slot, CK_FLAGS flags, void* application, CK_NOTIFY notify,
                    CK_SESSION_HANDLE* session) {
    return PassedOn<CK_C_OpenSession>("C_OpenSession")(slot, flags, application, notify, session);
}

CK_RV C_CloseSession(CK_SESSION_HANDLE session) {
    return PassedOn<CK_C_CloseSession>("C_CloseSession")(session);
}

CK_RV C_Login(CK_SESSION_HANDLE session, CK_USER_TYPE user, unsigned char* pin, CK_ULONG size) {
    return PassedOn<CK_C_Login>("C_Login")(session, user, pin, size);
}

CK_RV C_Logout(CK_SESSION_HANDLE session) {
    return PassedOn<CK_C_Logout>("C_Logout")(session);
}

CK_RV C_FindObjectsInit(CK_SESSION_HANDLE session, CK_ATTRIBUTE* wanted, CK_ULONG count) {
    return PassedOn<CK_C_FindObjectsInit>("C_FindObjectsInit")(session, wanted, count);
}

CK_RV C_FindObjects(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE* objects, CK_ULONG most, CK_ULONG* count) {
    return PassedOn<CK_C_FindObjects>("C_FindObjects")(session, objects, most, count);
}

CK_RV C_FindObjectsFinal(CK_SESSION_HANDLE session) {
    return PassedOn<CK_C_FindObjectsFinal>("C_FindObjectsFinal")(session);
}

CK_RV C_GetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* asked,
                          CK_ULONG count) {
    return PassedOn<CK_C_GetAttributeValue>("C_GetAttributeValue")(session, object, asked, count);
}

CK_RV C_SetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* changes,
                          CK_ULONG count) {
    return PassedOn<CK_C_SetAttributeValue>("C_SetAttributeValue")(session, object, changes, count);
}

CK_RV C_SignInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
    return PassedOn<CK_C_SignInit>("C_SignInit")(session, mechanism, key);
}

CK_RV C_Sign(CK_SESSION_HANDLE session, unsigned char* data, CK_ULONG size, unsigned char* signature,
             CK_ULONG* length) {
    return PassedOn<CK_C_Sign>("C_Sign")(session, data, size, signature, length);
}

CK_RV C_VerifyInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
    return PassedOn<CK_C_VerifyInit>("C_VerifyInit")(session, mechanism, key);
}

CK_RV C_Verify(CK_SESSION_HANDLE session, unsigned char* data, CK_ULONG size, unsigned char* signature,
               CK_ULONG length) {
    return PassedOn<CK_C_Verify>("C_Verify")(session, data, size, signature, length);
}

CK_RV C_CardTransmit(CK_SESSION_HANDLE session, const unsigned char* command, CK_ULONG size,
                     unsigned char* answer, CK_ULONG* length) {
    return PassedOn<Velmor::CK_C_CardTransmit>("C_CardTransmit")(session, command, size, answer, length);
}

CK_RV C_CardAttribute(CK_SESSION_HANDLE session, const char* name, unsigned char* value, CK_ULONG* length) {
    return PassedOn<Velmor::CK_C_CardAttribute>("C_CardAttribute")(session, name, value, length);
}

} // extern "C"
