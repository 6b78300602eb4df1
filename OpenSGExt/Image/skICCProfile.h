#ifndef SK_OPENSGEXT_SKICCPROFILE_H
#define SK_OPENSGEXT_SKICCPROFILE_H

#include <OpenSG/OSGBaseTypes.h>

#include <string>
#include <vector>

/*! ICC profiles through Little CMS: making the profiles that image files embed and checking
    the ones they carry. */
namespace skICCProfile {

/*! The bytes of an sRGB (IEC 61966-2.1) display profile; empty if it could not be made. */
std::vector<osg::UInt8> createSRGB(void);

/*! What a profile says about itself. */
struct Info
{
    std::string description;   //!< the profile's description text ("sRGB built-in", ...)
    std::string colorSpace;    //!< the data colour space signature, e.g. "RGB "
    osg::UInt32 version = 0;   //!< encoded version, e.g. 0x04300000 for 4.3
};

/*! Opens the bytes as a profile; false for null, empty or unreadable data. */
bool inspect(const osg::UInt8 *data, osg::UInt32 size, Info &info);

} // namespace skICCProfile

#endif
