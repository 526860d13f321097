// SPDX-License-Identifier: MIT
// A system that gives no thread.
#include "app/MainFrame.h"

#include <wx/log.h>
#include <wx/utils.h>

#include <cerrno>
#include <cstring>

#include <dlfcn.h>
#include <pthread.h>

#include "app/ControlIds.h"
#include "tests/app/ProbedFrame.h"
#include "tests/support/GuiTest.h"

namespace {

bool g_NoThreads = false;

/// Whether an address lies in one of the toolkit's libraries. What it stands on cannot do without threads.
bool IsOfTheToolkit(void* address) {
    Dl_info info = {};
    return dladdr(address, &info) != 0 && std::strstr(info.dli_fname, "/libwx_") != nullptr;
}

} // namespace

// This stands before the system's in the search of every library of this process, the toolkit's too.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                              void* argument) noexcept {
    using Create = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static auto* const create = reinterpret_cast<Create*>(dlsym(RTLD_NEXT, "pthread_create"));
    if (g_NoThreads && IsOfTheToolkit(__builtin_return_address(0))) {
        return EAGAIN;
    }
    return create(thread, attributes, start, argument);
}

TEST(ARefreshWithoutAThread, EndsWithTheBusyDialogOnTheScreenAndEveryCommandEnabled) {
    const FramePtr frame(new ProbedFrame);
    frame->Show(true);
    ASSERT_TRUE(RunUntil([&frame] {
        return !frame->m_startTimer.IsRunning() && frame->m_refreshThread == nullptr && frame->IsEnabled();
    }));
    {
        const wxLogNull silence; // the toolkit tells of it by itself
        g_NoThreads = true;
        wxCommandEvent click(wxEVT_BUTTON, ID_RELOAD);
        frame->button_reload->GetEventHandler()->ProcessEvent(click);
        g_NoThreads = false;
    }
    EXPECT_EQ(frame->m_refreshThread, nullptr);
    for (const wxWindow* command : frame->Commands()) {
        EXPECT_TRUE(command->IsThisEnabled());
    }
    EXPECT_TRUE(frame->IsThisEnabled());
    EXPECT_FALSE(wxIsBusy());
    EXPECT_TRUE(frame->m_pleaseWait.IsShown());
}
