// SPDX-License-Identifier: MIT
// The bridge over a library whose answers are the fuzzer's.
#include <fstream>
#include <iostream>

#include <dlfcn.h>

#include "fuzz/FuzzInput.h"
#include "tokenlib/Pkcs11.h"

namespace {

using SetAnswersFunction = void (*)(const std::uint8_t*, std::size_t);

/// The bridge's environment, once for all runs.
SetAnswersFunction Prepare() {
    std::cerr.rdbuf(nullptr); // a line for each broken answer
    const std::string answers = "/tmp/Bridge_fuzz.answers";
    std::ofstream(answers) << "1234\n1234\n4321\n4321\n1234\n4321\n4321\ncancel\n";
    setenv("ORSELBRIDGE_PIN_SCRIPT", answers.c_str(), 1);
    setenv("ORSELBRIDGE_MODULE", ORSEL_FUZZ_MODULE, 1);
    setenv("XDG_CONFIG_HOME", "/nonexistent", 1);
    setenv("PCSCLITE_CSOCK_NAME", "/nonexistent", 1);
    return reinterpret_cast<SetAnswersFunction>(dlsym(dlopen(ORSEL_FUZZ_MODULE, RTLD_NOW), "SetAnswers"));
}

/// What the card manager does with the first card.
void UseCard(CK_SLOT_ID slot) {
    CK_TOKEN_INFO token;
    C_GetTokenInfo(slot, &token);
    CK_SESSION_HANDLE session = 0;
    C_OpenSession(slot, CKF_SERIAL_SESSION, nullptr, nullptr, &session);
    CK_OBJECT_CLASS objectClass = CKO_PRIVATE_KEY;
    CK_ATTRIBUTE wanted[] = {{CKA_CLASS, &objectClass, sizeof objectClass}, {CKA_LABEL, nullptr, 0}};
    CK_OBJECT_HANDLE keys[10] = {};
    CK_ULONG found = 0;
    for (const CK_ULONG size : {CK_ULONG{1}, CK_ULONG{2}}) {
        C_FindObjectsInit(session, wanted, size);
        C_FindObjects(session, keys, 10, &found);
        Require(found <= 10);
        C_FindObjectsFinal(session);
    }
    Bytes label(256);
    CK_ATTRIBUTE asked = {CKA_LABEL, label.data(), label.size()};
    const CK_RV read = C_GetAttributeValue(session, keys[0], &asked, 1);
    Require(read != CKR_OK || asked.ulValueLen <= label.size());
    CK_MECHANISM mechanism = {CKM_RSA_PKCS, nullptr, 0};
    Bytes input(32);
    Bytes signature(512);
    CK_ULONG length = signature.size();
    C_SignInit(session, &mechanism, keys[0]);
    const CK_RV isSigned = C_Sign(session, input.data(), input.size(), signature.data(), &length);
    Require(isSigned != CKR_OK || length <= signature.size());
    CK_BBOOL flag = CK_FALSE;
    for (const CK_ATTRIBUTE_TYPE type : {tokenlib::CHANGE_PIN_COMMAND, tokenlib::UNBLOCK_PIN_COMMAND}) {
        CK_ATTRIBUTE command = {type, &flag, sizeof flag};
        C_SetAttributeValue(session, keys[0], &command, 1);
    }
    C_CloseSession(session);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const SetAnswersFunction setAnswers = Prepare();
    setAnswers(data, size);
    if (C_Initialize(nullptr) == CKR_OK) {
        CK_SLOT_ID slots[16] = {};
        CK_ULONG count = 16;
        if (C_GetSlotList(CK_TRUE, slots, &count) == CKR_OK && count > 0) {
            Require(count <= 16);
            UseCard(slots[0]);
        }
        C_Finalize(nullptr);
    }
    setAnswers(nullptr, 0);
    return 0;
}
