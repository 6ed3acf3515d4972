// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Desktop.h>
#include <KvxDevCommon01/platform/Thread.h>
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

constexpr unsigned int kAdd = 0x8001;
constexpr unsigned int kThrow = 0x8002;
constexpr unsigned int kUnknown = 0x8003;

/// Collects what it is sent; a thread of messages alone.
class Collector : public CWinThread {
public:
    explicit Collector(std::atomic<int>* deleted = nullptr) : deleted_(deleted) {}
    ~Collector() override {
        EndThread();
        if (deleted_ != nullptr) ++*deleted_;
    }

    BOOL InitInstance() override { return initResult; }
    int ExitInstance() override {
        ++exits;
        return exitCode = CWinThread::ExitInstance();
    }
    void Join() const { WaitUntilEnded(); }

    BOOL initResult = 1;
    std::vector<std::uintptr_t> values;
    std::atomic<int> exits = 0;
    int exitCode = -1;

protected:
    const MessageMap* GetMessageMap() const override {
        static const MessageEntry kEntries[] = {
            {kAdd, static_cast<MessageHandler>(&Collector::OnAdd)},
            {kThrow, static_cast<MessageHandler>(&Collector::OnThrow)},
        };
        static const MessageMap kMap = {GetThisMessageMap(), kEntries};
        return &kMap;
    }

private:
    void OnAdd(std::uintptr_t wParam, std::intptr_t lParam) {
        EXPECT_TRUE(IsCurrentThread());
        values.push_back(wParam + static_cast<std::uintptr_t>(lParam));
    }
    void OnThrow(std::uintptr_t, std::intptr_t) { throw std::runtime_error("handler"); }

    std::atomic<int>* deleted_;
};

class DesktopRecorder final : public kvx::Desktop {
public:
    bool SetDocumentTypeValue(const std::wstring&, const wchar_t*) override { return false; }
    bool CopyPictureToClipboard(CWnd&) override { return false; }
    void DispatchMessage(const MSG& message) override { dispatched.push_back(message.message); }

    std::vector<unsigned int> dispatched;
};

TEST(Thread, MessagesAreHandledInOrderUpToTheQuitMessage) {
    DesktopRecorder desktop;
    kvx::SetDesktop(&desktop);
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
    kvx::SetDesktop(nullptr);
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

TEST(Thread, AnExceptionEndsTheThreadAndWaitsForTheOwner) {
    Collector thread;
    ASSERT_EQ(thread.CreateThread(false), 1);
    thread.PostThreadMessage(kThrow, 0, 0);
    thread.Join();
    EXPECT_EQ(thread.exits, 1);
    ASSERT_NE(thread.GetFailure(), nullptr);
    EXPECT_THROW(std::rethrow_exception(thread.GetFailure()), std::runtime_error);
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

TEST(Thread, AnObjectThatDeletesItselfIsGoneWhenItsThreadEnds) {
    std::atomic<int> deleted = 0;
    auto* thread = new Collector(&deleted);
    thread->m_bAutoDelete = 1;
    ASSERT_EQ(thread->CreateThread(true), 1);
    thread->PostThreadMessage(kvx::kQuitMessage, 0, 0);
    EXPECT_EQ(deleted, 0);
    thread->ResumeThread();
    while (deleted == 0) std::this_thread::yield();
    EXPECT_EQ(deleted, 1);
}

TEST(Thread, DestroyingItEndsItInEveryState) {
    std::atomic<int> deleted = 0;
    { const Collector never(&deleted); }
    {
        Collector running(&deleted);
        ASSERT_EQ(running.CreateThread(false), 1);
    }
    {
        Collector held(&deleted);
        held.m_bAutoDelete = 1;  // the owner comes first here
        ASSERT_EQ(held.CreateThread(true), 1);
    }
    EXPECT_EQ(deleted, 3);
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
