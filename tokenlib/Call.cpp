// SPDX-License-Identifier: MIT
#include "tokenlib/Call.h"

#include <cstring>
#include <new>
#include <thread>

#include "tokenlib/Files.h"
#include "tokenlib/Hex.h"
#include "tokenlib/Names.h"
#include "tokenlib/Refusal.h"

namespace tokenlib {

namespace {

/// A value that is a flag or a class or a text; of any other its size alone.
std::string ValueText(const CK_ATTRIBUTE& attribute) {
    std::string size = "[" + std::to_string(attribute.ulValueLen) + "]";
    if (attribute.pValue == nullptr) {
        return size;
    }
    if (attribute.type == CKA_CLASS && attribute.ulValueLen == sizeof(CK_OBJECT_CLASS)) {
        CK_OBJECT_CLASS objectClass = 0;
        std::memcpy(&objectClass, attribute.pValue, sizeof objectClass);
        return ":" + ClassName(objectClass);
    }
    const auto* bytes = static_cast<const unsigned char*>(attribute.pValue);
    if (attribute.type == CKA_LABEL) {
        return ":" + Trace::Encoded(std::string(bytes, bytes + attribute.ulValueLen));
    }
    if (attribute.ulValueLen == sizeof(CK_BBOOL) && attribute.type != CKA_VALUE) {
        return ":" + std::to_string(*bytes);
    }
    return size;
}

std::string ListOf(const CK_ATTRIBUTE* attributes, CK_ULONG count, bool withValues) {
    std::string list;
    for (CK_ULONG i = 0; attributes != nullptr && i < count; ++i) {
        list += (i == 0 ? "" : ",") + AttributeName(attributes[i].type);
        if (withValues) {
            list += ValueText(attributes[i]);
        }
    }
    return list;
}

} // namespace

Call::Call(const char* function) : m_Started(std::chrono::steady_clock::now()), m_Line(function) {
    m_Facts.m_Function = function;
}

Call& Call::Slot(CK_SLOT_ID id) {
    m_Facts.m_Slot = id;
    return Number("slot", id);
}

Call& Call::Session(CK_SESSION_HANDLE handle) {
    m_Session = handle;
    return Number("session", handle);
}

Call& Call::Number(const char* key, unsigned long value) {
    return Text(key, value == CK_UNAVAILABLE_INFORMATION ? "-1" : std::to_string(value));
}

Call& Call::Text(const char* key, const std::string& value) {
    m_Line += std::string(" ") + key + "=" + value;
    return *this;
}

Call& Call::Property(const char* name) {
    m_Facts.m_Name = name == nullptr ? "" : name;
    return Text("name", Trace::Encoded(m_Facts.m_Name));
}

// A command that verifies a PIN has the PIN in its data; only a SELECT's data is harmless for sure.
Call& Call::Command(const unsigned char* apdu, unsigned long size) {
    constexpr unsigned long HEADER = 4;
    constexpr unsigned char SELECT = 0xA4;
    if (apdu == nullptr) {
        return Text("apdu", "");
    }
    const bool isHarmless = size <= HEADER + 1 || apdu[1] == SELECT;
    const std::string shown = ToHex(Bytes(apdu, apdu + (isHarmless ? size : HEADER)));
    return Text("apdu", isHarmless ? shown : shown + "[" + std::to_string(size - HEADER) + "]");
}

Call& Call::Given(const CK_ATTRIBUTE* attributes, CK_ULONG count) {
    for (CK_ULONG i = 0; attributes != nullptr && i < count; ++i) {
        m_Facts.m_Attributes.push_back(attributes[i].type);
    }
    return Text("attributes", ListOf(attributes, count, true));
}

Call& Call::Asked(const CK_ATTRIBUTE* attributes, CK_ULONG count) {
    for (CK_ULONG i = 0; attributes != nullptr && i < count; ++i) {
        m_Facts.m_Attributes.push_back(attributes[i].type);
    }
    return Text("attributes", ListOf(attributes, count, false));
}

Call& Call::Slow() {
    m_IsSlow = true;
    return *this;
}

CK_RV Call::RunAny(const AnyBody& body) {
    m_Runtime = CurrentRuntime();
    if (!m_Runtime) {
        return CKR_CRYPTOKI_NOT_INITIALIZED;
    }
    Prepare();
    const CK_RV result = m_Fault.m_Result ? *m_Fault.m_Result : Perform(body);
    WriteTrace(result);
    return result;
}

CK_RV Call::RunFirst(const std::function<std::shared_ptr<Runtime>()>& start) {
    const CK_RV started = Guarded([&] { m_Runtime = start(); });
    if (started != CKR_OK) {
        m_Runtime = CurrentRuntime(); // of an earlier C_Initialize, if there was one
        if (m_Runtime) {
            WriteTrace(started);
        }
        return started;
    }
    Prepare();
    const CK_RV result = m_Fault.m_Result.value_or(CKR_OK);
    if (result != CKR_OK) {
        Guarded(StopRuntime); // planned to fail: the library stays as it was before the call
    }
    WriteTrace(result);
    return result;
}

CK_RV Call::RunLast(const std::function<void()>& stop) {
    m_Runtime = CurrentRuntime();
    if (!m_Runtime) {
        return CKR_CRYPTOKI_NOT_INITIALIZED;
    }
    Prepare();
    const CK_RV result = m_Fault.m_Result ? *m_Fault.m_Result : Guarded(stop);
    WriteTrace(result);
    return result;
}

// Everything that happens before the body: which slot, which fault, how long to wait.
void Call::Prepare() {
    unsigned long slowness = 0;
    {
        const std::lock_guard<std::mutex> lock(m_Runtime->GetMutex());
        const auto slot = m_Session != 0 ? m_Runtime->SlotIdOf(m_Session) : m_Facts.m_Slot;
        if (slot && !m_Facts.m_Slot) {
            this->Slot(*slot);
        }
        if (m_IsSlow && slot) {
            slowness = m_Runtime->DelayOf(*slot);
        }
    }
    m_Fault = m_Runtime->GetFaults().Meet(m_Facts);
    if (m_Fault.m_DelayMs + slowness > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(m_Fault.m_DelayMs + slowness));
    }
}

