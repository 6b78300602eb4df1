#ifndef _OSGMATRIXUTILITY_H_
#define _OSGMATRIXUTILITY_H_

#include <OpenSG/OSGMatrix.h>

namespace osg {

/*! Projection and placement matrices in OpenGL's conventions (column vectors, clip space with
    w = -z_eye). The projection builders take a reversed-depth flag: false gives OpenGL's depth
    range (near -> -1, far -> +1); true gives the reversed [0, 1] range that a renderer with a
    floating-point depth buffer wants (near -> 1, far -> 0). Only the two depth terms differ.

    Return values follow OpenSG 1.x: MatrixOrthogonal and MatrixFrustum always answer false;
    the others answer true when they failed (the result is then the identity) and false when
    they built the matrix. */

/*! Orthographic projection of the box [l, r] x [b, t] x [-n, -f]. No checks: a degenerate box
    gives infinities, as the caller asked for. */
bool MatrixOrthogonal(Matrix &result, Real32 rLeft, Real32 rRight, Real32 rBottom, Real32 rTop,
                      Real32 rNear, Real32 rFar, bool reversedDepth = false);

/*! Perspective projection of the frustum whose near rectangle is [l, r] x [b, t] at distance
    n; far plane at f. No checks. */
bool MatrixFrustum(Matrix &result, Real32 rLeft, Real32 rRight, Real32 rBottom, Real32 rTop,
                   Real32 rNear, Real32 rFar, bool reversedDepth = false);

/*! Symmetric perspective projection. rFovy is the HALF vertical opening in radians (OpenSG 1.x's
    convention: tan(rFovy) is the slope of the top plane), rAspect width / height. Near beyond
    far, a field of view of at most Eps, near ~= far or an aspect below Eps are warned about
    ("MatrixPerspective: ...") and give the identity and true. */
bool MatrixPerspective(Matrix &result, Real32 rFovy, Real32 rAspect, Real32 rNear, Real32 rFar,
                       bool reversedDepth = false);

/*! Off-axis stereo projection for one eye (rWhicheye 0 left, 1 right) with screen plane at
    rZeroparallax and eye distance rEyedistance; rFovy is the FULL vertical opening here.
    projection receives the sheared frustum, projtrans the eye's translation along x (the
    projection to apply is projection * projtrans). rOverlap < 1 narrows the two frusta
    towards their common part. Checks as MatrixPerspective, plus a zero parallax distance below
    Eps; a failure gives two identities and true. */
bool MatrixStereoPerspective(Matrix &projection, Matrix &projtrans, Real32 rFovy, Real32 rAspect,
                             Real32 rNear, Real32 rFar, Real32 rZeroparallax, Real32 rEyedistance,
                             Real32 rWhicheye, Real32 rOverlap, bool reversedDepth = false);

/*! The camera-to-world matrix of an eye at from looking at at with up direction up: columns
    right, up', back (from - at, normalised) and from. This is the placement of a camera beacon,
    the inverse of a viewing matrix. When up is parallel to the line of sight (or from == at)
    nothing is written and the answer is true; false on success. */
bool MatrixLookAt(Matrix &result, Real32 fromx, Real32 fromy, Real32 fromz,
                  Real32 atx, Real32 aty, Real32 atz, Real32 upx, Real32 upy, Real32 upz);
bool MatrixLookAt(Matrix &result, const Pnt3f &from, const Pnt3f &at, const Vec3f &up);

} // namespace osg

#endif
