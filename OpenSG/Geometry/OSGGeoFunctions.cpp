#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGGeoIndicesUI32.h>
#include <OpenSG/OSGGeoNormals3f.h>
#include <OpenSG/OSGTriangleIterator.h>
#include <OpenSG/OSGLog.h>

#include <cstring>
#include <vector>

namespace osg {

namespace {

constexpr UInt32 NumAttributes = 12;

BitVector fieldMask(UInt32 fieldId)
{
    return TypeTraits<BitVector>::One << fieldId;
}

FieldContainerPtr containerOf(GeoPropertyArrayInterface *property)
{
    return FieldContainerPtr(dynamic_cast<FieldContainer *>(property));
}

std::vector<UInt32> readIndices(const GeoIndicesPtr &indices)
{
    std::vector<UInt32> values(indices->getSize());
    if(indices->getFormat() == GL_UNSIGNED_INT && indices->getFormatSize() == 4 && !values.empty())
        std::memcpy(values.data(), indices->getData(), values.size() * sizeof(UInt32));
    else
    {
        for(UInt32 i = 0; i < values.size(); ++i)
            values[i] = indices->getValue(i);
    }
    return values;
}

/*! Numbers the distinct index tuples of the points in order of first use: vertexOf[p] is the
    vertex of point p, firstPoint[v] the first point of vertex v. Open addressing over the
    tuples themselves keeps this linear in the number of indices. */
void numberTuples(const std::vector<UInt32> &indices, UInt32 n, UInt32 numPoints,
                  std::vector<UInt32> &vertexOf, std::vector<UInt32> &firstPoint)
{
    size_t tableSize = 16;
    while(tableSize < size_t(numPoints) * 2)
        tableSize <<= 1;
    std::vector<UInt32> table(tableSize, 0);   // vertex + 1, 0 for free
    const size_t mask = tableSize - 1;

    vertexOf.assign(numPoints, 0);
    firstPoint.clear();
    for(UInt32 p = 0; p < numPoints; ++p)
    {
        const UInt32 *tuple = indices.data() + size_t(p) * n;
        UInt64 h = 1469598103934665603ull;
        for(UInt32 j = 0; j < n; ++j)
            h = (h ^ tuple[j]) * 1099511628211ull;
        for(size_t slot = size_t(h ^ (h >> 29)) & mask; ; slot = (slot + 1) & mask)
        {
            UInt32 entry = table[slot];
            if(entry == 0)
            {
                vertexOf[p]  = UInt32(firstPoint.size());
                table[slot]  = vertexOf[p] + 1;
                firstPoint.push_back(p);
                break;
            }
            const UInt32 *other = indices.data() + size_t(firstPoint[entry - 1]) * n;
            if(std::memcmp(tuple, other, n * sizeof(UInt32)) == 0)
            {
                vertexOf[p] = entry - 1;
                break;
            }
        }
    }
}

UInt16 presentAttributeBits(const GeometryPtr &geo)
{
    UInt16 bits = 0;
    for(UInt32 a = 0; a < NumAttributes; ++a)
    {
        if(geo->getProperty(Int32(1u << a)) != NULL)
            bits = UInt16(bits | (1u << a));
    }
    return bits;
}

Int32 indexPositions(const GeometryPtr &geo)
{
    GeoPositionsPtr positions = geo->getPositions();
    if(positions == NullFC)
        return 0;
    geo->unshareProperties();

    GeoIndicesUI32Ptr indices = GeoIndicesUI32::create();
    beginEditCP(indices, GeoIndicesUI32::IndicesFieldMask);
    MFUInt32 &values = indices->editField();
    values.resize(positions->getSize());
    for(UInt32 i = 0; i < values.size(); ++i)
        values[i] = i;
    endEditCP(indices, GeoIndicesUI32::IndicesFieldMask);

    // One entry naming every present attribute, so that the result reads as single-indexed
    // to anyone who checks the mapping's size.
    BitVector mask = Geometry::IndicesFieldMask | Geometry::IndexMappingFieldMask;
    beginEditCP(geo, mask);
    geo->setIndices(indices);
    geo->editMFIndexMapping()->clear();
    geo->editMFIndexMapping()->push_back(presentAttributeBits(geo));
    endEditCP(geo, mask);
    return 0;
}

} // namespace

Int32 createSingleIndex(GeometryPtr geo)
{
    if(geo == NullFC)
    {
        SFATAL << "createSingleIndex: no geometry given" << std::endl;
        return -1;
    }

    if(geo->getIndices() == NullFC)
        return indexPositions(geo);

    const UInt32 n = geo->getIndexMapping().size();
    if(n <= 1)
    {
        // One index per point already; an empty mapping is spelled out as one entry.
        UInt16 bits = presentAttributeBits(geo);
        if(n == 0 && bits != 0)
        {
            beginEditCP(geo, Geometry::IndexMappingFieldMask);
            geo->editMFIndexMapping()->push_back(bits);
            endEditCP(geo, Geometry::IndexMappingFieldMask);
        }
        return geo->getPositions() != NullFC ? Int32(geo->getPositions()->getSize()) : 0;
    }

    const std::vector<UInt32> indices   = readIndices(geo->getIndices());
    const UInt32              numPoints = UInt32(indices.size() / n);

    // Check every mapped attribute's indices before anything changes.
    for(UInt32 a = 0; a < NumAttributes; ++a)
    {
        const UInt16 bit = UInt16(1u << a);
        GeoPropertyArrayInterface *prop = geo->getProperty(bit);
        Int16 column = geo->calcMappingIndex(bit);
        if(prop == NULL || column < 0)
            continue;
        const UInt32 size = prop->getSize();
        for(UInt32 p = 0; p < numPoints; ++p)
        {
            UInt32 value = indices[size_t(p) * n + UInt32(column)];
            if(value >= size)
            {
                SWARNING << "createSingleIndex: point " << p << " uses element " << value
                         << " of the property with mapping bit " << bit << ", which has "
                         << size << "; the geometry is left unchanged" << std::endl;
                return -1;
            }
        }
    }

    std::vector<UInt32> vertexOf, firstPoint;
    numberTuples(indices, n, numPoints, vertexOf, firstPoint);
    const UInt32 numVertices = UInt32(firstPoint.size());

    geo->unshareProperties();

    std::vector<UInt8> old;
    for(UInt32 a = 0; a < NumAttributes; ++a)
    {
        const UInt16 bit = UInt16(1u << a);
        GeoPropertyArrayInterface *prop = geo->getProperty(bit);
        Int16 column = geo->calcMappingIndex(bit);
        if(prop == NULL || column < 0)
            continue;
        const UInt32 elementSize = prop->getElementSize();
        old.assign(prop->getData(), prop->getData() + size_t(prop->getSize()) * elementSize);

        FieldContainerPtr fc = containerOf(prop);
        beginEditCP(fc, prop->getValuesFieldMask());
        prop->resize(numVertices);
        UInt8 *data = prop->editData();
        for(UInt32 v = 0; v < numVertices; ++v)
        {
            UInt32 source = indices[size_t(firstPoint[v]) * n + UInt32(column)];
            std::memcpy(data + size_t(v) * elementSize, old.data() + size_t(source) * elementSize,
                        elementSize);
        }
        endEditCP(fc, prop->getValuesFieldMask());
    }

    UInt16 bits = 0;
    for(UInt16 entry : geo->getIndexMapping())
        bits = UInt16(bits | entry);

    // Write the single index in place when it is already 32 bits (unshared above).
    GeoIndicesUI32Ptr single = GeoIndicesUI32Ptr::dcast(geo->getIndices());
    bool replace = single == NullFC;
    if(replace)
        single = GeoIndicesUI32::create();
    beginEditCP(single, GeoIndicesUI32::IndicesFieldMask);
    single->editField().getValues().assign(vertexOf.begin(), vertexOf.end());
    endEditCP(single, GeoIndicesUI32::IndicesFieldMask);

    BitVector mask = Geometry::IndexMappingFieldMask | (replace ? Geometry::IndicesFieldMask
                                                                : BitVector());
    beginEditCP(geo, mask);
    if(replace)
        geo->setIndices(single);
    geo->editMFIndexMapping()->clear();
    geo->editMFIndexMapping()->push_back(bits);
    endEditCP(geo, mask);

    return Int32(numVertices);
}

void separateProperties(GeometryPtr geo)
{
    if(geo == NullFC)
    {
        SWARNING << "separateProperties: no geometry given" << std::endl;
        return;
    }
    for(UInt32 id = Geometry::TypesFieldId; id <= Geometry::IndicesFieldId; ++id)
    {
        AttachmentPtr p = geo->getPropertySlot(id);
        if(p == NullFC || p->getParents().size() <= 1)
            continue;
        AttachmentPtr copy = cloneGeoProperty(p);
        if(copy == NullFC)
            continue;
        beginEditCP(geo, fieldMask(id));
        geo->setPropertySlot(id, copy);
        endEditCP(geo, fieldMask(id));
    }
}

void calcVertexNormals(GeometryPtr geo)
{
    if(geo == NullFC)
    {
        SWARNING << "calcVertexNormals: no geometry given" << std::endl;
        return;
    }
    GeoPositionsPtr positions = geo->getPositions();
    if(positions == NullFC)
    {
        SWARNING << "calcVertexNormals: the geometry has no positions" << std::endl;
        return;
    }

    std::vector<Vec3f> sums(positions->getSize());
    for(TriangleIterator it = geo->beginTriangles(); it != geo->endTriangles(); ++it)
    {
        Int32 i0 = it.getPositionIndex(0), i1 = it.getPositionIndex(1);
        Int32 i2 = it.getPositionIndex(2);
        if(i0 < 0 || i1 < 0 || i2 < 0)
            continue;
        Vec3f face = (it.getPosition(1) - it.getPosition(0)).cross(
                         it.getPosition(2) - it.getPosition(0));
        Real32 length = face.length();
        if(!(length > 0.f))
            continue;
        face /= length;
        sums[i0] += face;
        sums[i1] += face;
        sums[i2] += face;
    }

    GeoNormals3fPtr normals = GeoNormals3f::create();
    beginEditCP(normals, GeoNormals3f::NormalsFieldMask);
    MFVec3f &values = normals->editField();
    values.reserve(sums.size());
    for(Vec3f &n : sums)
    {
        n.normalize();
        values.push_back(n);
    }
    endEditCP(normals, GeoNormals3f::NormalsFieldMask);

    Int16 posEntry = geo->calcMappingIndex(Geometry::MapPosition);
    BitVector mask = Geometry::NormalsFieldMask |
                     (posEntry >= 0 ? Geometry::IndexMappingFieldMask : BitVector());
    beginEditCP(geo, mask);
    geo->setNormals(normals);
    if(posEntry >= 0)
    {
        MFUInt16 &mapping = *geo->editMFIndexMapping();
        for(UInt16 &entry : mapping)
            entry = UInt16(entry & ~Geometry::MapNormal);
        mapping[posEntry] = UInt16(mapping[posEntry] | Geometry::MapNormal);
    }
    endEditCP(geo, mask);
}

} // namespace osg
