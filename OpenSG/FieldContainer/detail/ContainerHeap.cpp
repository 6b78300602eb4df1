#include "ContainerHeap.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <new>
#include <vector>

#ifdef SKOSG_HEAP_ASAN
#include <sanitizer/asan_interface.h>
#define SKOSG_POISON(p, n) ASAN_POISON_MEMORY_REGION(p, n)
#define SKOSG_UNPOISON(p, n) ASAN_UNPOISON_MEMORY_REGION(p, n)
#else
#define SKOSG_POISON(p, n) ((void)(p), (void)(n))
#define SKOSG_UNPOISON(p, n) ((void)(p), (void)(n))
#endif

namespace osg
{
namespace detail
{

namespace
{

const size_t PagesPerSegment = ContainerHeap::SegmentBytes / ContainerHeap::PageBytes;
const size_t ClassCount = ContainerHeap::LargestBlock / ContainerHeap::LineBytes + 1;

struct Segment;

struct Page
{
    Page *prev;
    Page *next;
    void *free; // freed blocks, each holding the next in its first word
    char *bump; // blocks from here on were never handed out
    char *begin;
    char *end;
    Segment *segment;
    size_t blockBytes; // 0 while the page is free
    size_t live;
    bool listed; // in its class's list (it has room) or in the free pages
};

struct Segment
{
    Page pages[PagesPerSegment];
    size_t usedPages;
};

const size_t HeaderBytes = (sizeof(Segment) + ContainerHeap::LineBytes - 1) /
                           ContainerHeap::LineBytes * ContainerHeap::LineBytes;

struct PageList
{
    Page *head = nullptr;

