#ifndef SK_OPENSGEXT_SKGEOUTILS_H
#define SK_OPENSGEXT_SKGEOUTILS_H

#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGNode.h>

#include <string>

/*! Questions about geometry cores. Null geometries, missing properties and invalid channels or
    sides give neutral answers (NullFC, false); invalid arguments are reported. */
namespace skGeoUtils {

/*! Problem bits of checkGeometryCore. */
enum GeometryProblem : osg::UInt32
{
    NoTypes        = 1,
    NoLengths      = 2,
    NoPositions    = 4,
    NoIndices      = 8,
    Nonstandard    = 16,   //!< several lengths or several index mappings
    NotTriangles   = 32,   //!< the first primitive is not a triangle list
    NoGeometry     = 64
};

/*! Key of the ValuePair entry that says which sides of a geometry are culled (see
    isVisibleSide). */
extern const char *const CullFaceKey;

/*! The node's core as a Geometry; NullFC for a null node or another core. */
osg::GeometryPtr getGeometry(const osg::NodePtr &node);

/*! The texture coordinates of texture unit `channel` (0 .. 7: slots texCoords, texCoords1 ..
    texCoords7); NullFC when the slot is empty, and (reported) for a channel beyond 7. */
osg::GeoTexCoordsPtr getOSGTexCoords(const osg::GeometryPtr &geo, osg::UInt32 channel);

/*! Whether unit `channel` holds at least one texture coordinate. */
bool hasTexCoords(const osg::GeometryPtr &geo, osg::UInt32 channel);

/*! Whether side `side` (0 front, 1 back) of the geometry's faces is drawn. The kernel has no
    culling state of its own, so the rule reads the scene's metadata: a ValuePair attachment
    whose key CullFaceKey ("cullFace") names the culled sides as glCullFace does - "none",
    "back", "front" or "frontAndBack" (exact spelling). The geometry's own ValuePair decides
    when it holds the key, else its material's; without either both sides are drawn. An
    unknown value is reported and culls nothing. False for a null geometry and (reported) for a
    side other than 0 or 1. */
bool isVisibleSide(const osg::GeometryPtr &geo, osg::UInt32 side);

/*! As above for the geometry shown by a node: the node's own ValuePair decides first (an
    instance may be culled differently from the shared geometry), then the geometry's, then its
    material's. A null node leaves the decision to the geometry. */
bool isVisibleSide(const osg::NodePtr &node, const osg::GeometryPtr &geo, osg::UInt32 side);

/*! A bit mask of GeometryProblem: 64 alone for a null geometry, else, in this order:
    lengths present: 16 unless it holds exactly one entry, absent: 2; types missing or empty: 1,
    else with checkTriangulated: 32 unless the first type is GL_TRIANGLES; indices missing or
    empty: 8; 16 unless the index mapping holds exactly one entry; positions missing or empty: 4.
    An empty index mapping therefore counts as nonstandard too: the host's tools expect the
    one-entry mapping of a single-indexed geometry. */
osg::UInt32 checkGeometryCore(const osg::GeometryPtr &geo, bool checkTriangulated);

/*! The message for a checkGeometryCore mask, by the first rule that applies:
    any of 1, 2, 8: "Geometry data incomplete. ", followed by "Found geometry without
    positions." when 4 is set too; else 4: "Found geometry without positions."; else 32:
    "Geometry is not triangulated."; else 16: "Found nonstandard geometry."; else "" (also for
    64, no geometry, deliberately). */
std::string getGeometryErrorString(osg::UInt32 mask);

} // namespace skGeoUtils

#endif
