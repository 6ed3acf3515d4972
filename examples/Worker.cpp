// SPDX-License-Identifier: MIT
//
// A worker thread with its own pace: it steps every few milliseconds until it is released, and a stopwatch
// tells how long that took.
//
// It prints:
//
//     released: the thread has made its steps in more than 0.01 s: yes
#include <atomic>
#include <cstdio>

#include <KvxDevCommon01/KvxDevCommon01.h>

namespace {

class Counter : public CComThread {
public:
    ~Counter() override { ThreadRelease(); }

    int Steps() const { return steps_; }
    void OneStepRun() override { ++steps_; }

private:
    std::atomic<int> steps_ = 0;
};

}  // namespace

int main() {
    CPtimer watch;
    watch.Start();
    Counter counter;
    counter.SetLoopSleep(2);
    if (!counter.ThreadInit()) return 1;
    counter.ThreadStart();
    CWaitTimer wait;
    while (counter.Steps() < 10) wait.NormalWait(0.005);
    counter.ThreadRelease();
    // Nine pauses of 2 ms lie between ten steps.
    std::printf("%s: the thread has made its steps in more than 0.01 s: %s\n",
                counter.IsRelease() ? "released" : "running", watch.Stop() > 0.01 ? "yes" : "no");
    return counter.IsRelease() && counter.Steps() >= 10 ? 0 : 1;
}
