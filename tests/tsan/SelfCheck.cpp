// Shows that the ThreadSanitizer setup (the TBB bridge, the options) neither cries wolf nor is blind.
//   clean: a parallel loop whose tasks write their own slots of an array on the waiting thread's
//          stack, read back and the stack reused after the wait; no report allowed.
//   race:  the same loop, but two tasks also bump one plain counter; it must be reported.
#include <tbb/blocked_range.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>
#include <tbb/task_arena.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <thread>

extern "C" unsigned long skosgTbbTsanNotifications(void);

long tsanSelfCheckCounter = 0;

namespace {

constexpr int Slots = 64;

// Each of the first two tasks waits until the other has started, so two threads surely run them
// side by side. Relaxed atomics order nothing for TSan, so the wait adds no happens-before edge.
void meetTheOther(std::atomic<int> &started)
{
    started.fetch_add(1, std::memory_order_relaxed);
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while(started.load(std::memory_order_relaxed) < 2 && std::chrono::steady_clock::now() < giveUp)
        std::this_thread::yield();
}

long loop(bool racy)
{
    long slot[Slots];
    std::atomic<int> started(0);
    tbb::task_arena arena(2);
    arena.execute([&]
    {
        tbb::parallel_for(tbb::blocked_range<int>(0, Slots, 1), [&](const tbb::blocked_range<int> &r)
        {
            for(int i = r.begin(); i != r.end(); ++i)
            {
                slot[i] = 3L * i;
                if(racy && (i == 0 || i == Slots / 2))
                {
                    ++tsanSelfCheckCounter;
                    meetTheOther(started);
                }
            }
        }, tbb::simple_partitioner());
    });
    long sum = 0;
    for(long v : slot)
        sum += v;
    return sum;
}

// Overwrites the stack the loop's frames used, as the next call of a real program would.
__attribute__((noinline)) long reuseStack(long seed)
{
    volatile long scratch[4 * Slots];
    for(int i = 0; i < 4 * Slots; ++i)
        scratch[i] = seed + i;
    return scratch[Slots];
}

} // namespace

int main(int argc, char **argv)
{
    const bool racy = argc == 2 && std::strcmp(argv[1], "race") == 0;
    if(argc != 2 || (!racy && std::strcmp(argv[1], "clean") != 0))
    {
        std::fprintf(stderr, "usage: %s clean|race\n", argv[0]);
        return 2;
    }
    tbb::global_control allow(tbb::global_control::max_allowed_parallelism, 2);
    long total = 0;
    for(int round = 0; round < 20; ++round)
        total += loop(racy) + reuseStack(round);
    const unsigned long notes = skosgTbbTsanNotifications();
    std::printf("tsan self-check (%s): total %ld, %lu hand-overs announced\n", argv[1], total, notes);
    if(notes == 0)
    {
        std::fprintf(stderr, "tsan self-check: TBB announced no hand-over; the bridge is not loaded\n");
        return 1;
    }
    return 0;
}
