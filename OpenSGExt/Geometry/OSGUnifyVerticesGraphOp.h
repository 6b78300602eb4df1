#ifndef _OSGUNIFYVERTICESGRAPHOP_H_
#define _OSGUNIFYVERTICESGRAPHOP_H_

#include <OpenSG/OSGGraphOp.h>
#include <OpenSG/OSGGeometry.h>

#include <set>
#include <string>

namespace osg {

/*! Merges the vertices of each geometry that are equal within tolerances by rewriting its indices:
    every index whose vertex equals an earlier one takes the earlier one's index. Vertex data is
    not deleted. Geometries are first given their own properties and a single index.

    Comparison, attribute by attribute (positions, normals, colours, secondary colours, texture
    coordinates 0 to 7, each only when its flag is set and its property has a supported type),
    component by component: a < b - e is less, a > b + e greater, else the next component decides.
    Positions use the epsilon, float normals first count as equal when their angle is within the
    normal epsilon (byte normals compare exactly), colours and texture coordinates use the
    texture-coordinate epsilon. With tolerances above zero this is not transitive; the result is
    then what an ordered map searched with it in index order gives, and that is the defined
    result.

    A geometry whose indices point past a compared property, or whose compared values hold NaN, is
    reported and its indices stay as they are. */
class UnifyVerticesGraphOp : public GraphOp
{
  public:
    typedef GraphOp Inherited;

    UnifyVerticesGraphOp(const char *name = "UnifyVertices");
    UnifyVerticesGraphOp(const UnifyVerticesGraphOp &source);
    UnifyVerticesGraphOp &operator=(const UnifyVerticesGraphOp &source);
    ~UnifyVerticesGraphOp(void) override;

    /*! A new operation named "UnifyVertices" with default settings. */
    GraphOp *create(void) override;

    static const char *getClassname(void) { return "UnifyVerticesGraphOp"; }

    void        setParams(const std::string params) override;
    std::string usage    (void) override;

    /*! Position tolerance per coordinate (default 0). */
    void setEpsilon(Real32 epsilon) { _epsilon = epsilon; }
    /*! Normal tolerance as an angle in radians (default 0.01). */
    void setNormalEpsilon(Real32 epsilon) { _normalEpsilon = epsilon; }
    /*! Tolerance of colours, secondary colours and texture coordinates (default 1e-8). */
    void setTexCoordEpsilon(Real32 epsilon) { _texCoordEpsilon = epsilon; }

    /*! Which attributes take part (all by default). */
    void setCompareMode(bool positions, bool normals, bool colors, bool secondaryColors,
                        bool texCoords0, bool texCoords1, bool texCoords2, bool texCoords3,
                        bool texCoords4, bool texCoords5, bool texCoords6, bool texCoords7);

    /*! Empties the set of geometries already unified, then traverses. */
    bool traverse(NodePtr &root) override;

    /*! Unifies one geometry directly (without the visited set). */
    void process(const GeometryPtr &geo);

  protected:
    /*! Unifies the node's geometry core once per traversal; always continues. */
    Action::ResultE traverseEnter(NodePtr &node) override;
    Action::ResultE traverseLeave(NodePtr &node, Action::ResultE res) override;

  private:
    void unify(const GeometryPtr &geo);

    std::set<Geometry *> _visited;
    Real32               _epsilon         = 0.f;
    Real32               _normalEpsilon   = 0.01f;
    Real32               _texCoordEpsilon = 1e-8f;
    bool                 _compare[12]     = { true, true, true, true, true, true,
                                              true, true, true, true, true, true };
};

} // namespace osg

#endif
