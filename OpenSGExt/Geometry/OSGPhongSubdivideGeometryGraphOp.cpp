#include <OpenSGExt/OSGPhongSubdivideGeometryGraphOp.h>
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
    const GeometryPtr geo = GeometryPtr::dcast(node->getCore());
    if(geo == NullFC)
    {
        FWARNING(("PhongSubdivideGeometryGraphOp: travNodeEnter got a non-Geometry Node\n"));
        return false;
    }
    if(detail::skipsSubdivision(geo))
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

    const detail::SubdivStatus status = detail::subdivideGeometry(
        geo, output, { _attributes, _triangleCount, _status, _out },
        [this](const auto &...corners) { processTriangle(corners..., 0); });
    if(status != detail::SubdivStatus::Ok)
        SWARNING << "PhongSubdivideGeometryGraphOp: " << detail::subdivStatusText(status)
                 << "; the geometry is left unchanged" << std::endl;
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
    Real32 soup[3 * detail::MaxSubdivWidth];
    layout.pack(soup, detail::cornersOf(p0, p1, p2, n0, n1, n2, c0, c1, c2, sc0, sc1, sc2, t00,
                                        t01, t02, t10, t11, t12, t20, t21, t22, t30, t31, t32,
                                        t40, t41, t42, t50, t51, t52, t60, t61, t62, t70, t71,
                                        t72));

    // The levels still to go from this depth; the cap was checked for the whole geometry.
    const Int32 levels = _iterations - depth;
    _status = Int32(detail::subdividePhong(soup, 1, layout.width, layout.normalOffset(), levels,
                                           std::size_t(_maxTriangles), _out));
    _triangleCount = UInt32(_out.size() / (3 * layout.width));
}

} // namespace osg
