#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGLog.h>

namespace osg {

BinaryDataHandler::BinaryDataHandler(UInt32, bool networkOrder) :
    _networkOrder(networkOrder),
    _failed(false),
    _transactionDepth(0),
    _pending()
{
}

BinaryDataHandler::~BinaryDataHandler() = default;

void BinaryDataHandler::put(const void *src, UInt64 size)
{
    if(size != 0)
        write(static_cast<const UInt8 *>(src), size);
}

bool BinaryDataHandler::get(void *dst, UInt64 size)
{
    if(size == 0)
        return !_failed;
    if(_failed)
    {
        std::memset(dst, 0, size);
        return false;
    }
    UInt64 got = read(static_cast<UInt8 *>(dst), size);
    if(got < size)
    {
        std::memset(static_cast<UInt8 *>(dst) + got, 0, size - got);
        setFailed("unexpected end of data: needed " + std::to_string(size) +
                  " bytes, got " + std::to_string(got));
        return false;
    }
    return true;
}

void BinaryDataHandler::putValue(const bool &value)
{
    UInt8 v = value ? 1 : 0;
    put(&v, 1);
}

void BinaryDataHandler::putValue(const Real128 &value)
{
    // Stored as the double it rounds to: long double has no portable bit layout.
    putValue(Real64(value));
}

void BinaryDataHandler::putValue(const BitVector &value)
{
    putValue(value.getLow());
    putValue(value.getHigh());
}

void BinaryDataHandler::putValue(const std::string &value)
{
    UInt32 len = UInt32(value.size()) + 1;
    if(UInt8 *dst = reserveWrite(4 + UInt64(len)))
    {
        UInt32 be = detail::hostIsBigEndian() ? len : __builtin_bswap32(len);
        std::memcpy(dst, &be, 4);
        std::memcpy(dst + 4, value.c_str(), len);
        return;
    }
    putValue(len);
    put(value.c_str(), len);
}

void BinaryDataHandler::putValue(const Char8 *value)
{
    if(value == NULL)
        value = "";
    UInt32 len = UInt32(std::strlen(value)) + 1;
    putValue(len);
    put(value, len);
}

bool BinaryDataHandler::getValue(bool &value)
{
    UInt8 v = 0;
    bool ok = get(&v, 1);
    value = (v != 0);
    return ok;
}

bool BinaryDataHandler::getValue(Real16 &value)
{
    UInt16 bits = 0;
    bool ok = getValue(bits);
    value.setBits(bits);
    return ok;
}

bool BinaryDataHandler::getValue(Real128 &value)
{
    Real64 v = 0;
    bool ok = getValue(v);
    value = v;
    return ok;
}

bool BinaryDataHandler::getValue(BitVector &value)
{
    UInt64 low = 0, high = 0;
    bool ok = getValue(low) && getValue(high);
    value = ok ? BitVector::fromWords(high, low) : BitVector();
    return ok;
}

bool BinaryDataHandler::getValue(std::string &value)
{
    UInt32 len = 0;
    if(!getValue(len))
    {
        value.clear();
        return false;
    }
    if(len == 0)
    {
        value.clear();
        return true;
    }
    if(UInt64(len) > getBytesLeft())
    {
        setFailed("string length " + std::to_string(len) + " exceeds the " +
                  std::to_string(getBytesLeft()) + " bytes left");
        value.clear();
        return false;
    }
    if(const UInt8 *src = consumeRead(len))
    {
        const char *text = reinterpret_cast<const char *>(src);
        value.assign(text, ::strnlen(text, len));
        return true;
    }
    std::string tmp;
    tmp.resize(len);
    if(!get(&tmp[0], len))
    {
        value.clear();
        return false;
    }
    // The length counts the terminator; anything after an embedded NUL is not part of the text.
    tmp.resize(std::strlen(tmp.c_str()));
    value.swap(tmp);
    return true;
}

void BinaryDataHandler::putValues(const bool *values, UInt64 count)
{
    for(UInt64 i = 0; i < count; ++i)
        putValue(values[i]);
}

void BinaryDataHandler::putValues(const Real16 *values, UInt64 count)
{
    for(UInt64 i = 0; i < count; ++i)
    {
        UInt16 b = values[i].bits();
        if(_networkOrder)
            putValue(b);
        else
            put(&b, 2);
    }
}

void BinaryDataHandler::putValues(const std::string *values, UInt64 count)
{
    for(UInt64 i = 0; i < count; ++i)
        putValue(values[i]);
}

bool BinaryDataHandler::getValues(bool *values, UInt64 count)
{
    bool ok = true;
    for(UInt64 i = 0; i < count; ++i)
        ok = getValue(values[i]) && ok;
    return ok;
}

bool BinaryDataHandler::getValues(Real16 *values, UInt64 count)
{
    bool ok = true;
    for(UInt64 i = 0; i < count; ++i)
    {
        UInt16 b = 0;
        ok = (_networkOrder ? getValue(b) : get(&b, 2)) && ok;
        values[i].setBits(b);
    }
    return ok;
}

bool BinaryDataHandler::getValues(std::string *values, UInt64 count)
{
    bool ok = true;
    for(UInt64 i = 0; i < count; ++i)
        ok = getValue(values[i]) && ok;
    return ok;
}

void BinaryDataHandler::putCount(UInt64 count)
{
    if(osgUseOSB64())
        putValue(count);
    else
        putValue(UInt32(count));
}

bool BinaryDataHandler::getCount(UInt64 &count, UInt64 minElementSize)
{
    count = 0;
    if(osgUseOSB64())
    {
        if(!getValue(count))
            return false;
    }
    else
    {
        UInt32 c = 0;
        if(!getValue(c))
            return false;
        count = c;
    }
    UInt64 left = getBytesLeft();
    if(minElementSize != 0 && count > left / minElementSize)
    {
        setFailed("element count " + std::to_string(count) + " needs more than the " +
                  std::to_string(left) + " bytes left");
        count = 0;
        return false;
    }
    return true;
}

UInt32 BinaryDataHandler::getCountSize()
{
    return osgUseOSB64() ? 8 : 4;
}

void BinaryDataHandler::setFailed(const std::string &reason)
{
    if(!_failed)
    {
        SWARNING << "BinaryDataHandler: corrupt or truncated data: " << reason << std::endl;
    }
    _failed = true;
}

UInt64 BinaryDataHandler::getBytesLeft() const
{
    return std::numeric_limits<UInt64>::max();
}

void BinaryDataHandler::flush()
{
}

UInt64 BinaryDataHandler::read(UInt8 *, UInt64)
{
    return 0;
}

UInt8 *BinaryDataHandler::reserveWrite(UInt64)
{
    return NULL;
}

const UInt8 *BinaryDataHandler::consumeRead(UInt64)
{
    return NULL;
}

void BinaryDataHandler::write(const UInt8 *, UInt64)
{
}

BinaryDataHandler::ReadTransaction::ReadTransaction(BinaryDataHandler &handler) :
    _handler(handler)
{
    ++_handler._transactionDepth;
}

BinaryDataHandler::ReadTransaction::~ReadTransaction()
{
    if(--_handler._transactionDepth != 0)
        return;
    if(!_handler._failed)
    {
        for(auto &c : _handler._pending)
            c->commit();
    }
    _handler._pending.clear();
}

/*-------------------------------------------------------------------------*/

MemoryBinaryDataHandler::MemoryBinaryDataHandler() :
    BinaryDataHandler(0, true),
    _buffer(),
    _readOwn(false),
    _readData(NULL),
    _readSize(0),
    _readPos(0)
{
}

MemoryBinaryDataHandler::MemoryBinaryDataHandler(const void *data, UInt64 size) :
    BinaryDataHandler(0, true),
    _buffer(),
    _readOwn(false),
    _readData(static_cast<const UInt8 *>(data)),
    _readSize(data != NULL ? size : 0),
    _readPos(0)
{
}

void MemoryBinaryDataHandler::rewind()
{
    _readOwn  = true;
    _readData = NULL;
    _readSize = 0;
    _readPos  = 0;
    clearFailed();
}

void MemoryBinaryDataHandler::clear()
{
    _buffer.clear();
    _readOwn  = false;
    _readData = NULL;
    _readSize = 0;
    _readPos  = 0;
    clearFailed();
}

UInt64 MemoryBinaryDataHandler::getBytesLeft() const
{
    UInt64 total = _readOwn ? UInt64(_buffer.size()) : _readSize;
    return total > _readPos ? total - _readPos : 0;
}

UInt64 MemoryBinaryDataHandler::read(UInt8 *dst, UInt64 size)
{
    // The own buffer may have grown (and moved) since rewind(), so it is looked up on every read.
    const UInt8 *data = _readOwn ? _buffer.data() : _readData;
    UInt64 n = std::min(size, getBytesLeft());
    if(n != 0)
        std::memcpy(dst, data + _readPos, n);
    _readPos += n;
    return n;
}

UInt8 *MemoryBinaryDataHandler::reserveWrite(UInt64 size)
{
    size_t old = _buffer.size();
    _buffer.resize(old + size);
    return _buffer.data() + old;
}

const UInt8 *MemoryBinaryDataHandler::consumeRead(UInt64 size)
{
    if(size > getBytesLeft())
        return NULL;   // the ordinary path reports the shortage
    const UInt8 *data = (_readOwn ? _buffer.data() : _readData) + _readPos;
    _readPos += size;
    return data;
}

void MemoryBinaryDataHandler::write(const UInt8 *src, UInt64 size)
{
    _buffer.insert(_buffer.end(), src, src + size);
}

} // namespace osg
