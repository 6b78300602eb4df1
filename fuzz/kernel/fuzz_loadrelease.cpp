// libFuzzer target: loads a binary record of a registered type the way a scene loader does
// (copyFromBin, then ending the edit with the loader's origin so pointer fields take their
// references) and releases the container again. Ownership must balance: nothing may be released
// that was not referenced.

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGFieldContainer.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGLog.h>
#include <OpenSGExt/skOpenSGExt.h>

#include <vector>

using namespace osg;

namespace {

struct Setup
{
    std::vector<FieldContainerType *> types;
    std::vector<FieldContainerPtr>    targets;   // referenced containers records may point at
};

Setup &setup()
{
    static Setup s = [] {
        skOpenSGExt::init();
        osgInit(0, nullptr);
        osgLog().setLogType(LOG_NONE, true);
        Setup r;
        for(FieldContainerType *type : FieldContainerFactory::the()->getTypes())
        {
            if(type->isInitialized() && !type->isAbstract())
            {
                r.types.push_back(type);
                FieldContainerPtr fc = type->createFieldContainer();
                addRefCP(fc);
                r.targets.push_back(fc);
            }
        }
        return r;
    }();
    return s;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Setup &s = setup();
    if(size < 3 || s.types.empty())
        return 0;
    FieldContainerType *type = s.types[(size_t(data[0]) << 8 | data[1]) % s.types.size()];
    osgSetUseOSB64(data[2] & 1);

    FieldContainerPtr fc = type->createFieldContainer();
    if(fc == NullFC)
        return 0;
    addRefCP(fc);
    MemoryBinaryDataHandler in(data + 3, size - 3);
    beginEditCP(fc, FieldBits::AllFields, ChangedOrigin::Abstract | ChangedOrigin::AbstrIncRefCount);
    fc->copyFromBin(in, FieldBits::AllFields);
    if(in.isFailed())
    {
        subRefCP(fc);
        return 0;
    }
    endEditCP(fc, FieldBits::AllFields, ChangedOrigin::Abstract | ChangedOrigin::AbstrIncRefCount);
    subRefCP(fc);
    return 0;
}
