#ifndef _OSGMATRIX_H_
#define _OSGMATRIX_H_

#include <OpenSG/OSGVector.h>
#include <OpenSG/OSGQuaternion.h>

#include <cstdlib>
#include <iomanip>
#include <ostream>
#include <string>
#include <type_traits>

namespace osg {

namespace detail {

/*! Splits the 3x3 a (a[c][r], column c, row r) into a = rot * scaleRot * diag(scale) *
    scaleRot^T with rot and scaleRot proper rotations, the way OpenSG 1.x's getTransform does,
    in the precision of T:
    - a polar decomposition a = Q S (scaled Newton iteration on Q, relative tolerance 1e-6), Q
      orthogonal and S symmetric; when det Q < 0, Q is negated and so are all three scale factors;
    - a spectral decomposition of S by cyclic Jacobi rotations starting from the identity, the
      axes visited in the order (0,1), (2,0), (1,2) and without the reordering ("snuggling") of
      the axes that would make the answer canonical: the scale factors come back in the order
      the rotations leave them on the diagonal, so a scale set along a turned orientation may
      come back permuted, with another scale orientation, describing the same matrix.
    A singular 3x3 (zero scale along some axis) has no polar decomposition: rot is then the
    identity and the scale and its orientation come from the symmetric part of a (exact for a
    pure scale). OpenSG 1.x gives a quaternion that is not of unit length there. */
template <class T>
void decomposeAffine3(const T a[3][3], T rot[3][3], T scale[3], T scaleRot[3][3]);

/*! Unit quaternion (x, y, z, w) of the rotation m (m[c][r]); the trace method, normalised. */
void rotationToQuat(const Real64 m[3][3], Real64 q[4]);

/*! m[c][r] of the rotation of quaternion (x, y, z, w). */
inline void quatToRotation(const Real64 q[4], Real64 m[3][3])
{
    const Real64 x = q[0], y = q[1], z = q[2], w = q[3];
    m[0][0] = 1 - 2 * (y * y + z * z);
    m[0][1] =     2 * (x * y + z * w);
    m[0][2] =     2 * (z * x - y * w);
    m[1][0] =     2 * (x * y - z * w);
    m[1][1] = 1 - 2 * (z * z + x * x);
    m[1][2] =     2 * (y * z + x * w);
    m[2][0] =     2 * (z * x + y * w);
    m[2][1] =     2 * (y * z - x * w);
    m[2][2] = 1 - 2 * (x * x + y * y);
}

} // namespace detail

/*! 4x4 matrix for column vectors (p' = M p), stored as four column vectors: m[c][r] is column c,
    row r, getValues() gives the 16 values column by column as OpenGL wants them, and the
    translation is m[3][0..2]. The 16-value constructor and setValue take the values row by row.
    a.mult(b) is a = a * b (b acts first on points), a.multLeft(b) is a = b * a. */
template <class ValueTypeT>
class TransformationMatrix
{
  public:
    typedef ValueTypeT                 ValueType;
    typedef Vector<ValueTypeT, 4>      VectorType;
    typedef Point <ValueTypeT, 4>      PointType;
    typedef Vector<ValueTypeT, 3>      VectorType3f;
    typedef Point <ValueTypeT, 3>      PointType3f;
    typedef QuaternionBase<ValueTypeT> QuaternionType;

    static const TransformationMatrix &identity(void)
    {
        static const TransformationMatrix id;
        return id;
    }

    /*---------------------------- construction ---------------------------*/

    TransformationMatrix(void) { setIdentity(); }

    /*! Three columns; everything else is 0, m[3][3] included (as in OpenSG 1.x: the result is
        not an affine matrix until m[3][3] is set). */
    TransformationMatrix(const VectorType3f &c0, const VectorType3f &c1, const VectorType3f &c2)
        : _matrix{}
    {
        setValue(c0, c1, c2);
    }
    /*! Four columns; the bottom row is 0, m[3][3] included (as in OpenSG 1.x). */
    TransformationMatrix(const VectorType3f &c0, const VectorType3f &c1, const VectorType3f &c2,
                         const VectorType3f &c3)
        : _matrix{}
    {
        setValue(c0, c1, c2, c3);
    }
    TransformationMatrix(const VectorType &c0, const VectorType &c1, const VectorType &c2,
                         const VectorType &c3)
    {
        setValue(c0, c1, c2, c3);
    }

    /*! Row by row. */
    TransformationMatrix(const ValueTypeT r0c0, const ValueTypeT r0c1, const ValueTypeT r0c2, const ValueTypeT r0c3,
                         const ValueTypeT r1c0, const ValueTypeT r1c1, const ValueTypeT r1c2, const ValueTypeT r1c3,
                         const ValueTypeT r2c0, const ValueTypeT r2c1, const ValueTypeT r2c2, const ValueTypeT r2c3,
                         const ValueTypeT r3c0, const ValueTypeT r3c1, const ValueTypeT r3c2, const ValueTypeT r3c3)
    {
        setValue(r0c0, r0c1, r0c2, r0c3, r1c0, r1c1, r1c2, r1c3,
                 r2c0, r2c1, r2c2, r2c3, r3c0, r3c1, r3c2, r3c3);
    }

    /*---------------------------- set ------------------------------------*/

    void setIdentity(void)
    {
        for(UInt32 c = 0; c < 4; ++c)
            for(UInt32 r = 0; r < 4; ++r)
                _matrix[c][r] = ValueTypeT(c == r ? 1 : 0);
    }

