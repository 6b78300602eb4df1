#include <OpenSGExt/OSGSpectrum.h>
#include <OpenSGExt/OSGSpectralData.h>
#include <OpenSGExt/Spectral/detail/SpectralSampling.h>
#include <OpenSGExt/Spectral/detail/SpectralShapes.h>
#include <OpenSGExt/Spectral/detail/SpectrumFile.h>

#include <platform/skColor.h>
#include <platform/skLog.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <fstream>
#include <iostream>
#include <sstream>

namespace osg {

namespace sp = skosg::spectral;

namespace {

const BitVector AllSpectrumFields =
    SpectrumBase::UseSpectrumFieldMask | SpectrumBase::FilenameFieldMask |
    SpectrumBase::VersionIDFieldMask | SpectrumBase::StartWavelengthFieldMask |
    SpectrumBase::DeltaWavelengthFieldMask | SpectrumBase::NumSamplesFieldMask |
    SpectrumBase::WavelengthsFieldMask | SpectrumBase::SourceValuesFieldMask |
    SpectrumBase::SamplesFieldMask;

const char *const MsgNotMonotonic = "ERROR Spectrum: Wavelengths not monotonically increasing.";
const char *const MsgBadFormat    = "ERROR Spectrum: Unexpected file format.";
const char *const MsgBadVersion   = "ERROR Spectrum: Unknown Spectrum File Version!";

// A grid for the operations that build a spectrum from a rule.
bool validGrid(const char *who, Int32 delta, Int32 count)
{
    if(count < 1 || count > Spectrum::MaxSamples || (count > 1 && delta < 1))
    {
        skLog::warning("Spectrum::%s: invalid grid (delta %d, count %d)", who, delta, count);
        return false;
    }
    return true;
}

bool allFinite(const std::vector<Real32> &values)
{
    for(Real32 v : values)
        if(!std::isfinite(v))
            return false;
    return true;
}

} // namespace

Spectrum::Spectrum(void) : Inherited()
{
}

Spectrum::Spectrum(const Spectrum &source) : Inherited(source)
{
}

Spectrum::~Spectrum(void) = default;

/*------------------------------- sampling ----------------------------------*/

Real32 Spectrum::lerp(Real32 t, Real32 a, Real32 b)
{
    return sp::lerp(t, a, b);
}

Real32 Spectrum::averageSamplesToSamples(const Real32 *wl, const Real32 *val, Int32 n, Real32 x)
{
    return sp::averageSamplesToSamples(wl, val, n, x);
}

Real32 Spectrum::averageSamplesToIntervals(const Real32 *wl, const Real32 *val, Int32 n,
                                           Real32 lo, Real32 hi)
{
    return sp::averageSamplesToIntervals(wl, val, n, lo, hi);
}

Real32 Spectrum::averageIntervalsToIntervals(const Real32 *edges, const Real32 *val, Int32 n,
                                             Real32 lo, Real32 hi)
{
    return sp::averageIntervalsToIntervals(edges, val, n, lo, hi);
}

void Spectrum::resampleSamplesToSamples(Int32 n, const Real32 *wl, const Real32 *val,
                                        Int32 start, Int32 delta, Int32 count, MFReal32 &out)
{
    sp::resampleSamplesToSamples(n, wl, val, start, delta, count, out.getValues());
}

void Spectrum::resampleSamplesToIntervals(Int32 n, const Real32 *wl, const Real32 *val,
                                          Int32 start, Int32 delta, Int32 count, MFReal32 &out)
{
    sp::resampleSamplesToIntervals(n, wl, val, start, delta, count, out.getValues());
}

void Spectrum::resampleIntervalsToIntervals(Int32 n, const Real32 *edges, const Real32 *val,
                                            Int32 start, Int32 delta, Int32 count, MFReal32 &out)
{
    sp::resampleIntervalsToIntervals(n, edges, val, start, delta, count, out.getValues());
}

/*------------------------------- helpers -----------------------------------*/

UInt32 Spectrum::sourceCount(void) const
{
    UInt32 n = std::min(_mfWavelengths.size(), _mfSourceValues.size());
    Int32 declared = _sfNumSamples.getValue();
    return declared <= 0 ? 0 : std::min(n, UInt32(declared));
}

bool Spectrum::isInUse(void) const
{
    return _sfUseSpectrum.getValue() && _mfSamples.size() >= UInt32(sp::DerivedCount);
}

void Spectrum::assignRegular(Int32 start, Int32 delta, const std::vector<Real32> &values)
{
    CPEditor edit(FieldContainerPtr(this), AllSpectrumFields);
    _mfWavelengths.clear();
    _mfSourceValues.clear();
    _mfWavelengths.reserve(values.size());
    for(size_t i = 0; i < values.size(); ++i)
        _mfWavelengths.push_back(sp::gridWavelength(start, delta, Int32(i)));
    _mfSourceValues.getValues().assign(values.begin(), values.end());
    _sfUseSpectrum.setValue(true);
    _sfVersionID.setValue(1);
    _sfFilename.setValue(std::string());
    _sfStartWavelength.setValue(start);
    _sfDeltaWavelength.setValue(delta);
    _sfNumSamples.setValue(Int32(values.size()));
}

bool Spectrum::readFile(const std::string &path, std::string &text) const
{
    std::ifstream in(path, std::ios::binary);
    if(!in)
    {
        skLog::error("ERROR Spectrum: Cannot open file %s", path.c_str());
        return false;
    }
    in.seekg(0, std::ios::end);
    std::streamoff size = in.tellg();
    in.seekg(0, std::ios::beg);
    if(size < 0 || UInt64(size) > MaxFileBytes)
    {
        skLog::error("ERROR Spectrum: File %s is too large (%lld bytes)", path.c_str(),
                     static_cast<long long>(size));
        return false;
    }
    text.assign(size_t(size), '\0');
    if(size > 0 && !in.read(&text[0], size))
    {
        skLog::error("ERROR Spectrum: Cannot read file %s", path.c_str());
        return false;
    }
    return true;
}

/*------------------------------- loading -----------------------------------*/

bool Spectrum::load(Int32 start, Int32 delta, Int32 count, const Real32 *values)
{
    if(values == NULL || count < 0 || count > MaxSamples)
        return false;
    assignRegular(start, delta, std::vector<Real32>(values, values + count));
    return true;
}

bool Spectrum::load(Int32 count, const Real32 *wavelengths, const Real32 *values)
{
    if(count < 0 || count > MaxSamples || (count > 0 && (wavelengths == NULL || values == NULL)))
        return false;

    _mfWavelengths.clear();
    _mfSourceValues.clear();
    for(Int32 i = 0; i < count; ++i)
    {
        _mfWavelengths.push_back(wavelengths[i]);
        _mfSourceValues.push_back(values[i]);
        if(i >= 1 && wavelengths[i - 1] > wavelengths[i])
        {
            skLog::error("%s", MsgNotMonotonic);
            std::cout << "(*wavelengths)[i]: " << wavelengths[i] << std::endl;
            std::cout << "(*wavelengths)[i-1]: " << wavelengths[i - 1] << std::endl;
            return false;
        }
    }

    CPEditor edit(FieldContainerPtr(this), AllSpectrumFields);
    _sfUseSpectrum.setValue(true);
    _sfVersionID.setValue(2);
    _sfFilename.setValue(std::string());
    _sfStartWavelength.setValue(0);
    _sfDeltaWavelength.setValue(0);
    _sfNumSamples.setValue(count);
    return true;
}

bool Spectrum::load(const std::string &path)
{
    std::string upper(path);
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return char(std::toupper(c)); });
    if(upper.find(".SPECTRAL") != std::string::npos)
        return loadNative(path);
    if(upper.find(".TXT") != std::string::npos)
        return loadTxt(path);
    skLog::error("ERROR Spectrum: Unknown file type: %s", path.c_str());
    return false;
}

