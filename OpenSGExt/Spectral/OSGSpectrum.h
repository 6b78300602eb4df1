#ifndef _OSGSPECTRUM_H_
#define _OSGSPECTRUM_H_

#include <OpenSGExt/OSGSpectrumBase.h>
#include <OpenSG/OSGVector.h>

#include <string>
#include <tuple>
#include <vector>

namespace osg {

/*! One spectral power or reflectance distribution. The source (wavelengths in nm, a value at
    each) is what was loaded or handed in; `samples` is derived from it whenever `sourceValues` is
    reported changed: 40 means of the piecewise-linear source over [380 + 10k, 390 + 10k] nm, the
    end values extending beyond the data. Colour queries read only `samples`, and treat the
    spectrum as absent (answering 0) unless `useSpectrum` is set and 40 samples exist.

    Every operation that changes fields ends its own edit (beginEditCP/endEditCP), so the change
    is recorded in the thread's change list and changed() runs. Messages that begin with
    "ERROR Spectrum:" go to skLog::error; progress lines go to standard output.

    Bad input: the file readers check everything before touching the object (a failed read
    changes nothing except that loadTxt switches `useSpectrum` off first), cap files at
    MaxFileBytes and sample counts at MaxSamples, and refuse NaN and infinite numbers. Operations
    that take a target grid refuse a grid of more than MaxSamples entries. */
class Spectrum : public SpectrumBase
{
  public:
    typedef SpectrumBase Inherited;

    /*! useSpectrum, filename, versionID, startWavelength, deltaWavelength, numSamples,
        wavelengths, sourceValues. */
    typedef std::tuple<bool, std::string, Int32, Int32, Int32, Int32,
                       std::vector<Real32>, std::vector<Real32>> Options;

    /*! Type codes of addAnalyticFunction. */
    enum AnalyticFunction
    {
        AnalyticConstant  = 0,   //!< p0
        AnalyticGaussian  = 1,   //!< p0 * exp(-(l - p1)^2 / (2 p2^2)); p2 > 0
        AnalyticBlackBody = 2,   //!< p0 * Planck(l, T = p1 K) / Planck(560 nm, T); p1 > 0
        AnalyticBox       = 3    //!< p0 for p1 <= l <= p2, else 0
    };

    static constexpr Int32  MaxSamples   = 1 << 20;
    static constexpr UInt64 MaxFileBytes = UInt64(64) << 20;

    /*---------------- sampling (all float; grids are start + i * delta nm) --------*/
    static Real32 lerp(Real32 t, Real32 a, Real32 b);
    static Real32 averageSamplesToSamples  (const Real32 *wl, const Real32 *val, Int32 n,
                                            Real32 x);
    static Real32 averageSamplesToIntervals(const Real32 *wl, const Real32 *val, Int32 n,
                                            Real32 lo, Real32 hi);
    /*! val[k] holds on [edges[k], edges[k + 1]]; 0 outside the edges. */
    static Real32 averageIntervalsToIntervals(const Real32 *edges, const Real32 *val, Int32 n,
                                              Real32 lo, Real32 hi);
    static void resampleSamplesToSamples    (Int32 n, const Real32 *wl, const Real32 *val,
                                             Int32 start, Int32 delta, Int32 count,
                                             MFReal32 &out);
    static void resampleSamplesToIntervals  (Int32 n, const Real32 *wl, const Real32 *val,
                                             Int32 start, Int32 delta, Int32 count,
                                             MFReal32 &out);
    static void resampleIntervalsToIntervals(Int32 n, const Real32 *edges, const Real32 *val,
                                             Int32 start, Int32 delta, Int32 count,
                                             MFReal32 &out);

    /*---------------- loading and saving ----------------------------------------*/
    /*! Regular source: values[i] at start + i * delta. False (nothing changed) for null values,
        a negative count or one above MaxSamples. */
    bool load(Int32 start, Int32 delta, Int32 count, const Real32 *values);
    /*! Explicit source. Stops at the first decreasing wavelength with false, leaving the pairs
        read so far in the fields without a change report (kept that way on purpose). */
    bool load(Int32 count, const Real32 *wavelengths, const Real32 *values);
    /*! By name: a path containing ".spectral" (any case, anywhere) goes to loadNative, else one
        containing ".txt" to loadTxt; anything else is refused. */
    bool load(const std::string &path);
    /*! The ".spectral" text format, versions "spectral1" and "spectral2". */
    bool loadNative(const std::string &path);
    /*! Plain text: wavelength, value pairs separated by blanks, commas or semicolons. An empty
        file, an odd count of numbers or any text that is not a number is an unexpected format. */
    bool loadTxt(const std::string &path);
    /*! Writes the ".spectral" format of the current version (1 or 2). */
    bool save(const std::string &path) const;