CK_RV Call::Perform(const AnyBody& body) {
    return Guarded([&] {
        std::unique_lock<std::mutex> lock(m_Runtime->GetMutex());
        if (m_Runtime->IsClosed()) {
            throw Refusal{CKR_CRYPTOKI_NOT_INITIALIZED};
        }
        m_Lock = &lock;
        body(*m_Runtime);
    });
}

CK_RV Call::Guarded(const std::function<void()>& work) {
    try {
        work();
        return CKR_OK;
    } catch (const Refusal& refusal) {
        return refusal.m_Code;
    } catch (const std::bad_alloc&) {
        return CKR_HOST_MEMORY;
    } catch (const FileError&) {
        return CKR_DEVICE_ERROR; // the card could not be written
    } catch (...) {
        return CKR_GENERAL_ERROR; // nothing may leave a C function
    }
}

void Call::WithoutLock(const std::function<void()>& work) {
    struct Relock { // also when the work throws: the body's own clean-up needs the lock
        std::unique_lock<std::mutex>& m_Lock;
        explicit Relock(std::unique_lock<std::mutex>& held) : m_Lock(held) { m_Lock.unlock(); }
        ~Relock() { m_Lock.lock(); }
    };
    {
        const Relock relock(*m_Lock);
        work();
    }
    if (m_Runtime->IsClosed()) {
        throw Refusal{CKR_CRYPTOKI_NOT_INITIALIZED};
    }
}

Secret Call::Ask(const PinQuestion& question) {
    std::optional<Secret> answer;
    WithoutLock([&] { answer = m_Runtime->GetPinEntry().Ask(question); });
    if (!answer) {
        throw Refusal{CKR_FUNCTION_CANCELED};
    }
    return std::move(*answer);
}

void Call::Bend(CK_ULONG& length) const {
    if (m_Fault.m_Length) {
        length = *m_Fault.m_Length;
    }
}

void Call::Bend(CK_ATTRIBUTE* attributes, CK_ULONG count) const {
    for (CK_ULONG i = 0; i < count; ++i) {
        if (!m_Fault.m_Only || *m_Fault.m_Only == attributes[i].type) {
            Bend(attributes[i].ulValueLen);
        }
    }
}

void Call::WriteTrace(CK_RV result) {
    if (!m_Runtime->GetTrace().IsOn()) {
        return;
    }
    const auto spent = std::chrono::steady_clock::now() - m_Started;
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(spent).count();
    m_Runtime->GetTrace().Write(m_Line + " rv=" + ReturnName(result) + " us=" + std::to_string(microseconds));
}

} // namespace tokenlib
