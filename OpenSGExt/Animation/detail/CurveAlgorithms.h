#ifndef SKOSG_ANIMATION_DETAIL_CURVEALGORITHMS_H
#define SKOSG_ANIMATION_DETAIL_CURVEALGORITHMS_H

// The keyframe-curve algorithms on a plain array of keys, beneath AnimCurve so that they can be
// tested and benchmarked without a scene graph. Arrays in, arrays out; no logging here.

#include <OpenSGExt/OSGCCPnt.h>

#include <vector>

namespace osg {
namespace curve {

/*! Time, value and both handles are finite. */
bool isFinite(const CCPnt &key);
/*! Every key is finite. */
bool allFinite(const CCPnt *keys, size_t count);

/*! The outgoing (incoming) handle of key index for the tangent type, from the key's neighbours
    in array order and, for type 5, its current handles. False when nothing is to change: fewer
    than two keys, an index out of range, a type-5 handle that already fits, or non-finite
    input. Lengths are computed in double, slopes as rise * L / run; a zero run gives slope 0
    and a result that does not fit a float gives a zero handle, so unsorted keys and equal
    times never produce NaN or infinity. type must be non-negative. */
bool outHandle(const CCPnt *keys, size_t count, size_t index, UInt32 type, Vec2f &handle);
bool inHandle (const CCPnt *keys, size_t count, size_t index, UInt32 type, Vec2f &handle);

/*! Recomputes one handle; a negative type uses the stored one, otherwise the type is stored.
    Nothing happens with fewer than two keys or an invalid index. */
void computeOut(std::vector<CCPnt> &keys, size_t index, Int32 type);
void computeIn (std::vector<CCPnt> &keys, size_t index, Int32 type);

/*! Stable sort by time: keys of equal time keep their order. The keys must be finite. */
void sortByTime(std::vector<CCPnt> &keys);

/*! Removes every key whose time equals exactly the time of the key kept before it (the first of
    equal times survives); returns the number removed. */
size_t removeDuplicateTimes(std::vector<CCPnt> &keys);

/*! In- then out-handle of every key in index order, with the stored types. */
void recomputeAll(std::vector<CCPnt> &keys);

/*! Whether every key's value is within 1e-6 of its predecessor's (true for fewer than 2 keys). */
bool isConstant(const CCPnt *keys, size_t count);

/*! Keys that agree within 1e-6 on every component of point and handles, with equal types. */
bool nearlyEqual(const CCPnt &a, const CCPnt &b);

} // namespace curve
} // namespace osg

#endif