    /*---------------- setting from code ------------------------------------------*/
    void set(Real32 value, Int32 start, Int32 delta, Int32 count);
    /*! A flat spectrum of 1 on the same grid as a switched-on empty spectrum: 380-780 nm, 5 nm. */
    void setOne(void);
    /*! Smits' reflectance method: the RGB triple is split into white, one secondary (cyan,
        magenta or yellow) and one primary (red, green or blue) and those basis spectra of
        SpectralData (slots 6-12, whatever grid resampleReflSpec left them on) are mixed, then
        sampled on the grid. The mix is scaled so that the white basis (which reflects about 1.06
        as published) has luminance Y = 1 under D65: (1, 1, 1) gives a white reflector and the
        colour of the result is close to (r, g, b). Components may exceed 1; a non-finite
        component, a negative one or an invalid grid is refused with a warning. */
    void setRGB(Real32 r, Real32 g, Real32 b, Int32 start, Int32 delta, Int32 count);
    /*! Adds an analytic curve (AnalyticFunction codes; p3 is a constant offset added to every
        type) on the grid: the current source, if in use, is sampled there first, otherwise the
        curve alone is set. With normalize true the curve (before the offset) is scaled so that
        its largest value on the grid is p0. The result is a regular source on the grid. An
        unknown type, invalid parameters or an invalid grid (count < 1, count > MaxSamples, or
        delta < 1 with more than one sample) are refused with a warning. */
    void addAnalyticFunction(Int32 type, Real32 p0, Real32 p1, Real32 p2, Real32 p3,
                             bool normalize, Int32 start, Int32 delta, Int32 count);
    /*! Adds other's piecewise-linear source to this one's. On the same wavelengths the values are
        added pairwise and the representation is kept; on different grids the result is an
        explicit source on the union of both wavelength lists, each spectrum evaluated there
        with its end values extended (so the sum is exact wherever both have data). A spectrum
        that is not in use is taken as zero: adding to one copies other. Null, self-addition of
        an unused spectrum and an unused other change nothing. */
    void add(SpectrumPtr other);
    void scale(Real32 f);
    /*! Scales so that getPhotometricValue() gives value. Zero scales to a black spectrum (still
        in use). A spectrum whose photometric value is 0 cannot be scaled to anything else, and a
        negative or non-finite value is refused: both warn and change nothing. */
    void setPhotometricValue(Real32 value);

    /*! Copies the source fields of other (null: false, nothing changed). */
    bool copy(SpectrumPtr other);

    Options getOptions(void) const;
    /*! Refused with a warning (nothing changed) when numSamples is negative, above MaxSamples or
        larger than the lists it needs. */
    void setOptions(const Options &options);

    /*---------------- queries ----------------------------------------------------*/
    Real32 getMaxValue(void) const;
    Real32 getSum(void) const;
    /*! Bare sum of samples times the 40 derived luminous-efficiency samples: no 683 lm/W, no
        interval width. */
    Real32 getPhotometricValue(void) const;
    /*! Relative to D65: X, Y, Z of this spectrum taken as a reflectance under D65, with a
        perfect reflector at Y = 1. */
    Vec3f getXYZ(void) const;
    /*! getXYZ through skColor's XYZ-to-RGB matrix (linear sRGB). */
    Vec3f getRGB(void) const;
    /*! useSpectrum set and at least 40 samples. */
    bool isInUse(void) const;

    /*---------------- derived data and maintenance -------------------------------*/
    void resample(void);
    void resampleSource(Int32 start, Int32 delta, Int32 count);

    void print(void) const;
    void unLoad(void);

    void changed(BitVector whichField, UInt32 origin) override;
    void dump(UInt32 uiIndent = 0, const BitVector bvFlags = BitVector(0)) const override;

  protected:
    friend class FieldContainer;
    friend class SpectrumBase;

    Spectrum(void);
    Spectrum(const Spectrum &source);
    ~Spectrum(void) override;

  private:
    /*! Entries of the source that are valid in both lists and below numSamples. */
    UInt32 sourceCount(void) const;
    /*! Sets a regular source (with fields and change report) from values on the grid. */
    void assignRegular(Int32 start, Int32 delta, const std::vector<Real32> &values);
    bool readFile(const std::string &path, std::string &text) const;
};

} // namespace osg

#endif