namespace {

// Both readers end alike: report a failure, or take the parsed samples in one edit.
bool finishLoad(SpectrumPtr spectrum, const std::string &path, bool ok, sp::ParsedSpectrum &parsed,
                Int32 version, Int32 start, Int32 delta)
{
    if(!ok)
    {
        std::cout << "Error reading Spectrum File: " << path << std::endl;
        return false;
    }
    {
        CPEditor edit(spectrum, AllSpectrumFields);
        spectrum->editMFWavelengths()->getValues().swap(parsed.wavelengths);
        spectrum->editMFSourceValues()->getValues().swap(parsed.values);
        spectrum->setUseSpectrum(true);
        spectrum->setVersionID(version);
        spectrum->setFilename(path);
        spectrum->setStartWavelength(start);
        spectrum->setDeltaWavelength(delta);
        spectrum->setNumSamples(parsed.count);
    }
    std::cout << "Successfully read Spectrum File: " << path << std::endl;
    return true;
}

} // namespace

bool Spectrum::loadNative(const std::string &path)
{
    std::cout << "Spectrum::loadNative" << std::endl;

    std::string text;
    sp::ParsedSpectrum parsed;
    bool ok = false;
    if(readFile(path, text))
    {
        ok = sp::parseNative(text, MaxSamples, parsed);
        std::cout << "version: " << parsed.token << std::endl;
        if(parsed.headerRead)
        {
            std::cout << "startWavelength: " << parsed.start << std::endl;
            std::cout << "deltaWavelength: " << parsed.delta << std::endl;
            std::cout << "numSamples: " << parsed.count << std::endl;
        }
        switch(parsed.error)
        {
            case sp::ParseError::None:
                break;
            case sp::ParseError::UnknownVersion:
                skLog::error("%s", MsgBadVersion);
                break;
            case sp::ParseError::CountOutOfRange:
                skLog::error("ERROR Spectrum: Sample count %d out of range (0 to %d).",
                             parsed.count, MaxSamples);
                break;
            case sp::ParseError::NotFinite:
                skLog::error("ERROR Spectrum: Value is not a finite number.");
                break;
            case sp::ParseError::Decreasing:
                skLog::error("%s", MsgNotMonotonic);
                if(parsed.wavelengths.size() == 2)
                {
                    std::cout << "2 (*wavelengths)[i]: " << parsed.wavelengths[1] << std::endl;
                    std::cout << "2 (*wavelengths)[i-1]: " << parsed.wavelengths[0] << std::endl;
                }
                break;
            default:
                skLog::error("%s", MsgBadFormat);
                break;
        }
    }

    return finishLoad(SpectrumPtr(this), path, ok, parsed, parsed.version,
                      parsed.version == 1 ? parsed.start : 0, parsed.version == 1 ? parsed.delta : 0);
}

