// The flat curve/block/clip/track model: reference counts balance through add, set, clear, load,
// copy and destruction; the searches list shared blocks once, skip what is not a clip, and stop
// at cycles and deep chains that only files can produce.

#include "animation/AnimTestSupport.h"

#include <OpenSGExt/OSGAnimationAttachment.h>

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

using namespace osg;
using namespace animtest;

namespace {

template <class PtrT>
PtrT held(PtrT p)
{
    addRefCP(p);   // the test's own reference, released by the test
    return p;
}

} // namespace

TEST(FlatModel, ReferenceCountsBalance)
{
    AnimationAttachmentPtr att   = held(AnimationAttachment::create());
    AnimationCurvePtr      c     = held(AnimationCurve::create());
    AnimationCurvePtr      c2    = held(AnimationCurve::create());
    AnimationBlockPtr      b     = held(AnimationBlock::create());
    AnimationClipPtr       k     = held(AnimationClip::create());
    AnimationControlPointPtr cp  = held(AnimationControlPoint::create());
    NodePtr                n1    = held(Node::create());
    NodePtr                n2    = held(Node::create());

    clearChanges();
    att->addCurve(c);
    att->addCurve(NullFC);
    att->addBlock(b);
    att->addClip(k);
    k->addBlock(b);
    b->addCurve(c2);
    c2->addCurvePoint(cp);
    EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 0u);   // adds report nothing
    EXPECT_EQ(att->getCurves().size(), 1u);
    EXPECT_EQ(getRefCount(c), 2);
    EXPECT_EQ(getRefCount(b), 3);
    EXPECT_EQ(getRefCount(cp), 2);

    c->setAppropriateNode(n1);
    c->setAppropriateNode(n1);
    EXPECT_EQ(getRefCount(n1), 2);
    c->setAppropriateNode(n2);
    EXPECT_EQ(getRefCount(n1), 1);
    EXPECT_EQ(getRefCount(n2), 2);
    c->setAFAppNodeNoRefCount(n1);
    EXPECT_EQ(getRefCount(n1), 1);
    c->setAFAppNodeNoRefCount(NullFC);
    b->setAppropriateNode(n1);
    EXPECT_EQ(getRefCount(n1), 2);

    // A copy references what it copied; destroying it gives the references back.
    AnimationAttachmentPtr copy = held(AnimationAttachmentPtr::dcast(att->shallowCopy()));
    EXPECT_EQ(getRefCount(b), 4);
    subRefCP(copy);
    EXPECT_EQ(getRefCount(b), 3);

    // Loading takes the references that reading skipped.
    MemoryBinaryDataHandler out;
    const BitVector lists = AnimationAttachment::CurvesFieldMask |
                            AnimationAttachment::ClipsFieldMask |
                            AnimationAttachment::BlocksFieldMask;
    att->copyToBin(out, lists);
    out.rewind();
    AnimationAttachmentPtr loaded = held(AnimationAttachment::create());
    const UInt32 origin = ChangedOrigin::Abstract | ChangedOrigin::AbstrIncRefCount;
    beginEditCP(loaded, lists, origin);
    loaded->copyFromBin(out, lists);
    endEditCP(loaded, lists, origin);
    EXPECT_EQ(getRefCount(c), 3);
    EXPECT_EQ(getRefCount(k), 3);
    loaded->clearClips();
    EXPECT_EQ(getRefCount(k), 2);
    EXPECT_TRUE(loaded->getClips().empty());
    EXPECT_EQ(loaded->getCurves().size(), 1u);
    subRefCP(loaded);
    EXPECT_EQ(getRefCount(c), 2);

    clearChanges();
    att->clear();
    EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 0u);
    EXPECT_EQ(getRefCount(c), 1);
    EXPECT_EQ(getRefCount(b), 2);
    att->clear();   // empty lists: nothing happens

    // Destruction releases every list and node pointer.
    subRefCP(k);   // its block reference goes with it
    EXPECT_EQ(getRefCount(b), 1);
    subRefCP(b);   // releases c2 and n1
    EXPECT_EQ(getRefCount(c2), 1);
    EXPECT_EQ(getRefCount(n1), 1);
    subRefCP(c);   // releases n2
    EXPECT_EQ(getRefCount(n2), 1);
    subRefCP(c2);
    EXPECT_EQ(getRefCount(cp), 1);
    for(FieldContainerPtr p : { FieldContainerPtr(cp), FieldContainerPtr(n1), FieldContainerPtr(n2),
                                FieldContainerPtr(att) })
        subRefCP(p);
}

