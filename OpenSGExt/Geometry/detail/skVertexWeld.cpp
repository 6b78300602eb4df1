#include <OpenSGExt/Geometry/detail/skVertexWeld.h>

namespace osg {
namespace detail {

void weldPositions(const Pnt3f *positions, std::size_t count, std::vector<UInt32> &classOf)
{
    classOf.resize(count);
    std::unordered_map<PositionKey, UInt32, ArrayHash> firstOf;
    firstOf.reserve(count);
    for(std::size_t i = 0; i < count; ++i)
        classOf[i] = firstOf.emplace(positionKey(positions[i]), UInt32(i)).first->second;
}

} // namespace detail
} // namespace osg
