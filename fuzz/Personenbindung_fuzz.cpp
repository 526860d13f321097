// SPDX-License-Identifier: MIT
#include "formats/Personenbindung.h"

#include "fuzz/FuzzInput.h"

namespace {

void ReadAll(const Velmor::Personenbindung& record) {
    record.getVersion();
    record.getAssertionID();
    record.getIssuerTemplate();
    record.getBaseId();
    record.getGivenName();
    record.getFamilyName();
    record.getDateOfBirth();
    record.getIssueInstant();
    Bytes signature(1024);
    Bytes digest(256);
    int length = 0;
    record.getSignatureValue(signature.data(), length);
    record.getReferenceDigest(digest.data(), length);
    record.getReferenceManifestDigest(digest.data(), length);
    record.getManifestReferenceDigest(digest.data(), length);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes exact(data, data + size);
    Velmor::Personenbindung record;
    record.parse(exact.data(), static_cast<int>(size));
    ReadAll(record);
    Bytes block = exact;
    block.resize(256);
    record._doPersonData(block.data());
    record._doCitizenPublicKey(block.data());
    ReadAll(record);
    return 0;
}
