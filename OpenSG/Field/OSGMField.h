#ifndef _OSGMFIELD_H_
#define _OSGMFIELD_H_

#include <OpenSG/OSGField.h>
#include <OpenSG/OSGFieldDataType.h>

#include <algorithm>
#include <type_traits>
#include <vector>

namespace osg {

/*! Storage of a multi-value field: a vector with OpenSG's find(). */
template <class T>
class MFieldVector : public std::vector<T>
{
  public:
    using std::vector<T>::vector;

    typename std::vector<T>::iterator find(const T &value)
    {
        return std::find(this->begin(), this->end(), value);
    }
    typename std::vector<T>::const_iterator find(const T &value) const
    {
        return std::find(this->begin(), this->end(), value);
    }
};

/*! A field holding a sequence of values. */
template <class FieldTypeT, Int32 fieldNameSpace = 0>
class MField : public Field
{
    // vector<bool> hands out proxies, which the element accessors cannot return.
    static_assert(!std::is_same<FieldTypeT, bool>::value, "MField<bool> is not supported");

  public:
    typedef FieldTypeT                                   StoredType;
    typedef FieldDataTraits<FieldTypeT>                  MFieldTraits;
    typedef MField<FieldTypeT, fieldNameSpace>           Self;
    typedef MFieldVector<FieldTypeT>                     StorageType;
    typedef typename StorageType::iterator               iterator;
    typedef typename StorageType::const_iterator         const_iterator;
    typedef typename StorageType::reference              reference;
    typedef typename StorageType::const_reference        const_reference;
    typedef typename StorageType::size_type              size_type;
    typedef std::conditional_t<std::is_scalar<FieldTypeT>::value,
                               const FieldTypeT, const FieldTypeT &> ArgumentType;

    static const FieldType &getClassType(void)
    {
        static FieldType type(MFieldTraits::getMName(), "Field", MFieldTraits::getType(),
                              &Self::create, FieldType::MULTI_FIELD);
        return type;
    }

    MField() : Field(), _values() {}
    MField(const MField &obj) : Field(obj), _values(obj._values) {}
    explicit MField(UInt32 size) : Field(), _values(size) {}
    MField &operator=(const MField &obj) { _values = obj._values; return *this; }
    ~MField() override = default;

    /*------------------------- vector interface ------------------------*/
    iterator       begin(void)       { return _values.begin(); }
    iterator       end  (void)       { return _values.end();   }
    const_iterator begin(void) const { return _values.begin(); }
    const_iterator end  (void) const { return _values.end();   }

    reference       front(void)       { return _values.front(); }
    const_reference front(void) const { return _values.front(); }
    reference       back (void)       { return _values.back();  }
    const_reference back (void) const { return _values.back();  }

    reference       operator[](UInt32 index)       { return _values[index]; }
    const_reference operator[](UInt32 index) const { return _values[index]; }

    UInt32 size (void) const { return UInt32(_values.size()); }
    bool   empty(void) const { return _values.empty();        }

    void clear(void)                                        { _values.clear();             }
    void reserve(size_type n)                               { _values.reserve(n);          }
    void resize(size_type n, const FieldTypeT &v = FieldTypeT()) { _values.resize(n, v);   }
    void push_back(ArgumentType value)                      { _values.push_back(value);    }
    void pop_back(void)                                     { _values.pop_back();          }

    iterator insert(iterator pos, ArgumentType value)       { return _values.insert(pos, value); }
    template <class InputIt>
    void insert(iterator pos, InputIt first, InputIt last)  { _values.insert(pos, first, last); }
    iterator erase(iterator pos)                            { return _values.erase(pos);          }
    iterator erase(iterator first, iterator last)           { return _values.erase(first, last);  }

    iterator       find(ArgumentType value)       { return _values.find(value); }
    const_iterator find(ArgumentType value) const { return _values.find(value); }

    StorageType       &getValues(void)       { return _values; }
    const StorageType &getValues(void) const { return _values; }

    void setValues(const StorageType &values) { _values = values;     }
    void setValues(const Self &obj)           { _values = obj._values; }

    /*! Deprecated OpenSG forms. */
    reference       getValue(UInt32 index)       { return _values[index]; }
    const_reference getValue(UInt32 index) const { return _values[index]; }
    void            addValue(ArgumentType value) { _values.push_back(value); }

    void syncWith  (Self &source) { _values = source._values; }
    void swapValues(Self &other)  { _values.swap(other._values); }

    /*------------------------- Field interface -------------------------*/
    const FieldType &getType(void) const override { return getClassType(); }

    UInt32 getSize(void) const override { return UInt32(_values.size()); }
    bool   isEmpty(void) const override { return _values.empty();        }

    void getValueByStr(std::string &out) const override
    {
        out += '[';
        for(size_t i = 0; i < _values.size(); ++i)
        {
            if(i != 0)
                out += "; ";
            MFieldTraits::putToString(_values[i], out);
        }
        out += ']';
    }

    bool setAbstrValue(const Field &other) override
    {
        if(&other.getType() != &getType())
            return false;
        _values = static_cast<const Self &>(other)._values;
        return true;
    }

    UInt32 getBinSize(void) const override
    {
        return BinaryDataHandler::getCountSize() +
               MFieldTraits::getBinSize(_values.data(), _values.size());
    }

    void copyToBin(BinaryDataHandler &pMem) const override
    {
        pMem.putCount(_values.size());
        if(!_values.empty())
            MFieldTraits::copyToBin(pMem, _values.data(), _values.size());
    }

    /*! The count is checked against the data left before anything is allocated; when the source
        cannot tell, elements are read in bounded chunks so a lying count fails before it can
        exhaust memory. A failed read leaves the field empty (callers wanting the old value kept
        read through BinaryDataHandler::readField). */
    void copyFromBin(BinaryDataHandler &pMem) override
    {
        UInt64 count = 0;
        if(!pMem.getCount(count, MFieldTraits::MinBinSize))
        {
            _values.clear();
            return;
        }
        constexpr UInt64 Chunk = 1u << 16;
        if(count <= Chunk || pMem.getBytesLeft() != std::numeric_limits<UInt64>::max())
        {
            _values.resize(count);
            if(count != 0 && !MFieldTraits::copyFromBin(pMem, _values.data(), count))
                _values.clear();
            return;
        }
        _values.clear();
        for(UInt64 done = 0; done < count; )
        {
            UInt64 n = std::min(Chunk, count - done);
            _values.resize(done + n);
            if(!MFieldTraits::copyFromBin(pMem, _values.data() + done, n))
            {
                _values.clear();
                return;
            }
            done += n;
        }
    }

    bool operator==(const Self &other) const { return _values == other._values; }

  protected:
    static Field *create(void) { return new Self; }

    StorageType _values;
};

} // namespace osg

#endif
