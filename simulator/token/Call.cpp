// SPDX-License-Identifier: MIT
#include "simulator/token/Call.h"

#include <cstring>
#include <new>
#include <thread>

#include "simulator/store/Files.h"
#include "simulator/token/Names.h"
#include "simulator/token/Refusal.h"

namespace orselsim {

namespace {

/// A value that is a flag or a class or a text, as it is; of any other its size alone.
std::string valueText(const CK_ATTRIBUTE& attribute) {
    std::string size = "[" + std::to_string(attribute.ulValueLen) + "]";
    if (attribute.pValue == nullptr)
        return size;
    if (attribute.type == CKA_CLASS && attribute.ulValueLen == sizeof(CK_OBJECT_CLASS)) {
        CK_OBJECT_CLASS objectClass = 0;
        std::memcpy(&objectClass, attribute.pValue, sizeof objectClass);
        return ":" + className(objectClass);
    }
    const auto* bytes = static_cast<const unsigned char*>(attribute.pValue);
    if (attribute.type == CKA_LABEL)
        return ":" + Trace::encoded(std::string(bytes, bytes + attribute.ulValueLen));
    if (attribute.ulValueLen == sizeof(CK_BBOOL) && attribute.type != CKA_VALUE)
        return ":" + std::to_string(*bytes);
    return size;
}

std::string listOf(const CK_ATTRIBUTE* attributes, CK_ULONG count, bool withValues) {
    std::string list;
    for (CK_ULONG i = 0; attributes != nullptr && i < count; ++i) {
        list += (i == 0 ? "" : ",") + attributeName(attributes[i].type);
        if (withValues)
            list += valueText(attributes[i]);
    }
    return list;
}

} // namespace

Call::Call(const char* function) : m_started(std::chrono::steady_clock::now()), m_line(function) {
    m_facts.function = function;
}

Call& Call::slot(CK_SLOT_ID id) {
    m_facts.slot = id;
    return number("slot", id);
}

Call& Call::session(CK_SESSION_HANDLE handle) {
    m_session = handle;
    return number("session", handle);
}

Call& Call::number(const char* key, unsigned long value) {
    return text(key, value == CK_UNAVAILABLE_INFORMATION ? "-1" : std::to_string(value));
}

Call& Call::text(const char* key, const std::string& value) {
    m_line += std::string(" ") + key + "=" + value;
    return *this;
}

Call& Call::property(const char* name) {
    m_facts.name = name == nullptr ? "" : name;
    return text("name", Trace::encoded(m_facts.name));
}

Call& Call::given(const CK_ATTRIBUTE* attributes, CK_ULONG count) {
    for (CK_ULONG i = 0; attributes != nullptr && i < count; ++i)
        m_facts.attributes.push_back(attributes[i].type);
    return text("attributes", listOf(attributes, count, true));
}

Call& Call::asked(const CK_ATTRIBUTE* attributes, CK_ULONG count) {
    for (CK_ULONG i = 0; attributes != nullptr && i < count; ++i)
        m_facts.attributes.push_back(attributes[i].type);
    return text("attributes", listOf(attributes, count, false));
}

Call& Call::slow() {
    m_isSlow = true;
    return *this;
}

CK_RV Call::run(const Body& body) {
    m_runtime = currentRuntime();
    if (!m_runtime)
        return CKR_CRYPTOKI_NOT_INITIALIZED;
    prepare();
    const CK_RV result = m_fault.result ? *m_fault.result : perform(body);
    writeTrace(result);
    return result;
}

CK_RV Call::runFirst(const std::function<std::shared_ptr<Runtime>()>& start) {
    const CK_RV started = guarded([&] { m_runtime = start(); });
    if (started != CKR_OK) {
        m_runtime = currentRuntime(); // of an earlier C_Initialize, if there was one
        if (m_runtime)
            writeTrace(started);
        return started;
    }
    prepare();
    const CK_RV result = m_fault.result.value_or(CKR_OK);
    if (result != CKR_OK)
        guarded(stopRuntime); // planned to fail: the library stays as it was before the call
    writeTrace(result);
    return result;
}

CK_RV Call::runLast(const std::function<void()>& stop) {
    m_runtime = currentRuntime();
    if (!m_runtime)
        return CKR_CRYPTOKI_NOT_INITIALIZED;
    prepare();
    const CK_RV result = m_fault.result ? *m_fault.result : guarded(stop);
    writeTrace(result);
    return result;
}

// Everything that happens before the body: which slot, which fault, how long to wait.
void Call::prepare() {
    unsigned long cardDelay = 0;
    {
        const std::lock_guard<std::mutex> lock(m_runtime->mutex());
        Slot* slot = nullptr;
        if (m_session != 0)
            slot = m_runtime->slotOfSession(m_session);
        else if (m_facts.slot)
            slot = m_runtime->deck().find(*m_facts.slot);
        if (slot != nullptr && !m_facts.slot)
            this->slot(slot->id);
        if (m_isSlow && slot != nullptr && slot->card)
            cardDelay = slot->card->record().delayMs;
    }
    m_fault = m_runtime->faults().meet(m_facts);
    if (m_fault.delayMs + cardDelay > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(m_fault.delayMs + cardDelay));
}

CK_RV Call::perform(const Body& body) {
    return guarded([&] {
        std::unique_lock<std::mutex> lock(m_runtime->mutex());
        if (m_runtime->isClosed())
            throw Refusal{CKR_CRYPTOKI_NOT_INITIALIZED};
        m_lock = &lock;
        body(*m_runtime);
    });
}

CK_RV Call::guarded(const std::function<void()>& work) {
    try {
        work();
        return CKR_OK;
    } catch (const Refusal& refusal) {
        return refusal.code;
    } catch (const std::bad_alloc&) {
        return CKR_HOST_MEMORY;
    } catch (const FileError&) {
        return CKR_DEVICE_ERROR; // the card could not be written
    } catch (...) {
        return CKR_GENERAL_ERROR; // nothing may leave a C function
    }
}

void Call::withoutLock(const std::function<void()>& work) {
    struct Relock { // also when the work throws: the body's own clean-up needs the lock
        std::unique_lock<std::mutex>& lock;
        explicit Relock(std::unique_lock<std::mutex>& held) : lock(held) { lock.unlock(); }
        ~Relock() { lock.lock(); }
    };
    {
        const Relock relock(*m_lock);
        work();
    }
    if (m_runtime->isClosed())
        throw Refusal{CKR_CRYPTOKI_NOT_INITIALIZED};
}

void Call::bend(CK_ULONG& length) const {
    if (m_fault.length)
        length = *m_fault.length;
}

void Call::writeTrace(CK_RV result) {
    if (!m_runtime->trace().isOn())
        return;
    const auto spent = std::chrono::steady_clock::now() - m_started;
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(spent).count();
    m_runtime->trace().write(m_line + " rv=" + returnName(result) + " us=" + std::to_string(microseconds));
}

} // namespace orselsim
