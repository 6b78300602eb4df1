#include <OpenSGExt/Spectral/detail/SpectrumFile.h>
#include <OpenSGExt/Spectral/detail/SpectralSampling.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace skosg {
namespace spectral {

namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

// Cursor over NUL-terminated text; `end` bounds it even if the text holds NULs.
struct Reader
{
    const char *p;
    const char *end;
    bool        commas;   // commas and semicolons count as separators

    bool separator(char c) const { return isBlank(c) || (commas && (c == ',' || c == ';')); }

    void skip(void)
    {
        while(p < end && separator(*p))
            ++p;
    }
    bool atEnd(void)
    {
        skip();
        return p >= end;
    }
    // A number that ends at a separator or at the end; false (cursor kept) otherwise.
    bool number(double &value)
    {
        skip();
        if(p >= end || *p == '\0')
            return false;
        char *stop = nullptr;
        errno = 0;
        double v = std::strtod(p, &stop);
        if(stop == p || stop > end || (stop < end && !separator(*stop)))
            return false;
        p = stop;
        value = v;
        return true;
    }
};

bool intOnLine(const char *&p, const char *lineEnd, int &value)
{
    while(p < lineEnd && isBlank(*p))
        ++p;
    if(p >= lineEnd)
        return false;
    char *stop = nullptr;
    errno = 0;
    long v = std::strtol(p, &stop, 10);
    if(stop == p || stop > lineEnd || (stop < lineEnd && !isBlank(*stop)) || errno == ERANGE ||
       v < INT_MIN || v > INT_MAX)
        return false;
    p = stop;
    value = int(v);
    return true;
}

// The float of a parsed number; false for NaN, infinity and values beyond float range.
bool finiteFloat(double v, float &out)
{
    if(!std::isfinite(v) || std::fabs(v) > double(std::numeric_limits<float>::max()))
        return false;
    out = float(v);
    return true;
}

bool failWith(ParsedSpectrum &out, ParseError error)
{
    out.error = error;
    out.wavelengths.clear();
    out.values.clear();
    return false;
}

// Reads count numbers into dst (after the header's promise was checked against the cap).
ParseError readNumbers(Reader &r, int count, std::vector<float> &dst)
{
    for(int i = 0; i < count; ++i)
    {
        double v;
        if(!r.number(v))
            return ParseError::BadNumber;
        float f;
        if(!finiteFloat(v, f))
            return ParseError::NotFinite;
        dst.push_back(f);
    }
    return ParseError::None;
}

} // namespace

int toIntSaturated(float value)
{
    if(!(value == value))
        return 0;
    if(value >= 2147483520.0f)
        return INT_MAX;
    if(value <= -2147483648.0f)
        return INT_MIN;
    return int(value);
}

bool parseNative(const std::string &text, int maxSamples, ParsedSpectrum &out)
{
    out = ParsedSpectrum();
    const char *begin = text.c_str();
    const char *end = begin + text.size();
    const char *lineEnd = static_cast<const char *>(std::memchr(begin, '\n', text.size()));
    if(lineEnd == nullptr)
        lineEnd = end;

    const char *p = begin;
    while(p < lineEnd && isBlank(*p))
        ++p;
    const char *tokenBegin = p;
    while(p < lineEnd && !isBlank(*p) && *p != '\0')
        ++p;
    out.token.assign(tokenBegin, p);

    if(out.token == "spectral1")
    {
        out.version = 1;
        if(!intOnLine(p, lineEnd, out.start) || !intOnLine(p, lineEnd, out.delta) ||
           !intOnLine(p, lineEnd, out.count))
            return failWith(out, ParseError::BadHeader);
    }
    else if(out.token == "spectral2")
    {
        out.version = 2;
        if(!intOnLine(p, lineEnd, out.count))
            return failWith(out, ParseError::BadHeader);
    }
    else
    {
        return failWith(out, ParseError::UnknownVersion);
    }
    out.headerRead = true;
    if(out.count < 0 || out.count > maxSamples)
        return failWith(out, ParseError::CountOutOfRange);

    Reader r{lineEnd, end, false};
    if(out.version == 1)
    {
        if(out.delta < 0 && out.count > 1)
        {
            out.decreaseIndex = 1;
            return failWith(out, ParseError::Decreasing);
        }
        ParseError e = readNumbers(r, out.count, out.values);
        if(e != ParseError::None)
            return failWith(out, e);
        out.wavelengths.reserve(out.values.size());
        for(int i = 0; i < out.count; ++i)
            out.wavelengths.push_back(gridWavelength(out.start, out.delta, i));
        return true;
    }

    ParseError e = readNumbers(r, out.count, out.wavelengths);
    if(e != ParseError::None)
        return failWith(out, e);
    for(size_t i = 1; i < out.wavelengths.size(); ++i)
    {
        if(out.wavelengths[i - 1] > out.wavelengths[i])
        {
            out.decreaseIndex = i;
            // The offending pair is reported, so keep it for the caller's message.
            float a = out.wavelengths[i - 1], b = out.wavelengths[i];
            failWith(out, ParseError::Decreasing);
            out.wavelengths = {a, b};
            return false;
        }
    }
    e = readNumbers(r, out.count, out.values);
    if(e != ParseError::None)
        return failWith(out, e);
    return true;
}

bool parseTextPairs(const std::string &text, int maxSamples, ParsedSpectrum &out)
{
    out = ParsedSpectrum();
    out.version = 2;
    Reader r{text.c_str(), text.c_str() + text.size(), true};
    size_t numbers = 0;
    while(!r.atEnd())
    {
        double v;
        if(!r.number(v))
            return failWith(out, ParseError::BadNumber);
        float f;
        if(!finiteFloat(v, f))
            return failWith(out, ParseError::NotFinite);
        if(numbers % 2 == 0)
        {
            if(out.wavelengths.size() >= size_t(maxSamples))
                return failWith(out, ParseError::CountOutOfRange);
            if(!out.wavelengths.empty() && out.wavelengths.back() > f)
            {
                float a = out.wavelengths.back();
                out.decreaseIndex = out.wavelengths.size();
                failWith(out, ParseError::Decreasing);
                out.wavelengths = {a, f};
                return false;
            }
            out.wavelengths.push_back(f);
        }
        else
        {
            out.values.push_back(f);
        }
        ++numbers;
    }
    if(numbers == 0)
        return failWith(out, ParseError::Empty);
    if(numbers % 2 != 0)
        return failWith(out, ParseError::OddCount);
    out.count = int(out.wavelengths.size());
    out.start = toIntSaturated(out.wavelengths.front());
    out.delta = 0;
    return true;
}

} // namespace spectral
} // namespace skosg
