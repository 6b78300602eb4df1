#ifndef _OSGMATERIAL_H_
#define _OSGMATERIAL_H_

#include <OpenSG/OSGMaterialBase.h>

namespace osg {

/*! The appearance of drawables. Renderers sort by sortKey and ask isTransparent() to decide
    whether a drawable needs the blended pass; transparencyMode can force either answer. */
class Material : public MaterialBase
{
  public:
    typedef MaterialBase Inherited;

    /*! Values of transparencyMode. */
    enum
    {
        TransparencyAutoDetection    = 0,
        TransparencyForceTransparent = 1,
        TransparencyForceOpaque      = 2
    };

    /*! A sort key that asks the renderer to leave this material unsorted. */
    static constexpr Int32 NoStateSorting = 0x7fffffff;

    /*! Whether drawables using this material need the blended pass; implementations honour
        transparencyMode's forced answers first (see transparencyForced). */
    virtual bool isTransparent(void) const = 0;

  protected:
    friend class FieldContainer;
    friend class MaterialBase;

    Material(void);
    Material(const Material &source);
    ~Material(void) override;

    /*! 1 or 0 when transparencyMode forces the answer, -1 under auto detection. */
    Int32 transparencyForced(void) const;
};

} // namespace osg

#endif
