// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Thread.h>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include <KvxDevCommon01/platform/Clock.h>
#include <KvxDevCommon01/platform/Desktop.h>

namespace {

struct PriorityRow {
    int priority;
    int nice;  // added to the nice value with which the thread was born
};

constexpr std::array<PriorityRow, 7> kPriorities = {{
    {kvx::kPriorityIdle, 19},
    {-2, 10},
    {-1, 5},
    {kvx::kPriorityNormal, 0},
    {1, -5},
    {2, -10},
    {15, -20},
}};

constexpr std::uint32_t kNoThread = 0xFFFFFFFF;

// The host counts every thread as a process of its own here.
int HostNice(pid_t thread) {
    return ::getpriority(PRIO_PROCESS, static_cast<id_t>(thread));
}

bool SetHostNice(pid_t thread, int nice) {
    return ::setpriority(PRIO_PROCESS, static_cast<id_t>(thread), nice) == 0;
}

}  // namespace

struct CWinThread::State {
    bool IsHeld() const { return suspendCount > 0 && !ending; }
    bool HasMessage() const { return !queue.empty() || ending; }

    std::mutex
        mutex;  // guards what follows; id, hostId and birthNice do not change once CreateThread returned
    std::condition_variable changed;
    std::thread thread;
    std::thread::id id;
    pid_t hostId = 0;
    int birthNice = 0;
    int priority = kvx::kPriorityNormal;
    std::uint32_t suspendCount = 0;
    std::deque<MSG> queue;
    bool ending = false;  // the owner waits for the end: a quit message follows the queue
    bool ended = false;
    int exitCode = 0;
    std::exception_ptr failure;
};

CWinThread::CWinThread() = default;

CWinThread::~CWinThread() {
    EndThread();
    if (state_ == nullptr || !state_->thread.joinable()) return;
    if (IsCurrentThread()) {
        state_->thread.detach();
    } else {
        state_->thread.join();
    }
}

const CRuntimeClass* CWinThread::GetThisClass() {
    static constexpr CRuntimeClass kClass = {"CWinThread", nullptr, nullptr};
    return &kClass;
}

const CRuntimeClass* CWinThread::GetRuntimeClass() const {
    return GetThisClass();
}

int CWinThread::CreateThread(bool suspended) {
    if (state_ != nullptr) return 0;
    try {
        // A copy of its own: an object that deletes itself may be gone before this returns.
        const auto state = std::make_shared<State>();
        state_ = state;
        state->suspendCount = suspended ? 1 : 0;
        std::unique_lock lock(state->mutex);
        state->thread = std::thread(&CWinThread::Main, this);
        state->changed.wait(lock, [&] { return state->hostId != 0; });
        return 1;
    } catch (const std::exception&) {
        state_ = nullptr;
        return 0;
    }
}

void CWinThread::Main() {
    const std::shared_ptr<State> state = state_;
    {
        const std::lock_guard lock(state->mutex);
        state->id = std::this_thread::get_id();
        state->hostId = ::gettid();
        state->birthNice = HostNice(state->hostId);
        state->changed.notify_all();
    }
    WaitWhileSuspended();
    try {
        if (InitInstance()) {
            Run();
        } else {
            ExitInstance();
        }
    } catch (...) {
        {
            const std::lock_guard lock(state->mutex);
            state->failure = std::current_exception();
        }
        try {
            ExitInstance();
        } catch (...) {
            // The first exception is the cause, and it is kept.
        }
    }
    // A held thread does not end: its owner may be about to let it run.
    WaitWhileSuspended();
    std::unique_lock lock(state->mutex);
    if (m_bAutoDelete && !state->ending) {
        lock.unlock();
        delete this;
        lock.lock();
    }
    state->ended = true;
    state->changed.notify_all();
}

std::uint32_t CWinThread::SuspendThread() {
    if (state_ == nullptr) return kNoThread;
    const std::lock_guard lock(state_->mutex);
    return state_->ended ? kNoThread : state_->suspendCount++;
}

std::uint32_t CWinThread::ResumeThread() {
    // A copy of its own: an object that deletes itself may be gone once its thread runs.
    const std::shared_ptr<State> state = state_;
    if (state == nullptr) return kNoThread;
    const std::lock_guard lock(state->mutex);
    if (state->ended) return kNoThread;
    if (state->suspendCount == 0) return 0;
    state->changed.notify_all();
    return state->suspendCount--;
}

