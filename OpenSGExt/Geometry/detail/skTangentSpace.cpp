#include <OpenSGExt/Geometry/detail/skTangentSpace.h>

#include <cmath>
#include <sstream>
#include <vector>

namespace osg {
namespace detail {

std::string TangentInput::validate(void) const
{
    if(numPositions != 0 && (positions == NULL || normals == NULL))
        return "positions or normals missing";
    if(numTriangles != 0 && (triPositions == NULL || triTexCoords == NULL ||
                             (numTexCoords != 0 && texCoords == NULL)))
        return "triangle corners missing";
    for(std::size_t i = 0; i < numTriangles * 3; ++i)
    {
        if(triPositions[i] >= numPositions || triTexCoords[i] >= numTexCoords)
        {
            std::ostringstream msg;
            msg << "corner " << i << " uses position " << triPositions[i] << " of "
                << numPositions << " and texture coordinate " << triTexCoords[i] << " of "
                << numTexCoords;
            return msg.str();
        }
    }
    return std::string();
}

std::size_t computeTangentFrames(const TangentInput &in, Vec3f *tangents, Vec3f *binormals)
{
    // Only the binormal sum shapes the frame; a tangent sum would never be read.
    std::vector<Vec3f> sum(in.numPositions);
    std::size_t degenerate = 0;
    for(std::size_t t = 0; t < in.numTriangles; ++t)
    {
        const UInt32 *ip = in.triPositions + 3 * t, *it = in.triTexCoords + 3 * t;
        const Pnt3f &p0 = in.positions[ip[0]], &p1 = in.positions[ip[1]];
        const Pnt3f &p2 = in.positions[ip[2]];
        const Vec2f &t0 = in.texCoords[it[0]], &t1 = in.texCoords[it[1]];
        const Vec2f &t2 = in.texCoords[it[2]];
        const Real32 ds1 = t0[0] - t1[0], dt1 = t0[1] - t1[1];
        const Real32 ds2 = t0[0] - t2[0], dt2 = t0[1] - t2[1];
        const Real32 det = ds1 * dt2 - ds2 * dt1;
        if(!(det != 0.f))
            ++degenerate;
        const Vec3f e1 = p0 - p1, e2 = p0 - p2;
        const Vec3f b  = (e2 * ds1 - e1 * ds2) / det;
        sum[ip[0]] += b;
        sum[ip[1]] += b;
        sum[ip[2]] += b;
    }
    for(std::size_t k = 0; k < in.numPositions; ++k)
    {
        const Vec3f &n = in.normals[k];
        Vec3f tangent  = sum[k].cross(n);
        Vec3f binormal = n.cross(tangent);
        const Real32 lt = tangent.length(), lb = binormal.length();
        if(lt >= 1e-6f)
            tangent /= lt;
        if(lb >= 1e-6f)
            binormal /= lb;
        tangents[k]  = tangent;
        binormals[k] = binormal;
    }
    return degenerate;
}

} // namespace detail
} // namespace osg
