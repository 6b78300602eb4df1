#ifndef _OSGSWITCHCOMPONENTTRANSFORM_H_
#define _OSGSWITCHCOMPONENTTRANSFORM_H_

#include <OpenSGExt/OSGSwitchComponentTransformBase.h>

#include <iosfwd>

namespace osg {

/*! A component transform that stores several complete sets of components (entries) and shows
    the chosen one in its live components (centre, rotation, scale, scale orientation,
    translation). Entry i is (centers[i], rotations[i], scales[i], scaleOrientations[i],
    translations[i]); getCount() is the length of translations.

    changed() keeps the choice and the live components in step:
    - a live component edited while choice < getCount() is copied into entry `choice`, and the
      change of that list is reported; with the choice beyond the end nothing is stored;
    - a change of `choice` to an index below getCount() loads that entry into the live
      components (recorded as a change of the components, without a changed() call of its
      own); beyond the end nothing is loaded;
    - when either happened, the matrix is rebuilt once, in one recorded edit of
      MatrixFieldMask, and ComponentTransform does not rebuild it again. Otherwise a live edit
      rebuilds it through ComponentTransform, also once.
    Edits made by changed() itself are not fed back into it (re-entrancy flag).
    An edit of the matrix alone keeps the matrix as set and touches neither the live components
    nor the entries (as in ComponentTransform).

    Lists of unequal length (from a stream or the generated accessors) are warned about, and no
    entry is stored or loaded while an entry would be missing from a list.

    A new, empty core (not a copy) starts with one entry holding its live components, so that
    entry 0 is shown from the start. */
class SwitchComponentTransform : public SwitchComponentTransformBase
{
  public:
    typedef SwitchComponentTransformBase Inherited;

    static constexpr BitVector EntriesFieldMask =
        CentersFieldMask | RotationsFieldMask | ScalesFieldMask | ScaleOrientationsFieldMask |
        TranslationsFieldMask;

    /*! The number of entries: the length of translations. */
    UInt32 getCount(void) const;

    /*! Appends the live components as a new entry, as one edit of the lists; the choice is not
        changed. */
    void addComponent(void);

    /*! Removes entry `choice` when there are at least two entries and the choice is in range
        (the last entry is never removed). The choice keeps its index, moved to the new last
        entry when it was the last, and the entry it now names is loaded into the live
        components: one edit of the lists and the choice. False when nothing was removed. */
    bool removeCurrentComponent(void);

    void changed(BitVector whichField, UInt32 origin) override;

    /*! The choice, the count and every entry, the chosen one marked with '*', on stdout. */
    void dump(UInt32 uiIndent = 0, const BitVector bvFlags = BitVector(0)) const override;
    void dump(std::ostream &os, UInt32 uiIndent = 0) const;

  protected:
    friend class FieldContainer;
    friend class SwitchComponentTransformBase;

    SwitchComponentTransform(void);
    SwitchComponentTransform(const SwitchComponentTransform &source);
    ~SwitchComponentTransform(void) override;

    void onCreate(const SwitchComponentTransform *source = NULL);

    /*! Registers the core's traversal functions: functors are found by exact type, so the
        transform's intersect functors are registered for this type too, and an IntersectAction
        maps its line through the matrix of the chosen entry. */
    static void initMethod(void);

  private:
    /*! True when entry index exists in every list; warns once per call about unequal lists. */
    bool entryExists(UInt32 index) const;

    bool _inChanged;
};

} // namespace osg

#endif
