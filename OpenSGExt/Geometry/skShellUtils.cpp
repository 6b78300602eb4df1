#include <OpenSGExt/skShellUtils.h>

#include <OpenSGExt/skGeoUtils.h>
#include <OpenSGExt/Geometry/detail/skVertexWeld.h>

#include <OpenSG/OSGGeoIndicesUI32.h>
#include <OpenSG/OSGGeoPLengthsUI32.h>
#include <OpenSG/OSGGeoPTypesUI8.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGTriangleIterator.h>

#include <array>
#include <cstring>
#include <exception>

using namespace osg;
using osg::detail::findRoot;

namespace {

// Attributes in the order TriangleIterator and the index mapping name them.
const UInt32 NumAttributes = 4 + Geometry::MaxTexCoords;

UInt16 attributeBit(UInt32 a)
{
    static const UInt16 bits[NumAttributes] = {
        Geometry::MapPosition,   Geometry::MapNormal,     Geometry::MapColor,
        Geometry::MapSecondaryColor, Geometry::MapTexCoords, Geometry::MapTexCoords1,
        Geometry::MapTexCoords2, Geometry::MapTexCoords3, Geometry::MapTexCoords4,
        Geometry::MapTexCoords5, Geometry::MapTexCoords6, Geometry::MapTexCoords7};
    return bits[a];
}

Int32 cornerIndex(const TriangleIterator &it, UInt32 a, Int32 w)
{
    switch(a)
    {
        case 0:  return it.getPositionIndex(w);
        case 1:  return it.getNormalIndex(w);
        case 2:  return it.getColorIndex(w);
        case 3:  return it.getSecondaryColorIndex(w);
        case 4:  return it.getTexCoordsIndex(w);
        case 5:  return it.getTexCoordsIndex1(w);
        case 6:  return it.getTexCoordsIndex2(w);
        case 7:  return it.getTexCoordsIndex3(w);
        case 8:  return it.getTexCoordsIndex4(w);
        case 9:  return it.getTexCoordsIndex5(w);
        case 10: return it.getTexCoordsIndex6(w);
        default: return it.getTexCoordsIndex7(w);
    }
}

struct Partition
{
    std::vector<Int32> triangleShells;
    std::vector<bool>  shellHasArea;
    UInt32             count = 0;
};

void partition(const GeometryPtr &geo, Partition &result)
{
    result.triangleShells.clear();
    result.shellHasArea.clear();
    result.count = 0;
    if(geo == NullFC)
        return;

    // Equal coordinates share one class, so that repeated positions connect.
    GeoPositionsPtr positions = geo->getPositions();
    const UInt32 numPositions = positions != NullFC ? positions->getSize() : 0;
    std::vector<UInt32> classOf;
    {
        std::vector<Pnt3f> points(numPositions);
        for(UInt32 i = 0; i < numPositions; ++i)
            points[i] = positions->getValue(i);
        detail::weldPositions(points.data(), points.size(), classOf);
    }
    std::vector<UInt32> parent(numPositions);
    for(UInt32 i = 0; i < numPositions; ++i)
        parent[i] = i;

    // First pass: join the corners of each triangle; remember one corner and the area.
    std::vector<Int32> anchor;
    std::vector<bool>  hasArea;
    for(TriangleIterator it = geo->beginTriangles(); !it.isAtEnd(); ++it)
    {
        Int32 p[3] = {it.getPositionIndex(0), it.getPositionIndex(1), it.getPositionIndex(2)};
        if(p[0] < 0 || p[1] < 0 || p[2] < 0)
        {
            anchor.push_back(-1);
            hasArea.push_back(false);
            continue;
        }
        UInt32 c[3] = {classOf[UInt32(p[0])], classOf[UInt32(p[1])], classOf[UInt32(p[2])]};
        detail::unite(parent, c[0], c[1]);
        detail::unite(parent, c[0], c[2]);
        anchor.push_back(Int32(c[0]));
        const Vec3f e1 = it.getPosition(1) - it.getPosition(0);
        const Vec3f e2 = it.getPosition(2) - it.getPosition(0);
        hasArea.push_back(e1.cross(e2).squareLength() > 0.f);
    }

    // Second pass: number the shells in the order of their first triangle.
    std::vector<Int32> shellOfRoot(numPositions, -1);
    result.triangleShells.resize(anchor.size(), -1);
    for(size_t t = 0; t < anchor.size(); ++t)
    {
        if(anchor[t] < 0)
            continue;
        UInt32 root = findRoot(parent, UInt32(anchor[t]));
        if(shellOfRoot[root] < 0)
        {
            shellOfRoot[root] = Int32(result.count++);
            result.shellHasArea.push_back(false);
        }
        const Int32 shell = shellOfRoot[root];
        result.triangleShells[t] = shell;
        if(hasArea[t])
            result.shellHasArea[size_t(shell)] = true;
    }
}

// Whether the node and every node above it are traversed by a default action.
bool isTraversed(const NodePtr &node)
{
    for(NodePtr n = node; n != NullFC; n = n->getParent())
    {
        if(n->getTravMask() == 0 || (n->getOcclusionMask() & 1) != 0)
            return false;
    }
    return true;
}

// A node that does not show the geometry is a caller's mistake worth reporting.
bool showsGeometry(const NodePtr &node, const GeometryPtr &geo, const char *caller)
{
    if(node->getCore() == geo)
        return true;
    SWARNING << "skShellUtils::" << caller << ": the node does not show the geometry"
             << std::endl;
    return false;
}

struct SourceAttribute
{
    UInt32                      attribute;
    UInt32                      fieldId;
    AttachmentPtr               property;
    GeoPropertyArrayInterface  *array;
};

typedef std::array<Int32, NumAttributes> VertexKey;

// A new node holding a geometry made of the given triangles of the component.
NodePtr buildShell(const GeometryPtr &geo, const std::vector<SourceAttribute> &sources,
                   const std::vector<Int32> &corners, const UInt32 *triangles,
                   UInt32 numTriangles)
{
    const size_t k = sources.size();
    std::vector<Int32> rows;
    rows.reserve(size_t(numTriangles) * 3 * k);
    for(UInt32 i = 0; i < numTriangles; ++i)
    {
        const Int32 *c = &corners[size_t(triangles[i]) * 3 * k];
        rows.insert(rows.end(), c, c + 3 * k);
    }
    std::vector<VertexKey> vertices;
    std::vector<UInt32>    indices;
    detail::weldCorners(rows.data(), size_t(numTriangles) * 3, k, vertices, indices);

    GeometryPtr shell = Geometry::create();
    NodePtr     node  = Node::create();
    GeoPTypesUI8Ptr    types   = GeoPTypesUI8::create();
    GeoPLengthsUI32Ptr lengths = GeoPLengthsUI32::create();
    GeoIndicesUI32Ptr  index   = GeoIndicesUI32::create();
    if(shell == NullFC || node == NullFC || types == NullFC || lengths == NullFC ||
       index == NullFC)
    {
        SWARNING << "skShellUtils::forShellsOfComponent: cannot create the shell's containers"
                 << std::endl;
        // Destroys whatever was created (count 0).
        for(FieldContainerPtr fc : {FieldContainerPtr(shell), FieldContainerPtr(node),
                                    FieldContainerPtr(types), FieldContainerPtr(lengths),
                                    FieldContainerPtr(index)})
        {
            if(fc != NullFC)
            {
                addRefCP(fc);
                subRefCP(fc);
            }
        }
        return NullFC;
    }

    beginEditCP(types, GeoPTypesUI8::TypesFieldMask);
    types->editField().push_back(GL_TRIANGLES);
    endEditCP(types, GeoPTypesUI8::TypesFieldMask);
    beginEditCP(lengths, GeoPLengthsUI32::LengthsFieldMask);
    lengths->editField().push_back(UInt32(indices.size()));
    endEditCP(lengths, GeoPLengthsUI32::LengthsFieldMask);
    beginEditCP(index, GeoIndicesUI32::IndicesFieldMask);
    index->editField().getValues().swap(indices);
    endEditCP(index, GeoIndicesUI32::IndicesFieldMask);

    BitVector mask = Geometry::TypesFieldMask | Geometry::LengthsFieldMask |
                     Geometry::IndicesFieldMask | Geometry::IndexMappingFieldMask |
                     Geometry::MaterialFieldMask;
    for(const SourceAttribute &s : sources)
        mask |= TypeTraits<BitVector>::One << s.fieldId;

    beginEditCP(shell, mask);
    shell->setTypes(types);
    shell->setLengths(lengths);
    shell->setIndices(index);
    UInt16 mapping = 0;
    for(size_t a = 0; a < k; ++a)
    {
        const SourceAttribute &s = sources[a];
        FieldContainerPtr fc = s.property->getType().createFieldContainer();
        GeoPropertyArrayInterface *array =
            fc != NullFC ? dynamic_cast<GeoPropertyArrayInterface *>(fc.getCPtr()) : NULL;
        if(array == NULL || array->getElementSize() != s.array->getElementSize())
        {
            SWARNING << "skShellUtils::forShellsOfComponent: cannot copy the property "
                     << s.property->getType().getName() << "; the shell goes without it"
                     << std::endl;
            if(fc != NullFC)
            {
                addRefCP(fc);
                subRefCP(fc);
            }
            continue;
        }
        const UInt32  size     = s.array->getSize();
        const UInt32  elemSize = s.array->getElementSize();
        const UInt8  *src      = s.array->getData();
        beginEditCP(fc, array->getValuesFieldMask());
        array->resize(vertices.size());
        UInt8 *dst = array->editData();
        for(size_t v = 0; v < vertices.size(); ++v)
        {
            // An invalid index leaves the element zero (TriangleIterator reported it).
            const Int32 i = vertices[v][a];
            if(i >= 0 && UInt32(i) < size && src != NULL)
                std::memcpy(dst + v * elemSize, src + size_t(i) * elemSize, elemSize);
        }
        endEditCP(fc, array->getValuesFieldMask());
        shell->setPropertySlot(s.fieldId, AttachmentPtr::dcast(fc));
        mapping |= attributeBit(s.attribute);
    }
    shell->editMFIndexMapping()->push_back(mapping);
    shell->setMaterial(geo->getMaterial());
    endEditCP(shell, mask);

    beginEditCP(node, Node::CoreFieldMask);
    node->setCore(shell);
    endEditCP(node, Node::CoreFieldMask);
    return node;
}

} // namespace

