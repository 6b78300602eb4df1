#ifndef _OSGMATRIXSTEREOCAMERADECORATOR_H_
#define _OSGMATRIXSTEREOCAMERADECORATOR_H_

#include <OpenSGExt/OSGMatrixStereoCameraDecoratorBase.h>

namespace osg {

/*! One eye given by fixed matrices: viewing = viewingMatrix * (decoratee's viewing),
    projection = projectionMatrix, projection translation the identity (the fixed matrices are
    complete). Without a decoratee: "MatrixStereoCameraDecorator::getViewing: no decoratee!"
    (or getProjection) and the identity. */
class MatrixStereoCameraDecorator : public MatrixStereoCameraDecoratorBase
{
  public:
    typedef MatrixStereoCameraDecoratorBase Inherited;

    void getViewing(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1) override;
    void getProjection(Matrix &result, UInt32 width, UInt32 height, Int32 eye = -1,
                       bool depthFlag = false) override;
    void getProjectionTranslation(Matrix &result, UInt32 width, UInt32 height,
                                  Int32 eye = -1) override;

  protected:
    friend class FieldContainer;
    friend class MatrixStereoCameraDecoratorBase;

    MatrixStereoCameraDecorator(void);
    MatrixStereoCameraDecorator(const MatrixStereoCameraDecorator &source);
    ~MatrixStereoCameraDecorator(void) override;
};

} // namespace osg

#endif
