// libFuzzer target: binary records of every registered container type. The first two bytes pick
// the type, the third the count width; the rest is read with copyFromBin(AllFields). A failed
// read must leave the container exactly as it was.

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGFieldContainer.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGLog.h>
#include <OpenSGExt/skOpenSGExt.h>

#include <cstdlib>
#include <sstream>
#include <vector>

using namespace osg;

namespace {

std::vector<FieldContainerType *> &concreteTypes()
{
    static std::vector<FieldContainerType *> types = [] {
        skOpenSGExt::init();
        osgInit(0, nullptr);
        osgLog().setLogType(LOG_NONE, true);
        std::vector<FieldContainerType *> t;
        for(FieldContainerType *type : FieldContainerFactory::the()->getTypes())
        {
            if(type->isInitialized() && !type->isAbstract())
                t.push_back(type);
        }
        return t;
    }();
    return types;
}

std::string snapshot(const FieldContainerPtr &fc)
{
    std::ostringstream os;
    fc->dumpFields(os);
    return os.str();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::vector<FieldContainerType *> &types = concreteTypes();
    if(size < 3 || types.empty())
        return 0;
    FieldContainerType *type = types[(size_t(data[0]) << 8 | data[1]) % types.size()];
    osgSetUseOSB64(data[2] & 1);

    // Pointer fields read from a stream hold no references, so the container is kept rather than
    // released: releasing it would be the caller's error, not the reader's.
    FieldContainerPtr fc = type->createFieldContainer();
    if(fc == NullFC)
        return 0;
    std::string before = snapshot(fc);
    MemoryBinaryDataHandler in(data + 3, size - 3);
    fc->copyFromBin(in, FieldBits::AllFields);
    if(in.isFailed() && snapshot(fc) != before)
        std::abort();
    if(!in.isFailed())
    {
        // What was read must be written back with the size the container reports.
        MemoryBinaryDataHandler out;
        fc->copyToBin(out, FieldBits::AllFields);
        if(out.getBuffer().size() != fc->getBinSize(FieldBits::AllFields))
            std::abort();
    }
    return 0;
}