    void setValue(const TransformationMatrix &mat) { *this = mat; }

    /*! Writes x, y, z of the columns and leaves their w. */
    void setValue(const VectorType3f &c0, const VectorType3f &c1, const VectorType3f &c2)
    {
        const VectorType3f *cols[3] = { &c0, &c1, &c2 };
        for(UInt32 c = 0; c < 3; ++c)
            for(UInt32 r = 0; r < 3; ++r)
                _matrix[c][r] = (*cols[c])[r];
    }
    void setValue(const VectorType3f &c0, const VectorType3f &c1, const VectorType3f &c2,
                  const VectorType3f &c3)
    {
        setValue(c0, c1, c2);
        for(UInt32 r = 0; r < 3; ++r)
            _matrix[3][r] = c3[r];
    }
    void setValue(const VectorType &c0, const VectorType &c1, const VectorType &c2, const VectorType &c3)
    {
        _matrix[0] = c0;
        _matrix[1] = c1;
        _matrix[2] = c2;
        _matrix[3] = c3;
    }

    /*! Row by row. */
    void setValue(const ValueTypeT r0c0, const ValueTypeT r0c1, const ValueTypeT r0c2, const ValueTypeT r0c3,
                  const ValueTypeT r1c0, const ValueTypeT r1c1, const ValueTypeT r1c2, const ValueTypeT r1c3,
                  const ValueTypeT r2c0, const ValueTypeT r2c1, const ValueTypeT r2c2, const ValueTypeT r2c3,
                  const ValueTypeT r3c0, const ValueTypeT r3c1, const ValueTypeT r3c2, const ValueTypeT r3c3)
    {
        _matrix[0].setValues(r0c0, r1c0, r2c0, r3c0);
        _matrix[1].setValues(r0c1, r1c1, r2c1, r3c1);
        _matrix[2].setValues(r0c2, r1c2, r2c2, r3c2);
        _matrix[3].setValues(r0c3, r1c3, r2c3, r3c3);
    }

    /*! Column by column. */
    void setValueTransposed(const ValueTypeT c0r0, const ValueTypeT c0r1, const ValueTypeT c0r2, const ValueTypeT c0r3,
                            const ValueTypeT c1r0, const ValueTypeT c1r1, const ValueTypeT c1r2, const ValueTypeT c1r3,
                            const ValueTypeT c2r0, const ValueTypeT c2r1, const ValueTypeT c2r2, const ValueTypeT c2r3,
                            const ValueTypeT c3r0, const ValueTypeT c3r1, const ValueTypeT c3r2, const ValueTypeT c3r3)
    {
        _matrix[0].setValues(c0r0, c0r1, c0r2, c0r3);
        _matrix[1].setValues(c1r0, c1r1, c1r2, c1r3);
        _matrix[2].setValues(c2r0, c2r1, c2r2, c2r3);
        _matrix[3].setValues(c3r0, c3r1, c3r2, c3r3);
    }

    /*! 16 values, column by column unless bTransposed is false (then row by row). A null pointer
        gives the identity (and a warning). */
    void setValue(const ValueTypeT *pMat, bool bTransposed = true)
    {
        if(pMat == NULL)
        {
            detail::warnNullPointer("TransformationMatrix::setValue");
            setIdentity();
            return;
        }
        for(UInt32 c = 0; c < 4; ++c)
            for(UInt32 r = 0; r < 4; ++r)
                _matrix[c][r] = bTransposed ? pMat[c * 4 + r] : pMat[r * 4 + c];
    }

    /*! Four columns. */
    void setValue(const VectorType *pMat)
    {
        if(pMat == NULL)
        {
            detail::warnNullPointer("TransformationMatrix::setValue");
            setIdentity();
            return;
        }
        for(UInt32 c = 0; c < 4; ++c)
            _matrix[c] = pMat[c];
    }

    /*! 16 numbers separated by blanks, tabs, newlines or commas, column by column unless
        bTransposed is false (then row by row). Missing numbers are 0, unreadable ones read as
        much of a number as they start with (else 0), numbers beyond the 16th are ignored. A null
        or empty string gives the identity. */
    void setValue(const Char8 *str, bool bTransposed = true);

    /*---------------------------- get ------------------------------------*/

    /*! The 16 values column by column. */
          ValueTypeT *getValues(void)       { return _matrix[0].getValues(); }
    const ValueTypeT *getValues(void) const { return _matrix[0].getValues(); }

          VectorType &operator[](const UInt32 c)       { return _matrix[c]; }
    const VectorType &operator[](const UInt32 c) const { return _matrix[c]; }

    /*---------------------------- parts ----------------------------------*/

    /*! Only the diagonal. */
    void setScale(const ValueTypeT s) { setScale(s, s, s); }
    void setScale(const ValueTypeT sx, const ValueTypeT sy, const ValueTypeT sz)
    {
        _matrix[0][0] = sx;
        _matrix[1][1] = sy;
        _matrix[2][2] = sz;
    }
    void setScale(const VectorType3f &s) { setScale(s[0], s[1], s[2]); }

    /*! Only m[3][0..2]. */
    void setTranslate(const ValueTypeT tx, const ValueTypeT ty, const ValueTypeT tz)
    {
        _matrix[3][0] = tx;
        _matrix[3][1] = ty;
        _matrix[3][2] = tz;
    }
    void setTranslate(const VectorType3f &t) { setTranslate(t[0], t[1], t[2]); }
    void setTranslate(const PointType3f  &t) { setTranslate(t[0], t[1], t[2]); }

