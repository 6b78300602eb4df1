#include <OpenSGExt/skGeoUtils.h>

#include <OpenSGExt/OSGValuePair.h>

#include <OpenSG/OSGLog.h>

using namespace osg;

namespace skGeoUtils {

const char *const CullFaceKey = "cullFace";

namespace {

enum CulledSides : UInt32
{
    CullNone  = 0,
    CullFront = 1,   // bit of side 0
    CullBack  = 2    // bit of side 1
};

// The cull value of a container's ValuePair; false when it has none.
bool findCullFace(const AttachmentContainerPtr &container, std::string &value)
{
    if(container == NullFC)
        return false;
    ValuePairPtr pairs = ValuePairPtr::dcast(container->findAttachment(ValuePair::getClassType()));
    return pairs != NullFC && pairs->get(CullFaceKey, value);
}

UInt32 culledSides(const NodePtr &node, const GeometryPtr &geo)
{
    std::string value;
    if(!findCullFace(node, value) && !findCullFace(geo, value) &&
       !findCullFace(geo->getMaterial(), value))
        return CullNone;
    if(value == "none")
        return CullNone;
    if(value == "back")
        return CullBack;
    if(value == "front")
        return CullFront;
    if(value == "frontAndBack")
        return CullFront | CullBack;
    SWARNING << "skGeoUtils: unknown " << CullFaceKey << " value \"" << value
             << "\"; both sides taken as visible" << std::endl;
    return CullNone;
}

} // namespace

GeometryPtr getGeometry(const NodePtr &node)
{
    if(node == NullFC)
        return NullFC;
    return GeometryPtr::dcast(node->getCore());
}

GeoTexCoordsPtr getOSGTexCoords(const GeometryPtr &geo, UInt32 channel)
{
    if(geo == NullFC)
        return NullFC;
    if(channel >= Geometry::MaxTexCoords)
    {
        SWARNING << "skGeoUtils::getOSGTexCoords: no texture channel " << channel << " (0 to "
                 << Geometry::MaxTexCoords - 1 << ")" << std::endl;
        return NullFC;
    }
    return geo->getTexCoords(channel);
}

bool hasTexCoords(const GeometryPtr &geo, UInt32 channel)
{
    GeoTexCoordsPtr texCoords = getOSGTexCoords(geo, channel);
    return texCoords != NullFC && texCoords->getSize() > 0;
}

bool isVisibleSide(const GeometryPtr &geo, UInt32 side)
{
    return isVisibleSide(NodePtr(NullFC), geo, side);
}

bool isVisibleSide(const NodePtr &node, const GeometryPtr &geo, UInt32 side)
{
    if(geo == NullFC)
        return false;
    if(side > 1)
    {
        SWARNING << "skGeoUtils::isVisibleSide: no side " << side << " (0 front, 1 back)"
                 << std::endl;
        return false;
    }
    return (culledSides(node, geo) & (side == 0 ? CullFront : CullBack)) == 0;
}

UInt32 checkGeometryCore(const GeometryPtr &geo, bool checkTriangulated)
{
    if(geo == NullFC)
        return NoGeometry;

    UInt32 mask = 0;
    GeoPLengthsPtr lengths = geo->getLengths();
    if(lengths != NullFC)
    {
        if(lengths->getSize() != 1)
            mask |= Nonstandard;
    }
    else
        mask |= NoLengths;

    GeoPTypesPtr types = geo->getTypes();
    if(types == NullFC || types->getSize() == 0)
        mask |= NoTypes;
    else if(checkTriangulated && types->getValue(0) != GL_TRIANGLES)
        mask |= NotTriangles;

    GeoIndicesPtr indices = geo->getIndices();
    if(indices == NullFC || indices->getSize() == 0)
        mask |= NoIndices;

    if(geo->getMFIndexMapping()->size() != 1)
        mask |= Nonstandard;

    GeoPositionsPtr positions = geo->getPositions();
    if(positions == NullFC || positions->getSize() == 0)
        mask |= NoPositions;
    return mask;
}

std::string getGeometryErrorString(UInt32 mask)
{
    if(mask & (NoTypes | NoLengths | NoIndices))
    {
        std::string text = "Geometry data incomplete. ";
        if(mask & NoPositions)
            text += "Found geometry without positions.";
        return text;
    }
    if(mask & NoPositions)
        return "Found geometry without positions.";
    if(mask & NotTriangles)
        return "Geometry is not triangulated.";
    if(mask & Nonstandard)
        return "Found nonstandard geometry.";
    return std::string();
}

} // namespace skGeoUtils
