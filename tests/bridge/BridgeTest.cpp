// SPDX-License-Identifier: MIT
#include "tests/bridge/BridgeTest.h"

#include <sstream>

namespace orseltest {

void BridgeTest::Start(const std::string& label) {
    m_Bridge.emplace();
    m_Session = m_Bridge->Open(SlotOf(label));
}

CK_SLOT_ID BridgeTest::SlotOf(const std::string& label) const {
    for (const CK_SLOT_ID slot : m_Bridge->Slots()) {
        if (Field(m_Bridge->TokenInfo(slot).label).compare(0, label.size(), label) == 0) {
            return slot;
        }
    }
    ADD_FAILURE() << "no token " << label;
    return 0;
}

Rv BridgeTest::SignInit(const std::string& label, CK_MECHANISM_TYPE mechanism) const {
    CK_MECHANISM wanted = {mechanism, nullptr, 0};
    return (*m_Bridge)->C_SignInit(m_Session, &wanted, m_Bridge->FindOne(m_Session, CKO_PRIVATE_KEY, label));
}

Rv BridgeTest::FinishSign(Bytes& signature, CK_ULONG room) const {
    signature.assign(room, 0);
    Bytes data = m_Data;
    CK_ULONG length = signature.size();
    const Rv result = (*m_Bridge)->C_Sign(m_Session, data.data(), data.size(), signature.data(), &length);
    signature.resize(result == Rv(CKR_OK) ? length : 0);
    return result;
}

Rv BridgeTest::Sign(const std::string& label, CK_MECHANISM_TYPE mechanism, Bytes& signature) const {
    const Rv begun = SignInit(label, mechanism);
    return begun == Rv(CKR_OK) ? FinishSign(signature) : begun;
}

Rv BridgeTest::Verify(const std::string& label, CK_MECHANISM_TYPE mechanism, const Bytes& signature) const {
    CK_MECHANISM wanted = {mechanism, nullptr, 0};
    const Rv begun =
        (*m_Bridge)->C_VerifyInit(m_Session, &wanted, m_Bridge->FindOne(m_Session, CKO_PUBLIC_KEY, label));
    Bytes data = m_Data;
    Bytes copy = signature;
    return begun == Rv(CKR_OK)
               ? Rv((*m_Bridge)->C_Verify(m_Session, data.data(), data.size(), copy.data(), copy.size()))
               : begun;
}

Rv BridgeTest::Command(CK_ATTRIBUTE_TYPE type) const {
    CK_BBOOL flag = CK_FALSE;
    CK_ATTRIBUTE attribute = {type, &flag, sizeof flag};
    const CK_OBJECT_HANDLE key = m_Bridge->FindOne(m_Session, CKO_PRIVATE_KEY, "SK.CH.SIG");
    return (*m_Bridge)->C_SetAttributeValue(m_Session, key, &attribute, 1);
}

std::size_t BridgeTest::CallsOf(const std::string& text) const {
    std::istringstream lines(ContentOf(m_Hsm.TraceFile()));
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line);) {
        count += line.find(" " + text) != std::string::npos ? 1 : 0;
    }
    return count;
}

} // namespace orseltest
