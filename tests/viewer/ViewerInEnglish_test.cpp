// SPDX-License-Identifier: MIT
// With the English catalogue the viewer says no German word: every word of it has a translation, and the
// window and the text of a certificate with everything in it are English throughout.
#include "app/I18N.h"

#include <fstream>
#include <set>

#include <wx/button.h>
#include <wx/notebook.h>

#include "tests/support/CertificateBuilder.h"
#include "tests/support/GuiTest.h"
#include "viewer/CertificateFrame.h"
#include "viewer/CertificateRows.h"
#include "viewer/CommandLine.h"
#include "viewer/LongText.h"
#include "viewer/VisibleText.h"

using testing::HasSubstr;
using testing::Not;

namespace {

/// The viewer's words in the template that stand on one line.
std::vector<std::string> Words() {
    std::ifstream file(ORSEL_TEMPLATE);
    std::vector<std::string> words;
    bool isOurs = false;
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, 2, "#:") == 0) {
            isOurs = line.find(" viewer/") != std::string::npos;
        } else if (isOurs && line.compare(0, 7, "msgid \"") == 0 && line != "msgid \"\"") {
            words.push_back(line.substr(7, line.size() - 8));
        }
    }
    return words;
}

bool IsAlikeInBoth(const std::string& word) {
    return std::set<std::string>{"Name", "Version", "Pseudonym", "Exponent"}.count(word) != 0;
}

void Collect(const wxWindow& window, std::string& texts) {
    texts += viewer::ToUtf8(window.GetLabel()) + "\n";
    if (const auto* pages = dynamic_cast<const wxNotebook*>(&window)) {
        for (size_t i = 0; i < pages->GetPageCount(); ++i) {
            texts += viewer::ToUtf8(pages->GetPageText(i)) + "\n";
        }
    }
    for (const wxWindow* child : window.GetChildren()) {
        Collect(*child, texts);
    }
}

CertificateBuilder WithManyRows() {
    CertificateBuilder builder;
    builder.Extension("basicConstraints", "critical,CA:TRUE,pathlen:1")
        .Extension("keyUsage", "digitalSignature,nonRepudiation")
        .Extension("extendedKeyUsage", "clientAuth")
        .Extension("subjectAltName", "email:e@b.example,URI:http://x.example/a")
        .Extension("subjectKeyIdentifier", "hash")
        .RawExtension("2.5.29.32", {0x30, 0x06, 0x30, 0x04, 0x06, 0x02, 0x2a, 0x03})
        .Extension("authorityInfoAccess", "OCSP;URI:http://ocsp.example")
        .Extension("crlDistributionPoints", "URI:http://crl.example/1.crl")
        .RawExtension("1.2.3.4", {});
    return builder;
}

} // namespace

TEST(TheViewerInEnglish, HasATranslationOfEveryWord) {
    const auto words = Words();
    EXPECT_GT(words.size(), 100U);
    for (const std::string& word : words) {
        EXPECT_EQ(Translate(word.c_str()) == Utf8(word.c_str()), IsAlikeInBoth(word)) << word;
    }
    EXPECT_THAT(viewer::ToUtf8(viewer::Usage()), testing::StartsWith("Usage: "));
}

TEST(TheViewerInEnglish, ShowsEnglishInTheWindow) {
    auto* frame = new CertificateFrame(nullptr, WithManyRows().Wrapped(), 1751371200);
    std::string texts;
    Collect(*frame, texts);
    frame->Destroy();
    for (const char* text : {"Erika Muster – Certificate\n", "\nValid for another 184 days\n", "\nDetails\n",
                             "\nIssued by: Muster Sign 01\n", "\nText and PEM\n",
                             "\nValid from 2016-01-01 12:00:00 UTC until 2026-01-01 12:00:00 UTC\n",
                             "\nCopy &row\n", "\nCopy &all\n", "\n&Save as...\n", "\n&Close\n"}) {
        EXPECT_THAT(texts, HasSubstr(text));
    }
}

TEST(TheViewerInEnglish, WritesEnglishText) {
    const std::string text = viewer::LongText(viewer::RowsOf(WithManyRows().Wrapped()));
    for (const char* line :
         {"Subject\n", "    Name (CN): Erika Muster\n", "    Valid until: 2026-01-01 12:00:00 UTC\n",
          "    Size: 2048 bits\n", "    Key usage: Digital signature, Non-repudiation\n",
          "    Certification authority – critical: yes, at most 1 further ones below\n",
          "    Alternative name: E-mail: e@b.example\n", "    1.2.3.4: without content\n"}) {
        EXPECT_THAT(text, HasSubstr(line));
    }
    for (const std::string& word : Words()) {
        if (!IsAlikeInBoth(word) && word != "Art" && word != "Ort") { // which also stand in English words
            EXPECT_THAT(text, Not(HasSubstr("    " + word + ":"))) << word;
        }
    }
}
