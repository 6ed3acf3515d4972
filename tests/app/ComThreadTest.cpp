// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/app/ComThread.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

#include "tests/support/FailingMemory.h"
#include "tests/support/TestClock.h"

namespace {

constexpr unsigned int kNote = 0x8001;

/// Counts its steps, notes its messages and may do something more in each step.
class Worker : public CComThread {
public:
    ~Worker() override {
        ThreadRelease();
        if (deleted != nullptr) ++*deleted;
    }

    void OneStepRun() override {
        ++steps;
        if (step) step();
    }
    /// Starts it and waits until something in its step has ended it.
    void RunToTheEnd() {
        ASSERT_EQ(ThreadInit(), 1);
        ThreadStart();
        WaitUntilEnded();
    }
    void WaitForStepsBeyond(int count) const {
        while (steps <= count && !IsRelease()) LetOthersRun();
    }

    std::atomic<int> steps = 0;
    std::vector<std::uintptr_t> notes;
    std::function<void()> step;
    std::atomic<int>* deleted = nullptr;

protected:
    const MessageMap* GetMessageMap() const override {
        static const MessageEntry kEntries[] = {{kNote, static_cast<MessageHandler>(&Worker::OnNote)}};
        static const MessageMap kMap = {GetThisMessageMap(), kEntries};
        return &kMap;
    }

private:
    void OnNote(std::uintptr_t wParam, std::intptr_t) { notes.push_back(wParam); }
};

class ComThread : public testing::Test {
protected:
    TestClock clock_;
};

TEST_F(ComThread, TheLoopSleepsBeforeEachStep) {
    for (const int sleepMs : {200, 7, 0, -1}) {
        Worker worker;
        std::vector<std::uint64_t> slept;
        worker.step = [&] {
            slept.push_back(clock_.slept);
            if (slept.size() == 4) worker.ThreadRelease();
        };
        if (sleepMs != 200) worker.SetLoopSleep(sleepMs);
        clock_.slept = 0;
        worker.RunToTheEnd();
        const auto pause = static_cast<std::uint64_t>(std::max(sleepMs, 0));
        EXPECT_EQ(slept, (std::vector<std::uint64_t>{pause, 2 * pause, 3 * pause, 4 * pause}));
    }
}

TEST_F(ComThread, AStoppedThreadFinishesItsStepAndBeginsNoOther) {
    Worker worker;
    std::atomic<bool> inStep = false;
    std::atomic<bool> mayLeave = false;
    worker.step = [&] {
        inStep = true;
        while (!mayLeave) LetOthersRun();
    };
    ASSERT_EQ(worker.ThreadInit(), 1);
    worker.ThreadStart();
    while (!inStep) LetOthersRun();
    worker.ThreadStop();
    EXPECT_EQ(worker.IsStoped(), 1);
    EXPECT_EQ(worker.steps, 1);
    const std::uint64_t slept = clock_.slept;
    mayLeave = true;
    // The sleep before the next step shows that the thread has come to the point where it is held.
    while (clock_.slept == slept) LetOthersRun();
    for (int i = 0; i < 100; ++i) LetOthersRun();
    EXPECT_EQ(worker.steps, 1);
    worker.ThreadStart();
    worker.WaitForStepsBeyond(1);
    EXPECT_GT(worker.steps, 1);
}

TEST_F(ComThread, ThreadsThatNeverRanAreReleasedWithoutAStep) {
    Worker never;
    never.ThreadStart();
    never.ThreadStop();
    never.ThreadRelease();
    EXPECT_EQ(never.WaitThreadStart(), 0);
    EXPECT_EQ(never.IsRelease(), 0);

    Worker stopped;
    ASSERT_EQ(stopped.ThreadInit(), 1);
    stopped.PostThreadMessage(kNote, 9, 0);
    EXPECT_EQ(stopped.DispachMessage(1), 1) << "the messages are not the owner's to handle";
    EXPECT_TRUE(stopped.notes.empty());
    stopped.ThreadRelease();
    EXPECT_EQ(stopped.IsRelease(), 1);
    EXPECT_EQ(stopped.steps, 0);
    EXPECT_EQ(stopped.notes, std::vector<std::uintptr_t>{9});
}

TEST_F(ComThread, AStepHandlesMessagesOneByOneOrAllAtOnce) {
    Worker worker;
    std::vector<std::size_t> noted;
    worker.step = [&] {
        for (const std::uintptr_t value : {1U, 2U, 3U, 4U}) worker.PostThreadMessage(kNote, value, 0);
        worker.PostThreadMessage(kvx::kQuitMessage, 0, 0);
        worker.PostThreadMessage(kNote, 5, 0);
        for (const int all : {0, 0, 1}) {
            noted.push_back(worker.notes.size());
            EXPECT_EQ(worker.DispachMessage(all), !all) << "the quit message is the last that is seen";
        }
        noted.push_back(worker.notes.size());
    };
    worker.RunToTheEnd();
    EXPECT_EQ(noted, (std::vector<std::size_t>{0, 1, 2, 4}));
    EXPECT_EQ(worker.steps, 1);
}

TEST_F(ComThread, ThreadWaitHandlesMessagesAcrossAWrapOfTheCounter) {
    clock_.ticks = 0xFFFFFF00;
    Worker worker;
    worker.SetLoopSleep(0);
    std::uint64_t waited = 0;
    worker.step = [&] {
        worker.PostThreadMessage(kNote, 1, 0);
        worker.PostThreadMessage(kNote, 2, 0);
        const std::uint64_t start = clock_.ticks;
        worker.ThreadWait(1000);
        waited = clock_.ticks - start;
        worker.ThreadRelease();
    };
    worker.RunToTheEnd();
    EXPECT_EQ(waited, 1000U);
    EXPECT_EQ(worker.notes, (std::vector<std::uintptr_t>{1, 2}));
}

TEST_F(ComThread, AnExceptionInAStepReleasesTheThread) {
    Worker worker;
    worker.step = [] { throw std::runtime_error("step"); };
    worker.RunToTheEnd();
    EXPECT_EQ(worker.IsRelease(), 1);
    EXPECT_THROW(std::rethrow_exception(worker.GetFailure()), std::runtime_error);
}

TEST_F(ComThread, AnObjectThatDeletesItselfIsReleasedWithoutWaiting) {
    std::atomic<int> deleted = 0;
    for (const bool started : {false, true}) {
        auto* worker = new Worker;
        worker->deleted = &deleted;
        worker->m_bAutoDelete = 1;
        ASSERT_EQ(worker->ThreadInit(), 1);
        if (started) {
            worker->ThreadStart();
            worker->WaitForStepsBeyond(0);
        }
        worker->ThreadRelease();
        while (deleted < (started ? 2 : 1)) LetOthersRun();
    }
}

TEST_F(ComThread, TheRunTimeClassCreatesThreads) {
    const CRuntimeClass* description = CComThread::GetThisClass();
    EXPECT_STREQ(description->m_lpszClassName, "CComThread");
    EXPECT_EQ(description->m_pBaseClass, CWinThread::GetThisClass());
    const std::unique_ptr<CWinThread> thread(description->CreateObject());
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(thread->GetRuntimeClass(), description);
    EXPECT_EQ(description->m_pBaseClass->CreateObject(), nullptr);
}

TEST_F(ComThread, AReleaseNeedsNoMemory) {
    CComThread thread;
    ASSERT_EQ(thread.ThreadInit(), 1);
    const FailingMemory none(0);
    while (thread.PostThreadMessage(kNote, 0, 0)) {
    }
    thread.ThreadRelease();
    EXPECT_EQ(thread.IsRelease(), 1);
}

TEST_F(ComThread, DestroyingItIsSafeInEveryState) {
    enum { kNever, kCreated, kStarted, kStopped, kReleased, kStates };
    for (int cycle = 0; cycle < 20 * kStates; ++cycle) {
        CComThread thread;
        const int state = cycle % kStates;
        if (state >= kCreated) thread.ThreadInit();
        if (state >= kStarted) thread.ThreadStart();
        if (state >= kStopped) thread.ThreadStop();
        if (state >= kReleased) thread.ThreadRelease();
    }
}

TEST_F(ComThread, AThousandCyclesFromCreationToReleaseRunThrough) {
    for (int cycle = 0; cycle < 1000; ++cycle) {
        Worker worker;
        ASSERT_EQ(worker.ThreadInit(), 1);
        ASSERT_EQ(worker.ThreadInit(), 0);
        ASSERT_EQ(worker.IsStoped(), 1);
        ASSERT_EQ(worker.IsInitialized() + worker.IsExcite() + worker.IsRelease(), 0);
        worker.ThreadStart();
        ASSERT_EQ(worker.IsStoped(), 0);
        ASSERT_EQ(worker.WaitThreadStart(), 1);
        ASSERT_EQ(worker.IsInitialized() + worker.IsExcite(), 2);
        worker.ThreadStop();
        worker.ThreadStart();
        worker.WaitForStepsBeyond(0);
        worker.ThreadRelease();
        ASSERT_EQ(worker.IsRelease(), 1);
        const int steps = worker.steps;
        ASSERT_GE(steps, 1);
        worker.ThreadStop();
        worker.ThreadStart();
        worker.ThreadRelease();
        ASSERT_EQ(worker.steps, steps) << "what has ended does not begin again";
    }
}

}  // namespace
