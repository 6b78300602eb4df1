#ifndef _OSGSUBDIVIDEGEOMETRYGRAPHOP_H_
#define _OSGSUBDIVIDEGEOMETRYGRAPHOP_H_

#include <OpenSG/OSGGraphOp.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGColor.h>

#include <string>
#include <vector>

namespace osg {

/*! Adaptive midpoint subdivision: every edge at least the maximum edge length is halved, again
    and again, until no edge of any produced triangle reaches it. Each geometry it enters becomes
    one non-indexed GL_TRIANGLES list with its material kept; skinned geometry and geometry
    without positions are left alone. travNodeEnter never descends.

    A maximum edge length <= 0 or NaN, a non-finite position, midpoints that stop moving in float
    precision and a result above the triangle cap (setMaxTriangles) would never end or exhaust
    memory: such a geometry is reported and left unchanged. An operation object serves one
    traversal at a time. */
class SubdivideGeometryGraphOp : public GraphOp
{
  public:
    typedef GraphOp Inherited;

    SubdivideGeometryGraphOp(const char *name = "SubdivideGeometry");
    SubdivideGeometryGraphOp(const SubdivideGeometryGraphOp &source);
    SubdivideGeometryGraphOp &operator=(const SubdivideGeometryGraphOp &source);
    ~SubdivideGeometryGraphOp(void) override;

    /*! A new operation named "SubdivideGeometry" with the default maximum edge length (0.1). */
    GraphOp *create(void) override;

    static const char *getClassname(void) { return "SubdivideGeometryGraphOp"; }

    /*! Ignored: the maximum edge length is set by setMaxEdgeLength only. */
    void        setParams(const std::string params) override;
    std::string usage    (void) override;

    void   setMaxEdgeLength(Real32 maxEdgeLength) { _maxEdgeLength = maxEdgeLength; }
    Real32 getMaxEdgeLength(void) const           { return _maxEdgeLength; }

    /*! The largest number of triangles one geometry may become (default 16,777,216). */
    void   setMaxTriangles(UInt64 maxTriangles) { _maxTriangles = maxTriangles; }
    UInt64 getMaxTriangles(void) const          { return _maxTriangles; }

    /*! Triangles emitted for the geometry last entered. */
    UInt32 getTriangleCount(void) const { return _triangleCount; }

    bool travNodeEnter(const NodePtr &node) override;
    bool travNodeLeave(const NodePtr &node) override;

  private:
    bool needsToBeSubdivided(const Pnt3f &a, const Pnt3f &b, const Pnt3f &c) const;

    void processTriangle(const Pnt3f &p0, const Pnt3f &p1, const Pnt3f &p2,
                         const Vec3f &n0, const Vec3f &n1, const Vec3f &n2,
                         const Color3f &c0, const Color3f &c1, const Color3f &c2,
                         const Color3f &sc0, const Color3f &sc1, const Color3f &sc2,
                         const Vec2f &t00, const Vec2f &t01, const Vec2f &t02,
                         const Vec2f &t10, const Vec2f &t11, const Vec2f &t12,
                         const Vec2f &t20, const Vec2f &t21, const Vec2f &t22,
                         const Vec2f &t30, const Vec2f &t31, const Vec2f &t32,
                         const Vec2f &t40, const Vec2f &t41, const Vec2f &t42,
                         const Vec2f &t50, const Vec2f &t51, const Vec2f &t52,
                         const Vec3f &t60, const Vec3f &t61, const Vec3f &t62,
                         const Vec4f &t70, const Vec4f &t71, const Vec4f &t72);

    Real32 _maxEdgeLength = 0.1f;
    UInt64 _maxTriangles  = UInt64(1) << 24;
    UInt32 _triangleCount = 0;

    // per-geometry scratch: the attributes carried (bits in Map* order), the output soup and
    // the first problem met
    UInt16              _attributes = 0;
    std::vector<Real32> _out;
    Int32               _status = 0;
};

} // namespace osg

#endif
