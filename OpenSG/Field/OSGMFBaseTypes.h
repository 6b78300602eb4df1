#ifndef _OSGMFBASETYPES_H_
#define _OSGMFBASETYPES_H_

#include <OpenSG/OSGMField.h>

namespace osg {

typedef MField<Int8>        MFInt8;
typedef MField<UInt8>       MFUInt8;
typedef MField<Int16>       MFInt16;
typedef MField<UInt16>      MFUInt16;
typedef MField<Int32>       MFInt32;
typedef MField<UInt32>      MFUInt32;
typedef MField<Int64>       MFInt64;
typedef MField<UInt64>      MFUInt64;
typedef MField<Real16>      MFReal16;
typedef MField<Real32>      MFReal32;
typedef MField<Real64>      MFReal64;
typedef MField<Real64>      MFTime;
typedef MField<std::string> MFString;
typedef MField<BitVector>   MFBitVector;

typedef MField<Vec2f>       MFVec2f;
typedef MField<Vec3f>       MFVec3f;
typedef MField<Vec4f>       MFVec4f;
typedef MField<Pnt2f>       MFPnt2f;
typedef MField<Pnt3f>       MFPnt3f;
typedef MField<Pnt4f>       MFPnt4f;
typedef MField<Vec2d>       MFVec2d;
typedef MField<Vec3d>       MFVec3d;
typedef MField<Vec4d>       MFVec4d;
typedef MField<Pnt2d>       MFPnt2d;
typedef MField<Pnt3d>       MFPnt3d;
typedef MField<Pnt4d>       MFPnt4d;
typedef MField<Vec2s>       MFVec2s;
typedef MField<Vec3s>       MFVec3s;
typedef MField<Vec4s>       MFVec4s;
typedef MField<Vec3b>       MFVec3b;
typedef MField<Vec4ub>      MFVec4ub;
typedef MField<Vec2i>       MFVec2i;
typedef MField<Vec3i>       MFVec3i;
typedef MField<Vec4i>       MFVec4i;
typedef MField<Color3f>     MFColor3f;
typedef MField<Color4f>     MFColor4f;
typedef MField<Color3ub>    MFColor3ub;
typedef MField<Color4ub>    MFColor4ub;
typedef MField<Quaternion>  MFQuaternion;
typedef MField<Matrix>      MFMatrix;
typedef MField<Matrix4d>    MFMatrix4d;

} // namespace osg

#endif
