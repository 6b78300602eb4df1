#ifndef SKOSG_APPS_OSGEXT_COMMAND_H
#define SKOSG_APPS_OSGEXT_COMMAND_H

// The tool's subcommands and demo sections register themselves from their own files, so adding
// one touches no shared file.

#include <CLI/CLI.hpp>

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <memory>

namespace osgext {

/*! A subcommand: configure() adds its options to its own sub-app, bound to members; run() does the
    work and returns the exit code (0 ok, 1 failure; bad arguments never reach it: the parser
    answers them with 2). */
class Command
{
  public:
    virtual ~Command() = default;
    virtual void configure(CLI::App &app) = 0;
    virtual int  run(std::ostream &out, std::ostream &err) = 0;
};

typedef std::function<std::unique_ptr<Command>()> CommandFactory;

bool registerCommand(const char *name, const char *summary, CommandFactory factory);

struct CommandEntry
{
    const char     *name;
    const char     *summary;
    CommandFactory  factory;
};
/*! The registered subcommands, sorted by name. */
const std::vector<CommandEntry> &commands();

/*! What a demo section gets: the output folder (it exists) and the streams. */
struct DemoContext
{
    std::filesystem::path outDir;
    std::ostream         &out;
    std::ostream         &err;
};

typedef std::function<bool(DemoContext &)> DemoSection;

/*! Demo sections run in ascending order (equal orders by name); the demo succeeds when all do. */
bool registerDemoSection(int order, const char *name, DemoSection section);

/*! Runs every section; prints "result: ok" or "result: FAILED" last. */
int runDemo(const std::filesystem::path &outDir, std::ostream &out, std::ostream &err);

} // namespace osgext

#define OSGEXT_CONCAT2(a, b) a##b
#define OSGEXT_CONCAT(a, b) OSGEXT_CONCAT2(a, b)

// OSGEXT_COMMAND(SpectrumCommand, "spectrum", "one-line summary");
#define OSGEXT_COMMAND(Class, name, summary)                                                     \
    static const bool OSGEXT_CONCAT(osgextCommand_, __LINE__) = ::osgext::registerCommand(        \
        name, summary, [] { return std::unique_ptr<::osgext::Command>(new Class()); })

// OSGEXT_DEMO_SECTION(200, "spectra", [](osgext::DemoContext &ctx) -> bool { ... });
#define OSGEXT_DEMO_SECTION(order, name, ...)                                                    \
    static const bool OSGEXT_CONCAT(osgextDemo_, __LINE__) =                                     \
        ::osgext::registerDemoSection(order, name, __VA_ARGS__)

#endif
