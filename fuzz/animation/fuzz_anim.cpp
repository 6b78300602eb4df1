// libFuzzer target: loads animation records the way a scene loader does (copyFromBin, then the
// loader's origin so pointers take their references) and runs the curve operations, the time
// edits, clones, volumes and the searches on what was loaded. Pointer fields may name any live
// container, so loaded trees and clip graphs can hold cycles.
//
// Input: byte 0 picks the type, bytes 1-4 (big-endian) the fields (bit i = field id i + 1),
// byte 5 bit 0 the 64-bit count mode, the rest is the record.

#include <OpenSGExt/OSGAnimAttachment.h>
#include <OpenSGExt/OSGAnimCurve.h>
#include <OpenSGExt/OSGAnimationAttachment.h>
#include <OpenSGExt/OSGAnimBlock.h>
#include <OpenSGExt/skOpenSGExt.h>

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGLog.h>

#include <set>
#include <vector>

using namespace osg;

namespace {

struct Setup
{
    std::vector<const FieldContainerType *> types;
};

Setup &setup()
{
    static Setup s = [] {
        skOpenSGExt::init();
        osgInit(0, nullptr);
        osgLog().setLogType(LOG_NONE, true);
        Setup r;
        for(const FieldContainerType *t :
            { &AnimCurve::getClassType(), &AnimNode::getClassType(), &AnimAttachment::getClassType(),
              &AnimationAttachment::getClassType(), &AnimationClip::getClassType(),
              &AnimationTrack::getClassType(), &AnimationBlock::getClassType(),
              &AnimationCurve::getClassType(), &AnimBlock::getClassType() })
            r.types.push_back(t);
        // Live targets that loaded ids may name (ids 1.. are the prototypes and these).
        AnimNodePtr root = AnimNode::create();
        AnimNodePtr leaf = AnimNode::create();
        AnimCurvePtr c   = AnimCurve::create();
        c->addPointSimple(Pnt2f(0.f, 1.f));
        c->addPointSimple(Pnt2f(2.f, 3.f));
        leaf->setCore(c);
        root->setCore(Group::create());
        root->addChild(leaf);
        addRefCP(root);
        AnimationClipPtr clip = AnimationClip::create();
        clip->addBlock(AnimationBlock::create());
        addRefCP(clip);
        return r;
    }();
    return s;
}

void exercise(const FieldContainerPtr &fc)
{
    if(AnimCurvePtr c = AnimCurvePtr::dcast(fc))
    {
        c->verify(true, true, true);
        c->computeIntangent(1, 5);
        c->computeOuttangent(0, -1);
        DynamicVolume v;
        c->adjustVolume(v);
        c->clearConstantControlPoints();
    }
    if(AnimNodePtr n = AnimNodePtr::dcast(fc))
    {
        n->moveBy(1.f, -1.f);
        n->scaleBy(0.5f, 2.f);
        n->updateAccumulatedParentScale();
        n->flip();
        Pnt3f lo, hi;
        n->getBounds(lo, hi);
        AnimNodePtr c = cloneAnimTree(n, false);
        addRefCP(c);
        subRefCP(c);
        AnimNodePtr d = deepCloneAnimTree(n, "AnimCurve");
        addRefCP(d);
        subRefCP(d);
        n->unshareTree("");
    }
    if(AnimAttachmentPtr a = AnimAttachmentPtr::dcast(fc))
    {
        std::vector<AnimNodePtr> out;
        a->getTopLevelAnimations(out, true);
        a->getTopLevelCurveNodes(out);
        a->getTopLevelBlockNodes(out);
        a->hasVertexAnimation();
        AnimAttachmentPtr other = AnimAttachment::create();
        addRefCP(other);
        a->transferAnimationsTo(other);
        subRefCP(other);
    }
    std::set<AnimationCurvePtr> curves;
    std::set<AnimationBlockPtr> blocks;
    if(AnimationAttachmentPtr a = AnimationAttachmentPtr::dcast(fc))
        a->getReferencedCurvesAndBlocks(curves, blocks);
    if(AnimationClipPtr c = AnimationClipPtr::dcast(fc))
        c->getReferencedCurvesAndBlocks(curves, blocks);
    if(AnimationTrackPtr t = AnimationTrackPtr::dcast(fc))
        t->getReferencedCurvesAndBlocks(curves, blocks);
    if(AnimationBlockPtr b = AnimationBlockPtr::dcast(fc))
        b->getReferencedCurvesAndBlocks(curves, blocks);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Setup &s = setup();
    if(size < 6)
        return 0;
    const FieldContainerType *type = s.types[data[0] % s.types.size()];
    UInt32 bits = UInt32(data[1]) << 24 | UInt32(data[2]) << 16 | UInt32(data[3]) << 8 | data[4];
    osgSetUseOSB64(data[5] & 1);
    BitVector mask;
    for(UInt32 i = 0; i < 32; ++i)
        if(bits & (1u << i))
            mask |= TypeTraits<BitVector>::One << (i + 1);

    FieldContainerPtr fc = type->createFieldContainer();
    if(fc == NullFC)
        return 0;
    addRefCP(fc);
    MemoryBinaryDataHandler in(data + 6, size - 6);
    const UInt32 origin = ChangedOrigin::Abstract | ChangedOrigin::AbstrIncRefCount;
    beginEditCP(fc, mask, origin);
    fc->copyFromBin(in, mask);
    endEditCP(fc, mask, origin);
    if(!in.isFailed())
        exercise(fc);
    subRefCP(fc);
    osgSetUseOSB64(false);
    Thread::getCurrentChangeList()->clearAll();
    return 0;
}
