// SPDX-License-Identifier: MIT
// One store of the configuration over the files of a test.
#ifndef ORSEL_TESTS_FOUNDATION_STOREFIXTURE_H
#define ORSEL_TESTS_FOUNDATION_STOREFIXTURE_H

#include <string>

#include "foundation/ConfigImpl_XML.h"
#include "tests/foundation/ConfigFixture.h"

inline Velmor::sConfig Row(const std::string& path, const std::string& key,
                           Velmor::ConfigType type = Velmor::CONFIG_TYPE_USER) {
    return {type, path, key, Velmor::SYS_TYPE_0};
}

inline Velmor::sConfig SystemRow(const std::string& path, const std::string& key) {
    return Row(path, key, Velmor::CONFIG_TYPE_SYSTEM);
}

/// What a store reads at a row, or a word that says that it reads nothing.
inline std::string TextAt(Velmor::ConfigImpl_XML& store, Velmor::sConfig row) {
    std::string text = "(nothing)";
    const bool found = store.GetString(&row, text);
    EXPECT_EQ(found, text != "(nothing)");
    return text;
}

/// An unopened store and files to open it on.
class AStore : public NoConfiguration {
protected:
    Velmor::ConfigImpl_XML& Opened() {
        EXPECT_TRUE(m_Store.Init("orselclient"));
        return m_Store;
    }
    /// Opened over a user's file of this content.
    Velmor::ConfigImpl_XML& OpenedOn(const std::string& content) {
        WriteUserFile(content);
        return Opened();
    }
    /// Opened over empty files that can be written.
    Velmor::ConfigImpl_XML& OpenedEmpty() {
        MakeUserDirectory();
        SystemConfig::MakeDirectory();
        return Opened();
    }

    Velmor::ConfigImpl_XML m_Store;
};

#endif
