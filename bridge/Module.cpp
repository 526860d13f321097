// SPDX-License-Identifier: MIT
#include "bridge/Module.h"

#include <iostream>
#include <utility>

#include <dlfcn.h>

#include "tokenlib/Names.h"

// A program that uses the bridge's parts without being the library has no entry points of its own.
#pragma weak C_GetFunctionList

namespace orselbridge {

namespace {

constexpr CK_BYTE OLDEST_VERSION = 2;

std::string LoaderError() {
    const char* error = dlerror();
    return error == nullptr ? "it cannot be loaded" : error;
}

/// What the loader calls a function, for a person to read.
std::string NameOf(const void* function) {
    Dl_info info = {};
    const bool isFound = dladdr(function, &info) != 0 && info.dli_sname != nullptr;
    return isFound ? info.dli_sname : "a function";
}

} // namespace

void Module::Unloader::operator()(void* library) const {
    dlclose(library);
}

Module::Module(const std::vector<std::string>& files) {
    std::string reasons;
    for (const std::string& file : files) {
        std::string reason;
        if (Load(file, reason)) {
            break;
        }
        reasons += (reasons.empty() ? "" : "; ") + reason;
    }
    if (!m_Library) {
        std::cerr << "OrselP11: no module: " + reasons + "\n";
        throw Refusal{CKR_GENERAL_ERROR};
    }
    ReadFunctionList();
    Initialise();
}

Module::~Module() {
    Finalise();
}

void Module::Finalise() {
    if (std::exchange(m_IsOurs, false)) {
        Call(&CK_FUNCTION_LIST::C_Finalize, static_cast<void*>(nullptr));
    }
}

// Not every library survives being unloaded: some leave threads or exit handlers behind.
bool Module::Load(const std::string& file, std::string& reason) {
    m_Library.reset(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE));
    if (!m_Library) {
        reason = LoaderError();
        return false;
    }
    m_File = file;
    return true;
}

void Module::ReadFunctionList() {
    // The table's type is that of every entry point's declaration.
    const auto getList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(m_Library.get(), "C_GetFunctionList"));
    if (getList == nullptr) {
        Say("it is no PKCS#11 library: it has no C_GetFunctionList");
        throw Refusal{CKR_GENERAL_ERROR};
    }
    if (getList == &C_GetFunctionList) {
        Say("the bridge cannot lead to itself");
        throw Refusal{CKR_GENERAL_ERROR};
    }
    CK_FUNCTION_LIST* list = nullptr;
    const CK_RV code = getList(&list);
    if (code != CKR_OK || list == nullptr) {
        Say("it gives no function list: " + tokenlib::ReturnName(code));
        throw Refusal{CKR_GENERAL_ERROR};
    }
    if (list->version.major < OLDEST_VERSION) {
        Say("its function list is of version " + std::to_string(list->version.major));
        throw Refusal{CKR_GENERAL_ERROR};
    }
    m_Functions = *list;
    if (m_Functions.C_Initialize == nullptr) {
        Say("its function list lacks C_Initialize");
        throw Refusal{CKR_GENERAL_ERROR};
    }
}

// The bridge calls from several threads, one at a time; a library that cannot lock is content with that.
void Module::Initialise() {
    CK_C_INITIALIZE_ARGS arguments = {};
    arguments.flags = CKF_OS_LOCKING_OK;
    CK_RV code = m_Functions.C_Initialize(&arguments);
    if (code == CKR_CANT_LOCK || code == CKR_ARGUMENTS_BAD || code == CKR_NEED_TO_CREATE_THREADS) {
        code = m_Functions.C_Initialize(nullptr);
    }
    m_IsOurs = code == CKR_OK;
    if (code != CKR_OK && code != CKR_CRYPTOKI_ALREADY_INITIALIZED) {
        Say("C_Initialize: " + tokenlib::ReturnName(code));
        throw Refusal{code};
    }
}

bool Module::IsBroken(CK_RV code) {
    return code == CKR_GENERAL_ERROR || code == CKR_HOST_MEMORY || code == CKR_FUNCTION_FAILED ||
           code == CKR_DEVICE_ERROR || code == CKR_DEVICE_MEMORY;
}

void Module::Complain(const void* function, CK_RV code) const {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    if (m_Complained.insert(function).second) {
        Say(NameOf(function) + ": " + tokenlib::ReturnName(code));
    }
}

void Module::CheckLength(const char* function, CK_ULONG length, CK_ULONG capacity) const {
    if (length > capacity) {
        Say(std::string(function) + ": a length of " + std::to_string(length) + " for a room of " +
            std::to_string(capacity));
        throw Refusal{CKR_DEVICE_ERROR};
    }
}

void Module::Say(const std::string& text) const {
    std::cerr << "OrselP11: " + m_File + ": " + text + "\n";
}

} // namespace orselbridge
