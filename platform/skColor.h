#ifndef SK_PLATFORM_SKCOLOR_H
#define SK_PLATFORM_SKCOLOR_H

/*! The host's colour-space services for the library. */
class skColor
{
  public:
    /*! The 3x3 matrix from CIE XYZ (Y = 1 for the white point) to linear sRGB with the D65 white
        point, row-major: R = m[0] X + m[1] Y + m[2] Z, G = m[3] X + ..., B = m[6] X + ....
        It is derived from the sRGB primaries and white chromaticities (x, y) = (0.64, 0.33),
        (0.30, 0.60), (0.15, 0.06) and (0.3127, 0.3290), so it maps that white exactly to
        (1, 1, 1). A null pointer is ignored. */
    static void getXYZtoRGBMat(float *mat);

    /*! The inverse of getXYZtoRGBMat, in the same layout. A null pointer is ignored. */
    static void getRGBtoXYZMat(float *mat);

    skColor(void) = delete;
};

#endif