    /*! Only the upper 3x3. */
    void setRotate(const QuaternionType &q) { q.getValuesOnly(*this); }

    /*---------------------------- whole transforms -----------------------*/

    /*! T(t) */
    void setTransform(const VectorType3f &t)
    {
        setIdentity();
        setTranslate(t);
    }
    /*! R(r) */
    void setTransform(const QuaternionType &r) { r.getValue(*this); }
    /*! T(t) R(r) */
    void setTransform(const VectorType3f &t, const QuaternionType &r)
    {
        r.getValue(*this);
        setTranslate(t);
    }
    /*! T(t) R(r) S(s) */
    void setTransform(const VectorType3f &t, const QuaternionType &r, const VectorType3f &s)
    {
        setTransform(t, r, s, QuaternionType());
    }
    /*! T(t) R(r) R(so) S(s) R(so)^-1 */
    void setTransform(const VectorType3f &t, const QuaternionType &r, const VectorType3f &s,
                      const QuaternionType &so)
    {
        setTransform(t, r, s, so, VectorType3f());
    }
    /*! T(t) T(c) R(r) R(so) S(s) R(so)^-1 T(-c): scale in the scale-orientation frame and rotate,
        both about the centre c, then translate. */
    void setTransform(const VectorType3f &t, const QuaternionType &r, const VectorType3f &s,
                      const QuaternionType &so, const VectorType3f &c);

    /*! Inverse of the four-argument setTransform for an affine matrix, decomposed as OpenSG 1.x
        does (see detail::decomposeAffine3): t is column 3; a mirror makes all three scale
        factors negative; so and s come back in the decomposition's own order, so they may be
        permuted relative to what was set, but setTransform(t, r, s, so) rebuilds the matrix. */
    void getTransform(VectorType3f &t, QuaternionType &r, VectorType3f &s, QuaternionType &so) const;

    /*! Inverse of the five-argument setTransform for the given centre: the four-argument
        decomposition of T(-c) M T(c). */
    void getTransform(VectorType3f &t, QuaternionType &r, VectorType3f &s, QuaternionType &so,
                      const VectorType3f &c) const;

    /*---------------------------- points and vectors ---------------------*/

    /*! Affine: dst = M (src, 1), the bottom row ignored. */
    void multMatrixPnt(const PointType3f &src, PointType3f &dst) const
    {
        ValueTypeT x = src[0], y = src[1], z = src[2];
        dst.setValues(_matrix[0][0] * x + _matrix[1][0] * y + _matrix[2][0] * z + _matrix[3][0],
                      _matrix[0][1] * x + _matrix[1][1] * y + _matrix[2][1] * z + _matrix[3][1],
                      _matrix[0][2] * x + _matrix[1][2] * y + _matrix[2][2] * z + _matrix[3][2]);
    }
    void multMatrixPnt(PointType3f &pnt) const { multMatrixPnt(pnt, pnt); }

    /*! Projective: divides by the resulting w; w = 0 gives the origin. */
    void multFullMatrixPnt(const PointType3f &src, PointType3f &dst) const
    {
        ValueTypeT x = src[0], y = src[1], z = src[2];
        ValueTypeT w = _matrix[0][3] * x + _matrix[1][3] * y + _matrix[2][3] * z + _matrix[3][3];
        if(w == ValueTypeT(0))
        {
            dst.setNull();
            return;
        }
        multMatrixPnt(src, dst);
        dst /= w;
    }
    void multFullMatrixPnt(PointType3f &pnt) const { multFullMatrixPnt(pnt, pnt); }

    /*! Upper 3x3 only: dst = M3 src. */
    void multMatrixVec(const VectorType3f &src, VectorType3f &dst) const
    {
        ValueTypeT x = src[0], y = src[1], z = src[2];
        dst.setValues(_matrix[0][0] * x + _matrix[1][0] * y + _matrix[2][0] * z,
                      _matrix[0][1] * x + _matrix[1][1] * y + _matrix[2][1] * z,
                      _matrix[0][2] * x + _matrix[1][2] * y + _matrix[2][2] * z);
    }
    void multMatrixVec(VectorType3f &vec) const { multMatrixVec(vec, vec); }

    /*! Full 4x4. */
    void multMatrixPnt(const PointType &src, PointType &dst) const { mult4(src.getValues(), dst.getValues()); }
    void multMatrixPnt(PointType &pnt) const { mult4(pnt.getValues(), pnt.getValues()); }
    void multMatrixVec(const VectorType &src, VectorType &dst) const { mult4(src.getValues(), dst.getValues()); }
    void multMatrixVec(VectorType &vec) const { mult4(vec.getValues(), vec.getValues()); }

