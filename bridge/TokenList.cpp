// SPDX-License-Identifier: MIT
#include "bridge/TokenList.h"

#include "bridge/Serials.h"
#include "tokenlib/Environment.h"
#include "tokenlib/Names.h"

namespace orselbridge {

namespace {

/// The words of one language.
struct Words {
    const char* m_Module;
    const char* m_NoTokens;
    const char* m_NoKeys;
    const char* m_NotOpened;
    const char* m_Signature;
    const char* m_Encryption;
    const char* m_Other;
    const char* m_Key;
    const char* m_Reasons[6]; ///< in the order of RoleReason
};

constexpr Words ENGLISH = {
    "Library: ",
    "There are no tokens.",
    "    no keys that may sign",
    "    cannot be opened: ",
    "    signature   ",
    "    encryption  ",
    "    no role     ",
    "id ",
    {"named by a setting", "asks for its PIN at each use", "its certificate is for non-repudiation",
     "the first key that may sign; nothing marks a signature key",
     "the first key that may sign beside the signature key", "the only key that may sign plays both roles"},
};

constexpr Words GERMAN = {
    "Bibliothek: ",
    "Es gibt keine Karten.",
    "    kein Schlüssel, der signieren darf",
    "    lässt sich nicht öffnen: ",
    "    Signatur      ",
    "    Geheimhaltung ",
    "    ohne Rolle    ",
    "Id ",
    {"in den Einstellungen genannt", "fragt bei jeder Verwendung nach der PIN",
     "sein Zertifikat ist für Nichtabstreitbarkeit",
     "der erste Schlüssel, der signieren darf; keiner ist als Signaturschlüssel erkennbar",
     "der erste Schlüssel neben dem Signaturschlüssel, der signieren darf",
     "der einzige Schlüssel, der signieren darf, hat beide Rollen"},
};

/// What a token says of itself may hold anything; a terminal is not to obey it.
std::string Printable(std::string text) {
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') {
            c = '?';
        }
    }
    return text;
}

class Printer {
public:
    Printer(Runtime& runtime, std::ostream& out, const Words& words)
        : m_Runtime(runtime), m_Out(out), m_Words(words) {}

    void PrintAll() {
        m_Out << m_Words.m_Module << m_Runtime.GetModule().File() << '\n';
        const std::vector<CK_SLOT_ID> slots = m_Runtime.Slots(true);
        if (slots.empty()) {
            m_Out << m_Words.m_NoTokens << '\n';
        }
        for (const CK_SLOT_ID slot : slots) {
            PrintToken(slot);
        }
    }

private:
    void PrintToken(CK_SLOT_ID slot) {
        try {
            const CK_TOKEN_INFO info = m_Runtime.TokenInfo(slot);
            m_Out << Printable(FieldText(info.label)) << ", " << Printable(FieldText(info.serialNumber))
                  << '\n';
            const CK_SESSION_HANDLE session = m_Runtime.OpenSession(slot, CKF_SERIAL_SESSION);
            PrintRoles(m_Runtime.ViewOf(m_Runtime.SessionOf(session)));
            m_Runtime.CloseSession(session);
        } catch (const Refusal& refusal) {
            m_Out << m_Words.m_NotOpened << tokenlib::ReturnName(refusal.m_Code) << '\n';
        }
    }

    void PrintRoles(const TokenView& view) {
        if (!view.m_Roles.m_Signature) {
            m_Out << m_Words.m_NoKeys << '\n';
            return;
        }
        PrintRole(view, m_Words.m_Signature, *view.m_Roles.m_Signature);
        PrintRole(view, m_Words.m_Encryption, *view.m_Roles.m_Encryption);
        for (std::size_t i = 0; i < view.m_Pairs.size(); ++i) {
            if (i != view.m_Roles.m_Signature->m_Pair && i != view.m_Roles.m_Encryption->m_Pair) {
                m_Out << m_Words.m_Other;
                PrintKey(view.m_Pairs[i]);
                m_Out << '\n';
            }
        }
    }

    void PrintRole(const TokenView& view, const char* name, const RoleChoice& choice) {
        m_Out << name;
        PrintKey(view.m_Pairs[choice.m_Pair]);
        m_Out << ": " << m_Words.m_Reasons[static_cast<int>(choice.m_Reason)] << '\n';
    }

    void PrintKey(const KeyPair& pair) {
        m_Out << '"' << Printable(pair.m_Label) << "\" (" << m_Words.m_Key << tokenlib::ToHex(pair.m_Id)
              << ')';
    }

    Runtime& m_Runtime;
    std::ostream& m_Out;
    const Words& m_Words;
};

} // namespace

bool IsGermanWanted() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const std::string locale = tokenlib::Variable(name);
        if (!locale.empty()) {
            return locale.compare(0, 2, "de") == 0;
        }
    }
    return false;
}

void PrintTokens(Runtime& runtime, std::ostream& out, bool inGerman) {
    Printer(runtime, out, inGerman ? GERMAN : ENGLISH).PrintAll();
}

} // namespace orselbridge
