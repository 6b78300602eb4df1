#ifndef _OSGSFBASETYPES_H_
#define _OSGSFBASETYPES_H_

#include <OpenSG/OSGSField.h>

namespace osg {

typedef SField<bool>        SFBool;
typedef SField<Int8>        SFInt8;
typedef SField<UInt8>       SFUInt8;
typedef SField<Int16>       SFInt16;
typedef SField<UInt16>      SFUInt16;
typedef SField<Int32>       SFInt32;
typedef SField<UInt32>      SFUInt32;
typedef SField<Int64>       SFInt64;
typedef SField<UInt64>      SFUInt64;
typedef SField<Real16>      SFReal16;
typedef SField<Real32>      SFReal32;
typedef SField<Real64>      SFReal64;
typedef SField<Real64>      SFTime;
typedef SField<std::string> SFString;
typedef SField<BitVector>   SFBitVector;

typedef SField<Vec2f>       SFVec2f;
typedef SField<Vec3f>       SFVec3f;
typedef SField<Vec4f>       SFVec4f;
typedef SField<Pnt2f>       SFPnt2f;
typedef SField<Pnt3f>       SFPnt3f;
typedef SField<Pnt4f>       SFPnt4f;
typedef SField<Vec2d>       SFVec2d;
typedef SField<Vec3d>       SFVec3d;
typedef SField<Vec4d>       SFVec4d;
typedef SField<Pnt2d>       SFPnt2d;
typedef SField<Pnt3d>       SFPnt3d;
typedef SField<Pnt4d>       SFPnt4d;
typedef SField<Vec2s>       SFVec2s;
typedef SField<Vec3s>       SFVec3s;
typedef SField<Vec4s>       SFVec4s;
typedef SField<Vec3b>       SFVec3b;
typedef SField<Vec4ub>      SFVec4ub;
typedef SField<Vec2i>       SFVec2i;
typedef SField<Vec3i>       SFVec3i;
typedef SField<Vec4i>       SFVec4i;
typedef SField<Color3f>     SFColor3f;
typedef SField<Color4f>     SFColor4f;
typedef SField<Color3ub>    SFColor3ub;
typedef SField<Color4ub>    SFColor4ub;
typedef SField<Quaternion>  SFQuaternion;
typedef SField<Matrix>      SFMatrix;
typedef SField<Matrix4d>    SFMatrix4d;

} // namespace osg

#endif
