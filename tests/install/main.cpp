// Uses the kernel and the library, so both must be found, linked and loaded from the install.
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSGExt/skOpenSGExt.h>

int main()
{
    if(!osg::osgInit(0, nullptr))
        return 1;
    skOpenSGExt::init();
    osg::osgExit();
    return 0;
}
