// osgext: command-line access to the skOpenSGExt library.

#include "Commands.h"

#include <OpenSGExt/skOpenSGExt.h>
#include <OpenSG/OSGBaseFunctions.h>

#include <cstring>
#include <exception>
#include <iostream>
#include <string>

namespace {

struct Command
{
    const char *name;
    const char *summary;
    int (*run)(const osgext::Options &, std::ostream &, std::ostream &);
};

const Command Commands[] = {
    {"demo",  "create, edit, write and read back the library's containers (default)",
     &osgext::runDemo},
    {"types", "list every registered container type with its parent and own fields",
     &osgext::runTypes},
};

void printUsage(std::ostream &os)
{
    os << "usage: osgext [command] [--out DIR]\n\ncommands:\n";
    for(const Command &c : Commands)
        os << "  " << c.name << std::string(8 - std::strlen(c.name), ' ') << c.summary << "\n";
    os << "  help    show this text\n\n"
          "options:\n"
          "  --out DIR  folder for the demo's output files (default osgext-demo-out)\n";
}

// 0 when the arguments are usable, 2 (after printing usage) otherwise.
int parseArguments(int argc, char **argv, const Command *&command, bool &help,
                   osgext::Options &options)
{
    command = &Commands[0];
    help    = false;
    bool named = false;
    for(int i = 1; i < argc; ++i)
    {
        const std::string arg = argv[i];
        if(arg == "--out")
        {
            if(i + 1 >= argc || argv[i + 1][0] == '\0')
            {
                std::cerr << "osgext: --out needs a folder\n";
                printUsage(std::cerr);
                return 2;
            }
            options.outDir = argv[++i];
            continue;
        }
        if(arg == "help" || arg == "--help" || arg == "-h")
        {
            help = true;
            continue;
        }
        const Command *found = nullptr;
        for(const Command &c : Commands)
        {
            if(arg == c.name)
                found = &c;
        }
        if(found == nullptr || named)
        {
            if(found != nullptr)
                std::cerr << "osgext: only one command at a time ('" << arg << "')\n";
            else
                std::cerr << "osgext: unknown " << (arg[0] == '-' ? "option" : "command")
                          << " '" << arg << "'\n";
            printUsage(std::cerr);
            return 2;
        }
        command = found;
        named   = true;
    }
    return 0;
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

        const Command  *command = nullptr;
        bool            help    = false;
        osgext::Options options;
        result = parseArguments(argc, argv, command, help, options);
        if(result == 0 && help)
            printUsage(std::cout);
        else if(result == 0)
            result = command->run(options, std::cout, std::cerr);
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
