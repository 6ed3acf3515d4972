// SPDX-License-Identifier: MIT
//
// CWinThread: the framework's thread with a message queue. An object stands for one thread of the host, from
// CreateThread until the thread has ended; a derived class says what happens on it by overriding the virtual
// operations. Suspension is cooperative: a suspended thread stops where it reaches a point that its own loop
// chose (WaitWhileSuspended), never in the middle of its work, so it holds no lock while it rests.
//
// The owner creates, suspends, resumes and destroys; anyone may post messages while the object lives; the
// protected operations belong to the thread itself. Nothing throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <span>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/platform/Window.h>

class CWinThread;

/// What a thread class says about itself at run time, so that a framework can create it by description.
struct CRuntimeClass {
    const char* m_lpszClassName;
    CWinThread* (*m_pfnCreateObject)();  ///< null for a class that cannot be created so
    const CRuntimeClass* m_pBaseClass;   ///< null for CWinThread

    /// A new object, which the caller owns; null when the class cannot be created or allocation fails.
    CWinThread* CreateObject() const { return m_pfnCreateObject != nullptr ? m_pfnCreateObject() : nullptr; }
};

namespace kvx {

/// Ends the loop of the thread that fetches it; its wParam becomes the exit code.
inline constexpr unsigned int kQuitMessage = 0x0012;
/// Wakes a framework's idle processing; not meant for anybody.
inline constexpr unsigned int kIdleKickMessage = 0x036A;

/// Most messages that may wait in one thread's queue (the quit message finds room in a full one).
inline constexpr std::size_t kMaxQueuedMessages = 10'000;

/// Priorities of CWinThread::SetThreadPriority that the suite uses.
inline constexpr int kPriorityIdle = -15;
inline constexpr int kPriorityNormal = 0;

}  // namespace kvx

class KVX_API CWinThread {
public:
    /// Handles a message of the thread's queue, on the thread.
    using MessageHandler = void (CWinThread::*)(std::uintptr_t wParam, std::intptr_t lParam);
    struct MessageEntry {
        unsigned int message;
        MessageHandler handler;
    };
    /// The messages that a class handles, then those of its base.
    struct MessageMap {
        const MessageMap* base;  ///< null at the end of the chain
        std::span<const MessageEntry> entries;
    };

    CWinThread();
    /// Ends the thread, if there is one, as EndThread does. A derived class whose overrides use its own
    /// members has to end the thread in its own destructor: here those members are gone.
    virtual ~CWinThread();
    CWinThread(const CWinThread&) = delete;
    CWinThread& operator=(const CWinThread&) = delete;

    static const CRuntimeClass* GetThisClass();
    virtual const CRuntimeClass* GetRuntimeClass() const;

    /// Creates the host's thread, suspended when that is wished. 0 when the host refuses or the object has
    /// had its thread: an object stands for one.
    int CreateThread(bool suspended);

    /// Asks for one more suspension, or takes one back. Returns how many there were before, as the framework
    /// does; 0xFFFFFFFF when no thread runs.
    std::uint32_t SuspendThread();
    std::uint32_t ResumeThread();

    /// Sets the priority: -15 idle, -2 to 2 around normal, 15 time-critical. 0 when no thread runs, the value
    /// is none of these, or the host does not grant it; a priority that this process could not raise again is
    /// not lowered either, so that setting kPriorityNormal always works.
    int SetThreadPriority(int priority);
    /// The priority last granted.
    int GetThreadPriority() const;

    /// Appends a message to the thread's queue. 0 when no thread runs or the queue is full.
    BOOL PostThreadMessage(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam);

    /// Whether a thread was created, and whether it has ended (nothing of it touches the object any more).
    bool HasThread() const { return state_ != nullptr; }
    bool HasEnded() const;
    /// Whether the caller runs on this thread.
    bool IsCurrentThread() const;

    /// The exception that ended the thread, null when none did. An exception that leaves InitInstance or Run
    /// ends the thread, not the process: ExitInstance still runs, and the exception waits here for the owner.
    std::exception_ptr GetFailure() const;

    /// Runs first on the thread; 0 (as here) skips Run and goes on to ExitInstance.
    virtual BOOL InitInstance();
    /// The thread's loop: pumps messages until the quit message. Returns what ExitInstance returns.
    virtual int Run();
    /// Runs last on the thread; returns the exit code of the quit message, 0 without one.
    virtual int ExitInstance();
    /// Waits for the next message and handles it; 0 for the quit message (and for any thread but this one).
    virtual BOOL PumpMessage();
    /// Gives the message to its handler in the message map; nonzero when there is one: then it is done.
    virtual BOOL PreTranslateMessage(MSG* message);

    /// Nonzero: the object deletes itself when its thread ends. Set before CreateThread, only for an object
    /// from `new`, which belongs to its thread then.
    BOOL m_bAutoDelete = 0;

protected:
    /// The base of a derived class's map, and the map in force.
    static const MessageMap* GetThisMessageMap();
    virtual const MessageMap* GetMessageMap() const;

    /// Rests while the thread is suspended: the points of a loop at which it may be held.
    void WaitWhileSuspended();
    /// Whether a message waits in the queue; it stays there. False on any thread but this one.
    bool IsMessageWaiting() const;
    /// Waits for the next message and takes it from the queue; 0 for the quit message, and on any thread but
    /// this one.
    int GetMessage(MSG* message);
    /// Waits until a message is there and the thread is not suspended: what a loop of messages alone needs.
    void WaitForMessage();
    /// Ends the thread: lets it run, gives it the quit message behind those that wait, and returns when
    /// nothing of the thread touches the object any more. Does nothing on the thread itself or without one.
    void EndThread();
    /// The waiting of EndThread alone.
    void WaitUntilEnded() const;

private:
    struct State;

    void Main();

    // Shared with the thread, whose last steps may outlast the object.
    std::shared_ptr<State> state_;
};
