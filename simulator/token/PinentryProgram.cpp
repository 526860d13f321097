// SPDX-License-Identifier: MIT
#include "simulator/token/PinentryProgram.h"

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>
#include <vector>

#include <assuan.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include "simulator/store/Files.h"
#include "simulator/store/Hex.h"
#include "simulator/token/Refusal.h"

namespace orselsim {

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
        sigemptyset(&m_sigpipe);
        sigaddset(&m_sigpipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_sigpipe, &m_before);
    }
    ~SigpipeBlock() {
        const timespec noWait = {0, 0};
        if (sigismember(&m_before, SIGPIPE) == 0)
            sigtimedwait(&m_sigpipe, nullptr, &noWait); // takes one that came meanwhile
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }
    SigpipeBlock(const SigpipeBlock&) = delete; // restores once
    SigpipeBlock& operator=(const SigpipeBlock&) = delete;

private:
    sigset_t m_sigpipe = {};
    sigset_t m_before = {};
};

[[noreturn]] void fail(const std::string& reason) {
    std::cerr << "OrselP11: cannot ask for a PIN: " + reason + "\n";
    throw Refusal{CKR_DEVICE_ERROR};
}

/// libassuan does not search; empty when there is no such program.
std::string findInSearchPath(const std::string& program) {
    const char* searchPath = std::getenv("PATH");
    std::istringstream directories(searchPath == nullptr ? "" : searchPath);
    for (std::string directory; std::getline(directories, directory, ':');) {
        std::string path = joinPath(directory, program);
        if (!directory.empty() && access(path.c_str(), X_OK) == 0)
            return path;
    }
    return "";
}

ContextPtr startProgram() {
    const std::string path = findInSearchPath("pinentry");
    if (path.empty())
        fail("there is no program pinentry");
    assuan_context_t raw = nullptr;
    if (assuan_new(&raw) != 0)
        fail("no memory");
    ContextPtr context(raw);
    assuan_set_flag(raw, ASSUAN_NO_FIXSIGNALS, 1);
    const char* arguments[] = {"pinentry", nullptr};
    assuan_fd_t noInherited[] = {ASSUAN_INVALID_FD};
    const gpg_error_t error =
        assuan_pipe_connect(raw, path.c_str(), arguments, noInherited, nullptr, nullptr, 0);
    if (error != 0)
        fail(path + ": " + gpg_strerror(error));
    return context;
}

/// The protocol is one line a command.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '%' || static_cast<unsigned char>(c) < ' ')
            result += "%" + toHex({static_cast<unsigned char>(c)});
        else
            result += c;
    }
    return result;
}

gpg_error_t collectData(void* pin, const void* data, std::size_t size) {
    static_cast<std::string*>(pin)->append(static_cast<const char*>(data), size);
    return 0;
}

gpg_error_t noteStatus(void* isRepeated, const char* line) {
    if (std::strcmp(line, "PIN_REPEATED") == 0)
        *static_cast<bool*>(isRepeated) = true;
    return 0;
}

/// A command whose answer does not matter: not every pinentry knows every option.
void tell(const ContextPtr& context, const std::string& command) {
    assuan_transact(context.get(), command.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
}

void tellTerminal(const ContextPtr& context) {
    if (const char* terminal = ttyname(STDIN_FILENO))
        tell(context, std::string("OPTION ttyname=") + terminal);
    if (const char* type = std::getenv("TERM"))
        tell(context, std::string("OPTION ttytype=") + type);
    if (const char* locale = std::setlocale(LC_CTYPE, nullptr))
        tell(context, std::string("OPTION lc-ctype=") + locale);
}

void tellQuestion(const ContextPtr& context, const PinQuestion& question) {
    tell(context, "SETTITLE Orsel Kartenleser");
    tell(context, "SETDESC " + escaped(question.description));
    tell(context, "SETPROMPT " + escaped(question.prompt));
    if (!question.isNew)
        return;
    tell(context, "SETREPEAT Wiederholung:");
    tell(context, "SETREPEATERROR Die beiden Eingaben sind verschieden.");
}

bool isCancelled(gpg_error_t error) {
    const gpg_err_code_t code = gpg_err_code(error);
    return code == GPG_ERR_CANCELED || code == GPG_ERR_FULLY_CANCELED;
}

} // namespace

PinentryAnswer runPinentry(const PinQuestion& question) {
    const SigpipeBlock noSigpipe;
    const ContextPtr context = startProgram();
    tellTerminal(context);
    tellQuestion(context, question);

    PinentryAnswer answer;
    std::string pin;
    pin.reserve(256); // so that no part of it is left behind in memory that was given back
    assuan_begin_confidential(context.get()); // neither logged nor left in its buffers
    const gpg_error_t error = assuan_transact(context.get(), "GETPIN", collectData, &pin, nullptr, nullptr,
                                              noteStatus, &answer.isRepeated);
    Secret secret(std::move(pin)); // wiped on every road
    if (isCancelled(error))
        return answer;
    if (error != 0)
        fail(std::string("pinentry: ") + gpg_strerror(error));
    answer.pin = std::move(secret);
    return answer;
}

} // namespace orselsim
