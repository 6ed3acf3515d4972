// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/platform/Parallel.h>

#include <algorithm>
#include <charconv>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace kvx {
namespace {

constexpr std::size_t kMostThreads = 256;

std::size_t ThreadsOfHost() {
    if (const char* const text = std::getenv("KVX_THREADS")) {
        std::size_t number = 0;
        const char* const end = text + std::strlen(text);
        const auto [stop, error] = std::from_chars(text, end, number);
        if (error == std::errc() && stop == end && number >= 1 && number <= kMostThreads) return number;
    }
    return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, kMostThreads);
}

/// One call of ForEachInParallel. The pool's mutex guards what is not constant.
struct Call {
    const std::size_t count;
    const std::function<void(std::size_t)>& work;
    const std::size_t mostThreads;

    std::size_t next = 0;     ///< the first piece that was not begun
    std::size_t threads = 0;  ///< at work on it
    std::size_t failed = 0;   ///< the piece of the failure
    std::exception_ptr failure = nullptr;
    std::condition_variable done{};  ///< told when no thread is left
};

class Pool {
public:
    Pool() = default;
    ~Pool() {
        {
            const std::scoped_lock lock(mutex_);
            isOver_ = true;
        }
        wake_.notify_all();
        for (std::thread& thread : threads_) thread.join();
    }
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;

    void Run(Call& call) {
        std::unique_lock lock(mutex_);
        calls_.push_back(&call);
        Grow(std::min(call.count, call.mostThreads) - 1);
        wake_.notify_all();
        WorkOn(call, lock);
        call.done.wait(lock, [&] { return call.threads == 0; });
        std::erase(calls_, &call);
    }

private:
    /// Starts threads until there are `count`, or as many as the host grants.
    void Grow(std::size_t count) {
        try {
            while (threads_.size() < count) threads_.emplace_back([this] { Serve(); });
        } catch (const std::exception&) {
            // The work is done all the same, on fewer threads.
        }
    }

    void Serve() {
        std::unique_lock lock(mutex_);
        while (!isOver_) {
            const auto call = std::ranges::find_if(calls_, [](const Call* candidate) {
                return candidate->next < candidate->count && candidate->threads < candidate->mostThreads;
            });
            if (call != calls_.end()) {
                WorkOn(**call, lock);
            } else {
                wake_.wait(lock);
            }
        }
    }

    /// Takes pieces of the call until none is left; the mutex is held but during the work.
    static void WorkOn(Call& call, std::unique_lock<std::mutex>& lock) {
        ++call.threads;
        while (call.next < call.count) {
            const std::size_t piece = call.next++;
            lock.unlock();
            std::exception_ptr failure;
            try {
                call.work(piece);
            } catch (...) {
                failure = std::current_exception();
            }
            lock.lock();
            if (failure == nullptr) continue;
            call.next = call.count;
            if (call.failure == nullptr || piece < call.failed) {
                call.failure = std::move(failure);
                call.failed = piece;
            }
        }
        if (--call.threads == 0) call.done.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable wake_;  ///< of threads that found no piece
    std::deque<Call*> calls_;       ///< those that are running
    bool isOver_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace

std::size_t WorkingThreads() {
    static const std::size_t threads = ThreadsOfHost();
    return threads;
}

void ForEachInParallel(std::size_t count, const std::function<void(std::size_t)>& work, std::size_t threads) {
    const std::size_t most = std::min(threads > 0 ? threads : WorkingThreads(), kMostThreads);
    if (count <= 1 || most <= 1) {
        for (std::size_t i = 0; i < count; ++i) work(i);
        return;
    }
    static Pool pool;
    Call call{count, work, most};
    pool.Run(call);
    if (call.failure != nullptr) std::rethrow_exception(call.failure);
}

}  // namespace kvx
