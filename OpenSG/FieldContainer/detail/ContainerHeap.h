#ifndef SKOSG_FIELDCONTAINER_DETAIL_CONTAINERHEAP_H
#define SKOSG_FIELDCONTAINER_DETAIL_CONTAINERHEAP_H

// The storage of field containers. A scene holds them by the hundred thousand and its edits walk
// them in bulk, in an order unrelated to the one they were made in. From the general heap they
// lie scattered between other objects on small pages, and such a walk pays a TLB miss for nearly
// every container once the scene outgrows the TLB's reach. Here they are packed by size, each on
// its own cache lines, in segments the system is asked to back with huge pages.
//
// A segment (2 MB, aligned to its size) is cut into pages of 64 KB; a page serves one size
// class (multiples of a cache line) and goes back to the segment when its last block is freed,
// so a size class in use costs a page, not a segment. Segments whose pages are all free go back
// to the system, except a few kept for the next burst: a scene built and dropped again and again
// would otherwise pay fresh huge-page faults each time. Blocks larger than a quarter page come from the
// general heap. One lock guards it all: containers are made and dropped far less often than
// they are walked.

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define SKOSG_HEAP_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SKOSG_HEAP_ASAN 1
#endif
#endif

namespace osg
{
namespace detail
{

class ContainerHeap
{
  public:
    static constexpr size_t SegmentBytes = size_t(2) << 20;
    static constexpr size_t PageBytes = size_t(64) << 10;
    static constexpr size_t LineBytes = 64;
    static constexpr size_t LargestBlock = PageBytes / 4;
    static constexpr size_t KeptEmpty = 8; // empty segments kept mapped

    /*! A block of at least bytes, aligned to a cache line; throws std::bad_alloc when the
        system has no memory left, as operator new does. */
    static void *allocate(size_t bytes);

    /*! Frees a block from allocate; a null pointer is ignored. */
    static void release(void *block) noexcept;

    struct Stats
    {
        size_t segments;   // mapped segments, kept empty ones included
        size_t usedPages;  // pages serving a size class
        size_t liveBlocks; // blocks handed out from pages
        size_t largeBlocks;
    };
    static Stats stats(void);
};

} // namespace detail
} // namespace osg

#endif
