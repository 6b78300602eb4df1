#ifndef _OSGSPHEREVOLUME_H_
#define _OSGSPHEREVOLUME_H_

#include <OpenSG/OSGVolume.h>

namespace osg {

/*! Sphere around _center with _radius. */
class SphereVolume : public Volume
{
  public:
    /*! Empty. */
    SphereVolume(void) : Volume(), _center(0, 0, 0), _radius(0) {}
    /*! Non-empty, valid. */
    SphereVolume(const Pnt3f &c, Real32 r);
    SphereVolume(const SphereVolume &obj) = default;
    SphereVolume &operator=(const SphereVolume &obj) = default;
    ~SphereVolume(void) override;

    /*! Each setter makes the sphere valid, not empty and finite. */
    void setValue (const Pnt3f &c, Real32 r);
    void setCenter(const Pnt3f &c);
    void setRadius(Real32 r);

    const Pnt3f &getCenter(void) const { return _center; }
    Real32       getRadius(void) const { return _radius; }

    void   getCenter      (Pnt3f &center)          const override;
    Real32 getScalarVolume(void)                   const override;
    void   getBounds      (Pnt3f &min, Pnt3f &max) const override;

    /*! Keeps the centre and grows the radius to reach the point (as OpenSG 1.x); from empty the
        sphere becomes the point. */
    void extendBy(const Pnt3f        &pt)     override;
    void extendBy(const Volume       &volume) override;
    void extendBy(const SphereVolume &sphere);

    bool intersect  (const Pnt3f        &point)  const override;
    bool intersect  (const Volume       &volume) const override;
    bool intersect  (const SphereVolume &sphere) const;
    bool isOnSurface(const Pnt3f        &point)  const override;
    bool intersect  (const Line         &line)   const override;
    bool intersect  (const Line         &line, Real32 &enter, Real32 &exit) const override;

    /*! Moves the centre; the radius becomes the length of M (0, radius, 0) with M the matrix'
        3x3, as OpenSG 1.x has it: right for rotations and uniform scales, while a non-uniform
        scale may leave the sphere smaller than the transformed one. Empty and infinite spheres
        stay. */
    void transform(const Matrix &m) override;

    void dump(UInt32 uiIndent = 0, const BitVector bvFlags = 0) const override;

  private:
    Pnt3f  _center;
    Real32 _radius;
};

/*! Same state, centre and radius (exactly). */
bool operator==(const SphereVolume &s1, const SphereVolume &s2);
inline bool operator!=(const SphereVolume &s1, const SphereVolume &s2) { return !(s1 == s2); }

} // namespace osg

#endif
