#ifndef SKOSG_APPS_OSGEXT_COMMANDS_H
#define SKOSG_APPS_OSGEXT_COMMANDS_H

#include <iosfwd>
#include <string>

namespace osgext {

struct Options
{
    std::string outDir = "osgext-demo-out";
};

// Each command returns the process exit code; failures are explained on err.
int runTypes(const Options &options, std::ostream &out, std::ostream &err);
int runDemo (const Options &options, std::ostream &out, std::ostream &err);

} // namespace osgext

#endif
