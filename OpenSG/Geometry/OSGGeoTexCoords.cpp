#include <OpenSG/OSGGeoTexCoords.h>
#include <OpenSG/OSGLog.h>

namespace osg {

GeoTexCoords::GeoTexCoords(void) : Inherited(), GeoPropertyInterface<Vec2f>()
{
}

GeoTexCoords::GeoTexCoords(const GeoTexCoords &source) :
    Inherited(source), GeoPropertyInterface<Vec2f>(source)
{
}

GeoTexCoords::~GeoTexCoords(void) = default;

namespace {

// Copies up to n components of element index into out (zeroed first); false if out of range.
bool readComponents(const GeoTexCoords &p, UInt32 index, Real32 *out, UInt32 n)
{
    for(UInt32 c = 0; c < n; ++c)
        out[c] = 0.f;
    if(index >= p.getSize())
    {
        SWARNING << "GeoTexCoords: index " << index << " is beyond the " << p.getSize()
                 << " elements; read as zero" << std::endl;
        return false;
    }
    const UInt32 dim = p.getDimension();
    if(p.getFormat() == GL_FLOAT && p.getFormatSize() == sizeof(Real32))
    {
        const Real32 *f = reinterpret_cast<const Real32 *>(p.getData()) + size_t(dim) * index;
        for(UInt32 c = 0; c < n && c < dim; ++c)
            out[c] = f[c];
        return true;
    }
    // Stored otherwise: the generic two-component value is all there is.
    const Vec2f v = p.getValue(index);
    for(UInt32 c = 0; c < n && c < 2 && c < dim; ++c)
        out[c] = v[c];
    return true;
}

} // namespace

Vec3f GeoTexCoords::getValue3f(const UInt32 index) const
{
    Real32 v[3];
    readComponents(*this, index, v, 3);
    return Vec3f(v[0], v[1], v[2]);
}

Vec4f GeoTexCoords::getValue4f(const UInt32 index) const
{
    Real32 v[4];
    readComponents(*this, index, v, 4);
    return Vec4f(v[0], v[1], v[2], v[3]);
}

void GeoTexCoords::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    notifyGeometries(this, whichField);
}

} // namespace osg
