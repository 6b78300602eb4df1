#include <OpenSGExt/Geometry/detail/skGeometrySkin.h>

#include <OpenSG/OSGGeoFunctions.h>

namespace osg {
namespace detail {

bool geometryHasSkinning(const GeometryPtr &)
{
    return false;
}

Int32 singleIndexKeepingSkin(const GeometryPtr &geo)
{
    return createSingleIndex(geo);
}

std::string checkSkinForUnify(const GeometryPtr &)
{
    return std::string();
}

void remapSkinAfterUnify(const GeometryPtr &, const std::function<Int64(UInt32)> &)
{
}

} // namespace detail
} // namespace osg
