#ifndef _OSGSFIELD_H_
#define _OSGSFIELD_H_

#include <OpenSG/OSGField.h>
#include <OpenSG/OSGFieldDataType.h>

#include <type_traits>
#include <utility>

namespace osg {

/*! A field holding one value. The namespace argument is kept for source compatibility; the value
    type alone selects the traits. */
template <class FieldTypeT, Int32 fieldNameSpace = 0>
class SField : public Field
{
  public:
    typedef FieldTypeT                    StoredType;
    typedef FieldDataTraits<FieldTypeT>   SFieldTraits;
    typedef SField<FieldTypeT, fieldNameSpace> Self;
    typedef std::conditional_t<std::is_scalar<FieldTypeT>::value,
                               const FieldTypeT, const FieldTypeT &> ArgumentType;

    static const FieldType &getClassType(void)
    {
        static FieldType type(SFieldTraits::getSName(), "Field", SFieldTraits::getType(),
                              &Self::create, FieldType::SINGLE_FIELD);
        return type;
    }

    SField() : Field(), _value(SFieldTraits::getDefault()) {}
    SField(const SField &obj) : Field(obj), _value(obj._value) {}
    explicit SField(ArgumentType value) : Field(), _value(value) {}
    SField &operator=(const SField &obj) { _value = obj._value; return *this; }
    ~SField() override = default;

    FieldTypeT       &getValue(void)       { return _value; }
    const FieldTypeT &getValue(void) const { return _value; }

    void setValue(ArgumentType value) { _value = value;     }
    void setValue(const Self &obj)    { _value = obj._value; }

    void syncWith (Self &source) { _value = source._value; }
    void swapValues(Self &other) { using std::swap; swap(_value, other._value); }

    const FieldType &getType(void) const override { return getClassType(); }

    UInt32 getSize(void) const override { return 1;     }
    bool   isEmpty(void) const override { return false; }

    void getValueByStr(std::string &out) const override { SFieldTraits::putToString(_value, out); }

    bool setAbstrValue(const Field &other) override
    {
        if(&other.getType() != &getType())
            return false;
        _value = static_cast<const Self &>(other)._value;
        return true;
    }

    UInt32 getBinSize(void) const override { return SFieldTraits::getBinSize(_value); }

    void copyToBin(BinaryDataHandler &pMem) const override
    {
        SFieldTraits::copyToBin(pMem, _value);
    }

    /*! On a failed read the value stays as it was. */
    void copyFromBin(BinaryDataHandler &pMem) override
    {
        FieldTypeT tmp = SFieldTraits::getDefault();
        if(SFieldTraits::copyFromBin(pMem, tmp) && !pMem.isFailed())
            _value = std::move(tmp);
    }

    bool operator==(const Self &other) const { return _value == other._value; }

  protected:
    static Field *create(void) { return new Self; }

    FieldTypeT _value;
};

} // namespace osg

#endif
