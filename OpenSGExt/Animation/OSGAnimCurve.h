#ifndef _OSGANIMCURVE_H_
#define _OSGANIMCURVE_H_

#include <OpenSGExt/OSGAnimCurveBase.h>

#include <vector>

namespace osg {

/*! A keyframe curve: keys (time, value) with tangent handles, built, edited, sorted, cleaned and
    re-tangented here; a player elsewhere evaluates it as cubic Bezier segments.

    Like OpenSG's own operations, the key operations edit controlPoints directly and open no edit:
    wrap them in beginEditCP/endEditCP(curve, ControlPointsFieldMask) so the change is recorded
    and changed() invalidates the volume of the nodes using the curve.

    Sorting is stable: keys of equal time keep their order, so the key that survives
    verify(..., removeDuplicates, ...) is always the first of them in array order.

    Bad input: keys with a NaN or infinite time, value or handle are refused by addPoint and
    addControlPoint (-1, with a warning) and by addPoints (nothing added). Such keys that reach
    the field otherwise (files, field edits) make verify, clearConstantControlPoints and
    adjustVolume change nothing, and handle computation leaves those keys alone, so no NaN
    ever reaches a comparison. */
class AnimCurve : public AnimCurveBase
{
  public:
    typedef AnimCurveBase Inherited;

    /*! Inserts p: with replace, the first key at exactly p's time is removed first. Without
        sort, returns the last index; with sort, the keys are sorted by time and the index of
        the first key equal to p within 1e-6 (point and handles, equal types) is returned.
        -1 for a non-finite p. */
    Int32 addControlPoint(const CCPnt &p, bool replace, bool sort);

    /*! Adds a key at point with the given handles (a handle within 1e-6 of zero counts as
        zero) and types, replacing a key at exactly the same time. Unless forceLinearInterpolation
        is set, when both handles were zero or computeTangents is true, the handles of the new
        key and of its neighbours are recomputed with their stored types. Returns the index or
        -1. */
    Int32 addPoint(const Pnt2f &point, const Vec2f &inTangent, const Vec2f &outTangent,
                   UInt32 inType, UInt32 outType, bool computeTangents, bool sort);

    /*! Appends a key with zero handles and types 2/2; no sorting, no tangents. */
    void addPointSimple(const Pnt2f &point);

    /*! Adds the points as keys with zero handles and types 2/2, each replacing a key at exactly
        its time (so of given points sharing a time the last survives), sorts the keys and
        recomputes the handles of all of them. Nothing is added when any point is not finite. */
    void addPoints(const MFPnt2f &points);

    /*! Removes the key at index; an index at or past the end does nothing. */
    void subPoint(UInt32 index);
    /*! Removes every key equal (operator==) to one of the given ones. */
    void subPoints(const std::vector<CCPnt> &points);

    void clear  (void);
    void reserve(UInt32 size);
    /*! Releases unused capacity, all of it when empty. */
    void shrink (void);

    /*! Appends (time, value) of every key to out, in array order. */
    void points(MFPnt2f &out) const;
    bool isEmpty(void) const;

    /*! Recompute one handle; a negative type uses the stored one, otherwise it is stored. */
    void computeIntangent (UInt32 index, Int32 type);
    void computeOuttangent(UInt32 index, Int32 type);

    /*! On a non-empty, finite curve: stable sort by time, remove keys repeating the time of the
        key kept before them, recompute every key's in- then out-handle. */
    void verify(bool sort, bool removeDuplicates, bool recomputeTangents);

    /*! Removes all keys (and their storage) when each value is within 1e-6 of its
        predecessor's. */
    void clearConstantControlPoints(void);

    /*! Extends volume by (time, 0, value) of every key: the curve lies in the x-z plane of its
        node. Marks the volume valid unless it is static. */
    void adjustVolume(Volume &volume) override;

    void changed(BitVector whichField, UInt32 origin) override;
    void dump(UInt32 uiIndent = 0, const BitVector bvFlags = BitVector(0)) const override;

  protected:
    friend class FieldContainer;
    friend class AnimCurveBase;

    AnimCurve(void);
    AnimCurve(const AnimCurve &source);
    ~AnimCurve(void) override;
};

} // namespace osg

#endif