UInt32 skShellUtils::computeShells(const GeometryPtr &geo, std::vector<Int32> &triangleShells)
{
    Partition p;
    partition(geo, p);
    triangleShells.swap(p.triangleShells);
    return p.count;
}

void skShellUtils::forShellsOfComponent(const GeometryPtr &geo, ShellFunction fn)
{
    if(geo == NullFC || !fn)
    {
        SWARNING << "skShellUtils::forShellsOfComponent: "
                 << (geo == NullFC ? "null geometry" : "no function") << std::endl;
        return;
    }
    Partition p;
    partition(geo, p);
    if(p.count == 0)
        return;

    std::vector<SourceAttribute> sources;
    for(UInt32 a = 0; a < NumAttributes; ++a)
    {
        const UInt16 bit = attributeBit(a);
        GeoPropertyArrayInterface *array = geo->getProperty(bit);
        if(array == NULL || array->getSize() == 0)
            continue;
        const UInt32 fieldId = Geometry::mapBitToFieldId(bit);
        sources.push_back({a, fieldId, geo->getPropertySlot(fieldId), array});
    }

    // Every corner's attribute indices, k per corner, in triangle order.
    const size_t k = sources.size();
    std::vector<Int32> corners;
    corners.reserve(p.triangleShells.size() * 3 * k);
    for(TriangleIterator it = geo->beginTriangles(); !it.isAtEnd(); ++it)
    {
        for(Int32 w = 0; w < 3; ++w)
        {
            for(const SourceAttribute &s : sources)
                corners.push_back(cornerIndex(it, s.attribute, w));
        }
    }
    if(corners.size() != p.triangleShells.size() * 3 * k)
    {
        SWARNING << "skShellUtils::forShellsOfComponent: the geometry changed while it was read"
                 << std::endl;
        return;
    }

    // Triangles grouped by shell, each group in triangle order (counting sort).
    std::vector<UInt32> start(p.count + 1, 0);
    for(Int32 s : p.triangleShells)
    {
        if(s >= 0)
            ++start[size_t(s) + 1];
    }
    for(UInt32 s = 0; s < p.count; ++s)
        start[s + 1] += start[s];
    std::vector<UInt32> order(start.back());
    {
        std::vector<UInt32> next(start.begin(), start.end() - 1);
        for(size_t t = 0; t < p.triangleShells.size(); ++t)
        {
            if(p.triangleShells[t] >= 0)
                order[next[size_t(p.triangleShells[t])]++] = UInt32(t);
        }
    }

    for(UInt32 s = 0; s < p.count; ++s)
    {
        NodePtr node = buildShell(geo, sources, corners, order.data() + start[s],
                                  start[s + 1] - start[s]);
        if(node == NullFC)
            return;
        GeometryPtr shellGeo = GeometryPtr::dcast(node->getCore());
        addRefCP(node);
        bool stop = false;
        try
        {
            fn(node, shellGeo);
        }
        catch(const std::exception &e)
        {
            SWARNING << "skShellUtils::forShellsOfComponent: the function failed on shell " << s
                     << ": " << e.what() << "; iteration ended" << std::endl;
            stop = true;
        }
        catch(...)
        {
            SWARNING << "skShellUtils::forShellsOfComponent: the function failed on shell " << s
                     << "; iteration ended" << std::endl;
            stop = true;
        }
        subRefCP(node);
        if(stop)
            return;
    }
}

bool skShellUtils::isVisibleShellComponent(const NodePtr &node, const GeometryPtr &geo,
                                           UInt32 index)
{
    if(node == NullFC || geo == NullFC || !showsGeometry(node, geo, "isVisibleShellComponent"))
        return false;
    if(!isTraversed(node))
        return false;
    if(!skGeoUtils::isVisibleSide(node, geo, 0) && !skGeoUtils::isVisibleSide(node, geo, 1))
        return false;
    Partition p;
    partition(geo, p);
    return index < p.count && p.shellHasArea[index];
}

bool skShellUtils::isShellGeoOneSided(const NodePtr &node, const GeometryPtr &geo)
{
    if(geo == NullFC)
        return false;
    if(node != NullFC && !showsGeometry(node, geo, "isShellGeoOneSided"))
        return false;
    return skGeoUtils::isVisibleSide(node, geo, 0) != skGeoUtils::isVisibleSide(node, geo, 1);
}