    void mult    (const PointType3f  &in, PointType3f  &out) const { multMatrixPnt(in, out);     }
    void mult    (const VectorType3f &in, VectorType3f &out) const { multMatrixVec(in, out);     }
    /*! Full 4x4. */
    void mult    (const PointType    &in, PointType    &out) const { multMatrixPnt(in, out);     }
    /*! A direction: x, y, z through the upper 3x3 only (no translation), w through the whole
        bottom row (so w' = m[3][3] w for an affine matrix). Unlike multMatrixVec(Vec4f). */
    void mult(const VectorType &in, VectorType &out) const
    {
        const ValueTypeT x = in[0], y = in[1], z = in[2], w = in[3];
        out.setValues(_matrix[0][0] * x + _matrix[1][0] * y + _matrix[2][0] * z,
                      _matrix[0][1] * x + _matrix[1][1] * y + _matrix[2][1] * z,
                      _matrix[0][2] * x + _matrix[1][2] * y + _matrix[2][2] * z,
                      _matrix[0][3] * x + _matrix[1][3] * y + _matrix[2][3] * z + _matrix[3][3] * w);
    }
    /*! Projective: divides by the resulting w; w = 0 gives the undivided affine result (where
        multFullMatrixPnt gives the origin). */
    void multFull(const PointType3f &in, PointType3f &out) const
    {
        const ValueTypeT w = _matrix[0][3] * in[0] + _matrix[1][3] * in[1] + _matrix[2][3] * in[2] +
                             _matrix[3][3];
        multMatrixPnt(in, out);
        if(w != ValueTypeT(0))
            out *= ValueTypeT(1) / w;
    }

    /*! The point through the upper 3x3 only (no translation). */
    void mult3x3(const PointType3f &in, PointType3f &out) const
    {
        VectorType3f v(in);
        multMatrixVec(v, v);
        out.setValues(v[0], v[1], v[2]);
    }
    void mult3x3(const VectorType3f &in, VectorType3f &out) const { multMatrixVec(in, out); }

    /*---------------------------- matrix math ----------------------------*/

    bool equals(const TransformationMatrix &m, const ValueTypeT tolerance) const
    {
        for(UInt32 c = 0; c < 4; ++c)
            for(UInt32 r = 0; r < 4; ++r)
            {
                if(osgabs(_matrix[c][r] - m._matrix[c][r]) > tolerance)
                    return false;
            }
        return true;
    }

    ValueTypeT det3(void) const
    {
        const TransformationMatrix &m = *this;
        return m[0][0] * (m[1][1] * m[2][2] - m[2][1] * m[1][2]) -
               m[1][0] * (m[0][1] * m[2][2] - m[2][1] * m[0][2]) +
               m[2][0] * (m[0][1] * m[1][2] - m[1][1] * m[0][2]);
    }

    ValueTypeT det(void) const
    {
        Real64 inv[16];
        return ValueTypeT(cofactors(inv));
    }

    /*! result = M^-1. A matrix with |det| < 1E-30 makes result the identity and returns false. */
    bool inverse(TransformationMatrix &result) const
    {
        Real64 inv[16];
        Real64 d = cofactors(inv);
        if(std::fabs(d) < 1E-30)
        {
            result.setIdentity();
            return false;
        }
        for(UInt32 c = 0; c < 4; ++c)
            for(UInt32 r = 0; r < 4; ++r)
                result._matrix[c][r] = ValueTypeT(inv[c * 4 + r] / d);
        return true;
    }
    bool invert(void) { return inverse(*this); }
    bool invertFrom(const TransformationMatrix &m) { return m.inverse(*this); }

    /*! Inverts the upper 3x3 into result's upper 3x3 and sets result's column 3 to (0, 0, 0, 1);
        result's bottom row left of it is not written (as in OpenSG 1.x). A 3x3 with
        |det3| < 1E-20 makes result the identity and returns false. */
    bool inverse3(TransformationMatrix &result) const
    {
        Real64 i[3][3];
        if(!inverse3x3(i))
        {
            result.setIdentity();
            return false;
        }
        for(UInt32 c = 0; c < 3; ++c)
            for(UInt32 r = 0; r < 3; ++r)
                result._matrix[c][r] = ValueTypeT(i[c][r]);
        result._matrix[3].setValues(ValueTypeT(0), ValueTypeT(0), ValueTypeT(0), ValueTypeT(1));
        return true;
    }
    /*! This becomes the inverse of its 3x3 with column 3 (0, 0, 0, 1) and the rest of the
        bottom row 0. A singular 3x3 (|det3| < 1E-20) leaves this unchanged and returns false:
        OpenSG 1.x's behaviour, unlike inverse3 and invertFrom3, which give the identity. */
    bool invert3(void)
    {
        Real64 i[3][3];
        if(!inverse3x3(i))
            return false;
        setIdentity();
        for(UInt32 c = 0; c < 3; ++c)
            for(UInt32 r = 0; r < 3; ++r)
                _matrix[c][r] = ValueTypeT(i[c][r]);
        return true;
    }
    /*! This becomes the inverse of m's 3x3 with column 3 (0, 0, 0, 1); the rest of this
        matrix's bottom row is kept. A singular 3x3 makes this the identity and returns false. */
    bool invertFrom3(const TransformationMatrix &m) { return m.inverse3(*this); }

    bool transposed(TransformationMatrix &result) const
    {
        TransformationMatrix t;
        for(UInt32 c = 0; c < 4; ++c)
            for(UInt32 r = 0; r < 4; ++r)
                t._matrix[c][r] = _matrix[r][c];
        result = t;
        return true;
    }
    bool transpose(void) { return transposed(*this); }
    bool transposeFrom(const TransformationMatrix &m) { return m.transposed(*this); }

    /*! this = this * m */
    void mult(const TransformationMatrix &m)
    {
        TransformationMatrix r;
        product(*this, m, r);
        *this = r;
    }
    /*! this = m * this */
    void multLeft(const TransformationMatrix &m)
    {
        TransformationMatrix r;
        product(m, *this, r);
        *this = r;
    }

