#include "kernel/fcd/OSGTestTriangles.h"

#include <OpenSG/OSGIntersectAction.h>
#include <OpenSG/OSGVolume.h>

namespace osg {

UInt32 TestTriangles::intersectCalls = 0;

TestTriangles::TestTriangles(void) : Inherited()
{
}

TestTriangles::TestTriangles(const TestTriangles &source) : Inherited(source)
{
}

TestTriangles::~TestTriangles(void) = default;

void TestTriangles::initMethod(void)
{
    IntersectAction::registerEnterDefault(
        getClassType(),
        osgTypedMethodFunctor2BaseCPtrRef<Action::ResultE, TestTrianglesPtr, CNodePtr, Action *>(
            &TestTriangles::intersect));
}

void TestTriangles::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);
    if(whichField & PositionsFieldMask)
        invalidateVolume();
}

void TestTriangles::adjustVolume(Volume &volume)
{
    for(UInt32 i = 0; i < _mfPositions.size(); ++i)
        volume.extendBy(_mfPositions[i]);
}

Action::ResultE TestTriangles::intersect(Action *action)
{
    ++intersectCalls;
    IntersectAction *ia = dynamic_cast<IntersectAction *>(action);
    if(ia == NULL)
        return Action::Continue;
    const Line &line = ia->getLine();
    for(UInt32 i = 0; i + 2 < _mfPositions.size(); i += 3)
    {
        Real32 t;
        Vec3f  normal;
        if(line.intersect(_mfPositions[i], _mfPositions[i + 1], _mfPositions[i + 2], t, &normal))
            ia->setHit(t, ia->getActNode(), Int32(i / 3), normal);
    }
    return Action::Continue;
}

} // namespace osg
