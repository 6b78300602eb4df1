#ifndef _OSGBINARYDATAHANDLER_H_
#define _OSGBINARYDATAHANDLER_H_

#include <OpenSG/OSGBaseTypes.h>
#include <OpenSG/OSGReal16.h>
#include <OpenSG/OSGBitVector.h>

#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace osg {

/*! Reads and writes OpenSG's binary form: every value in network byte order (big-endian), one byte
    per bool, strings as a 32-bit length that counts the terminator, then the bytes and the terminator.

    Reading never trusts the stream: a request that cannot be satisfied zero-fills its target, puts
    the handler into the failed state (logged once) and every later read fails at once, so a caller
    can read a whole record and test isFailed() at the end.

    Container reads are transactional: while a ReadTransaction is open, fields read into temporaries
    and queue their commit; the outermost transaction commits all of them only if nothing failed, so
    a corrupt record leaves its container untouched. */
class BinaryDataHandler
{
  public:
    explicit BinaryDataHandler(UInt32 zeroCopyThreshold = 0, bool networkOrder = true);
    virtual ~BinaryDataHandler();

    BinaryDataHandler(const BinaryDataHandler &) = delete;
    BinaryDataHandler &operator=(const BinaryDataHandler &) = delete;

    /*---------------------------- raw bytes -----------------------------*/
    void put(const void *src, UInt64 size);
    bool get(void *dst, UInt64 size);

    /*---------------------------- single values -------------------------*/
    void putValue(const bool        &value);
    void putValue(const UInt8       &value) { put(&value, 1); }
    void putValue(const Int8        &value) { put(&value, 1); }
    void putValue(const UInt16      &value) { putSwapped(value); }
    void putValue(const Int16       &value) { putSwapped(value); }
    void putValue(const UInt32      &value) { putSwapped(value); }
    void putValue(const Int32       &value) { putSwapped(value); }
    void putValue(const UInt64      &value) { putSwapped(value); }
    void putValue(const Int64       &value) { putSwapped(value); }
    void putValue(const Real16      &value) { putValue(UInt16(value.bits())); }
    void putValue(const Real32      &value) { putSwapped(value); }
    void putValue(const Real64      &value) { putSwapped(value); }
    void putValue(const Real128     &value);
    void putValue(const BitVector   &value);
    void putValue(const std::string &value);
    void putValue(const Char8       *value);

    bool getValue(bool        &value);
    bool getValue(UInt8       &value) { return get(&value, 1); }
    bool getValue(Int8        &value) { return get(&value, 1); }
    bool getValue(UInt16      &value) { return getSwapped(value); }
    bool getValue(Int16       &value) { return getSwapped(value); }
    bool getValue(UInt32      &value) { return getSwapped(value); }
    bool getValue(Int32       &value) { return getSwapped(value); }
    bool getValue(UInt64      &value) { return getSwapped(value); }
    bool getValue(Int64       &value) { return getSwapped(value); }
    bool getValue(Real16      &value);
    bool getValue(Real32      &value) { return getSwapped(value); }
    bool getValue(Real64      &value) { return getSwapped(value); }
    bool getValue(Real128     &value);
    bool getValue(BitVector   &value);
    bool getValue(std::string &value);

    /*---------------------------- arrays --------------------------------*/
    // Arrays swap only while network order is on (the default), as OpenSG's handler does.
    void putValues(const bool   *values, UInt64 count);
    void putValues(const UInt8  *values, UInt64 count) { put(values, count); }
    void putValues(const Int8   *values, UInt64 count) { put(values, count); }
    void putValues(const UInt16 *values, UInt64 count) { putArray(values, count); }
    void putValues(const Int16  *values, UInt64 count) { putArray(values, count); }
    void putValues(const UInt32 *values, UInt64 count) { putArray(values, count); }
    void putValues(const Int32  *values, UInt64 count) { putArray(values, count); }
    void putValues(const UInt64 *values, UInt64 count) { putArray(values, count); }
    void putValues(const Int64  *values, UInt64 count) { putArray(values, count); }
    void putValues(const Real16 *values, UInt64 count);
    void putValues(const Real32 *values, UInt64 count) { putArray(values, count); }
    void putValues(const Real64 *values, UInt64 count) { putArray(values, count); }
    void putValues(const std::string *values, UInt64 count);

