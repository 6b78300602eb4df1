#include <OpenSGExt/skICCProfile.h>

#include <lcms2.h>

namespace skICCProfile {

namespace {

// Little CMS reports to stderr by default; profiles that fail simply give false here.
void quietErrors(cmsContext, cmsUInt32Number, const char *)
{
}

} // namespace

std::vector<osg::UInt8> createSRGB(void)
{
    std::vector<osg::UInt8> bytes;
    cmsSetLogErrorHandler(quietErrors);
    cmsHPROFILE profile = cmsCreate_sRGBProfile();
    if(profile == NULL)
        return bytes;
    cmsUInt32Number size = 0;
    if(cmsSaveProfileToMem(profile, NULL, &size) && size > 0)
    {
        bytes.resize(size);
        if(!cmsSaveProfileToMem(profile, bytes.data(), &size))
            bytes.clear();
    }
    cmsCloseProfile(profile);
    return bytes;
}

bool inspect(const osg::UInt8 *data, osg::UInt32 size, Info &info)
{
    if(data == NULL || size == 0)
        return false;
    cmsSetLogErrorHandler(quietErrors);
    cmsHPROFILE profile = cmsOpenProfileFromMem(data, size);
    if(profile == NULL)
        return false;
    char text[256] = { 0 };
    cmsGetProfileInfoASCII(profile, cmsInfoDescription, "en", "US", text, sizeof(text));
    info.description = text;
    cmsColorSpaceSignature cs = cmsGetColorSpace(profile);
    info.colorSpace.clear();
    for(int shift = 24; shift >= 0; shift -= 8)
        info.colorSpace += char((cs >> shift) & 0xff);
    info.version = cmsGetEncodedICCversion(profile);
    cmsCloseProfile(profile);
    return true;
}

} // namespace skICCProfile
