// ThreadSanitizer's view of oneTBB's own synchronisation.
//
// The distribution's libtbb is not instrumented, so TSan sees none of the atomics with which it
// hands work between threads, and every parallel loop looks racy. Rather than suppress reports,
// this library makes those hand-overs visible as happens-before edges, so that a race inside a
// loop body is still reported:
//  - Task hand-over (spawn, steal, join). With TBB_USE_PROFILING_TOOLS=2 the inline parts of TBB
//    announce them, and libtbb its own, through the tool interface race checkers listen to: libtbb
//    loads the collector named in INTEL_LIBITTNOTIFY64 and calls its __itt_sync_* entries. This
//    library is that collector; "releasing" becomes a TSan release, "acquired" a TSan acquire.
//  - The end of a wait. The last task decrements the wait context's counter after it announced
//    "releasing", and the waiter reads it inside libtbb; the waiter's stack, reused afterwards,
//    would look racy against that decrement. The wait entries below acquire on the counter.
//  - Memory reuse. Task objects come from per-thread pools, cache-aligned blocks from tbbmalloc;
//    memory freed by one thread and reused by another passes through synchronisation TSan cannot
//    see. The allocation entries release on free and acquire on allocation, as a pool hand-over does.
// The entries of libtbb's binary interface are interposed: this library must come before libtbb in
// the program's library search order (tests/tsan/CMakeLists.txt sees to that).
#include <oneapi/tbb/cache_aligned_allocator.h>
#include <oneapi/tbb/detail/_small_object_pool.h>
#include <oneapi/tbb/detail/_task.h>

#include <sanitizer/tsan_interface.h>

#include <dlfcn.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#define SKOSG_BRIDGE_EXPORT extern "C" __attribute__((visibility("default")))

namespace d1 = tbb::detail::d1;

namespace {

// The counter follows one 64-bit word; libtbb reads it there through its own copy of the inline
// code, so the layout is part of TBB's binary interface.
static_assert(sizeof(d1::wait_context) == 2 * sizeof(std::uint64_t), "unexpected wait_context layout");

void *counterOf(d1::wait_context &waitCtx)
{
    return reinterpret_cast<char *>(&waitCtx) + sizeof(std::uint64_t);
}

typedef void *PoolAllocateEd(d1::small_object_pool *&, std::size_t, const d1::execution_data &);
typedef void *PoolAllocate(d1::small_object_pool *&, std::size_t);
typedef void PoolDeallocateEd(d1::small_object_pool &, void *, std::size_t, const d1::execution_data &);
typedef void PoolDeallocate(d1::small_object_pool &, void *, std::size_t);
typedef void *AlignedAllocate(std::size_t);
typedef void AlignedDeallocate(void *);
typedef void ExecuteAndWait(d1::task &, d1::task_group_context &, d1::wait_context &, d1::task_group_context &);
typedef void Wait(d1::wait_context &, d1::task_group_context &);

// Filled before main, while the program has one thread, and only read afterwards.
PoolAllocateEd *realPoolAllocateEd;
PoolAllocate *realPoolAllocate;
PoolDeallocateEd *realPoolDeallocateEd;
PoolDeallocate *realPoolDeallocate;
AlignedAllocate *realAlignedAllocate;
AlignedDeallocate *realAlignedDeallocate;
ExecuteAndWait *realExecuteAndWait;
Wait *realWait;

// Relaxed: counting must not order anything for TSan.
std::atomic<unsigned long> notifications(0);

template <class F>
void resolve(F *&fn, const char *mangled)
{
    fn = reinterpret_cast<F *>(dlsym(RTLD_NEXT, mangled));
    if(fn == nullptr)
    {
        std::fprintf(stderr, "TbbTsanBridge: no libtbb entry %s behind this library; it must come "
                     "before libtbb on the link line (%s)\n", mangled, dlerror());
        std::abort();
    }
}

// Runs before main, so before the first TBB call reads the environment: linking this library is
// all a program needs, however it is started.
__attribute__((constructor)) void setUpBridge()
{
    resolve(realPoolAllocateEd, "_ZN3tbb6detail2r18allocateERPNS0_2d117small_object_poolEmRKNS2_14execution_dataE");
    resolve(realPoolAllocate, "_ZN3tbb6detail2r18allocateERPNS0_2d117small_object_poolEm");
    resolve(realPoolDeallocateEd,
            "_ZN3tbb6detail2r110deallocateERNS0_2d117small_object_poolEPvmRKNS2_14execution_dataE");
    resolve(realPoolDeallocate, "_ZN3tbb6detail2r110deallocateERNS0_2d117small_object_poolEPvm");
    resolve(realAlignedAllocate, "_ZN3tbb6detail2r122cache_aligned_allocateEm");
    resolve(realAlignedDeallocate, "_ZN3tbb6detail2r124cache_aligned_deallocateEPv");
    resolve(realExecuteAndWait,
            "_ZN3tbb6detail2r116execute_and_waitERNS0_2d14taskERNS2_18task_group_contextERNS2_12wait_contextES6_");
    resolve(realWait, "_ZN3tbb6detail2r14waitERNS0_2d112wait_contextERNS2_18task_group_contextE");

    Dl_info self;
    if(dladdr(reinterpret_cast<void *>(&setUpBridge), &self) == 0 || self.dli_fname == nullptr)
    {
        std::fprintf(stderr, "TbbTsanBridge: cannot find its own file to register as the collector\n");
        std::abort();
    }
    setenv("INTEL_LIBITTNOTIFY64", self.dli_fname, 1);
    // Without a group the collector would be loaded but never asked.
    setenv("INTEL_ITTNOTIFY_GROUPS", "sync", 1);
}

// Acquires on the counter also when the wait ends with a task's exception.
struct AcquireCounter
{
    d1::wait_context &waitCtx;
    ~AcquireCounter() { __tsan_acquire(counterOf(waitCtx)); }
};

} // namespace

