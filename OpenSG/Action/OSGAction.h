#ifndef _OSGACTION_H_
#define _OSGACTION_H_

#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGNodeCore.h>

#include <functional>
#include <unordered_map>
#include <vector>

namespace osg {

class FieldContainerType;

/*! The core pointer handed to action functors. */
typedef NodeCorePtr CNodePtr;

/*! A traversal of a scene graph that calls, for every node, a functor chosen by the type of the
    node's core: an enter functor before the children and a leave functor after them. Functors
    are found by the core's exact type id, as in OpenSG 1.x: nothing is inherited from parent
    types, and a core type without a functor for an action class gets that class's default,
    which continues (the node is treated as a plain group). Each core type therefore registers
    its functors for every action class in its own initMethod; the plain Action has no core
    functors of its own.

    Rules of apply(): null nodes, nodes whose travMask shares no bit with the action's and nodes
    whose occlusion mask has bit 0 set are passed over; a node without a core stops the traversal
    with a warning. An enter result Skip passes over the children and the leave functor (the node
    counts as Continue). Quit from an enter functor ends the traversal without that node's leave
    functor; Quit from below a node ends it after the node's leave functor, so every leave
    functor that runs pairs with an enter functor that returned Continue. Functors are
    registered per action class (the registerEnterDefault of that class) and copied into each new
    action, which can override them for itself. */
class Action
{
  public:
    enum ResultE
    {
        Continue = 0,
        Skip     = 1,
        Quit     = 2
    };

    typedef std::function<ResultE(const NodeCorePtr &core, Action *action)> Functor;

    /*! A plain action with the defaults registered for Action. Owned by the caller (delete). */
    static Action *create(void);

    Action(const Action &source);
    Action &operator=(const Action &source);
    virtual ~Action(void);

    /*---------------------------- functors -------------------------------*/

    /*! Defaults of this class for actions created later; an empty functor removes the entry. */
    static void registerEnterDefault(const FieldContainerType &type, const Functor &func);
    static void registerLeaveDefault(const FieldContainerType &type, const Functor &func);

    /*! Overrides for this action only; an empty functor removes the entry. */
    void registerEnterFunction(const FieldContainerType &type, const Functor &func);
    void registerLeaveFunction(const FieldContainerType &type, const Functor &func);

    /*---------------------------- traversal ------------------------------*/

    /*! Traverses the subtree; a null root is warned about and gives Quit. */
    virtual ResultE apply(const NodePtr &node);
    /*! Traverses each subtree in turn until one quits. */
    virtual ResultE apply(std::vector<NodePtr>::const_iterator begin,
                          std::vector<NodePtr>::const_iterator end);

    /*! The node whose functor is running. */
    NodePtr getActNode(void) const { return _actNode; }

    /*! Nodes whose travMask has no bit of this mask in common are passed over. */
    UInt32 getTravMask(void) const { return _travMask; }
    void   setTravMask(UInt32 val) { _travMask = val; }

    /*---------------------------- choosing children ----------------------*/

    // An enter functor may name the nodes to traverse next instead of the children (a switch
    // traverses one child); the choice holds for the current node only.

    /*! The nodes traversed after the current enter functor: the chosen ones, else the children. */
    UInt32  getNNodes(void) const;
    NodePtr getNode  (UInt32 index) const;
    /*! Traverses node (after the nodes added before it) instead of the children. */
    void addNode    (const NodePtr &node);
    /*! Traverses the added nodes only, even when none is added. */
    void useNodeList(void) { _useNodeList = true; }

  protected:
    /*! Functors by core type id. */
    class FunctorStore
    {
      public:
        void set(const FieldContainerType &type, const Functor &func);
        /*! The functor registered for exactly this type; NULL if none. */
        const Functor *find(const FieldContainerType &type) const;
        bool empty(void) const { return _functors.empty(); }

      private:
        std::unordered_map<UInt32, Functor> _functors;
    };

    /*! Starts with copies of the given class defaults. */
    Action(const FunctorStore &enterDefaults, const FunctorStore &leaveDefaults);

    /*! Called before a traversal; a result other than Continue ends it at once. */
    virtual ResultE start(void);
    /*! Called after a traversal with its result; its return is the result of apply(). */
    virtual ResultE stop(ResultE res);

    ResultE recurse  (const NodePtr &node);
    ResultE callEnter(const NodePtr &node);
    ResultE callLeave(const NodePtr &node);

  private:
    static FunctorStore &defaultEnterFunctors(void);
    static FunctorStore &defaultLeaveFunctors(void);

    FunctorStore         _enterFunctors;
    FunctorStore         _leaveFunctors;
    UInt32               _travMask;
    NodePtr              _actNode;
    std::vector<NodePtr> _nodeList;
    bool                 _useNodeList;
};

/*! A functor that calls method on the core, as Core::method(Action *); method may be one the
    core type inherits. Cores of other types continue without a call. */
template <class RetT, class CorePtrT, class NodePtrT, class ActionPtrT>
Action::Functor osgTypedMethodFunctor2BaseCPtrRef(
    RetT (CorePtrT::StoredObjectType::*method)(ActionPtrT))
{
    return [method](const NodeCorePtr &core, Action *action) -> Action::ResultE {
        typedef typename CorePtrT::StoredObjectType CoreT;
        CoreT *object = dynamic_cast<CoreT *>(core.getCPtr());
        if(object == NULL)
            return Action::Continue;
        return Action::ResultE((object->*method)(action));
    };
}

/*---------------------------- free traversal -------------------------------*/

typedef std::function<Action::ResultE(NodePtr &node)>                      TraverseEnterFunctor;
typedef std::function<Action::ResultE(NodePtr &node, Action::ResultE res)> TraverseLeaveFunctor;

/*! Calls enter for root and, while it returns Continue, for the children in order, depth first.
    Skip passes over the children (the node counts as Continue); Quit ends the traversal. Null
    nodes are passed over. The children are read from the node as the traversal reaches them, so
    enter may rewrite the node's own children. An empty enter functor is warned about (Quit). */
Action::ResultE traverse(NodePtr root, const TraverseEnterFunctor &enter);
Action::ResultE traverse(const std::vector<NodePtr> &nodeList, const TraverseEnterFunctor &enter);

/*! As above; leave is called for every entered node with the node's result so far (Continue for
    a skipped node) and its return becomes the node's result. An empty leave is not called. */
Action::ResultE traverse(NodePtr root, const TraverseEnterFunctor &enter,
                         const TraverseLeaveFunctor &leave);
Action::ResultE traverse(const std::vector<NodePtr> &nodeList, const TraverseEnterFunctor &enter,
                         const TraverseLeaveFunctor &leave);

} // namespace osg

#endif
