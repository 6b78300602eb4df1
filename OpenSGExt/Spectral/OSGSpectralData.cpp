#include <OpenSGExt/OSGSpectralData.h>
#include <OpenSGExt/Spectral/detail/SpectralSampling.h>

#include <algorithm>

namespace osg {

namespace {

const Real32 *const ReflTables[7] = {
    SpectralData::RGB2ReflSpec_White,  SpectralData::RGB2ReflSpec_Cyan,
    SpectralData::RGB2ReflSpec_Magenta, SpectralData::RGB2ReflSpec_Yellow,
    SpectralData::RGB2ReflSpec_Red,    SpectralData::RGB2ReflSpec_Green,
    SpectralData::RGB2ReflSpec_Blue};
const Real32 *const IlluTables[7] = {
    SpectralData::RGB2IlluSpec_White,  SpectralData::RGB2IlluSpec_Cyan,
    SpectralData::RGB2IlluSpec_Magenta, SpectralData::RGB2IlluSpec_Yellow,
    SpectralData::RGB2IlluSpec_Red,    SpectralData::RGB2IlluSpec_Green,
    SpectralData::RGB2IlluSpec_Blue};

bool hasDerived(const SpectrumPtr &s)
{
    return s != NullFC && s->getMFSamples()->size() >= UInt32(skosg::spectral::DerivedCount);
}

// Multiplies the source values by k, reported as a change of sourceValues (which re-derives
// the samples).
void scaleSource(const SpectrumPtr &s, Real32 k)
{
    beginEditCP(s, Spectrum::SourceValuesFieldMask);
    for(Real32 &v : s->getMFSourceValues()->getValues())
        v *= k;
    endEditCP(s, Spectrum::SourceValuesFieldMask);
}

} // namespace

SpectralData &SpectralData::Instance(void)
{
    // Never destroyed: the spectra it holds belong to the container system, which may already be
    // shut down when static destructors run.
    static SpectralData *instance = new SpectralData;
    return *instance;
}

SpectralData::SpectralData(void) :
    _spectra(),
    _wavelengthStart(0),
    _wavelengthDelta(0),
    _numSpectraSamples(0),
    _illuminant(0)
{
    std::fill(_spectra, _spectra + SlotCount, SpectrumPtr(NullFC));
    initCIE1931();
}

SpectralData::~SpectralData(void)
{
    for(SpectrumPtr &s : _spectra)
        clearRefCP(s);
}

SpectrumPtr SpectralData::getSlot(UInt32 index) const
{
    return index < UInt32(SlotCount) ? _spectra[index] : SpectrumPtr(NullFC);
}

SpectrumPtr SpectralData::slot(UInt32 index)
{
    if(_spectra[index] == NullFC)
    {
        _spectra[index] = Spectrum::create();
        addRefCP(_spectra[index]);
    }
    return _spectra[index];
}

void SpectralData::initCIE1931(void)
{
    initObserver(CIE1931cmf_lambda, CIE1931cmf_X, CIE1931cmf_Y, CIE1931cmf_Z, CIE1931cmfCount);
}

void SpectralData::initCIE2006(void)
{
    initObserver(CIE2006cmf_lambda, CIE2006cmf_X, CIE2006cmf_Y, CIE2006cmf_Z, CIE2006cmfCount);
}

void SpectralData::initObserver(const Real32 *lambda, const Real32 *x, const Real32 *y,
                                const Real32 *z, UInt32 count)
{
    const Real32 *tables[3] = {x, y, z};
    for(UInt32 i = 0; i < 3; ++i)
        slot(SlotX + i)->load(Int32(count), lambda, tables[i]);

    // Normalised so that the 40 derived y-bar samples sum to 1: a colour is then a plain
    // weighted sum of samples.
    Real32 sum = _spectra[SlotY]->getSum();
    if(sum != 0.0f)
    {
        Real32 k = 1.0f / sum;
        for(UInt32 i = 0; i < 3; ++i)
            scaleSource(_spectra[SlotX + i], k);
    }
    initSpectralData();
}

void SpectralData::initSpectralData(void)
{
    const UInt32 illuminants[3] = {SlotD65, SlotA, SlotE};
    const Real32 *tables[3] = {CIEilluminant_D65, CIEilluminant_A, CIEilluminant_E};
    for(UInt32 i = 0; i < 3; ++i)
        slot(illuminants[i])->load(Int32(CIEilluminantCount), CIEilluminant_lambda, tables[i]);

    for(UInt32 i = 0; i < 3; ++i)
    {
        SpectrumPtr s = _spectra[illuminants[i]];
        if(!hasDerived(_spectra[SlotY]) || !s->isInUse())
            continue;
        Real32 k = getPhotometricValue(s, _spectra[SlotY]);
        // Multiplied by the weighted sum, not divided: the established scale of these
        // illuminants, which all colour code here normalises away again.
        scaleSource(s, k);
    }

    for(UInt32 i = 0; i < 7; ++i)
    {
        SpectrumPtr refl = slot(SlotReflWhite + i);
        refl->load(Int32(RGB2SpecCount), RGB2Spec_lambda, ReflTables[i]);
        refl->resampleSource(380, 5, 81);
    }
    for(UInt32 i = 0; i < 7; ++i)
    {
        SpectrumPtr illu = slot(SlotIlluWhite + i);
        illu->load(Int32(RGB2SpecCount), RGB2Spec_lambda, IlluTables[i]);
        illu->resampleSource(380, 5, 81);
    }
}

void SpectralData::resampleReflSpec(Int32 start, Int32 delta, Int32 count)
{
    for(UInt32 i = 0; i < 7; ++i)
        if(_spectra[SlotReflWhite + i] != NullFC)
            _spectra[SlotReflWhite + i]->resampleSource(start, delta, count);
    _wavelengthStart = start;
    _wavelengthDelta = delta;
    _numSpectraSamples = count;
}

Real32 SpectralData::getPhotometricValue(SpectrumPtr s, SpectrumPtr weight)
{
    if(s == NullFC || weight == NullFC || !s->isInUse() || !hasDerived(weight))
        return 0.0f;
    const MFReal32 &a = *s->getMFSamples();
    const MFReal32 &b = *weight->getMFSamples();
    Real32 sum = 0.0f;
    for(UInt32 i = 0; i < UInt32(skosg::spectral::DerivedCount); ++i)
        sum += a[i] * b[i];
    return sum;
}

Vec4f SpectralData::convertToRGBA(SpectrumPtr s, Real32 alpha, bool clamp) const
{
    const SpectrumPtr x = _spectra[SlotX], y = _spectra[SlotY], z = _spectra[SlotZ];
    const SpectrumPtr d65 = _spectra[SlotD65];
    if(!hasDerived(s) || !hasDerived(x) || !hasDerived(y) || !hasDerived(z) || !hasDerived(d65))
        return Vec4f(0.0f, 0.0f, 0.0f, alpha);

    const MFReal32 &S = *s->getMFSamples();
    const MFReal32 &xb = *x->getMFSamples();
    const MFReal32 &yb = *y->getMFSamples();
    const MFReal32 &zb = *z->getMFSamples();
    const MFReal32 &I = *d65->getMFSamples();
    Real32 n = 0.0f, X = 0.0f, Y = 0.0f, Z = 0.0f;
    for(UInt32 i = 0; i < UInt32(skosg::spectral::DerivedCount); ++i)
    {
        n += yb[i] * I[i];
        X += S[i] * xb[i] * I[i];
        Y += S[i] * yb[i] * I[i];
        Z += S[i] * zb[i] * I[i];
    }
    if(n == 0.0f)
        return Vec4f(0.0f, 0.0f, 0.0f, alpha);
    X /= n;
    Y /= n;
    Z /= n;

    Real32 r = 3.2404542f * X - 1.5371385f * Y - 0.4985314f * Z;
    Real32 g = -0.969266f * X + 1.8760108f * Y + 0.041556f * Z;
    Real32 b = 0.0556434f * X - 0.2040259f * Y + 1.0572252f * Z;
    if(clamp)
    {
        r = std::min(std::max(r, 0.0f), 1.0f);
        g = std::min(std::max(g, 0.0f), 1.0f);
        b = std::min(std::max(b, 0.0f), 1.0f);
    }
    return Vec4f(r, g, b, alpha);
}

} // namespace osg