bool Spectrum::loadTxt(const std::string &path)
{
    std::cout << "Spectrum::loadTxt" << std::endl;
    if(_sfUseSpectrum.getValue())
    {
        CPEditor edit(FieldContainerPtr(this), UseSpectrumFieldMask);
        _sfUseSpectrum.setValue(false);
    }

    std::string text;
    sp::ParsedSpectrum parsed;
    bool ok = false;
    if(readFile(path, text))
    {
        ok = sp::parseTextPairs(text, MaxSamples, parsed);
        switch(parsed.error)
        {
            case sp::ParseError::None:
                break;
            case sp::ParseError::CountOutOfRange:
                skLog::error("ERROR Spectrum: More than %d samples.", MaxSamples);
                break;
            case sp::ParseError::NotFinite:
                skLog::error("ERROR Spectrum: Value is not a finite number.");
                break;
            case sp::ParseError::Decreasing:
                skLog::error("%s", MsgNotMonotonic);
                std::cout << "(*wavelengths)[i]: " << parsed.wavelengths[1] << std::endl;
                std::cout << "(*wavelengths)[i-1]: " << parsed.wavelengths[0] << std::endl;
                break;
            default:
                skLog::error("%s", MsgBadFormat);
                break;
        }
    }

    return finishLoad(SpectrumPtr(this), path, ok, parsed, 2, parsed.start, 0);
}

