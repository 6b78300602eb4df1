#include <OpenSGExt/Skinning/detail/skSkinDeform.h>

#include <cstring>

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
// GCC 12's AVX-512 intrinsics pass a self-initialised "undefined" register as the unused
// masked source, which -Wuninitialized reports wherever they are inlined.
#if !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#if !defined(__clang__)
#pragma GCC diagnostic pop
#endif
#define SKSKIN_X86 1
// The wide bodies keep their arrays of registers in registers only when every loop over them
// is unrolled and every helper inlined.
#define SKSKIN_UNROLL _Pragma("GCC unroll 16")
#define SKSKIN_INLINE inline __attribute__((always_inline))
// A region of functions compiled for an instruction set whatever the build's flags.
#define SKSKIN_PRAGMA(x) _Pragma(#x)
#if defined(__clang__)
#define SKSKIN_TARGET_PUSH(isa) \
    SKSKIN_PRAGMA(clang attribute push(__attribute__((target(isa))), apply_to = function))
#define SKSKIN_TARGET_POP SKSKIN_PRAGMA(clang attribute pop)
#else
#define SKSKIN_TARGET_PUSH(isa) SKSKIN_PRAGMA(GCC push_options) SKSKIN_PRAGMA(GCC target(isa))
#define SKSKIN_TARGET_POP SKSKIN_PRAGMA(GCC pop_options)
#endif
// The arithmetic of a wide body on its register type V, by intrinsic prefix; blend: one
// vertex's weighted sum of the registers' worth of floats at m of its joints' matrices.
#define SKSKIN_VECTOR_OPS(P) \
    SKSKIN_INLINE V fmadd(V a, V b, V c) { return P##_fmadd_ps(a, b, c); } \
    SKSKIN_INLINE V fmsub(V a, V b, V c) { return P##_fmsub_ps(a, b, c); } \
    SKSKIN_INLINE V mul(V a, V b) { return P##_mul_ps(a, b); } \
    SKSKIN_INLINE V div(V a, V b) { return P##_div_ps(a, b); } \
    SKSKIN_INLINE V one(void) { return P##_set1_ps(1.f); } \
    SKSKIN_INLINE V blend(const int32_t *ji, const float *w, const float *m) \
    { \
        V c = mul(P##_set1_ps(w[0]), P##_loadu_ps(m + 16 * std::size_t(ji[0]))); \
        c = fmadd(P##_set1_ps(w[1]), P##_loadu_ps(m + 16 * std::size_t(ji[1])), c); \
        c = fmadd(P##_set1_ps(w[2]), P##_loadu_ps(m + 16 * std::size_t(ji[2])), c); \
        return fmadd(P##_set1_ps(w[3]), P##_loadu_ps(m + 16 * std::size_t(ji[3])), c); \
    }
#if defined(__SSE2__)
#define SKSKIN_SSE2 1
#endif
#endif

namespace skskin {
namespace deform {

namespace {

/*------------------------------- scalar ------------------------------------*/

// Blend, position, then the normal by the cofactors of the blended upper 3x3 over its
// determinant. Products are rounded before they are summed, in the order of the SSE2 body, so
// that the two agree bit for bit.
void rangeScalar(const Arrays &a, std::size_t begin, std::size_t end)
{
    for(std::size_t v = begin; v < end; ++v)
    {
        const int32_t *ji = a.indices + 4 * v;
        const float   *w  = a.weights + 4 * v;
        float c[16];
        const float *m0 = a.matrices + std::size_t(ji[0]) * 16;
        for(int e = 0; e < 16; ++e)
            c[e] = w[0] * m0[e];
        for(int k = 1; k < 4; ++k)
        {
            const float *m = a.matrices + std::size_t(ji[k]) * 16;
            for(int e = 0; e < 16; ++e)
                c[e] = c[e] + w[k] * m[e];
        }
        const float *p = a.positions + 3 * v;
        float *q = a.outPositions + 3 * v;
        for(int r = 0; r < 3; ++r)
            q[r] = ((c[r] * p[0] + c[4 + r] * p[1]) + c[8 + r] * p[2]) + c[12 + r];
        if(a.normals == nullptr)
            continue;
        const float *c0 = c, *c1 = c + 4, *c2 = c + 8;
        const float x12[3] = { c1[1] * c2[2] - c1[2] * c2[1], c1[2] * c2[0] - c1[0] * c2[2],
                               c1[0] * c2[1] - c1[1] * c2[0] };
        const float x20[3] = { c2[1] * c0[2] - c2[2] * c0[1], c2[2] * c0[0] - c2[0] * c0[2],
                               c2[0] * c0[1] - c2[1] * c0[0] };
        const float x01[3] = { c0[1] * c1[2] - c0[2] * c1[1], c0[2] * c1[0] - c0[0] * c1[2],
                               c0[0] * c1[1] - c0[1] * c1[0] };
        const float det = (c0[0] * x12[0] + c0[1] * x12[1]) + c0[2] * x12[2];
        const float *n = a.normals + 3 * v;
        float *o = a.outNormals + 3 * v;
        for(int r = 0; r < 3; ++r)
            o[r] = ((x12[r] * n[0] + x20[r] * n[1]) + x01[r] * n[2]) / det;
    }
}

/*------------------------------- SSE2 --------------------------------------*/

#if SKSKIN_SSE2

inline __m128 splat(__m128 v, int lane)
{
    switch(lane)
    {
        case 0:  return _mm_shuffle_ps(v, v, _MM_SHUFFLE(0, 0, 0, 0));
        case 1:  return _mm_shuffle_ps(v, v, _MM_SHUFFLE(1, 1, 1, 1));
        case 2:  return _mm_shuffle_ps(v, v, _MM_SHUFFLE(2, 2, 2, 2));
        default: return _mm_shuffle_ps(v, v, _MM_SHUFFLE(3, 3, 3, 3));
    }
}

// a x b in lanes 0..2 (lane 3 is 0).
inline __m128 cross(__m128 a, __m128 b)
{
    const __m128 aYZX = _mm_shuffle_ps(a, a, _MM_SHUFFLE(3, 0, 2, 1));
    const __m128 bYZX = _mm_shuffle_ps(b, b, _MM_SHUFFLE(3, 0, 2, 1));
    const __m128 c    = _mm_sub_ps(_mm_mul_ps(a, bYZX), _mm_mul_ps(aYZX, b));
    return _mm_shuffle_ps(c, c, _MM_SHUFFLE(3, 0, 2, 1));
}

inline void store3(float *dst, __m128 v)
{
    _mm_storel_pi(reinterpret_cast<__m64 *>(dst), v);
    _mm_store_ss(dst + 2, _mm_movehl_ps(v, v));
}

// One vertex at a time, a column of the blended matrix per register.
void rangeSse2(const Arrays &a, std::size_t begin, std::size_t end)
{
    for(std::size_t v = begin; v < end; ++v)
    {
        const int32_t *ji = a.indices + 4 * v;
        const __m128   w  = _mm_loadu_ps(a.weights + 4 * v);
        __m128 c0, c1, c2, c3;
        {
            const float *m  = a.matrices + std::size_t(ji[0]) * 16;
            const __m128 wk = splat(w, 0);
            c0 = _mm_mul_ps(wk, _mm_loadu_ps(m));
            c1 = _mm_mul_ps(wk, _mm_loadu_ps(m + 4));
            c2 = _mm_mul_ps(wk, _mm_loadu_ps(m + 8));
            c3 = _mm_mul_ps(wk, _mm_loadu_ps(m + 12));
        }
        for(int k = 1; k < 4; ++k)
        {
            const float *m  = a.matrices + std::size_t(ji[k]) * 16;
            const __m128 wk = splat(w, k);
            c0 = _mm_add_ps(c0, _mm_mul_ps(wk, _mm_loadu_ps(m)));
            c1 = _mm_add_ps(c1, _mm_mul_ps(wk, _mm_loadu_ps(m + 4)));
            c2 = _mm_add_ps(c2, _mm_mul_ps(wk, _mm_loadu_ps(m + 8)));
            c3 = _mm_add_ps(c3, _mm_mul_ps(wk, _mm_loadu_ps(m + 12)));
        }
        const float *p = a.positions + 3 * v;
        __m128 q = _mm_add_ps(_mm_mul_ps(c0, _mm_set1_ps(p[0])), _mm_mul_ps(c1, _mm_set1_ps(p[1])));
        q = _mm_add_ps(q, _mm_mul_ps(c2, _mm_set1_ps(p[2])));
        q = _mm_add_ps(q, c3);
        store3(a.outPositions + 3 * v, q);

        if(a.normals != nullptr)
        {
            // Rows of the inverse of the upper 3x3 [c0 c1 c2] are the cross products of its
            // columns over the determinant; applied transposed, they take the normal.
            const __m128 x12 = cross(c1, c2);
            const __m128 x20 = cross(c2, c0);
            const __m128 x01 = cross(c0, c1);
            const __m128 d4  = _mm_mul_ps(c0, x12);
            const __m128 det = _mm_add_ps(_mm_add_ps(splat(d4, 0), splat(d4, 1)), splat(d4, 2));
            const float *n   = a.normals + 3 * v;
            __m128 r = _mm_add_ps(_mm_mul_ps(x12, _mm_set1_ps(n[0])), _mm_mul_ps(x20, _mm_set1_ps(n[1])));
            r = _mm_add_ps(r, _mm_mul_ps(x01, _mm_set1_ps(n[2])));
            store3(a.outNormals + 3 * v, _mm_div_ps(r, det));
        }
    }
}

#endif

/*------------------------------- wide bodies -------------------------------*/

#if SKSKIN_X86

// The wide bodies are compiled for their instruction sets whatever the build's flags (target
// regions below) and only chosen where the processor and the OS support them (catalogue).
//
// The wide bodies work on blocks of W vertices: each vertex's blended matrix is formed in one
// (AVX-512) or two (AVX2) registers straight from the joint matrices, the W matrices are
// transposed so that one register holds one element for all W vertices, and the rest runs on
// those element registers (skSkinDeformBlock.inl). Both use the same fused operations in the
// same order, so they agree with each other bit for bit.

// The ragged ends of a range: the vertices are copied into a zero-padded block of full width
// (padding follows joint 0 with weight 1), run through the same body, and copied back.
template <std::size_t W>
struct PaddedBlock
{
    typedef void (*BlockFn)(const float *pos, const float *nor, const int32_t *idx, const float *w,
                            const float *mats, float *outPos, float *outNor);

    alignas(64) float   pos[3 * W];
    alignas(64) float   nor[3 * W];
    alignas(64) float   w[4 * W];
    alignas(64) int32_t idx[4 * W];
    alignas(64) float   outPos[3 * W];
    alignas(64) float   outNor[3 * W];

    static void run(const Arrays &a, std::size_t v, std::size_t n, BlockFn block)
    {
        PaddedBlock b;
        std::memset(&b, 0, sizeof(b));
        for(std::size_t i = n; i < W; ++i)
            b.w[4 * i] = 1.f;
        std::memcpy(b.pos, a.positions + 3 * v, 3 * n * sizeof(float));
        std::memcpy(b.idx, a.indices + 4 * v, 4 * n * sizeof(int32_t));
        std::memcpy(b.w, a.weights + 4 * v, 4 * n * sizeof(float));
        const bool normals = a.normals != nullptr;
        if(normals)
            std::memcpy(b.nor, a.normals + 3 * v, 3 * n * sizeof(float));
        block(b.pos, normals ? b.nor : nullptr, b.idx, b.w, a.matrices, b.outPos,
              normals ? b.outNor : nullptr);
        std::memcpy(a.outPositions + 3 * v, b.outPos, 3 * n * sizeof(float));
        if(normals)
            std::memcpy(a.outNormals + 3 * v, b.outNor, 3 * n * sizeof(float));
    }
};

// Permutation tables between 16 xyz triples (three registers, as stored) and one register per
// coordinate: two two-source permutes each way.
struct Tables16
{
    int32_t in1[3][16], in2[3][16], out1[3][16], out2[3][16];
};

constexpr Tables16 makeTables16(void)
{
    Tables16 t{};
    for(int k = 0; k < 3; ++k)
        for(int i = 0; i < 16; ++i)
        {
            const int f = 3 * i + k;   // the float of coordinate k of vertex i
            t.in1[k][i] = f < 32 ? f : 0;
            t.in2[k][i] = f < 32 ? i : 16 + f - 32;
        }
    for(int r = 0; r < 3; ++r)
        for(int l = 0; l < 16; ++l)
        {
            const int f = 16 * r + l, i = f / 3, k = f % 3;
            t.out1[r][l] = k == 0 ? i : k == 1 ? 16 + i : 0;
            t.out2[r][l] = k == 2 ? 16 + i : l;
        }
    return t;
}

alignas(64) constexpr Tables16 Perm16 = makeTables16();

/*------------------------------- AVX-512 -----------------------------------*/

SKSKIN_TARGET_PUSH("avx512f,avx2,fma")

namespace w16 {

constexpr std::size_t W = 16;
typedef __m512 V;

SKSKIN_VECTOR_OPS(_mm512)

SKSKIN_INLINE __m512i table(const int32_t *t)
{
    return _mm512_load_si512(static_cast<const void *>(t));
}

SKSKIN_INLINE void loadXyz(const float *src, V *xyz)
{
    const V a = _mm512_loadu_ps(src), b = _mm512_loadu_ps(src + 16), c = _mm512_loadu_ps(src + 32);
    SKSKIN_UNROLL
    for(int k = 0; k < 3; ++k)
        xyz[k] = _mm512_permutex2var_ps(_mm512_permutex2var_ps(a, table(Perm16.in1[k]), b),
                                        table(Perm16.in2[k]), c);
}

template <bool Stream>
SKSKIN_INLINE void storeXyz(float *dst, const V *xyz)
{
    SKSKIN_UNROLL
    for(int r = 0; r < 3; ++r)
    {
        const V v = _mm512_permutex2var_ps(_mm512_permutex2var_ps(xyz[0], table(Perm16.out1[r]), xyz[1]),
                                           table(Perm16.out2[r]), xyz[2]);
        if(Stream)
            _mm512_stream_ps(dst + 16 * r, v);
        else
            _mm512_storeu_ps(dst + 16 * r, v);
    }
}

// One register per vertex (a whole matrix), then a transpose: pairs interleaved, quadruples
// combined, and 128-bit lanes exchanged across the four quadruples.
SKSKIN_INLINE void blendTransposed(const int32_t *idx, const float *w, const float *mats, V *e)
{
    V m[16];
    SKSKIN_UNROLL
    for(int v = 0; v < 16; ++v)
        m[v] = blend(idx + 4 * v, w + 4 * v, mats);
    V lo[8], hi[8];
    SKSKIN_UNROLL
    for(int i = 0; i < 8; ++i)
    {
        lo[i] = _mm512_unpacklo_ps(m[2 * i], m[2 * i + 1]);
        hi[i] = _mm512_unpackhi_ps(m[2 * i], m[2 * i + 1]);
    }
    V t[4][3];   // [quadruple][row]: lane L holds element 4L + row of the quadruple's vertices
    SKSKIN_UNROLL
    for(int g = 0; g < 4; ++g)
    {
        t[g][0] = _mm512_shuffle_ps(lo[2 * g], lo[2 * g + 1], _MM_SHUFFLE(1, 0, 1, 0));
        t[g][1] = _mm512_shuffle_ps(lo[2 * g], lo[2 * g + 1], _MM_SHUFFLE(3, 2, 3, 2));
        t[g][2] = _mm512_shuffle_ps(hi[2 * g], hi[2 * g + 1], _MM_SHUFFLE(1, 0, 1, 0));
    }
    SKSKIN_UNROLL
    for(int r = 0; r < 3; ++r)
    {
        const V u0 = _mm512_shuffle_f32x4(t[0][r], t[1][r], _MM_SHUFFLE(1, 0, 1, 0));
        const V u1 = _mm512_shuffle_f32x4(t[0][r], t[1][r], _MM_SHUFFLE(3, 2, 3, 2));
        const V u2 = _mm512_shuffle_f32x4(t[2][r], t[3][r], _MM_SHUFFLE(1, 0, 1, 0));
        const V u3 = _mm512_shuffle_f32x4(t[2][r], t[3][r], _MM_SHUFFLE(3, 2, 3, 2));
        e[r]      = _mm512_shuffle_f32x4(u0, u2, _MM_SHUFFLE(2, 0, 2, 0));
        e[4 + r]  = _mm512_shuffle_f32x4(u0, u2, _MM_SHUFFLE(3, 1, 3, 1));
        e[8 + r]  = _mm512_shuffle_f32x4(u1, u3, _MM_SHUFFLE(2, 0, 2, 0));
        e[12 + r] = _mm512_shuffle_f32x4(u1, u3, _MM_SHUFFLE(3, 1, 3, 1));
    }
}

#include "skSkinDeformBlock.inl"

} // namespace w16

SKSKIN_TARGET_POP

/*------------------------------- AVX2 --------------------------------------*/

SKSKIN_TARGET_PUSH("avx2,fma")

namespace w8 {

constexpr std::size_t W = 8;
typedef __m256 V;

SKSKIN_VECTOR_OPS(_mm256)

// Each coordinate of 8 xyz triples sits at fixed lanes of the three registers: two blends
// gather it and one permute puts it in order (and back).
SKSKIN_INLINE void loadXyz(const float *src, V *xyz)
{
    const V a = _mm256_loadu_ps(src), b = _mm256_loadu_ps(src + 8), c = _mm256_loadu_ps(src + 16);
    xyz[0] = _mm256_permutevar8x32_ps(_mm256_blend_ps(_mm256_blend_ps(a, b, 0x92), c, 0x24),
                                      _mm256_setr_epi32(0, 3, 6, 1, 4, 7, 2, 5));
    xyz[1] = _mm256_permutevar8x32_ps(_mm256_blend_ps(_mm256_blend_ps(a, b, 0x24), c, 0x49),
                                      _mm256_setr_epi32(1, 4, 7, 2, 5, 0, 3, 6));
    xyz[2] = _mm256_permutevar8x32_ps(_mm256_blend_ps(_mm256_blend_ps(a, b, 0x49), c, 0x92),
                                      _mm256_setr_epi32(2, 5, 0, 3, 6, 1, 4, 7));
}

template <bool Stream>
SKSKIN_INLINE void storeXyz(float *dst, const V *xyz)
{
    const V x = _mm256_permutevar8x32_ps(xyz[0], _mm256_setr_epi32(0, 3, 6, 1, 4, 7, 2, 5));
    const V y = _mm256_permutevar8x32_ps(xyz[1], _mm256_setr_epi32(5, 0, 3, 6, 1, 4, 7, 2));
    const V z = _mm256_permutevar8x32_ps(xyz[2], _mm256_setr_epi32(2, 5, 0, 3, 6, 1, 4, 7));
    const V out[3] = { _mm256_blend_ps(_mm256_blend_ps(x, y, 0x92), z, 0x24),
                       _mm256_blend_ps(_mm256_blend_ps(x, y, 0x24), z, 0x49),
                       _mm256_blend_ps(_mm256_blend_ps(x, y, 0x49), z, 0x92) };
    SKSKIN_UNROLL
    for(int r = 0; r < 3; ++r)
    {
        if(Stream)
            _mm256_stream_ps(dst + 8 * r, out[r]);
        else
            _mm256_storeu_ps(dst + 8 * r, out[r]);
    }
}

// Eight registers of two columns each (eight vertices) to element registers: e[r] and e[4 + r]
// receive row r of the two columns (fourth rows left out).
SKSKIN_INLINE void transposeColumns(const V *m, V *e)
{
    V lo[4], hi[4];
    SKSKIN_UNROLL
    for(int i = 0; i < 4; ++i)
    {
        lo[i] = _mm256_unpacklo_ps(m[2 * i], m[2 * i + 1]);
        hi[i] = _mm256_unpackhi_ps(m[2 * i], m[2 * i + 1]);
    }
    SKSKIN_UNROLL
    for(int r = 0; r < 3; ++r)
    {
        V t[2];
        SKSKIN_UNROLL
        for(int g = 0; g < 2; ++g)
            t[g] = r == 0 ? _mm256_shuffle_ps(lo[2 * g], lo[2 * g + 1], _MM_SHUFFLE(1, 0, 1, 0))
                 : r == 1 ? _mm256_shuffle_ps(lo[2 * g], lo[2 * g + 1], _MM_SHUFFLE(3, 2, 3, 2))
                          : _mm256_shuffle_ps(hi[2 * g], hi[2 * g + 1], _MM_SHUFFLE(1, 0, 1, 0));
        e[r]     = _mm256_permute2f128_ps(t[0], t[1], 0x20);
        e[4 + r] = _mm256_permute2f128_ps(t[0], t[1], 0x31);
    }
}

// Columns 0-1, then 2-3, to stay within sixteen registers.
SKSKIN_INLINE void blendTransposed(const int32_t *idx, const float *w, const float *mats, V *e)
{
    SKSKIN_UNROLL
    for(int half = 0; half < 2; ++half)
    {
        V m[8];
        SKSKIN_UNROLL
        for(int v = 0; v < 8; ++v)
            m[v] = blend(idx + 4 * v, w + 4 * v, mats + 8 * half);
        transposeColumns(m, e + 8 * half);
    }
}

#include "skSkinDeformBlock.inl"

} // namespace w8

SKSKIN_TARGET_POP

#endif // SKSKIN_X86

/*------------------------------- dispatch ----------------------------------*/

struct Catalogue
{
    Body        list[4];
    std::size_t count = 0;

    Catalogue(void)
    {
#if SKSKIN_X86
        __builtin_cpu_init();
        if(__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx2") &&
           __builtin_cpu_supports("fma"))
            list[count++] = Body{ "avx512", &w16::rangeAny, true };
        if(__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"))
            list[count++] = Body{ "avx2", &w8::rangeAny, true };
#endif
#if SKSKIN_SSE2
        list[count++] = Body{ "sse2", &rangeSse2, false };
#endif
        list[count++] = Body{ "scalar", &rangeScalar, false };
    }
};

const Catalogue &catalogue(void)
{
    static const Catalogue c;
    return c;
}

} // namespace

const Body *bodies(std::size_t *n)
{
    const Catalogue &c = catalogue();
    if(n != nullptr)
        *n = c.count;
    return c.list;
}

const Body *findBody(const char *name)
{
    const Catalogue &c = catalogue();
    if(name == nullptr || *name == '\0')
        return &c.list[0];
    for(std::size_t i = 0; i < c.count; ++i)
        if(std::strcmp(c.list[i].name, name) == 0)
            return &c.list[i];
    return nullptr;
}

} // namespace deform
} // namespace skskin
