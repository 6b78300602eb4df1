#ifndef SK_OPENSGEXT_NODEUTILS_H
#define SK_OPENSGEXT_NODEUTILS_H

#include <OpenSG/OSGNode.h>

#include <string>

/*! Naming and flagging of scene-graph nodes. Every change goes through the edit protocol, so it
    is recorded in the current thread's change list and reaches the containers' changed(). Null
    nodes are reported and change nothing. */
class NodeUtils
{
  public:
    /*! Flag bit of a node that is not part of the scene graph (a helper the host keeps aside). */
    static constexpr osg::UInt32 NotInSceneGraphFlag = 0x1000;

    /*! The text of the node's Name attachment; without one, that of its core's Name attachment,
        else the core's type name. NULL for a null node and for a node without name and core.
        The text lives as long as the attachment (or the type) it comes from. */
    static const char *getName(const osg::NodePtr &node);

    /*! Sets the text of the node's Name attachment, creating and attaching one when the node has
        none (an edit of the node's attachments), and its encoding: 1 when flag is true, else 0.
        Text and encoding are one edit of the Name. A null name is reported and ignored. */
    static void setName(const osg::NodePtr &node, const char *name, bool flag);

    /*! A new node with the core, appended to parent's children (when parent is not null) and
        named name (setName with flag false; an empty name too gives a Name attachment). The
        core's and the node's edits and the parent's children edit are recorded. With a parent,
        the parent holds the node's reference; without one the caller owns the node (count 0).
        A null core is reported and gives NullFC. */
    static osg::NodePtr createNodeWithCore(const osg::NodeCorePtr &core,
                                           const osg::NodePtr     &parent,
                                           const std::string      &name);

    /*! Whether ancestor is found walking up from node's parent (node itself does not count);
        false when either is null. */
    static bool hasParent(const osg::NodePtr &node, const osg::NodePtr &ancestor);

    /*! Whether the node belongs to the host's scene: not null, without NotInSceneGraphFlag, and
        either the scene data's root or below it. False when the host has no root. */
    static bool isScenegraphNode(const osg::NodePtr &node);

    /*! Sets (on) or clears the bits of flag on the node and every node below it, parents before
        their children, children in order. Only nodes whose flags actually change are edited
        (and recorded); the others are still descended into. */
    static void setNodeFlag(const osg::NodePtr &node, osg::UInt32 flag, bool on);

  private:
    NodeUtils(void);
};

#endif
