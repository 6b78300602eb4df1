#include <OpenSGExt/OSGCamboard.h>

#include <OpenSG/OSGIntersectAction.h>
#include <OpenSG/OSGVolume.h>

#include <mutex>

namespace osg {

namespace {

struct SharedViewState
{
    std::mutex lock;
    Matrix     view;
    bool       hmd = false;
};

SharedViewState &sharedView(void)
{
    static SharedViewState state;
    return state;
}

// The current view matrix is read while boards are drawn: return a copy kept per thread.
thread_local Matrix tlView;

} // namespace

Camboard::Camboard(void) : Inherited(), _currentMatrix(), _textCenter(0.f, 0.f, 0.f)
{
}

Camboard::Camboard(const Camboard &source) :
    Inherited(source),
    _currentMatrix(source._currentMatrix),
    _textCenter(source._textCenter),
    _customCalc(source._customCalc)
{
}

Camboard::~Camboard(void) = default;

void Camboard::initMethod(void)
{
    IntersectAction::registerEnterDefault(
        getClassType(),
        osgTypedMethodFunctor2BaseCPtrRef<Action::ResultE, CamboardPtr, CNodePtr, Action *>(
            &Camboard::intersectEnter));
    IntersectAction::registerLeaveDefault(
        getClassType(),
        osgTypedMethodFunctor2BaseCPtrRef<Action::ResultE, CamboardPtr, CNodePtr, Action *>(
            &Camboard::intersectLeave));
}

void Camboard::setCurrentViewMatrix(const Matrix &view)
{
    std::lock_guard<std::mutex> guard(sharedView().lock);
    sharedView().view = view;
}

const Matrix &Camboard::getCurrentViewMatrix(void)
{
    std::lock_guard<std::mutex> guard(sharedView().lock);
    tlView = sharedView().view;
    return tlView;
}

void Camboard::setCameraIsHmd(bool hmd)
{
    std::lock_guard<std::mutex> guard(sharedView().lock);
    sharedView().hmd = hmd;
}

bool Camboard::getCameraIsHmd(void)
{
    std::lock_guard<std::mutex> guard(sharedView().lock);
    return sharedView().hmd;
}

Real32 Camboard::calcScale(Real32 d) const
{
    const Real32 s = getScale(), lo = getMinDistance(), hi = getMaxDistance();
    if(d <= lo)
        return d * s;
    if(d <= hi)
        return lo * s;
    return d * s * lo / hi;
}

bool Camboard::calcHmdRotation(const Matrix &camera, const Pnt3f &p, Matrix &rotation) const
{
    Vec3f z(camera[3][0] - p[0], camera[3][1] - p[1], camera[3][2] - p[2]);
    if(z.length() <= 0.f)
        return false;
    z.normalize();
    const Vec3f camUp(camera[1][0], camera[1][1], camera[1][2]);
    Vec3f x = camUp.cross(z);
    if(x.length() < 1e-6f)
        return false;
    x.normalize();
    const Vec3f y = z.cross(x);
    rotation.setIdentity();
    rotation.setValue(x, y, z);
    return true;
}

void Camboard::calcCamMatrix(const Matrix &camera, const Matrix &toWorld, Matrix &result)
{
    if(_customCalc && *_customCalc && (*_customCalc)(camera, toWorld, result))
    {
        _currentMatrix = result;
        return;
    }

    const Vec3f &off = getOffset();
    const Pnt3f  p(toWorld[3][0] + off[0], toWorld[3][1] + off[1], toWorld[3][2] + off[2]);
    const Vec3f  dv(camera[3][0] - p[0], camera[3][1] - p[1], camera[3][2] - p[2]);
    const Real32 s = calcScale(dv.length());

    // The camera's rotation: its upper 3x3, without scale.
    Matrix rot;
    bool   faced = getCameraIsHmd() && calcHmdRotation(camera, p, rot);
    if(!faced)
    {
        rot.setIdentity();
        for(UInt32 c = 0; c < 3; ++c)
        {
            Vec3f axis(camera[c][0], camera[c][1], camera[c][2]);
            axis.normalize();
            rot[c][0] = axis[0];
            rot[c][1] = axis[1];
            rot[c][2] = axis[2];
        }
    }

    // W = T(p) R S(s) T(-centre)
    Matrix w = rot;
    Matrix sc;
    sc.setScale(s);
    w.mult(sc);
    Matrix tc;
    tc.setTranslate(-_textCenter[0], -_textCenter[1], -_textCenter[2]);
    w.mult(tc);
    Matrix tp;
    tp.setTranslate(p[0], p[1], p[2]);
    w.multLeft(tp);

    // Into the core's space, toWorld taken as a rigid motion: R^T (W - t).
    Matrix inv;
    for(UInt32 c = 0; c < 3; ++c)
    {
        Vec3f axis(toWorld[c][0], toWorld[c][1], toWorld[c][2]);
        axis.normalize();
        for(UInt32 r = 0; r < 3; ++r)
            inv[r][c] = axis[r];
    }
    const Vec3f t(toWorld[3][0], toWorld[3][1], toWorld[3][2]);
    Vec3f it;
    inv.multMatrixVec(t, it);
    inv.setTranslate(-it[0], -it[1], -it[2]);
    result = w;
    result.multLeft(inv);
    _currentMatrix = result;
}

void Camboard::calcMatrix(const Matrix &toWorld, Matrix &result)
{
    Matrix camera = getCurrentViewMatrix();
    camera.invert();
    calcCamMatrix(camera, toWorld, result);
}

void Camboard::accumulateMatrix(Matrix &result)
{
    result.mult(_currentMatrix);
}

void Camboard::adjustVolume(Volume &volume)
{
    volume.transform(_currentMatrix);
}

Action::ResultE Camboard::intersectEnter(Action *action)
{
    IntersectAction *ia = dynamic_cast<IntersectAction *>(action);
    if(ia == NULL)
        return Action::Continue;
    Matrix inv;
    Frame  frame{ ia->getLine(), 0.f };
    Pnt3f  pos = frame.line.getPosition();
    Vec3f  dir = frame.line.getDirection();
    Real32 len = 0.f;
    if(_currentMatrix.inverse(inv))
    {
        inv.multFullMatrixPnt(frame.line.getPosition(), pos);
        inv.multMatrixVec(frame.line.getDirection(), dir);
        len = dir.length();
    }
    // A collapsed board (scale 0) has nothing to hit; the line stays as it was.
    if(len <= 0.f)
    {
        _frames.push_back(frame);
        return Action::Continue;
    }
    frame.scale = len;
    _frames.push_back(frame);
    ia->setLine(Line(pos, dir), ia->getMaxDist());
    ia->scale(len);
    return Action::Continue;
}

Action::ResultE Camboard::intersectLeave(Action *action)
{
    IntersectAction *ia = dynamic_cast<IntersectAction *>(action);
    if(ia == NULL || _frames.empty())
        return Action::Continue;
    const Frame frame = _frames.back();
    _frames.pop_back();
    if(frame.scale > 0.f)
    {
        // The hit found so far and the maximum distance back into the outer line's units.
        ia->setLine(frame.line, ia->getMaxDist());
        ia->scale(1.f / frame.scale);
    }
    return Action::Continue;
}

} // namespace osg
