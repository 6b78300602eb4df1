#ifndef _OSGANIMNODE_H_
#define _OSGANIMNODE_H_

#include <OpenSGExt/OSGAnimNodeBase.h>
#include <OpenSG/OSGDynamicVolume.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace osg {

/*! A node of the animation tree. It carries the timing state of one animation; its core is an
    AnimObject (a curve, block, clip, sequence or shot) that may be shared with other tree nodes.

    Trees come from files too, so every walk over a tree here (clone, unshare, time edits,
    volumes) is iterative and visits a node once: a cycle stops at the repeat, a node listed
    under several parents is taken under the first in depth-first order, and a chain of any
    depth costs no stack. Clone, unshare and the time edits work on the nodes below when they
    start: changed callbacks they trigger must not destroy nodes of the tree.

    Finished-animation callbacks: registration keeps only a weak reference (the caller owns the
    callable). finishedAnimation calls the entries registered when it starts, in order; entries
    whose callable is gone are dropped, call-once entries are dropped as they are called, and a
    callback may register or unregister callbacks (also its own) while the list is walked:
    newly registered ones wait for the next call, unregistered ones are not called. An empty
    callable raises std::bad_function_call, which finishedAnimation lets through (the entries
    stay consistent); any other exception from a callback is logged and the walk goes on. A
    callback must not destroy the node it is called from. The list is not a field: it is not
    copied, serialised or synchronised.

    Time edits report each change (the edit is recorded and changed() runs unless changes are
    ignored). Non-finite arguments are refused with a warning. */
class AnimNode : public AnimNodeBase
{
  public:
    typedef AnimNodeBase                         Inherited;
    typedef std::function<void()>                Callback;
    typedef std::shared_ptr<Callback>            CallbackPtr;

    /*------------------------- callbacks ----------------------------------*/
    void registerFinishedAnimationCallback  (const CallbackPtr &cb, bool once);
    void unregisterFinishedAnimationCallback(const CallbackPtr &cb);
    void unregisterFinishedAnimationCallbacks(void);
    void unregisterSingleCallFinishedAnimationCallbacks(void);
    void unregisterAllCallbacks(void);
    void finishedAnimation(void);
    /*! Number of entries (live or not) in the finished-animation list. */
    UInt32 getNumFinishedAnimationCallbacks(void) const;

    /*------------------------- sharing ------------------------------------*/
    /*! Gives this node a core of its own (see the private unshare) keeping containers of the
        types named in shareTypes (separated by white space) shared. */
    void unshare    (const std::string &shareTypes);
    /*! unshare on this node and every AnimNode below it, parents before children. */
    void unshareTree(const std::string &shareTypes);

    /*------------------------- time edits ---------------------------------*/
    /*! offset += (dt, dv), then the same for every AnimNode below, each before its children. */
    void moveBy         (Real32 dt, Real32 dv);
    void pushOffsetDelta(Real32 dt, Real32 dv);
    /*! For VertexAnimCurves and TimeShapeCache cores: scale *= s, offset.x scaled about pivot;
        for any other core: scale = s. Then pushScale. */
    void scaleBy  (Real32 s, Real32 pivot);
    /*! Every AnimNode below: scale *= s, offset.x scaled about pivot; descendants first. */
    void pushScale(Real32 s, Real32 pivot);
    /*! Mirrors the animation in time within its world bounds, spread over postCycles + 1
        cycles; nothing without keys or with postCycles below 0. */
    void flip    (void);
    void pushFlip(Real32 pivot);
    /*! Each AnimNode child's accumulatedParentScale = ours * our scale, recursively. The
        argument is not used. */
    void updateAccumulatedParentScale(Real32 unused = 0.f);

    /*------------------------- volume -------------------------------------*/
    /*! Recomputes the invalid volumes of this subtree: each node's volume is the union of its
        children's and its core's own extent (curves: their keys in the x-z plane; other
        AnimObjects and groups: none). Iterative; cycles stop at the repeat. */
    void updateVolume(void);
    /*! The updated volume transformed by the parent's to-world matrix. */
    void getWorldVolume(DynamicVolume &result);
    /*! The bounds of the world volume; false (and both points zero) when it is empty. */
    bool getBounds(Pnt3f &lo, Pnt3f &hi);

    void changed(BitVector whichField, UInt32 origin) override;
    void dump(UInt32 uiIndent = 0, const BitVector bvFlags = BitVector(0)) const override;

  protected:
    friend class FieldContainer;
    friend class AnimNodeBase;

    AnimNode(void);
    /*! The callback list is not copied. */
    AnimNode(const AnimNode &source);
    ~AnimNode(void) override;

    /*! Releases the callback lists. */
    void onDestroy(void) override;

  private:
    struct CallbackEntry
    {
        std::weak_ptr<Callback> callback;
        bool                    once;
    };
    typedef std::vector<CallbackEntry>     CallbackList;
    typedef std::vector<CallbackList>      CallbackLists;

    /*! Replaces a shared core (one with more than one parent node) by a deep copy that keeps
        the listed types shared, and each attachment shared with another container by a deep
        copy under the same key. Cores and attachments of the listed types stay shared. */
    void unshare(const std::vector<std::string> &shareTypes);

    /*! Marks this volume and the valid ones above it invalid, without recursion. */
    void invalidateUpwards(void);

    std::unique_ptr<CallbackLists> _callbacks;
};

/*! A copy of the tree under root that shares its cores: new AnimNodes (also for plain nodes)
    with root's attachments (withAttachments) or only its name, its traversal mask and these
    fields of an AnimNode source: offset, accumulatedParentOffset, scale, accumulatedParentScale,
    postCycles, flipped, locked, hidden. Descendants always get all their attachments. NullFC
    for a null root. */
AnimNodePtr cloneAnimTree(const NodePtr &root, bool withAttachments);

/*! As cloneAnimTree(root, true) but each core and attachment is a deep copy (OpenSG's deepClone)
    unless its type is or derives from one of shareTypes (names separated by white space or
    commas). A core shared by several nodes of the tree is copied once and shared by the copies. */
AnimNodePtr deepCloneAnimTree(const AnimNodePtr &root, const std::string &shareTypes);
AnimNodePtr deepCloneAnimTree(const AnimNodePtr &root, const std::vector<std::string> &shareTypes);

} // namespace osg

#endif
