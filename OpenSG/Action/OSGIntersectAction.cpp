#include <OpenSG/OSGIntersectAction.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGTransform.h>
#include <OpenSG/OSGDynamicVolume.h>
#include <OpenSG/OSGLog.h>

namespace osg {

/*---------------------------- class defaults -------------------------------*/

// Filled on first use rather than by static constructors: the core types must exist first, and
// in a shared library the order of static construction across files is not defined.
Action::FunctorStore &IntersectAction::defaultEnterFunctors(void)
{
    static FunctorStore store = [] {
        FunctorStore s;
        s.set(Group::getClassType(), &IntersectAction::groupEnter);
        s.set(Transform::getClassType(), &IntersectAction::transformEnter);
        return s;
    }();
    return store;
}

Action::FunctorStore &IntersectAction::defaultLeaveFunctors(void)
{
    static FunctorStore store = [] {
        FunctorStore s;
        s.set(Transform::getClassType(), &IntersectAction::transformLeave);
        return s;
    }();
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

/*---------------------------- core functors --------------------------------*/

Action::ResultE IntersectAction::groupEnter(const NodeCorePtr &, Action *action)
{
    IntersectAction *ia = dynamic_cast<IntersectAction *>(action);
    if(ia == NULL)
        return Continue;
    const DynamicVolume &vol = ia->getActNode()->getVolume();
    if(!vol.isValid())
        return Continue;
    Real32 enter, leave;
    if(!vol.intersect(ia->_line, enter, leave))
        return Skip;
    return ia->setEnterLeave(enter, leave);
}

Action::ResultE IntersectAction::transformEnter(const NodeCorePtr &core, Action *action)
{
    IntersectAction *ia = dynamic_cast<IntersectAction *>(action);
    if(ia == NULL)
        return Continue;
    ResultE res = groupEnter(core, action);
    if(res != Continue)
        return res;

    TransformPtr xform = TransformPtr::dcast(core);
    Matrix inv;
    // A flattening matrix leaves nothing below it to hit.
    if(xform == NullFC || !xform->getMatrix().inverse(inv))
        return Skip;

    Pnt3f pos;
    Vec3f dir;
    inv.multFullMatrixPnt(ia->_line.getPosition(), pos);
    inv.multMatrixVec(ia->_line.getDirection(), dir);
    Real32 len = dir.length();
    if(len <= 0.f)
        return Skip;

    ia->_frames.push_back(Frame{ ia->getActNode(), ia->_line, ia->_maxdist, len });
    ia->setLine(Line(pos, dir), ia->_maxdist);
    ia->scale(len);
    return Continue;
}

Action::ResultE IntersectAction::transformLeave(const NodeCorePtr &, Action *action)
{
    IntersectAction *ia = dynamic_cast<IntersectAction *>(action);
    if(ia == NULL)
        return Continue;
    // Only the frame this node pushed: a derived core may have an enter functor of its own.
    if(ia->_frames.empty() || ia->_frames.back().node != ia->getActNode())
        return Continue;
    Frame frame = ia->_frames.back();
    ia->_frames.pop_back();
    ia->scale(1.f / frame.scale);
    ia->setLine(frame.line, frame.maxdist);
    return Continue;
}

} // namespace osg
