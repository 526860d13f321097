// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_MODULE_H
#define ORSEL_BRIDGE_MODULE_H

#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "tokenlib/Pkcs11.h"
#include "tokenlib/Refusal.h"

namespace orselbridge {

using tokenlib::Refusal;

/// The library that the bridge leads to, loaded and initialised. It was written by somebody else:
/// an entry point may be missing, and whatever goes wrong inside is told in one line on standard
/// error, once for each function.
class Module {
public:
    /// Loads the first of these files that can be loaded and initialises it. Throws Refusal, after a
    /// line on standard error, when there is none, and when it has no function list or cannot be
    /// initialised.
    explicit Module(const std::vector<std::string>& files);
    ~Module();
    Module(const Module&) = delete; // owns the loaded library
    Module& operator=(const Module&) = delete;

    /// Ends the module's work, if it was begun here; the destructor does it otherwise.
    void Finalise();

    const std::string& File() const { return m_File; }

    /// Whether the module has this entry point at all.
    template <class Function>
    bool Has(Function CK_FUNCTION_LIST::*entry) const {
        return m_Functions.*entry != nullptr;
    }

    /// Calls an entry point; one that is missing answers CKR_FUNCTION_NOT_SUPPORTED.
    template <class Function, class... Arguments>
    CK_RV Call(Function CK_FUNCTION_LIST::*entry, Arguments... arguments) const {
        const Function function = m_Functions.*entry;
        const CK_RV code = function == nullptr ? CKR_FUNCTION_NOT_SUPPORTED : function(arguments...);
        if (IsBroken(code)) {
            Complain(reinterpret_cast<void*>(function), code);
        }
        return code;
    }

    /// The same; throws Refusal for any other code than CKR_OK.
    template <class Function, class... Arguments>
    void Do(Function CK_FUNCTION_LIST::*entry, Arguments... arguments) const {
        const CK_RV code = Call(entry, arguments...);
        if (code != CKR_OK) {
            throw Refusal{code};
        }
    }

    /// Throws Refusal, after a line on standard error, for an answer of the module beyond its room.
    void CheckLength(const char* function, CK_ULONG length, CK_ULONG capacity) const;

private:
    struct Unloader {
        void operator()(void* library) const;
    };
    using LibraryPtr = std::unique_ptr<void, Unloader>;

    static bool IsBroken(CK_RV code);
    void Complain(const void* function, CK_RV code) const;
    bool Load(const std::string& file, std::string& reason);
    void ReadFunctionList();
    void Initialise();
    void Say(const std::string& text) const;

    std::string m_File;
    LibraryPtr m_Library;
    CK_FUNCTION_LIST m_Functions = {};
    bool m_IsOurs = false;      ///< initialised here, so it is finalised here
    mutable std::mutex m_Mutex; ///< of the complaints: a call that waits for a card holds no other lock
    mutable std::set<const void*> m_Complained;
};

} // namespace orselbridge

#endif
