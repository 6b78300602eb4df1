#include <OpenSGExt/OSGSubdivideGeometryGraphOp.h>
#include <OpenSGExt/Geometry/detail/skSubdivideGeometry.h>

#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGLog.h>

namespace osg {

SubdivideGeometryGraphOp::SubdivideGeometryGraphOp(const char *name) : Inherited(name)
{
}

SubdivideGeometryGraphOp::SubdivideGeometryGraphOp(const SubdivideGeometryGraphOp &source) =
    default;

SubdivideGeometryGraphOp &SubdivideGeometryGraphOp::operator=(
    const SubdivideGeometryGraphOp &source) = default;

SubdivideGeometryGraphOp::~SubdivideGeometryGraphOp(void) = default;

GraphOp *SubdivideGeometryGraphOp::create(void)
{
    return new SubdivideGeometryGraphOp("SubdivideGeometry");
}

void SubdivideGeometryGraphOp::setParams(const std::string)
{
}

std::string SubdivideGeometryGraphOp::usage(void)
{
    return std::string();
}

bool SubdivideGeometryGraphOp::needsToBeSubdivided(const Pnt3f &a, const Pnt3f &b,
                                                   const Pnt3f &c) const
{
    return detail::needsSubdivision(a.getValues(), b.getValues(), c.getValues(), _maxEdgeLength);
}

bool SubdivideGeometryGraphOp::travNodeEnter(const NodePtr &node)
{
    const GeometryPtr geo =
        node != NullFC ? GeometryPtr::dcast(node->getCore()) : GeometryPtr(NullFC);
    if(geo == NullFC || detail::skipsSubdivision(geo))
        return false;

    // Checked before the first triangle, so that a bad length never reaches the recursion.
    if(!(_maxEdgeLength > 0.f))
    {
        SWARNING << "SubdivideGeometryGraphOp: "
                 << detail::subdivStatusText(detail::SubdivStatus::BadParameter) << " (got "
                 << _maxEdgeLength << "); the geometry is left unchanged" << std::endl;
        return false;
    }

    const detail::SubdivStatus status = detail::subdivideGeometry(
        geo, 0, { _attributes, _triangleCount, _status, _out },
        [this](const auto &...corners) { processTriangle(corners...); });
    if(status != detail::SubdivStatus::Ok)
        SWARNING << "SubdivideGeometryGraphOp: " << detail::subdivStatusText(status)
                 << "; the geometry is left unchanged" << std::endl;
    return false;
}

bool SubdivideGeometryGraphOp::travNodeLeave(const NodePtr &)
{
    return true;
}

void SubdivideGeometryGraphOp::processTriangle(
    const Pnt3f &p0, const Pnt3f &p1, const Pnt3f &p2, const Vec3f &n0, const Vec3f &n1,
    const Vec3f &n2, const Color3f &c0, const Color3f &c1, const Color3f &c2, const Color3f &sc0,
    const Color3f &sc1, const Color3f &sc2, const Vec2f &t00, const Vec2f &t01, const Vec2f &t02,
    const Vec2f &t10, const Vec2f &t11, const Vec2f &t12, const Vec2f &t20, const Vec2f &t21,
    const Vec2f &t22, const Vec2f &t30, const Vec2f &t31, const Vec2f &t32, const Vec2f &t40,
    const Vec2f &t41, const Vec2f &t42, const Vec2f &t50, const Vec2f &t51, const Vec2f &t52,
    const Vec3f &t60, const Vec3f &t61, const Vec3f &t62, const Vec4f &t70, const Vec4f &t71,
    const Vec4f &t72)
{
    const detail::SubdivLayout layout = detail::SubdivLayout::fromMask(_attributes);
    Real32 soup[3 * detail::MaxSubdivWidth];
    layout.pack(soup, detail::cornersOf(p0, p1, p2, n0, n1, n2, c0, c1, c2, sc0, sc1, sc2, t00,
                                        t01, t02, t10, t11, t12, t20, t21, t22, t30, t31, t32,
                                        t40, t41, t42, t50, t51, t52, t60, t61, t62, t70, t71,
                                        t72));

    const UInt64 left = _maxTriangles > _triangleCount ? _maxTriangles - _triangleCount : 0;
    _status = Int32(detail::subdivideAdaptive(soup, 1, layout.width, _maxEdgeLength,
                                              std::size_t(left), _out));
    _triangleCount = UInt32(_out.size() / (3 * layout.width));
}

} // namespace osg
