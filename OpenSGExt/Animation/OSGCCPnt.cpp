#include <OpenSGExt/OSGCCPnt.h>

namespace osg {

CCPnt::CCPnt(void)
    : point(0.f, 0.f), inTangent(0.f, 0.f), outTangent(0.f, 0.f), inTangentType(Flat),
      outTangentType(Flat)
{
}

CCPnt::CCPnt(const Pnt2f &pointIn, const Vec2f &inTangentIn, const Vec2f &outTangentIn,
             UInt32 inTangentTypeIn, UInt32 outTangentTypeIn)
    : point(pointIn), inTangent(inTangentIn), outTangent(outTangentIn),
      inTangentType(inTangentTypeIn), outTangentType(outTangentTypeIn)
{
}

CCPnt::~CCPnt(void) = default;

bool CCPnt::operator==(const CCPnt &other) const
{
    return point == other.point && inTangent == other.inTangent &&
           outTangent == other.outTangent && inTangentType == other.inTangentType &&
           outTangentType == other.outTangentType;
}

} // namespace osg
