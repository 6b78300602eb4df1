// libFuzzer target: tiled IFF files through the reader.

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGImage.h>
#include <OpenSG/OSGLog.h>
#include <OpenSGExt/OSGIFFImageFileType.h>
#include <OpenSGExt/skOpenSGExt.h>

#include <cstdint>
#include <sstream>
#include <string>

using namespace osg;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static ImagePtr img = [] {
        skOpenSGExt::init();
        osgInit(0, nullptr);
        osgLog().setLogType(LOG_NONE, true);
        ImagePtr i = Image::create();
        addRefCP(i);
        return i;
    }();
    std::istringstream is(std::string(reinterpret_cast<const char *>(data), size));
    IFFImageFileType::the().read(img, is, "");
    return 0;
}
