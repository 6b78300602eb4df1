#include <platform/skColor.h>

namespace {

struct Mat3
{
    double m[9];
};

Mat3 inverse(const Mat3 &a)
{
    const double *m = a.m;
    double c0 = m[4] * m[8] - m[5] * m[7];
    double c1 = m[5] * m[6] - m[3] * m[8];
    double c2 = m[3] * m[7] - m[4] * m[6];
    double det = m[0] * c0 + m[1] * c1 + m[2] * c2;
    Mat3 r;
    r.m[0] = c0 / det;
    r.m[1] = (m[2] * m[7] - m[1] * m[8]) / det;
    r.m[2] = (m[1] * m[5] - m[2] * m[4]) / det;
    r.m[3] = c1 / det;
    r.m[4] = (m[0] * m[8] - m[2] * m[6]) / det;
    r.m[5] = (m[2] * m[3] - m[0] * m[5]) / det;
    r.m[6] = c2 / det;
    r.m[7] = (m[1] * m[6] - m[0] * m[7]) / det;
    r.m[8] = (m[0] * m[4] - m[1] * m[3]) / det;
    return r;
}

// RGB -> XYZ from the primaries: the columns are the primaries' XYZ (Y = 1), each scaled so
// that RGB (1, 1, 1) lands on the white point.
Mat3 srgbToXyz(void)
{
    const double px[3] = {0.64, 0.30, 0.15};
    const double py[3] = {0.33, 0.60, 0.06};
    const double wx = 0.3127, wy = 0.3290;

    Mat3 p;
    for(int c = 0; c < 3; ++c)
    {
        p.m[0 + c] = px[c] / py[c];
        p.m[3 + c] = 1.0;
        p.m[6 + c] = (1.0 - px[c] - py[c]) / py[c];
    }
    const double w[3] = {wx / wy, 1.0, (1.0 - wx - wy) / wy};
    Mat3 pinv = inverse(p);
    double s[3];
    for(int r = 0; r < 3; ++r)
        s[r] = pinv.m[3 * r] * w[0] + pinv.m[3 * r + 1] * w[1] + pinv.m[3 * r + 2] * w[2];
    Mat3 m;
    for(int r = 0; r < 3; ++r)
        for(int c = 0; c < 3; ++c)
            m.m[3 * r + c] = p.m[3 * r + c] * s[c];
    return m;
}

void store(const Mat3 &m, float *mat)
{
    for(int i = 0; i < 9; ++i)
        mat[i] = float(m.m[i]);
}

} // namespace

void skColor::getXYZtoRGBMat(float *mat)
{
    if(mat == nullptr)
        return;
    static const Mat3 m = inverse(srgbToXyz());
    store(m, mat);
}

void skColor::getRGBtoXYZMat(float *mat)
{
    if(mat == nullptr)
        return;
    static const Mat3 m = srgbToXyz();
    store(m, mat);
}
