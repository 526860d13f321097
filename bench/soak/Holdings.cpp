// SPDX-License-Identifier: MIT
#include "bench/soak/Holdings.h"

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

#include <malloc.h>
#include <unistd.h>

#include "bench/Comparison.h"
#include "card/tkPKCS11.h"

namespace fs = std::filesystem;
using Velmor::tkPKCS11;

namespace {

std::string Proc(pid_t process, const char* name) {
    return "/proc/" + std::to_string(process) + "/" + name;
}

long CountIn(const std::string& folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

std::atomic<long> g_Opened{0};
std::atomic<long> g_Closed{0};

CK_C_OpenSession g_Open = nullptr;
CK_C_CloseSession g_Close = nullptr;

CK_RV OpenCounted(CK_SLOT_ID slot, CK_FLAGS flags, void* application, CK_NOTIFY notify,
                  CK_SESSION_HANDLE* session) {
    const CK_RV result = g_Open(slot, flags, application, notify, session);
    g_Opened += result == CKR_OK ? 1 : 0;
    return result;
}

CK_RV CloseCounted(CK_SESSION_HANDLE session) {
    const CK_RV result = g_Close(session);
    g_Closed += result == CKR_OK ? 1 : 0;
    return result;
}

} // namespace

Holdings HoldingsOf(pid_t process) {
    Holdings now;
    std::ifstream pages(Proc(process, "statm"));
    double all = 0;
    pages >> all >> now.m_Resident;
    now.m_Resident *= static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
    now.m_Descriptors = CountIn(Proc(process, "fd"));
    now.m_Threads = CountIn(Proc(process, "task"));
    return now;
}

Holdings OwnHoldings() {
    malloc_trim(0);
    Holdings now = HoldingsOf(getpid());
    const struct mallinfo2 heap = mallinfo2();
    now.m_Heap = static_cast<double>(heap.uordblks + heap.hblkhd) / 1024;
    return now;
}

bool TellGrowth(const std::string& what, long rounds, const Holdings& before, const Holdings& after) {
    static bool isFirst = true;
    if (std::exchange(isFirst, false)) {
        PrintHead({"What", "Rounds", "Resident, then", "grown by", "Heap, then", "grown by", "Descriptors",
                   "Threads"});
    }
    const double resident = after.m_Resident - before.m_Resident;
    const double heap = after.m_Heap - before.m_Heap;
    PrintRow({what, std::to_string(rounds), Number(before.m_Resident, 0) + " kB", Number(resident, 0) + " kB",
              Number(before.m_Heap, 0) + " kB", Number(heap, 1) + " kB",
              std::to_string(before.m_Descriptors) + ", " + std::to_string(after.m_Descriptors),
              std::to_string(before.m_Threads) + ", " + std::to_string(after.m_Threads)});
    return resident < LIMIT_GROWTH && heap < LIMIT_GROWTH && before.m_Descriptors == after.m_Descriptors &&
           before.m_Threads == after.m_Threads;
}

void CountSessions() {
    if (tkPKCS11::Proc_C_OpenSession != &OpenCounted) {
        g_Open = std::exchange(tkPKCS11::Proc_C_OpenSession, &OpenCounted);
        g_Close = std::exchange(tkPKCS11::Proc_C_CloseSession, &CloseCounted);
    }
}

bool TellSessions() {
    std::printf("\nSessions: %ld opened, %ld closed\n", g_Opened.load(), g_Closed.load());
    std::fflush(stdout);
    return g_Opened > 0 && g_Opened == g_Closed;
}
