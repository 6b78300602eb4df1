#ifndef _OSGREFPTR_H_
#define _OSGREFPTR_H_

#include <OpenSG/OSGFieldContainerPtr.h>

namespace osg {

/*! A container pointer that holds one reference for as long as it points at the container:
    taking a pointer adds a reference, letting go of it (reassignment, destruction) releases one,
    which destroys a container whose count drops to zero. Ref is a container pointer type such as
    NodePtr; a RefPtr converts to it implicitly, so it passes wherever Ref is expected. Pointers
    taken out with get() or the conversion hold no reference of their own. */
template <class Ref>
class RefPtr
{
  public:
    typedef Ref                            FCPtrType;
    typedef typename Ref::StoredObjectType StoredObjectType;

    RefPtr(void) : _ref(NullFC) {}
    RefPtr(const NullFieldContainerPtr &) : _ref(NullFC) {}
    explicit RefPtr(const Ref &ref) : _ref(ref) { addRefCP(_ref); }
    RefPtr(const RefPtr &other) : _ref(other._ref) { addRefCP(_ref); }
    ~RefPtr(void) { subRefCP(_ref); }

    RefPtr &operator=(const Ref &ref)
    {
        setRefdCP(_ref, ref);
        return *this;
    }
    RefPtr &operator=(const RefPtr &other)
    {
        setRefdCP(_ref, other._ref);
        return *this;
    }
    RefPtr &operator=(const NullFieldContainerPtr &)
    {
        clearRefCP(_ref);
        return *this;
    }

    operator Ref(void) const { return _ref; }
    const Ref &get(void) const { return _ref; }

    StoredObjectType *operator->(void) const { return _ref.getCPtr(); }
    StoredObjectType &operator* (void) const { return *_ref.getCPtr(); }
    StoredObjectType *getCPtr   (void) const { return _ref.getCPtr(); }

    bool operator==(const RefPtr &other) const { return _ref == other._ref; }
    bool operator!=(const RefPtr &other) const { return _ref != other._ref; }
    bool operator==(const Ref &other) const { return _ref == other; }
    bool operator!=(const Ref &other) const { return _ref != other; }
    bool operator==(const NullFieldContainerPtr &) const { return _ref == NullFC; }
    bool operator!=(const NullFieldContainerPtr &) const { return _ref != NullFC; }
    bool operator! (void) const { return _ref == NullFC; }
    explicit operator bool(void) const { return _ref != NullFC; }

  private:
    Ref _ref;
};

} // namespace osg

#endif
