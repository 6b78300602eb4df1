#include "Command.h"

#include <algorithm>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

namespace osgext {

namespace {

std::vector<CommandEntry> &commandList()
{
    static std::vector<CommandEntry> list;
    return list;
}

struct SectionEntry
{
    int         order;
    const char *name;
    DemoSection section;
};

std::vector<SectionEntry> &sectionList()
{
    static std::vector<SectionEntry> list;
    return list;
}

} // namespace

bool registerCommand(const char *name, const char *summary, CommandFactory factory)
{
    std::vector<CommandEntry> &list = commandList();
    list.push_back({name, summary, std::move(factory)});
    std::sort(list.begin(), list.end(), [](const CommandEntry &a, const CommandEntry &b) {
        return std::strcmp(a.name, b.name) < 0;
    });
    return true;
}

const std::vector<CommandEntry> &commands()
{
    return commandList();
}

bool registerDemoSection(int order, const char *name, DemoSection section)
{
    sectionList().push_back({order, name, std::move(section)});
    return true;
}

int runDemo(const std::filesystem::path &outDir, std::ostream &out, std::ostream &err)
{
    std::error_code ec;
    std::filesystem::create_directories(outDir, ec);
    if(ec || !std::filesystem::is_directory(outDir))
    {
        err << "osgext: cannot create the folder " << outDir.string() << ": " << ec.message()
            << "\n";
        return 1;
    }

    std::vector<SectionEntry> sections = sectionList();
    std::stable_sort(sections.begin(), sections.end(),
                     [](const SectionEntry &a, const SectionEntry &b) {
                         return a.order != b.order ? a.order < b.order
                                                   : std::strcmp(a.name, b.name) < 0;
                     });
    DemoContext ctx{outDir, out, err};
    bool ok = true;
    for(const SectionEntry &s : sections)
    {
        out << "== " << s.name << "\n";
        const bool sectionOk = s.section(ctx);
        if(!sectionOk)
            err << "osgext: demo section '" << s.name << "' failed\n";
        ok = sectionOk && ok;
    }
    out << "result: " << (ok ? "ok" : "FAILED") << "\n";
    return ok ? 0 : 1;
}

} // namespace osgext
