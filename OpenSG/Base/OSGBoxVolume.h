#ifndef _OSGBOXVOLUME_H_
#define _OSGBOXVOLUME_H_

#include <OpenSG/OSGVolume.h>

namespace osg {

/*! Axis-aligned box from _min to _max. */
class BoxVolume : public Volume
{
  public:
    /*! Empty. */
    BoxVolume(void) : Volume(), _min(0, 0, 0), _max(0, 0, 0) {}
    /*! Non-empty, valid. */
    BoxVolume(Real32 xmin, Real32 ymin, Real32 zmin, Real32 xmax, Real32 ymax, Real32 zmax);
    BoxVolume(const Pnt3f &min, const Pnt3f &max);
    BoxVolume(const BoxVolume &obj) = default;
    BoxVolume &operator=(const BoxVolume &obj) = default;
    ~BoxVolume(void) override;

    /*---------------------------- get ------------------------------------*/

    const Pnt3f &getMin(void) const { return _min; }
    const Pnt3f &getMax(void) const { return _max; }

    void   getCenter      (Pnt3f &center)          const override;
    Real32 getScalarVolume(void)                   const override;
    void   getBounds      (Pnt3f &min, Pnt3f &max) const override;
    void   getBounds      (Real32 &xmin, Real32 &ymin, Real32 &zmin,
                           Real32 &xmax, Real32 &ymax, Real32 &zmax) const;
    void   getSize        (Vec3f &vec) const;
    void   getSize        (Real32 &sizeX, Real32 &sizeY, Real32 &sizeZ) const;

    /*---------------------------- set ------------------------------------*/

    // Each setter makes the box valid, not empty and finite.

    /*! Centred at the origin with width w, height h and depth d. */
    void setBounds(Real32 w, Real32 h, Real32 d);
    void setBounds(Real32 xmin, Real32 ymin, Real32 zmin, Real32 xmax, Real32 ymax, Real32 zmax);
    void setBounds(const Pnt3f &min, const Pnt3f &max);
    void setBoundsByCenterAndSize(const Pnt3f &center, const Vec3f &size);

    /*---------------------------- extend ---------------------------------*/

    void extendBy(const Pnt3f     &pt)     override;
    void extendBy(const Volume    &volume) override;
    void extendBy(const BoxVolume &bb);

    /*---------------------------- intersect ------------------------------*/

    bool intersect  (const Pnt3f     &point)  const override;
    bool intersect  (const Volume    &volume) const override;
    bool intersect  (const BoxVolume &bb)     const;
    bool isOnSurface(const Pnt3f     &point)  const override;
    bool intersect  (const Line      &line)   const override;
    bool intersect  (const Line      &line, Real32 &enter, Real32 &exit) const override;

    /*---------------------------- transform ------------------------------*/

    /*! The axis-aligned box around the transformed corners; empty and infinite boxes stay. */
    void transform(const Matrix &m) override;

    void dump(UInt32 uiIndent = 0, const BitVector bvFlags = 0) const override;

  private:
    Pnt3f _min;
    Pnt3f _max;
};

/*! Same state and corners (exactly). */
bool operator==(const BoxVolume &b1, const BoxVolume &b2);
inline bool operator!=(const BoxVolume &b1, const BoxVolume &b2) { return !(b1 == b2); }

} // namespace osg

#endif
