#ifndef _OSGFIELDCONTAINERFIELDS_H_
#define _OSGFIELDCONTAINERFIELDS_H_

#include <OpenSG/OSGFieldContainerPtr.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGFieldDataType.h>
#include <OpenSG/OSGSField.h>
#include <OpenSG/OSGMField.h>
#include <OpenSG/OSGLog.h>

namespace osg {

/*! Binary form of every container pointer: the container id as a UInt32, 0 for NullFC. Reading
    resolves the id through the factory (or the reader's id mapper) and takes no reference; an id
    naming a container of another type reads as NullFC with a warning. */
template <class PtrT>
struct FieldTraitsFCPtrBase
{
    static constexpr bool   IsPOD      = false;
    static constexpr UInt32 MinBinSize = 4;

    static PtrT getDefault(void) { return PtrT(); }

    static UInt32 getBinSize(const PtrT &)               { return 4;                }
    static UInt32 getBinSize(const PtrT *, UInt64 count) { return UInt32(4 * count); }

    static void copyToBin(BinaryDataHandler &h, const PtrT &value)
    {
        h.putValue(UInt32(value.getFieldContainerId()));
    }
    static bool copyFromBin(BinaryDataHandler &h, PtrT &value)
    {
        UInt32 id = 0;
        if(!h.getValue(id))
        {
            value = NullFC;
            return false;
        }
        value = resolve(id);
        return true;
    }
    static void copyToBin(BinaryDataHandler &h, const PtrT *values, UInt64 count)
    {
        for(UInt64 i = 0; i < count; ++i)
            copyToBin(h, values[i]);
    }
    static bool copyFromBin(BinaryDataHandler &h, PtrT *values, UInt64 count)
    {
        bool ok = true;
        for(UInt64 i = 0; i < count; ++i)
            ok = copyFromBin(h, values[i]) && ok;
        return ok;
    }
    static void putToString(const PtrT &value, std::string &out)
    {
        out += value == NullFC ? std::string("NullFC")
                               : "#" + std::to_string(value.getFieldContainerId());
    }

  private:
    static PtrT resolve(UInt32 id)
    {
        if(id == 0)
            return PtrT();
        FieldContainerPtr fc = FieldContainerFactory::the()->getMappedContainer(id);
        if(fc == NullFC)
        {
            SWARNING << "container pointer: no container with id " << id << std::endl;
            return PtrT();
        }
        PtrT typed = PtrT::dcast(fc);
        if(typed == NullFC)
        {
            SWARNING << "container pointer: container " << id << " has the wrong type"
                     << std::endl;
        }
        return typed;
    }
};

template <>
struct FieldDataTraits<FieldContainerPtr> : public FieldTraitsFCPtrBase<FieldContainerPtr>
{
    static DataType &getType(void)
    {
        static DataType type("FieldContainerPtr", NULL);
        return type;
    }
    static const Char8 *getSName(void) { return "SFFieldContainerPtr"; }
    static const Char8 *getMName(void) { return "MFFieldContainerPtr"; }
};

typedef SField<FieldContainerPtr> SFFieldContainerPtr;
typedef MField<FieldContainerPtr> MFFieldContainerPtr;

} // namespace osg

#endif
