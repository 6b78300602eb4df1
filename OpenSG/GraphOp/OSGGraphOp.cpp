#include <OpenSG/OSGGraphOp.h>
#include <OpenSG/OSGLog.h>

namespace osg {

GraphOp::GraphOp(const char *name) : _name(name != NULL ? name : "")
{
}

GraphOp::~GraphOp(void) = default;

void GraphOp::setName(const char *name)
{
    _name = name != NULL ? name : "";
}

bool GraphOp::traverse(NodePtr &root)
{
    if(root == NullFC)
    {
        SWARNING << "GraphOp::traverse: " << (_name.empty() ? getClassname() : _name.c_str())
                 << ": the root is null" << std::endl;
        return false;
    }
    Action::ResultE res = osg::traverse(
        root, [this](NodePtr &node) { return traverseEnter(node); },
        [this](NodePtr &node, Action::ResultE r) { return traverseLeave(node, r); });
    return res == Action::Continue;
}

Action::ResultE GraphOp::traverseEnter(NodePtr &node)
{
    return travNodeEnter(node) ? Action::Continue : Action::Skip;
}

Action::ResultE GraphOp::traverseLeave(NodePtr &node, Action::ResultE res)
{
    travNodeLeave(node);
    return res;
}

bool GraphOp::travNodeEnter(const NodePtr &)
{
    return true;
}

bool GraphOp::travNodeLeave(const NodePtr &)
{
    return true;
}

} // namespace osg
