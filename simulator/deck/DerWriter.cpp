// SPDX-License-Identifier: MIT
#include "simulator/deck/DerWriter.h"

namespace orselsim {

namespace der {

Bytes Element(unsigned char tag, const Bytes& content) {
    const std::size_t size = content.size();
    Bytes result = {tag};
    if (size > 0xFF) {
        result.push_back(0x82);
        result.push_back(static_cast<unsigned char>(size >> 8));
    } else if (size > 0x7F) {
        result.push_back(0x81);
    }
    result.push_back(static_cast<unsigned char>(size & 0xFF));
    return result + content;
}

Bytes Sequence(const Bytes& content) {
    return Element(0x30, content);
}

Bytes Integer(unsigned char value) {
    return Element(0x02, {value});
}

Bytes Utf8(const std::string& text) {
    return Element(0x0C, BytesOf(text));
}

Bytes BitString(const Bytes& bits) {
    return Element(0x03, Bytes{0} + bits);
}

Bytes Context(unsigned char number, const Bytes& content) {
    return Element(static_cast<unsigned char>(0xA0 | number), content);
}

} // namespace der

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

} // namespace orselsim
