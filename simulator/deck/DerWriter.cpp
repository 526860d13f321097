// SPDX-License-Identifier: MIT
#include "simulator/deck/DerWriter.h"

namespace orselsim {

namespace der {

Bytes element(unsigned char tag, const Bytes& content) {
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

Bytes sequence(const Bytes& content) {
    return element(0x30, content);
}

Bytes integer(unsigned char value) {
    return element(0x02, {value});
}

Bytes utf8(const std::string& text) {
    return element(0x0C, bytesOf(text));
}

Bytes bitString(const Bytes& bits) {
    return element(0x03, Bytes{0} + bits);
}

Bytes context(unsigned char number, const Bytes& content) {
    return element(static_cast<unsigned char>(0xA0 | number), content);
}

} // namespace der

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

} // namespace orselsim
