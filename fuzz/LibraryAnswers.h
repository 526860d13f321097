// SPDX-License-Identifier: MIT
#ifndef ORSEL_FUZZ_LIBRARYANSWERS_H
#define ORSEL_FUZZ_LIBRARYANSWERS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include <p11-kit/pkcs11.h>

/// What a PKCS#11 library answers that takes each answer, code, number, length or value, from the fuzzer's
/// input, and zero behind its end. It writes nowhere beyond the room that it is given.
namespace answers {

inline const std::uint8_t* g_Next = nullptr;
inline const std::uint8_t* g_End = nullptr;

inline void Set(const std::uint8_t* data, std::size_t size) {
    g_Next = data;
    g_End = data + size;
}

inline std::uint8_t NextByte() {
    return g_Next == g_End ? std::uint8_t{0} : *g_Next++;
}

/// Mostly success, else one of the codes that callers treat in their own way, or any.
inline CK_RV NextCode() {
    static constexpr CK_RV CODES[] = {
        CKR_OPERATION_ACTIVE, CKR_USER_ALREADY_LOGGED_IN, CKR_USER_NOT_LOGGED_IN,     CKR_PIN_LEN_RANGE,
        CKR_BUFFER_TOO_SMALL, CKR_GENERAL_ERROR,          CKR_FUNCTION_NOT_SUPPORTED, CKR_DEVICE_REMOVED,
        CKR_FUNCTION_FAILED,  CKR_FUNCTION_CANCELED,      CKR_PIN_INCORRECT,          CKR_PIN_LOCKED};
    const std::uint8_t byte = NextByte();
    return byte < 0xE0 ? CKR_OK : (byte < 0xF8 ? CODES[byte % std::size(CODES)] : CK_RV{byte});
}

/// Mostly small, at times that of a certificate, at times beyond all reason.
inline CK_ULONG NextNumber() {
    const std::uint8_t byte = NextByte();
    if (byte < 0xD0) {
        return byte;
    }
    if (byte < 0xF0) {
        return (CK_ULONG{byte} - 0xD0) << 8 | NextByte();
    }
    return byte == 0xFF ? CK_UNAVAILABLE_INFORMATION : CK_ULONG{1} << (byte & 0x1F);
}

inline void Fill(void* out, CK_ULONG size) {
    auto* bytes = static_cast<std::uint8_t*>(out);
    std::generate(bytes, bytes + size, NextByte);
}

template <class Answer>
CK_RV Give(Answer* answer) {
    Fill(answer, sizeof *answer);
    return NextCode();
}

inline CK_RV Any(CK_BYTE* out, CK_ULONG* length) {
    const CK_ULONG wanted = NextNumber();
    if (out != nullptr) {
        Fill(out, std::min(wanted, *length));
    }
    *length = wanted;
    return NextCode();
}

inline CK_RV GetSlotList(CK_BBOOL /*present*/, CK_SLOT_ID* list, CK_ULONG* count) {
    const CK_ULONG wanted = NextNumber();
    for (CK_ULONG i = 0; list != nullptr && i < std::min(wanted, *count); ++i) {
        list[i] = NextByte();
    }
    *count = wanted;
    return NextCode();
}

inline CK_RV OpenSession(CK_SLOT_ID /*slot*/, CK_FLAGS /*flags*/, void* /*application*/, CK_NOTIFY /*notify*/,
                         CK_SESSION_HANDLE* session) {
    *session = NextByte();
    return NextCode();
}

inline CK_RV FindObjects(CK_SESSION_HANDLE /*session*/, CK_OBJECT_HANDLE* objects, CK_ULONG capacity,
                         CK_ULONG* count) {
    *count = NextNumber();
    for (CK_ULONG i = 0; i < std::min(*count, capacity); ++i) {
        objects[i] = NextByte();
    }
    return NextCode();
}

inline CK_RV GetAttributeValue(CK_SESSION_HANDLE /*session*/, CK_OBJECT_HANDLE /*object*/,
                               CK_ATTRIBUTE* attributes, CK_ULONG count) {
    for (CK_ULONG i = 0; i < count; ++i) {
        const CK_ULONG wanted = NextNumber();
        if (attributes[i].pValue != nullptr) {
            Fill(attributes[i].pValue, std::min(wanted, attributes[i].ulValueLen));
        }
        attributes[i].ulValueLen = wanted;
    }
    return NextCode();
}

inline CK_RV Sign(CK_SESSION_HANDLE /*session*/, CK_BYTE* /*data*/, CK_ULONG /*size*/, CK_BYTE* out,
                  CK_ULONG* length) {
    return Any(out, length);
}

} // namespace answers

#endif
