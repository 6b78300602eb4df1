#ifndef _OSGGEOFUNCTIONS_H_
#define _OSGGEOFUNCTIONS_H_

#include <OpenSG/OSGGeometry.h>

namespace osg {

/*! Rewrites a geometry to one index per point for all its attributes. Properties shared with
    other containers are first given to the geometry alone (unshareProperties).

    - Without indices but with positions: a GeoIndicesUI32 0 .. n-1 is set and the mapping
      becomes one entry of the present attributes' bits; returns 0.
    - Interleaved indices (a mapping of two or more entries): every distinct tuple of a point's
      indices becomes one new vertex, numbered in order of first use; each attribute named in
      the mapping is rebuilt in that order from its entry's indices, the single index is
      written and the mapping becomes one entry, the OR of all its entries. Returns the number
      of vertices.
    - Already single-indexed (one entry, or an empty mapping, which then becomes one entry of
      the present attributes' bits): left as it is; returns the number of positions.

    A null geometry, or interleaved indices that point beyond a mapped property, are reported
    and change nothing; the result is then -1. Every changed container is recorded. */
Int32 createSingleIndex(GeometryPtr geo);

/*! Gives each property slot whose property has more than one parent a copy of its own
    (recorded as an edit of that slot). A null geometry is reported. */
void separateProperties(GeometryPtr geo);

/*! Sets fresh GeoNormals3f normals, one per position: the sum of the unit face normals of the
    triangles using the position, normalised (zero where no triangle has an area). In an index
    mapping, MapNormal moves to the entry of the positions. A null geometry or one without
    positions is reported and left as it is. */
void calcVertexNormals(GeometryPtr geo);

} // namespace osg

#endif
