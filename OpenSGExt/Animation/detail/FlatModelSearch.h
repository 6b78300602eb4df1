#ifndef SKOSG_ANIMATION_DETAIL_FLATMODELSEARCH_H
#define SKOSG_ANIMATION_DETAIL_FLATMODELSEARCH_H

#include <OpenSGExt/OSGAnimationAttachment.h>

#include <set>

namespace osg {
namespace flat {

/*! Inserts every curve and block reachable from start (an AnimationAttachment, clip, track or
    block) into the sets. Each container is visited once and the walk keeps its own stack, so a
    cycle ends at the repeat and depth costs no stack. The sets order by pointer, so the result
    does not depend on the order of the walk. A block is listed when a list that holds it is
    walked (start itself is not listed). */
void collectReferenced(const FieldContainerPtr &start, std::set<AnimationCurvePtr> &curves,
                       std::set<AnimationBlockPtr> &blocks);

} // namespace flat
} // namespace osg

#endif
