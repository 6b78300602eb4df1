// osgext: command-line access to the skOpenSGExt library.

#include "Command.h"

#include <OpenSGExt/skOpenSGExt.h>
#include <OpenSG/OSGBaseFunctions.h>

#include <exception>
#include <iostream>
#include <string>
#include <vector>

#ifndef SKOSG_VERSION
#define SKOSG_VERSION "unknown"
#endif

namespace {

// Builds the parser and runs the chosen subcommand (the demo when none is named).
int runTool(int argc, char **argv)
{
    CLI::App app{"osgext: command-line access to the skOpenSGExt library"};
    app.set_version_flag("--version", std::string("osgext ") + SKOSG_VERSION);
    app.require_subcommand(0, 1);
    app.fallthrough(false);

    std::string outDir = "osgext-demo-out";
    CLI::App *demo = app.add_subcommand(
        "demo", "build a small scene and run every capability of the library (the default)");
    demo->add_option("--out", outDir, "folder for the demo's output files")
        ->capture_default_str()
        ->check([](const std::string &s) { return s.empty() ? "--out needs a folder" : ""; });

    struct Bound
    {
        CLI::App                        *app;
        std::unique_ptr<osgext::Command> command;
    };
    std::vector<Bound> bound;
    for(const osgext::CommandEntry &entry : osgext::commands())
    {
        Bound b{app.add_subcommand(entry.name, entry.summary), entry.factory()};
        b.command->configure(*b.app);
        bound.push_back(std::move(b));
    }

    try
    {
        app.parse(argc, argv);
    }
    catch(const CLI::CallForHelp &e)
    {
        return app.exit(e);
    }
    catch(const CLI::CallForAllHelp &e)
    {
        return app.exit(e);
    }
    catch(const CLI::CallForVersion &e)
    {
        return app.exit(e);
    }
    catch(const CLI::ParseError &e)
    {
        std::cerr << "osgext: " << e.what() << " (osgext --help lists the commands)\n";
        return 2;
    }

    for(Bound &b : bound)
    {
        if(b.app->parsed())
            return b.command->run(std::cout, std::cerr);
    }
    return osgext::runDemo(outDir, std::cout, std::cerr);
}

} // namespace

int main(int argc, char **argv)
{
    int result = 1;
    try
    {
        if(!osg::osgInit(argc, argv))
        {
            std::cerr << "osgext: the scene-graph system did not start\n";
            return 1;
        }
        skOpenSGExt::init();
        result = runTool(argc, argv);
    }
    catch(const std::exception &e)
    {
        std::cerr << "osgext: error: " << e.what() << "\n";
        result = 1;
    }
    catch(...)
    {
        std::cerr << "osgext: error: unknown exception\n";
        result = 1;
    }
    try
    {
        osg::osgExit();
    }
    catch(...)
    {
        std::cerr << "osgext: error during shutdown\n";
        result = 1;
    }
    return result;
}
