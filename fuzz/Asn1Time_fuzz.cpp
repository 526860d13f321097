// SPDX-License-Identifier: MIT
// The first byte is the tag, the rest is the text of a time.
#include "formats/OpenSslHandle.h"
#include "formats/slCertificate.h"
#include "fuzz/FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    using TimeHandle = Velmor::OpenSslHandle<ASN1_STRING, ASN1_STRING_free>;
    const TimeHandle time(ASN1_STRING_type_new(data[0]));
    ASN1_STRING_set(time.get(), data + 1, static_cast<int>(size - 1));
    const std::time_t seconds = Velmor::ASN1_TIME_to_time_t(time.get());
    Require(data[0] == V_ASN1_UTCTIME || data[0] == V_ASN1_GENERALIZEDTIME || seconds == 0);
    Velmor::slCertificate().Asn1TimeToString(time.get());
    return 0;
}
