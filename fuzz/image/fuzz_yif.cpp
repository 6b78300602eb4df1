// libFuzzer target: YIF files, plain and gzip-compressed. An input that starts with 'Z' is the
// rest of the input compressed into a valid gzip stream first, so mutations also reach the header
// and pixel checks behind the inflater; any other input is read as it is (including broken gzip).

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGImage.h>
#include <OpenSG/OSGLog.h>
#include <OpenSGExt/OSGYIFImageFileType.h>
#include <OpenSGExt/skOpenSGExt.h>

#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>

using namespace osg;

namespace {

ImagePtr target(void)
{
    static ImagePtr img = [] {
        skOpenSGExt::init();
        osgInit(0, nullptr);
        osgLog().setLogType(LOG_NONE, true);
        ImagePtr i = Image::create();
        addRefCP(i);
        return i;
    }();
    return img;
}

std::string gzip(const uint8_t *data, size_t size)
{
    z_stream zs;
    std::memset(&zs, 0, sizeof(zs));
    if(deflateInit2(&zs, 1, Z_DEFLATED, 31, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        return std::string();
    std::string out(deflateBound(&zs, uLong(size)) + 32, '\0');
    zs.next_in   = const_cast<Bytef *>(data);
    zs.avail_in  = uInt(size);
    zs.next_out  = reinterpret_cast<Bytef *>(&out[0]);
    zs.avail_out = uInt(out.size());
    deflate(&zs, Z_FINISH);
    out.resize(zs.total_out);
    deflateEnd(&zs);
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    ImagePtr img = target();
    std::string bytes = (size > 0 && data[0] == 'Z') ? gzip(data + 1, size - 1)
                                                     : std::string(reinterpret_cast<const char *>(data), size);
    std::istringstream is(bytes);
    YIFImageFileType::the().read(img, is, "");
    return 0;
}
