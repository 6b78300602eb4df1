#include <OpenSGExt/OSGUnifyVerticesGraphOp.h>
#include <OpenSGExt/Geometry/detail/skGeometrySkin.h>
#include <OpenSGExt/Geometry/detail/skUnifyVertices.h>

#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGGeoIndicesUI32.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGLog.h>

#include <vector>

namespace osg {

namespace {

/*! The comparison's view of one property, or None for a type that takes no part. */
detail::CompareAttribute viewOf(GeoPropertyArrayInterface *prop, UInt32 attribute,
                                Real32 tolerance)
{
    detail::CompareAttribute at;
    if(prop == NULL || prop->getStride() != 0 || prop->getSize() == 0)
        return at;
    const UInt32 format = prop->getFormat(), dim = prop->getDimension();
    const bool floats = format == GL_FLOAT && prop->getFormatSize() == sizeof(Real32);
    bool supported = false;
    if(attribute == 0)
        supported = floats && dim == 3;
    else if(attribute == 1)
    {
        supported = (floats || (format == GL_BYTE && prop->getFormatSize() == 1)) && dim == 3;
        at.angle  = floats;
    }
    else if(attribute < 4)
        supported = floats && (dim == 3 || dim == 4);
    else
        supported = floats && dim >= 1 && dim <= 4;
    if(!supported)
        return detail::CompareAttribute();
    at.data      = prop->getData();
    at.size      = prop->getSize();
    at.kind      = floats ? detail::CompareAttribute::Floats : detail::CompareAttribute::Bytes;
    at.dim       = UInt8(dim);
    at.tolerance = tolerance;
    return at;
}

// The indices as 32-bit values: the property's own array when it holds them so, else a copy.
const UInt32 *indexValues(const GeoIndicesPtr &indices, std::vector<UInt32> &copy)
{
    if(indices->getFormat() == GL_UNSIGNED_INT && indices->getFormatSize() == 4)
        return reinterpret_cast<const UInt32 *>(indices->getData());
    copy.resize(indices->getSize());
    for(UInt32 i = 0; i < copy.size(); ++i)
        copy[i] = indices->getValue(i);
    return copy.data();
}

void writeIndices(const GeoIndicesPtr &indices, std::vector<UInt32> &values)
{
    beginEditCP(indices, indices->getValuesFieldMask());
    GeoIndicesUI32Ptr ui32 = GeoIndicesUI32Ptr::dcast(indices);
    if(ui32 != NullFC)
        ui32->editField().getValues().swap(values);
    else
    {
        for(UInt32 i = 0; i < values.size(); ++i)
            indices->setValue(values[i], i);
    }
    endEditCP(indices, indices->getValuesFieldMask());
}

} // namespace

UnifyVerticesGraphOp::UnifyVerticesGraphOp(const char *name) : Inherited(name)
{
}

UnifyVerticesGraphOp::UnifyVerticesGraphOp(const UnifyVerticesGraphOp &source) = default;

UnifyVerticesGraphOp &UnifyVerticesGraphOp::operator=(const UnifyVerticesGraphOp &source) =
    default;

UnifyVerticesGraphOp::~UnifyVerticesGraphOp(void) = default;

GraphOp *UnifyVerticesGraphOp::create(void)
{
    return new UnifyVerticesGraphOp("UnifyVertices");
}

void UnifyVerticesGraphOp::setParams(const std::string)
{
}

std::string UnifyVerticesGraphOp::usage(void)
{
    return std::string();
}

void UnifyVerticesGraphOp::setCompareMode(bool positions, bool normals, bool colors,
                                          bool secondaryColors, bool texCoords0, bool texCoords1,
                                          bool texCoords2, bool texCoords3, bool texCoords4,
                                          bool texCoords5, bool texCoords6, bool texCoords7)
{
    const bool flags[12] = { positions,  normals,    colors,     secondaryColors,
                             texCoords0, texCoords1, texCoords2, texCoords3,
                             texCoords4, texCoords5, texCoords6, texCoords7 };
    for(UInt32 i = 0; i < 12; ++i)
        _compare[i] = flags[i];
}

bool UnifyVerticesGraphOp::traverse(NodePtr &root)
{
    _visited.clear();
    return Inherited::traverse(root);
}

Action::ResultE UnifyVerticesGraphOp::traverseEnter(NodePtr &node)
{
    if(node == NullFC)
        return Action::Continue;
    GeometryPtr geo = GeometryPtr::dcast(node->getCore());
    if(geo == NullFC || _visited.count(geo.getCPtr()) != 0)
        return Action::Continue;
    process(geo);
    _visited.insert(geo.getCPtr());
    return Action::Continue;
}

Action::ResultE UnifyVerticesGraphOp::traverseLeave(NodePtr &, Action::ResultE)
{
    return Action::Continue;
}

void UnifyVerticesGraphOp::process(const GeometryPtr &geo)
{
    if(geo == NullFC)
    {
        SWARNING << "UnifyVerticesGraphOp: no geometry given" << std::endl;
        return;
    }
    separateProperties(geo);
    if(geo->getIndexMapping().size() != 1 && detail::singleIndexKeepingSkin(geo) < 0)
        return;   // reported by createSingleIndex
    unify(geo);
}

void UnifyVerticesGraphOp::unify(const GeometryPtr &geo)
{
    GeoPositionsPtr positions = geo->getPositions();
    if(positions == NullFC)
        return;

    detail::VertexCompareContext context;
    context.angleEps = _normalEpsilon;
    for(UInt32 a = 0; a < 12; ++a)
    {
        if(!_compare[a])
            continue;
        const Real32 tolerance = a == 0 ? _epsilon : (a == 1 ? 0.f : _texCoordEpsilon);
        context.attr[a] = viewOf(geo->getProperty(Int32(1u << a)), a, tolerance);
    }

    if(geo->getIndices() == NullFC)
    {
        GeoIndicesUI32Ptr indices = GeoIndicesUI32::create();
        beginEditCP(indices, GeoIndicesUI32::IndicesFieldMask);
        MFUInt32 &values = indices->editField();
        values.resize(positions->getSize());
        for(UInt32 i = 0; i < values.size(); ++i)
            values[i] = i;
        endEditCP(indices, GeoIndicesUI32::IndicesFieldMask);
        UInt16 bits = 0;
        for(UInt32 a = 0; a < 12; ++a)
        {
            if(geo->getProperty(Int32(1u << a)) != NULL)
                bits = UInt16(bits | (1u << a));
        }
        const BitVector mask = Geometry::IndicesFieldMask | Geometry::IndexMappingFieldMask;
        beginEditCP(geo, mask);
        geo->setIndices(indices);
        geo->editMFIndexMapping()->clear();
        geo->editMFIndexMapping()->push_back(bits);
        endEditCP(geo, mask);
    }

    GeoIndicesPtr indices = geo->getIndices();
    std::vector<UInt32> copy;
    const UInt32 *values = indexValues(indices, copy);
    const std::size_t count = indices->getSize();
    detail::VertexUnifier unifier(context);
    std::string problem = unifier.validate(values, count);
    if(problem.empty() && context.attr[0].kind == detail::CompareAttribute::None)
    {
        // Compared positions were checked with the rest.
        const UInt32 numPositions = positions->getSize();
        for(std::size_t i = 0; i < count && problem.empty(); ++i)
        {
            if(values[i] >= numPositions)
                problem = "an index is past the positions";
        }
    }
    if(problem.empty())
        problem = detail::checkSkinForUnify(geo);
    if(!problem.empty())
    {
        SWARNING << "UnifyVerticesGraphOp: " << problem << "; the geometry is left unchanged"
                 << std::endl;
        return;
    }

    std::vector<UInt32> result(count);
    unifier.run(values, count, result.data());
    writeIndices(indices, result);
    detail::remapSkinAfterUnify(geo, [&unifier](UInt32 v) { return unifier.find(v); });
}

} // namespace osg
