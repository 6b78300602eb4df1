#include <OpenSG/OSGBaseFunctions.h>

#include <gtest/gtest.h>

namespace {

// Every test runs in a started system, as a host application would, and shuts it down at the end.
class SystemEnvironment : public ::testing::Environment
{
  public:
    void SetUp() override { ASSERT_TRUE(osg::osgInit(0, nullptr)); }
    void TearDown() override { osg::osgExit(); }
};

} // namespace

int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::AddGlobalTestEnvironment(new SystemEnvironment);
    return RUN_ALL_TESTS();
}