    void add(const TransformationMatrix &m)
    {
        for(UInt32 c = 0; c < 4; ++c)
            _matrix[c] += m._matrix[c];
    }
    void scale(const ValueTypeT s)
    {
        for(UInt32 c = 0; c < 4; ++c)
            _matrix[c] *= s;
    }
    void addScaled(const TransformationMatrix &m, const ValueTypeT s)
    {
        for(UInt32 c = 0; c < 4; ++c)
            _matrix[c] += m._matrix[c] * s;
    }
    void negate(void)
    {
        for(UInt32 c = 0; c < 4; ++c)
            _matrix[c].negate();
    }

    // The norms are OpenSG 1.x's entrywise ones, not the induced matrix norms of the textbooks.

    /*! The sum of the absolute values of all 16 entries. */
    ValueTypeT norm1(void) const
    {
        ValueTypeT n = 0;
        for(UInt32 c = 0; c < 4; ++c)
            for(UInt32 r = 0; r < 4; ++r)
                n += osgabs(_matrix[c][r]);
        return n;
    }
    /*! The square root of the sum of the squares of all 16 entries. */
    ValueTypeT norm2(void) const
    {
        ValueTypeT n = 0;
        for(UInt32 c = 0; c < 4; ++c)
            for(UInt32 r = 0; r < 4; ++r)
                n += _matrix[c][r] * _matrix[c][r];
        return osgsqrt(n);
    }
    /*! The largest absolute value of the 16 entries. */
    ValueTypeT normInfinity(void) const
    {
        ValueTypeT n = 0;
        for(UInt32 c = 0; c < 4; ++c)
            for(UInt32 r = 0; r < 4; ++r)
                n = osgMax(n, ValueTypeT(osgabs(_matrix[c][r])));
        return n;
    }

    /*! Within Eps per entry. */
    bool operator==(const TransformationMatrix &other) const { return equals(other, ValueTypeT(Eps)); }
    bool operator!=(const TransformationMatrix &other) const { return !(*this == other); }

  private:
    static void product(const TransformationMatrix &a, const TransformationMatrix &b, TransformationMatrix &r)
    {
        for(UInt32 c = 0; c < 4; ++c)
            for(UInt32 row = 0; row < 4; ++row)
                r._matrix[c][row] = a._matrix[0][row] * b._matrix[c][0] + a._matrix[1][row] * b._matrix[c][1] +
                                    a._matrix[2][row] * b._matrix[c][2] + a._matrix[3][row] * b._matrix[c][3];
    }

    /*! inv[c][r] = inverse of the upper 3x3, in double; false when |det3| < 1E-20. */
    bool inverse3x3(Real64 i[3][3]) const
    {
        Real64 a[3][3];
        for(UInt32 c = 0; c < 3; ++c)
            for(UInt32 r = 0; r < 3; ++r)
                a[c][r] = _matrix[c][r];
        const Real64 d = a[0][0] * (a[1][1] * a[2][2] - a[2][1] * a[1][2]) -
                         a[1][0] * (a[0][1] * a[2][2] - a[2][1] * a[0][2]) +
                         a[2][0] * (a[0][1] * a[1][2] - a[1][1] * a[0][2]);
        if(!(std::fabs(d) >= 1E-20))
            return false;
        i[0][0] =  (a[1][1] * a[2][2] - a[2][1] * a[1][2]) / d;
        i[0][1] = -(a[0][1] * a[2][2] - a[2][1] * a[0][2]) / d;
        i[0][2] =  (a[0][1] * a[1][2] - a[1][1] * a[0][2]) / d;
        i[1][0] = -(a[1][0] * a[2][2] - a[2][0] * a[1][2]) / d;
        i[1][1] =  (a[0][0] * a[2][2] - a[2][0] * a[0][2]) / d;
        i[1][2] = -(a[0][0] * a[1][2] - a[1][0] * a[0][2]) / d;
        i[2][0] =  (a[1][0] * a[2][1] - a[2][0] * a[1][1]) / d;
        i[2][1] = -(a[0][0] * a[2][1] - a[2][0] * a[0][1]) / d;
        i[2][2] =  (a[0][0] * a[1][1] - a[1][0] * a[0][1]) / d;
        return true;
    }

    void mult4(const ValueTypeT *src, ValueTypeT *dst) const
    {
        ValueTypeT v[4] = { src[0], src[1], src[2], src[3] };
        for(UInt32 r = 0; r < 4; ++r)
            dst[r] = _matrix[0][r] * v[0] + _matrix[1][r] * v[1] + _matrix[2][r] * v[2] + _matrix[3][r] * v[3];
    }

