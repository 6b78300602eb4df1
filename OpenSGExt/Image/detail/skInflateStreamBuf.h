#ifndef SK_OPENSGEXT_IMAGE_DETAIL_SKINFLATESTREAMBUF_H
#define SK_OPENSGEXT_IMAGE_DETAIL_SKINFLATESTREAMBUF_H

// A read-only stream buffer that inflates a gzip stream (RFC 1952) from another stream. Private to
// the library.

#include <cstddef>
#include <istream>
#include <streambuf>
#include <string>
#include <vector>

#include <zlib.h>

namespace osg {
namespace detail {

/*! Skips each gzip member header itself and inflates the member's deflate data with zlib's raw
    inflate (window bits -15) through an input and an output buffer of bufferSize bytes; each
    member's trailer (CRC-32 and length) is checked, and members that follow one another are read
    as one stream, as gzip does. Data past the last member is ignored. Any fault ends the stream
    early and is kept in error(); what was inflated before stays readable. */
class InflateStreamBuf : public std::streambuf
{
  public:
    explicit InflateStreamBuf(std::istream &source, std::size_t bufferSize = 4096);
    ~InflateStreamBuf(void) override;

    InflateStreamBuf(const InflateStreamBuf &) = delete;
    InflateStreamBuf &operator=(const InflateStreamBuf &) = delete;

    /*! Empty while no fault was found; else a short description ("bad gzip header", "corrupt
        deflate data", "checksum mismatch", "unexpected end of data"). */
    const std::string &error(void) const { return _error; }
    bool failed(void) const { return !_error.empty(); }

    /*! Compressed bytes read from the source so far. */
    std::size_t compressedBytesRead(void) const { return _consumed; }

  protected:
    int_type        underflow(void) override;
    std::streamsize xsgetn(char *s, std::streamsize n) override;
    std::streamsize showmanyc(void) override;

  private:
    enum State { Header, Body, Done };

    // Inflates into [out, out + size); returns the bytes produced, 0 at the end or on a fault.
    std::size_t produce(unsigned char *out, std::size_t size);
    bool        readHeader(void);
    bool        readTrailer(void);
    bool        fillInput(void);
    int         nextByte(void);
    void        fail(const char *what);

    std::istream              &_source;
    std::vector<unsigned char> _in;
    std::vector<char>          _out;
    z_stream                   _zs;
    bool                       _zInit = false;
    State                      _state = Header;
    bool                       _firstMember = true;
    unsigned long              _crc = 0;
    unsigned long              _length = 0;
    std::size_t                _consumed = 0;
    std::string                _error;
};

} // namespace detail
} // namespace osg

#endif
