#ifndef _OSGINDEXWEIGHT_H_
#define _OSGINDEXWEIGHT_H_

#include <OpenSG/OSGBaseTypes.h>

#include <iosfwd>

namespace osg {

/*! One influence of a joint: a vertex index of the skinned geometry and the joint's weight on
    that vertex.

    Equality compares both members exactly, so a NaN weight is never equal to anything, itself
    included. The order is by index, then by weight (smaller first); among equal indices a NaN
    weight sorts after every number, and two NaN weights are equivalent, which keeps the order a
    strict weak order that std::sort can use on any input. */
class IndexWeight
{
  public:
    IndexWeight(void) = default;
    IndexWeight(UInt32 index, Real32 weight) : _index(index), _weight(weight) {}
    IndexWeight(const IndexWeight &) = default;
    IndexWeight &operator=(const IndexWeight &) = default;
    virtual ~IndexWeight(void);

    UInt32 getIndex (void) const { return _index;  }
    Real32 getWeight(void) const { return _weight; }
    void   setIndex (UInt32 index)  { _index  = index;  }
    void   setWeight(Real32 weight) { _weight = weight; }

    bool operator==(const IndexWeight &other) const
    {
        return _index == other._index && _weight == other._weight;
    }
    bool operator!=(const IndexWeight &other) const { return !(*this == other); }
    bool operator< (const IndexWeight &other) const;

  private:
    UInt32 _index  = 0;
    Real32 _weight = 0.f;
};

std::ostream &operator<<(std::ostream &os, const IndexWeight &value);

} // namespace osg

#endif
