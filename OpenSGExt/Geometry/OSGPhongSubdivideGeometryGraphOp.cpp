#include <OpenSGExt/OSGPhongSubdivideGeometryGraphOp.h>
#include <OpenSGExt/Geometry/detail/skGeometrySkin.h>
#include <OpenSGExt/Geometry/detail/skSubdivide.h>
#include <OpenSGExt/Geometry/detail/skSubdivideGeometry.h>

#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGLog.h>

namespace osg {

PhongSubdivideGeometryGraphOp::PhongSubdivideGeometryGraphOp(const char *name) : Inherited(name)
{
}

PhongSubdivideGeometryGraphOp::PhongSubdivideGeometryGraphOp(
    const PhongSubdivideGeometryGraphOp &source) = default;

PhongSubdivideGeometryGraphOp &PhongSubdivideGeometryGraphOp::operator=(
    const PhongSubdivideGeometryGraphOp &source) = default;

PhongSubdivideGeometryGraphOp::~PhongSubdivideGeometryGraphOp(void) = default;

GraphOp *PhongSubdivideGeometryGraphOp::create(void)
{
    return new PhongSubdivideGeometryGraphOp("SubdivideGeometry");
}

void PhongSubdivideGeometryGraphOp::setParams(const std::string)
{
}

std::string PhongSubdivideGeometryGraphOp::usage(void)
{
    return std::string();
}

Pnt3f PhongSubdivideGeometryGraphOp::pi(const Pnt3f &p, const Pnt3f &q, const Vec3f &n) const
{
    return p - n * ((p - q).dot(n));
}

bool PhongSubdivideGeometryGraphOp::travNodeEnter(const NodePtr &node)
{
    if(node == NullFC || node->getCore() == NullFC)
        return false;
    GeometryPtr geo = GeometryPtr::dcast(node->getCore());
    if(geo == NullFC)
    {
        FWARNING(("PhongSubdivideGeometryGraphOp: travNodeEnter got a non-Geometry Node\n"));
        return false;
    }
    if(detail::geometryHasSkinning(geo) || geo->getPositions() == NullFC)
        return false;

    const std::size_t input  = detail::countTriangles(geo);
    const std::size_t output = detail::phongTriangleCount(input, _iterations);
    if(output > _maxTriangles)
    {
        SWARNING << "PhongSubdivideGeometryGraphOp: " << input << " triangles with "
                 << _iterations << " iterations would exceed the cap of " << _maxTriangles
                 << " triangles; the geometry is left unchanged" << std::endl;
        return false;
    }

    const detail::SubdivLayout layout = detail::SubdivLayout::of(geo);
    _attributes    = layout.mask();
    _triangleCount = 0;
    _status        = Int32(detail::SubdivStatus::Ok);
    _out.clear();
    _out.reserve(output * 3 * layout.width);
    detail::forEachSubdivTriangle(geo, [this](const detail::SubdivCorners &k) {
        if(_status != Int32(detail::SubdivStatus::Ok))
            return;
        processTriangle(k.p[0], k.p[1], k.p[2], k.n[0], k.n[1], k.n[2],
                        k.c[0], k.c[1], k.c[2], k.sc[0], k.sc[1], k.sc[2],
                        k.t[0][0], k.t[0][1], k.t[0][2], k.t[1][0], k.t[1][1], k.t[1][2],
                        k.t[2][0], k.t[2][1], k.t[2][2], k.t[3][0], k.t[3][1], k.t[3][2],
                        k.t[4][0], k.t[4][1], k.t[4][2], k.t[5][0], k.t[5][1], k.t[5][2],
                        k.t6[0], k.t6[1], k.t6[2], k.t7[0], k.t7[1], k.t7[2], 0);
    });
    if(_status != Int32(detail::SubdivStatus::Ok))
    {
        SWARNING << "PhongSubdivideGeometryGraphOp: "
                 << detail::subdivStatusText(detail::SubdivStatus(_status))
                 << "; the geometry is left unchanged" << std::endl;
        _out.clear();
        _triangleCount = 0;
        return false;
    }
    detail::writeTriangleSoup(geo, layout, _out);
    std::vector<Real32>().swap(_out);
    return false;
}

bool PhongSubdivideGeometryGraphOp::travNodeLeave(const NodePtr &)
{
    return true;
}

void PhongSubdivideGeometryGraphOp::processTriangle(
    const Pnt3f &p0, const Pnt3f &p1, const Pnt3f &p2, const Vec3f &n0, const Vec3f &n1,
    const Vec3f &n2, const Color3f &c0, const Color3f &c1, const Color3f &c2, const Color3f &sc0,
    const Color3f &sc1, const Color3f &sc2, const Vec2f &t00, const Vec2f &t01, const Vec2f &t02,
    const Vec2f &t10, const Vec2f &t11, const Vec2f &t12, const Vec2f &t20, const Vec2f &t21,
    const Vec2f &t22, const Vec2f &t30, const Vec2f &t31, const Vec2f &t32, const Vec2f &t40,
    const Vec2f &t41, const Vec2f &t42, const Vec2f &t50, const Vec2f &t51, const Vec2f &t52,
    const Vec3f &t60, const Vec3f &t61, const Vec3f &t62, const Vec4f &t70, const Vec4f &t71,
    const Vec4f &t72, Int32 depth)
{
    const detail::SubdivLayout layout = detail::SubdivLayout::fromMask(_attributes);
    const Vec2f *tex0[6] = { &t00, &t10, &t20, &t30, &t40, &t50 };
    const Vec2f *tex1[6] = { &t01, &t11, &t21, &t31, &t41, &t51 };
    const Vec2f *tex2[6] = { &t02, &t12, &t22, &t32, &t42, &t52 };
    Real32 soup[3 * detail::MaxSubdivWidth];
    layout.pack(soup, p0, n0, c0, sc0, tex0, t60, t70);
    layout.pack(soup + layout.width, p1, n1, c1, sc1, tex1, t61, t71);
    layout.pack(soup + 2 * layout.width, p2, n2, c2, sc2, tex2, t62, t72);

    // The levels still to go from this depth; the cap was checked for the whole geometry.
    const Int32 levels = _iterations - depth;
    const detail::SubdivStatus status = detail::subdividePhong(
        soup, 1, layout.width, layout.normalOffset(), levels, std::size_t(_maxTriangles), _out);
    _status        = Int32(status);
    _triangleCount = UInt32(_out.size() / (3 * layout.width));
}

} // namespace osg
