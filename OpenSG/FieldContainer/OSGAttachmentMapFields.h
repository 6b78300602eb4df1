#ifndef _OSGATTACHMENTMAPFIELDS_H_
#define _OSGATTACHMENTMAPFIELDS_H_

#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGFieldContainerFields.h>

#include <map>

namespace osg {

/*! Attachments of a container by key = (attachment's group id << 16) | binding. */
typedef std::map<UInt32, AttachmentPtr> AttachmentMap;

/*! Binary form: a UInt32 count of the non-internal attachments, then per attachment its binding
    (UInt16, the low half of the key) and its container id (UInt32). Reading rebuilds the keys from
    the referenced attachments' groups and takes no references. */
template <>
struct FieldDataTraits<AttachmentMap>
{
    static constexpr bool   IsPOD      = false;
    static constexpr UInt32 MinBinSize = 4;

    static DataType &getType(void)
    {
        static DataType type("AttachmentMap", "BaseType");
        return type;
    }
    static const Char8 *getSName(void) { return "SFAttachmentMap"; }
    static const Char8 *getMName(void) { return "MFAttachmentMap"; }
    static AttachmentMap getDefault(void) { return AttachmentMap(); }

    static UInt32 getBinSize (const AttachmentMap &value);
    static void   copyToBin  (BinaryDataHandler &h, const AttachmentMap &value);
    static bool   copyFromBin(BinaryDataHandler &h, AttachmentMap &value);
    static void   putToString(const AttachmentMap &value, std::string &out);

    static UInt32 getBinSize(const AttachmentMap *values, UInt64 count)
    {
        UInt32 size = 0;
        for(UInt64 i = 0; i < count; ++i)
            size += getBinSize(values[i]);
        return size;
    }
    static void copyToBin(BinaryDataHandler &h, const AttachmentMap *values, UInt64 count)
    {
        for(UInt64 i = 0; i < count; ++i)
            copyToBin(h, values[i]);
    }
    static bool copyFromBin(BinaryDataHandler &h, AttachmentMap *values, UInt64 count)
    {
        bool ok = true;
        for(UInt64 i = 0; i < count; ++i)
            ok = copyFromBin(h, values[i]) && ok;
        return ok;
    }
};

typedef SField<AttachmentMap> SFAttachmentMap;

} // namespace osg

#endif