bool Spectrum::save(const std::string &path) const
{
    std::cout << "Spectrum::save" << std::endl;
    std::cout << "Spectrum File: " << path << std::endl;

    Int32 version = _sfVersionID.getValue();
    if(version != 1 && version != 2)
    {
        std::cout << "Unknown Spectrum File Version!" << std::endl;
        return false;
    }

    // The header promises exactly the numbers that follow, even if the fields disagree.
    UInt32 n = sourceCount();
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if(out)
    {
        if(version == 1)
        {
            out << "spectral1 " << _sfStartWavelength.getValue() << ' '
                << _sfDeltaWavelength.getValue() << ' ' << n << " \n";
        }
        else
        {
            out << "spectral2 " << n << " \n";
            for(UInt32 i = 0; i < n; ++i)
                out << _mfWavelengths[i] << ' ';
            out << '\n';
        }
        for(UInt32 i = 0; i < n; ++i)
            out << _mfSourceValues[i] << ' ';
        out.close();
    }
    if(!out)
    {
        std::cout << "Error writing Spectrum File: " << path << std::endl;
        return false;
    }
    std::cout << "Successfully wrote Spectrum File: " << path << std::endl;
    return true;
}

/*------------------------------- setting -----------------------------------*/

void Spectrum::set(Real32 value, Int32 start, Int32 delta, Int32 count)
{
    if(count < 0 || count > MaxSamples)
    {
        skLog::warning("Spectrum::set: invalid count %d", count);
        return;
    }
    assignRegular(start, delta, std::vector<Real32>(size_t(count), value));
}

void Spectrum::setOne(void)
{
    set(1.0f, 380, 5, 81);
}

void Spectrum::setRGB(Real32 r, Real32 g, Real32 b, Int32 start, Int32 delta, Int32 count)
{
    if(!validGrid("setRGB", delta, count))
        return;
    if(!std::isfinite(r) || !std::isfinite(g) || !std::isfinite(b) || r < 0 || g < 0 || b < 0)
    {
        skLog::warning("Spectrum::setRGB: invalid colour (%g, %g, %g)", double(r), double(g),
                       double(b));
        return;
    }

    SpectralData &data = SpectralData::Instance();
    float weights[7];
    sp::smitsWeights(r, g, b, weights);

    // Smits' white basis reflects about 1.06; scale it to luminance 1 under D65, so that white
    // stays white and the colour round trip holds.
    SpectrumPtr white = data.getReflWhite();
    Real32 whiteY = white != NullFC ? white->getXYZ()[1] : 0.0f;
    Real32 norm = whiteY > 0.0f ? 1.0f / whiteY : 1.0f;

    std::vector<Real32> values(size_t(count), 0.0f);
    for(UInt32 k = 0; k < 7; ++k)
    {
        if(weights[k] == 0.0f)
            continue;
        SpectrumPtr basis = data.getSlot(SpectralData::SlotReflWhite + k);
        if(basis == NullFC)
            continue;
        UInt32 n = basis->sourceCount();
        const Real32 *wl = n ? &basis->_mfWavelengths[0] : NULL;
        const Real32 *val = n ? &basis->_mfSourceValues[0] : NULL;
        for(Int32 i = 0; i < count; ++i)
            values[size_t(i)] += norm * weights[k] *
                sp::averageSamplesToSamples(wl, val, Int32(n), sp::gridWavelength(start, delta, i));
    }
    assignRegular(start, delta, values);
}

