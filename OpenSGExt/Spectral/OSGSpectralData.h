#ifndef _OSGSPECTRALDATA_H_
#define _OSGSPECTRALDATA_H_

#include <OpenSGExt/OSGSpectrum.h>
#include <OpenSG/OSGVector.h>

namespace osg {

/*! The process-wide reference spectra that turn a Spectrum into colour: the CIE colour-matching
    functions (1931 or 2006 observer), the CIE illuminants A, D65 and E, and Smits' RGB basis
    spectra for reflectances and for illuminants. All are ordinary Spectrum objects, so each
    carries its 40 derived samples; after either init the 40 derived y-bar samples sum to 1.

    The singleton is created on first use, without a lock: create it (Instance()) before
    threads share it. It holds one reference to each of its spectra for the life of the process.
    The tables are the published data, compiled from the CSV files in OpenSGExt/Spectral/data. */
class SpectralData
{
  public:
    enum Slot
    {
        SlotX = 0, SlotY, SlotZ, SlotA, SlotD65, SlotE,
        SlotReflWhite, SlotReflCyan, SlotReflMagenta, SlotReflYellow, SlotReflRed, SlotReflGreen,
        SlotReflBlue,
        SlotIlluWhite, SlotIlluCyan, SlotIlluMagenta, SlotIlluYellow, SlotIlluRed, SlotIlluGreen,
        SlotIlluBlue,
        SlotCount
    };

    static SpectralData &Instance(void);

    /*! Reload the colour-matching functions of that observer, normalise them so that the 40
        derived y-bar samples sum to 1, then reload illuminants and basis spectra. */
    void initCIE1931(void);
    void initCIE2006(void);

    /*! Resamples the seven reflectance basis spectra to the regular grid and records the grid;
        the illuminant basis spectra keep theirs. */
    void resampleReflSpec(Int32 start, Int32 delta, Int32 count);

    /*! (R, G, B, alpha) in linear sRGB of s taken as a reflectance under D65 (a perfect
        reflector gives about (1, 1, 1)), through the fixed sRGB matrix; clamp limits R, G, B to
        [0, 1]. A spectrum that is null or has fewer than 40 samples gives (0, 0, 0, alpha). */
    Vec4f convertToRGBA(SpectrumPtr s, Real32 alpha, bool clamp) const;

    SpectrumPtr getX(void) const { return _spectra[SlotX]; }
    SpectrumPtr getY(void) const { return _spectra[SlotY]; }
    SpectrumPtr getZ(void) const { return _spectra[SlotZ]; }
    SpectrumPtr getA(void) const { return _spectra[SlotA]; }
    SpectrumPtr getD65(void) const { return _spectra[SlotD65]; }
    SpectrumPtr getE(void) const { return _spectra[SlotE]; }
    SpectrumPtr getReflWhite(void) const { return _spectra[SlotReflWhite]; }
    SpectrumPtr getReflCyan(void) const { return _spectra[SlotReflCyan]; }
    SpectrumPtr getReflMagenta(void) const { return _spectra[SlotReflMagenta]; }
    SpectrumPtr getReflYellow(void) const { return _spectra[SlotReflYellow]; }
    SpectrumPtr getReflRed(void) const { return _spectra[SlotReflRed]; }
    SpectrumPtr getReflGreen(void) const { return _spectra[SlotReflGreen]; }
    SpectrumPtr getReflBlue(void) const { return _spectra[SlotReflBlue]; }
    SpectrumPtr getIlluWhite(void) const { return _spectra[SlotIlluWhite]; }
    SpectrumPtr getIlluCyan(void) const { return _spectra[SlotIlluCyan]; }
    SpectrumPtr getIlluMagenta(void) const { return _spectra[SlotIlluMagenta]; }
    SpectrumPtr getIlluYellow(void) const { return _spectra[SlotIlluYellow]; }
    SpectrumPtr getIlluRed(void) const { return _spectra[SlotIlluRed]; }
    SpectrumPtr getIlluGreen(void) const { return _spectra[SlotIlluGreen]; }
    SpectrumPtr getIlluBlue(void) const { return _spectra[SlotIlluBlue]; }
    /*! Any slot by index; null for an index out of range. */
    SpectrumPtr getSlot(UInt32 slot) const;

