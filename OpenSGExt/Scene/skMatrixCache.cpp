#include <OpenSGExt/skMatrixCache.h>

using namespace osg;

namespace {

// Fibonacci hashing spreads consecutive ids (containers are numbered in creation order).
inline size_t slotOf(UInt32 id, size_t mask)
{
    return size_t((UInt64(id) * 0x9E3779B97F4A7C15ull) >> 32) & mask;
}

} // namespace

void skMatrixCache::clear(void)
{
    if(!_matrices.empty())
    {
        for(Slot &s : _slots)
            s.index = Empty;
    }
    _matrices.clear();
}

const Matrix *skMatrixCache::find(UInt32 id) const
{
    if(_slots.empty())
        return NULL;
    const size_t mask = _slots.size() - 1;
    for(size_t i = slotOf(id, mask);; i = (i + 1) & mask)
    {
        const Slot &s = _slots[i];
        if(s.index == Empty)
            return NULL;
        if(s.id == id)
            return &_matrices[s.index];
    }
}

void skMatrixCache::insert(UInt32 id, const Matrix &m)
{
    if(2 * (_matrices.size() + 1) > _slots.size())
        grow();
    const size_t mask = _slots.size() - 1;
    size_t i = slotOf(id, mask);
    while(_slots[i].index != Empty)
        i = (i + 1) & mask;
    _slots[i].id    = id;
    _slots[i].index = UInt32(_matrices.size());
    _matrices.push_back(m);
}

void skMatrixCache::grow(void)
{
    std::vector<Slot> old;
    old.swap(_slots);
    _slots.assign(old.empty() ? 64 : 2 * old.size(), Slot{0, Empty});
    const size_t mask = _slots.size() - 1;
    for(const Slot &s : old)
    {
        if(s.index == Empty)
            continue;
        size_t i = slotOf(s.id, mask);
        while(_slots[i].index != Empty)
            i = (i + 1) & mask;
        _slots[i] = s;
    }
}

Matrix skMatrixCache::getToWorld(const NodePtr &node)
{
    Matrix m;   // identity
    getToWorld(node, m);
    return m;
}

void skMatrixCache::getToWorld(const NodePtr &node, Matrix &out)
{
    if(node == NullFC)
        return;
    if(const Matrix *hit = find(node->getContainerId()))
    {
        out = *hit;
        return;
    }

    // Walking up iteratively instead of recursing keeps deep chains off the call stack; the
    // matrices then come down the chain in the order the recursive definition gives them.
    _chain.clear();
    Matrix m;   // identity, where the walk ends at a root
    for(NodePtr n = node; n != NullFC; n = n->getParent())
    {
        if(const Matrix *cached = find(n->getContainerId()))
        {
            m = *cached;
            break;
        }
        _chain.push_back(n);
    }
    for(auto it = _chain.rbegin(); it != _chain.rend(); ++it)
    {
        const NodeCorePtr &core = (*it)->getCore();
        if(core != NullFC)
            core->accumulateMatrix(m);
        insert((*it)->getContainerId(), m);
    }
    _chain.clear();
    out = m;
}

bool skMatrixCache::contains(const NodePtr &node) const
{
    return node != NullFC && find(node->getContainerId()) != NULL;
}
