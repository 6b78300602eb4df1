#ifndef SK_OPENSGEXT_GEOMETRY_DETAIL_SKGEOMETRYSKIN_H
#define SK_OPENSGEXT_GEOMETRY_DETAIL_SKGEOMETRYSKIN_H

// The geometry operations' view of a geometry's skin: whether it is skinned, and keeping its
// per-vertex influences in step when vertices are renumbered. Skin indices are position indices.

#include <OpenSG/OSGGeometry.h>

#include <functional>
#include <string>

namespace osg {
namespace detail {

/*! True if the geometry carries skinning that deforms it. */
bool geometryHasSkinning(const GeometryPtr &geo);

/*! createSingleIndex, after which a skinned geometry's influences follow its positions: a
    position that became several vertices gives each of them its influences. Returns what
    createSingleIndex returns. */
Int32 singleIndexKeepingSkin(const GeometryPtr &geo);

/*! Why the geometry's skin cannot follow a unification (entries past the positions), or empty. */
std::string checkSkinForUnify(const GeometryPtr &geo);

/*! After unification: clears the skin's derived data, then every influence entry takes the
    vertex that find gives for its vertex, or index 0 and weight 0 where find gives -1. The skin
    is recorded as changed. Nothing happens without a skin. */
void remapSkinAfterUnify(const GeometryPtr &geo, const std::function<Int64(UInt32)> &find);

} // namespace detail
} // namespace osg

#endif
