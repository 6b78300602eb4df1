#include <OpenSGExt/Geometry/detail/skSubdivideGeometry.h>
#include <OpenSGExt/Geometry/detail/skGeometrySkin.h>

#include <OpenSG/OSGTriangleIterator.h>
#include <OpenSG/OSGGeoPTypesUI8.h>
#include <OpenSG/OSGGeoPLengthsUI32.h>
#include <OpenSG/OSGGeoPositions3f.h>
#include <OpenSG/OSGGeoNormals3f.h>
#include <OpenSG/OSGGeoColors3f.h>
#include <OpenSG/OSGGeoTexCoords2f.h>
#include <OpenSG/OSGGeoTexCoords3f.h>
#include <OpenSG/OSGGeoTexCoords4f.h>

namespace osg {
namespace detail {

constexpr UInt32 SubdivLayout::Dims[SubdivLayout::NumAttributes];

SubdivLayout SubdivLayout::of(const GeometryPtr &geo)
{
    UInt16 bits = 0;
    for(UInt32 a = 0; a < NumAttributes; ++a)
    {
        if(geo->getProperty(Int32(1u << a)) != NULL)
            bits = UInt16(bits | (1u << a));
    }
    return fromMask(bits);
}

SubdivLayout SubdivLayout::fromMask(UInt16 attributes)
{
    SubdivLayout layout;
    for(UInt32 a = 0; a < NumAttributes; ++a)
    {
        // The position slot is always there: a geometry without positions is never packed.
        layout.present[a] = a == 0 || (attributes & (1u << a)) != 0;
        if(layout.present[a])
        {
            layout.offset[a] = layout.width;
            layout.width += Dims[a];
        }
    }
    return layout;
}

UInt16 SubdivLayout::mask(void) const
{
    UInt16 bits = 0;
    for(UInt32 a = 0; a < NumAttributes; ++a)
    {
        if(present[a])
            bits = UInt16(bits | (1u << a));
    }
    return bits;
}

void SubdivLayout::pack(Real32 *dst, const SubdivCorners &k) const
{
    for(UInt32 w = 0; w < 3; ++w, dst += width)
    {
        const Real32 *sources[NumAttributes] = {
            k.p[w].getValues(),    k.n[w].getValues(),    k.c[w].getValuesRGB(),
            k.sc[w].getValuesRGB(), k.t[0][w].getValues(), k.t[1][w].getValues(),
            k.t[2][w].getValues(), k.t[3][w].getValues(), k.t[4][w].getValues(),
            k.t[5][w].getValues(), k.t6[w].getValues(),   k.t7[w].getValues() };
        for(UInt32 a = 0; a < NumAttributes; ++a)
        {
            if(!present[a])
                continue;
            for(UInt32 i = 0; i < Dims[a]; ++i)
                dst[offset[a] + i] = sources[a][i];
        }
    }
}

void readSubdivCorners(const TriangleIterator &it, const GeometryPtr &geo, SubdivCorners &out)
{
    const GeoTexCoordsPtr t6 = geo->getTexCoords6(), t7 = geo->getTexCoords7();
    for(Int32 w = 0; w < 3; ++w)
    {
        out.p[w]  = it.getPosition(w);
        out.n[w]  = it.getNormal(w);
        out.c[w]  = it.getColor(w);
        out.sc[w] = it.getSecondaryColor(w);
        out.t[0][w] = it.getTexCoords(w);
        out.t[1][w] = it.getTexCoords1(w);
        out.t[2][w] = it.getTexCoords2(w);
        out.t[3][w] = it.getTexCoords3(w);
        out.t[4][w] = it.getTexCoords4(w);
        out.t[5][w] = it.getTexCoords5(w);
        const Int32 i6 = it.getTexCoordsIndex6(w), i7 = it.getTexCoordsIndex7(w);
        out.t6[w] = t6 != NullFC && i6 >= 0 ? t6->getValue3f(UInt32(i6)) : Vec3f();
        out.t7[w] = t7 != NullFC && i7 >= 0 ? t7->getValue4f(UInt32(i7)) : Vec4f();
    }
}

std::size_t countTriangles(const GeometryPtr &geo)
{
    std::size_t n = 0;
    for(TriangleIterator it = geo->beginTriangles(); it != geo->endTriangles(); ++it)
        ++n;
    return n;
}

namespace {

template <class PropPtr, class ValueT>
PropPtr fillProperty(const SubdivLayout &layout, UInt32 attribute,
                     const std::vector<Real32> &soup, std::size_t vertices)
{
    typedef typename PropPtr::StoredObjectType Type;
    PropPtr prop = Type::create();
    beginEditCP(prop);
    auto &values = prop->editField().getValues();
    values.resize(vertices);
    const UInt32 dim = SubdivLayout::Dims[attribute], off = layout.offset[attribute];
    for(std::size_t v = 0; v < vertices; ++v)
    {
        const Real32 *src = soup.data() + v * layout.width + off;
        ValueT &dst = values[v];
        for(UInt32 i = 0; i < dim; ++i)
            dst[i] = src[i];
    }
    endEditCP(prop);
    return prop;
}

} // namespace

void writeTriangleSoup(const GeometryPtr &geo, const SubdivLayout &layout,
                       const std::vector<Real32> &soup)
{
    const std::size_t vertices = layout.width != 0 ? soup.size() / layout.width : 0;

    GeoPTypesUI8Ptr types = GeoPTypesUI8::create();
    beginEditCP(types);
    types->editField().push_back(UInt8(GL_TRIANGLES));
    endEditCP(types);
    GeoPLengthsUI32Ptr lengths = GeoPLengthsUI32::create();
    beginEditCP(lengths);
    lengths->editField().push_back(UInt32(vertices));
    endEditCP(lengths);

    GeoPositions3fPtr positions = fillProperty<GeoPositions3fPtr, Pnt3f>(layout, 0, soup, vertices);
    GeoNormals3fPtr normals;
    GeoColors3fPtr colors, secondary;
    GeoTexCoordsPtr tex[8];
    if(layout.present[1])
        normals = fillProperty<GeoNormals3fPtr, Vec3f>(layout, 1, soup, vertices);
    if(layout.present[2])
        colors = fillProperty<GeoColors3fPtr, Color3f>(layout, 2, soup, vertices);
    if(layout.present[3])
        secondary = fillProperty<GeoColors3fPtr, Color3f>(layout, 3, soup, vertices);
    for(UInt32 u = 0; u < 6; ++u)
    {
        if(layout.present[4 + u])
            tex[u] = fillProperty<GeoTexCoords2fPtr, Vec2f>(layout, 4 + u, soup, vertices);
    }
    if(layout.present[10])
        tex[6] = fillProperty<GeoTexCoords3fPtr, Vec3f>(layout, 10, soup, vertices);
    if(layout.present[11])
        tex[7] = fillProperty<GeoTexCoords4fPtr, Vec4f>(layout, 11, soup, vertices);

    const MaterialPtr material = geo->getMaterial();
    beginEditCP(geo);
    geo->setTypes(types);
    geo->setLengths(lengths);
    geo->setPositions(positions);
    geo->setIndices(NullFC);
    geo->editMFIndexMapping()->clear();
    if(normals != NullFC)
        geo->setNormals(normals);
    if(colors != NullFC)
        geo->setColors(colors);
    if(secondary != NullFC)
        geo->setSecondaryColors(secondary);
    for(UInt32 u = 0; u < 8; ++u)
    {
        if(tex[u] != NullFC)
            geo->setTexSlot(u, tex[u]);
    }
    if(material != NullFC)
        geo->setMaterial(material);
    endEditCP(geo);
}

bool skipsSubdivision(const GeometryPtr &geo)
{
    return geometryHasSkinning(geo) || geo->getPositions() == NullFC;
}

SubdivStatus finishSubdivision(const GeometryPtr &geo, const SubdivLayout &layout,
                               SubdivScratch &scratch)
{
    const SubdivStatus status = SubdivStatus(scratch.status);
    if(status != SubdivStatus::Ok)
    {
        scratch.out.clear();
        scratch.triangleCount = 0;
        return status;
    }
    writeTriangleSoup(geo, layout, scratch.out);
    std::vector<Real32>().swap(scratch.out);
    return SubdivStatus::Ok;
}

} // namespace detail
} // namespace osg
