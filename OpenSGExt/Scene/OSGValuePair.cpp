#include <OpenSGExt/OSGValuePair.h>
#include <OpenSG/OSGLog.h>

namespace osg {

ValuePair::ValuePair(void) : Inherited()
{
}

ValuePair::ValuePair(const ValuePair &source) : Inherited(source)
{
}

ValuePair::~ValuePair(void) = default;

Int32 ValuePair::getPos(const std::string &key) const
{
    MFString::const_iterator it = _mfKey.find(key);
    return it == _mfKey.end() ? -1 : Int32(it - _mfKey.begin());
}

bool ValuePair::findKey(const std::string &key) const
{
    return getPos(key) >= 0;
}

Int32 ValuePair::getSize(void) const
{
    return Int32(_mfKey.size());
}

bool ValuePair::get(const std::string &key, std::string &value) const
{
    Int32 pos = getPos(key);
    if(pos < 0 || UInt32(pos) >= _mfValue.size())
    {
        value.clear();
        return pos >= 0;
    }
    value = _mfValue[UInt32(pos)];
    return true;
}

void ValuePair::alignValues(void)
{
    if(_mfValue.size() != _mfKey.size())
        _mfValue.resize(_mfKey.size());
}

void ValuePair::set(const std::string &key, const std::string &value)
{
    Int32 pos = getPos(key);
    if(pos < 0)
    {
        add(key, value);
        return;
    }
    if(_mfValue.size() == _mfKey.size() && _mfValue[UInt32(pos)] == value)
        return;
    CPEditor edit(FieldContainerPtr(this), ValueFieldMask);
    alignValues();
    _mfValue[UInt32(pos)] = value;
}

void ValuePair::add(const std::string &key, const std::string &value)
{
    CPEditor edit(FieldContainerPtr(this), KeyFieldMask | ValueFieldMask);
    alignValues();
    _mfKey.push_back(key);
    _mfValue.push_back(value);
}

bool ValuePair::del(const std::string &key)
{
    Int32 pos = getPos(key);
    return pos >= 0 && deleteAt(UInt32(pos));
}

bool ValuePair::deleteAt(UInt32 index)
{
    if(index >= _mfKey.size())
    {
        SWARNING << "ValuePair::deleteAt: index " << index << " out of range (size "
                 << _mfKey.size() << ")" << std::endl;
        return false;
    }
    CPEditor edit(FieldContainerPtr(this), KeyFieldMask | ValueFieldMask);
    alignValues();
    _mfKey.erase(_mfKey.begin() + index);
    _mfValue.erase(_mfValue.begin() + index);
    return true;
}

bool ValuePair::insertAt(const std::string &key, const std::string &value, UInt32 index)
{
    if(index > _mfKey.size())
    {
        SWARNING << "ValuePair::insertAt: index " << index << " beyond the end (size "
                 << _mfKey.size() << ")" << std::endl;
        return false;
    }
    CPEditor edit(FieldContainerPtr(this), KeyFieldMask | ValueFieldMask);
    alignValues();
    _mfKey.insert(_mfKey.begin() + index, key);
    _mfValue.insert(_mfValue.begin() + index, value);
    return true;
}

} // namespace osg
