// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_SIMULATOR_TOKEN_TOKENLIBRARY_H
#define ORSEL_TESTS_SIMULATOR_TOKEN_TOKENLIBRARY_H

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <p11-kit/pkcs11.h>

#include "simulator/store/Shared.h"
#include "tokenlib/Hex.h"

namespace orseltest {

using orselsim::Bytes;

/// A return code that a failing test prints by its name.
struct Rv {
    CK_RV m_Code;
    Rv(CK_RV value) : m_Code(value) {} // a plain code stands for itself
};
bool operator==(const Rv& a, const Rv& b);
std::ostream& operator<<(std::ostream& out, const Rv& rv);

/// The built token library, loaded by its path and initialised, behind calls without noise. A call
/// that a test does not expect to fail fails the test.
class TokenLibrary {
public:
    /// Loads the library; initialises it unless told otherwise.
    explicit TokenLibrary(bool initialise = true);
    ~TokenLibrary();                            ///< finalises and unloads
    TokenLibrary(const TokenLibrary&) = delete; // owns the loaded library
    TokenLibrary& operator=(const TokenLibrary&) = delete;

    /// The table of standard functions.
    CK_FUNCTION_LIST* operator->() const { return m_Functions; }

    /// An entry point by name; null when the library has none.
    void* Symbol(const char* name) const;

    std::vector<CK_SLOT_ID> Slots() const;
    CK_SESSION_HANDLE Open(CK_SLOT_ID slot, CK_FLAGS flags = CKF_SERIAL_SESSION) const;

    /// Opens a session on the first slot.
    CK_SESSION_HANDLE OpenFirst() const;

    /// Handles of all objects with this class, and this label where one is given.
    std::vector<CK_OBJECT_HANDLE> Find(CK_SESSION_HANDLE session, CK_OBJECT_CLASS objectClass,
                                       const std::optional<std::string>& label = std::nullopt) const;

    /// The one object with this class and label.
    CK_OBJECT_HANDLE FindOne(CK_SESSION_HANDLE session, CK_OBJECT_CLASS objectClass,
                             const std::string& label) const;

    /// Value of one attribute, read in two steps.
    Bytes Attribute(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) const;
    CK_ULONG NumberAttribute(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                             CK_ATTRIBUTE_TYPE type) const;

    Rv CardAttribute(CK_SESSION_HANDLE session, const char* name, Bytes& value) const;
    Rv Transmit(CK_SESSION_HANDLE session, const Bytes& apdu, Bytes& response) const;

    /// The response in hexadecimal, of a command in hexadecimal.
    std::string Transmit(CK_SESSION_HANDLE session, const std::string& apdu) const;

    CK_TOKEN_INFO TokenInfo(CK_SLOT_ID slot) const;

private:
    struct Closer {
        void operator()(void* library) const;
    };

    std::unique_ptr<void, Closer> m_Library;
    CK_FUNCTION_LIST* m_Functions = nullptr;
};

/// A fixed field of the standard, blanks and all.
template <std::size_t Size>
std::string Field(const unsigned char (&bytes)[Size]) {
    return std::string(bytes, bytes + Size);
}

/// One attribute of a template over memory that lives long enough.
CK_ATTRIBUTE AttributeOver(CK_ATTRIBUTE_TYPE type, Bytes& value);

} // namespace orseltest

#endif
