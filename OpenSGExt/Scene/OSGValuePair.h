#ifndef _OSGVALUEPAIR_H_
#define _OSGVALUEPAIR_H_

#include <OpenSGExt/OSGValuePairBase.h>

#include <string>

namespace osg {

/*! A small ordered dictionary: entry i is (key[i], value[i]). Keys compare as exact byte strings
    (no case folding); an empty key is a key like any other.

    Every operation that changes a field ends its own edit on this container (beginEditCP /
    endEditCP with the masks of the fields it changed), so the change is recorded in the thread's
    change list and changed() runs once per operation. An operation that changes nothing (a refused
    index, a missing key, set() with the value already stored) reports no edit.

    The two lists are meant to have the same length. Lists that do not (written through the
    generated accessors, or read from a stream) are read as if a missing value were empty, and the
    next edit first pads or trims the values to the number of keys. */
class ValuePair : public ValuePairBase
{
  public:
    typedef ValuePairBase Inherited;

    /*! The value of the first pair with this key; when there is none, value becomes empty and the
        result is false. */
    bool  get   (const std::string &key, std::string &value) const;
    /*! Index of the first pair with this key, or -1. */
    Int32 getPos(const std::string &key) const;
    bool  findKey(const std::string &key) const;
    Int32 getSize(void) const;

    /*! Replaces the value of the first pair with this key, or appends the pair. */
    void set(const std::string &key, const std::string &value);
    /*! Appends the pair without looking for the key: a repeated key is kept, and lookups see the
        first one. Use set() to keep keys unique. */
    void add(const std::string &key, const std::string &value);
    /*! Removes the first pair with this key; false when there is none. */
    bool del(const std::string &key);
    /*! Removes the pair at index; false (and a warning) for an index out of range. */
    bool deleteAt(UInt32 index);
    /*! Inserts the pair before index; index == getSize() appends. An index beyond the end is
        refused (false and a warning) rather than clamped, as deleteAt() refuses it, so that a
        stale index is noticed. Like add(), it does not look for the key. */
    bool insertAt(const std::string &key, const std::string &value, UInt32 index);

  protected:
    friend class FieldContainer;
    friend class ValuePairBase;

    ValuePair(void);
    ValuePair(const ValuePair &source);
    ~ValuePair(void) override;

  private:
    /*! Pads or trims the values to the keys; callers hold an edit that covers the values. */
    void alignValues(void);
};

} // namespace osg

#endif
