#ifndef SK_OPENSGEXT_SKSHELLUTILS_H
#define SK_OPENSGEXT_SKSHELLUTILS_H

#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGNode.h>

#include <functional>
#include <vector>

/*! The shells of a geometry component. A component is one geometry core; a shell is a largest
    set of its triangles (as TriangleIterator gives them) that are connected through shared
    corners. Corners are shared when their positions are equal - the same position index or
    exactly the same coordinates (0 and -0 alike) - so that seams where a single-indexed
    geometry repeats a position for another normal or texture coordinate do not split a shell.
    Shells touching in a single point are therefore one shell. Triangles whose corners have no
    valid position belong to no shell. Shells are numbered in the order of their first
    triangle.

    Visibility, for the renderer's view of a shell: the node must show the geometry (be its
    node), be traversed (travMask not 0, bit 0 of the occlusion mask clear) as must every node
    above it, and at least one side of the faces must be drawn (skGeoUtils::isVisibleSide with
    the node); the shell itself must exist and have at least one triangle of non-zero area.
    One-sidedness: exactly one side of the faces is drawn (the other culled), by the same
    node-geometry-material rule. Null arguments and out-of-range indices answer false;
    misuse (a node that does not show the geometry) is reported. */
class skShellUtils
{
  public:
    typedef std::function<void(osg::NodePtr, osg::GeometryPtr)> ShellFunction;

    /*! Calls fn once per shell, in shell order, with a new node whose core is a new geometry
        holding only that shell: GL_TRIANGLES in one primitive, one index per vertex (one
        mapping entry), every attribute of the component copied in its own property type, one
        vertex per distinct combination of the component's attribute indices, the component's
        material shared. The node holds the geometry; the node itself is held only during the
        call: to keep it, take a reference or add it to a parent. The containers' creation and
        edits are recorded. Exceptions leaving fn are reported and end the iteration. A null
        geometry or an empty fn is reported; a geometry without triangles has no shells. */
    static void forShellsOfComponent(const osg::GeometryPtr &geo, ShellFunction fn);

    /*! The shell number of every triangle (-1 for a triangle in no shell); the number of
        shells. A null geometry gives no triangles and 0. */
    static osg::UInt32 computeShells(const osg::GeometryPtr &geo,
                                     std::vector<osg::Int32> &triangleShells);

    /*! Whether shell `index` of geo, shown by node, can be seen (rules above). Each call
        splits the geometry anew (linear in its size); for many shells use computeShells once. */
    static bool isVisibleShellComponent(const osg::NodePtr     &node,
                                        const osg::GeometryPtr &geo,
                                        osg::UInt32             index);

    /*! Whether exactly one side of geo's faces is drawn, as the node shows it (a null node
        leaves the decision to the geometry and its material). */
    static bool isShellGeoOneSided(const osg::NodePtr &node, const osg::GeometryPtr &geo);

  private:
    skShellUtils(void);
};

#endif
