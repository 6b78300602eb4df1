#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <iomanip>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

using namespace osg;

namespace {

/*! Sets the level for one test and restores the previous one. */
struct LevelScope
{
    explicit LevelScope(LogLevel level) : old(osgLog().getLogLevel()) { osgLog().setLogLevel(level, true); }
    ~LevelScope(void) { osgLog().setLogLevel(old, true); }
    LogLevel old;
};

/*! Sends the log's output to a file for one test, then back to stderr. */
struct FileScope
{
    // Named after the test and the process: ctest runs tests in parallel processes.
    FileScope(void)
        : path(::testing::TempDir() + "osglog_" +
               ::testing::UnitTest::GetInstance()->current_test_info()->name() + "_" +
               std::to_string(::getpid()) + ".txt")
    {
        osgLog().setLogFile(path.c_str(), true);
    }
    ~FileScope(void)
    {
        osgLog().setLogFile(NULL, true);
        std::remove(path.c_str());
    }

    std::vector<std::string> lines(void) const
    {
        std::ifstream            in(path.c_str());
        std::vector<std::string> result;
        for(std::string line; std::getline(in, line);)
            result.push_back(line);
        return result;
    }

    std::string path;
};

} // namespace

TEST(Log, CapturesSeeWholeMessagesWithTheirSourceAndNest)
{
    LogCapture outer;
    {
        LogCapture capture;
        const int line = __LINE__ + 1;
        SWARNING << "value " << 42 << '!' << std::endl;
        ASSERT_EQ(capture.count(), 1u);
        LogEntry e = capture.entries()[0];
        EXPECT_EQ(e.level, LOG_WARNING);
        EXPECT_EQ(e.label, "WARNING");
        EXPECT_EQ(e.module, "OpenSG");
        EXPECT_EQ(e.file, "TestLog.cpp");
        EXPECT_EQ(e.line, line);
        EXPECT_EQ(e.text, "value 42!");

        SFATAL << "two\nlines" << std::endl;
        EXPECT_EQ(capture.text(), "value 42!\ntwo\nlines");
        EXPECT_TRUE(capture.contains("two\nli"));
        EXPECT_FALSE(capture.contains("three"));
        capture.clear();
        EXPECT_EQ(capture.count(), 0u);
    }
    EXPECT_EQ(outer.count(), 0u);           // the innermost capture takes the messages
    SWARNING << "to outer" << std::endl;
    ASSERT_EQ(outer.count(), 1u);
    EXPECT_EQ(outer.entries()[0].text, "to outer");
}

TEST(Log, LevelFilterComesBeforeFormatting)
{
    LevelScope level(LOG_WARNING);
    LogCapture capture;
    int        evaluated  = 0;
    auto       sideEffect = [&evaluated] { return ++evaluated; };

    SINFO << "hidden " << sideEffect() << std::endl;
    SNOTICE << sideEffect() << std::endl;
    FINFO(("hidden %d\n", sideEffect()));
    EXPECT_EQ(evaluated, 0);
    EXPECT_EQ(capture.count(), 0u);

    SWARNING << sideEffect() << std::endl;
    SFATAL << "fatal" << std::endl;
    SLOG << "always" << std::endl;
    EXPECT_EQ(evaluated, 1);
    EXPECT_EQ(capture.count(), 3u);

    osgLog().setLogLevel(LOG_DEBUG, true);
    FDEBUG(("debug %s\n", "too"));
    EXPECT_TRUE(capture.contains("debug too"));
    osgLog().setLogLevel(LOG_FATAL, true);
    EXPECT_FALSE(osgLog().checkLevel(LOG_WARNING));
    EXPECT_TRUE(osgLog().checkLevel(LOG_LOG));
    osgLog().emit(LOG_WARNING, "ERROR", "platform", "x.cpp", 1, "dropped");    // emit filters too
    EXPECT_FALSE(capture.contains("dropped"));
}

TEST(Log, OutputFormat)
{
    LevelScope level(LOG_WARNING);
    FileScope  file;
    int        l1, l2, l3;
    {
        LogCapture capture(true);        // captured and written
        l1 = __LINE__; SWARNING << "hello" << std::endl;
        PWARNING << "plain " << 1 << std::endl;
        osgLog().emit(LOG_WARNING, "ERROR", "platform", "/src/platform/Platform.cpp", 7, "from platform\n");
        l2 = __LINE__; FWARNING(("formatted %d\n", 42));
        osgLog().addHeaderElem(LOG_MODULE_HEADER, true);
        l3 = __LINE__; SFATAL << "with module" << std::endl;
        osgLog().delHeaderElem(LOG_MODULE_HEADER, true);
        EXPECT_EQ(capture.count(), 5u);
        EXPECT_EQ(capture.entries()[2].label, "ERROR");
        EXPECT_EQ(capture.entries()[2].file, "Platform.cpp");
        EXPECT_EQ(capture.entries()[2].text, "from platform");
    }
    {
        LogCapture swallow;              // captured only
        SWARNING << "not written" << std::endl;
    }

    EXPECT_EQ(file.lines(), (std::vector<std::string>{
                                "WARNING: TestLog.cpp:" + std::to_string(l1) + ": hello",
                                "plain 1",
                                "ERROR: Platform.cpp:7: from platform",
                                "WARNING: TestLog.cpp:" + std::to_string(l2) + ": formatted 42",
                                "FATAL: OpenSG: TestLog.cpp:" + std::to_string(l3) + ": with module",
                            }));
}

