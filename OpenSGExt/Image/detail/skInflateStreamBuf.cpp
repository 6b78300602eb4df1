#include <OpenSGExt/Image/detail/skInflateStreamBuf.h>

#include <libdeflate.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace osg {
namespace detail {

InflateStreamBuf::InflateStreamBuf(std::istream &source, std::size_t bufferSize)
    : _source(source), _in(std::max<std::size_t>(bufferSize, 64)), _out(std::max<std::size_t>(bufferSize, 64))
{
    std::memset(&_zs, 0, sizeof(_zs));
    if(inflateInit2(&_zs, -15) != Z_OK)
        fail("cannot start zlib");
    else
        _zInit = true;
    setg(_out.data(), _out.data(), _out.data());
}

InflateStreamBuf::~InflateStreamBuf(void)
{
    if(_zInit)
        inflateEnd(&_zs);
}

void InflateStreamBuf::fail(const char *what)
{
    if(_error.empty())
        _error = what;
    _state = Done;
}

bool InflateStreamBuf::fillInput(void)
{
    if(_zs.avail_in > 0)
        return true;
    if(!_source.good())
        return false;
    _source.read(reinterpret_cast<char *>(_in.data()), std::streamsize(_in.size()));
    std::streamsize got = _source.gcount();
    if(got <= 0)
        return false;
    _zs.next_in  = _in.data();
    _zs.avail_in = uInt(got);
    _consumed += std::size_t(got);
    return true;
}

int InflateStreamBuf::nextByte(void)
{
    if(!fillInput())
        return -1;
    int b = *_zs.next_in;
    ++_zs.next_in;
    --_zs.avail_in;
    return b;
}

bool InflateStreamBuf::readHeader(void)
{
    int id1 = nextByte();
    if(id1 < 0 && !_firstMember)
    {
        _state = Done;      // clean end after the last member
        return false;
    }
    int id2 = nextByte(), cm = nextByte(), flags = nextByte();
    if(id1 < 0 || id2 < 0 || cm < 0 || flags < 0)
    {
        fail(_firstMember ? "unexpected end of data" : "bad gzip header");
        return false;
    }
    if(id1 != 0x1f || id2 != 0x8b)
    {
        if(_firstMember)
            fail("bad gzip header");
        else
            _state = Done;  // trailing garbage after a complete member, ignored as gzip does
        return false;
    }
    if(cm != 8 || (flags & 0xE0) != 0)
    {
        fail("bad gzip header");
        return false;
    }
    for(int i = 0; i < 6; ++i)          // modification time, extra flags, operating system
        if(nextByte() < 0)
        {
            fail("unexpected end of data");
            return false;
        }
    if(flags & 4)                       // FEXTRA
    {
        int lo = nextByte(), hi = nextByte();
        if(lo < 0 || hi < 0)
        {
            fail("unexpected end of data");
            return false;
        }
        for(int n = lo | hi << 8; n > 0; --n)
            if(nextByte() < 0)
            {
                fail("unexpected end of data");
                return false;
            }
    }
    for(int bit : { 8, 16 })            // FNAME, FCOMMENT: zero-terminated
        if(flags & bit)
        {
            int b;
            while((b = nextByte()) > 0)
                ;
            if(b < 0)
            {
                fail("unexpected end of data");
                return false;
            }
        }
    if(flags & 2)                       // FHCRC
        if(nextByte() < 0 || nextByte() < 0)
        {
            fail("unexpected end of data");
            return false;
        }

    _firstMember = false;
    _crc    = 0;
    _length = 0;
    if(inflateReset(&_zs) != Z_OK)
    {
        fail("cannot start zlib");
        return false;
    }
    _state = Body;
    return true;
}

bool InflateStreamBuf::readTrailer(void)
{
    unsigned char t[8];
    for(unsigned char &b : t)
    {
        int v = nextByte();
        if(v < 0)
        {
            fail("unexpected end of data");
            return false;
        }
        b = (unsigned char)v;
    }
    unsigned long crc = t[0] | t[1] << 8 | t[2] << 16 | (unsigned long)t[3] << 24;
    unsigned long len = t[4] | t[5] << 8 | t[6] << 16 | (unsigned long)t[7] << 24;
    if(crc != (_crc & 0xFFFFFFFFul) || len != (_length & 0xFFFFFFFFul))
    {
        fail("checksum mismatch");
        return false;
    }
    _state = Header;
    return true;
}

std::size_t InflateStreamBuf::produce(unsigned char *out, std::size_t size)
{
    size = std::min<std::size_t>(size, std::numeric_limits<uInt>::max());
    while(_state != Done)
    {
        if(_state == Header)
        {
            if(!readHeader())
                return 0;
            continue;
        }

        if(!fillInput())
        {
            fail("unexpected end of data");
            return 0;
        }
        _zs.next_out  = out;
        _zs.avail_out = uInt(size);
        int rc = inflate(&_zs, Z_NO_FLUSH);
        std::size_t made = size - _zs.avail_out;
        _crc = libdeflate_crc32(static_cast<uint32_t>(_crc), out, made);
        _length += made;
        if(rc == Z_STREAM_END)
        {
            if(!readTrailer())
                return 0;
            if(made > 0)
                return made;
            continue;
        }
        if((rc != Z_OK && rc != Z_BUF_ERROR) || (rc == Z_BUF_ERROR && made == 0 && _zs.avail_in > 0))
        {
            fail("corrupt deflate data");
            return 0;
        }
        if(made > 0)
            return made;
    }
    return 0;
}

InflateStreamBuf::int_type InflateStreamBuf::underflow(void)
{
    if(gptr() < egptr())
        return traits_type::to_int_type(*gptr());
    std::size_t made = produce(reinterpret_cast<unsigned char *>(_out.data()), _out.size());
    if(made == 0)
        return traits_type::eof();
    setg(_out.data(), _out.data(), _out.data() + made);
    return traits_type::to_int_type(*gptr());
}

std::streamsize InflateStreamBuf::xsgetn(char *s, std::streamsize n)
{
    std::streamsize done = 0;
    while(done < n)
    {
        std::streamsize buffered = egptr() - gptr();
        if(buffered > 0)
        {
            std::streamsize k = std::min(buffered, n - done);
            std::memcpy(s + done, gptr(), std::size_t(k));
            gbump(int(k));
            done += k;
            continue;
        }
        // Large reads go straight into the caller's memory: no second copy.
        std::size_t want = std::size_t(n - done);
        if(want >= _out.size())
        {
            std::size_t made = produce(reinterpret_cast<unsigned char *>(s + done), want);
            if(made == 0)
                break;
            done += std::streamsize(made);
        }
        else if(underflow() == traits_type::eof())
            break;
    }
    return done;
}

std::streamsize InflateStreamBuf::showmanyc(void)
{
    return _state == Done && gptr() == egptr() ? -1 : 0;
}

} // namespace detail
} // namespace osg