    void push(Page *p)
    {
        p->prev = nullptr;
        p->next = head;
        if(head != nullptr)
            head->prev = p;
        head = p;
        p->listed = true;
    }
    void unlink(Page *p)
    {
        (p->prev != nullptr ? p->prev->next : head) = p->next;
        if(p->next != nullptr)
            p->next->prev = p->prev;
        p->prev = p->next = nullptr;
        p->listed = false;
    }
};

struct State
{
    std::mutex lock;
    PageList withRoom[ClassCount];
    PageList freePages;
    std::vector<uintptr_t> segments; // sorted bases
    size_t emptySegments = 0;
    size_t usedPages = 0;
    size_t liveBlocks = 0;
    size_t largeBlocks = 0;
};

// Never destroyed: containers may still be released by other objects' static destructors.
State &state(void)
{
    static State *s = new State;
    return *s;
}

bool hasRoom(const Page *p)
{
    return p->free != nullptr || p->bump + p->blockBytes <= p->end;
}

Segment *mapSegment(State &s)
{
    const size_t bytes = ContainerHeap::SegmentBytes;
    void *raw =
        mmap(nullptr, 2 * bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if(raw == MAP_FAILED)
        return nullptr;
    // Keep the aligned middle of a double-size mapping.
    const uintptr_t start = reinterpret_cast<uintptr_t>(raw);
    const uintptr_t base = (start + bytes - 1) & ~uintptr_t(bytes - 1);
    if(base > start)
        munmap(raw, base - start);
    if(start + 2 * bytes > base + bytes)
        munmap(reinterpret_cast<void *>(base + bytes), start + 2 * bytes - (base + bytes));
    char *mem = reinterpret_cast<char *>(base);
#ifdef MADV_HUGEPAGE
    madvise(mem, bytes, MADV_HUGEPAGE); // a hint: without huge pages the heap still works
#endif
    Segment *seg = reinterpret_cast<Segment *>(mem);
    seg->usedPages = 0;
    for(size_t i = PagesPerSegment; i-- > 0;)
    {
        Page &p = seg->pages[i];
        p.begin = mem + (i == 0 ? HeaderBytes : i * ContainerHeap::PageBytes);
        p.end = mem + (i + 1) * ContainerHeap::PageBytes;
        p.segment = seg;
        p.blockBytes = 0;
        p.live = 0;
        s.freePages.push(&p);
    }
    SKOSG_POISON(mem + HeaderBytes, bytes - HeaderBytes);
    s.segments.insert(std::upper_bound(s.segments.begin(), s.segments.end(), base), base);
    ++s.emptySegments;
    return seg;
}

void unmapSegment(State &s, Segment *seg)
{
    for(Page &p : seg->pages)
        s.freePages.unlink(&p);
    const uintptr_t base = reinterpret_cast<uintptr_t>(seg);
    s.segments.erase(std::lower_bound(s.segments.begin(), s.segments.end(), base));
    --s.emptySegments;
    SKOSG_UNPOISON(seg, ContainerHeap::SegmentBytes);
    munmap(seg, ContainerHeap::SegmentBytes);
}

Page *findPage(const State &s, const void *block)
{
    const uintptr_t at = reinterpret_cast<uintptr_t>(block);
    const uintptr_t base = at & ~uintptr_t(ContainerHeap::SegmentBytes - 1);
    if(!std::binary_search(s.segments.begin(), s.segments.end(), base))
        return nullptr;
    Segment *seg = reinterpret_cast<Segment *>(base);
    return &seg->pages[(at - base) / ContainerHeap::PageBytes];
}

} // namespace

void *ContainerHeap::allocate(size_t bytes)
{
    const size_t lines = std::max<size_t>(1, (bytes + LineBytes - 1) / LineBytes);
    if(bytes > LargestBlock)
    {
        void *block = ::operator new(bytes, std::align_val_t(LineBytes));
        std::lock_guard<std::mutex> guard(state().lock);
        ++state().largeBlocks;
        return block;
    }
    State &s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    PageList &list = s.withRoom[lines];
    Page *p = list.head;
    if(p == nullptr)
    {
        if(s.freePages.head == nullptr && mapSegment(s) == nullptr)
            throw std::bad_alloc();
        p = s.freePages.head;
        s.freePages.unlink(p);
        if(p->segment->usedPages++ == 0)
            --s.emptySegments;
        ++s.usedPages;
        p->blockBytes = lines * LineBytes;
        p->free = nullptr;
        p->bump = p->begin;
        list.push(p);
    }
    void *block;
    if(p->free != nullptr)
    {
        block = p->free;
        SKOSG_UNPOISON(block, p->blockBytes);
        p->free = *static_cast<void **>(block);
    }
    else
    {
        block = p->bump;
        p->bump += p->blockBytes;
        SKOSG_UNPOISON(block, p->blockBytes);
    }
    ++p->live;
    ++s.liveBlocks;
    if(!hasRoom(p))
        list.unlink(p);
    return block;
}

void ContainerHeap::release(void *block) noexcept
{
    if(block == nullptr)
        return;
    State &s = state();
    {
        std::lock_guard<std::mutex> guard(s.lock);
        if(Page *p = findPage(s, block))
        {
            PageList &list = s.withRoom[p->blockBytes / LineBytes];
            *static_cast<void **>(block) = p->free;
            p->free = block;
            SKOSG_POISON(block, p->blockBytes);
            --s.liveBlocks;
            if(--p->live > 0)
            {
                if(!p->listed)
                    list.push(p);
                return;
            }
            // The page's last block: the page is free for any size class again.
            if(p->listed)
                list.unlink(p);
            p->blockBytes = 0;
            s.freePages.push(p);
            --s.usedPages;
            if(--p->segment->usedPages == 0 && ++s.emptySegments > ContainerHeap::KeptEmpty)
                unmapSegment(s, p->segment);
            return;
        }
        --s.largeBlocks;
    }
    ::operator delete(block, std::align_val_t(LineBytes));
}

ContainerHeap::Stats ContainerHeap::stats(void)
{
    State &s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return Stats{s.segments.size(), s.usedPages, s.liveBlocks, s.largeBlocks};
}

} // namespace detail
} // namespace osg
