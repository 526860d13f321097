// SPDX-License-Identifier: MIT
#include "bridge/CardReader.h"

#include <dlfcn.h>
#include <winscard.h>

#include "bridge/Serials.h"
#include "tokenlib/Refusal.h"

namespace orselbridge {

namespace {

using tokenlib::Refusal;

constexpr const char* SERVICE_LIBRARY = "libpcsclite.so.1";
constexpr std::size_t DESCRIPTION_SIZE = 64;
constexpr std::size_t LARGEST_RESPONSE = MAX_BUFFER_SIZE_EXTENDED;
constexpr DWORD PROTOCOLS = SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1;

/// A response may be longer than one answer; a card that never ends is stopped.
constexpr int MOST_PARTS = 256;

/// The functions of the service's library.
struct Service {
    decltype(&SCardEstablishContext) m_EstablishContext = nullptr;
    decltype(&SCardReleaseContext) m_ReleaseContext = nullptr;
    decltype(&SCardListReaders) m_ListReaders = nullptr;
    decltype(&SCardConnect) m_Connect = nullptr;
    decltype(&SCardReconnect) m_Reconnect = nullptr;
    decltype(&SCardDisconnect) m_Disconnect = nullptr;
    decltype(&SCardStatus) m_Status = nullptr;
    decltype(&SCardTransmit) m_Transmit = nullptr;

    bool m_IsComplete = false; ///< whether it is installed and has them all
};

template <class Function>
void Resolve(Service& service, void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    service.m_IsComplete &= function != nullptr;
}

/// Loaded once and never unloaded: the library keeps threads and locks of its own.
Service LoadService() {
    Service service;
    void* library = dlopen(SERVICE_LIBRARY, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (library == nullptr) {
        return service;
    }
    service.m_IsComplete = true;
    Resolve(service, library, "SCardEstablishContext", service.m_EstablishContext);
    Resolve(service, library, "SCardReleaseContext", service.m_ReleaseContext);
    Resolve(service, library, "SCardListReaders", service.m_ListReaders);
    Resolve(service, library, "SCardConnect", service.m_Connect);
    Resolve(service, library, "SCardReconnect", service.m_Reconnect);
    Resolve(service, library, "SCardDisconnect", service.m_Disconnect);
    Resolve(service, library, "SCardStatus", service.m_Status);
    Resolve(service, library, "SCardTransmit", service.m_Transmit);
    return service;
}

const Service& TheService() {
    static const Service service = LoadService();
    if (!service.m_IsComplete) {
        throw Refusal{CKR_FUNCTION_NOT_SUPPORTED};
    }
    return service;
}

/// The code for an error, which is none of success.
CK_RV CodeOf(LONG error) {
    switch (static_cast<unsigned long>(error) & 0xFFFFFFFFUL) {
    case static_cast<unsigned long>(SCARD_E_NO_SERVICE) & 0xFFFFFFFFUL:
    case static_cast<unsigned long>(SCARD_E_SERVICE_STOPPED) & 0xFFFFFFFFUL:
    case static_cast<unsigned long>(SCARD_E_NO_READERS_AVAILABLE) & 0xFFFFFFFFUL:
    case static_cast<unsigned long>(SCARD_E_UNKNOWN_READER) & 0xFFFFFFFFUL:
        return CKR_FUNCTION_NOT_SUPPORTED;
    case static_cast<unsigned long>(SCARD_E_NO_SMARTCARD) & 0xFFFFFFFFUL:
    case static_cast<unsigned long>(SCARD_W_UNPOWERED_CARD) & 0xFFFFFFFFUL:
        return CKR_TOKEN_NOT_PRESENT;
    case static_cast<unsigned long>(SCARD_W_REMOVED_CARD) & 0xFFFFFFFFUL:
        return CKR_DEVICE_REMOVED;
    default:
        return CKR_DEVICE_ERROR;
    }
}

void Check(LONG error) {
    if (error != SCARD_S_SUCCESS) {
        throw Refusal{CodeOf(error)};
    }
}

/// The names stand one behind the other, each with its zero byte, and an empty one ends them.
std::string ReaderOf(const Service& service, SCARDCONTEXT context, const std::string& description) {
    DWORD size = 0;
    Check(service.m_ListReaders(context, nullptr, nullptr, &size));
    std::string names(size, '\0');
    Check(service.m_ListReaders(context, nullptr, names.data(), &size));
    for (std::size_t start = 0; start < names.size() && names[start] != '\0';) {
        const std::string name = names.c_str() + start;
        const std::string cut = name.substr(0, DESCRIPTION_SIZE);
        if (cut.substr(0, cut.find_last_not_of(' ') + 1) == description) {
            return name;
        }
        start += name.size() + 1;
    }
    throw Refusal{CKR_FUNCTION_NOT_SUPPORTED};
}

} // namespace

struct CardReader::Connection {
    Connection() : m_Service(TheService()) {
        Check(m_Service.m_EstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &m_Context));
    }
    ~Connection() {
        if (m_IsConnected) {
            m_Service.m_Disconnect(m_Card, SCARD_LEAVE_CARD);
        }
        m_Service.m_ReleaseContext(m_Context);
    }
    Connection(const Connection&) = delete; // disconnects once
    Connection& operator=(const Connection&) = delete;

