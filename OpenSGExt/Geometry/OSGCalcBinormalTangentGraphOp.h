#ifndef _OSGCALCBINORMALTANGENTGRAPHOP_H_
#define _OSGCALCBINORMALTANGENTGRAPHOP_H_

#include <OpenSG/OSGGraphOp.h>
#include <OpenSG/OSGGeometry.h>

#include <string>

namespace osg {

/*! Per-vertex tangents and binormals for normal mapping, stored as two GeoTexCoords3f sets (as
    long as the positions) in the target units and indexed like the positions. The frame comes
    from the normal and the summed surface derivative along the source unit's t coordinate:
    tangent = S x N, binormal = N x tangent, each normalised unless shorter than 1e-6. Triangles
    with degenerate texture coordinates spread inf or NaN to their vertices (reported once per
    geometry, with their number).

    The geometry is made single-indexed first; without normals or source texture coordinates it
    is reported and gets no frames. Normals fewer than the positions, or corners past the
    positions or texture coordinates, are reported and change nothing more. travNodeEnter never
    descends. */
class CalcBinormalTangentGraphOp : public GraphOp
{
  public:
    typedef GraphOp Inherited;

    CalcBinormalTangentGraphOp(const char *name = "CalcBinormalTangent");
    CalcBinormalTangentGraphOp(const CalcBinormalTangentGraphOp &source);
    CalcBinormalTangentGraphOp &operator=(const CalcBinormalTangentGraphOp &source);
    ~CalcBinormalTangentGraphOp(void) override;

    /*! A new operation named "CalcBinormalTangent" with the default units (0, 1, 2). */
    GraphOp *create(void) override;

    static const char *getClassname(void) { return "CalcBinormalTangentGraphOp"; }

    void        setParams(const std::string params) override;
    std::string usage    (void) override;

    /*! Units 0 to 7; any other unit is warned about and replaced by unit 0 (all three setters,
        whatever unit their message names). Always true. */
    bool setTexCoordSource(Int32 unit);
    bool setTangentTarget (Int32 unit);
    bool setBinormalTarget(Int32 unit);

    UInt32 getTexCoordSource(void) const { return _texCoordSource; }
    UInt32 getTangentTarget (void) const { return _tangentTarget;  }
    UInt32 getBinormalTarget(void) const { return _binormalTarget; }

    bool travNodeEnter(const NodePtr &node) override;
    bool travNodeLeave(const NodePtr &node) override;

  private:
    UInt32 _texCoordSource = 0;
    UInt32 _tangentTarget  = 1;
    UInt32 _binormalTarget = 2;
};

} // namespace osg

#endif
