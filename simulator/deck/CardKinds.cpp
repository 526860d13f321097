// SPDX-License-Identifier: MIT
#include "simulator/deck/CardKinds.h"

#include <algorithm>

namespace orselsim {

namespace {

constexpr const char* acosLabel = "Orsel Carta ACOS";
constexpr const char* eCardLabel = "Orsel Carta e-Card";

// Three chip generations answer with the same ATR and are told apart by their model.
constexpr const char* acosAtr = "3BBF11008131FE454550414F5253454C2D412D30303031F6";

} // namespace

const std::vector<CardKind>& cardKinds() {
    constexpr std::nullopt_t none = std::nullopt;
    // name, label, model, ATR, encryption key, signature key, infobox, identity link, e-card, chip id, number
    // file
    static const std::vector<CardKind> kinds = {
        {"acos-a03", acosLabel, "ACOS EMV-A03", acosAtr, KeyForm::Rsa1536, KeyForm::P192, false, true, false,
         true, NumberFile::InDirectory},
        {"acos-a04", acosLabel, "ACOS EMV-A04", acosAtr, KeyForm::Rsa1536, KeyForm::P256, true, true, false,
         true, NumberFile::InDirectory},
        {"acos-a05", acosLabel, "ACOS EMV-A05", acosAtr, KeyForm::Rsa1536, KeyForm::P256, true, true, false,
         true, NumberFile::InDirectory},
        {"ecard-g2", eCardLabel, "Starcos SPK 3.1", "3BBD18008131FE458051024F5253454C2D3030303215",
         KeyForm::P192, KeyForm::P192, false, true, true, false, NumberFile::InDirectory},
        {"ecard-g3a", eCardLabel, "Starcos SPK 3.4", "3BDD96FF81B1FE451F038031B05202034F5253454C303335",
         KeyForm::Rsa1536, KeyForm::P256, false, true, true, false, NumberFile::InDirectory},
        {"ecard-g3b", eCardLabel, "Starcos SPK 3.4+", "3BDF18008131FE588031B05202046405C903AC73B7B1D422",
         KeyForm::Rsa1536, KeyForm::P256, true, true, true, false, NumberFile::InDirectory},
        {"ecard-g4", eCardLabel, "ATOS 5.3", "3BDF96008131FE458031B8534F5253454C2D4734739000E2",
         KeyForm::Rsa2048, KeyForm::P256, true, true, true, false, NumberFile::InDirectory},
        {"cardos-53", "Orsel Carta CardOS", "CardOS 5.3", "3BDF18008131FE588031905241016405C903AC73B7B1D444",
         KeyForm::Rsa2048, KeyForm::P256, true, true, false, false, NumberFile::InRoot},
        {"empty", acosLabel, "ACOS EMV-A04", acosAtr, none, none, false, false, false, true,
         NumberFile::None},
        {"unknown", "Firmenausweis", "Firmencard 2", "3B6800004649524D412D3031", KeyForm::Rsa2048,
         KeyForm::P256, false, false, false, false, NumberFile::None},
    };
    return kinds;
}

const CardKind* findCardKind(const std::string& name) {
    const auto& kinds = cardKinds();
    const auto found =
        std::find_if(kinds.begin(), kinds.end(), [&](const CardKind& kind) { return name == kind.name; });
    return found == kinds.end() ? nullptr : &*found;
}

} // namespace orselsim
