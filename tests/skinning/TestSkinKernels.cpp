// The deformation bodies on plain arrays, each instruction set this machine runs: against a
// double-precision glm reference, on singular blends, and byte for byte across splits of the
// work, thread counts, store kinds and ragged block ends.
#include <OpenSGExt/Skinning/detail/skSkinKernels.h>

#include <glm/glm.hpp>
#include <glm/gtc/matrix_transform.hpp>

#include <tbb/cache_aligned_allocator.h>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

using namespace osg;

namespace {

template <class T>
using Lined = std::vector<T, tbb::cache_aligned_allocator<T>>;

struct Skin
{
    std::vector<float>  pos, nor;
    std::vector<Vec4i>  idx;
    std::vector<Vec4f>  w;
    std::vector<Matrix> mats;
    std::vector<glm::dmat4> ref;   // the matrices as glm sees them
};

glm::dmat4 randomAffine(std::mt19937 &rng)
{
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    glm::dvec3 axis(u(rng), u(rng), u(rng) + 1.5);
    glm::dmat4 m = glm::translate(glm::dmat4(1.0), glm::dvec3(5 * u(rng), 5 * u(rng), 5 * u(rng)));
    m = glm::rotate(m, 3.0 * u(rng), glm::normalize(axis));
    return glm::scale(m, glm::dvec3(1.2 + 0.7 * u(rng), 1.2 + 0.7 * u(rng), 1.2 + 0.7 * u(rng)));
}

// n vertices over numJoints random affine joints: four distinct joints each, positive weights
// summing to 1 (one vertex in seven leans entirely on one joint).
Skin makeSkin(std::size_t n, int numJoints, unsigned seed)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> u(-3.f, 3.f), uw(0.05f, 1.f);
    std::uniform_int_distribution<int> uj(0, numJoints - 1);
    Skin s;
    for(int j = 0; j < numJoints; ++j)
    {
        s.ref.push_back(randomAffine(rng));
        Matrix m;
        for(int c = 0; c < 4; ++c)
            for(int r = 0; r < 4; ++r)
                m[c][r] = Real32(s.ref.back()[c][r]);
        s.mats.push_back(m);
        for(int c = 0; c < 4; ++c)
            for(int r = 0; r < 4; ++r)
                s.ref.back()[c][r] = m[c][r];   // the reference uses the rounded matrix
    }
    for(std::size_t v = 0; v < n; ++v)
    {
        for(int k = 0; k < 3; ++k)
        {
            s.pos.push_back(u(rng));
            s.nor.push_back(u(rng) / 3.f);
        }
        Int32 j[4];
        for(int k = 0; k < 4; ++k)
        {
            bool fresh;
            do
            {
                j[k] = uj(rng);
                fresh = true;
                for(int i = 0; i < k; ++i)
                    fresh = fresh && j[i] != j[k];
            } while(!fresh);
        }
        s.idx.push_back(Vec4i(j[0], j[1], j[2], j[3]));
        if(v % 7 == 3)
        {
            s.w.push_back(Vec4f(1.f, 0.f, 0.f, 0.f));
            continue;
        }
        float w[4] = { uw(rng), uw(rng), uw(rng), uw(rng) };
        const float sum = w[0] + w[1] + w[2] + w[3];
        s.w.push_back(Vec4f(w[0] / sum, w[1] / sum, w[2] / sum, w[3] / sum));
    }
    return s;
}

struct Out
{
    Lined<float> pos, nor;
};

// isa must outlive the job.
skskin::DeformJob job(const Skin &s, Out &out, const char *isa, bool normals = true)
{
    const std::size_t n = s.idx.size();
    out.pos.assign(3 * n, -7.f);
    out.nor.assign(normals ? 3 * n : 0, -7.f);
    skskin::DeformJob j;
    j.positions    = s.pos.data();
    j.normals      = normals ? s.nor.data() : nullptr;
    j.indices      = s.idx.data();
    j.weights      = s.w.data();
    j.matrices     = s.mats.data();
    j.numMatrices  = s.mats.size();
    j.numVertices  = n;
    j.outPositions = out.pos.data();
    j.outNormals   = normals ? out.nor.data() : nullptr;
    j.isa          = isa;
    return j;
}

bool sameBytes(const Lined<float> &a, const Lined<float> &b)
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

double relErr(const glm::dvec3 &got, const glm::dvec3 &want)
{
    return glm::length(got - want) / std::max(1.0, glm::length(want));
}

} // namespace

