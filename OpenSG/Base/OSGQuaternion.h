#ifndef _OSGQUATERNION_H_
#define _OSGQUATERNION_H_

#include <OpenSG/OSGVector.h>

#include <ostream>
#include <type_traits>

namespace osg {

template <class ValueTypeT> class TransformationMatrix;

/*! Rotation as a quaternion, stored x, y, z, w (w is the real part); default is the identity.
    mult(b) gives this (x) b, whose matrix is R(this) * R(b): b acts first on a point. mult and
    multLeft normalise the result. Angles are radians except in the ...Deg functions. */
template <class ValueTypeT>
class QuaternionBase
{
  public:
    typedef ValueTypeT                       ValueType;
    typedef Vector<ValueTypeT, 3>            VectorType;
    typedef TransformationMatrix<ValueTypeT> MatrixType;

    /*---------------------------- construction ---------------------------*/

    constexpr QuaternionBase(void) : _quat{ ValueTypeT(0), ValueTypeT(0), ValueTypeT(0), ValueTypeT(1) } {}

    explicit QuaternionBase(const MatrixType &matrix) : QuaternionBase() { setValue(matrix); }

    QuaternionBase(const VectorType &axis, const ValueTypeT angle) : QuaternionBase()
    {
        setValueAsAxisRad(axis, angle);
    }

    /*! The shortest rotation taking direction from to direction to. */
    QuaternionBase(const VectorType &from, const VectorType &to) : QuaternionBase()
    {
        setValue(from, to);
    }

    static const QuaternionBase &identity(void)
    {
        static const QuaternionBase id;
        return id;
    }

    /*---------------------------- set ------------------------------------*/

    void setIdentity(void) { setValueAsQuat(ValueTypeT(0), ValueTypeT(0), ValueTypeT(0), ValueTypeT(1)); }

    /*! Axis and angle; an axis shorter than Eps gives the identity. */
    void setValueAsAxisRad(const ValueTypeT x, const ValueTypeT y, const ValueTypeT z, const ValueTypeT w)
    {
        Real64 len = std::sqrt(Real64(x) * x + Real64(y) * y + Real64(z) * z);
        if(len < Eps)
        {
            setIdentity();
            return;
        }
        Real64 s = std::sin(Real64(w) * 0.5) / len;
        setValueAsQuat(ValueTypeT(x * s), ValueTypeT(y * s), ValueTypeT(z * s), ValueTypeT(std::cos(Real64(w) * 0.5)));
    }
    void setValueAsAxisRad(const VectorType &axis, const ValueTypeT angle)
    {
        setValueAsAxisRad(axis[0], axis[1], axis[2], angle);
    }
    void setValueAsAxisRad(const ValueTypeT *valsP)
    {
        if(valsP == NULL)
            nullArgument("QuaternionBase::setValueAsAxisRad");
        else
            setValueAsAxisRad(valsP[0], valsP[1], valsP[2], valsP[3]);
    }

    void setValueAsAxisDeg(const ValueTypeT x, const ValueTypeT y, const ValueTypeT z, const ValueTypeT w)
    {
        setValueAsAxisRad(x, y, z, ValueTypeT(osgdegree2rad(w)));
    }
    void setValueAsAxisDeg(const VectorType &axis, const ValueTypeT angle)
    {
        setValueAsAxisRad(axis[0], axis[1], axis[2], ValueTypeT(osgdegree2rad(angle)));
    }
    void setValueAsAxisDeg(const ValueTypeT *valsP)
    {
        if(valsP == NULL)
            nullArgument("QuaternionBase::setValueAsAxisDeg");
        else
            setValueAsAxisDeg(valsP[0], valsP[1], valsP[2], valsP[3]);
    }

    /*! The raw components, not normalised. */
    void setValueAsQuat(const ValueTypeT x, const ValueTypeT y, const ValueTypeT z, const ValueTypeT w)
    {
        _quat[0] = x;
        _quat[1] = y;
        _quat[2] = z;
        _quat[3] = w;
    }
    void setValueAsQuat(const ValueTypeT *valsP)
    {
        if(valsP == NULL)
            nullArgument("QuaternionBase::setValueAsQuat");
        else
            setValueAsQuat(valsP[0], valsP[1], valsP[2], valsP[3]);
    }