TEST(FlatModel, ReferencedCurvesAndBlocks)
{
    AnimationAttachmentPtr att = held(AnimationAttachment::create());
    AnimationCurvePtr      top = AnimationCurve::create(), inBlock = AnimationCurve::create(),
                      inSeq = AnimationCurve::create(), inSub = AnimationCurve::create();
    AnimationBlockPtr shared = AnimationBlock::create(), seq = AnimationBlock::create(),
                      subBlock = AnimationBlock::create();
    AnimationClipPtr  clip = AnimationClip::create(), sub = AnimationClip::create();
    AnimationTrackPtr track = AnimationTrack::create();
    shared->addCurve(inBlock);
    seq->addCurve(inSeq);
    subBlock->addCurve(inSub);
    sub->addBlock(subBlock);
    clip->addSubclip(sub);
    clip->addSubclip(AnimationCurve::create());   // not a clip: skipped
    clip->addTrack(track);
    clip->addBlock(shared);
    track->addSequence(seq);
    track->addClip(Group::create());               // not a clip: skipped
    att->addCurve(top);
    att->addClip(clip);
    att->addBlock(shared);

    std::set<AnimationCurvePtr> curves;
    std::set<AnimationBlockPtr> blocks;
    att->getReferencedCurvesAndBlocks(curves, blocks);
    EXPECT_EQ(curves, (std::set<AnimationCurvePtr>{ top, inBlock, inSeq, inSub }));
    EXPECT_EQ(blocks, (std::set<AnimationBlockPtr>{ shared, seq, subBlock }));

    curves.clear();
    blocks.clear();
    track->getReferencedCurvesAndBlocks(curves, blocks);
    EXPECT_EQ(curves, (std::set<AnimationCurvePtr>{ inSeq }));
    EXPECT_EQ(blocks, (std::set<AnimationBlockPtr>{ seq }));
    curves.clear();
    blocks.clear();
    shared->getReferencedCurvesAndBlocks(curves, blocks);
    EXPECT_EQ(curves, (std::set<AnimationCurvePtr>{ inBlock }));
    EXPECT_TRUE(blocks.empty());

    // A clip reaching itself (only a file can do that) ends the walk at the repeat.
    sub->addSubclip(clip);
    curves.clear();
    blocks.clear();
    sub->getReferencedCurvesAndBlocks(curves, blocks);
    EXPECT_EQ(curves.size(), 3u);
    sub->editMFSubclips()->clear();
    subRefCP(clip);
    subRefCP(att);
}

TEST(FlatModel, DeepClipChain)
{
    AnimationClipPtr first = held(AnimationClip::create());
    AnimationClipPtr last  = first;
    for(int i = 0; i < 100000; ++i)
    {
        AnimationClipPtr next = AnimationClip::create();
        last->addSubclip(next);
        last = next;
    }
    AnimationBlockPtr b = AnimationBlock::create();
    b->addCurve(AnimationCurve::create());
    last->addBlock(b);
    std::set<AnimationCurvePtr> curves;
    std::set<AnimationBlockPtr> blocks;
    first->getReferencedCurvesAndBlocks(curves, blocks);
    EXPECT_EQ(curves.size(), 1u);
    EXPECT_EQ(blocks.size(), 1u);
    subRefCP(first);
}
