#include <OpenSGExt/Geometry/detail/skVertexWeld.h>

#include <cmath>

namespace osg {
namespace detail {

void weldPositions(const Pnt3f *positions, std::size_t count, std::vector<UInt32> &classOf)
{
    classOf.resize(count);
    HashIndex firstOf;
    firstOf.reset(count);
    const auto same = [positions](std::size_t i, UInt32 j) {
        const Real32 *p = positions[i].getValues(), *q = positions[j].getValues();
        return canonicalBits(p[0]) == canonicalBits(q[0]) &&
               canonicalBits(p[1]) == canonicalBits(q[1]) &&
               canonicalBits(p[2]) == canonicalBits(q[2]);
    };
    forEachHashed(
        count, firstOf,
        [positions](std::size_t i) {
            const Real32 *p = positions[i].getValues();
            return hashFinish(hashWord(hashWord(hashWord(HashSeed, canonicalBits(p[0])),
                                                canonicalBits(p[1])),
                                       canonicalBits(p[2])));
        },
        [&](std::size_t i, UInt32 h) {
            bool inserted;
            classOf[i] = firstOf.findOrInsert(
                h, UInt32(i), [&](UInt32 j) { return same(i, j); }, inserted);
        });
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

} // namespace detail
} // namespace osg
