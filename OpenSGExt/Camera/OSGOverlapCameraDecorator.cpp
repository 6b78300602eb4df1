#include <OpenSGExt/OSGOverlapCameraDecorator.h>

#include <OpenSG/OSGLog.h>

namespace osg {

OverlapCameraDecorator::OverlapCameraDecorator(void) : Inherited()
{
}

OverlapCameraDecorator::OverlapCameraDecorator(const OverlapCameraDecorator &source) :
    Inherited(source)
{
}

OverlapCameraDecorator::~OverlapCameraDecorator(void) = default;

void OverlapCameraDecorator::setFullSize(UInt32 width, UInt32 height)
{
    FieldContainerPtr self(this);
    const BitVector mask = FullWidthFieldMask | FullHeightFieldMask;
    beginEditCP(self, mask);
    setFullWidth(width);
    setFullHeight(height);
    endEditCP(self, mask);
}

Matrix OverlapCameraDecorator::widening(UInt32 width, UInt32 height) const
{
    const Real32 w = Real32(getFullWidth()  != 0 ? getFullWidth()  : width);
    const Real32 h = Real32(getFullHeight() != 0 ? getFullHeight() : height);
    const Real32 o = Real32(getOverlap());
    Matrix s;
    if(w > 0.f)
        s[0][0] = w / (w + 2.f * o);
    if(h > 0.f)
        s[1][1] = h / (h + 2.f * o);
    return s;
}

void OverlapCameraDecorator::getProjection(Matrix &result, UInt32 width, UInt32 height,
                                           Int32 eye, bool depthFlag)
{
    if(getDecoratee() == NullFC)
    {
        SWARNING << "OverlapCameraDecorator::getProjection: no decoratee!" << std::endl;
        result.setIdentity();
        return;
    }
    getDecoratee()->getProjection(result, width, height, eye, depthFlag);
    result.multLeft(widening(width, height));
}

void OverlapCameraDecorator::getDecoration(Matrix &result, UInt32 width, UInt32 height)
{
    if(getDecoratee() == NullFC)
    {
        SWARNING << "OverlapCameraDecorator::getDecoration: no decoratee!" << std::endl;
        result.setIdentity();
        return;
    }
    getDecoratee()->getDecoration(result, width, height);
    result.multLeft(widening(width, height));
}

} // namespace osg
