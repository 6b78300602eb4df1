// libFuzzer target: PSD and PSB documents through the reader, merged image and layers. No
// crash, no leak, no read past the end, no allocation beyond the reader's caps (2 GiB and what
// the input can hold).

#include <OpenSGExt/OSGPSDImageFileType.h>
#include <OpenSGExt/skOpenSGExt.h>

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGLog.h>

#include <sstream>
#include <string>
#include <vector>

using namespace osg;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool started = [] {
        skOpenSGExt::init();
        osgInit(0, nullptr);
        osgLog().setLogType(LOG_NONE, true);
        return true;
    }();
    (void)started;

    const std::string bytes(reinterpret_cast<const char *>(data), size);
    ImagePtr image = Image::create();
    addRefCP(image);
    {
        std::istringstream is(bytes);
        PSDImageFileType::the().read(image, is, "");
    }
    {
        std::istringstream is(bytes);
        std::vector<PSDImageFileType::Layer> layers;
        if(PSDImageFileType::the().readLayers(is, image, layers))
        {
            // Every layer image must be as large as its pixels say.
            for(const PSDImageFileType::Layer &l : layers)
                if(l.image != NullFC && l.image->getMFPixel()->size() != l.image->getSize())
                    __builtin_trap();
        }
        PSDImageFileType::releaseLayers(layers);
    }
    if(image->isValid() && image->getMFPixel()->size() != image->getSize())
        __builtin_trap();
    subRefCP(image);
    return 0;
}
