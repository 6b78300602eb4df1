#ifndef _OSGFIELDCONTAINERTYPE_H_
#define _OSGFIELDCONTAINERTYPE_H_

#include <OpenSG/OSGTypeBase.h>
#include <OpenSG/OSGFieldContainerPtr.h>
#include <OpenSG/OSGFieldDescription.h>

#include <string>
#include <vector>

namespace osg {

/*! The type object of a field-container class. Constructed statically by each class; registers
    with the factory at once, and is initialised by the factory (parent resolved by name, fields
    inherited, init method run, prototype made) in osgInit or on first lookup. */
class FieldContainerType : public DataType
{
  public:
    typedef void              (*InitContainerF)  (void);
    typedef FieldContainerPtr (*PrototypeCreateF)(void);

    FieldContainerType(const Char8       *name,
                       const Char8       *parentName      = NULL,
                       const Char8       *groupName       = NULL,
                       PrototypeCreateF   prototypeCreate = NULL,
                       InitContainerF     initMethod      = NULL,
                       FieldDescription **desc            = NULL,
                       UInt32             descByteCount   = 0,
                       bool               descsAddable    = false);
    ~FieldContainerType() override;

    /*! The init method of types that have none of their own. */
    static void noInitMethod(void) {}

    /*--------------------------- hierarchy ------------------------------*/
    TypeBase           *getParent    (void) const override;
    FieldContainerType *getParentType(void) const;
    UInt16              getGroupId   (void) const { return _groupId;   }
    const Char8        *getGroupName (void) const { return _groupName.c_str(); }

    bool isInitialized(void) const { return _initialized; }
    bool isAbstract   (void) const;
    bool isNode       (void) const;
    bool isNodeCore   (void) const;
    bool isAttachment (void) const;

    /*--------------------------- fields ---------------------------------*/
    /*! All fields, inherited ones included, by id (1-based); NULL for an unknown id. */
    FieldDescription       *getFieldDescription(UInt32 fieldId);
    const FieldDescription *getFieldDescription(UInt32 fieldId) const;
    FieldDescription       *findFieldDescription(const Char8 *fieldName);
    const FieldDescription *findFieldDescription(const Char8 *fieldName) const;
    UInt32                  getNumFieldDescs(void) const { return UInt32(_descVec.size()); }

    /*! The descriptions this type adds, without inherited ones. */
    UInt32                  getNumOwnFieldDescs(void) const { return _ownDescCount; }
    /*! Whether descriptions may be added after construction (never for generated types). */
    bool                    getDescsAddable(void) const { return _descsAddable; }

    /*--------------------------- prototype ------------------------------*/
    FieldContainerPtr getPrototype(void) const { return _prototype; }
    /*! Replaces the prototype (referenced); NullFC is refused. */
    bool              setPrototype(FieldContainerPtr prototype);
    /*! Releases the prototype; create() gives NullFC afterwards. */
    void              clearPrototype(void);

    /*! A shallow copy of the prototype; NullFC for an abstract type. */
    FieldContainerPtr createFieldContainer(void) const;

    void dump(std::ostream &os) const;

    /*--------------------------- factory hooks --------------------------*/
    bool initialize(void);
    void terminate (void);

  private:
    enum BaseKind { KindUnknown, KindFieldContainer, KindNode, KindNodeCore, KindAttachment };

    bool derivesFromName(const Char8 *name) const;

    std::string                     _groupName;
    UInt16                          _groupId;
    PrototypeCreateF                _prototypeCreate;
    InitContainerF                  _initMethod;
    FieldDescription              **_desc;
    UInt32                          _ownDescCount;
    bool                            _descsAddable;
    bool                            _initialized;
    bool                            _initializing;
    FieldContainerType             *_parentType;
    std::vector<FieldDescription *> _descVec;
    FieldContainerPtr               _prototype;
};

/*! Maps container ids of a stream to ids of this process while a reader resolves pointers. */
class FieldContainerMapper
{
  public:
    virtual ~FieldContainerMapper() = default;
    virtual UInt32 map(UInt32 uiId) = 0;
};

} // namespace osg

#endif
