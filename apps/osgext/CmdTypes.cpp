// osgext types: every registered field-container type, sorted by name, with its parent and the
// fields it adds (inherited fields are listed under the parent).

#include "Commands.h"

#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGFieldContainerType.h>
#include <OpenSG/OSGFieldDescription.h>

#include <algorithm>
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

} // namespace

int runTypes(const Options &, std::ostream &out, std::ostream &err)
{
    std::vector<osg::FieldContainerType *> types = osg::FieldContainerFactory::the()->getTypes();
    if(types.empty())
    {
        err << "osgext: no field-container types are registered\n";
        return 1;
    }
    std::sort(types.begin(), types.end(),
              [](const osg::FieldContainerType *a, const osg::FieldContainerType *b) {
                  return std::strcmp(a->getCName(), b->getCName()) < 0;
              });

    for(const osg::FieldContainerType *type : types)
    {
        const osg::FieldContainerType *parent = type->getParentType();
        out << type->getCName();
        if(parent != NULL)
            out << " : " << parent->getCName();
        if(type->isAbstract())
            out << " (abstract)";
        out << "\n";

        const osg::UInt32 firstOwn = parent != NULL ? parent->getNumFieldDescs() + 1 : 1;
        for(osg::UInt32 id = firstOwn; id <= type->getNumFieldDescs(); ++id)
        {
            const osg::FieldDescription *desc = type->getFieldDescription(id);
            if(desc == NULL)
                continue;
            out << "    " << desc->getCName() << " " << desc->getFieldType().getCName()
                << " id " << desc->getFieldId() << " mask " << maskHex(desc->getFieldMask())
                << "\n";
        }
    }
    out << types.size() << " types\n";
    return 0;
}

} // namespace osgext
