#include <OpenSGExt/Animation/detail/FlatModelSearch.h>
#include <OpenSGExt/Animation/detail/VisitedIds.h>

#include <vector>

namespace osg {
namespace flat {

namespace {

class Walk
{
  public:
    Walk(std::set<AnimationCurvePtr> &curves, std::set<AnimationBlockPtr> &blocks)
        : _curves(curves), _blocks(blocks)
    {
    }

    void run(const FieldContainerPtr &start)
    {
        push(start);
        while(!_work.empty())
        {
            FieldContainerPtr fc = _work.back();
            _work.pop_back();
            visit(fc);
        }
    }

  private:
    void push(const FieldContainerPtr &fc)
    {
        if(fc != NullFC && _seen.insert(fc.getCPtr()))
            _work.push_back(fc);
    }

    void pushBlocks(const MFAnimationBlockPtr &list)
    {
        for(const AnimationBlockPtr &b : list)
        {
            if(b == NullFC)
                continue;
            _blocks.insert(b);
            push(b);
        }
    }

    void pushClips(const MFFieldContainerPtr &list)
    {
        for(const FieldContainerPtr &c : list)
        {
            if(AnimationClipPtr::dcast(c) != NullFC)
                push(c);
        }
    }

    void visit(const FieldContainerPtr &fc)
    {
        if(AnimationBlockPtr block = AnimationBlockPtr::dcast(fc))
        {
            for(const AnimationCurvePtr &c : block->getCurves())
            {
                if(c != NullFC)
                    _curves.insert(c);
            }
        }
        else if(AnimationClipPtr clip = AnimationClipPtr::dcast(fc))
        {
            pushClips(clip->getSubclips());
            for(const AnimationTrackPtr &t : clip->getTracks())
                push(t);
            pushBlocks(clip->getBlocks());
        }
        else if(AnimationTrackPtr track = AnimationTrackPtr::dcast(fc))
        {
            pushClips(track->getClips());
            pushBlocks(track->getSequences());
            pushBlocks(track->getBlocks());
        }
        else if(AnimationAttachmentPtr att = AnimationAttachmentPtr::dcast(fc))
        {
            for(const AnimationClipPtr &c : att->getClips())
                push(c);
            for(const AnimationCurvePtr &c : att->getCurves())
            {
                if(c != NullFC)
                    _curves.insert(c);
            }
            pushBlocks(att->getBlocks());
        }
    }

    std::set<AnimationCurvePtr>          &_curves;
    std::set<AnimationBlockPtr>          &_blocks;
    anim::VisitedIds                      _seen;
    std::vector<FieldContainerPtr>        _work;
};

} // namespace

void collectReferenced(const FieldContainerPtr &start, std::set<AnimationCurvePtr> &curves,
                       std::set<AnimationBlockPtr> &blocks)
{
    Walk walk(curves, blocks);
    walk.run(start);
}

} // namespace flat
} // namespace osg
