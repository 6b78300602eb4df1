#include <OpenSGExt/OSGCalcBinormalTangentGraphOp.h>
#include <OpenSGExt/Geometry/detail/skGeometrySkin.h>
#include <OpenSGExt/Geometry/detail/skTangentSpace.h>

#include <OpenSG/OSGGeoTexCoords3f.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGLog.h>

#include <vector>

namespace osg {

namespace {

// Reads any normal property as Vec3f, floats without a per-element call.
void readNormals(const GeoNormalsPtr &normals, std::vector<Vec3f> &out)
{
    out.resize(normals->getSize());
    if(normals->getFormat() == GL_FLOAT && normals->getDimension() == 3 &&
       normals->getFormatSize() == sizeof(Real32) && normals->getStride() == 0)
    {
        const Real32 *f = reinterpret_cast<const Real32 *>(normals->getData());
        for(std::size_t i = 0; i < out.size(); ++i)
            out[i] = Vec3f(f[3 * i], f[3 * i + 1], f[3 * i + 2]);
        return;
    }
    for(UInt32 i = 0; i < out.size(); ++i)
        out[i] = normals->getValue(i);
}

void readPositions(const GeoPositionsPtr &positions, std::vector<Pnt3f> &out)
{
    out.resize(positions->getSize());
    for(UInt32 i = 0; i < out.size(); ++i)
        out[i] = positions->getValue(i);
}

} // namespace

CalcBinormalTangentGraphOp::CalcBinormalTangentGraphOp(const char *name) : Inherited(name)
{
}

CalcBinormalTangentGraphOp::CalcBinormalTangentGraphOp(const CalcBinormalTangentGraphOp &source) =
    default;

CalcBinormalTangentGraphOp &CalcBinormalTangentGraphOp::operator=(
    const CalcBinormalTangentGraphOp &source) = default;

CalcBinormalTangentGraphOp::~CalcBinormalTangentGraphOp(void) = default;

GraphOp *CalcBinormalTangentGraphOp::create(void)
{
    return new CalcBinormalTangentGraphOp("CalcBinormalTangent");
}

void CalcBinormalTangentGraphOp::setParams(const std::string)
{
}

std::string CalcBinormalTangentGraphOp::usage(void)
{
    return std::string();
}

bool CalcBinormalTangentGraphOp::setTexCoordSource(Int32 unit)
{
    if(unit < 0 || unit >= 8)
    {
        FWARNING(("CalcBinormalTangentGraphOp: Wrong texture unit, using unit #0\n"));
        unit = 0;
    }
    _texCoordSource = UInt32(unit);
    return true;
}

bool CalcBinormalTangentGraphOp::setTangentTarget(Int32 unit)
{
    if(unit < 0 || unit >= 8)
    {
        // The message names unit 1, but unit 0 is used: kept as it always was.
        FWARNING(("CalcBinormalTangentGraphOp: Wrong texture unit, using unit #1\n"));
        unit = 0;
    }
    _tangentTarget = UInt32(unit);
    return true;
}

bool CalcBinormalTangentGraphOp::setBinormalTarget(Int32 unit)
{
    if(unit < 0 || unit >= 8)
    {
        FWARNING(("CalcBinormalTangentGraphOp: Wrong texture unit, using unit #2\n"));
        unit = 0;
    }
    _binormalTarget = UInt32(unit);
    return true;
}

bool CalcBinormalTangentGraphOp::travNodeEnter(const NodePtr &node)
{
    GeometryPtr geo;
    if(node != NullFC)
        geo = GeometryPtr::dcast(node->getCore());
    if(geo == NullFC)
    {
        FWARNING(("CalcBinormalTangentGraphOp: travNodeEnter got a non-Geometry Node\n"));
        return false;
    }

    if(detail::singleIndexKeepingSkin(geo) < 0)
        return false;   // reported by createSingleIndex

    if(geo->getNormals() == NullFC)
    {
        FWARNING(("Geometry has no normals, calculation of tangent & binormals not possible !\n"));
        return false;
    }
    GeoTexCoordsPtr source = geo->getTexCoords(_texCoordSource);
    if(source == NullFC)
    {
        FWARNING(("Geometry has no texture coordinations, calculation of tangent & binormals "
                  "not possible !\n"));
        return false;
    }
    GeoPositionsPtr positions = geo->getPositions();
    const UInt32 numPositions = positions != NullFC ? positions->getSize() : 0;

    // Everything is read and checked before the geometry changes.
    std::vector<Pnt3f> points;
    std::vector<Vec3f> normals;
    std::vector<Vec2f> texCoords(source->getSize());
    if(positions != NullFC)
        readPositions(positions, points);
    readNormals(geo->getNormals(), normals);
    for(UInt32 i = 0; i < texCoords.size(); ++i)
        texCoords[i] = source->getValue(i);

    std::vector<UInt32> triPositions, triTexCoords;
    bool badCorner = false;
    for(TriangleIterator it = geo->beginTriangles(); it != geo->endTriangles(); ++it)
    {
        for(Int32 w = 0; w < 3; ++w)
        {
            const Int32 p = it.getPositionIndex(w);
            Int32 ti = -1;
            switch(_texCoordSource)
            {
                case 1: ti = it.getTexCoordsIndex1(w); break;
                case 2: ti = it.getTexCoordsIndex2(w); break;
                case 3: ti = it.getTexCoordsIndex3(w); break;
                case 4: ti = it.getTexCoordsIndex4(w); break;
                case 5: ti = it.getTexCoordsIndex5(w); break;
                case 6: ti = it.getTexCoordsIndex6(w); break;
                case 7: ti = it.getTexCoordsIndex7(w); break;
                default: ti = it.getTexCoordsIndex(w); break;
            }
            badCorner = badCorner || p < 0 || ti < 0;
            triPositions.push_back(UInt32(p < 0 ? 0 : p));
            triTexCoords.push_back(UInt32(ti < 0 ? 0 : ti));
        }
    }

    detail::TangentInput in;
    in.positions    = points.data();
    in.normals      = normals.data();
    in.numPositions = numPositions;
    in.texCoords    = texCoords.data();
    in.numTexCoords = texCoords.size();
    in.triPositions = triPositions.data();
    in.triTexCoords = triTexCoords.data();
    in.numTriangles = triPositions.size() / 3;
    std::string problem;
    if(normals.size() < numPositions)
        problem = "the geometry has fewer normals than positions";
    else if(badCorner)
        problem = "a triangle corner is past the positions or texture coordinates";
    else
        problem = in.validate();
    if(!problem.empty())
    {
        SWARNING << "CalcBinormalTangentGraphOp: " << problem
                 << "; no tangents or binormals are computed" << std::endl;
        return false;
    }

    GeoTexCoords3fPtr tangents  = GeoTexCoords3f::create();
    GeoTexCoords3fPtr binormals = GeoTexCoords3f::create();
    const UInt16 tangentBit  = Geometry::texCoordsMapBit(_tangentTarget);
    const UInt16 binormalBit = Geometry::texCoordsMapBit(_binormalTarget);

    beginEditCP(tangents, GeoTexCoords3f::TexCoordsFieldMask);
    beginEditCP(binormals, GeoTexCoords3f::TexCoordsFieldMask);
    MFVec3f &tv = tangents->editField();
    MFVec3f &bv = binormals->editField();
    tv.resize(numPositions);
    bv.resize(numPositions);
    const std::size_t degenerate = detail::computeTangentFrames(in, tv.getValues().data(),
                                                                bv.getValues().data());
    endEditCP(binormals, GeoTexCoords3f::TexCoordsFieldMask);
    endEditCP(tangents, GeoTexCoords3f::TexCoordsFieldMask);
    if(degenerate != 0)
    {
        SWARNING << "CalcBinormalTangentGraphOp: " << degenerate
                 << " triangle(s) with degenerate texture coordinates give their vertices "
                    "infinite or NaN frames" << std::endl;
    }

    const BitVector mask = Geometry::IndexMappingFieldMask |
                           (TypeTraits<BitVector>::One << Geometry::mapBitToFieldId(tangentBit)) |
                           (TypeTraits<BitVector>::One << Geometry::mapBitToFieldId(binormalBit));
    beginEditCP(geo, mask);
    geo->setTexSlot(_tangentTarget, tangents);
    geo->setTexSlot(_binormalTarget, binormals);
    const Int16 entry = geo->calcMappingIndex(Geometry::MapPosition);
    if(!geo->getIndexMapping().empty() && entry >= 0)
    {
        UInt16 &bits = (*geo->editMFIndexMapping())[UInt32(entry)];
        bits = UInt16(bits | tangentBit | binormalBit);
    }
    endEditCP(geo, mask);
    return false;
}

bool CalcBinormalTangentGraphOp::travNodeLeave(const NodePtr &)
{
    return true;
}

} // namespace osg
