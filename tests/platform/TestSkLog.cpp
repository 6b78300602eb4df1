// The host log that the library reports through: printf formatting into the kernel log.

#include <platform/skLog.h>

#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <string>

using namespace osg;

TEST(SkLog, ErrorsAndWarningsReachTheKernelLog)
{
    LogCapture capture;
    skLog::error("cannot open %s (%d)\n", "scene.yif", 42);
    skLog::warning("%.2f%% done", 12.5);

    std::vector<LogEntry> entries = capture.entries();
    ASSERT_EQ(entries.size(), 2u);
    // An error is printed as such but filtered like a warning.
    EXPECT_EQ(entries[0].level, LOG_WARNING);
    EXPECT_EQ(entries[0].label, "ERROR");
    EXPECT_EQ(entries[0].module, "sk");
    EXPECT_EQ(entries[0].text, "cannot open scene.yif (42)");
    EXPECT_EQ(entries[1].level, LOG_WARNING);
    EXPECT_EQ(entries[1].label, "WARNING");
    EXPECT_EQ(entries[1].module, "sk");
    EXPECT_EQ(entries[1].text, "12.50% done");
}

TEST(SkLog, LongAndMissingFormats)
{
    LogCapture capture;
    std::string longText(5000, 'y');
    skLog::warning("%s|", longText.c_str());
    const char *noFormat = nullptr;
    skLog::error(noFormat);

    std::vector<LogEntry> entries = capture.entries();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].text, longText + "|");
    EXPECT_EQ(entries[1].label, "ERROR");
    EXPECT_NE(entries[1].text.find("without a format"), std::string::npos);
}

TEST(SkLog, BelowTheLevelNothingIsLogged)
{
    LogLevel old = osgLog().getLogLevel();
    osgLog().setLogLevel(LOG_FATAL, true);
    {
        LogCapture capture;
        skLog::error("hidden");
        skLog::warning("hidden");
        EXPECT_EQ(capture.count(), 0u);
    }
    osgLog().setLogLevel(old, true);
}
