#ifndef _OSGCCPNT_H_
#define _OSGCCPNT_H_

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGVector.h>

namespace osg {

/*! A control point of a keyframe curve: point = (time, value), and the incoming and outgoing
    tangent handles relative to it (as for a cubic Bezier segment), each with its tangent type
    (0 zero, 1 half chord, 2 flat, 3 smooth, 4 chord slope, 5 keep and shorten, 6+ fixed).

    Equality follows OpenSG's vectors: points and handles compare within Eps (1e-6) per
    component, the types exactly. The binary form is 32 bytes: the eight members in order
    (six Real32, two UInt32), network byte order. */
class CCPnt
{
  public:
    enum TangentType
    {
        Zero = 0, HalfChord = 1, Flat = 2, Smooth = 3, ChordSlope = 4, Keep = 5, Fixed = 6
    };

    CCPnt(void);
    CCPnt(const Pnt2f &pointIn, const Vec2f &inTangentIn, const Vec2f &outTangentIn,
          UInt32 inTangentTypeIn = Flat, UInt32 outTangentTypeIn = Flat);
    CCPnt(const CCPnt &source) = default;
    CCPnt &operator=(const CCPnt &source) = default;
    virtual ~CCPnt(void);

    bool operator==(const CCPnt &other) const;
    bool operator!=(const CCPnt &other) const { return !(*this == other); }

    Pnt2f  point;
    Vec2f  inTangent;
    Vec2f  outTangent;
    UInt32 inTangentType;
    UInt32 outTangentType;
};

} // namespace osg

#endif