// The tool interface: its presence tells the loader that entries are looked up by name.
SKOSG_BRIDGE_EXPORT const char *__itt_api_version(void)
{
    return "skOpenSGExt TBB-TSan bridge";
}

SKOSG_BRIDGE_EXPORT void __itt_sync_releasing(void *addr)
{
    notifications.fetch_add(1, std::memory_order_relaxed);
    __tsan_release(addr);
}

SKOSG_BRIDGE_EXPORT void __itt_sync_acquired(void *addr)
{
    notifications.fetch_add(1, std::memory_order_relaxed);
    __tsan_acquire(addr);
}

// How many hand-overs TBB announced so far; none after a parallel loop means it never found us.
SKOSG_BRIDGE_EXPORT unsigned long skosgTbbTsanNotifications(void)
{
    return notifications.load(std::memory_order_relaxed);
}

// libtbb's binary interface, forwarded.
namespace tbb {
namespace detail {
namespace r1 {

void *allocate(d1::small_object_pool *&pool, std::size_t bytes, const d1::execution_data &ed)
{
    void *p = realPoolAllocateEd(pool, bytes, ed);
    __tsan_acquire(p);
    return p;
}

void *allocate(d1::small_object_pool *&pool, std::size_t bytes)
{
    void *p = realPoolAllocate(pool, bytes);
    __tsan_acquire(p);
    return p;
}

void deallocate(d1::small_object_pool &pool, void *p, std::size_t bytes, const d1::execution_data &ed)
{
    __tsan_release(p);
    realPoolDeallocateEd(pool, p, bytes, ed);
}

void deallocate(d1::small_object_pool &pool, void *p, std::size_t bytes)
{
    __tsan_release(p);
    realPoolDeallocate(pool, p, bytes);
}

void *cache_aligned_allocate(std::size_t bytes)
{
    void *p = realAlignedAllocate(bytes);
    __tsan_acquire(p);
    return p;
}

void cache_aligned_deallocate(void *p)
{
    if(p != nullptr)
        __tsan_release(p);
    realAlignedDeallocate(p);
}

void execute_and_wait(d1::task &t, d1::task_group_context &tCtx, d1::wait_context &waitCtx,
                      d1::task_group_context &wCtx)
{
    AcquireCounter acquire{ waitCtx };
    realExecuteAndWait(t, tCtx, waitCtx, wCtx);
}

void wait(d1::wait_context &waitCtx, d1::task_group_context &ctx)
{
    AcquireCounter acquire{ waitCtx };
    realWait(waitCtx, ctx);
}

} // namespace r1
} // namespace detail
} // namespace tbb