    const Service& m_Service;
    SCARDCONTEXT m_Context = 0;
    SCARDHANDLE m_Card = 0;
    DWORD m_Protocol = 0;
    bool m_IsConnected = false;
};

CardReader::CardReader(const std::string& slotDescription) : m_Connection(std::make_unique<Connection>()) {
    Connection& connection = *m_Connection;
    const std::string reader = ReaderOf(connection.m_Service, connection.m_Context, slotDescription);
    Check(connection.m_Service.m_Connect(connection.m_Context, reader.c_str(), SCARD_SHARE_SHARED, PROTOCOLS,
                                         &connection.m_Card, &connection.m_Protocol));
    connection.m_IsConnected = true;
}

CardReader::~CardReader() = default;

Bytes CardReader::Atr() const {
    Bytes atr(MAX_ATR_SIZE);
    DWORD size = static_cast<DWORD>(atr.size());
    DWORD nameSize = 0;
    DWORD state = 0;
    DWORD protocol = 0;
    Check(m_Connection->m_Service.m_Status(m_Connection->m_Card, nullptr, &nameSize, &state, &protocol,
                                           atr.data(), &size));
    if (size > atr.size()) {
        throw Refusal{CKR_DEVICE_ERROR};
    }
    atr.resize(size);
    return atr;
}

void CardReader::Reset() {
    Check(m_Connection->m_Service.m_Reconnect(m_Connection->m_Card, SCARD_SHARE_SHARED, PROTOCOLS,
                                              SCARD_RESET_CARD, &m_Connection->m_Protocol));
}

Bytes CardReader::TransmitOnce(const Bytes& apdu) const {
    SCARD_IO_REQUEST request = {m_Connection->m_Protocol, sizeof(SCARD_IO_REQUEST)};
    Bytes response(LARGEST_RESPONSE);
    DWORD size = static_cast<DWORD>(response.size());
    Check(m_Connection->m_Service.m_Transmit(m_Connection->m_Card, &request, apdu.data(),
                                             static_cast<DWORD>(apdu.size()), nullptr, response.data(),
                                             &size));
    if (size < 2 || size > response.size()) {
        throw Refusal{CKR_DEVICE_ERROR}; // no status word
    }
    response.resize(size);
    return response;
}

// ISO 7816-4: 6CXX wants the command again with this length, 61XX says that so much more can be fetched.
Bytes CardReader::Transmit(const Bytes& apdu) const {
    constexpr unsigned char WRONG_LENGTH = 0x6C;
    constexpr unsigned char MORE = 0x61;
    constexpr std::size_t SHORTEST_WITH_LENGTH = 5;
    constexpr unsigned char GET_RESPONSE = 0xC0;
    Bytes command = apdu;
    Bytes whole;
    for (int part = 0; part < MOST_PARTS; ++part) {
        const Bytes response = TransmitOnce(command);
        const unsigned char first = response[response.size() - 2];
        const unsigned char second = response.back();
        const bool isRepeatable = first == WRONG_LENGTH && command.size() >= SHORTEST_WITH_LENGTH;
        if (isRepeatable && command.back() != second) {
            command.back() = second;
            continue;
        }
        whole.insert(whole.end(), response.begin(), response.end());
        if (first != MORE) {
            return whole;
        }
        whole.resize(whole.size() - 2);
        command = {static_cast<unsigned char>(apdu[0] & 0x03), GET_RESPONSE, 0x00, 0x00, second};
    }
    throw Refusal{CKR_DEVICE_ERROR};
}

} // namespace orselbridge
