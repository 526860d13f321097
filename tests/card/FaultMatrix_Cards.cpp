// SPDX-License-Identifier: MIT
// Binding, slots, sessions, kinds of cards, PINs, raw commands and card numbers.
#include "foundation/Conversion.h"
#include "tests/card/FaultMatrix.h"

using namespace Velmor;

namespace {

using Context = MatrixContext;

std::string HexOf(const Bytes& bytes) {
    std::string text;
    BinData2HexStr(bytes, text);
    return text;
}

// --- Binding and slots -------------------------------------------------------------------------------------

void AddBinding(MatrixTable& table) {
    table.Add("Init").From(Stage::UNBOUND).Gives("true", "false").Runs([](Context& context) {
        context.m_Card = std::make_unique<ProbedCard>();
        return Text(ProbedCard::m_bInitialized);
    });
    table.Add("Destroy").From(Stage::BOUND).Gives("true", "true").Runs([](Context& context) {
        return Text(context.m_Card->Destroy());
    });
}

/// A token that cannot be queried is left out; more tokens than there is room for are not looked at.
void AddSlots(MatrixTable& table) {
    const std::map<std::string, std::string> leftOut = {
        {"C_GetTokenInfo", "true 0"}, {"C_GetSlotInfo", "true 0"}, {"C_GetSlotList length", "true 1"}};
    table.Add("GetSlots")
        .From(Stage::BOUND)
        .Gives("true 1", "false 0")
        .But(leftOut)
        .Runs([](Context& context) {
            std::vector<SlotStruct*> slots;
            const bool result = context.m_Card->GetSlots(slots);
            return Text(result, slots.size());
        });
    table.Add("GetSlotsWithEmptyCards")
        .From(Stage::BOUND)
        .Gives("true 1", "false 0")
        .But(leftOut)
        .Runs([](Context& context) {
            std::vector<SlotStruct*> slots;
            const bool result = context.m_Card->GetSlots(slots, true);
            return Text(result, slots.size());
        });
}

/// A second count that is absurd does no harm: the slot lies within the first.
template <typename Info>
std::string GetTokenInfo(Context& context) {
    Info info;
    info.m_Model = "unberührt";
    const bool result = context.m_Card->GetTokenInfo(0, info);
    return Text(result, info.m_Model);
}

void AddTokenInfo(MatrixTable& table) {
    const std::string model = "true ACOS EMV-A03    ";
    const std::map<std::string, std::string> secondCount = {{"C_GetSlotList#2 length", model}};
    table.Add("GetTokenInfo")
        .From(Stage::BOUND)
        .Gives(model, "false unberührt")
        .But(secondCount)
        .Runs(GetTokenInfo<TokenInfoStruct>);
    table.Add("GetTokenInfoWithClassification")
        .From(Stage::BOUND)
        .Gives(model, "false unberührt")
        .But(secondCount)
        .Runs(GetTokenInfo<TokenInfoStruct2>);
}

// --- Sessions ----------------------------------------------------------------------------------------------

template <typename Open>
std::string Opened(Context& context, Open open) {
    const bool result = open(*context.m_Card);
    return Text(result, context.m_Card->m_SlotIndex);
}

int SlotId(const ProbedCard& card) {
    return static_cast<int>(card.m_Slots[0]->m_SlotId);
}

void AddSessions(MatrixTable& table) {
    table.Add("OpenSession")
        .From(Stage::LISTED)
        .LeavesSessions(1, 0)
        .Gives("true 0", "false -1")
        .Runs([](Context& context) {
            return Opened(context, [](ProbedCard& card) { return card.OpenSession(0, true); });
        });
    table.Add("OpenSessionWithVectorIndex")
        .From(Stage::LISTED)
        .LeavesSessions(1, 0)
        .Gives("true 0", "false -1")
        .Runs([](Context& context) {
            return Opened(context, [](ProbedCard& card) { return card.OpenSessionWithVectorIndex(0, true); });
        });
    table.Add("OpenSessionWithSlotId")
        .From(Stage::LISTED)
        .LeavesSessions(1, 0)
        .Gives("true 0", "false -1")
        .Runs([](Context& context) {
            return Opened(context,
                          [](ProbedCard& card) { return card.OpenSessionWithSlotId(SlotId(card), false); });
        });
    table.Add("OpenSessionWithSlotIdForWriting")
        .LeavesSessions(1, 0)
        .Gives("true 0", "false -1")
        .But({{"C_CloseSession", "true 0"}})
        .Runs([](Context& context) {
            return Opened(context,
                          [](ProbedCard& card) { return card.OpenSessionWithSlotId(SlotId(card), true); });
        });
    table.Add("CloseSession").LeavesSessions(0, 0).Gives("true -1", "true -1").Runs([](Context& context) {
        return Opened(context, [](ProbedCard& card) { return card.CloseSession(); });
    });
}

// --- Kinds of cards ----------------------------------------------------------------------------------------

void AddIdentification(MatrixTable& table) {
    const std::string atr = "3BBD18008131FE458051024F5253454C2D3030303215";
    table.Add("ReadATR").On("ecard-g2").Gives(atr, "").Runs([](Context& context) {
        return context.m_Card->ReadATR(true);
    });
    table.Add("Reset").On("ecard-g2").Gives(atr, "").Runs([](Context& context) {
        return context.m_Card->Reset();
    });
    // Without its model an ACOS card counts as the oldest, without its ATR as unknown.
    table.Add("LoadCardType")
        .On("acos-a05")
        .Gives("true 6", "true 1")
        .But({{"C_CardAttribute", "false 0"}, {"C_GetSlotList#2 length", "true 6"}})
        .Runs([](Context& context) {
            context.m_Card->m_Atr.clear();
            const bool result = context.m_Card->LoadCardType();
            return Text(result, context.m_Card->m_CardType);
        });
    table.Add("GetCardType")
        .On("acos-a05")
        .Gives("6", "1")
        .But({{"C_CardAttribute", "0"}, {"C_GetSlotList#2 length", "6"}})
        .Runs([](Context& context) {
            context.m_Card->m_Atr.clear();
            context.m_Card->m_CardType = CARD_UNKNOWN;
            return std::to_string(context.m_Card->GetCardType());
        });
    table.Add("GetHashAlgorithm")
        .On("acos-a04")
        .Gives(std::to_string(HASH_SHA256), std::to_string(HASH_RIPEMD160))
        .But({{"C_CardAttribute", std::to_string(HASH_SHA256)},
              {"C_GetSlotList#2 length", std::to_string(HASH_SHA256)}})
        .Runs([](Context& context) {
            context.m_Card->m_Atr.clear();
            context.m_Card->m_CardType = CARD_UNKNOWN;
            return std::to_string(context.m_Card->GetHashAlgorithm(KEY_ECC));
        });
}

// --- PINs --------------------------------------------------------------------------------------------------

void AddPins(MatrixTable& table) {
    table.Add("ChangePIN").Asking({"123456", "654321", "654321"}).Gives("0", "-1").Runs([](Context& context) {
        return std::to_string(context.m_Card->ChangePIN(ApplSignature));
    });
    table.Add("UnblockPIN").Asking({"12345678", "4321", "4321"}).Gives("0", "-1").Runs([](Context& context) {
        return std::to_string(context.m_Card->UnblockPIN(ApplEncryption));
    });
    table.Add("GenericPINCommand")
        .Asking({"1234", "4321", "4321"})
        .Gives("0", "-1")
        .Runs([](Context& context) {
            return std::to_string(context.m_Card->GenericPINCommand(ApplIdentityLink, 0x200));
        });
    // The form with flags tells any failed write as a wrong PIN.
    table.Add("GenericPINCommandWithFlags")
        .Asking({"1234", "4321", "4321"})
        .Gives("0", "-1")
        .But({{"C_SetAttributeValue", "2"}})
        .Runs([](Context& context) {
            return std::to_string(context.m_Card->GenericPINCommand(ApplEncryption, 0x200, false, false));
        });
}

void AddPinStates(MatrixTable& table) {
    table.Add("InitPIN")
        .Asking({"654321", "654321"})
        .After([](Context& context) { context.m_Deck.UnsetPin(context.m_CardName, "signature"); })
        .Gives("0", "-1")
        .But({{"C_SetAttributeValue", "2"},
              {"C_CardAttribute", "-2"},
              {"C_GetSlotList", "0"}, // the oldest ACOS generation is one, too
              {"C_GetTokenInfo", "0"}})
        .Runs([](Context& context) {
            context.m_Card->m_Atr.clear();
            context.m_Card->m_CardType = CARD_UNKNOWN;
            context.m_Card->m_ClientVersion[0] = 2;
            return std::to_string(context.m_Card->InitPIN(ApplSignature));
        });
    // A failed query reads as a blocked PIN; one of an absurd length has written its byte.
    table.Add("GetPINStatus")
        .On("ecard-g2")
        .Gives("0 1 3", "-1 0 0")
        .But({{"C_CardAttribute CKR_FUNCTION_NOT_SUPPORTED", "-2 0 0"}, {"C_CardAttribute length", "-1 1 3"}})
        .Runs([](Context& context) {
            PINState state = PIN_STATE_UNKNOWN;
            int tries = 17;
            const int result = context.m_Card->GetPINStatus(ApplSignature, state, tries);
            return std::to_string(result) + " " + std::to_string(state) + " " + std::to_string(tries);
        });
}

// --- Raw commands and card numbers -------------------------------------------------------------------------

void AddCommands(MatrixTable& table) {
    table.Add("SendAPDU").Gives("true 9000", "false ").Runs([](Context& context) {
        Bytes response;
        const bool result = context.m_Card->SendAPDU({0x00, 0xA4, 0x00, 0x0C, 0x02, 0x3F, 0x00}, response);
        return Text(result, HexOf(response));
    });
    table.Add("SendAPDUOfBuffer").Gives("true 80040000", "false 00000000").Runs([](Context& context) {
        unsigned char apdu[] = {0x80, 0xF6, 0x00, 0x00, 0x08};
        unsigned char response[4] = {};
        unsigned long length = sizeof(response);
        const bool result = context.m_Card->SendAPDU(apdu, sizeof(apdu), response, length);
        return Text(result, HexOf(Bytes(response, response + sizeof(response))));
    });
    table.Add("SendAPDU_HEX").Gives("true 6986", "false ").Runs([](Context& context) {
        std::string response;
        const bool result = context.m_Card->SendAPDU_HEX("00B0000000", response);
        return Text(result, response);
    });
}

void AddChipIds(MatrixTable& table, const std::string& kind, const std::string& id) {
    const std::string name = kind == "cardos-53" ? "GetChipIdOfCardOs" : "GetChipIdOfAcos";
    table.Add(name).On(kind).Gives("true " + id, "false ").Runs([](Context& context) {
        Bytes binary = {0x77};
        const bool result = context.m_Card->GetChipId(binary);
        return Text(result, HexOf(binary));
    });
    table.Add(name + "AsText").On(kind).Gives("true " + id, "false unberührt").Runs([](Context& context) {
        std::string text = "unberührt";
        const bool result = context.m_Card->GetChipId(text);
        return Text(result, text);
    });
}

void AddNumbers(MatrixTable& table) {
    // What the ATR decides makes no difference to this card, so nobody minds its failure.
    table.Add("GetCinCsn")
        .On("ecard-g2")
        .Gives("true 8004000011112222", "false unberührt")
        .But({{"C_CardAttribute", "true 8004000011112222"}})
        .Runs([](Context& context) {
            std::string cin = "unberührt";
            const bool result = context.m_Card->GetCinCsn(cin);
            return Text(result, cin);
        });
    AddChipIds(table, "acos-a03", "8004000011112222");
    AddChipIds(table, "cardos-53", "5A0A80048004000011112222");
}

void AddSearchesForACard(MatrixTable& table) {
    table.Add("OpenSessionWithChipId")
        .LeavesSessions(1, 0)
        .Gives("true 0", "false -1")
        .But({{"C_CloseSession", "true 0"}, {"C_GetSlotList length", "true 0"}})
        .Runs([](Context& context) {
            const bool result = context.m_Card->OpenSessionWithChipId(context.m_Serial, true);
            return Text(result, context.m_Card->m_SlotIndex);
        });
    table.Add("findSlotForCin")
        .From(Stage::BOUND)
        .Gives("0", "-1")
        .But({{"C_GetSlotList length", "0"}})
        .Runs([](Context& context) {
            return std::to_string(context.m_Card->findSlotForCin(context.m_Serial));
        });
    table.Add("OpenGlobalSession")
        .From(Stage::BOUND)
        .LeavesSessions(1, 0)
        .Gives("true", "false")
        .But({{"C_GetSlotList length", "true"}})
        .Runs([](Context& context) {
            return Text(context.m_Card->OpenGlobalSession(context.m_Serial.substr(0, 12)));
        });
}

} // namespace

void AddCardOperations(MatrixTable& table) {
    AddBinding(table);
    AddSlots(table);
    AddTokenInfo(table);
    AddSessions(table);
    AddIdentification(table);
    AddPins(table);
    AddPinStates(table);
    AddCommands(table);
    AddNumbers(table);
    AddSearchesForACard(table);
}