    Int32 getWavelengthStart(void) const { return _wavelengthStart; }
    Int32 getWavelengthDelta(void) const { return _wavelengthDelta; }
    Int32 getNumSpectraSamples(void) const { return _numSpectraSamples; }

    /*! Stored for the host; nothing here reads it. */
    UInt32 getIlluminant(void) const { return _illuminant; }
    void   setIlluminant(UInt32 illuminant) { _illuminant = illuminant; }

    /*------------------------- published tables ---------------------------*/
    static constexpr UInt32 CIE1931cmfCount    = 471;   //!< 360-830 nm, 1 nm
    static constexpr UInt32 CIE2006cmfCount    = 441;   //!< 390-830 nm, 1 nm
    static constexpr UInt32 CIEilluminantCount = 107;   //!< 300-830 nm, 5 nm
    static constexpr UInt32 RGB2SpecCount      = 32;    //!< 380-720 nm, 340/31 nm

    static const Real32 CIE1931cmf_lambda[CIE1931cmfCount];
    static const Real32 CIE1931cmf_X[CIE1931cmfCount];
    static const Real32 CIE1931cmf_Y[CIE1931cmfCount];
    static const Real32 CIE1931cmf_Z[CIE1931cmfCount];
    static const Real32 CIE2006cmf_lambda[CIE2006cmfCount];
    static const Real32 CIE2006cmf_X[CIE2006cmfCount];
    static const Real32 CIE2006cmf_Y[CIE2006cmfCount];
    static const Real32 CIE2006cmf_Z[CIE2006cmfCount];
    static const Real32 CIEilluminant_lambda[CIEilluminantCount];
    static const Real32 CIEilluminant_A[CIEilluminantCount];
    static const Real32 CIEilluminant_D65[CIEilluminantCount];
    static const Real32 CIEilluminant_E[CIEilluminantCount];
    static const Real32 RGB2Spec_lambda[RGB2SpecCount];
    static const Real32 RGB2ReflSpec_White[RGB2SpecCount];
    static const Real32 RGB2ReflSpec_Cyan[RGB2SpecCount];
    static const Real32 RGB2ReflSpec_Magenta[RGB2SpecCount];
    static const Real32 RGB2ReflSpec_Yellow[RGB2SpecCount];
    static const Real32 RGB2ReflSpec_Red[RGB2SpecCount];
    static const Real32 RGB2ReflSpec_Green[RGB2SpecCount];
    static const Real32 RGB2ReflSpec_Blue[RGB2SpecCount];
    static const Real32 RGB2IlluSpec_White[RGB2SpecCount];
    static const Real32 RGB2IlluSpec_Cyan[RGB2SpecCount];
    static const Real32 RGB2IlluSpec_Magenta[RGB2SpecCount];
    static const Real32 RGB2IlluSpec_Yellow[RGB2SpecCount];
    static const Real32 RGB2IlluSpec_Red[RGB2SpecCount];
    static const Real32 RGB2IlluSpec_Green[RGB2SpecCount];
    static const Real32 RGB2IlluSpec_Blue[RGB2SpecCount];

    SpectralData(const SpectralData &) = delete;
    SpectralData &operator=(const SpectralData &) = delete;

  private:
    friend class Spectrum;

    SpectralData(void);
    ~SpectralData(void);

    void initObserver(const Real32 *lambda, const Real32 *x, const Real32 *y, const Real32 *z,
                      UInt32 count);
    void initSpectralData(void);
    SpectrumPtr slot(UInt32 index);

    /*! Sum of s.samples[i] * weight.samples[i] over the 40 samples; 0 when either is null, s is
        not in use or either has fewer than 40 samples. */
    static Real32 getPhotometricValue(SpectrumPtr s, SpectrumPtr weight);

    SpectrumPtr _spectra[SlotCount];
    Int32       _wavelengthStart;
    Int32       _wavelengthDelta;
    Int32       _numSpectraSamples;
    UInt32      _illuminant;
};

} // namespace osg

#endif