TEST(Log, MessageBoundaries)
{
    LogCapture capture;
    // An unfinished message is sent on its own when the next one starts...
    SWARNING << "unfinished";
    SWARNING << "next" << std::endl;
    // ...while a header-less stream continues it.
    SWARNING << "items:";
    for(int i = 0; i < 3; ++i)
        PWARNING << ' ' << i;
    PWARNING << std::endl;
    // Text after the end of a message becomes a message of its own.
    SWARNING << "first" << std::endl << "second" << std::endl;
    // Formatting state does not leak into the next message.
    SWARNING << std::hex << std::setprecision(2) << 255 << ' ' << 3.14159 << std::endl;
    SWARNING << 255 << ' ' << 3.14159 << std::endl;
    // The macros are single statements, also under an unbraced if/else.
    bool flag = false;
    if(flag)
        SWARNING << "then" << std::endl;
    else
        SWARNING << "else" << std::endl;

    std::vector<std::string> texts;
    for(const LogEntry &e : capture.entries())
        texts.push_back(e.text);
    EXPECT_EQ(texts, (std::vector<std::string>{ "unfinished", "next", "items: 0 1 2", "first", "second",
                                                "ff 3.1", "255 3.14159", "else" }));
}

TEST(Log, ThreadsNeverInterleaveWithinAMessage)
{
    const int  perThread = 1000;
    FileScope  file;
    LogCapture capture(true);

    // Both threads start together and yield inside their messages, so that a shared buffer
    // would certainly mix them.
    std::atomic<int> ready(0);
    auto work = [&ready](char id) {
        ready.fetch_add(1);
        while(ready.load() < 2)
            std::this_thread::yield();
        for(int i = 0; i < perThread; ++i)
        {
            SWARNING << "thread " << id << " message " << i;
            for(int k = 0; k < 8; ++k)
            {
                PWARNING << ' ' << id << k;
                std::this_thread::yield();
            }
            PWARNING << " end" << std::endl;
        }
    };
    std::thread a(work, 'A'), b(work, 'B');
    a.join();
    b.join();

    auto expected = [](char id, int i) {
        std::string s = "thread " + std::string(1, id) + " message " + std::to_string(i);
        for(int k = 0; k < 8; ++k)
            s += " " + std::string(1, id) + std::to_string(k);
        return s + " end";
    };
    std::vector<LogEntry> entries = capture.entries();
    ASSERT_EQ(entries.size(), size_t(2 * perThread));
    int next[2] = { 0, 0 };
    for(const LogEntry &e : entries)
    {
        char id = e.text.size() > 7 ? e.text[7] : '?';
        ASSERT_TRUE(id == 'A' || id == 'B') << e.text;
        ASSERT_EQ(e.text, expected(id, next[id - 'A']++));
    }

    std::vector<std::string> lines = file.lines();
    ASSERT_EQ(lines.size(), size_t(2 * perThread));
    for(const std::string &line : lines)
    {
        ASSERT_EQ(line.compare(0, 21, "WARNING: TestLog.cpp:"), 0) << line;
        ASSERT_NE(line.find(": thread "), std::string::npos) << line;
        ASSERT_EQ(line.substr(line.size() - 4), " end") << line;
    }
}

namespace {

// Logs from a thread_local destructor that runs after the log's own per-thread cleanup.
struct LateLogger
{
    int touched = 0;
    ~LateLogger(void) { SWARNING << "late " << touched << std::endl; }
};

thread_local LateLogger lateLogger;

} // namespace

TEST(Log, ThreadExit)
{
    LogCapture capture;
    std::thread t([] {
        lateLogger.touched = 7;                 // constructed before the log's thread state
        SWARNING << "early" << std::endl;
        SWARNING << "pending at exit";          // never ended: sent when the thread ends
    });
    t.join();

    EXPECT_EQ(capture.count(), 3u);
    EXPECT_TRUE(capture.contains("early"));
    EXPECT_TRUE(capture.contains("pending at exit"));
    EXPECT_TRUE(capture.contains("late 7"));
}
