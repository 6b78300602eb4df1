// Demo section "animation": curves on a node's AnimAttachment (one hidden), cloned, deep-cloned,
// moved, scaled and flipped; a finished-animation callback registered once; a transfer to another
// attachment; the flat model with a block shared by a clip; an SVG of the curves.

#include "Command.h"
#include "CurveSketch.h"

#include <OpenSGExt/OSGAnimAttachment.h>
#include <OpenSGExt/OSGAnimCurve.h>
#include <OpenSGExt/OSGAnimationAttachment.h>
#include <OpenSGExt/NodeUtils.h>

#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>

#include <fstream>
#include <memory>
#include <ostream>

namespace osgext {

namespace {

using namespace osg;

AnimNodePtr curveNode(const char *name, std::initializer_list<std::array<float, 2>> keys,
                      UInt32 type, bool hidden)
{
    AnimCurvePtr curve = AnimCurve::create();
    beginEditCP(curve);
    curve->setName(name);
    curve->setChannelName(name);
    for(const auto &k : keys)
        curve->addPoint(Pnt2f(k[0], k[1]), Vec2f(0.f, 0.f), Vec2f(0.f, 0.f), type, type, true, true);
    endEditCP(curve);
    AnimNodePtr node = AnimNode::create();
    beginEditCP(node);
    node->setCore(curve);
    node->setHidden(hidden);
    endEditCP(node);
    NodeUtils::setName(node, name, false);
    return node;
}

bool runAnimationDemo(DemoContext &ctx)
{
    bool ok = true;

    // A scene node with its animations.
    NodePtr scene = Node::create();
    addRefCP(scene);
    beginEditCP(scene, Node::CoreFieldMask);
    scene->setCore(Group::create());
    endEditCP(scene, Node::CoreFieldMask);
    AnimAttachmentPtr anims = AnimAttachment::create();
    beginEditCP(scene, Node::AttachmentsFieldMask);
    scene->addAttachment(anims);
    endEditCP(scene, Node::AttachmentsFieldMask);

    AnimNodePtr posX = curveNode("position.x", { { 0, 0 }, { 1, 2 }, { 3, 1 }, { 4, 1.5f } }, 3, false);
    AnimNodePtr glow = curveNode("intensity", { { 0, 1 }, { 2, 0.2f }, { 4, 1 } }, 2, true);
    anims->addAnimation(posX);
    anims->addAnimation(glow);
    std::vector<AnimNodePtr> visible, all, curves;
    anims->getTopLevelAnimations(visible, false);
    anims->getTopLevelAnimations(all, true);
    anims->getTopLevelCurveNodes(curves);
    ctx.out << "  anim tree: " << all.size() << " top-level animations (" << all.size() - visible.size()
            << " hidden), " << curves.size() << " curve nodes\n";
    ok = ok && all.size() == 2 && visible.size() == 1 && curves.size() == 2;

    // Clones: the plain clone shares the cores, the deep clone copies them.
    AnimNodePtr root  = anims->getAnimationRoot();
    AnimNodePtr clone = cloneAnimTree(root, false);
    AnimNodePtr deep  = deepCloneAnimTree(root, "");
    addRefCP(clone);
    addRefCP(deep);
    const bool shared = clone->getChild(0)->getCore() == posX->getCore();
    const bool copied = deep->getChild(0)->getCore() != posX->getCore() &&
                        AnimCurvePtr::dcast(deep->getChild(0)->getCore())->getControlPoints() ==
                            AnimCurvePtr::dcast(posX->getCore())->getControlPoints();
    ctx.out << "  clone: cores shared " << (shared ? "yes" : "no") << ", deep clone cores copied "
            << (copied ? "yes" : "no") << "\n";
    ok = ok && shared && copied;

    // Time edits on the clone: move, scale, flip.
    AnimNodePtr c0 = AnimNodePtr::dcast(clone->getChild(0));
    clone->moveBy(0.5f, 0.f);
    clone->scaleBy(2.f, 0.f);
    clone->flip();
    ctx.out << "  time edits: offset (" << c0->getOffset()[0] << ", " << c0->getOffset()[1]
            << ") scale " << c0->getScale() << " after move, scale and flip\n";

    // A callback registered to fire once, finished twice.
    int  fired = 0;
    auto done  = std::make_shared<std::function<void()>>([&fired] { ++fired; });
    posX->registerFinishedAnimationCallback(done, true);
    posX->finishedAnimation();
    posX->finishedAnimation();
    ctx.out << "  callback: fired " << fired << " time(s) for 2 finishes\n";
    ok = ok && fired == 1;

    // Hand everything, the hidden curve too, to another attachment.
    AnimAttachmentPtr other = AnimAttachment::create();
    addRefCP(other);
    anims->transferAnimationsTo(other);
    std::vector<AnimNodePtr> moved;
    other->getTopLevelAnimations(moved, true);
    ctx.out << "  transfer: " << moved.size() << " animations moved, "
            << (anims->hasAnimations() ? "some" : "none") << " left\n";
    ok = ok && moved.size() == 2 && !anims->hasAnimations();

    // The flat model: a block used by the attachment and inside one of its clips.
    AnimationAttachmentPtr flat = AnimationAttachment::create();
    addRefCP(flat);
    AnimationBlockPtr block = AnimationBlock::create();
    block->setName("walk");
    block->addCurve(AnimationCurve::create());
    AnimationClipPtr clip = AnimationClip::create();
    clip->addBlock(block);
    flat->addBlock(block);
    flat->addClip(clip);
    flat->addCurve(AnimationCurve::create());
    std::set<AnimationCurvePtr> refCurves;
    std::set<AnimationBlockPtr> refBlocks;
    flat->getReferencedCurvesAndBlocks(refCurves, refBlocks);
    ctx.out << "  flat model: " << refCurves.size() << " curves and " << refBlocks.size()
            << " block referenced (block shared with a clip)\n";
    ok = ok && refCurves.size() == 2 && refBlocks.size() == 1;

    // The curves as a drawing.
    std::vector<SketchCurve> sketch;
    const char *colours[] = { "#1f5fbf", "#bf5f1f" };
    for(size_t i = 0; i < moved.size(); ++i)
    {
        AnimCurvePtr c = AnimCurvePtr::dcast(moved[i]->getCore());
        sketch.push_back(SketchCurve{ c->getName(), colours[i % 2],
                                      std::vector<CCPnt>(c->getControlPoints().begin(),
                                                         c->getControlPoints().end()) });
    }
    const std::filesystem::path svgPath = ctx.outDir / "animation-curves.svg";
    std::ofstream               svg(svgPath, std::ios::binary);
    writeCurveSvg(svg, sketch);
    svg.close();
    ctx.out << "  curves: SVG with " << sketch.size() << " curves in " << svgPath.string() << "\n";
    ok = ok && bool(svg);

    subRefCP(flat);
    subRefCP(other);
    subRefCP(deep);
    subRefCP(clone);
    subRefCP(scene);
    return ok;
}

} // namespace

OSGEXT_DEMO_SECTION(500, "animation", runAnimationDemo);

} // namespace osgext
