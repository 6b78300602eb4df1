#include <OpenSGExt/skOpenSGExt.h>

bool skOpenSGExt::_zUp = false;

void skOpenSGExt::init(void)
{
}

void skOpenSGExt::setCameraZUp(bool zUp)
{
    _zUp = zUp;
}

bool skOpenSGExt::isCameraZUp(void)
{
    return _zUp;
}
