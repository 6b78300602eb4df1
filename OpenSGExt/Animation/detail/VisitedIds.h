#ifndef SKOSG_ANIMATION_DETAIL_VISITEDIDS_H
#define SKOSG_ANIMATION_DETAIL_VISITEDIDS_H

// The cycle guard of the tree walks. Container ids are handed out in creation order and never
// reused, so the containers of one tree sit in a few dense runs of ids: a bitmap over ids, kept
// in pages made as the walk reaches them, costs about a bit per container and stays in cache,
// where a node-based hash set allocates on every insert and scatters over the heap.

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGFieldContainer.h>

#include <algorithm>
#include <vector>

namespace osg {
namespace anim {

class VisitedIds
{
  public:
    /*! Adds id; false when it was there already. */
    bool insert(UInt32 id)
    {
        const UInt32 page = id >> PageBits;
        if(_dir.empty() || page < _first || page - _first >= _dir.size())
            cover(page);
        UInt32 &slot = _dir[page - _first];
        if(slot == NoPage)
        {
            slot = UInt32(_bits.size() / PageWords);
            _bits.resize(_bits.size() + PageWords, 0);
        }
        UInt64      &word = _bits[size_t(slot) * PageWords + ((id & PageMask) >> 6)];
        const UInt64 bit  = UInt64(1) << (id & 63);
        if((word & bit) != 0)
            return false;
        word |= bit;
        return true;
    }

    /*! Adds a live container (not null); false when it was there already. */
    bool insert(const FieldContainer *fc) { return insert(fc->getContainerId()); }

    /*! Empties the set and keeps its memory for the next walk. */
    void clear(void)
    {
        _dir.clear();
        _bits.clear();
    }

  private:
    enum : UInt32
    {
        PageBits  = 12,
        PageMask  = (1u << PageBits) - 1,
        PageWords = (1u << PageBits) / 64,
        MaxPages  = 1u << (32 - PageBits),
        NoPage    = 0xFFFFFFFFu
    };

    /*! Extends the directory to page, at least doubling it, so that a walk meeting pages in
        falling or rising order pays amortised constant time per page. */
    void cover(UInt32 page)
    {
        if(_dir.empty())
        {
            _first = page;
            _dir.assign(1, NoPage);
        }
        else if(page < _first)
        {
            const size_t grow = std::min<size_t>(std::max<size_t>(_first - page, _dir.size()),
                                                 _first);
            _dir.insert(_dir.begin(), grow, NoPage);
            _first -= UInt32(grow);
        }
        else
        {
            const size_t need = size_t(page - _first) + 1;
            _dir.resize(std::min<size_t>(std::max(need, 2 * _dir.size()), MaxPages - _first),
                        NoPage);
        }
    }

    UInt32              _first = 0; // page number of _dir[0]
    std::vector<UInt32> _dir;       // page number - _first -> page index in _bits, or NoPage
    std::vector<UInt64> _bits;
};

} // namespace anim
} // namespace osg

#endif
