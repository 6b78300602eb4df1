#ifndef SKOSG_ANIMATION_DETAIL_FLATMODELREFS_H
#define SKOSG_ANIMATION_DETAIL_FLATMODELREFS_H

// Reference-count bookkeeping shared by the flat animation model: every pointer held in a list
// or node field holds one reference on its target.

#include <OpenSG/OSGFieldContainerBase.h>
#include <OpenSG/OSGFieldContainerPtr.h>
#include <OpenSG/OSGMField.h>
#include <OpenSG/OSGSField.h>
#include <OpenSG/OSGBaseFunctions.h>

namespace osg {
namespace flat {

/*! Null is ignored; otherwise referenced and appended, with no edit and no change report. */
template <class PtrT, class ArgT>
void append(MField<PtrT> &list, const ArgT &p)
{
    if(p == NullFC)
        return;
    addRefCP(p);
    list.push_back(PtrT(p));
}

template <class PtrT>
void releaseAll(MField<PtrT> &list)
{
    typename MField<PtrT>::StorageType entries;
    entries.swap(list.getValues());
    for(PtrT &p : entries)
    {
        if(p != NullFC)
            subRefCP(p);
    }
}

template <class PtrT>
void referenceAll(const MField<PtrT> &list)
{
    for(const PtrT &p : list)
    {
        if(p != NullFC)
            addRefCP(p);
    }
}

template <class PtrT>
void referenceAll(const SField<PtrT> &field)
{
    if(field.getValue() != NullFC)
        addRefCP(field.getValue());
}

template <class PtrT>
void releaseAll(SField<PtrT> &field)
{
    PtrT old = field.getValue();
    field.setValue(NullFC);
    if(old != NullFC)
        subRefCP(old);
}

/*! Moves the field's reference from the old node to the new one. */
template <class PtrT>
void setReferenced(SField<PtrT> &field, const PtrT &node)
{
    if(field.getValue() == node)
        return;
    PtrT old = field.getValue();
    field.setValue(node);
    if(node != NullFC)
        addRefCP(node);
    if(old != NullFC)
        subRefCP(old);
}

/*! Loading ends its edit with Abstract|AbstrIncRefCount: the pointers copyFromBin read carry
    no reference yet. */
inline bool isLoad(UInt32 origin)
{
    return (origin & ChangedOrigin::Abstract) && (origin & ChangedOrigin::AbstrIncRefCount);
}

inline bool shuttingDown(void)
{
    return GlobalSystemState == Shutdown;
}

} // namespace flat
} // namespace osg

#endif
