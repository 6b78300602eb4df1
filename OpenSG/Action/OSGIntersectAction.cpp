#include <OpenSG/OSGIntersectAction.h>
#include <OpenSG/OSGDynamicVolume.h>
#include <OpenSG/OSGLog.h>

namespace osg {

/*---------------------------- class defaults -------------------------------*/

// Function-local: the core types fill them from their initMethods, which may run before any
// static object of this file is constructed.
Action::FunctorStore &IntersectAction::defaultEnterFunctors(void)
{
    static FunctorStore store;
    return store;
}

Action::FunctorStore &IntersectAction::defaultLeaveFunctors(void)
{
    static FunctorStore store;
    return store;
}

void IntersectAction::registerEnterDefault(const FieldContainerType &type, const Functor &func)
{
    defaultEnterFunctors().set(type, func);
}

void IntersectAction::registerLeaveDefault(const FieldContainerType &type, const Functor &func)
{
    defaultLeaveFunctors().set(type, func);
}

/*---------------------------- construction ---------------------------------*/

IntersectAction::IntersectAction(void)
    : Inherited(defaultEnterFunctors(), defaultLeaveFunctors()),
      _line(),
      _maxdist(Inf),
      _hit(false),
      _hitT(-1.f),
      _hitNormal(),
      _hitObject(),
      _hitTriangle(-1),
      _frames()
{
}

IntersectAction::IntersectAction(const IntersectAction &source) = default;
IntersectAction &IntersectAction::operator=(const IntersectAction &source) = default;
IntersectAction::~IntersectAction(void) = default;

IntersectAction *IntersectAction::create(void)
{
    return new IntersectAction();
}

IntersectAction *IntersectAction::create(const Line &line, const Real32 maxdist)
{
    IntersectAction *action = new IntersectAction();
    action->setLine(line, maxdist);
    return action;
}

/*---------------------------- line and hit ---------------------------------*/

void IntersectAction::setLine(const Line &line, const Real32 maxdist)
{
    _line    = line;
    _maxdist = maxdist;
}

Pnt3f IntersectAction::getHitPoint(void) const
{
    if(!_hit)
        return _line.getPosition();
    return _line.getPosition() + _line.getDirection() * _hitT;
}

Action::ResultE IntersectAction::setEnterLeave(Real32 enter, Real32 leave)
{
    if(leave < 0.f || enter > _maxdist || (_hit && enter > _hitT))
        return Skip;
    return Continue;
}

void IntersectAction::setHit(Real32 t, const NodePtr &obj, Int32 triIndex, const Vec3f &normal)
{
    if(t < 0.f || t > _maxdist || (_hit && t >= _hitT))
        return;
    _hit         = true;
    _hitT        = t;
    _hitObject   = obj;
    _hitTriangle = triIndex;
    _hitNormal   = normal;
}

void IntersectAction::scale(Real32 s)
{
    if(_hit)
        _hitT *= s;
    // An unlimited distance stays unlimited rather than growing past Inf.
    if(_maxdist < Inf)
        _maxdist = osgMin(_maxdist * s, Inf);
}

Action::ResultE IntersectAction::start(void)
{
    _hit         = false;
    _hitT        = -1.f;
    _hitNormal   = Vec3f();
    _hitObject   = NodePtr();
    _hitTriangle = -1;
    _frames.clear();
    if(_line.getDirection().squareLength() == 0.f)
    {
        SWARNING << "IntersectAction: the line has no direction" << std::endl;
        return Quit;
    }
    return Continue;
}

/*---------------------------- for the cores --------------------------------*/

Action::ResultE IntersectAction::testVolume(void)
{
    NodePtr node = getActNode();
    if(node == NullFC)
        return Continue;
    const DynamicVolume &vol = node->getVolume();
    if(!vol.isValid())
        return Continue;
    Real32 enter, leave;
    if(!vol.intersect(_line, enter, leave))
        return Skip;
    return setEnterLeave(enter, leave);
}

Action::ResultE IntersectAction::enterTransform(const Matrix &matrix)
{
    ResultE res = testVolume();
    if(res != Continue)
        return res;

    Matrix inv;
    if(!matrix.inverse(inv))
        return Skip;

    Pnt3f pos;
    Vec3f dir;
    inv.multFullMatrixPnt(_line.getPosition(), pos);
    inv.multMatrixVec(_line.getDirection(), dir);
    Real32 len = dir.length();
    if(len <= 0.f)
        return Skip;

    _frames.push_back(Frame{ getActNode(), _line, _maxdist, len });
    setLine(Line(pos, dir), _maxdist);
    scale(len);
    return Continue;
}

Action::ResultE IntersectAction::leaveTransform(void)
{
    // Only the frame this node pushed: its enter functor may have skipped the push.
    if(_frames.empty() || _frames.back().node != getActNode())
        return Continue;
    Frame frame = _frames.back();
    _frames.pop_back();
    scale(1.f / frame.scale);
    setLine(frame.line, frame.maxdist);
    return Continue;
}

} // namespace osg
