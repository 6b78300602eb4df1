#ifndef _OSGVOLUME_H_
#define _OSGVOLUME_H_

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGVector.h>
#include <OpenSG/OSGMatrix.h>

#include <iosfwd>

namespace osg {

class Line;

/*! Bounding volume base. The state bits say whether the volume is valid (up to date), empty,
    static (kept as set: setValid and extendBy leave it alone) or infinite; a new volume is valid
    and empty. */
class Volume
{
  public:
    enum State
    {
        OSGVALID    = 1,
        OSGEMPTY    = 2,
        OSGSTATIC   = 4,
        OSGINFINITE = 8
    };

    virtual ~Volume(void) {}

    /*---------------------------- state ----------------------------------*/

    // Virtual so that a DynamicVolume seen as a Volume keeps its instance in step.

    /*! Ignored while the volume is static. */
    virtual void setValid(const bool value = true)
    {
        if(!isStatic())
            _state = UInt16(value ? (_state | OSGVALID) : (_state & ~OSGVALID));
    }
    bool isValid(void) const { return (_state & OSGVALID) != 0; }

    /*! Emptying also makes the volume valid and finite. */
    virtual void setEmpty(const bool value = true)
    {
        if(value)
            _state = UInt16((_state | OSGEMPTY | OSGVALID) & ~OSGINFINITE);
        else
            _state = UInt16(_state & ~OSGEMPTY);
    }
    bool isEmpty(void) const { return (_state & OSGEMPTY) != 0; }

    virtual void setStatic(const bool value = true)
    {
        _state = UInt16(value ? (_state | OSGSTATIC) : (_state & ~OSGSTATIC));
    }
    bool isStatic(void) const { return (_state & OSGSTATIC) != 0; }

    /*! Making the volume infinite also makes it valid and not empty. */
    virtual void setInfinite(const bool value = true)
    {
        if(value)
            _state = UInt16((_state | OSGINFINITE | OSGVALID) & ~OSGEMPTY);
        else
            _state = UInt16(_state & ~OSGINFINITE);
    }
    bool isInfinite(void) const { return (_state & OSGINFINITE) != 0; }

    /*! True unless the volume is valid, not static and not infinite: extendBy leaves it alone. */
    bool isUntouchable(void) const
    {
        return (_state & (OSGVALID | OSGSTATIC | OSGINFINITE)) != OSGVALID;
    }

    UInt16       getState(void) const { return _state; }
    virtual void setState(UInt16 state) { _state = state; }

    /*---------------------------- values ---------------------------------*/

    virtual void   getCenter      (Pnt3f &center)          const = 0;
    virtual Real32 getScalarVolume(void)                   const = 0;
    /*! An infinite volume reports (NegInf, NegInf, NegInf) to (Inf, Inf, Inf). */
    virtual void   getBounds      (Pnt3f &min, Pnt3f &max) const = 0;

    Pnt3f getMin(void) const
    {
        Pnt3f lo, hi;
        getBounds(lo, hi);
        return lo;
    }
    Pnt3f getMax(void) const
    {
        Pnt3f lo, hi;
        getBounds(lo, hi);
        return hi;
    }

    /*---------------------------- extending ------------------------------*/

    virtual void extendBy(const Pnt3f  &pt)     = 0;
    virtual void extendBy(const Volume &volume) = 0;

    /*---------------------------- intersection ---------------------------*/

    virtual bool intersect  (const Pnt3f  &point)  const = 0;
    virtual bool intersect  (const Volume &volume) const = 0;
    virtual bool isOnSurface(const Pnt3f  &point)  const = 0;

    /*! Whether the line (a half-line, see Line) meets the volume. */
    virtual bool intersect(const Line &line) const = 0;
    /*! Also the parameters where the line enters and leaves the volume. */
    virtual bool intersect(const Line &line, Real32 &enter, Real32 &exit) const = 0;

    /*---------------------------- transformation -------------------------*/

    virtual void transform(const Matrix &matrix) = 0;

    /*---------------------------- output ---------------------------------*/

    /*! One line through the log (PLOG), indented by uiIndent blanks. */
    virtual void dump(UInt32 uiIndent = 0, const BitVector bvFlags = 0) const = 0;

    /*! Same state and bounds. */
    bool operator==(const Volume &other) const;
    bool operator!=(const Volume &other) const { return !(*this == other); }

  protected:
    Volume(void) : _state(OSGVALID | OSGEMPTY) {}
    Volume(const Volume &obj) = default;
    Volume &operator=(const Volume &obj) = default;

    enum ExtendAction
    {
        ExtendNothing,
        ExtendCopy,
        ExtendInfinite,
        ExtendUnion
    };

    /*! The common rules of extendBy(volume): nothing if this is static, infinite or invalid
        without being empty, or if src is invalid or empty; an infinite src makes this infinite;
        an empty this takes src over; otherwise the union. */
    static ExtendAction extendAction(const Volume &dst, const Volume &src);

    /*! src itself, or the instance inside a DynamicVolume. */
    static const Volume &resolve(const Volume &src);

    /*! "valid empty static infinite" words of the state, for dump and stream output. */
    static void putState(std::ostream &os, UInt16 state);

    UInt16 _state;

    friend std::ostream &operator<<(std::ostream &os, const Volume &vol);
};

typedef Volume *VolumeP;

/*! "box (min) (max) [state words]" style text. */
std::ostream &operator<<(std::ostream &os, const Volume &vol);

} // namespace osg

#endif
