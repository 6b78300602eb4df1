#include <OpenSG/OSGAction.h>
#include <OpenSG/OSGFieldContainerType.h>
#include <OpenSG/OSGLog.h>

namespace osg {

/*---------------------------- FunctorStore ---------------------------------*/

void Action::FunctorStore::set(const FieldContainerType &type, const Functor &func)
{
    if(type.getId() == 0)
    {
        SWARNING << "Action: cannot register a functor for the unregistered type \""
                 << type.getName() << "\"" << std::endl;
        return;
    }
    if(func)
        _functors[type.getId()] = func;
    else
        _functors.erase(type.getId());
}

const Action::Functor *Action::FunctorStore::find(const FieldContainerType &type) const
{
    auto it = _functors.find(type.getId());
    return it != _functors.end() ? &it->second : NULL;
}

/*---------------------------- Action ---------------------------------------*/

Action::FunctorStore &Action::defaultEnterFunctors(void)
{
    static FunctorStore store;
    return store;
}

Action::FunctorStore &Action::defaultLeaveFunctors(void)
{
    static FunctorStore store;
    return store;
}

void Action::registerEnterDefault(const FieldContainerType &type, const Functor &func)
{
    defaultEnterFunctors().set(type, func);
}

void Action::registerLeaveDefault(const FieldContainerType &type, const Functor &func)
{
    defaultLeaveFunctors().set(type, func);
}

Action *Action::create(void)
{
    return new Action(defaultEnterFunctors(), defaultLeaveFunctors());
}

Action::Action(const FunctorStore &enterDefaults, const FunctorStore &leaveDefaults)
    : _enterFunctors(enterDefaults),
      _leaveFunctors(leaveDefaults),
      _travMask(0xFFFFFFFFu),
      _actNode(),
      _nodeList(),
      _useNodeList(false)
{
}

Action::Action(const Action &source) = default;
Action &Action::operator=(const Action &source) = default;
Action::~Action(void) = default;

void Action::registerEnterFunction(const FieldContainerType &type, const Functor &func)
{
    _enterFunctors.set(type, func);
}

void Action::registerLeaveFunction(const FieldContainerType &type, const Functor &func)
{
    _leaveFunctors.set(type, func);
}

Action::ResultE Action::start(void)
{
    return Continue;
}

Action::ResultE Action::stop(ResultE res)
{
    return res;
}

Action::ResultE Action::apply(const NodePtr &node)
{
    if(node == NullFC)
    {
        SWARNING << "Action::apply: the node is null" << std::endl;
        return Quit;
    }
    std::vector<NodePtr> one(1, node);
    return apply(one.cbegin(), one.cend());
}

Action::ResultE Action::apply(std::vector<NodePtr>::const_iterator begin,
                              std::vector<NodePtr>::const_iterator end)
{
    ResultE res = start();
    if(res != Continue)
        return res == Skip ? Continue : res;

    for(auto it = begin; it != end && res != Quit; ++it)
        res = recurse(*it);

    _actNode = NodePtr();
    _nodeList.clear();
    _useNodeList = false;
    return stop(res);
}

UInt32 Action::getNNodes(void) const
{
    if(_useNodeList)
        return UInt32(_nodeList.size());
    return _actNode != NullFC ? _actNode->getNChildren() : 0;
}

NodePtr Action::getNode(UInt32 index) const
{
    if(_useNodeList)
        return index < _nodeList.size() ? _nodeList[index] : NodePtr();
    return _actNode != NullFC ? _actNode->getChild(index) : NodePtr();
}

void Action::addNode(const NodePtr &node)
{
    _useNodeList = true;
    _nodeList.push_back(node);
}

Action::ResultE Action::callEnter(const NodePtr &node)
{
    NodeCorePtr core = node->getCore();
    const Functor *f = _enterFunctors.find(core->getType());
    return f != NULL ? (*f)(core, this) : Continue;
}

Action::ResultE Action::callLeave(const NodePtr &node)
{
    NodeCorePtr core = node->getCore();
    const Functor *f = _leaveFunctors.find(core->getType());
    return f != NULL ? (*f)(core, this) : Continue;
}

Action::ResultE Action::recurse(const NodePtr &node)
{
    if(node == NullFC)
        return Continue;
    if((node->getTravMask() & _travMask) == 0 || (node->getOcclusionMask() & 1) != 0)
        return Continue;
    if(node->getCore() == NullFC)
    {
        SWARNING << "Action: node " << node.getFieldContainerId()
                 << " has no core; the traversal stops" << std::endl;
        return Quit;
    }

    _actNode = node;
    _nodeList.clear();
    _useNodeList = false;

    ResultE result = callEnter(node);
    if(result == Skip)
        return Continue;
    if(result == Quit)
        return Quit;

    if(_useNodeList)
    {
        // The list belongs to this node; recursion reuses the member.
        std::vector<NodePtr> chosen;
        chosen.swap(_nodeList);
        _useNodeList = false;
        for(const NodePtr &child : chosen)
        {
            result = recurse(child);
            if(result == Quit)
                break;
        }
    }
    else
    {
        // By index on the live list: a functor may edit the children of the node it runs for.
        for(UInt32 i = 0; i < node->getNChildren(); ++i)
        {
            result = recurse(node->getChild(i));
            if(result == Quit)
                break;
        }
    }

    _actNode = node;
    _nodeList.clear();
    _useNodeList = false;
    ResultE leave = callLeave(node);
    if(result == Quit || leave == Quit)
        return Quit;
    return Continue;
}

/*---------------------------- free traversal -------------------------------*/

namespace {

bool checkEnter(const TraverseEnterFunctor &enter)
{
    if(enter)
        return true;
    SWARNING << "traverse: the enter functor is empty" << std::endl;
    return false;
}

Action::ResultE traverseNode(NodePtr &node, const TraverseEnterFunctor &enter,
                             const TraverseLeaveFunctor *leave)
{
    if(node == NullFC)
        return Action::Continue;

    Action::ResultE res = enter(node);
    if(res == Action::Skip)
        res = Action::Continue;
    else if(res == Action::Continue)
    {
        for(UInt32 i = 0; i < node->getNChildren(); ++i)
        {
            NodePtr child = node->getChild(i);
            res = traverseNode(child, enter, leave);
            if(res == Action::Quit)
                break;
        }
    }
    if(leave != NULL && *leave)
        res = (*leave)(node, res);
    return res;
}

Action::ResultE traverseList(const std::vector<NodePtr> &nodeList, const TraverseEnterFunctor &enter,
                             const TraverseLeaveFunctor *leave)
{
    Action::ResultE res = Action::Continue;
    for(const NodePtr &entry : nodeList)
    {
        NodePtr node = entry;
        res = traverseNode(node, enter, leave);
        if(res == Action::Quit)
            break;
    }
    return res;
}

} // namespace

Action::ResultE traverse(NodePtr root, const TraverseEnterFunctor &enter)
{
    return checkEnter(enter) ? traverseNode(root, enter, NULL) : Action::Quit;
}

Action::ResultE traverse(const std::vector<NodePtr> &nodeList, const TraverseEnterFunctor &enter)
{
    return checkEnter(enter) ? traverseList(nodeList, enter, NULL) : Action::Quit;
}

Action::ResultE traverse(NodePtr root, const TraverseEnterFunctor &enter,
                         const TraverseLeaveFunctor &leave)
{
    return checkEnter(enter) ? traverseNode(root, enter, &leave) : Action::Quit;
}

Action::ResultE traverse(const std::vector<NodePtr> &nodeList, const TraverseEnterFunctor &enter,
                         const TraverseLeaveFunctor &leave)
{
    return checkEnter(enter) ? traverseList(nodeList, enter, &leave) : Action::Quit;
}

} // namespace osg
