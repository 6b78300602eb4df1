// osgext types [NAME...] [--markdown]: registered field-container types, sorted by name, with their
// parent and the fields they add (inherited fields are listed under the parent); as Markdown with
// the descriptions' texts for the type reference in docs/types.md.

#include "Command.h"

#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGFieldContainerType.h>
#include <OpenSG/OSGFieldDescription.h>

#include <algorithm>
#include <map>
#include <set>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

namespace osgext {

namespace {

// Hex of a 128-bit mask without leading zeros; built from bit tests so that it shows the stored
// mask itself, not one recomputed from the id.
std::string maskHex(const osg::BitVector &mask)
{
    static const char digits[] = "0123456789abcdef";
    std::string hex;
    for(int nibble = 31; nibble >= 0; --nibble)
    {
        unsigned value = 0;
        for(unsigned bit = 0; bit < 4; ++bit)
        {
            const osg::BitVector probe =
                osg::TypeTraits<osg::BitVector>::One << osg::UInt32(nibble * 4 + bit);
            if((mask & probe) != osg::FieldBits::NoField)
                value |= 1u << bit;
        }
        if(value != 0 || !hex.empty() || nibble == 0)
            hex += digits[value];
    }
    return "0x" + hex;
}

struct DocEntry
{
    const char *type;
    const char *field;
    const char *defaultValue;
    const char *description;
};

const DocEntry DocTable[] = {
#include "TypeDocTable.inc"
};

const DocEntry *findDoc(const char *type, const char *field)
{
    for(const DocEntry &d : DocTable)
    {
        if(std::strcmp(d.type, type) == 0 && std::strcmp(d.field, field) == 0)
            return &d;
    }
    return nullptr;
}

std::vector<const osg::FieldDescription *> ownFields(const osg::FieldContainerType *type)
{
    std::vector<const osg::FieldDescription *> fields;
    const osg::FieldContainerType *parent = type->getParentType();
    const osg::UInt32 firstOwn = parent != NULL ? parent->getNumFieldDescs() + 1 : 1;
    for(osg::UInt32 id = firstOwn; id <= type->getNumFieldDescs(); ++id)
    {
        const osg::FieldDescription *desc = type->getFieldDescription(id);
        if(desc != NULL)
            fields.push_back(desc);
    }
    return fields;
}

// Markdown table cells hold no pipes or line breaks.
std::string cell(const char *text)
{
    std::string s;
    for(const char *c = text; *c != '\0'; ++c)
        s += *c == '|' ? std::string("\\|") : std::string(1, *c);
    return s;
}

void printPlain(std::ostream &out, const osg::FieldContainerType *type)
{
    const osg::FieldContainerType *parent = type->getParentType();
    out << type->getCName();
    if(parent != NULL)
        out << " : " << parent->getCName();
    if(type->isAbstract())
        out << " (abstract)";
    out << "\n";
    for(const osg::FieldDescription *desc : ownFields(type))
        out << "    " << desc->getCName() << " " << desc->getFieldType().getCName() << " id "
            << desc->getFieldId() << " mask " << maskHex(desc->getFieldMask()) << "\n";
}

void printMarkdown(std::ostream &out, const osg::FieldContainerType *type)
{
    const osg::FieldContainerType *parent = type->getParentType();
    out << "## " << type->getCName() << "\n\n";
    if(parent != NULL)
        out << "Parent: " << parent->getCName() << (type->isAbstract() ? "; abstract" : "")
            << "\n\n";
    const DocEntry *doc = findDoc(type->getCName(), "");
    if(doc != nullptr && doc->description[0] != '\0')
        out << doc->description << "\n\n";
    const std::vector<const osg::FieldDescription *> fields = ownFields(type);
    if(fields.empty())
    {
        out << "No fields of its own.\n\n";
        return;
    }
    out << "| Field | Type | Id | Mask | Default | Description |\n"
           "|---|---|---|---|---|---|\n";
    for(const osg::FieldDescription *desc : fields)
    {
        const DocEntry *f = findDoc(type->getCName(), desc->getCName());
        out << "| " << desc->getCName() << " | " << desc->getFieldType().getCName() << " | "
            << desc->getFieldId() << " | " << maskHex(desc->getFieldMask()) << " | "
            << (f != nullptr && f->defaultValue[0] != '\0' ? cell(f->defaultValue) : std::string())
            << " | " << (f != nullptr ? cell(f->description) : std::string()) << " |\n";
    }
    out << "\n";
}

class TypesCommand : public Command
{
  public:
    void configure(CLI::App &app) override
    {
        app.add_option("names", _names, "type names to show (default: every registered type)");
        app.add_flag("--markdown", _markdown,
                     "write the type reference as Markdown, with descriptions and defaults");
    }

    int run(std::ostream &out, std::ostream &err) override
    {
        std::vector<osg::FieldContainerType *> types =
            osg::FieldContainerFactory::the()->getTypes();
        if(types.empty())
        {
            err << "osgext: no field-container types are registered\n";
            return 1;
        }
        std::sort(types.begin(), types.end(),
                  [](const osg::FieldContainerType *a, const osg::FieldContainerType *b) {
                      return std::strcmp(a->getCName(), b->getCName()) < 0;
                  });
        if(!_names.empty())
        {
            std::vector<osg::FieldContainerType *> chosen;
            for(const std::string &name : _names)
            {
                auto it = std::find_if(types.begin(), types.end(),
                                       [&](const osg::FieldContainerType *t) {
                                           return name == t->getCName();
                                       });
                if(it == types.end())
                {
                    err << "osgext: no registered type named '" << name << "'\n";
                    return 1;
                }
                chosen.push_back(*it);
            }
            types.swap(chosen);
        }

        if(_markdown)
            out << "# Field-container types\n\n"
                   "Every type registered by the kernel and the library: its parent, and the fields "
                   "it adds with type, id, change mask, default and description. Written by "
                   "`osgext types --markdown`; do not edit.\n\n";
        for(const osg::FieldContainerType *type : types)
        {
            if(_markdown)
                printMarkdown(out, type);
            else
                printPlain(out, type);
        }
        if(!_markdown && _names.empty())
            out << types.size() << " types\n";
        return 0;
    }

  private:
    std::vector<std::string> _names;
    bool                     _markdown = false;
};

} // namespace

OSGEXT_COMMAND(TypesCommand, "types",
               "list registered container types with their parent and own fields");

} // namespace osgext