    bool getValues(bool   *values, UInt64 count);
    bool getValues(UInt8  *values, UInt64 count) { return get(values, count); }
    bool getValues(Int8   *values, UInt64 count) { return get(values, count); }
    bool getValues(UInt16 *values, UInt64 count) { return getArray(values, count); }
    bool getValues(Int16  *values, UInt64 count) { return getArray(values, count); }
    bool getValues(UInt32 *values, UInt64 count) { return getArray(values, count); }
    bool getValues(Int32  *values, UInt64 count) { return getArray(values, count); }
    bool getValues(UInt64 *values, UInt64 count) { return getArray(values, count); }
    bool getValues(Int64  *values, UInt64 count) { return getArray(values, count); }
    bool getValues(Real16 *values, UInt64 count);
    bool getValues(Real32 *values, UInt64 count) { return getArray(values, count); }
    bool getValues(Real64 *values, UInt64 count) { return getArray(values, count); }
    bool getValues(std::string *values, UInt64 count);

    /*---------------------------- MF element counts ---------------------*/
    // 32 bits, or 64 while osgUseOSB64() is on.
    void putCount(UInt64 count);
    /*! Reads an element count and checks it against the bytes known to be left, given the smallest
        encoded size of one element; an impossible count fails the handler. */
    bool getCount(UInt64 &count, UInt64 minElementSize);
    static UInt32 getCountSize();

    /*---------------------------- state ---------------------------------*/
    void setNetworkOrder(bool networkOrder) { _networkOrder = networkOrder; }
    bool getNetworkOrder() const            { return _networkOrder;         }

    bool isFailed() const { return _failed; }
    /*! Enters the failed state; the first failure is logged with its reason. */
    void setFailed(const std::string &reason);
    void clearFailed() { _failed = false; }

    /*! Bytes that can still be read, when the source knows it; the maximum otherwise. */
    virtual UInt64 getBytesLeft() const;

    virtual void flush();

    /*---------------------------- transactions --------------------------*/
    class PendingCommit
    {
      public:
        virtual ~PendingCommit() = default;
        virtual void commit() = 0;
    };

    class ReadTransaction
    {
      public:
        explicit ReadTransaction(BinaryDataHandler &handler);
        ~ReadTransaction();
        ReadTransaction(const ReadTransaction &) = delete;
        ReadTransaction &operator=(const ReadTransaction &) = delete;
      private:
        BinaryDataHandler &_handler;
    };

    bool inTransaction() const { return _transactionDepth > 0; }

    /*! Reads one field; inside a transaction the value lands in the field only when the outermost
        transaction succeeds, otherwise a successful read replaces the field's value at once. */
    template <class FieldT>
    void readField(FieldT &field);

  protected:
    /*! Delivers up to size bytes from the source; returns how many were delivered. */
    virtual UInt64 read (UInt8 *dst, UInt64 size);
    virtual void   write(const UInt8 *src, UInt64 size);

    /*! Handlers over memory hand out their storage directly, so arrays are swapped in one pass
        between source and destination: room for size bytes to be written next, or the next size
        bytes to be read (consumed), or NULL where the handler cannot. */
    virtual UInt8       *reserveWrite(UInt64 size);
    virtual const UInt8 *consumeRead (UInt64 size);

  private:
    template <class T> void putSwapped(const T &value);
    template <class T> bool getSwapped(T &value);
    template <class T> void putArray(const T *values, UInt64 count);
    template <class T> bool getArray(T *values, UInt64 count);

    bool _networkOrder;
    bool _failed;
    UInt32 _transactionDepth;
    std::vector<std::unique_ptr<PendingCommit> > _pending;
};

/*! A handler over memory: writes append to an owned buffer, reads consume a given range. */
class MemoryBinaryDataHandler : public BinaryDataHandler
{
  public:
    MemoryBinaryDataHandler();
    /*! Reads from [data, data + size); the bytes are not copied and must outlive the handler. */
    MemoryBinaryDataHandler(const void *data, UInt64 size);

    const std::vector<UInt8> &getBuffer() const { return _buffer; }
    std::vector<UInt8>       &editBuffer()      { return _buffer; }
    void reserve(UInt64 bytes) { _buffer.reserve(bytes); }

    /*! Switches to reading what was written so far, from its start. */
    void rewind();
    /*! Forgets what was written and read. */
    void clear();

    UInt64 getReadPosition() const { return _readPos; }
    UInt64 getBytesLeft() const override;

  protected:
    UInt64       read (UInt8 *dst, UInt64 size) override;
    void         write(const UInt8 *src, UInt64 size) override;
    UInt8       *reserveWrite(UInt64 size) override;
    const UInt8 *consumeRead (UInt64 size) override;

  private:
    std::vector<UInt8> _buffer;
    bool         _readOwn;
    const UInt8 *_readData;
    UInt64       _readSize;
    UInt64       _readPos;
};

/*-------------------------------------------------------------------------*/

