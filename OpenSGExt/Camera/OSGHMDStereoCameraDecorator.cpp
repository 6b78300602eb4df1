#include <OpenSGExt/OSGHMDStereoCameraDecorator.h>

#include <OpenSG/OSGLog.h>

namespace osg {

HMDStereoCameraDecorator::HMDStereoCameraDecorator(void) : Inherited()
{
}

HMDStereoCameraDecorator::HMDStereoCameraDecorator(const HMDStereoCameraDecorator &source) :
    Inherited(source)
{
}

HMDStereoCameraDecorator::~HMDStereoCameraDecorator(void) = default;

void HMDStereoCameraDecorator::eyeViewing(Matrix &result, UInt32 width, UInt32 height,
                                          Int32 decorateeEye, bool left, const Char8 *who)
{
    if(getDecoratee() == NullFC)
    {
        SWARNING << "HMDStereoCameraDecorator::" << who << ": no camera!" << std::endl;
        result.setIdentity();
        return;
    }
    getDecoratee()->getViewing(result, width, height, decorateeEye);
    result.multLeft(left ? getLeftEyeViewingMatrix() : getRightEyeViewingMatrix());
    const Vec3f &adjust = left ? getLeftEyeAdjust() : getRightEyeAdjust();
    if(adjust != Vec3f(0.f, 0.f, 0.f))
    {
        Matrix t;
        t.setTranslate(adjust);
        result.multLeft(t);
    }
}

void HMDStereoCameraDecorator::getViewing(Matrix &result, UInt32 width, UInt32 height, Int32 eye)
{
    eyeViewing(result, width, height, eye, isLeftEye(eye), "getViewing");
}

void HMDStereoCameraDecorator::getLeftEyeViewing(Matrix &result, UInt32 width, UInt32 height)
{
    eyeViewing(result, width, height, -1, true, "getLeftEyeViewing");
}

void HMDStereoCameraDecorator::getRightEyeViewing(Matrix &result, UInt32 width, UInt32 height)
{
    eyeViewing(result, width, height, -1, false, "getRightEyeViewing");
}

void HMDStereoCameraDecorator::getProjection(Matrix &result, UInt32, UInt32, Int32 eye,
                                             bool depthFlag)
{
    result = isLeftEye(eye) ? getLeftEyeProjectionMatrix() : getRightEyeProjectionMatrix();
    if(!depthFlag)
        return;
    if(getDecoratee() == NullFC)
    {
        SWARNING << "HMDStereoCameraDecorator::getProjection: no camera!" << std::endl;
        result.setIdentity();
        return;
    }
    const Real32 n = getDecoratee()->getNear(), f = getDecoratee()->getFar();
    result[2][2] = n / (f - n);
    result[3][2] = n * f / (f - n);
}

void HMDStereoCameraDecorator::getProjectionTranslation(Matrix &result, UInt32, UInt32, Int32)
{
    result.setIdentity();
}

void HMDStereoCameraDecorator::getLeftEyeProjection(Matrix &result, UInt32, UInt32, bool)
{
    result = getLeftEyeProjectionMatrix();
}

void HMDStereoCameraDecorator::getRightEyeProjection(Matrix &result, UInt32, UInt32, bool)
{
    result = getRightEyeProjectionMatrix();
}

void HMDStereoCameraDecorator::setEyeSeparation(const Real32 &)
{
    _cacheValid = false;
}

Real32 HMDStereoCameraDecorator::getEyeDistance(void)
{
    if(!_cacheValid)
    {
        // An eye matrix maps head to eye space; the eye sits where its inverse puts the origin.
        Matrix l = getLeftEyeViewingMatrix(), r = getRightEyeViewingMatrix();
        l.invert();
        r.invert();
        const Vec3f d(l[3][0] - r[3][0], l[3][1] - r[3][1], l[3][2] - r[3][2]);
        _eyeDistance = d.length();
        _cacheValid  = true;
    }
    return _eyeDistance;
}

void HMDStereoCameraDecorator::changed(BitVector whichField, UInt32 origin)
{
    if(whichField & (EyeSeparationFieldMask | LeftEyeViewingMatrixFieldMask |
                     RightEyeViewingMatrixFieldMask))
        _cacheValid = false;
    Inherited::changed(whichField, origin);
}

} // namespace osg
