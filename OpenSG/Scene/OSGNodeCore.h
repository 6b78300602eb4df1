#ifndef _OSGNODECORE_H_
#define _OSGNODECORE_H_

#include <OpenSG/OSGNodeCoreBase.h>
#include <OpenSG/OSGMatrix.h>

namespace osg {

class Volume;

/*! The content of a node. A core may be shared by several nodes; it knows them as its parents
    (not referenced: the nodes own the core). */
class NodeCore : public NodeCoreBase
{
  public:
    typedef NodeCoreBase Inherited;

    /*! Applies this core's transformation to a matrix (post-multiplied); cores without one
        leave it unchanged. */
    virtual void accumulateMatrix(Matrix &result);

    /*! Invalidates the bounding volume of every node using this core. */
    virtual void invalidateVolume(void);

  protected:
    friend class FieldContainer;
    friend class NodeCoreBase;
    friend class Node;

    NodeCore(void);
    NodeCore(const NodeCore &source);
    ~NodeCore(void) override;

    void addParent(const NodePtr &parent);
    void subParent(const NodePtr &parent);

    /*! Adjusts the union of the children's volumes by this core's own extent or transform. */
    virtual void adjustVolume(Volume &volume);
};

} // namespace osg

#endif