int CWinThread::SetThreadPriority(int priority) {
    const auto* row = std::ranges::find(kPriorities, priority, &PriorityRow::priority);
    if (row == kPriorities.end() || state_ == nullptr) return 0;
    const std::lock_guard lock(state_->mutex);
    if (state_->ended) return 0;
    const int now = HostNice(state_->hostId);
    const int wanted = std::clamp(state_->birthNice + row->nice, -20, 19);
    // A host may let a thread sink and not let it rise again. Whether it may rise shows in trying.
    if (wanted > now && !SetHostNice(state_->hostId, now - 1)) return 0;
    if (!SetHostNice(state_->hostId, wanted)) return 0;
    state_->priority = priority;
    return 1;
}

int CWinThread::GetThreadPriority() const {
    if (state_ == nullptr) return kvx::kPriorityNormal;
    const std::lock_guard lock(state_->mutex);
    return state_->priority;
}

BOOL CWinThread::PostThreadMessage(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam) {
    const std::shared_ptr<State> state = state_;  // as in ResumeThread
    if (state == nullptr) return 0;
    const std::uint32_t now = kvx::CurrentClock().Ticks32();
    const std::lock_guard lock(state->mutex);
    std::deque<MSG>& queue = state->queue;
    if (state->ended) return 0;
    if (queue.size() >= kvx::kMaxQueuedMessages) {
        const bool isFirstQuit = message == kvx::kQuitMessage && queue.back().message != kvx::kQuitMessage;
        if (!isFirstQuit) return 0;
    }
    try {
        queue.push_back({nullptr, message, wParam, lParam, now});
    } catch (const std::exception&) {
        return 0;
    }
    state->changed.notify_all();
    return 1;
}

bool CWinThread::HasEnded() const {
    if (state_ == nullptr) return false;
    const std::lock_guard lock(state_->mutex);
    return state_->ended;
}

bool CWinThread::IsCurrentThread() const {
    return state_ != nullptr && state_->id == std::this_thread::get_id();
}

std::exception_ptr CWinThread::GetFailure() const {
    if (state_ == nullptr) return nullptr;
    const std::lock_guard lock(state_->mutex);
    return state_->failure;
}

BOOL CWinThread::InitInstance() {
    return 0;
}

int CWinThread::Run() {
    do {
        WaitForMessage();
    } while (PumpMessage());
    return ExitInstance();
}

int CWinThread::ExitInstance() {
    if (state_ == nullptr) return 0;
    const std::lock_guard lock(state_->mutex);
    return state_->exitCode;
}

BOOL CWinThread::PumpMessage() {
    MSG message;
    if (!GetMessage(&message)) return 0;
    if (message.message != kvx::kIdleKickMessage && !PreTranslateMessage(&message)) {
        kvx::CurrentDesktop().DispatchMessage(message);
    }
    return 1;
}

BOOL CWinThread::PreTranslateMessage(MSG* message) {
    if (message->hwnd != nullptr) return 0;
    for (const MessageMap* map = GetMessageMap(); map != nullptr; map = map->base) {
        const auto entry = std::ranges::find(map->entries, message->message, &MessageEntry::message);
        if (entry == map->entries.end()) continue;
        (this->*entry->handler)(message->wParam, message->lParam);
        return 1;
    }
    return 0;
}

const CWinThread::MessageMap* CWinThread::GetThisMessageMap() {
    static constexpr MessageMap kMap = {nullptr, {}};
    return &kMap;
}

const CWinThread::MessageMap* CWinThread::GetMessageMap() const {
    return GetThisMessageMap();
}

void CWinThread::WaitWhileSuspended() {
    if (!IsCurrentThread()) return;
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [this] { return !state_->IsHeld(); });
}

bool CWinThread::IsMessageWaiting() const {
    if (!IsCurrentThread()) return false;
    const std::lock_guard lock(state_->mutex);
    return state_->HasMessage();
}

int CWinThread::GetMessage(MSG* message) {
    *message = {};
    if (!IsCurrentThread()) return 0;
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [this] { return state_->HasMessage(); });
    if (state_->queue.empty()) {
        message->message = kvx::kQuitMessage;
        return 0;
    }
    *message = state_->queue.front();
    state_->queue.pop_front();
    if (message->message != kvx::kQuitMessage) return 1;
    state_->exitCode = static_cast<int>(message->wParam);
    return 0;
}

void CWinThread::WaitForMessage() {
    if (!IsCurrentThread()) return;
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [this] { return state_->HasMessage() && !state_->IsHeld(); });
}

void CWinThread::EndThread() {
    if (state_ == nullptr || IsCurrentThread()) return;
    {
        const std::lock_guard lock(state_->mutex);
        state_->ending = true;
        state_->changed.notify_all();
    }
    WaitUntilEnded();
}

void CWinThread::WaitUntilEnded() const {
    if (state_ == nullptr || IsCurrentThread()) return;
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [this] { return state_->ended; });
}
