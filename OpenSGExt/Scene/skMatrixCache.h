#ifndef SK_OPENSGEXT_SKMATRIXCACHE_H
#define SK_OPENSGEXT_SKMATRIXCACHE_H

#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGNode.h>

#include <cstddef>
#include <vector>

/*! Node-to-world matrices, each computed once and kept by the node's container id until clear().

    A miss computes the parent's matrix by the same lookup, so every ancestor on the way up is
    cached as well, then lets the node's core accumulate its transformation (cores without one
    leave the matrix as it is); a root starts from the identity. The result equals
    Node::getToWorld at the time of the computation.

    The cache never notices scene changes (edited transforms, moved or destroyed nodes): its
    owner clears it, or makes a new one, for each update. It takes no references and is not
    thread-safe; use one cache per thread.

    The hash map is open-addressed (ids in a probe table, matrices in one array), so that a
    cache filled and cleared once per update allocates nothing after its first fill. */
class skMatrixCache
{
  public:
    skMatrixCache(void) = default;

    /*! Forgets every matrix; the memory is kept for the next fill. */
    void clear(void);

    /*! The node's to-world matrix; the identity for a null node. */
    osg::Matrix getToWorld(const osg::NodePtr &node);
    /*! As above into out; a null node leaves out unchanged. */
    void getToWorld(const osg::NodePtr &node, osg::Matrix &out);

    /*! Number of cached nodes. */
    std::size_t size(void) const { return _matrices.size(); }
    /*! Whether the node's matrix is cached. */
    bool contains(const osg::NodePtr &node) const;

  private:
    struct Slot
    {
        osg::UInt32 id;
        osg::UInt32 index;   // into _matrices; Empty for a free slot
    };
    static constexpr osg::UInt32 Empty = 0xFFFFFFFFu;

    const osg::Matrix *find  (osg::UInt32 id) const;
    void               insert(osg::UInt32 id, const osg::Matrix &m);
    void               grow  (void);

    std::vector<Slot>         _slots;      // power-of-two size, at most half full
    std::vector<osg::Matrix>  _matrices;
    std::vector<osg::NodePtr> _chain;      // scratch: the uncached nodes of a miss
};

#endif