void Spectrum::addAnalyticFunction(Int32 type, Real32 p0, Real32 p1, Real32 p2, Real32 p3,
                                   bool normalize, Int32 start, Int32 delta, Int32 count)
{
    if(!validGrid("addAnalyticFunction", delta, count))
        return;
    bool paramsOk = std::isfinite(p0) && std::isfinite(p1) && std::isfinite(p2) &&
                    std::isfinite(p3);
    if(paramsOk && type == AnalyticGaussian)
        paramsOk = p2 > 0.0f;
    else if(paramsOk && type == AnalyticBlackBody)
        paramsOk = p1 > 0.0f;
    else if(paramsOk && type != AnalyticConstant && type != AnalyticBox)
    {
        skLog::warning("Spectrum::addAnalyticFunction: unknown type %d", type);
        return;
    }
    if(!paramsOk)
    {
        skLog::warning("Spectrum::addAnalyticFunction: invalid parameters for type %d", type);
        return;
    }

    std::vector<double> curve(static_cast<size_t>(count));
    for(Int32 i = 0; i < count; ++i)
    {
        double l = double(sp::gridWavelength(start, delta, i));
        double v = 0.0;
        switch(type)
        {
            case AnalyticConstant:
                v = 1.0;
                break;
            case AnalyticGaussian:
            {
                double d = (l - double(p1)) / double(p2);
                v = std::exp(-0.5 * d * d);
                break;
            }
            case AnalyticBlackBody:
                v = sp::planckRelative(l, double(p1));
                break;
            case AnalyticBox:
                v = (l >= double(p1) && l <= double(p2)) ? 1.0 : 0.0;
                break;
        }
        curve[size_t(i)] = v;
    }
    double factor = double(p0);
    if(normalize)
    {
        double peak = *std::max_element(curve.begin(), curve.end());
        if(!(peak > 0.0) || !std::isfinite(peak))
        {
            skLog::warning("Spectrum::addAnalyticFunction: curve has no positive peak on the grid");
            return;
        }
        factor /= peak;
    }

    UInt32 n = isInUse() ? sourceCount() : 0;
    const Real32 *wl = n ? &_mfWavelengths[0] : NULL;
    const Real32 *val = n ? &_mfSourceValues[0] : NULL;
    std::vector<Real32> values(static_cast<size_t>(count));
    for(Int32 i = 0; i < count; ++i)
    {
        double base = n ? double(sp::averageSamplesToSamples(wl, val, Int32(n),
                                                             sp::gridWavelength(start, delta, i)))
                        : 0.0;
        values[size_t(i)] = Real32(base + factor * curve[size_t(i)] + double(p3));
    }
    if(!allFinite(values))
    {
        skLog::warning("Spectrum::addAnalyticFunction: values out of range for type %d", type);
        return;
    }
    assignRegular(start, delta, values);
}

void Spectrum::add(SpectrumPtr other)
{
    if(other == NullFC || !other->isInUse())
        return;
    if(!isInUse())
    {
        if(getCPtr(other) != this)
            copy(other);
        return;
    }

    UInt32 n = sourceCount(), m = other->sourceCount();
    const std::vector<Real32> &wa = _mfWavelengths.getValues();
    const std::vector<Real32> &wb = other->_mfWavelengths.getValues();
    bool sameGrid = n == m && std::equal(wa.begin(), wa.begin() + n, wb.begin());
    if(sameGrid)
    {
        std::vector<Real32> sum(other->_mfSourceValues.begin(),
                                other->_mfSourceValues.begin() + m);
        for(UInt32 i = 0; i < n; ++i)
            sum[i] += _mfSourceValues[i];
        CPEditor edit(FieldContainerPtr(this), SourceValuesFieldMask);
        _mfSourceValues.getValues().assign(sum.begin(), sum.end());
        return;
    }

    std::vector<Real32> grid;
    grid.reserve(n + m);
    std::merge(wa.begin(), wa.begin() + n, wb.begin(), wb.begin() + m, std::back_inserter(grid));
    grid.erase(std::unique(grid.begin(), grid.end()), grid.end());
    if(grid.size() > size_t(MaxSamples))
    {
        skLog::warning("Spectrum::add: combined grid exceeds %d samples", MaxSamples);
        return;
    }
    std::vector<Real32> sum(grid.size());
    const Real32 *va = n ? &_mfSourceValues[0] : NULL;
    const Real32 *vb = m ? &other->_mfSourceValues[0] : NULL;
    for(size_t i = 0; i < grid.size(); ++i)
        sum[i] = sp::averageSamplesToSamples(n ? &wa[0] : NULL, va, Int32(n), grid[i]) +
                 sp::averageSamplesToSamples(m ? &wb[0] : NULL, vb, Int32(m), grid[i]);
    load(Int32(grid.size()), grid.data(), sum.data());
}

