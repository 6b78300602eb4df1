// skColor's XYZ-to-sRGB matrix against the one published with IEC 61966-2-1 (rounded there to
// four decimals) and the D65 white point.

#include <platform/skColor.h>

#include <gtest/gtest.h>

TEST(SkColor, XyzToLinearSrgbMatchesThePublishedMatrix)
{
    const float published[9] = {3.2406f, -1.5372f, -0.4986f, -0.9689f, 1.8758f,
                                0.0415f,  0.0557f, -0.2040f, 1.0570f};
    float m[9];
    skColor::getXYZtoRGBMat(m);
    for(int i = 0; i < 9; ++i)
        EXPECT_NEAR(m[i], published[i], 1e-3f) << i;

    // The D65 white (x, y) = (0.3127, 0.3290) at Y = 1 is exactly RGB (1, 1, 1).
    const double X = 0.3127 / 0.3290, Z = (1.0 - 0.3127 - 0.3290) / 0.3290;
    for(int r = 0; r < 3; ++r)
        EXPECT_NEAR(m[3 * r] * X + m[3 * r + 1] + m[3 * r + 2] * Z, 1.0, 1e-5) << r;

    float inv[9];
    skColor::getRGBtoXYZMat(inv);
    EXPECT_NEAR(inv[3] + inv[4] + inv[5], 1.0f, 1e-6f);   // Y of white
    EXPECT_NEAR(inv[0], 0.4124f, 1e-3f);
    for(int r = 0; r < 3; ++r)
        for(int c = 0; c < 3; ++c)
        {
            float p = m[3 * r] * inv[c] + m[3 * r + 1] * inv[3 + c] + m[3 * r + 2] * inv[6 + c];
            EXPECT_NEAR(p, r == c ? 1.0f : 0.0f, 1e-5f);
        }
    skColor::getXYZtoRGBMat(nullptr);   // ignored
}
