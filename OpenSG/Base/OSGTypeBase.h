#ifndef _OSGTYPEBASE_H_
#define _OSGTYPEBASE_H_

#include <OpenSG/OSGBaseTypes.h>

#include <string>
#include <vector>

namespace osg {

/*! A named type with a process-wide id; data types, field types and container types share one
    id space. Parents are named, not pointed to, so types may be constructed in any order. */
class TypeBase
{
  public:
    TypeBase(const Char8 *name, const Char8 *parentName, UInt32 nameSpace = 0);
    virtual ~TypeBase();

    TypeBase(const TypeBase &) = delete;
    TypeBase &operator=(const TypeBase &) = delete;

    UInt32             getId        (void) const { return _id;                  }
    const std::string &getName      (void) const { return _name;                }
    const Char8       *getCName     (void) const { return _name.c_str();        }
    const std::string &getParentName(void) const { return _parentName;          }
    const Char8       *getCParentName(void) const { return _parentName.c_str(); }
    UInt32             getNameSpace (void) const { return _nameSpace;           }

    /*! The parent, looked up by name among the types constructed so far. */
    virtual TypeBase *getParent(void) const;

    virtual bool isDerivedFrom(const TypeBase &other) const;

    bool operator==(const TypeBase &other) const { return _id == other._id; }
    bool operator!=(const TypeBase &other) const { return _id != other._id; }

  protected:
    UInt32      _id;
    std::string _name;
    std::string _parentName;
    UInt32      _nameSpace;
};

/*! The type of a field's values ("Real32", "NodePtr", ...). */
class DataType : public TypeBase
{
  public:
    DataType(const Char8 *name, const Char8 *parentName, UInt32 nameSpace = 0);
    ~DataType() override;
};

/*! Registry of every TypeBase by id and name. */
class TypeFactory
{
  public:
    static TypeFactory *the(void);

    UInt32    registerType  (TypeBase *type);
    void      unregisterType(TypeBase *type);

    TypeBase *findType(UInt32 id) const;
    TypeBase *findType(const Char8 *name, UInt32 nameSpace = 0) const;
    UInt32    getNumTypes(void) const;

  private:
    TypeFactory() = default;
    std::vector<TypeBase *> _types;   // index = id; slot 0 unused
};

} // namespace osg

#endif