void Spectrum::scale(Real32 f)
{
    if(!isInUse())
        return;
    CPEditor edit(FieldContainerPtr(this), SourceValuesFieldMask);
    UInt32 n = std::min(_mfSourceValues.size(), UInt32(std::max(_sfNumSamples.getValue(), 0)));
    for(UInt32 i = 0; i < n; ++i)
        _mfSourceValues[i] *= f;
}

void Spectrum::setPhotometricValue(Real32 value)
{
    if(!isInUse())
        return;
    if(!std::isfinite(value) || value < 0.0f)
    {
        skLog::warning("Spectrum::setPhotometricValue: invalid value %g", double(value));
        return;
    }
    Real32 current = getPhotometricValue();
    if(value == 0.0f)
    {
        scale(0.0f);
        return;
    }
    if(!(current != 0.0f) || !std::isfinite(current))
    {
        skLog::warning("Spectrum::setPhotometricValue: the spectrum has no photometric value to "
                       "scale");
        return;
    }
    scale(value / current);
}

bool Spectrum::copy(SpectrumPtr other)
{
    if(other == NullFC)
        return false;
    if(getCPtr(other) == this)
    {
        CPEditor edit(FieldContainerPtr(this), AllSpectrumFields);
        return true;
    }

    Int32 n = std::max(other->_sfNumSamples.getValue(), 0);
    UInt32 nv = std::min(other->_mfSourceValues.size(), UInt32(n));
    CPEditor edit(FieldContainerPtr(this), AllSpectrumFields);
    _mfWavelengths.clear();
    _mfSourceValues.clear();
    Int32 version = other->_sfVersionID.getValue();
    if(version == 2)
    {
        UInt32 nw = std::min(other->_mfWavelengths.size(), UInt32(n));
        _mfWavelengths.getValues().assign(other->_mfWavelengths.begin(),
                                          other->_mfWavelengths.begin() + nw);
    }
    else if(version == 1)
    {
        // Bounded by the values that exist: a corrupt count must not drive the allocation.
        for(UInt32 i = 0; i < nv; ++i)
            _mfWavelengths.push_back(sp::gridWavelength(other->_sfStartWavelength.getValue(),
                                                        other->_sfDeltaWavelength.getValue(),
                                                        Int32(i)));
    }
    _mfSourceValues.getValues().assign(other->_mfSourceValues.begin(),
                                       other->_mfSourceValues.begin() + nv);
    _sfUseSpectrum.setValue(other->_sfUseSpectrum.getValue());
    _sfVersionID.setValue(version);
    _sfFilename.setValue(other->_sfFilename.getValue());
    _sfStartWavelength.setValue(other->_sfStartWavelength.getValue());
    _sfDeltaWavelength.setValue(other->_sfDeltaWavelength.getValue());
    _sfNumSamples.setValue(other->_sfNumSamples.getValue());
    return true;
}

Spectrum::Options Spectrum::getOptions(void) const
{
    return Options(_sfUseSpectrum.getValue(), _sfFilename.getValue(), _sfVersionID.getValue(),
                   _sfStartWavelength.getValue(), _sfDeltaWavelength.getValue(),
                   _sfNumSamples.getValue(), _mfWavelengths.getValues(),
                   _mfSourceValues.getValues());
}

void Spectrum::setOptions(const Options &options)
{
    const Int32 version = std::get<2>(options);
    const Int32 n = std::get<5>(options);
    const std::vector<Real32> &wl = std::get<6>(options);
    const std::vector<Real32> &val = std::get<7>(options);
    if(n < 0 || n > MaxSamples || val.size() < size_t(n) ||
       (version == 2 && wl.size() < size_t(n)))
    {
        skLog::warning("Spectrum::setOptions: %d samples do not fit the lists (%zu, %zu)", n,
                       wl.size(), val.size());
        return;
    }

    CPEditor edit(FieldContainerPtr(this), AllSpectrumFields);
    _mfWavelengths.clear();
    _mfSourceValues.clear();
    if(version == 2)
        _mfWavelengths.getValues().assign(wl.begin(), wl.begin() + n);
    else if(version == 1)
        for(Int32 i = 0; i < n; ++i)
            _mfWavelengths.push_back(
                sp::gridWavelength(std::get<3>(options), std::get<4>(options), i));
    _mfSourceValues.getValues().assign(val.begin(), val.begin() + n);
    _sfUseSpectrum.setValue(std::get<0>(options));
    _sfVersionID.setValue(version);
    _sfFilename.setValue(std::get<1>(options));
    _sfStartWavelength.setValue(std::get<3>(options));
    _sfDeltaWavelength.setValue(std::get<4>(options));
    _sfNumSamples.setValue(n);
}

