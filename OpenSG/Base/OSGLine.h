#ifndef _OSGLINE_H_
#define _OSGLINE_H_

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGVector.h>

namespace osg {

class BoxVolume;
class SphereVolume;
class Volume;

/*! A line through getPosition() along getDirection(): the points getPosition() + t *
    getDirection(), with a unit direction, so t is a distance. A direction shorter than Eps
    cannot be normalised and is kept as given; such a line meets nothing but volumes that hold
    its position.

    The volume intersections treat it as a half-line (t >= 0) and report the parameters where
    it enters and leaves the volume; the triangle intersections report hits on either side of
    the position (t < 0 behind it), as OpenSG 1.x's do: callers that want the half-line filter
    them, as IntersectAction::setHit does. */
class Line
{
  public:
    /*! Position and direction zero. */
    Line(void);
    /*! From pos along dir, normalised. */
    Line(const Pnt3f &pos, const Vec3f &dir);
    /*! From p0 towards p1. */
    Line(const Pnt3f &p0, const Pnt3f &p1);

    void setValue(const Pnt3f &pos, const Vec3f &dir);
    void setValue(const Pnt3f &p0, const Pnt3f &p1);

    const Pnt3f &getPosition (void) const { return _pos; }
    const Vec3f &getDirection(void) const { return _dir; }

    /*! The point of the whole line nearest to point. */
    Pnt3f  getClosestPoint(const Pnt3f &point) const;
    /*! Distance of point from the whole line. */
    Real32 distance       (const Pnt3f &point) const;

    /*---------------------------- volumes --------------------------------*/

    // Empty volumes are never hit.

    bool intersect(const BoxVolume    &box)    const;
    /*! As OpenSG 1.x: enter is clipped to 0 (0 when the position lies inside the box), exit is
        where the line leaves it; a direction component within Eps of 0 counts as parallel to
        its slab, and a box missed by less than Eps (enter - exit < Eps) counts as hit, so flat
        boxes are hit too. A miss may still write enter and exit (exit < enter then). An
        infinite box is hit from 0 to Inf. */
    bool intersect(const BoxVolume    &box,    Real32 &enter, Real32 &exit) const;
    bool intersect(const SphereVolume &sphere) const;
    /*! enter is negative when the position lies inside the sphere; an infinite sphere is hit
        from NegInf to Inf. */
    bool intersect(const SphereVolume &sphere, Real32 &enter, Real32 &exit) const;
    /*! Any volume kind the kernel has (a DynamicVolume through its instance). */
    bool intersect(const Volume       &volume, Real32 &enter, Real32 &exit) const;

    /*---------------------------- triangles ------------------------------*/

    /*! Hit of the triangle (v0, v1, v2) at t, from either side, edges included; t < 0 is a hit
        behind the position. normal receives the unit normal of the counter-clockwise front
        face. */
    bool intersect(const Pnt3f &v0, const Pnt3f &v1, const Pnt3f &v2, Real32 &t,
                   Vec3f *normal = NULL) const;
    /*! As above; the hit point is (1 - u - v) v0 + u v1 + v v2. */
    bool intersect(const Pnt3f &v0, const Pnt3f &v1, const Pnt3f &v2, Real32 &t, Real32 &u,
                   Real32 &v, Vec3f *normal = NULL) const;

  private:
    Pnt3f _pos;
    Vec3f _dir;
};

/*! Position and direction. */
bool operator==(const Line &a, const Line &b);
inline bool operator!=(const Line &a, const Line &b) { return !(a == b); }

} // namespace osg

#endif
