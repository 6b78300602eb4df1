#ifndef _OSGPHONGSUBDIVIDEGEOMETRYGRAPHOP_H_
#define _OSGPHONGSUBDIVIDEGEOMETRYGRAPHOP_H_

#include <OpenSG/OSGGraphOp.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGColor.h>

#include <string>
#include <vector>

namespace osg {

/*! Uniform subdivision with Phong lift: every triangle splits into four, iterations times, and
    each new midpoint moves halfway from the flat edge midpoint towards the blend of its
    projections onto the corners' tangent planes (normals used as stored; without normals the
    midpoint stays flat). Each geometry it enters becomes one non-indexed GL_TRIANGLES list with
    its material kept; skinned geometry and geometry without positions are left alone; a node
    whose core is not a Geometry is warned about. travNodeEnter never descends.

    Before anything is allocated, triangles x 4^iterations is checked against the triangle cap
    (setMaxTriangles); a geometry above it is reported and left unchanged. An operation object
    serves one traversal at a time. */
class PhongSubdivideGeometryGraphOp : public GraphOp
{
  public:
    typedef GraphOp Inherited;

    PhongSubdivideGeometryGraphOp(const char *name = "SubdivideGeometry");
    PhongSubdivideGeometryGraphOp(const PhongSubdivideGeometryGraphOp &source);
    PhongSubdivideGeometryGraphOp &operator=(const PhongSubdivideGeometryGraphOp &source);
    ~PhongSubdivideGeometryGraphOp(void) override;

    /*! A new operation named "SubdivideGeometry" with the default iterations (1). */
    GraphOp *create(void) override;

    static const char *getClassname(void) { return "PhongSubdivideGeometryGraphOp"; }

    /*! Ignored: the iterations are set by setIterations only. */
    void        setParams(const std::string params) override;
    std::string usage    (void) override;

    void  setIterations(Int32 iterations) { _iterations = iterations; }
    Int32 getIterations(void) const       { return _iterations; }

    /*! The largest number of triangles one geometry may become (default 16,777,216). */
    void   setMaxTriangles(UInt64 maxTriangles) { _maxTriangles = maxTriangles; }
    UInt64 getMaxTriangles(void) const          { return _maxTriangles; }

    /*! Triangles emitted for the geometry last entered. */
    UInt32 getTriangleCount(void) const { return _triangleCount; }

    bool travNodeEnter(const NodePtr &node) override;
    bool travNodeLeave(const NodePtr &node) override;

  private:
    /*! p projected onto the plane through q with normal n: p - n ((p - q) . n). */
    Pnt3f pi(const Pnt3f &p, const Pnt3f &q, const Vec3f &n) const;

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
                         const Vec4f &t70, const Vec4f &t71, const Vec4f &t72,
                         Int32 depth);

    Int32  _iterations    = 1;
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
