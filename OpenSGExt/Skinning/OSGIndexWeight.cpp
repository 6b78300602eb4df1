#include <OpenSGExt/OSGIndexWeight.h>

#include <cmath>
#include <ostream>

namespace osg {

IndexWeight::~IndexWeight(void) = default;

bool IndexWeight::operator<(const IndexWeight &other) const
{
    if(_index != other._index)
        return _index < other._index;
    const bool nanA = std::isnan(_weight);
    const bool nanB = std::isnan(other._weight);
    if(nanA || nanB)
        return !nanA && nanB;
    return _weight < other._weight;
}

std::ostream &operator<<(std::ostream &os, const IndexWeight &value)
{
    return os << value.getIndex() << ' ' << value.getWeight();
}

} // namespace osg
