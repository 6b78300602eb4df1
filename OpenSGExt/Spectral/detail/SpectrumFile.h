#ifndef SKOSG_SPECTRAL_DETAIL_SPECTRUMFILE_H
#define SKOSG_SPECTRAL_DETAIL_SPECTRUMFILE_H

// Parsers of the two spectrum text formats, separate from the container so that they can be
// fuzzed and tested on bytes. They validate everything and never allocate more than the text
// can fill: a header's count is only a promise the numbers must keep.

#include <cstddef>
#include <string>
#include <vector>

namespace skosg {
namespace spectral {

enum class ParseError
{
    None,
    UnknownVersion,    // first token is neither "spectral1" nor "spectral2"
    BadHeader,         // the version line lacks its integers
    CountOutOfRange,   // negative count or one above the cap
    BadNumber,         // text that is not a number, or too few numbers
    NotFinite,         // NaN, infinity, or a value beyond float range
    Decreasing,        // a wavelength below its predecessor (index in decreaseIndex)
    OddCount,          // plain text: numbers do not come in pairs
    Empty              // plain text: no numbers at all
};

struct ParsedSpectrum
{
    std::string        token;          // the native format's version token, as read
    int                version = 0;    // 1 or 2 (native), 2 (plain text)
    bool               headerRead = false;
    int                start = 0;
    int                delta = 0;
    int                count = 0;
    std::vector<float> wavelengths;
    std::vector<float> values;
    ParseError         error = ParseError::None;
    size_t             decreaseIndex = 0;
};

/*! The ".spectral" format. text must be NUL-terminated (std::string is). */
bool parseNative(const std::string &text, int maxSamples, ParsedSpectrum &out);

/*! Wavelength, value pairs separated by white space, commas or semicolons. */
bool parseTextPairs(const std::string &text, int maxSamples, ParsedSpectrum &out);

/*! Saturating float-to-int conversion (NaN gives 0). */
int toIntSaturated(float value);

} // namespace spectral
} // namespace skosg

#endif
