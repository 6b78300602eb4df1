#include <OpenSGExt/OSGMatrixStereoCameraDecorator.h>

#include <OpenSG/OSGLog.h>

namespace osg {

MatrixStereoCameraDecorator::MatrixStereoCameraDecorator(void) : Inherited()
{
}

MatrixStereoCameraDecorator::MatrixStereoCameraDecorator(
    const MatrixStereoCameraDecorator &source) :
    Inherited(source)
{
}

MatrixStereoCameraDecorator::~MatrixStereoCameraDecorator(void) = default;

void MatrixStereoCameraDecorator::getViewing(Matrix &result, UInt32 width, UInt32 height,
                                             Int32 eye)
{
    if(getDecoratee() == NullFC)
    {
        SWARNING << "MatrixStereoCameraDecorator::getViewing: no decoratee!" << std::endl;
        result.setIdentity();
        return;
    }
    getDecoratee()->getViewing(result, width, height, eye);
    result.multLeft(getViewingMatrix());
}

void MatrixStereoCameraDecorator::getProjection(Matrix &result, UInt32, UInt32, Int32, bool)
{
    if(getDecoratee() == NullFC)
    {
        SWARNING << "MatrixStereoCameraDecorator::getProjection: no decoratee!" << std::endl;
        result.setIdentity();
        return;
    }
    result = getProjectionMatrix();
}

void MatrixStereoCameraDecorator::getProjectionTranslation(Matrix &result, UInt32, UInt32, Int32)
{
    result.setIdentity();
}

} // namespace osg
