#ifndef _OSGINTERSECTACTION_H_
#define _OSGINTERSECTACTION_H_

#include <OpenSG/OSGAction.h>
#include <OpenSG/OSGLine.h>

#include <vector>

namespace osg {

/*! Finds the nearest point where a line (a half-line) hits the drawables of a subtree, within a
    maximum distance.

    Every core type registers its own functors in its initMethod (found by exact type, see
    Action); a core type that registers none is traversed as a plain group, without the volume
    test. Drawable cores register an enter functor that tests their primitives against getLine()
    and reports each hit with setHit(); the nearest one in [0, getMaxDist()] is kept, so hits
    behind the line's start are dropped there. Group cores register Group::intersect, which
    skips the subtree when the node has a valid volume that the line misses (or that lies beyond
    the maximum distance or behind a nearer hit). Transform cores register
    Transform::intersectEnter and intersectLeave, which call enterTransform() and
    leaveTransform(): entering maps the line into the children's coordinates (position by the
    full inverse matrix, direction by the inverse 3x3, renormalised) and scales hit distance and
    maximum distance by the length of the mapped direction, so distances are always in the units
    of the current coordinates; leaving restores the outer line and units.

    After apply(), getHitT() and getHitPoint() are in the coordinates of the line given to the
    action; getHitNormal() is the normal as the drawable reported it, in the hit object's own
    coordinates (transform it by getHitObject()->getToWorld() for the world). Node volumes are used
    as they are: the action does not update them. */
class IntersectAction : public Action
{
  public:
    typedef Action Inherited;

    /*! Owned by the caller (delete). */
    static IntersectAction *create(void);
    static IntersectAction *create(const Line &line, const Real32 maxdist = Inf);

    IntersectAction(const IntersectAction &source);
    IntersectAction &operator=(const IntersectAction &source);
    ~IntersectAction(void) override;

    /*! Defaults of this class for actions created later, by exact core type. */
    static void registerEnterDefault(const FieldContainerType &type, const Functor &func);
    static void registerLeaveDefault(const FieldContainerType &type, const Functor &func);

    /*---------------------------- line -----------------------------------*/

    void          setLine   (const Line &line, const Real32 maxdist = Inf);
    const Line   &getLine   (void) const { return _line;    }
    Real32        getMaxDist(void) const { return _maxdist; }

    /*---------------------------- result ---------------------------------*/

    bool          didHit        (void) const { return _hit;      }
    /*! -1 without a hit. */
    Real32        getHitT       (void) const { return _hitT;     }
    /*! The point at getHitT() on the current line; the line's position without a hit. */
    Pnt3f         getHitPoint   (void) const;
    const Vec3f  &getHitNormal  (void) const { return _hitNormal;   }
    NodePtr       getHitObject  (void) const { return _hitObject;   }
    /*! Index of the hit triangle in the drawable's own numbering; -1 without a hit. */
    Int32         getHitTriangle(void) const { return _hitTriangle; }

    /*---------------------------- for the cores --------------------------*/

    /*! The answer for a bounding volume entered at enter and left at leave along the current
        line: Skip when it lies behind the line's start, beyond the maximum distance or behind
        the nearest hit so far, else Continue. */
    ResultE setEnterLeave(Real32 enter, Real32 leave);

    /*! Reports a hit at distance t of the current line; kept if t lies in [0, getMaxDist()] and
        is nearer than the hit so far. */
    void setHit(Real32 t, const NodePtr &obj, Int32 triIndex, const Vec3f &normal);

    /*! Multiplies the hit distance (if any) and the maximum distance by s, for a core that has
        just changed the line's units. */
    void scale(Real32 s);

    /*! The test of a group core's enter functor: Skip when the current node's volume is valid
        and the line misses it, or meets it only beyond the maximum distance or behind the
        nearest hit; else Continue. */
    ResultE testVolume(void);

    /*! The enter functor of a transform core with this matrix: testVolume(), then the line
        mapped into the children's coordinates (see above). A singular matrix leaves nothing
        below it to hit: Skip. */
    ResultE enterTransform(const Matrix &matrix);

    /*! The leave functor of a transform core: restores the line and units that
        enterTransform() replaced for the current node (nothing if it did not). */
    ResultE leaveTransform(void);

  protected:
    IntersectAction(void);

    /*! Clears the hit; a line without direction is warned about and ends the traversal. */
    ResultE start(void) override;

  private:
    static FunctorStore &defaultEnterFunctors(void);
    static FunctorStore &defaultLeaveFunctors(void);

    /*! The outer line of a transform that was entered, for its leave functor. */
    struct Frame
    {
        NodePtr node;
        Line    line;
        Real32  maxdist;
        Real32  scale;
    };

    Line               _line;
    Real32             _maxdist;
    bool               _hit;
    Real32             _hitT;
    Vec3f              _hitNormal;
    NodePtr            _hitObject;
    Int32              _hitTriangle;
    std::vector<Frame> _frames;
};

} // namespace osg

#endif