    /*! The rotation of the matrix' upper 3x3 (which should be orthonormal), normalised.
        Deliberately unlike OpenSG 1.x, a singular 3x3 (zero scale along some axis) gives the
        identity rather than a quaternion that is not of unit length. */
    void setValue(const MatrixType &matrix);

    /*! Euler angles in radians: rotation about X first, then Y, then Z (q = qz * qy * qx). */
    void setValue(const ValueTypeT alpha, const ValueTypeT beta, const ValueTypeT gamma)
    {
        Real64 cx = std::cos(Real64(alpha) * 0.5), sx = std::sin(Real64(alpha) * 0.5);
        Real64 cy = std::cos(Real64(beta)  * 0.5), sy = std::sin(Real64(beta)  * 0.5);
        Real64 cz = std::cos(Real64(gamma) * 0.5), sz = std::sin(Real64(gamma) * 0.5);
        setValueAsQuat(ValueTypeT(sx * cy * cz - cx * sy * sz),
                       ValueTypeT(cx * sy * cz + sx * cy * sz),
                       ValueTypeT(cx * cy * sz - sx * sy * cz),
                       ValueTypeT(cx * cy * cz + sx * sy * sz));
    }

    /*! The rotation taking direction from to direction to, as OpenSG 1.x computes it: the
        directions are normalised, a cosine above 0.99999 counts as parallel (identity) and one
        below -0.99999 as opposite, which gives a half turn about from x (1, 0, 0), or about
        from x (0, 1, 0) when that cross product is shorter than 1e-5. Otherwise the axis is
        from x to and the angle the one between them.
        Deliberately unlike OpenSG 1.x, a direction shorter than Eps gives the identity (there it
        gives a quaternion that is not of unit length). */
    void setValue(const VectorType &from, const VectorType &to)
    {
        VectorType f(from), t(to);
        if(f.length() < ValueTypeT(Eps) || t.length() < ValueTypeT(Eps))
        {
            setIdentity();
            return;
        }
        f.normalize();
        t.normalize();
        const ValueTypeT cosine = f.dot(t);
        if(cosine > ValueTypeT(0.99999))
        {
            setIdentity();
            return;
        }
        if(cosine < ValueTypeT(-0.99999))
        {
            VectorType axis = f.cross(VectorType(1, 0, 0));
            if(axis.length() < ValueTypeT(0.00001))
                axis = f.cross(VectorType(0, 1, 0));
            axis.normalize();
            setValueAsAxisRad(axis, ValueTypeT(Pi));
            return;
        }
        // Half-angle form: sin and cos of half the angle from its cosine.
        VectorType axis = from.cross(to);
        axis.normalize();
        axis *= ValueTypeT(std::sqrt(0.5 * (1.0 - Real64(cosine))));
        setValueAsQuat(axis[0], axis[1], axis[2], ValueTypeT(std::sqrt(0.5 * (1.0 + Real64(cosine)))));
    }

    /*---------------------------- get ------------------------------------*/

    const ValueTypeT *getValues(void) const { return _quat; }

