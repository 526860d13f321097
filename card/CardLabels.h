// SPDX-License-Identifier: MIT
#ifndef ORSEL_CARD_CARDLABELS_H
#define ORSEL_CARD_CARDLABELS_H

#include "formats/InfoboxFS.h"

/// Labels (CKA_LABEL) of the objects on a card.
namespace Velmor {

/// Of what belongs to one of the card's two keys.
struct KeyLabels {
    const char* m_PrivateKey;
    const char* m_PublicKey;
    const char* m_Certificate;
};

inline constexpr KeyLabels SIGNATURE_LABELS = {"SK.CH.SIG", "PK.CH.SIG", "C.CH.SIG"};
inline constexpr KeyLabels ENCRYPTION_LABELS = {"SK.CH.EKEY", "PK.CH.EKEY", "C.CH.EKEY"};

constexpr const KeyLabels& LabelsOf(bool isSignature) {
    return isSignature ? SIGNATURE_LABELS : ENCRYPTION_LABELS;
}

/// Of the data object that holds the identity link: it is called as in the container.
inline constexpr const char* IDENTITY_LINK_LABEL = LibInfobox::IDENTITY_LINK_LABEL;
/// Of the data object that holds the container.
inline constexpr const char* INFOBOX_LABEL = "INFOBOX";

} // namespace Velmor

#endif