/*------------------------------- queries -----------------------------------*/

Real32 Spectrum::getMaxValue(void) const
{
    if(!isInUse())
        return 0.0f;
    UInt32 n = std::min(_mfSourceValues.size(), UInt32(std::max(_sfNumSamples.getValue(), 0)));
    if(n == 0)
        return _mfSourceValues.empty() ? 0.0f : _mfSourceValues[0];
    return *std::max_element(_mfSourceValues.begin(), _mfSourceValues.begin() + n);
}

Real32 Spectrum::getSum(void) const
{
    if(!isInUse())
        return 0.0f;
    Real32 sum = 0.0f;
    for(Int32 i = 0; i < sp::DerivedCount; ++i)
        sum += _mfSamples[UInt32(i)];
    return sum;
}

Real32 Spectrum::getPhotometricValue(void) const
{
    if(!isInUse())
        return 0.0f;
    SpectralData &data = SpectralData::Instance();
    return SpectralData::getPhotometricValue(SpectrumPtr(const_cast<Spectrum *>(this)),
                                             data.getY());
}

Vec3f Spectrum::getXYZ(void) const
{
    if(!isInUse())
        return Vec3f(0.0f, 0.0f, 0.0f);
    SpectralData &data = SpectralData::Instance();
    SpectrumPtr cmf[3] = {data.getX(), data.getY(), data.getZ()};
    SpectrumPtr d65 = data.getD65();
    for(const SpectrumPtr &c : cmf)
        if(c == NullFC || c->_mfSamples.size() < UInt32(sp::DerivedCount))
            return Vec3f(0.0f, 0.0f, 0.0f);
    if(d65 == NullFC || d65->_mfSamples.size() < UInt32(sp::DerivedCount))
        return Vec3f(0.0f, 0.0f, 0.0f);

    const Real32 *x = &cmf[0]->_mfSamples[0];
    const Real32 *y = &cmf[1]->_mfSamples[0];
    const Real32 *z = &cmf[2]->_mfSamples[0];
    const Real32 *illum = &d65->_mfSamples[0];
    const Real32 *s = &_mfSamples[0];
    Real32 norm = 0.0f, sx = 0.0f, sy = 0.0f, sz = 0.0f;
    for(Int32 i = 0; i < sp::DerivedCount; ++i)
    {
        norm += illum[i] * y[i];
        sx += x[i] * s[i] * illum[i];
        sy += y[i] * s[i] * illum[i];
        sz += z[i] * s[i] * illum[i];
    }
    if(norm == 0.0f)
        return Vec3f(0.0f, 0.0f, 0.0f);
    return Vec3f(sx / norm, sy / norm, sz / norm);
}

Vec3f Spectrum::getRGB(void) const
{
    struct Matrix3
    {
        float m[9];
        Matrix3(void) { skColor::getXYZtoRGBMat(m); }
    };
    static const Matrix3 mat;
    Vec3f xyz = getXYZ();
    const float *m = mat.m;
    return Vec3f(m[0] * xyz[0] + m[1] * xyz[1] + m[2] * xyz[2],
                 m[3] * xyz[0] + m[4] * xyz[1] + m[5] * xyz[2],
                 m[6] * xyz[0] + m[7] * xyz[1] + m[8] * xyz[2]);
}

/*------------------------------- derived data ------------------------------*/

void Spectrum::resample(void)
{
    if(_mfWavelengths.empty() || _mfSourceValues.empty())
        return;
    CPEditor edit(FieldContainerPtr(this), SamplesFieldMask);
    UInt32 n = sourceCount();
    // A count field that promises more than the lists hold (e.g. from a stream) is read as what
    // the lists hold; one that promises nothing leaves the first pair.
    if(n == 0)
        n = 1;
    sp::deriveSamples(&_mfWavelengths[0], &_mfSourceValues[0], Int32(n), _mfSamples.getValues());
}

