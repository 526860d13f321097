// SPDX-License-Identifier: MIT
#include "tokenlib/PinentryProgram.h"

#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>
#include <utility>
#include <vector>

#include <assuan.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include "tokenlib/Files.h"
#include "tokenlib/Hex.h"
#include "tokenlib/Refusal.h"

namespace tokenlib {

namespace {

struct ReleaseContext {
    void operator()(assuan_context_s* context) const { assuan_release(context); } // ends the program too
};
using ContextPtr = std::unique_ptr<assuan_context_s, ReleaseContext>;

/// Keeps this thread alive when pinentry dies in the middle of a command. The library's own way
/// would be to ignore the signal in the whole host program.
class SigpipeBlock {
public:
    SigpipeBlock() {
        sigemptyset(&m_Sigpipe);
        sigaddset(&m_Sigpipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_Sigpipe, &m_Before);
    }
    ~SigpipeBlock() {
        const timespec noWait = {0, 0};
        if (sigismember(&m_Before, SIGPIPE) == 0) {
            sigtimedwait(&m_Sigpipe, nullptr, &noWait); // takes one that came meanwhile
        }
        pthread_sigmask(SIG_SETMASK, &m_Before, nullptr);
    }
    SigpipeBlock(const SigpipeBlock&) = delete; // restores once
    SigpipeBlock& operator=(const SigpipeBlock&) = delete;

private:
    sigset_t m_Sigpipe = {};
    sigset_t m_Before = {};
};

[[noreturn]] void Fail(const std::string& reason) {
    std::cerr << "OrselP11: cannot ask for a PIN: " + reason + "\n";
    throw Refusal{CKR_DEVICE_ERROR};
}

/// libassuan does not search; empty when there is no such program.
std::string FindInSearchPath(const std::string& program) {
    const char* searchPath = std::getenv("PATH");
    std::istringstream directories(searchPath == nullptr ? "" : searchPath);
    for (std::string directory; std::getline(directories, directory, ':');) {
        std::string path = JoinPath(directory, program);
        if (!directory.empty() && access(path.c_str(), X_OK) == 0) {
            return path;
        }
    }
    return "";
}

ContextPtr StartProgram() {
    const std::string path = FindInSearchPath("pinentry");
    if (path.empty()) {
        Fail("there is no program pinentry");
    }
    assuan_context_t raw = nullptr;
    if (assuan_new(&raw) != 0) {
        Fail("no memory");
    }
    ContextPtr context(raw);
    assuan_set_flag(raw, ASSUAN_NO_FIXSIGNALS, 1);
    const char* arguments[] = {"pinentry", nullptr};
    assuan_fd_t noInherited[] = {ASSUAN_INVALID_FD};
    const gpg_error_t error =
        assuan_pipe_connect(raw, path.c_str(), arguments, noInherited, nullptr, nullptr, 0);
    if (error != 0) {
        Fail(path + ": " + gpg_strerror(error));
    }
    return context;
}

/// The protocol is one line a command.
std::string Escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '%' || static_cast<unsigned char>(c) < ' ') {
            result += "%" + ToHex({static_cast<unsigned char>(c)});
        } else {
            result += c;
        }
    }
    return result;
}

gpg_error_t CollectData(void* pin, const void* data, std::size_t size) {
    static_cast<std::string*>(pin)->append(static_cast<const char*>(data), size);
    return 0;
}

gpg_error_t NoteStatus(void* isRepeated, const char* line) {
    if (std::strcmp(line, "PIN_REPEATED") == 0) {
        *static_cast<bool*>(isRepeated) = true;
    }
    return 0;
}

/// A command whose answer does not matter: not every pinentry knows every option.
void Tell(const ContextPtr& context, const std::string& command) {
    assuan_transact(context.get(), command.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
}

void TellTerminal(const ContextPtr& context) {
    char terminal[PATH_MAX]; // ttyname() has one buffer for the whole host program
    if (ttyname_r(STDIN_FILENO, terminal, sizeof terminal) == 0) {
        Tell(context, std::string("OPTION ttyname=") + terminal);
    }
    if (const char* type = std::getenv("TERM")) {
        Tell(context, std::string("OPTION ttytype=") + type);
    }
    if (const char* locale = std::setlocale(LC_CTYPE, nullptr)) {
        Tell(context, std::string("OPTION lc-ctype=") + locale);
    }
}

void TellQuestion(const ContextPtr& context, const PinQuestion& question) {
    Tell(context, "SETTITLE Orsel Kartenleser");
    Tell(context, "SETDESC " + Escaped(question.m_Description));
    Tell(context, "SETPROMPT " + Escaped(question.m_Prompt));
    if (!question.m_IsNew) {
        return;
    }
    Tell(context, "SETREPEAT Wiederholung:");
    Tell(context, "SETREPEATERROR Die beiden Eingaben sind verschieden.");
}

bool IsCancelled(gpg_error_t error) {
    const gpg_err_code_t code = gpg_err_code(error);
    return code == GPG_ERR_CANCELED || code == GPG_ERR_FULLY_CANCELED;
}

} // namespace

PinentryAnswer RunPinentry(const PinQuestion& question) {
    const SigpipeBlock noSigpipe;
    const ContextPtr context = StartProgram();
    TellTerminal(context);
    TellQuestion(context, question);

    PinentryAnswer answer;
    std::string pin;
    pin.reserve(256); // so that no part of it is left behind in memory that was given back
    assuan_begin_confidential(context.get()); // neither logged nor left in its buffers
    const gpg_error_t error = assuan_transact(context.get(), "GETPIN", CollectData, &pin, nullptr, nullptr,
                                              NoteStatus, &answer.m_IsRepeated);
    Secret secret(std::move(pin)); // wiped on every road
    if (IsCancelled(error)) {
        return answer;
    }
    if (error != 0) {
        Fail(std::string("pinentry: ") + gpg_strerror(error));
    }
    answer.m_Pin = std::move(secret);
    return answer;
}

} // namespace tokenlib
