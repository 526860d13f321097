// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_XMLNESTING_H
#define ORSEL_FOUNDATION_XMLNESTING_H

#include <string>

namespace Velmor {

/// Whether elements of an XML text stand deeper in each other than so many levels. A parser that calls itself
/// for each level is asked only after this. Text that the parser will refuse may give either answer behind
/// the place where it does.
bool XmlNestsDeeperThan(int levels, const std::string& text);

} // namespace Velmor

#endif
