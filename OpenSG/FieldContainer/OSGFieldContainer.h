#ifndef _OSGFIELDCONTAINER_H_
#define _OSGFIELDCONTAINER_H_

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGBitVector.h>
#include <OpenSG/OSGFieldContainerBase.h>
#include <OpenSG/OSGFieldContainerPtr.h>
#include <OpenSG/OSGFieldContainerType.h>
#include <OpenSG/OSGBinaryDataHandler.h>

#include <atomic>
#include <functional>
#include <iosfwd>
#include <memory>
#include <vector>

namespace osg {

class Field;

/*! Root of all field containers: identity (container id), reference count, type access, the
    generic field interface and the hooks that generated and hand-written classes override. */
class FieldContainer
{
  public:
    enum { NextFieldId = 1 };
    static constexpr BitVector MTInfluenceMask = BitVector(0);

    /*! Called after changed() with the container, the changed fields and the origin. Containers
        hold these weakly: the registrant owns the function object, and dropping it unregisters. */
    typedef std::function<void(const FieldContainerPtr &, const BitVector &, UInt32)>
        ChangedFunction;
    typedef std::shared_ptr<ChangedFunction> ChangedFunctionPtr;

    /*--------------------------- type -----------------------------------*/
    static FieldContainerType &getClassType  (void);
    static UInt32              getClassTypeId(void);

    virtual       FieldContainerType &getType(void);
    virtual const FieldContainerType &getType(void) const;

    UInt32       getTypeId  (void) const;
    UInt16       getGroupId (void) const;
    const Char8 *getTypeName(void) const;

    virtual UInt32            getContainerSize(void) const = 0;
    virtual FieldContainerPtr shallowCopy     (void) const = 0;

    /*--------------------------- identity -------------------------------*/
    UInt32 getContainerId(void) const { return _containerId; }
    Int32  getRefCount   (void) const { return _refCount.load(std::memory_order_relaxed); }

    /*--------------------------- generic fields -------------------------*/
    Field *getField(UInt32 fieldId);
    Field *getField(const Char8 *fieldName);

    /*--------------------------- binary form ----------------------------*/
    virtual UInt32 getBinSize (const BitVector &whichField);
    virtual void   copyToBin  (BinaryDataHandler &pMem, const BitVector &whichField);
    virtual void   copyFromBin(BinaryDataHandler &pMem, const BitVector &whichField);

    /*--------------------------- synchronisation ------------------------*/
    /*! Copies the selected fields from another instance of the same type. */
    virtual void executeSync(FieldContainer &other, const BitVector &whichField) = 0;

    /*--------------------------- change notification --------------------*/
    virtual void changed(BitVector whichField, UInt32 origin);

    void   addChangedFunction(const ChangedFunctionPtr &function);
    bool   subChangedFunction(const ChangedFunctionPtr &function);
    UInt32 getNumChangedFunctions(void) const;
    /*! Calls every live changed function; expired ones are dropped. */
    void   callChangedFunctions(const BitVector &whichField, UInt32 origin);

    /*--------------------------- diagnostics ----------------------------*/
    /*! Prints type, id and every field in text form. */
    virtual void dump(UInt32 uiIndent = 0, const BitVector bvFlags = BitVector(0)) const;
    void dumpFields(std::ostream &os, UInt32 uiIndent = 0) const;

    /*--------------------------- storage --------------------------------*/
    /*! Containers come from a heap of their own, packed by size on cache lines and huge pages:
        a walk over a large scene misses the TLB far less often than on the general heap. */
    static void *operator new   (size_t bytes);
    static void  operator delete(void *block) noexcept;

  protected:
    friend class FieldContainerType;
    friend void addRefCP(const FieldContainerPtr &);
    friend void subRefCP(const FieldContainerPtr &);

    FieldContainer();
    FieldContainer(const FieldContainer &source);
    virtual ~FieldContainer();

    FieldContainer &operator=(const FieldContainer &) = delete;

    /*! Allocates a copy of the prototype (or a default object), registers it and calls the most
        derived onCreate. */
    template <class ObjectPtrT>
    static void newPtr(ObjectPtrT &result, const typename ObjectPtrT::StoredObjectType *prototypeP);
    template <class ObjectPtrT>
    static void newPtr(ObjectPtrT &result);

    /*! Not virtual: creation binds the most derived declaration at compile time. */
    void onCreate(const FieldContainer *source = NULL);
    virtual void onDestroy(void);

    void executeSyncImpl(FieldContainer *pOther, const BitVector &whichField);

  private:
    void registerNew(void);
    void addRef(void);
    void subRef(void);
    void destroy(void);

    static FieldContainerType _type;

    std::atomic<Int32> _refCount;
    UInt32             _containerId;
    std::unique_ptr<std::vector<std::weak_ptr<ChangedFunction> > > _changedFunctions;
};

template <class ObjectPtrT>
inline void FieldContainer::newPtr(ObjectPtrT &result,
                                   const typename ObjectPtrT::StoredObjectType *prototypeP)
{
    typedef typename ObjectPtrT::StoredObjectType ObjectType;
    // A throwing constructor frees the memory and the exception propagates to the caller.
    ObjectType *object = new ObjectType(*prototypeP);
    object->registerNew();
    result = ObjectPtrT(object);
    object->onCreate(prototypeP);
}

template <class ObjectPtrT>
inline void FieldContainer::newPtr(ObjectPtrT &result)
{
    typedef typename ObjectPtrT::StoredObjectType ObjectType;
    ObjectType *object = new ObjectType();
    object->registerNew();
    result = ObjectPtrT(object);
    object->onCreate();
}

inline void FieldContainer::onCreate(const FieldContainer *)
{
}

inline void FieldContainer::executeSyncImpl(FieldContainer *, const BitVector &)
{
}

} // namespace osg

#include <OpenSG/OSGFieldContainerFields.h>

#endif