    /*! The adjugate (inv[c * 4 + r]) and the determinant, in double: float rounding would make
        the 1E-30 singularity test meaningless. */
    Real64 cofactors(Real64 inv[16]) const
    {
        // M(r, c) = m[c][r]
        const TransformationMatrix &m = *this;
        Real64 a00 = m[0][0], a01 = m[1][0], a02 = m[2][0], a03 = m[3][0];
        Real64 a10 = m[0][1], a11 = m[1][1], a12 = m[2][1], a13 = m[3][1];
        Real64 a20 = m[0][2], a21 = m[1][2], a22 = m[2][2], a23 = m[3][2];
        Real64 a30 = m[0][3], a31 = m[1][3], a32 = m[2][3], a33 = m[3][3];

        Real64 s0 = a00 * a11 - a10 * a01, s1 = a00 * a12 - a10 * a02, s2 = a00 * a13 - a10 * a03;
        Real64 s3 = a01 * a12 - a11 * a02, s4 = a01 * a13 - a11 * a03, s5 = a02 * a13 - a12 * a03;
        Real64 c5 = a22 * a33 - a32 * a23, c4 = a21 * a33 - a31 * a23, c3 = a21 * a32 - a31 * a22;
        Real64 c2 = a20 * a33 - a30 * a23, c1 = a20 * a32 - a30 * a22, c0 = a20 * a31 - a30 * a21;

        // inv(r, c) stored at [c * 4 + r]
        inv[0 * 4 + 0] =  a11 * c5 - a12 * c4 + a13 * c3;
        inv[1 * 4 + 0] = -a01 * c5 + a02 * c4 - a03 * c3;
        inv[2 * 4 + 0] =  a31 * s5 - a32 * s4 + a33 * s3;
        inv[3 * 4 + 0] = -a21 * s5 + a22 * s4 - a23 * s3;
        inv[0 * 4 + 1] = -a10 * c5 + a12 * c2 - a13 * c1;
        inv[1 * 4 + 1] =  a00 * c5 - a02 * c2 + a03 * c1;
        inv[2 * 4 + 1] = -a30 * s5 + a32 * s2 - a33 * s1;
        inv[3 * 4 + 1] =  a20 * s5 - a22 * s2 + a23 * s1;
        inv[0 * 4 + 2] =  a10 * c4 - a11 * c2 + a13 * c0;
        inv[1 * 4 + 2] = -a00 * c4 + a01 * c2 - a03 * c0;
        inv[2 * 4 + 2] =  a30 * s4 - a31 * s2 + a33 * s0;
        inv[3 * 4 + 2] = -a20 * s4 + a21 * s2 - a23 * s0;
        inv[0 * 4 + 3] = -a10 * c3 + a11 * c1 - a12 * c0;
        inv[1 * 4 + 3] =  a00 * c3 - a01 * c1 + a02 * c0;
        inv[2 * 4 + 3] = -a30 * s3 + a31 * s1 - a32 * s0;
        inv[3 * 4 + 3] =  a20 * s3 - a21 * s1 + a22 * s0;

        return s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0;
    }

    VectorType _matrix[4];
};

typedef TransformationMatrix<Real32> Matrix4f;
typedef TransformationMatrix<Real64> Matrix4d;
typedef Matrix4f                     Matrix;

static_assert(sizeof(Matrix) == 16 * sizeof(Real32) && std::is_trivially_copyable<Matrix>::value,
              "matrices must stay 16 plain values");

/*---------------------------- out-of-class members -------------------------*/

template <class ValueTypeT>
void TransformationMatrix<ValueTypeT>::setTransform(const VectorType3f &t, const QuaternionType &r,
                                                    const VectorType3f &s, const QuaternionType &so,
                                                    const VectorType3f &c)
{
    Real64 rq[4]  = { r[0], r[1], r[2], r[3] };
    Real64 soq[4] = { so[0], so[1], so[2], so[3] };
    Real64 rm[3][3], som[3][3];
    detail::quatToRotation(rq, rm);
    detail::quatToRotation(soq, som);

    // B = R(so) S R(so)^T, then A = R(r) B; all [c][r].
    Real64 b[3][3], a[3][3];
    for(UInt32 col = 0; col < 3; ++col)
        for(UInt32 row = 0; row < 3; ++row)
        {
            b[col][row] = 0;
            for(UInt32 k = 0; k < 3; ++k)
                b[col][row] += som[k][row] * Real64(s[k]) * som[k][col];
        }
    for(UInt32 col = 0; col < 3; ++col)
        for(UInt32 row = 0; row < 3; ++row)
        {
            a[col][row] = 0;
            for(UInt32 k = 0; k < 3; ++k)
                a[col][row] += rm[k][row] * b[col][k];
        }

    for(UInt32 col = 0; col < 3; ++col)
    {
        for(UInt32 row = 0; row < 3; ++row)
            _matrix[col][row] = ValueTypeT(a[col][row]);
        _matrix[col][3] = ValueTypeT(0);
    }
    // Translation t + c - A c.
    for(UInt32 row = 0; row < 3; ++row)
    {
        Real64 ac = a[0][row] * c[0] + a[1][row] * c[1] + a[2][row] * c[2];
        _matrix[3][row] = ValueTypeT(Real64(t[row]) + Real64(c[row]) - ac);
    }
    _matrix[3][3] = ValueTypeT(1);
}

template <class ValueTypeT>
void TransformationMatrix<ValueTypeT>::getTransform(VectorType3f &t, QuaternionType &r, VectorType3f &s,
                                                    QuaternionType &so) const
{
    ValueTypeT a[3][3], rm[3][3], sv[3], som[3][3];
    for(UInt32 col = 0; col < 3; ++col)
        for(UInt32 row = 0; row < 3; ++row)
            a[col][row] = _matrix[col][row];

    detail::decomposeAffine3(a, rm, sv, som);

    TransformationMatrix q;
    t.setValues(_matrix[3][0], _matrix[3][1], _matrix[3][2]);
    s.setValues(sv[0], sv[1], sv[2]);
    for(UInt32 col = 0; col < 3; ++col)
        for(UInt32 row = 0; row < 3; ++row)
            q[col][row] = rm[col][row];
    r.setValue(q);
    for(UInt32 col = 0; col < 3; ++col)
        for(UInt32 row = 0; row < 3; ++row)
            q[col][row] = som[col][row];
    so.setValue(q);
}

template <class ValueTypeT>
void TransformationMatrix<ValueTypeT>::getTransform(VectorType3f &t, QuaternionType &r, VectorType3f &s,
                                                    QuaternionType &so, const VectorType3f &c) const
{
    // Decompose T(-c) M T(c): same 3x3, translation A c + t - c.
    TransformationMatrix m(*this);
    for(UInt32 row = 0; row < 3; ++row)
    {
        Real64 ac = Real64(_matrix[0][row]) * c[0] + Real64(_matrix[1][row]) * c[1] +
                    Real64(_matrix[2][row]) * c[2];
        m._matrix[3][row] = ValueTypeT(ac + Real64(_matrix[3][row]) - Real64(c[row]));
    }
    m.getTransform(t, r, s, so);
}

template <class ValueTypeT>
void TransformationMatrix<ValueTypeT>::setValue(const Char8 *str, bool bTransposed)
{
    if(str == NULL || *str == '\0')
    {
        setIdentity();
        return;
    }
    ValueTypeT v[16] = {};
    UInt32     n = 0;
    for(const Char8 *p = str; *p != '\0' && n < 16;)
    {
        if(*p == ' ' || *p == '\t' || *p == '\n' || *p == ',')
        {
            ++p;
            continue;
        }
        const Char8 *end = p;
        while(*end != '\0' && *end != ' ' && *end != '\t' && *end != '\n' && *end != ',')
            ++end;
        v[n++] = ValueTypeT(std::strtod(std::string(p, end).c_str(), NULL));
        p = end;
    }
    if(bTransposed)
        setValueTransposed(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7],
                           v[8], v[9], v[10], v[11], v[12], v[13], v[14], v[15]);
    else
        setValue(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7],
                 v[8], v[9], v[10], v[11], v[12], v[13], v[14], v[15]);
}

