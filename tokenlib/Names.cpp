// SPDX-License-Identifier: MIT
#include "tokenlib/Names.h"

#include <charconv>
#include <cstdio>

namespace tokenlib {

namespace {

struct NamedNumber {
    unsigned long m_Number;
    const char* m_Name;
};

// The one way to have a constant's name and its number from the same token.
#define NAMED(constant)                                                                                      \
    { constant, #constant }

// clang-format off
constexpr NamedNumber RETURNS[] = {
    NAMED(CKR_OK),
    NAMED(CKR_CANCEL),
    NAMED(CKR_HOST_MEMORY),
    NAMED(CKR_SLOT_ID_INVALID),
    NAMED(CKR_GENERAL_ERROR),
    NAMED(CKR_FUNCTION_FAILED),
    NAMED(CKR_ARGUMENTS_BAD),
    NAMED(CKR_NO_EVENT),
    NAMED(CKR_NEED_TO_CREATE_THREADS),
    NAMED(CKR_CANT_LOCK),
    NAMED(CKR_ATTRIBUTE_READ_ONLY),
    NAMED(CKR_ATTRIBUTE_SENSITIVE),
    NAMED(CKR_ATTRIBUTE_TYPE_INVALID),
    NAMED(CKR_ATTRIBUTE_VALUE_INVALID),
    NAMED(CKR_DATA_INVALID),
    NAMED(CKR_DATA_LEN_RANGE),
    NAMED(CKR_DEVICE_ERROR),
    NAMED(CKR_DEVICE_MEMORY),
    NAMED(CKR_DEVICE_REMOVED),
    NAMED(CKR_ENCRYPTED_DATA_INVALID),
    NAMED(CKR_ENCRYPTED_DATA_LEN_RANGE),
    NAMED(CKR_FUNCTION_CANCELED),
    NAMED(CKR_FUNCTION_NOT_PARALLEL),
    NAMED(CKR_FUNCTION_NOT_SUPPORTED),
    NAMED(CKR_KEY_HANDLE_INVALID),
    NAMED(CKR_KEY_SIZE_RANGE),
    NAMED(CKR_KEY_TYPE_INCONSISTENT),
    NAMED(CKR_KEY_NOT_NEEDED),
    NAMED(CKR_KEY_CHANGED),
    NAMED(CKR_KEY_NEEDED),
    NAMED(CKR_KEY_INDIGESTIBLE),
    NAMED(CKR_KEY_FUNCTION_NOT_PERMITTED),
    NAMED(CKR_KEY_NOT_WRAPPABLE),
    NAMED(CKR_KEY_UNEXTRACTABLE),
    NAMED(CKR_MECHANISM_INVALID),
    NAMED(CKR_MECHANISM_PARAM_INVALID),
    NAMED(CKR_OBJECT_HANDLE_INVALID),
    NAMED(CKR_OPERATION_ACTIVE),
    NAMED(CKR_OPERATION_NOT_INITIALIZED),
    NAMED(CKR_PIN_INCORRECT),
    NAMED(CKR_PIN_INVALID),
    NAMED(CKR_PIN_LEN_RANGE),
    NAMED(CKR_PIN_EXPIRED),
    NAMED(CKR_PIN_LOCKED),
    NAMED(CKR_SESSION_CLOSED),
    NAMED(CKR_SESSION_COUNT),
    NAMED(CKR_SESSION_HANDLE_INVALID),
    NAMED(CKR_SESSION_PARALLEL_NOT_SUPPORTED),
    NAMED(CKR_SESSION_READ_ONLY),
    NAMED(CKR_SESSION_EXISTS),
    NAMED(CKR_SESSION_READ_ONLY_EXISTS),
    NAMED(CKR_SESSION_READ_WRITE_SO_EXISTS),
    NAMED(CKR_SIGNATURE_INVALID),
    NAMED(CKR_SIGNATURE_LEN_RANGE),
    NAMED(CKR_TEMPLATE_INCOMPLETE),
    NAMED(CKR_TEMPLATE_INCONSISTENT),
    NAMED(CKR_TOKEN_NOT_PRESENT),
    NAMED(CKR_TOKEN_NOT_RECOGNIZED),
    NAMED(CKR_TOKEN_WRITE_PROTECTED),
    NAMED(CKR_UNWRAPPING_KEY_HANDLE_INVALID),
    NAMED(CKR_UNWRAPPING_KEY_SIZE_RANGE),
    NAMED(CKR_UNWRAPPING_KEY_TYPE_INCONSISTENT),
    NAMED(CKR_USER_ALREADY_LOGGED_IN),
    NAMED(CKR_USER_NOT_LOGGED_IN),
    NAMED(CKR_USER_PIN_NOT_INITIALIZED),
    NAMED(CKR_USER_TYPE_INVALID),
    NAMED(CKR_USER_ANOTHER_ALREADY_LOGGED_IN),
    NAMED(CKR_USER_TOO_MANY_TYPES),
    NAMED(CKR_WRAPPED_KEY_INVALID),
    NAMED(CKR_WRAPPED_KEY_LEN_RANGE),
    NAMED(CKR_WRAPPING_KEY_HANDLE_INVALID),
    NAMED(CKR_WRAPPING_KEY_SIZE_RANGE),
    NAMED(CKR_WRAPPING_KEY_TYPE_INCONSISTENT),
    NAMED(CKR_RANDOM_SEED_NOT_SUPPORTED),
    NAMED(CKR_RANDOM_NO_RNG),
    NAMED(CKR_DOMAIN_PARAMS_INVALID),
    NAMED(CKR_BUFFER_TOO_SMALL),
    NAMED(CKR_SAVED_STATE_INVALID),
    NAMED(CKR_INFORMATION_SENSITIVE),
    NAMED(CKR_STATE_UNSAVEABLE),
    NAMED(CKR_CRYPTOKI_NOT_INITIALIZED),
    NAMED(CKR_CRYPTOKI_ALREADY_INITIALIZED),
    NAMED(CKR_MUTEX_BAD),
    NAMED(CKR_MUTEX_NOT_LOCKED),
    NAMED(CKR_NEW_PIN_MODE),
    NAMED(CKR_NEXT_OTP),
    NAMED(CKR_FUNCTION_REJECTED),
};

constexpr NamedNumber ATTRIBUTES[] = {
    NAMED(CKA_CLASS),
    NAMED(CKA_TOKEN),
    NAMED(CKA_PRIVATE),
    NAMED(CKA_LABEL),
    NAMED(CKA_APPLICATION),
    NAMED(CKA_VALUE),
    NAMED(CKA_OBJECT_ID),
    NAMED(CKA_CERTIFICATE_TYPE),
    NAMED(CKA_ISSUER),
    NAMED(CKA_SERIAL_NUMBER),
    NAMED(CKA_TRUSTED),
    NAMED(CKA_CERTIFICATE_CATEGORY),
    NAMED(CKA_CHECK_VALUE),
    NAMED(CKA_KEY_TYPE),
    NAMED(CKA_SUBJECT),
    NAMED(CKA_ID),
    NAMED(CKA_SENSITIVE),
    NAMED(CKA_ENCRYPT),
    NAMED(CKA_DECRYPT),
    NAMED(CKA_WRAP),
    NAMED(CKA_UNWRAP),
    NAMED(CKA_SIGN),
    NAMED(CKA_SIGN_RECOVER),
    NAMED(CKA_VERIFY),
    NAMED(CKA_VERIFY_RECOVER),
    NAMED(CKA_DERIVE),
    NAMED(CKA_START_DATE),
    NAMED(CKA_END_DATE),
    NAMED(CKA_MODULUS),
    NAMED(CKA_MODULUS_BITS),
    NAMED(CKA_PUBLIC_EXPONENT),
    NAMED(CKA_PRIVATE_EXPONENT),
    NAMED(CKA_PRIME_1),
    NAMED(CKA_PRIME_2),
    NAMED(CKA_EXPONENT_1),
    NAMED(CKA_EXPONENT_2),
    NAMED(CKA_COEFFICIENT),
    NAMED(CKA_EXTRACTABLE),
    NAMED(CKA_LOCAL),
    NAMED(CKA_NEVER_EXTRACTABLE),
    NAMED(CKA_ALWAYS_SENSITIVE),
    NAMED(CKA_KEY_GEN_MECHANISM),
    NAMED(CKA_MODIFIABLE),
    NAMED(CKA_EC_PARAMS),
    NAMED(CKA_EC_POINT),
    NAMED(CKA_ALWAYS_AUTHENTICATE),
};

constexpr NamedNumber CLASSES[] = {
    NAMED(CKO_DATA),
    NAMED(CKO_CERTIFICATE),
    NAMED(CKO_PUBLIC_KEY),
    NAMED(CKO_PRIVATE_KEY),
    NAMED(CKO_SECRET_KEY),
    NAMED(CKO_HW_FEATURE),
    NAMED(CKO_DOMAIN_PARAMETERS),
    NAMED(CKO_MECHANISM),
};

constexpr NamedNumber MECHANISMS[] = {
    NAMED(CKM_RSA_PKCS),
    NAMED(CKM_SHA1_RSA_PKCS),
    NAMED(CKM_RIPEMD160_RSA_PKCS),
    NAMED(CKM_SHA256_RSA_PKCS),
    NAMED(CKM_SHA384_RSA_PKCS),
    NAMED(CKM_SHA512_RSA_PKCS),
    NAMED(CKM_ECDSA),
    NAMED(CKM_ECDSA_SHA1),
};

// clang-format on

#undef NAMED

template <std::size_t Size>
std::string NameIn(const NamedNumber (&table)[Size], unsigned long number) {
    for (const NamedNumber& entry : table) {
        if (entry.m_Number == number) {
            return entry.m_Name;
        }
    }
    char text[2 + 2 * sizeof number + 1];
    std::snprintf(text, sizeof text, "0x%lx", number);
    return text;
}

template <std::size_t Size>
std::optional<unsigned long> NumberIn(const NamedNumber (&table)[Size], std::string_view name) {
    for (const NamedNumber& entry : table) {
        if (entry.m_Name == name) {
            return entry.m_Number;
        }
    }
    return NumberOf(name);
}

} // namespace

std::string ReturnName(CK_RV code) {
    return NameIn(RETURNS, code);
}
std::string AttributeName(CK_ATTRIBUTE_TYPE type) {
    return NameIn(ATTRIBUTES, type);
}
std::string ClassName(CK_OBJECT_CLASS objectClass) {
    return NameIn(CLASSES, objectClass);
}
std::string MechanismName(CK_MECHANISM_TYPE mechanism) {
    return NameIn(MECHANISMS, mechanism);
}

std::optional<CK_RV> ReturnByName(std::string_view name) {
    return NumberIn(RETURNS, name);
}
std::optional<CK_ATTRIBUTE_TYPE> AttributeByName(std::string_view name) {
    return NumberIn(ATTRIBUTES, name);
}

std::optional<unsigned long> NumberOf(std::string_view text) {
    const bool isHex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    if (isHex) {
        text.remove_prefix(2);
    }
    unsigned long number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, isHex ? 16 : 10);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return number;
}

} // namespace tokenlib
