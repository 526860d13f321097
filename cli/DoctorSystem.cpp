// SPDX-License-Identifier: MIT
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <sstream>

#include <unistd.h>

#include "cli/Doctor.h"
#include "cli/Words.h"
#include "foundation/ConfigImpl_XML.h"
#include "foundation/FileAndDirectory.h"
#include "foundation/FileSystem.h"
#include "foundation/StringUtils.h"

namespace orselcli {

namespace {

namespace fs = std::filesystem;

constexpr const char* CONFIGURATION = "orselclient";
constexpr const char* READER_SERVICE = "/run/pcscd/pcscd.comm";

/// Path of a program on the search path; empty when it is not there.
std::string FindProgram(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::istringstream directories(path != nullptr ? path : "");
    for (std::string directory; std::getline(directories, directory, ':');) {
        const std::string candidate = (directory.empty() ? "." : directory) + "/" + name;
        std::error_code ignored;
        if (access(candidate.c_str(), X_OK) == 0 && fs::is_regular_file(candidate, ignored)) {
            return candidate;
        }
    }
    return "";
}

void ExaminePinentry(Findings& findings) {
    const std::string found = FindProgram("pinentry");
    if (found.empty()) {
        findings.push_back(
            {"pinentry", Health::WARNING,
             Tr("There is no pinentry: a token library that asks with it cannot ask for PINs."),
             Tr("Install pinentry-curses, or one for your desktop.")});
        return;
    }
    std::error_code failure;
    const fs::path meant = fs::canonical(found, failure);
    findings.push_back({"pinentry", Health::GOOD,
                        Filled(Tr("PINs can be asked for with {}."), {failure ? found : meant.string()}),
                        ""});
}

void ExamineViewer(Findings& findings) {
    const std::string found = FindProgram("certViewerApp");
    if (found.empty()) {
        findings.push_back({"viewer", Health::WARNING,
                            Tr("There is no certViewerApp: the window cannot show certificates."),
                            Tr("\"orselcards-cli certificate --text\" shows them here.")});
    } else {
        findings.push_back(
            {"viewer", Health::GOOD, Filled(Tr("Certificates are shown by {}."), {found}), ""});
    }
}

void ExamineConfiguration(const char* id, const std::string& path, const std::function<bool()>& parse,
                          Findings& findings) {
    std::error_code ignored;
    if (!fs::exists(path, ignored)) {
        findings.push_back(
            {id, Health::GOOD, Filled(Tr("There is no {}, which is as good as an empty one."), {path}), ""});
    } else if (access(path.c_str(), R_OK) != 0) {
        findings.push_back({id, Health::WARNING,
                            Filled(Tr("{} cannot be read: {}."), {path, std::strerror(errno)}),
                            Tr("Give yourself the right to read it; until then it counts as empty.")});
    } else if (!parse()) {
        findings.push_back({id, Health::WARNING, Filled(Tr("{} is no XML that can be parsed."), {path}),
                            Tr("Mend the file or remove it; until then it counts as empty.")});
    } else {
        findings.push_back({id, Health::GOOD, Filled(Tr("{} is read."), {path}), ""});
    }
}

void ExamineConfigurations(Findings& findings) {
    Velmor::ConfigImpl_XML store;
    store.Init(CONFIGURATION);
    const auto pathBelow = [](const std::string& base, const char* directory) {
        return Velmor::CombinePaths(
            Velmor::CombinePaths(Velmor::CombinePaths(base, directory), CONFIGURATION), "config");
    };
    ExamineConfiguration(
        "configuration-system", pathBelow(Velmor::GetAllUsersDir(), Velmor::VELMOR_PATH_SYS),
        [&store] { return store.read(Velmor::CONFIG_TYPE_SYSTEM); }, findings);
    if (Velmor::GetUserDir().empty()) {
        findings.push_back({"configuration-user", Health::WARNING,
                            Tr("HOME is not set, so you have no configuration."),
                            Tr("Set HOME to your home directory.")});
        return;
    }
    ExamineConfiguration(
        "configuration-user", pathBelow(Velmor::GetUserDir(), Velmor::VELMOR_PATH_USR),
        [&store] { return store.read(Velmor::CONFIG_TYPE_USER); }, findings);
}

/// The locale that the environment asks for.
std::string WantedLocale() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != '\0') {
            return value;
        }
    }
    return "C";
}

void ExamineLanguage(Findings& findings) {
    const std::string wanted = WantedLocale();
    const char* present = std::setlocale(LC_MESSAGES, nullptr);
    if (present == nullptr || wanted != present) {
        findings.push_back({"locale", Health::WARNING,
                            Filled(Tr("The locale {} is not installed."), {wanted}),
                            Tr("Make it with \"dpkg-reconfigure locales\", or choose another one in LANG.")});
    } else {
        findings.push_back({"locale", Health::GOOD, Filled(Tr("The locale is {}."), {wanted}), ""});
    }
    const std::string catalogue = CatalogueFile();
    const bool isGerman = Velmor::StartsWith(wanted, "de");
    if (!catalogue.empty()) {
        findings.push_back({"catalogue", Health::GOOD, Filled(Tr("Words come from {}."), {catalogue}), ""});
    } else if (isGerman) {
        findings.push_back({"catalogue", Health::WARNING,
                            Filled(Tr("There are no German words below {}."), {CatalogueDirectory()}),
                            Tr("Install the program's package anew, and the locale if it is missing.")});
    } else {
        findings.push_back(
            {"catalogue", Health::GOOD, Tr("Words are English, which needs no catalogue."), ""});
    }
}

void ExamineRights(Findings& findings) {
    const std::string temporary = Velmor::GetTempDir();
    if (access(temporary.c_str(), W_OK | X_OK) == 0) {
        findings.push_back(
            {"temporary-directory", Health::GOOD, Filled(Tr("{} can be written to."), {temporary}), ""});
    } else {
        findings.push_back({"temporary-directory", Health::WARNING,
                            Filled(Tr("{} cannot be written to: {}."), {temporary, std::strerror(errno)}),
                            Tr("Name a directory of your own in TMPDIR.")});
    }
    std::error_code ignored;
    if (!fs::exists(READER_SERVICE, ignored)) {
        findings.push_back(
            {"reader-service", Health::WARNING,
             Tr("The reader service (pcscd) is not running; a library for real readers may need it."),
             Tr("Install pcscd and start it with \"systemctl start pcscd.socket\".")});
    } else if (access(READER_SERVICE, R_OK | W_OK) != 0) {
        findings.push_back({"reader-service", Health::WARNING,
                            Filled(Tr("{} is closed to you: {}."), {READER_SERVICE, std::strerror(errno)}),
                            Tr("Ask the administrator for the right to use card readers.")});
    } else {
        findings.push_back({"reader-service", Health::GOOD, Tr("The reader service (pcscd) is there."), ""});
    }
}

} // namespace

void ExamineSystem(Findings& findings) {
    ExaminePinentry(findings);
    ExamineViewer(findings);
    ExamineConfigurations(findings);
    ExamineLanguage(findings);
    ExamineRights(findings);
}

} // namespace orselcli