    /*! Unit axis and angle 2 acos(w); (0, 0, 1) and 0 when the vector part is shorter than Eps. */
    void getValueAsAxisRad(ValueTypeT &x, ValueTypeT &y, ValueTypeT &z, ValueTypeT &w) const
    {
        Real64 len = std::sqrt(Real64(_quat[0]) * _quat[0] + Real64(_quat[1]) * _quat[1] +
                               Real64(_quat[2]) * _quat[2]);
        if(len <= Eps)
        {
            x = ValueTypeT(0);
            y = ValueTypeT(0);
            z = ValueTypeT(1);
            w = ValueTypeT(0);
            return;
        }
        x = ValueTypeT(_quat[0] / len);
        y = ValueTypeT(_quat[1] / len);
        z = ValueTypeT(_quat[2] / len);
        w = ValueTypeT(2.0 * osgacos(Real64(_quat[3])));
    }
    void getValueAsAxisRad(VectorType &axis, ValueTypeT &radians) const
    {
        getValueAsAxisRad(axis[0], axis[1], axis[2], radians);
    }
    void getValueAsAxisDeg(ValueTypeT &x, ValueTypeT &y, ValueTypeT &z, ValueTypeT &w) const
    {
        getValueAsAxisRad(x, y, z, w);
        w = ValueTypeT(osgrad2degree(w));
    }
    void getValueAsAxisDeg(VectorType &axis, ValueTypeT &degrees) const
    {
        getValueAsAxisDeg(axis[0], axis[1], axis[2], degrees);
    }

    void getValueAsQuat(ValueTypeT &x, ValueTypeT &y, ValueTypeT &z, ValueTypeT &w) const
    {
        x = _quat[0];
        y = _quat[1];
        z = _quat[2];
        w = _quat[3];
    }

    /*! The full 4x4 rotation matrix (no translation). */
    void getValue(MatrixType &matrix) const;

    /*! Only the upper 3x3 of the matrix. */
    void getValuesOnly(MatrixType &matrix) const;

    constexpr ValueTypeT x(void) const { return _quat[0]; }
    constexpr ValueTypeT y(void) const { return _quat[1]; }
    constexpr ValueTypeT z(void) const { return _quat[2]; }
    constexpr ValueTypeT w(void) const { return _quat[3]; }

          ValueTypeT &operator[](const UInt32 i)       { return _quat[i]; }
    const ValueTypeT &operator[](const UInt32 i) const { return _quat[i]; }

    /*---------------------------- math -----------------------------------*/

    ValueTypeT length(void) const
    {
        return ValueTypeT(std::sqrt(Real64(_quat[0]) * _quat[0] + Real64(_quat[1]) * _quat[1] +
                                    Real64(_quat[2]) * _quat[2] + Real64(_quat[3]) * _quat[3]));
    }

    /*! Scales to unit length; left as it is when shorter than Eps. */
    void normalize(void)
    {
        ValueTypeT len = length();
        if(len < ValueTypeT(Eps))
            return;
        for(UInt32 i = 0; i < 4; ++i)
            _quat[i] /= len;
    }

    /*! Negates the vector part: the inverse of a unit quaternion. */
    void invert(void)
    {
        _quat[0] = -_quat[0];
        _quat[1] = -_quat[1];
        _quat[2] = -_quat[2];
    }
    void conjugate(void) { invert(); }

    QuaternionBase inverse(void) const
    {
        QuaternionBase r(*this);
        r.invert();
        return r;
    }

    /*! this = this (x) other, normalised. */
    void mult(const QuaternionBase &other)
    {
        *this = hamilton(*this, other);
        normalize();
    }
    /*! this = other (x) this, normalised. */
    void multLeft(const QuaternionBase &other)
    {
        *this = hamilton(other, *this);
        normalize();
    }

    /*! dst = q src q* with q = this, not normalised first: a unit quaternion rotates src, a
        longer one also scales it by its square length, as in OpenSG 1.x. */
    void multVec(const VectorType &src, VectorType &dst) const
    {
        // q v q* = (w^2 - u.u) v + 2 (u.v) u + 2 w (u x v) for q = (u, w).
        const VectorType u(_quat[0], _quat[1], _quat[2]);
        const ValueTypeT w  = _quat[3];
        const ValueTypeT uv = u.dot(src);
        const VectorType c  = u.cross(src);
        const ValueTypeT k  = w * w - u.dot(u);
        VectorType       r;
        for(UInt32 i = 0; i < 3; ++i)
            r[i] = k * src[i] + 2 * uv * u[i] + 2 * w * c[i];
        dst = r;
    }

