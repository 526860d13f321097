// SPDX-License-Identifier: MIT
// The command line beside other programs for tokens: whole processes by turns, on the same simulated deck of
// the ten demo cards. A ratio above 1 means that ours is faster.
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include "bench/Comparison.h"
#include "tests/support/SimDeck.h"

extern char** environ;

namespace {

constexpr int RUNS = 41;
constexpr int DEMO_CARDS = 10;
const std::string MODULE = std::string(SIMULATOR_DIRECTORY) + "/libOrselP11.so";

/// Runs a program to its end with its output thrown away; ends the comparison when it fails.
void Run(std::vector<std::string> line) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    std::vector<char*> words;
    for (std::string& word : line) {
        words.push_back(word.data());
    }
    words.push_back(nullptr);
    pid_t process = 0;
    int status = -1;
    const bool isStarted = posix_spawnp(&process, words[0], &actions, nullptr, words.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    if (!isStarted || waitpid(process, &status, 0) != process || status != 0) {
        std::fprintf(stderr, "%s failed\n", words[0]);
        std::exit(1);
    }
}

auto Running(std::vector<std::string> line) {
    return [line = std::move(line)] { Run(line); };
}

} // namespace

int main() {
    orseltest::SimDeck deck;
    deck.AddDemoCards();
    deck.AnswerPins({"1234"});
    unsetenv("ORSELSIM_TRACE");
    setenv("LD_LIBRARY_PATH", SIMULATOR_DIRECTORY, 1);
    const std::string file = deck.Folder() + "/text";
    std::ofstream(file) << "a text to be signed";
    const std::string ours = ORSELCARDS_CLI;

    PrintComparisonHead();
    Compare("list, pkcs11-tool", RUNS, Running({ours, "list"}),
            Running({"pkcs11-tool", "--module", MODULE, "--list-slots"}));
    Compare("list, p11tool", RUNS, Running({ours, "list"}),
            Running({"p11tool", "--provider", MODULE, "--list-tokens"}));
    const auto everySlot = [] { // the tool lists the objects of one slot at a time
        Run({"pkcs11-tool", "--module", MODULE, "--list-slots"});
        for (int slot = 0; slot < DEMO_CARDS; ++slot) {
            Run({"pkcs11-tool", "--module", MODULE, "--slot-index", std::to_string(slot), "--list-objects"});
        }
    };
    Compare("all that the list shows, pkcs11-tool --list-objects of each slot", RUNS, Running({ours, "list"}),
            everySlot);
    Compare("all that the list shows, p11tool --list-all", RUNS, Running({ours, "list"}),
            Running({"p11tool", "--provider", MODULE, "--list-all", "pkcs11:"}));
    Compare("certificate", RUNS, Running({ours, "certificate", "@1", "encryption", "--der"}),
            Running({"pkcs11-tool", "--module", MODULE, "--slot-index", "0", "--read-object", "--type",
                     "cert", "--label", "C.CH.EKEY"}));
    Compare("sign", RUNS, Running({ours, "sign", "@1", "encryption", file, "--hash", "sha256"}),
            Running({"pkcs11-tool", "--module", MODULE, "--slot-index", "0", "--sign", "--mechanism",
                     "SHA256-RSA-PKCS", "--id", "02", "--input-file", file, "--pin", "1234"}));
    return 0;
}
