// Helpers for the animation tests: curve and node construction, recorded edits and a de
// Casteljau reference evaluator.
#ifndef SKOSG_TESTS_ANIMATION_ANIMTESTSUPPORT_H
#define SKOSG_TESTS_ANIMATION_ANIMTESTSUPPORT_H

#include <OpenSGExt/OSGAnimCurve.h>
#include <OpenSGExt/OSGAnimNode.h>

#include <OpenSG/OSGRefPtr.h>
#include <OpenSG/OSGChangeList.h>

#include <array>
#include <vector>

namespace animtest {

using namespace osg;

inline std::vector<CCPnt> keysAt(const std::vector<std::array<double, 2>> &pts, UInt32 inType,
                                 UInt32 outType)
{
    std::vector<CCPnt> keys;
    for(const auto &p : pts)
        keys.push_back(CCPnt(Pnt2f(Real32(p[0]), Real32(p[1])), Vec2f(0.f, 0.f), Vec2f(0.f, 0.f),
                             inType, outType));
    return keys;
}

struct XY
{
    double x, y;
};

// Point of the cubic Bezier segment from key a to key b at parameter u, by repeated linear
// interpolation (de Casteljau), independent of any polynomial form.
inline XY deCasteljau(const CCPnt &a, const CCPnt &b, double u)
{
    XY p[4] = { { a.point[0], a.point[1] },
                { double(a.point[0]) + a.outTangent[0], double(a.point[1]) + a.outTangent[1] },
                { double(b.point[0]) + b.inTangent[0], double(b.point[1]) + b.inTangent[1] },
                { b.point[0], b.point[1] } };
    for(int level = 3; level > 0; --level)
        for(int i = 0; i < level; ++i)
            p[i] = XY{ p[i].x + (p[i + 1].x - p[i].x) * u, p[i].y + (p[i + 1].y - p[i].y) * u };
    return p[0];
}

inline void clearChanges(void)
{
    Thread::getCurrentChangeList()->clearAll();
}

inline AnimNodePtr animNode(const NodeCorePtr &core, Vec2f offset = Vec2f(0.f, 0.f),
                            Real32 scale = 1.f, bool hidden = false)
{
    AnimNodePtr n = AnimNode::create();
    beginEditCP(n);
    n->setCore(core);
    n->setOffset(offset);
    n->setScale(scale);
    n->setHidden(hidden);
    endEditCP(n);
    return n;
}

// Recorded edits, as a host application makes them.
inline void add(const NodePtr &parent, const NodePtr &child)
{
    beginEditCP(parent, Node::ChildrenFieldMask);
    parent->addChild(child);
    endEditCP(parent, Node::ChildrenFieldMask);
}

inline void setCore(const NodePtr &node, const NodeCorePtr &core)
{
    beginEditCP(node, Node::CoreFieldMask);
    node->setCore(core);
    endEditCP(node, Node::CoreFieldMask);
}

} // namespace animtest

#endif
