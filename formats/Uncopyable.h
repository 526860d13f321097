// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_UNCOPYABLE_H
#define ORSEL_FORMATS_UNCOPYABLE_H

namespace LibInfobox {

/// Forbids copies of what derives from it.
class Uncopyable {
public:
    Uncopyable(const Uncopyable&) = delete;
    Uncopyable& operator=(const Uncopyable&) = delete;

protected:
    Uncopyable() = default;
    virtual ~Uncopyable() = default;
};

} // namespace LibInfobox

#endif
