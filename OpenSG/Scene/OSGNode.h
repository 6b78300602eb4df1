#ifndef _OSGNODE_H_
#define _OSGNODE_H_

#include <OpenSG/OSGNodeBase.h>
#include <OpenSG/OSGNodeCore.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGRefPtr.h>

#include <string>
#include <vector>

namespace osg {

/*! A scene-graph node. A node references its core and its children; the parent pointer and the
    core's parent list are back-pointers without references. The operations below maintain both
    sides; like OpenSG's, they do not record the node's own fields as changed (wrap them in an edit
    of the fields concerned). */
class Node : public NodeBase
{
  public:
    typedef NodeBase Inherited;

    /*------------------------- core ---------------------------------------*/
    /*! References the new core, releases the old one, and invalidates the volume. */
    void setCore(const NodeCorePtr &core);

    /*------------------------- children -----------------------------------*/
    UInt32  getNChildren(void) const { return _mfChildren.size(); }
    /*! NullFC for an index out of range. */
    NodePtr getChild(UInt32 childIndex) const;

    /*! Appends a child; a child that has a parent (this node included) is moved. */
    void  addChild    (const NodePtr &childP);
    /*! Inserts before an index (clamped to the end). */
    void  insertChild (UInt32 childIndex, const NodePtr &childP);
    /*! Replaces the child at an index; false for an index out of range or a null child. */
    bool  replaceChild(UInt32 childIndex, const NodePtr &childP);
    /*! Replaces one child by another; false when the old one is not a child. */
    bool  replaceChildBy(const NodePtr &childP, const NodePtr &newChildP);
    Int32 findChild   (const NodePtr &childP) const;
    /*! Removes a child (warning when it is not one). */
    void  subChild    (const NodePtr &childP);
    void  subChild    (UInt32 childIndex);

    /*------------------------- traversal state ----------------------------*/
    bool getActive(void) const { return _sfTravMask.getValue() == 0xFFFFFFFFu; }
    void setActive(bool active);

    /*! Whether any bit of flag is set. */
    bool getFlag(UInt32 flag) const { return (_sfFlags.getValue() & flag) != 0; }
    /*! Sets (on) or clears the bits of flag; true if the flags changed. Not recorded (wrap it in
        an edit of FlagsFieldMask). */
    bool setFlag(UInt32 flag, bool on);

    /*------------------------- copies -------------------------------------*/
    /*! A new node sharing this node's core, with its travMask, occlusion mask and flags; no
        children, no attachments. */
    NodePtr clone(void);

    /*------------------------- transformation -----------------------------*/
    /*! The parent's to-world matrix (identity at a root) with this node's core applied. */
    Matrix getToWorld(void);
    void   getToWorld(Matrix &result);

    /*------------------------- volume -------------------------------------*/
    using NodeBase::getVolume;
    const DynamicVolume &getVolume(bool update);
    DynamicVolume       &editVolume(bool update);
    /*! Recomputes an invalid volume from the children and the core. */
    void updateVolume(void);
    /*! Marks this volume and those above it invalid. */
    void invalidateVolume(void);
    /*! The updated volume in world coordinates (transformed by the parent's to-world). */
    void getWorldVolume(DynamicVolume &result);

    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class NodeBase;

    Node(void);
    Node(const Node &source);
    ~Node(void) override;

    /*! A copy shares its source's core and attachments (children are not copied). */
    void onCreate(const Node *source = NULL);
    void onDestroy(void) override;

  private:
    void detachFromParent(const NodePtr &childP);
};

/*! Copies the node structure with each node's travMask; the cores are shared, attachments are
    not copied. */
NodePtr cloneTree(const NodePtr &rootNode);

/*! A deep copy of a container: a new container of the same type with the values of all fields
    that are not internal, and, in place of every container it points to, a deep copy of that
    one, unless the pointee's type is or derives from one of shareTypes (type names), in which
    case the copy points to the original. A container reached twice is copied once, so shared
    structure and cycles are kept. Back-pointers (internal fields such as a node's parent) are
    not followed; the copies take their references as a loaded scene does (the edit that ends
    each copy has the origin Abstract|AbstrIncRefCount), and each copy's edit is recorded.
    NullFC for a null source. */
FieldContainerPtr deepClone(const FieldContainerPtr        &src,
                            const std::vector<std::string> &shareTypes = std::vector<std::string>());
/*! shareTypes as a list of names separated by commas or blanks. */
FieldContainerPtr deepClone(const FieldContainerPtr &src, const std::string &shareTypes);

/*! deepClone of a subtree: nodes, cores, attachments and whatever they point to are copied,
    except containers of the shared types. The copy has no parent. */
NodePtr deepCloneTree(const NodePtr                  &src,
                      const std::vector<std::string> &shareTypes = std::vector<std::string>());
NodePtr deepCloneTree(const NodePtr &src, const std::string &shareTypes);

/*! Adds deep copies of src's attachments (or the attachments themselves, for the shared types)
    to dst under the same bindings, replacing what dst holds under those keys. Recorded as an edit
    of dst's attachments. */
void deepCloneAttachments(const AttachmentContainerPtr   &src,
                          const AttachmentContainerPtr   &dst,
                          const std::vector<std::string> &shareTypes = std::vector<std::string>());

/*! A node pointer that holds a reference (see RefPtr). */
typedef RefPtr<NodePtr> NodeRefPtr;

} // namespace osg

#endif
