#ifndef _OSGDRAWABLE_H_
#define _OSGDRAWABLE_H_

#include <OpenSG/OSGDrawableBase.h>

namespace osg {

/*! A core that renderers draw. */
class Drawable : public DrawableBase
{
  public:
    typedef DrawableBase Inherited;

  protected:
    friend class FieldContainer;
    friend class DrawableBase;

    Drawable(void);
    Drawable(const Drawable &source);
    ~Drawable(void) override;
};

} // namespace osg

#endif