void Spectrum::resampleSource(Int32 start, Int32 delta, Int32 count)
{
    if(_mfWavelengths.empty() || _mfSourceValues.empty())
        return;
    if(count < 0 || count > MaxSamples)
    {
        skLog::warning("Spectrum::resampleSource: invalid count %d", count);
        return;
    }
    std::vector<Real32> tmp;
    UInt32 n = std::max(sourceCount(), UInt32(1));
    sp::resampleSamplesToSamples(Int32(n), &_mfWavelengths[0], &_mfSourceValues[0], start, delta,
                                 count, tmp);

    CPEditor edit(FieldContainerPtr(this),
                  VersionIDFieldMask | StartWavelengthFieldMask | DeltaWavelengthFieldMask |
                  NumSamplesFieldMask | WavelengthsFieldMask | SourceValuesFieldMask);
    _mfWavelengths.clear();
    _mfSourceValues.clear();
    for(Int32 i = 0; i < count; ++i)
        _mfWavelengths.push_back(sp::gridWavelength(start, delta, i));
    _mfSourceValues.getValues().swap(tmp);
    _sfVersionID.setValue(1);
    _sfStartWavelength.setValue(start);
    _sfDeltaWavelength.setValue(delta);
    _sfNumSamples.setValue(count);
}

/*------------------------------- diagnostics -------------------------------*/

void Spectrum::print(void) const
{
    std::ostream &out = std::cout;
    try
    {
        out << "Spectrum::print" << std::endl;
        out << "filename: " << _sfFilename.getValue() << std::endl;
        out << "versionID: " << _sfVersionID.getValue() << std::endl;
        UInt32 n = sourceCount();
        Int32 version = _sfVersionID.getValue();
        if(version == 2)
        {
            out << "spectral2 " << std::endl;
            out << "dataNumSpectraSamples: " << n << std::endl;
            for(UInt32 i = 0; i < n; ++i)
                out << _mfWavelengths[i] << ' ';
            out << std::endl;
        }
        else if(version == 1)
        {
            out << "spectral1 " << std::endl;
            out << "dataWavelengthStart: " << _sfStartWavelength.getValue() << ' ' << std::endl;
            out << "dataWavelengthDelta: " << _sfDeltaWavelength.getValue() << ' ' << std::endl;
            out << "dataNumSpectraSamples: " << n << ' ' << std::endl;
        }
        else
        {
            out << "Unknown Spectrum File Version!" << std::endl;
            return;
        }
        for(UInt32 i = 0; i < n; ++i)
            out << _mfSourceValues[i] << ' ';
        out << std::endl;
    }
    catch(const std::exception &)
    {
        out.clear();
        out << "Error printing Spectrum" << std::endl;
    }
}

void Spectrum::unLoad(void)
{
    std::cout << "Spectrum::unLoad" << std::endl;
    CPEditor edit(FieldContainerPtr(this),
                  UseSpectrumFieldMask | FilenameFieldMask | VersionIDFieldMask |
                  WavelengthsFieldMask | SourceValuesFieldMask | SamplesFieldMask);
    _mfWavelengths.clear();
    _mfSourceValues.clear();
    _mfSamples.clear();
    _sfUseSpectrum.setValue(false);
    _sfVersionID.setValue(0);
    _sfFilename.setValue(std::string());
}

void Spectrum::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);

    if(whichField & SourceValuesFieldMask)
        resample();

    if((whichField & UseSpectrumFieldMask) && isInUse() && _sfVersionID.getValue() == 0)
        set(1.0f, 380, 5, 81);

    if((whichField & NumSamplesFieldMask) && isInUse() && _sfNumSamples.getValue() == 0)
    {
        _sfVersionID.setValue(0);
        _sfUseSpectrum.setValue(false);
    }
}

void Spectrum::dump(UInt32, const BitVector) const
{
    std::cout << "Dump Spectrum NI" << std::endl;
}

} // namespace osg
