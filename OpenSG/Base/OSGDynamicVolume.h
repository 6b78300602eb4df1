#ifndef _OSGDYNAMICVOLUME_H_
#define _OSGDYNAMICVOLUME_H_

#include <OpenSG/OSGBoxVolume.h>
#include <OpenSG/OSGSphereVolume.h>

namespace osg {

/*! A volume whose kind (box or sphere) is chosen at run time; the instance lives in place, so the
    value needs no allocation. Every Volume call goes to the instance, and the state of this object
    follows it. Code that changes the instance through getInstance() calls instanceChanged(). */
class DynamicVolume : public Volume
{
  public:
    // A fixed underlying type: any number read from a file is a defined (if unknown) value.
    enum Type : UInt32
    {
        BOX_VOLUME    = 0,
        SPHERE_VOLUME = 1
    };

    DynamicVolume(Type type = BOX_VOLUME);
    DynamicVolume(const DynamicVolume &obj);
    DynamicVolume &operator=(const DynamicVolume &source);
    ~DynamicVolume(void) override;

    /*---------------------------- instance -------------------------------*/

    const Volume &getInstance(void) const;
          Volume &getInstance(void);

    /*! Copies the instance's state into this object. */
    void instanceChanged(void);
    /*! Copies this object's state into the instance. */
    void updateInstanceState(void);

    Type getType(void) const { return _type; }

    /*! A new, empty instance of the given kind. */
    void setVolumeType(Type type);
    /*! Converts the current volume: a box becomes its enclosing sphere, a sphere its bounding
        box; the state is kept. */
    void morphToType(Type type);

    /*---------------------------- state ----------------------------------*/

    void setValid   (const bool value = true) override;
    void setEmpty   (const bool value = true) override;
    void setStatic  (const bool value = true) override;
    void setInfinite(const bool value = true) override;
    void setState   (UInt16 state)            override;

    /*---------------------------- forwarded ------------------------------*/

    void   getCenter      (Pnt3f &center)          const override;
    Real32 getScalarVolume(void)                   const override;
    void   getBounds      (Pnt3f &min, Pnt3f &max) const override;

    void extendBy(const Pnt3f  &pt)     override;
    void extendBy(const Volume &volume) override;

    bool intersect  (const Pnt3f  &point)  const override;
    bool intersect  (const Volume &volume) const override;
    bool isOnSurface(const Pnt3f  &point)  const override;
    bool intersect  (const Line   &line)   const override;
    bool intersect  (const Line   &line, Real32 &enter, Real32 &exit) const override;

    void transform(const Matrix &matrix) override;

    void dump(UInt32 uiIndent = 0, const BitVector bvFlags = 0) const override;

  private:
    void construct(Type type, const Volume *source);
    void destroy  (void);

    Type _type;
    alignas(BoxVolume) alignas(SphereVolume)
    unsigned char _volumeMem[sizeof(BoxVolume) > sizeof(SphereVolume) ? sizeof(BoxVolume)
                                                                      : sizeof(SphereVolume)];
};

/*! Same kind, state and geometry. */
bool operator==(const DynamicVolume &lhs, const DynamicVolume &rhs);
inline bool operator!=(const DynamicVolume &lhs, const DynamicVolume &rhs) { return !(lhs == rhs); }

} // namespace osg

#endif
