#ifndef _OSGFIELDCONTAINERPTR_H_
#define _OSGFIELDCONTAINERPTR_H_

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGBitVector.h>
#include <OpenSG/OSGFieldContainerBase.h>

#include <cstddef>
#include <functional>
#include <iosfwd>

namespace osg {

class FieldContainer;

/*! The type of NullFC, convertible to every container pointer. */
class NullFieldContainerPtr
{
  public:
    constexpr NullFieldContainerPtr() = default;
};

extern const NullFieldContainerPtr NullFC;

/*! Untyped pointer to a field container. Copying it never changes reference counts; ownership is
    taken with addRefCP/subRefCP (or setRefdCP), as in OpenSG. */
class FieldContainerPtr
{
  public:
    typedef FieldContainer StoredObjectType;

    FieldContainerPtr() : _storeP(NULL) {}
    FieldContainerPtr(const NullFieldContainerPtr &) : _storeP(NULL) {}
    explicit FieldContainerPtr(const FieldContainer *source)
        : _storeP(const_cast<FieldContainer *>(source)) {}
    explicit FieldContainerPtr(const FieldContainer &source)
        : _storeP(const_cast<FieldContainer *>(&source)) {}

    FieldContainer *operator->(void) const { return _storeP;  }
    FieldContainer &operator* (void) const { return *_storeP; }
    FieldContainer *getCPtr   (void) const { return _storeP;  }

    UInt32 getFieldContainerId(void) const;
    Int32  getRefCount        (void) const;

    bool operator==(const FieldContainerPtr &other) const { return _storeP == other._storeP; }
    bool operator!=(const FieldContainerPtr &other) const { return _storeP != other._storeP; }
    bool operator< (const FieldContainerPtr &other) const { return _storeP <  other._storeP; }
    bool operator==(const NullFieldContainerPtr &) const { return _storeP == NULL; }
    bool operator!=(const NullFieldContainerPtr &) const { return _storeP != NULL; }
    bool operator! (void) const { return _storeP == NULL; }
    explicit operator bool(void) const { return _storeP != NULL; }

    template <class InTypeT>
    static FieldContainerPtr dcast(const InTypeT &in) { return FieldContainerPtr(in.getCPtr()); }

  protected:
    FieldContainer *_storeP;
};

/*! Typed container pointer: FCPtr<ParentPtr, Type>. Upcasts are implicit, downcasts use dcast. */
template <class BasePtrTypeT, class FieldContainerTypeT>
class FCPtr : public BasePtrTypeT
{
  public:
    typedef FieldContainerTypeT StoredObjectType;
    typedef BasePtrTypeT        Inherited;
    typedef FCPtr               Self;

    FCPtr() : Inherited() {}
    FCPtr(const NullFieldContainerPtr &) : Inherited() {}
    explicit FCPtr(const FieldContainerTypeT *source) : Inherited(source) {}
    explicit FCPtr(const FieldContainerTypeT &source) : Inherited(&source) {}

    FieldContainerTypeT *operator->(void) const { return getCPtr();  }
    FieldContainerTypeT &operator* (void) const { return *getCPtr(); }
    FieldContainerTypeT *getCPtr   (void) const
    {
        return static_cast<FieldContainerTypeT *>(this->_storeP);
    }

    /*! NullFC when the object is not of this type. */
    template <class InTypeT>
    static FCPtr dcast(const InTypeT &in)
    {
        return FCPtr(dynamic_cast<FieldContainerTypeT *>(in.getCPtr()));
    }
};

std::ostream &operator<<(std::ostream &os, const FieldContainerPtr &fc);

/*----------------------------- reference counts ---------------------------*/

void addRefCP(const FieldContainerPtr &objectP);
/*! Destroys the container when its count drops to zero. */
void subRefCP(const FieldContainerPtr &objectP);

template <class PtrT>
inline void setRefdCP(PtrT &target, const PtrT &source)
{
    if(target != source)
    {
        addRefCP(source);
        PtrT old = target;
        target = source;
        subRefCP(old);
    }
}

template <class PtrT>
inline void clearRefCP(PtrT &target)
{
    PtrT old = target;
    target = NullFC;
    subRefCP(old);
}

inline UInt32 getContainerId(const FieldContainerPtr &objectP)
{
    return objectP.getFieldContainerId();
}

inline Int32 getRefCount(const FieldContainerPtr &objectP)
{
    return objectP.getRefCount();
}

template <class PtrT>
inline typename PtrT::StoredObjectType *getCPtr(const PtrT &objectP)
{
    return objectP.getCPtr();
}

template <class OutPtrT, class InPtrT>
inline OutPtrT dynamic_pointer_cast(const InPtrT &in)
{
    return OutPtrT::dcast(in);
}

/*----------------------------- edit protocol ------------------------------*/

void beginEditCP(const FieldContainerPtr &objectP,
                 const BitVector         &whichField = FieldBits::AllFields,
                 UInt32                   origin     = ChangedOrigin::External);

/*! Records the change in the current thread's change list, then calls changed() and the
    container's changed callbacks (unless changes are being ignored). */
void endEditCP(const FieldContainerPtr &objectP,
               const BitVector         &whichField = FieldBits::AllFields,
               UInt32                   origin     = ChangedOrigin::External);

/*! Records the change only. */
void endEditNotChangedCP(const FieldContainerPtr &objectP,
                         const BitVector         &whichField = FieldBits::AllFields,
                         UInt32                   origin     = ChangedOrigin::External);

/*! Calls changed() only. */
void changedCP(const FieldContainerPtr &objectP,
               const BitVector         &whichField = FieldBits::AllFields,
               UInt32                   origin     = ChangedOrigin::External);

/*! Begins an edit in its constructor and ends it in its destructor. */
class CPEditor
{
  public:
    explicit CPEditor(const FieldContainerPtr &objectP,
                      const BitVector &whichField = FieldBits::AllFields)
        : _objectP(objectP), _whichField(whichField)
    {
        beginEditCP(_objectP, _whichField);
    }
    ~CPEditor() { endEditCP(_objectP, _whichField); }
    CPEditor(const CPEditor &) = delete;
    CPEditor &operator=(const CPEditor &) = delete;
  private:
    FieldContainerPtr _objectP;
    BitVector         _whichField;
};

} // namespace osg

namespace std {
template <>
struct hash<osg::FieldContainerPtr>
{
    size_t operator()(const osg::FieldContainerPtr &p) const noexcept
    {
        return std::hash<const void *>()(p.getCPtr());
    }
};
} // namespace std

#endif
