#ifndef _OSGGRAPHOP_H_
#define _OSGGRAPHOP_H_

#include <OpenSG/OSGAction.h>

#include <string>

namespace osg {

/*! An operation run over a subtree by traverse(): the free depth-first traversal with
    traverseEnter on entering and traverseLeave on leaving each node. By default these call
    travNodeEnter, whose false means "do not descend below this node", and travNodeLeave, whose
    result is ignored. Operations override either pair. */
class GraphOp
{
  public:
    GraphOp(const char *name = "");
    GraphOp(const GraphOp &source) = default;
    GraphOp &operator=(const GraphOp &source) = default;
    virtual ~GraphOp(void);

    static const char *getClassname(void) { return "GraphOp"; }

    /*! A new, configured instance of the same operation. Owned by the caller (delete). */
    virtual GraphOp *create(void) = 0;

    /*! Runs the operation over the subtree; true iff the traversal ended with Continue. A null
        root is warned about and gives false. */
    virtual bool traverse(NodePtr &root);

    virtual void        setParams(const std::string params) = 0;
    virtual std::string usage    (void)                     = 0;

    const std::string &getName(void) const { return _name; }
    /*! A null name is taken as empty. */
    void setName(const char *name);

  protected:
    virtual Action::ResultE traverseEnter(NodePtr &node);
    /*! Returns res, so that a Quit from below still ends the traversal. */
    virtual Action::ResultE traverseLeave(NodePtr &node, Action::ResultE res);

    /*! true: descend into the children (the default). */
    virtual bool travNodeEnter(const NodePtr &node);
    virtual bool travNodeLeave(const NodePtr &node);

  private:
    std::string _name;
};

} // namespace osg

#endif
