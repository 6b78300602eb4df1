#ifndef _OSGFIELDCONTAINERFACTORY_H_
#define _OSGFIELDCONTAINERFACTORY_H_

#include <OpenSG/OSGFieldContainerType.h>

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace osg {

class Node;
class NodeCore;
class Attachment;
class AttachmentContainer;
typedef FCPtr<FieldContainerPtr,      AttachmentContainer> AttachmentContainerPtr;
typedef FCPtr<AttachmentContainerPtr, Node>                NodePtr;
typedef FCPtr<AttachmentContainerPtr, NodeCore>            NodeCorePtr;
typedef FCPtr<FieldContainerPtr,      Attachment>          AttachmentPtr;

/*! Registry of container types (by name and id), container groups and live containers (by id). */
class FieldContainerFactory
{
  public:
    static FieldContainerFactory *the(void);

    /*--------------------------- types ----------------------------------*/
    /*! Types are findable as soon as they are registered; a type found before osgInit is
        initialised on the spot. */
    FieldContainerType *findType(UInt32 typeId) const;
    FieldContainerType *findType(const Char8 *name) const;
    UInt32              getNumTypes(void) const;
    /*! Every registered type, in order of registration. */
    std::vector<FieldContainerType *> getTypes(void) const;

    bool initializePendingTypes(void);

    void registerType  (FieldContainerType *type);
    void unregisterType(FieldContainerType *type);

    /*--------------------------- groups ---------------------------------*/
    UInt16       registerGroup(const Char8 *name);
    UInt16       findGroupId  (const Char8 *name) const;
    const Char8 *findGroupName(UInt16 groupId) const;

    /*--------------------------- creation -------------------------------*/
    /*! NullFC (and a warning) for an unknown or abstract type name. */
    FieldContainerPtr createFieldContainer(const Char8 *name) const;
    NodePtr           createNode          (const Char8 *name) const;
    NodeCorePtr       createNodeCore      (const Char8 *name) const;
    AttachmentPtr     createAttachment    (const Char8 *name) const;

    /*--------------------------- containers -----------------------------*/
    FieldContainerPtr getContainer      (UInt32 containerId) const;
    FieldContainerPtr getMappedContainer(UInt32 containerId) const;
    UInt32            getNumLiveContainers(void) const;

    void                  setMapper(FieldContainerMapper *mapper) { _mapper = mapper; }
    FieldContainerMapper *getMapper(void) const                   { return _mapper;   }

    UInt32 registerFieldContainer  (FieldContainer *container);
    void   unregisterFieldContainer(UInt32 containerId);

  private:
    FieldContainerFactory();

    FieldContainerType *findTypeLocked(const std::string &name) const;
    static bool initFunction(void);
    static bool exitFunction(void);

    mutable std::recursive_mutex             _typeMutex;
    std::vector<FieldContainerType *>        _types;
    std::map<std::string, FieldContainerType *> _typesByName;
    std::vector<std::string>                 _groups;

    mutable std::mutex                       _storeMutex;
    std::vector<FieldContainer *>            _store;   // index = container id; 0 is NullFC
    UInt32                                   _liveContainers;

    FieldContainerMapper                    *_mapper;
};

} // namespace osg

#endif
