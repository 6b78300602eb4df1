#ifndef _OSGGEOPROPERTYINTERFACE_H_
#define _OSGGEOPROPERTYINTERFACE_H_

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGBitVector.h>
#include <OpenSG/OSGGLTypes.h>

#include <cstddef>

namespace osg {

class Attachment;

/*! What every geometry property offers independently of its value type: the GL description of
    its array and raw access to it. Elements are stored tightly packed (stride 0), each
    getDimension() components of getFormatSize() bytes. The raw pointers are valid until the
    property's size changes. */
class GeoPropertyArrayInterface
{
  public:
    /*! GL type of one component (GL_FLOAT, GL_UNSIGNED_INT, ...). */
    virtual UInt32 getFormat    (void) const = 0;
    /*! Bytes per component. */
    virtual UInt32 getFormatSize(void) const = 0;
    /*! Bytes between elements, 0 for tightly packed. */
    virtual UInt32 getStride    (void) const = 0;
    /*! Components per element. */
    virtual UInt32 getDimension (void) const = 0;
    /*! Number of elements. */
    virtual UInt32 getSize      (void) const = 0;
            UInt32 size         (void) const { return getSize(); }

    /*! The first element's bytes; NULL when empty. */
    virtual const UInt8 *getData (void) const = 0;
    virtual       UInt8 *editData(void)       = 0;

    virtual void clear (void)             = 0;
    /*! New elements are zero. */
    virtual void resize(size_t newSize)   = 0;

    /*! Bytes per element. */
    UInt32 getElementSize(void) const { return getFormatSize() * getDimension(); }

    /*! The mask of the field holding the values, for edits through this interface. */
    virtual BitVector getValuesFieldMask(void) const = 0;

  protected:
    GeoPropertyArrayInterface(void) = default;
    GeoPropertyArrayInterface(const GeoPropertyArrayInterface &) = default;
    GeoPropertyArrayInterface &operator=(const GeoPropertyArrayInterface &) = default;
    virtual ~GeoPropertyArrayInterface(void) = default;

    /*! Calls changed(mask of every slot holding the property, ChangedOrigin::Child) on each
        geometry among the property's parents, when whichField holds more than the attachment's
        own bookkeeping fields (parents, internal). */
    static void notifyGeometries(Attachment *property, const BitVector &whichField);
};

/*! Element access in the property kind's generic type (Pnt3f for positions, Vec3f for normals,
    Color3f for colours, Vec2f for texture coordinates, UInt32 for indices and lengths, UInt8 for
    primitive types), converted from and to the stored type. An index out of range is reported
    and reads a zero value or writes nothing. */
template <class GenericT>
class GeoPropertyInterface : public GeoPropertyArrayInterface
{
  public:
    typedef GenericT GenericType;

    virtual GenericT getValue(const UInt32 index) const                  = 0;
    virtual void     getValue(GenericT &value, const UInt32 index) const = 0;
    virtual void     setValue(const GenericT &value, const UInt32 index) = 0;
    virtual void     addValue(const GenericT &value)                     = 0;
            void     push_back(const GenericT &value) { addValue(value); }

  protected:
    GeoPropertyInterface(void) = default;
    GeoPropertyInterface(const GeoPropertyInterface &) = default;
    GeoPropertyInterface &operator=(const GeoPropertyInterface &) = default;
    ~GeoPropertyInterface(void) override = default;
};

} // namespace osg

#endif
