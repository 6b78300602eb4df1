// Reading corrupt binary records of every registered type: truncated records fail and leave the
// container as it was, corrupted records never crash or read past the data.

#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGFieldContainer.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGLog.h>
#include <OpenSGExt/skOpenSGExt.h>

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <vector>

using namespace osg;

namespace {

std::string snapshot(const FieldContainerPtr &fc)
{
    std::ostringstream os;
    fc->dumpFields(os);
    return os.str();
}

std::vector<FieldContainerType *> concreteTypes()
{
    skOpenSGExt::init();
    std::vector<FieldContainerType *> types;
    for(FieldContainerType *t : FieldContainerFactory::the()->getTypes())
    {
        if(t->isInitialized() && !t->isAbstract())
            types.push_back(t);
    }
    return types;
}

std::vector<UInt8> encode(const FieldContainerPtr &fc)
{
    MemoryBinaryDataHandler out;
    fc->copyToBin(out, FieldBits::AllFields);
    return out.getBuffer();
}

} // namespace

TEST(BinaryRobustness, EveryTruncatedRecordFailsAndChangesNothing)
{
    LogCapture quiet;
    std::vector<FieldContainerType *> types = concreteTypes();
    ASSERT_GT(types.size(), 10u);
    for(FieldContainerType *type : types)
    {
        // Containers read here are never destroyed: pointer fields read from a stream hold no
        // references, so releasing them would be the caller's error, not the reader's.
        FieldContainerPtr source = type->createFieldContainer();
        std::vector<UInt8> bytes = encode(source);
        ASSERT_EQ(bytes.size(), source->getBinSize(FieldBits::AllFields)) << type->getName();

        FieldContainerPtr target = type->createFieldContainer();
        std::string before = snapshot(target);
        for(size_t len = 0; len < bytes.size(); ++len)
        {
            MemoryBinaryDataHandler in(bytes.data(), len);
            target->copyFromBin(in, FieldBits::AllFields);
            EXPECT_TRUE(in.isFailed()) << type->getName() << " cut at " << len;
            EXPECT_EQ(snapshot(target), before) << type->getName() << " cut at " << len;
        }
    }
}

TEST(BinaryRobustness, CorruptedRecordsAreReadSafely)
{
    LogCapture quiet;
    std::mt19937 random(20261121);
    for(FieldContainerType *type : concreteTypes())
    {
        FieldContainerPtr source = type->createFieldContainer();
        std::vector<UInt8> bytes = encode(source);
        if(bytes.empty())
            continue;
        for(int round = 0; round < 64; ++round)
        {
            std::vector<UInt8> bad = bytes;
            int flips = 1 + int(random() % 4);
            for(int i = 0; i < flips; ++i)
                bad[random() % bad.size()] = UInt8(random());
            // Read from a copy whose end is followed by nothing the reader may touch.
            std::vector<UInt8> exact(bad.begin(), bad.end());
            FieldContainerPtr target = type->createFieldContainer();
            std::string before = snapshot(target);
            MemoryBinaryDataHandler in(exact.data(), exact.size());
            target->copyFromBin(in, FieldBits::AllFields);
            if(in.isFailed())
            {
                EXPECT_EQ(snapshot(target), before) << type->getName() << " round " << round;
            }
        }
    }
}
