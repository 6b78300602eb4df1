#include <OpenSGExt/Geometry/detail/skVertexWeld.h>

#include <cmath>

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

bool VertexCompareContext::less(UInt32 a, UInt32 b) const
{
    for(const CompareAttribute &at : attr)
    {
        if(at.kind == CompareAttribute::Floats)
        {
            const Real32 *va = at.floats(a), *vb = at.floats(b);
            if(at.angle)
            {
                Vec3f na(va[0], va[1], va[2]), nb(vb[0], vb[1], vb[2]);
                na.normalize();
                nb.normalize();
                // No clamping: a dot product that rounds above 1 gives NaN, which is no match,
                // and the components decide.
                if(std::acos(na.dot(nb)) <= angleEps)
                    continue;
            }
            const Real32 e = at.tolerance;
            for(UInt32 c = 0; c < at.dim; ++c)
            {
                if(va[c] < vb[c] - e)
                    return true;
                if(va[c] > vb[c] + e)
                    return false;
            }
        }
        else if(at.kind == CompareAttribute::Bytes)
        {
            const Int8 *va = at.bytes(a), *vb = at.bytes(b);
            for(UInt32 c = 0; c < at.dim; ++c)
            {
                if(va[c] < vb[c])
                    return true;
                if(va[c] > vb[c])
                    return false;
            }
        }
    }
    return false;
}

bool VertexCompareContext::same(UInt32 a, UInt32 b) const
{
    for(const CompareAttribute &at : attr)
    {
        if(at.kind == CompareAttribute::Floats)
        {
            const Real32 *va = at.floats(a), *vb = at.floats(b);
            for(UInt32 c = 0; c < at.dim; ++c)
            {
                if(canonicalBits(va[c]) != canonicalBits(vb[c]))
                    return false;
            }
        }
        else if(at.kind == CompareAttribute::Bytes)
        {
            if(std::memcmp(at.bytes(a), at.bytes(b), at.dim) != 0)
                return false;
        }
    }
    return true;
}

std::size_t VertexCompareContext::hash(UInt32 v) const
{
    UInt64 h = 0x9e3779b97f4a7c15ull;
    for(const CompareAttribute &at : attr)
    {
        if(at.kind == CompareAttribute::Floats)
        {
            const Real32 *values = at.floats(v);
            for(UInt32 c = 0; c < at.dim; ++c)
                h = (h ^ canonicalBits(values[c])) * 0xff51afd7ed558ccdull;
        }
        else if(at.kind == CompareAttribute::Bytes)
        {
            const Int8 *values = at.bytes(v);
            for(UInt32 c = 0; c < at.dim; ++c)
                h = (h ^ UInt8(values[c])) * 0xff51afd7ed558ccdull;
        }
    }
    return std::size_t(h ^ (h >> 32));
}

} // namespace detail
} // namespace osg