namespace detail {

template <class T> inline T byteSwap(T value)
{
    static_assert(sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8, "no swap for this size");
    if constexpr(sizeof(T) == 2)
    {
        UInt16 v; std::memcpy(&v, &value, 2); v = __builtin_bswap16(v); std::memcpy(&value, &v, 2);
    }
    else if constexpr(sizeof(T) == 4)
    {
        UInt32 v; std::memcpy(&v, &value, 4); v = __builtin_bswap32(v); std::memcpy(&value, &v, 4);
    }
    else
    {
        UInt64 v; std::memcpy(&v, &value, 8); v = __builtin_bswap64(v); std::memcpy(&value, &v, 8);
    }
    return value;
}

inline bool hostIsBigEndian()
{
    return __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
}

template <class T> inline void swapArray(T *values, UInt64 count)
{
    // Word-typed loop so that the compiler vectorises the swap.
    typedef std::conditional_t<sizeof(T) == 2, UInt16,
            std::conditional_t<sizeof(T) == 4, UInt32, UInt64> > Word;
    Word *w = reinterpret_cast<Word *>(values);
    for(UInt64 i = 0; i < count; ++i)
    {
        if constexpr(sizeof(T) == 2)      w[i] = __builtin_bswap16(w[i]);
        else if constexpr(sizeof(T) == 4) w[i] = __builtin_bswap32(w[i]);
        else                              w[i] = __builtin_bswap64(w[i]);
    }
}

/*! Copies count words from src to dst, reversing the bytes of each. */
template <class T> inline void swapCopy(UInt8 *dst, const UInt8 *src, UInt64 count)
{
    typedef std::conditional_t<sizeof(T) == 2, UInt16,
            std::conditional_t<sizeof(T) == 4, UInt32, UInt64> > Word;
    for(UInt64 i = 0; i < count; ++i)
    {
        Word w;
        std::memcpy(&w, src + i * sizeof(Word), sizeof(Word));
        if constexpr(sizeof(T) == 2)      w = __builtin_bswap16(w);
        else if constexpr(sizeof(T) == 4) w = __builtin_bswap32(w);
        else                              w = __builtin_bswap64(w);
        std::memcpy(dst + i * sizeof(Word), &w, sizeof(Word));
    }
}

template <class FieldT>
class FieldCommit : public BinaryDataHandler::PendingCommit
{
  public:
    explicit FieldCommit(FieldT &target) : _target(target) {}
    void commit() override { _target.swapValues(_value); }
    FieldT &value() { return _value; }
  private:
    FieldT &_target;
    FieldT  _value;
};

} // namespace detail

template <class T> inline void BinaryDataHandler::putSwapped(const T &value)
{
    T v = detail::hostIsBigEndian() ? value : detail::byteSwap(value);
    put(&v, sizeof(T));
}

template <class T> inline bool BinaryDataHandler::getSwapped(T &value)
{
    if(!get(&value, sizeof(T)))
    {
        value = T();
        return false;
    }
    if(!detail::hostIsBigEndian())
        value = detail::byteSwap(value);
    return true;
}

template <class T> inline void BinaryDataHandler::putArray(const T *values, UInt64 count)
{
    if(!_networkOrder || detail::hostIsBigEndian())
    {
        put(values, count * sizeof(T));
        return;
    }
    if(UInt8 *dst = reserveWrite(count * sizeof(T)))
    {
        detail::swapCopy<T>(dst, reinterpret_cast<const UInt8 *>(values), count);
        return;
    }
    // Swap through a bounded scratch block so that large arrays stay cache-friendly.
    constexpr UInt64 Block = 4096 / sizeof(T);
    T scratch[Block];
    while(count > 0)
    {
        UInt64 n = count < Block ? count : Block;
        std::memcpy(scratch, values, n * sizeof(T));
        detail::swapArray(scratch, n);
        put(scratch, n * sizeof(T));
        values += n;
        count  -= n;
    }
}

template <class T> inline bool BinaryDataHandler::getArray(T *values, UInt64 count)
{
    if(_networkOrder && !detail::hostIsBigEndian() && !_failed)
    {
        if(const UInt8 *src = consumeRead(count * sizeof(T)))
        {
            detail::swapCopy<T>(reinterpret_cast<UInt8 *>(values), src, count);
            return true;
        }
    }
    if(!get(values, count * sizeof(T)))
        return false;
    if(_networkOrder && !detail::hostIsBigEndian())
        detail::swapArray(values, count);
    return true;
}

template <class FieldT>
inline void BinaryDataHandler::readField(FieldT &field)
{
    if(_failed)
        return;
    if(_transactionDepth == 0)
    {
        FieldT tmp;
        tmp.copyFromBin(*this);
        if(!_failed)
            field.swapValues(tmp);
        return;
    }
    std::unique_ptr<detail::FieldCommit<FieldT> > c(new detail::FieldCommit<FieldT>(field));
    c->value().copyFromBin(*this);
    if(!_failed)
        _pending.push_back(std::move(c));
}

} // namespace osg

#endif