namespace detail {

template <class T>
void decomposeAffine3(const T a[3][3], T rot[3][3], T scale[3], T scaleRot[3][3])
{
    // All matrices here [c][r].
    auto cofactors = [](const T m[3][3], T c[3][3]) {
        for(UInt32 i = 0; i < 3; ++i)
            for(UInt32 j = 0; j < 3; ++j)
            {
                const UInt32 i1 = (i + 1) % 3, i2 = (i + 2) % 3, j1 = (j + 1) % 3, j2 = (j + 2) % 3;
                c[i][j] = m[i1][j1] * m[i2][j2] - m[i1][j2] * m[i2][j1];
            }
    };
    auto colNorm = [](const T m[3][3]) {       // largest absolute column sum
        T n = 0;
        for(UInt32 c = 0; c < 3; ++c)
            n = osgMax(n, T(osgabs(m[c][0]) + osgabs(m[c][1]) + osgabs(m[c][2])));
        return n;
    };
    auto rowNorm = [](const T m[3][3]) {       // largest absolute row sum
        T n = 0;
        for(UInt32 r = 0; r < 3; ++r)
            n = osgMax(n, T(osgabs(m[0][r]) + osgabs(m[1][r]) + osgabs(m[2][r])));
        return n;
    };

    // Polar decomposition a = Q S: Newton's iteration X <- (g X + X^-T / g) / 2, scaled by g
    // so that it converges in a few steps; X^-T is the cofactor matrix over the determinant.
    T x[3][3], cof[3][3], sym[3][3];
    for(UInt32 c = 0; c < 3; ++c)
        for(UInt32 r = 0; r < 3; ++r)
            x[c][r] = a[c][r];
    T    det      = 0;
    bool singular = false;
    T    xOne = colNorm(x), xInf = rowNorm(x);
    for(UInt32 iter = 0; iter < 64; ++iter)
    {
        cofactors(x, cof);
        det = x[0][0] * cof[0][0] + x[0][1] * cof[0][1] + x[0][2] * cof[0][2];
        if(det == T(0))
        {
            singular = true;
            break;
        }
        const T gamma = T(std::sqrt(std::sqrt((colNorm(cof) * rowNorm(cof)) / (xOne * xInf)) /
                                    osgabs(det)));
        if(!std::isfinite(gamma) || gamma == T(0))
        {
            singular = true;
            break;
        }
        const T g1 = T(0.5) * gamma, g2 = T(0.5) / (gamma * det);
        T       diff[3][3];
        for(UInt32 c = 0; c < 3; ++c)
            for(UInt32 r = 0; r < 3; ++r)
            {
                const T next = g1 * x[c][r] + g2 * cof[c][r];
                diff[c][r]   = x[c][r] - next;
                x[c][r]      = next;
            }
        xOne = colNorm(x);
        xInf = rowNorm(x);
        if(!(colNorm(diff) > xOne * T(1e-6)))
            break;
    }

    T flip = 1;
    if(singular)
    {
        for(UInt32 c = 0; c < 3; ++c)
            for(UInt32 r = 0; r < 3; ++r)
            {
                rot[c][r] = T(c == r ? 1 : 0);
                sym[c][r] = T(0.5) * (a[c][r] + a[r][c]);
            }
    }
    else
    {
        // S = Q^T a, made exactly symmetric.
        T qa[3][3];
        for(UInt32 c = 0; c < 3; ++c)
            for(UInt32 r = 0; r < 3; ++r)
                qa[c][r] = x[r][0] * a[c][0] + x[r][1] * a[c][1] + x[r][2] * a[c][2];
        for(UInt32 c = 0; c < 3; ++c)
            for(UInt32 r = 0; r < 3; ++r)
                sym[c][r] = T(0.5) * (qa[c][r] + qa[r][c]);
        // A mirror: -Q is a rotation, and the scale takes the sign.
        if(det < T(0))
            flip = -1;
        for(UInt32 c = 0; c < 3; ++c)
            for(UInt32 r = 0; r < 3; ++r)
                rot[c][r] = flip * x[c][r];
    }

    // Spectral decomposition S = V diag V^T by Jacobi rotations in the planes (p, q) =
    // (0, 1), (2, 0), (1, 2); off[i] is the entry of the plane that leaves out axis i.
    static const UInt32 next[3] = { 1, 2, 0 };
    T d[3]   = { sym[0][0], sym[1][1], sym[2][2] };
    T off[3] = { sym[1][2], sym[2][0], sym[0][1] };
    for(UInt32 c = 0; c < 3; ++c)
        for(UInt32 r = 0; r < 3; ++r)
            scaleRot[c][r] = T(c == r ? 1 : 0);
    for(UInt32 sweep = 0; sweep < 20; ++sweep)
    {
        if(osgabs(off[0]) + osgabs(off[1]) + osgabs(off[2]) == T(0))
            break;
        for(Int32 i = 2; i >= 0; --i)
        {
            const UInt32 p = next[i], q = next[p];
            const T      absOff = osgabs(off[i]);
            if(!(absOff > T(0)))
                continue;
            // t = tan of the rotation angle, the smaller root; for a negligible off-diagonal
            // entry against the diagonal gap its first-order value.
            const T h = d[q] - d[p], absH = osgabs(h);
            T       t;
            if(absH + T(100) * absOff == absH)
                t = off[i] / h;
            else
            {
                const T theta = T(0.5) * h / off[i];
                t = T(1) / (osgabs(theta) + T(std::sqrt(theta * theta + T(1))));
                if(theta < T(0))
                    t = -t;
            }
            const T cs = T(1) / T(std::sqrt(t * t + T(1))), sn = t * cs, tau = sn / (cs + T(1));
            const T shift = t * off[i];
            off[i] = 0;
            d[p] -= shift;
            d[q] += shift;
            const T offQ = off[q];
            off[q] -= sn * (off[p] + tau * off[q]);
            off[p] += sn * (offQ - tau * off[p]);
            for(UInt32 r = 0; r < 3; ++r)
            {
                const T vp = scaleRot[p][r], vq = scaleRot[q][r];
                scaleRot[p][r] = vp - sn * (vq + tau * vp);
                scaleRot[q][r] = vq + sn * (vp - tau * vq);
            }
        }
    }
    for(UInt32 i = 0; i < 3; ++i)
        scale[i] = flip * d[i];
}

} // namespace detail

