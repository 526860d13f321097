// SPDX-License-Identifier: MIT
#include "simulator/deck/CardKinds.h"

#include <algorithm>

namespace orselsim {

namespace {

constexpr const char* ACOS_LABEL = "Orsel Carta ACOS";
constexpr const char* E_CARD_LABEL = "Orsel Carta e-Card";

// Three chip generations answer with the same ATR and are told apart by their model.
constexpr const char* ACOS_ATR = "3BBF11008131FE454550414F5253454C2D412D30303031F6";

} // namespace

const std::vector<CardKind>& CardKinds() {
    constexpr std::nullopt_t NONE = std::nullopt;
    // name, label, model, ATR, encryption key, signature key, infobox, identity link, e-card, chip id, number
    // file
    static const std::vector<CardKind> kinds = {
        {"acos-a03", ACOS_LABEL, "ACOS EMV-A03", ACOS_ATR, KeyForm::RSA1536, KeyForm::P192, false, true,
         false, true, NumberFile::IN_DIRECTORY},
        {"acos-a04", ACOS_LABEL, "ACOS EMV-A04", ACOS_ATR, KeyForm::RSA1536, KeyForm::P256, true, true, false,
         true, NumberFile::IN_DIRECTORY},
        {"acos-a05", ACOS_LABEL, "ACOS EMV-A05", ACOS_ATR, KeyForm::RSA1536, KeyForm::P256, true, true, false,
         true, NumberFile::IN_DIRECTORY},
        {"ecard-g2", E_CARD_LABEL, "Starcos SPK 3.1", "3BBD18008131FE458051024F5253454C2D3030303215",
         KeyForm::P192, KeyForm::P192, false, true, true, false, NumberFile::IN_DIRECTORY},
        {"ecard-g3a", E_CARD_LABEL, "Starcos SPK 3.4", "3BDD96FF81B1FE451F038031B05202034F5253454C303335",
         KeyForm::RSA1536, KeyForm::P256, false, true, true, false, NumberFile::IN_DIRECTORY},
        {"ecard-g3b", E_CARD_LABEL, "Starcos SPK 3.4+", "3BDF18008131FE588031B05202046405C903AC73B7B1D422",
         KeyForm::RSA1536, KeyForm::P256, true, true, true, false, NumberFile::IN_DIRECTORY},
        {"ecard-g4", E_CARD_LABEL, "ATOS 5.3", "3BDF96008131FE458031B8534F5253454C2D4734739000E2",
         KeyForm::RSA2048, KeyForm::P256, true, true, true, false, NumberFile::IN_DIRECTORY},
        {"cardos-53", "Orsel Carta CardOS", "CardOS 5.3", "3BDF18008131FE588031905241016405C903AC73B7B1D444",
         KeyForm::RSA2048, KeyForm::P256, true, true, false, false, NumberFile::IN_ROOT},
        {"empty", ACOS_LABEL, "ACOS EMV-A04", ACOS_ATR, NONE, NONE, false, false, false, true,
         NumberFile::NONE},
        {"unknown", "Firmenausweis", "Firmencard 2", "3B6800004649524D412D3031", KeyForm::RSA2048,
         KeyForm::P256, false, false, false, false, NumberFile::NONE},
    };
    return kinds;
}

const CardKind* FindCardKind(const std::string& name) {
    const auto& kinds = CardKinds();
    const auto found =
        std::find_if(kinds.begin(), kinds.end(), [&](const CardKind& kind) { return name == kind.m_Name; });
    return found == kinds.end() ? nullptr : &*found;
}

} // namespace orselsim
