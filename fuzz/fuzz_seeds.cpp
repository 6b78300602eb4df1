// Writes one seed per registered concrete type for fuzz_copyfrombin: the type's two selector
// bytes, the count-width byte and the default record of the type.

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGFieldContainer.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSGExt/skOpenSGExt.h>

#include <fstream>
#include <iostream>
#include <string>
#include <vector>

using namespace osg;

int main(int argc, char **argv)
{
    if(argc != 2)
    {
        std::cerr << "usage: fuzz_seeds OUTPUT_DIR" << std::endl;
        return 2;
    }
    skOpenSGExt::init();
    osgInit(0, nullptr);
    std::vector<FieldContainerType *> types;
    for(FieldContainerType *type : FieldContainerFactory::the()->getTypes())
    {
        if(type->isInitialized() && !type->isAbstract())
            types.push_back(type);
    }
    for(size_t i = 0; i < types.size(); ++i)
    {
        FieldContainerPtr fc = types[i]->createFieldContainer();
        MemoryBinaryDataHandler out;
        fc->copyToBin(out, FieldBits::AllFields);
        std::ofstream file(std::string(argv[1]) + "/" + types[i]->getName(), std::ios::binary);
        const char head[3] = {char(i >> 8), char(i & 0xFF), 0};
        file.write(head, 3);
        file.write(reinterpret_cast<const char *>(out.getBuffer().data()),
                   std::streamsize(out.getBuffer().size()));
        if(!file)
        {
            std::cerr << "fuzz_seeds: cannot write " << types[i]->getName() << std::endl;
            return 1;
        }
    }
    osgExit();
    std::cout << "fuzz_seeds: " << types.size() << " seeds" << std::endl;
    return 0;
}
