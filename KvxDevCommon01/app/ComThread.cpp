// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/app/ComThread.h>

#include <new>

#include <KvxDevCommon01/platform/Clock.h>

namespace {

constexpr std::uint32_t kReleasePollMs = 20;
constexpr std::uint32_t kStartPollMs = 100;
// How long ThreadWait rests when no message is there.
constexpr std::uint32_t kMessagePollMs = 1;

}  // namespace

CComThread::CComThread() = default;

CComThread::~CComThread() {
    EndThread();
}

const CRuntimeClass* CComThread::GetThisClass() {
    static const CRuntimeClass kClass = {"CComThread",
                                         []() -> CWinThread* { return new (std::nothrow) CComThread; },
                                         CWinThread::GetThisClass()};
    return &kClass;
}

const CRuntimeClass* CComThread::GetRuntimeClass() const {
    return GetThisClass();
}

int CComThread::ThreadInit() {
    if (!CreateThread(true)) return 0;
    SetThreadPriority(kvx::kPriorityIdle);
    return 1;
}

void CComThread::ThreadStart() {
    if (!HasThread() || !stopped_) return;
    stopped_ = 0;
    SetThreadPriority(kvx::kPriorityNormal);
    ResumeThread();
}

void CComThread::ThreadStop() {
    if (!HasThread() || stopped_) return;
    SuspendThread();
    SetThreadPriority(kvx::kPriorityIdle);
    stopped_ = 1;
}

void CComThread::ThreadRelease() {
    if (!HasThread()) return;
    // An object that deletes itself may be gone as soon as its thread can see the quit message: a stopped one
    // when it runs again, a running one at once.
    const bool deletesItself = m_bAutoDelete != 0;
    const bool isStopped = stopped_ != 0;
    const BOOL isPosted = PostThreadMessage(kvx::kQuitMessage, 0, 0);
    // Ending a thread, other than posting, needs no memory.
    if (!isPosted && !deletesItself) EndThread();
    if (isStopped) ThreadStart();
    if (deletesItself || IsCurrentThread()) return;
    while (!released_ && !HasEnded()) kvx::CurrentClock().Sleep(kReleasePollMs);
    WaitUntilEnded();
}

int CComThread::WaitThreadStart() {
    while (!running_ && !released_ && HasThread() && !HasEnded()) kvx::CurrentClock().Sleep(kStartPollMs);
    return running_;
}

int CComThread::DispachMessage(int all) {
    while (!quit_ && IsMessageWaiting()) {
        if (!PumpMessage()) quit_ = 1;
        if (!all) break;
    }
    return !quit_;
}

void CComThread::ThreadWait(std::uint32_t ms) {
    kvx::Clock& clock = kvx::CurrentClock();
    const std::uint32_t start = clock.Ticks32();
    while (clock.Ticks32() - start < ms) {
        if (!quit_ && IsMessageWaiting()) {
            DispachMessage(0);
        } else {
            clock.Sleep(kMessagePollMs);
        }
    }
}

BOOL CComThread::InitInstance() {
    return 1;
}

int CComThread::ExitInstance() {
    initialized_ = 1;
    released_ = 1;
    return CWinThread::ExitInstance();
}

int CComThread::Run() {
    DispachMessage(1);
    initialized_ = 1;
    running_ = 1;
    do {
        const int sleepMs = loopSleepMs_;
        if (sleepMs > 0) kvx::CurrentClock().Sleep(static_cast<std::uint32_t>(sleepMs));
        WaitWhileSuspended();
        if (!DispachMessage(1)) break;
        OneStepRun();
    } while (!quit_);
    return ExitInstance();
}

void CComThread::OneStepRun() {}

const CWinThread::MessageMap* CComThread::GetThisMessageMap() {
    static const MessageMap kMap = {CWinThread::GetThisMessageMap(), {}};
    return &kMap;
}

const CWinThread::MessageMap* CComThread::GetMessageMap() const {
    return GetThisMessageMap();
}