    /*! Multiplies the rotation angle by scaleFactor, keeping the axis. */
    void scaleAngle(const ValueTypeT scaleFactor)
    {
        VectorType axis;
        ValueTypeT angle;
        getValueAsAxisRad(axis, angle);
        setValueAsAxisRad(axis, angle * scaleFactor);
    }

    /*! Spherical interpolation from rot0 (t = 0) to rot1 (t = 1) along the shorter arc. */
    static QuaternionBase slerp(const QuaternionBase &rot0, const QuaternionBase &rot1, const ValueTypeT t)
    {
        Real64 cosom = 0;
        for(UInt32 i = 0; i < 4; ++i)
            cosom += Real64(rot0._quat[i]) * rot1._quat[i];
        Real64 sign = 1;
        if(cosom < 0)
        {
            cosom = -cosom;
            sign  = -1;
        }
        Real64 s0, s1;
        if(1.0 - cosom > 1e-6)
        {
            Real64 omega = std::acos(cosom > 1.0 ? 1.0 : cosom);
            Real64 sinom = std::sin(omega);
            s0 = std::sin((1.0 - t) * omega) / sinom;
            s1 = std::sin(t * omega) / sinom;
        }
        else
        {
            s0 = 1.0 - t;       // nearly parallel: linear is exact enough and stable
            s1 = t;
        }
        QuaternionBase r;
        for(UInt32 i = 0; i < 4; ++i)
            r._quat[i] = ValueTypeT(s0 * rot0._quat[i] + sign * s1 * rot1._quat[i]);
        r.normalize();
        return r;
    }
    void slerpThis(const QuaternionBase &rot0, const QuaternionBase &rot1, const ValueTypeT t)
    {
        *this = slerp(rot0, rot1, t);
    }

    QuaternionBase &operator*=(const QuaternionBase &other)
    {
        mult(other);
        return *this;
    }
    QuaternionBase operator*(const QuaternionBase &other) const
    {
        QuaternionBase r(*this);
        r.mult(other);
        return r;
    }

    /*---------------------------- comparison -----------------------------*/

    bool equals(const QuaternionBase &other, const ValueTypeT tolerance) const
    {
        for(UInt32 i = 0; i < 4; ++i)
        {
            if(osgabs(_quat[i] - other._quat[i]) > tolerance)
                return false;
        }
        return true;
    }

    /*! Componentwise within Eps (q and -q, the same rotation, compare unequal). */
    bool operator==(const QuaternionBase &other) const { return equals(other, ValueTypeT(Eps)); }
    bool operator!=(const QuaternionBase &other) const { return !(*this == other); }

  private:
    void nullArgument(const Char8 *function)
    {
        detail::warnNullPointer(function);
        setIdentity();
    }

    static QuaternionBase hamilton(const QuaternionBase &a, const QuaternionBase &b)
    {
        const ValueTypeT *p = a._quat, *q = b._quat;
        QuaternionBase r;
        r._quat[0] = p[3] * q[0] + p[0] * q[3] + p[1] * q[2] - p[2] * q[1];
        r._quat[1] = p[3] * q[1] - p[0] * q[2] + p[1] * q[3] + p[2] * q[0];
        r._quat[2] = p[3] * q[2] + p[0] * q[1] - p[1] * q[0] + p[2] * q[3];
        r._quat[3] = p[3] * q[3] - p[0] * q[0] - p[1] * q[1] - p[2] * q[2];
        return r;
    }

    ValueTypeT _quat[4];
};

/*! "x, y, z, w" */
template <class ValueTypeT>
inline std::ostream &operator<<(std::ostream &os, const QuaternionBase<ValueTypeT> &q)
{
    return os << q[0] << ", " << q[1] << ", " << q[2] << ", " << q[3];
}

typedef QuaternionBase<Real32> Quaternion;
typedef QuaternionBase<Real64> Quaterniond;

static_assert(sizeof(Quaternion) == 16 && std::is_trivially_copyable<Quaternion>::value,
              "quaternions must stay four plain components");

} // namespace osg

// The matrix-dependent members are defined there; both headers are always usable alone.
#include <OpenSG/OSGMatrix.h>

#endif
