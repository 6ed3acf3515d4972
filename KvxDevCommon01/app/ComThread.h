// SPDX-License-Identifier: MIT
//
// CComThread: base of the suite's worker threads, a loop of fixed period that calls one virtual step. The
// owner creates it (ThreadInit, at rest), starts, stops and restarts it, and releases it at last; the thread
// itself calls DispachMessage and ThreadWait from its step. The state may be read from anywhere.
//
// A stopped thread rests in its loop between two turns, never inside one: a turn (the waiting messages, then
// the step) that is under way when ThreadStop is called is finished first, and no other begins before
// ThreadStart. An exception that leaves the step ends the thread as a quit message would; the owner finds it
// in GetFailure. An object stands for one thread and is not initialised a second time.
#pragma once

#include <atomic>
#include <cstdint>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Thread.h>

class KVX_API CComThread : public CWinThread {
public:
    CComThread();
    /// Ends the thread, whatever its state. A derived class whose step uses its own members calls
    /// ThreadRelease in its destructor, before they are gone.
    ~CComThread() override;

    static const CRuntimeClass* GetThisClass();
    const CRuntimeClass* GetRuntimeClass() const override;

    /// Milliseconds to sleep before each step, 200 unless set; none for 0 and below.
    void SetLoopSleep(int milliseconds) { loopSleepMs_ = milliseconds; }

    /// Creates the thread, stopped and at idle priority where the host grants that. 0 when the host refuses
    /// or the object has had its thread.
    int ThreadInit();
    /// Lets a stopped thread run, at normal priority. Without a thread, or when it runs, nothing happens; the
    /// same for ThreadStop when it is stopped.
    void ThreadStart();
    /// Holds the thread between two turns, at idle priority; does not wait for it to get there.
    void ThreadStop();
    /// Posts the quit message, lets a stopped thread run and waits, asking every 20 ms, until the thread has
    /// ended. It does not wait when the object deletes itself (the object may be gone then) or when the
    /// thread releases itself.
    void ThreadRelease();
    /// Waits, asking every 100 ms, until the thread has begun its loop or was released; needs ThreadStart. 1
    /// when it has begun the loop; 0 when it was released before that, has failed, or there is no thread.
    int WaitThreadStart();

    /// For the step: handles the waiting messages, or only one with `all` 0. Returns 1 until the quit message
    /// was seen, after which messages stay where they are.
    int DispachMessage(int all);
    /// For the step: handles messages as they come until `ms` milliseconds have passed, a quit message seen
    /// or not. On another thread it only waits.
    void ThreadWait(std::uint32_t ms);

    /// Whether the loop has begun, or the thread was released without it.
    int IsInitialized() const { return initialized_; }
    /// Whether the loop has begun. It stays so after the release.
    int IsExcite() const { return running_; }
    /// Whether the thread has left its loop for good.
    int IsRelease() const { return released_; }
    /// Whether the owner holds the thread: from the start, and from ThreadStop to ThreadStart.
    int IsStoped() const { return stopped_; }

    BOOL InitInstance() override;
    int ExitInstance() override;
    /// Handles what waits in the queue, then sleeps, handles messages and steps in turn until it sees the
    /// quit message. Messages are pumped as every CWinThread pumps them.
    int Run() override;
    /// The work of one period; empty here.
    virtual void OneStepRun();

protected:
    /// The messages that this class handles itself (none): the base of a derived class's map.
    static const MessageMap* GetThisMessageMap();
    const MessageMap* GetMessageMap() const override;

private:
    std::atomic<int> loopSleepMs_ = 200;
    std::atomic<int> initialized_ = 0;
    std::atomic<int> running_ = 0;
    std::atomic<int> released_ = 0;
    std::atomic<int> stopped_ = 1;
    std::atomic<int> quit_ = 0;
};