/*! Four rows. */
template <class ValueTypeT>
inline std::ostream &operator<<(std::ostream &os, const TransformationMatrix<ValueTypeT> &m)
{
    std::ios_base::fmtflags flags = os.flags();
    std::streamsize         prec  = os.precision();
    os << std::fixed << std::setprecision(4);
    for(UInt32 r = 0; r < 4; ++r)
    {
        for(UInt32 c = 0; c < 4; ++c)
            os << std::setw(10) << m[c][r] << (c < 3 ? " " : "");
        os << "\n";
    }
    os.flags(flags);
    os.precision(prec);
    return os;
}

/*---------------------------- quaternion members ---------------------------*/

template <class ValueTypeT>
void QuaternionBase<ValueTypeT>::setValue(const MatrixType &matrix)
{
    Real64 m[3][3], q[4], largest = 0;
    for(UInt32 c = 0; c < 3; ++c)
        for(UInt32 r = 0; r < 3; ++r)
        {
            m[c][r] = matrix[c][r];
            largest = std::fmax(largest, std::fabs(m[c][r]));
        }
    const Real64 det = m[0][0] * (m[1][1] * m[2][2] - m[2][1] * m[1][2]) -
                       m[1][0] * (m[0][1] * m[2][2] - m[2][1] * m[0][2]) +
                       m[2][0] * (m[0][1] * m[1][2] - m[1][1] * m[0][2]);
    if(!(std::fabs(det) > Eps * largest * largest * largest))
    {
        setIdentity();
        return;
    }
    detail::rotationToQuat(m, q);
    setValueAsQuat(ValueTypeT(q[0]), ValueTypeT(q[1]), ValueTypeT(q[2]), ValueTypeT(q[3]));
}

template <class ValueTypeT>
void QuaternionBase<ValueTypeT>::getValuesOnly(MatrixType &matrix) const
{
    const ValueTypeT x = _quat[0], y = _quat[1], z = _quat[2], w = _quat[3];
    matrix[0][0] = 1 - 2 * (y * y + z * z);
    matrix[0][1] =     2 * (x * y + z * w);
    matrix[0][2] =     2 * (z * x - y * w);
    matrix[1][0] =     2 * (x * y - z * w);
    matrix[1][1] = 1 - 2 * (z * z + x * x);
    matrix[1][2] =     2 * (y * z + x * w);
    matrix[2][0] =     2 * (z * x + y * w);
    matrix[2][1] =     2 * (y * z - x * w);
    matrix[2][2] = 1 - 2 * (x * x + y * y);
}

template <class ValueTypeT>
void QuaternionBase<ValueTypeT>::getValue(MatrixType &matrix) const
{
    matrix.setIdentity();
    getValuesOnly(matrix);
}

} // namespace osg

#endif
