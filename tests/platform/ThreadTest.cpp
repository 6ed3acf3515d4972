// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Thread.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/support/DesktopRecorder.h"

namespace {

constexpr unsigned int kAdd = 0x8001;
constexpr unsigned int kUnknown = 0x8002;

/// Collects what it is sent; a thread of messages alone.
class Collector : public CWinThread {
public:
    ~Collector() override { EndThread(); }

    BOOL InitInstance() override { return initResult; }
    int ExitInstance() override {
        ++exits;
        return exitCode = CWinThread::ExitInstance();
    }
    void Join() const { WaitUntilEnded(); }

    BOOL initResult = 1;
    std::vector<std::uintptr_t> values;
    int exits = 0;
    int exitCode = -1;

protected:
    const MessageMap* GetMessageMap() const override {
        static const MessageEntry kEntries[] = {{kAdd, static_cast<MessageHandler>(&Collector::OnAdd)}};
        static const MessageMap kMap = {GetThisMessageMap(), kEntries};
        return &kMap;
    }

private:
    void OnAdd(std::uintptr_t wParam, std::intptr_t lParam) {
        EXPECT_TRUE(IsCurrentThread());
        values.push_back(wParam + static_cast<std::uintptr_t>(lParam));
    }
};

TEST(Thread, MessagesAreHandledInOrderUpToTheQuitMessage) {
    DesktopRecorder desktop;
    Collector thread;
    ASSERT_EQ(thread.CreateThread(true), 1);
    EXPECT_EQ(thread.PostThreadMessage(kAdd, 1, 10), 1);
    EXPECT_EQ(thread.PostThreadMessage(kvx::kIdleKickMessage, 0, 0), 1);
    EXPECT_EQ(thread.PostThreadMessage(kUnknown, 0, 0), 1);
    EXPECT_EQ(thread.PostThreadMessage(kAdd, 2, 20), 1);
    EXPECT_EQ(thread.PostThreadMessage(kvx::kQuitMessage, 5, 0), 1);
    EXPECT_EQ(thread.PostThreadMessage(kAdd, 3, 30), 1);
    thread.ResumeThread();
    thread.Join();
    EXPECT_EQ(thread.values, (std::vector<std::uintptr_t>{11, 22}));
    EXPECT_EQ(desktop.dispatched, std::vector<unsigned int>{kUnknown});
    EXPECT_EQ(thread.exitCode, 5);
    EXPECT_EQ(thread.exits, 1);
    EXPECT_EQ(thread.PostThreadMessage(kAdd, 4, 40), 0);
}

TEST(Thread, SuspensionsAreCountedAndTheLastResumeLetsItRun) {
    Collector thread;
    ASSERT_EQ(thread.CreateThread(true), 1);
    EXPECT_EQ(thread.SuspendThread(), 1U);
    EXPECT_EQ(thread.ResumeThread(), 2U);
    thread.PostThreadMessage(kvx::kQuitMessage, 0, 0);
    EXPECT_FALSE(thread.HasEnded());
    EXPECT_EQ(thread.ResumeThread(), 1U);
    thread.Join();
    EXPECT_TRUE(thread.HasEnded());
    EXPECT_EQ(thread.ResumeThread(), 0xFFFFFFFFU);
    EXPECT_EQ(thread.SuspendThread(), 0xFFFFFFFFU);
}

TEST(Thread, AnInstanceThatDoesNotInitialiseExitsAtOnce) {
    Collector thread;
    thread.initResult = 0;
    ASSERT_EQ(thread.CreateThread(false), 1);
    thread.Join();
    EXPECT_EQ(thread.exits, 1);
    EXPECT_EQ(thread.GetFailure(), nullptr);
}

TEST(Thread, AFullQueueRefusesMessagesButTakesOneQuit) {
    Collector thread;
    ASSERT_EQ(thread.CreateThread(true), 1);
    for (std::size_t i = 0; i < kvx::kMaxQueuedMessages; ++i)
        ASSERT_EQ(thread.PostThreadMessage(kAdd, i, 0), 1);
    EXPECT_EQ(thread.PostThreadMessage(kAdd, 0, 0), 0);
    EXPECT_EQ(thread.PostThreadMessage(kvx::kQuitMessage, 0, 0), 1);
    EXPECT_EQ(thread.PostThreadMessage(kvx::kQuitMessage, 0, 0), 0);
    thread.ResumeThread();
    thread.Join();
    EXPECT_EQ(thread.values.size(), kvx::kMaxQueuedMessages);
}

TEST(Thread, WithoutAThreadEverythingFails) {
    Collector thread;
    EXPECT_FALSE(thread.HasThread());
    EXPECT_EQ(thread.PostThreadMessage(kAdd, 0, 0), 0);
    EXPECT_EQ(thread.ResumeThread(), 0xFFFFFFFFU);
    EXPECT_EQ(thread.SetThreadPriority(kvx::kPriorityNormal), 0);
    EXPECT_EQ(thread.PumpMessage(), 0);
    ASSERT_EQ(thread.CreateThread(true), 1);
    EXPECT_EQ(thread.CreateThread(true), 0);
    EXPECT_EQ(thread.PumpMessage(), 0) << "the queue belongs to the other thread";
}

TEST(Thread, APriorityIsGrantedOrNotButNormalAlwaysIs) {
    Collector thread;
    ASSERT_EQ(thread.CreateThread(true), 1);
    EXPECT_EQ(thread.GetThreadPriority(), kvx::kPriorityNormal);
    const int isGranted = thread.SetThreadPriority(kvx::kPriorityIdle);
    EXPECT_EQ(thread.GetThreadPriority(), isGranted ? kvx::kPriorityIdle : kvx::kPriorityNormal);
    EXPECT_EQ(thread.SetThreadPriority(7), 0);
    EXPECT_EQ(thread.SetThreadPriority(kvx::kPriorityNormal), 1);
    EXPECT_EQ(thread.GetThreadPriority(), kvx::kPriorityNormal);
}

}  // namespace
