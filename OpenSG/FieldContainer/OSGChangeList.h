#ifndef _OSGCHANGELIST_H_
#define _OSGCHANGELIST_H_

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGBitVector.h>
#include <OpenSG/OSGFieldContainerPtr.h>

#include <utility>
#include <vector>

namespace osg {

/*! What happened to containers on one thread since the list was last cleared: created and
    destroyed container ids and (id, mask) entries for every ended edit, in order. */
class ChangeList
{
  public:
    typedef std::pair<UInt32, BitVector>        ChangeEntry;
    typedef std::vector<ChangeEntry>            ChangedStore;
    typedef std::vector<UInt32>                 IdStore;
    typedef ChangedStore::const_iterator        changed_const_iterator;
    typedef IdStore::const_iterator             idstore_const_iterator;

    /*! A list is read-write (records) or read-only (drops every entry) as the default was when
        it was made; see setReadWriteDefault. */
    ChangeList(void) : _readWrite(_readWriteDefault) {}

    void addChanged  (const FieldContainerPtr &p, const BitVector &whichField);
    void addCreated  (UInt32 containerId) { if(_readWrite) _created.push_back(containerId);   }
    void addDestroyed(UInt32 containerId) { if(_readWrite) _destroyed.push_back(containerId); }

    /*! OpenSG hosts call this before osgInit so that change lists record. Here lists record by
        default; passing false makes the lists made afterwards (osgInit's among them) read-only. */
    static void setReadWriteDefault(bool bReadWrite = true) { _readWriteDefault = bReadWrite; }
    bool        isReadOnly(void) const { return !_readWrite; }

    const ChangedStore &getChanged  (void) const { return _changed;   }
    const IdStore      &getCreated  (void) const { return _created;   }
    const IdStore      &getDestroyed(void) const { return _destroyed; }

    changed_const_iterator beginChanged  (void) const { return _changed.begin();   }
    changed_const_iterator endChanged    (void) const { return _changed.end();     }
    idstore_const_iterator beginCreated  (void) const { return _created.begin();   }
    idstore_const_iterator endCreated    (void) const { return _created.end();     }
    idstore_const_iterator beginDestroyed(void) const { return _destroyed.begin(); }
    idstore_const_iterator endDestroyed  (void) const { return _destroyed.end();   }

    UInt32 sizeChanged  (void) const { return UInt32(_changed.size());   }
    UInt32 sizeCreated  (void) const { return UInt32(_created.size());   }
    UInt32 sizeDestroyed(void) const { return UInt32(_destroyed.size()); }

    bool wasCreated(UInt32 containerId) const;
    /*! The union of all masks recorded for a container. */
    BitVector getChangedMask(UInt32 containerId) const;

    void clearAll(void);

  private:
    static bool  _readWriteDefault;
    bool         _readWrite;
    ChangedStore _changed;
    IdStore      _created;
    IdStore      _destroyed;
};

/*! Per-thread state. Only threads that were given a change list record changes: osgInit gives
    one to the thread that calls it; worker threads have none and record nothing. */
class Thread
{
  public:
    static ChangeList *getCurrentChangeList(void);
    static void        setCurrentChangeList(ChangeList *list);
    static UInt32      getAspect(void) { return 0; }
};

} // namespace osg

#endif