TEST(SkinKernels, TheDefaultBodyIsTheWidestOnThisMachine)
{
    const std::vector<std::string> isas = skskin::deformIsas();
    ASSERT_FALSE(isas.empty());
    EXPECT_EQ(isas.front(), skskin::deformIsa());
    EXPECT_EQ(isas.back(), "scalar");
#if defined(__x86_64__)
    EXPECT_NE(std::find(isas.begin(), isas.end(), "sse2"), isas.end());
    if(__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"))
    {
        EXPECT_NE(std::find(isas.begin(), isas.end(), "avx2"), isas.end());
    }
    if(__builtin_cpu_supports("avx512f"))
    {
        EXPECT_EQ(std::string(skskin::deformIsa()), "avx512");
    }
#endif
}

TEST(SkinKernels, EveryBodyMatchesDoubleReference)
{
    // 100 joints, and a count that leaves a ragged last block for every width.
    const std::size_t n = 1013;
    const Skin s = makeSkin(n, 100, 5);
    for(const std::string &isa : skskin::deformIsas())
    {
        Out out;
        ASSERT_TRUE(job(s, out, isa.c_str()).run()) << isa;
        for(std::size_t v = 0; v < n; ++v)
        {
            glm::dmat4 M(0.0);
            for(int k = 0; k < 4; ++k)
                M += double(s.w[v][k]) * s.ref[std::size_t(s.idx[v][k])];
            const glm::dvec4 p = M * glm::dvec4(s.pos[3 * v], s.pos[3 * v + 1], s.pos[3 * v + 2], 1.0);
            ASSERT_LT(relErr(glm::dvec3(out.pos[3 * v], out.pos[3 * v + 1], out.pos[3 * v + 2]),
                             glm::dvec3(p)), 1e-5) << isa << " vertex " << v;
            const glm::dmat3 M3(M);
            if(std::fabs(glm::determinant(M3)) < 0.05)
                continue;
            const glm::dvec3 nr = glm::transpose(glm::inverse(M3)) *
                                  glm::dvec3(s.nor[3 * v], s.nor[3 * v + 1], s.nor[3 * v + 2]);
            ASSERT_LT(relErr(glm::dvec3(out.nor[3 * v], out.nor[3 * v + 1], out.nor[3 * v + 2]), nr),
                      1e-5) << isa << " normal " << v;
        }
    }
}

TEST(SkinKernels, NormalsAreNotRenormalisedAndSingularBlendsGiveInfOrNaN)
{
    // Joint 0 scales by 2, joint 1 flattens z, joint 2 is the identity.
    Skin s;
    Matrix scale2, flat, id;
    scale2.setScale(2.f);
    flat.setScale(Vec3f(1.f, 1.f, 0.f));
    s.mats = { scale2, flat, id };
    auto add = [&s](Vec4i j, Vec4f w, Vec3f n) {
        for(int k = 0; k < 3; ++k)
        {
            s.pos.push_back(1.f + float(k));
            s.nor.push_back(n[k]);
        }
        s.idx.push_back(j);
        s.w.push_back(w);
    };
    add(Vec4i(0, 2, 2, 2), Vec4f(1, 0, 0, 0), Vec3f(0, 0, 1));   // n / 2, not unit length
    add(Vec4i(1, 2, 2, 2), Vec4f(1, 0, 0, 0), Vec3f(0, 0, 1));   // det 0: (NaN, NaN, +inf)
    add(Vec4i(2, 0, 1, 2), Vec4f(0, 0, 0, 0), Vec3f(0, 1, 0));   // zero blend: all NaN
    add(Vec4i(0, 1, 2, 0), Vec4f(0.5f, 0.5f, 0, 0), Vec3f(0, 0, 1));
    for(const std::string &isa : skskin::deformIsas())
    {
        Out out;
        ASSERT_TRUE(job(s, out, isa.c_str()).run()) << isa;
        EXPECT_EQ(out.pos[0], 2.f) << isa;
        EXPECT_EQ(out.pos[2], 6.f) << isa;
        EXPECT_EQ(out.nor[0], 0.f) << isa;
        EXPECT_EQ(out.nor[2], 0.5f) << isa;
        EXPECT_EQ(out.pos[5], 0.f) << isa;
        EXPECT_TRUE(std::isnan(out.nor[3]) && std::isnan(out.nor[4])) << isa;
        EXPECT_EQ(out.nor[5], std::numeric_limits<float>::infinity()) << isa;
        for(int k = 0; k < 3; ++k)
        {
            EXPECT_EQ(out.pos[6 + k], 0.f) << isa;
            EXPECT_TRUE(std::isnan(out.nor[6 + k])) << isa;
        }
        // Half of 2I and half of diag(1, 1, 0): diag(1.5, 1.5, 1), whose inverse transpose
        // takes (0, 0, 1) to itself.
        EXPECT_EQ(out.pos[9], 1.5f) << isa;
        EXPECT_EQ(out.pos[11], 3.f) << isa;
        EXPECT_NEAR(out.nor[11], 1.f, 1e-6) << isa;
        EXPECT_EQ(out.nor[9], 0.f) << isa;
    }
}

TEST(SkinKernels, EachBodyIsBitIdenticalForAnySplitThreadCountAndStores)
{
    tbb::global_control allow(tbb::global_control::max_allowed_parallelism, 8);
    const std::size_t n = 4099;
    const Skin s = makeSkin(n, 64, 9);
    std::mt19937 rng(10);
    for(const std::string &isa : skskin::deformIsas())
    {
        // The reference: one straight range on this thread.
        Out straight;
        const skskin::DeformJob one = job(s, straight, isa.c_str());
        one.runRange(0, n);

        // Ranges cut at random places, in random sizes from 1 up.
        Out pieces;
        const skskin::DeformJob cut = job(s, pieces, isa.c_str());
        for(std::size_t v = 0; v < n;)
        {
            const std::size_t len = std::min<std::size_t>(n - v, 1 + rng() % 40);
            cut.runRange(v, v + len);
            v += len;
        }
        EXPECT_TRUE(sameBytes(straight.pos, pieces.pos)) << isa;
        EXPECT_TRUE(sameBytes(straight.nor, pieces.nor)) << isa;

        for(int threads : {1, 2, 8})
            for(std::size_t grain : {1, 3, 15, 17, 37, 1000})
                for(auto stores : {skskin::DeformJob::StoresCached, skskin::DeformJob::StoresStreaming})
                {
                    Out out;
                    skskin::DeformJob j = job(s, out, isa.c_str());
                    j.grain  = grain;
                    j.stores = stores;
                    bool ok  = false;
                    tbb::task_arena(threads).execute([&] { ok = j.run(); });
                    ASSERT_TRUE(ok);
                    EXPECT_TRUE(sameBytes(straight.pos, out.pos))
                        << isa << " threads " << threads << " grain " << grain << " stores " << stores;
                    EXPECT_TRUE(sameBytes(straight.nor, out.nor))
                        << isa << " threads " << threads << " grain " << grain << " stores " << stores;
                }

        // Without normals, the same positions.
        Out bare;
        ASSERT_TRUE(job(s, bare, isa.c_str(), false).run());
        EXPECT_TRUE(sameBytes(straight.pos, bare.pos)) << isa;
    }
}

TEST(SkinKernels, BodiesOfOneRoundingAgreeByteForByte)
{
    // The fused bodies do the same operations in the same order at different widths; the
    // SSE2 body and the scalar loop likewise without fusing.
    const Skin s = makeSkin(777, 40, 11);
    const std::vector<std::string> isas = skskin::deformIsas();
    auto has = [&isas](const char *name) { return std::find(isas.begin(), isas.end(), name) != isas.end(); };
    for(const auto &pair : {std::make_pair("avx512", "avx2"), std::make_pair("sse2", "scalar")})
    {
        if(!has(pair.first) || !has(pair.second))
            continue;
        Out a, b;
        ASSERT_TRUE(job(s, a, pair.first).run());
        ASSERT_TRUE(job(s, b, pair.second).run());
        EXPECT_TRUE(sameBytes(a.pos, b.pos)) << pair.first << " " << pair.second;
        EXPECT_TRUE(sameBytes(a.nor, b.nor)) << pair.first << " " << pair.second;
    }
}

TEST(SkinKernels, InvalidJobsWriteNothing)
{
    const Skin s = makeSkin(50, 8, 12);
    Out out;
    skskin::DeformJob j = job(s, out, "mmx");
    EXPECT_EQ(j.validate(), "no deformation body \"mmx\" on this machine");
    EXPECT_FALSE(j.run());
    j.isa = nullptr;
    EXPECT_EQ(j.validate(), "");

    // An index past the matrices is found unless the caller vouches for the indices.
    Skin bad = s;
    bad.idx[31][2] = 8;
    j = job(bad, out, "");
    EXPECT_EQ(j.validate(), "vertex 31 uses a joint index outside 0..7");
    EXPECT_FALSE(j.run());
    bad.idx[31][2] = -1;
    EXPECT_FALSE(j.run());
    for(float f : out.pos)
        ASSERT_EQ(f, -7.f);

    j = job(s, out, "");
    j.outNormals = nullptr;
    EXPECT_EQ(j.validate(), "normals and their output must both be given or both be absent");
    j = job(s, out, "");
    j.numMatrices = 0;
    EXPECT_EQ(j.validate(), "no deformer matrices");
    EXPECT_FALSE(j.run());
    for(float f : out.pos)
        ASSERT_EQ(f, -7.f);
}
