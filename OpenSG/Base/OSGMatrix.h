#ifndef _OSGMATRIX_H_
#define _OSGMATRIX_H_

#include <OpenSG/OSGVector.h>
#include <OpenSG/OSGQuaternion.h>

#include <iomanip>
#include <ostream>
#include <type_traits>

namespace osg {

namespace detail {

/*! Splits the 3x3 a (a[c][r], column c, row r) into a = rot * scaleRot * diag(scale) *
    scaleRot^T with rot and scaleRot proper rotations. A negative determinant is carried by the
    scale (all three negated). Computed as a singular value decomposition, without reordering or
    canonicalising the factors. */
void decomposeAffine3(const Real64 a[3][3], Real64 rot[3][3], Real64 scale[3], Real64 scaleRot[3][3]);

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

    /*! Three columns (their w 0), fourth column (0, 0, 0, 1). */
    TransformationMatrix(const VectorType3f &c0, const VectorType3f &c1, const VectorType3f &c2)
    {
        setIdentity();
        setValue(c0, c1, c2);
    }
    /*! Four columns (w 0, 0, 0, 1). */
    TransformationMatrix(const VectorType3f &c0, const VectorType3f &c1, const VectorType3f &c2,
                         const VectorType3f &c3)
    {
        setIdentity();
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

    /*! Inverse of the four-argument setTransform for an affine matrix. so and s come back in the
        decomposition's own order, so they may be permuted or sign-flipped relative to what was
        set, but setTransform(t, r, s, so) rebuilds the matrix. */
    void getTransform(VectorType3f &t, QuaternionType &r, VectorType3f &s, QuaternionType &so) const;

    /*! Inverse of the five-argument setTransform for the given centre. */
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
    void mult    (const PointType    &in, PointType    &out) const { multMatrixPnt(in, out);     }
    void mult    (const VectorType   &in, VectorType   &out) const { multMatrixVec(in, out);     }
    void multFull(const PointType3f  &in, PointType3f  &out) const { multFullMatrixPnt(in, out); }

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

    /*! Inverts the upper 3x3 into result, whose other entries become those of the identity. A
        3x3 with |det| < 1E-30 makes result the identity and returns false. */
    bool inverse3(TransformationMatrix &result) const
    {
        const TransformationMatrix &m = *this;
        Real64 a[3][3];
        for(UInt32 c = 0; c < 3; ++c)
            for(UInt32 r = 0; r < 3; ++r)
                a[c][r] = m[c][r];
        Real64 d = a[0][0] * (a[1][1] * a[2][2] - a[2][1] * a[1][2]) -
                   a[1][0] * (a[0][1] * a[2][2] - a[2][1] * a[0][2]) +
                   a[2][0] * (a[0][1] * a[1][2] - a[1][1] * a[0][2]);
        if(std::fabs(d) < 1E-30)
        {
            result.setIdentity();
            return false;
        }
        Real64 i[3][3];
        i[0][0] =  (a[1][1] * a[2][2] - a[2][1] * a[1][2]) / d;
        i[0][1] = -(a[0][1] * a[2][2] - a[2][1] * a[0][2]) / d;
        i[0][2] =  (a[0][1] * a[1][2] - a[1][1] * a[0][2]) / d;
        i[1][0] = -(a[1][0] * a[2][2] - a[2][0] * a[1][2]) / d;
        i[1][1] =  (a[0][0] * a[2][2] - a[2][0] * a[0][2]) / d;
        i[1][2] = -(a[0][0] * a[1][2] - a[1][0] * a[0][2]) / d;
        i[2][0] =  (a[1][0] * a[2][1] - a[2][0] * a[1][1]) / d;
        i[2][1] = -(a[0][0] * a[2][1] - a[2][0] * a[0][1]) / d;
        i[2][2] =  (a[0][0] * a[1][1] - a[1][0] * a[0][1]) / d;
        result.setIdentity();
        for(UInt32 c = 0; c < 3; ++c)
            for(UInt32 r = 0; r < 3; ++r)
                result._matrix[c][r] = ValueTypeT(i[c][r]);
        return true;
    }
    bool invert3(void) { return inverse3(*this); }
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

    /*! Largest absolute column sum. */
    ValueTypeT norm1(void) const
    {
        ValueTypeT n = 0;
        for(UInt32 c = 0; c < 4; ++c)
        {
            ValueTypeT s = 0;
            for(UInt32 r = 0; r < 4; ++r)
                s += osgabs(_matrix[c][r]);
            n = osgMax(n, s);
        }
        return n;
    }
    /*! Largest absolute row sum. */
    ValueTypeT normInfinity(void) const
    {
        ValueTypeT n = 0;
        for(UInt32 r = 0; r < 4; ++r)
        {
            ValueTypeT s = 0;
            for(UInt32 c = 0; c < 4; ++c)
                s += osgabs(_matrix[c][r]);
            n = osgMax(n, s);
        }
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
    Real64 a[3][3], rm[3][3], sv[3], som[3][3], q[4];
    for(UInt32 col = 0; col < 3; ++col)
        for(UInt32 row = 0; row < 3; ++row)
            a[col][row] = _matrix[col][row];

    detail::decomposeAffine3(a, rm, sv, som);

    t.setValues(_matrix[3][0], _matrix[3][1], _matrix[3][2]);
    s.setValues(ValueTypeT(sv[0]), ValueTypeT(sv[1]), ValueTypeT(sv[2]));
    detail::rotationToQuat(rm, q);
    r.setValueAsQuat(ValueTypeT(q[0]), ValueTypeT(q[1]), ValueTypeT(q[2]), ValueTypeT(q[3]));
    detail::rotationToQuat(som, q);
    so.setValueAsQuat(ValueTypeT(q[0]), ValueTypeT(q[1]), ValueTypeT(q[2]), ValueTypeT(q[3]));
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
    Real64 m[3][3], q[4];
    for(UInt32 c = 0; c < 3; ++c)
        for(UInt32 r = 0; r < 3; ++r)
            m[c][r] = matrix[c][r];
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
