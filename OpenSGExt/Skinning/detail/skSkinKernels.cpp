#include <OpenSGExt/Skinning/detail/skSkinKernels.h>

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>

#include <atomic>
#include <memory>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#define SKSKIN_SSE2 1
#endif

namespace skskin {

using osg::Int32;
using osg::Real32;
using osg::UInt32;

namespace {

struct Pair
{
    UInt32 joint;
    Real32 weight;
};

} // namespace

bool computeInfluences(const JointWeights *joints, std::size_t numJoints, std::size_t numVertices,
                       osg::Vec4i *indices, osg::Vec4f *weights,
                       InfluenceReport *report, std::string *error)
{
    if(numJoints != 0 && joints == nullptr)
    {
        if(error)
            *error = "no joint lists for " + std::to_string(numJoints) + " joints";
        return false;
    }
    if(numVertices != 0 && (indices == nullptr || weights == nullptr))
    {
        if(error)
            *error = "no output arrays";
        return false;
    }
    if(numJoints > std::size_t(INT32_MAX))
    {
        if(error)
            *error = "too many joints (" + std::to_string(numJoints) + ")";
        return false;
    }

    // Pass 1a: count the pairs per vertex, checking every entry. A compact per-vertex list
    // (counts, offsets, then a filled slot array) instead of one concurrent vector per vertex:
    // the same concurrent gathering over the joints at a fraction of the memory; the order in
    // which joints arrive is undone by the total order of pass 2.
    std::unique_ptr<std::atomic<UInt32>[]> count(new std::atomic<UInt32>[numVertices + 1]);
    for(std::size_t v = 0; v <= numVertices; ++v)
        count[v].store(0, std::memory_order_relaxed);
    std::atomic<bool> bad(false);
    tbb::parallel_for(tbb::blocked_range<std::size_t>(0, numJoints),
        [&](const tbb::blocked_range<std::size_t> &r)
        {
            for(std::size_t j = r.begin(); j != r.end(); ++j)
            {
                const JointWeights &jw = joints[j];
                if(jw.count != 0 && jw.entries == nullptr)
                {
                    bad.store(true, std::memory_order_relaxed);
                    continue;
                }
                for(std::size_t e = 0; e < jw.count; ++e)
                {
                    const UInt32 v = jw.entries[e].getIndex();
                    if(v >= numVertices)
                    {
                        bad.store(true, std::memory_order_relaxed);
                        continue;
                    }
                    count[v].fetch_add(1, std::memory_order_relaxed);
                }
            }
        },
        tbb::auto_partitioner());

    if(bad.load())
    {
        // The first offender in joint order, so that the message does not depend on scheduling.
        for(std::size_t j = 0; j < numJoints; ++j)
        {
            const JointWeights &jw = joints[j];
            if(jw.count != 0 && jw.entries == nullptr)
            {
                if(error)
                    *error = "joint " + std::to_string(j) + " has no entries for a count of " +
                             std::to_string(jw.count);
                return false;
            }
            for(std::size_t e = 0; e < jw.count; ++e)
            {
                if(jw.entries[e].getIndex() >= numVertices)
                {
                    if(error)
                        *error = "joint " + std::to_string(j) + " entry " + std::to_string(e) +
                                 " names vertex " + std::to_string(jw.entries[e].getIndex()) +
                                 " of " + std::to_string(numVertices);
                    return false;
                }
            }
        }
    }

    std::vector<std::size_t> offset(numVertices + 1);
    std::size_t total = 0;
    for(std::size_t v = 0; v < numVertices; ++v)
    {
        offset[v] = total;
        total += count[v].load(std::memory_order_relaxed);
        count[v].store(0, std::memory_order_relaxed);   // becomes the fill cursor
    }
    offset[numVertices] = total;

    // Pass 1b: fill the slots.
    std::vector<Pair> slots(total);
    tbb::parallel_for(tbb::blocked_range<std::size_t>(0, numJoints),
        [&](const tbb::blocked_range<std::size_t> &r)
        {
            for(std::size_t j = r.begin(); j != r.end(); ++j)
            {
                const JointWeights &jw = joints[j];
                for(std::size_t e = 0; e < jw.count; ++e)
                {
                    const UInt32 v    = jw.entries[e].getIndex();
                    const UInt32 slot = count[v].fetch_add(1, std::memory_order_relaxed);
                    slots[offset[v] + slot] = Pair{ UInt32(j), jw.entries[e].getWeight() };
                }
            }
        },
        tbb::auto_partitioner());

    // Pass 2: per vertex, the four first pairs in the total order, normalised.
    std::atomic<std::size_t> unweighted(0), overBudget(0), zeroSum(0), nanSum(0), negative(0),
                             maxListed(0);
    tbb::parallel_for(tbb::blocked_range<std::size_t>(0, numVertices),
        [&](const tbb::blocked_range<std::size_t> &r)
        {
            for(std::size_t v = r.begin(); v != r.end(); ++v)
            {
                Pair *first = slots.data() + offset[v];
                const std::size_t n = offset[v + 1] - offset[v];
                if(n == 0)
                {
                    indices[v].setValues(0, 0, 0, 0);
                    weights[v].setValues(1.f, 0.f, 0.f, 0.f);
                    unweighted.fetch_add(1, std::memory_order_relaxed);
                    continue;
                }
                // Partial selection of the best four; lists are short, so a selection by
                // repeated minimum is both simple and fast.
                const std::size_t keep = n < 4 ? n : 4;
                for(std::size_t k = 0; k < keep; ++k)
                {
                    std::size_t best = k;
                    for(std::size_t i = k + 1; i < n; ++i)
                    {
                        if(influenceBefore(first[i].joint, first[i].weight,
                                           first[best].joint, first[best].weight))
                            best = i;
                    }
                    std::swap(first[k], first[best]);
                }
                if(n > 4)
                    overBudget.fetch_add(1, std::memory_order_relaxed);
                std::size_t seen = maxListed.load(std::memory_order_relaxed);
                while(n > seen && !maxListed.compare_exchange_weak(seen, n, std::memory_order_relaxed))
                {
                }
                Real32 sum = 0.f;
                for(std::size_t k = 0; k < keep; ++k)
                    sum += first[k].weight;
                Int32  ji[4] = { 0, 0, 0, 0 };
                Real32 jw[4] = { 0.f, 0.f, 0.f, 0.f };
                bool   neg   = false;
                for(std::size_t k = 0; k < keep; ++k)
                {
                    ji[k] = Int32(first[k].joint);
                    jw[k] = sum != 0.f ? first[k].weight / sum : first[k].weight;
                    neg   = neg || jw[k] < 0.f;
                }
                if(sum == 0.f)
                    zeroSum.fetch_add(1, std::memory_order_relaxed);
                else if(sum != sum)
                    nanSum.fetch_add(1, std::memory_order_relaxed);
                if(neg)
                    negative.fetch_add(1, std::memory_order_relaxed);
                indices[v].setValues(ji[0], ji[1], ji[2], ji[3]);
                weights[v].setValues(jw[0], jw[1], jw[2], jw[3]);
            }
        },
        tbb::static_partitioner());

    if(report != nullptr)
    {
        report->unweighted = unweighted.load();
        report->overBudget = overBudget.load();
        report->zeroSum    = zeroSum.load();
        report->nanSum     = nanSum.load();
        report->negative   = negative.load();
        report->maxListed  = maxListed.load();
    }
    return true;
}

std::size_t findBadJointIndex(const osg::Vec4i *indices, std::size_t numVertices,
                              std::size_t numMatrices)
{
    for(std::size_t v = 0; v < numVertices; ++v)
    {
        for(int k = 0; k < 4; ++k)
        {
            const Int32 j = indices[v][k];
            if(j < 0 || std::size_t(j) >= numMatrices)
                return v;
        }
    }
    return numVertices;
}

std::string DeformJob::validate(void) const
{
    if(numVertices == 0)
        return std::string();
    if(positions == nullptr || outPositions == nullptr || indices == nullptr || weights == nullptr)
        return "missing positions, joint indices or weights";
    if((normals == nullptr) != (outNormals == nullptr))
        return "normals and their output must both be given or both be absent";
    if(numMatrices == 0 || matrices == nullptr)
        return "no deformer matrices";
    const std::size_t bad = findBadJointIndex(indices, numVertices, numMatrices);
    if(bad != numVertices)
        return "vertex " + std::to_string(bad) + " uses a joint index outside 0.." +
               std::to_string(numMatrices - 1);
    return std::string();
}

bool DeformJob::run(void) const
{
    if(!validate().empty())
        return false;
    if(numVertices == 0)
        return true;
    // Fixed ranges of about 1/256 of the work per task unless told otherwise: small enough to
    // balance two to eight threads, large enough to keep the per-task cost out of the figures.
    std::size_t g = grain;
    if(g == 0)
        g = std::max<std::size_t>(1024, numVertices / 256);
    tbb::parallel_for(tbb::blocked_range<std::size_t>(0, numVertices, g),
        [this](const tbb::blocked_range<std::size_t> &r) { runRange(r.begin(), r.end()); },
        tbb::static_partitioner());
    return true;
}

#if SKSKIN_SSE2

namespace {

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

} // namespace

void DeformJob::runRange(std::size_t begin, std::size_t end) const
{
    const float *mats = matrices[0].getValues();   // 16 floats per matrix, column by column
    for(std::size_t v = begin; v < end; ++v)
    {
        const Int32  *ji = indices[v].getValues();
        const __m128  w  = _mm_loadu_ps(weights[v].getValues());
        __m128 c0, c1, c2, c3;
        {
            const float *m  = mats + std::size_t(ji[0]) * 16;
            const __m128 wk = splat(w, 0);
            c0 = _mm_mul_ps(wk, _mm_loadu_ps(m));
            c1 = _mm_mul_ps(wk, _mm_loadu_ps(m + 4));
            c2 = _mm_mul_ps(wk, _mm_loadu_ps(m + 8));
            c3 = _mm_mul_ps(wk, _mm_loadu_ps(m + 12));
        }
        for(int k = 1; k < 4; ++k)
        {
            const float *m  = mats + std::size_t(ji[k]) * 16;
            const __m128 wk = splat(w, k);
            c0 = _mm_add_ps(c0, _mm_mul_ps(wk, _mm_loadu_ps(m)));
            c1 = _mm_add_ps(c1, _mm_mul_ps(wk, _mm_loadu_ps(m + 4)));
            c2 = _mm_add_ps(c2, _mm_mul_ps(wk, _mm_loadu_ps(m + 8)));
            c3 = _mm_add_ps(c3, _mm_mul_ps(wk, _mm_loadu_ps(m + 12)));
        }
        const float *p = positions + 3 * v;
        __m128 q = _mm_add_ps(_mm_mul_ps(c0, _mm_set1_ps(p[0])), _mm_mul_ps(c1, _mm_set1_ps(p[1])));
        q = _mm_add_ps(q, _mm_mul_ps(c2, _mm_set1_ps(p[2])));
        q = _mm_add_ps(q, c3);
        store3(outPositions + 3 * v, q);

        if(normals != nullptr)
        {
            // Rows of the inverse of the upper 3x3 [c0 c1 c2] are the cross products of its
            // columns over the determinant; applied transposed, they take the normal.
            const __m128 x12 = cross(c1, c2);
            const __m128 x20 = cross(c2, c0);
            const __m128 x01 = cross(c0, c1);
            const __m128 d4  = _mm_mul_ps(c0, x12);
            const __m128 det = _mm_add_ps(_mm_add_ps(splat(d4, 0), splat(d4, 1)), splat(d4, 2));
            const float *n   = normals + 3 * v;
            __m128 r = _mm_add_ps(_mm_mul_ps(x12, _mm_set1_ps(n[0])), _mm_mul_ps(x20, _mm_set1_ps(n[1])));
            r = _mm_add_ps(r, _mm_mul_ps(x01, _mm_set1_ps(n[2])));
            store3(outNormals + 3 * v, _mm_div_ps(r, det));
        }
    }
}

const char *deformIsa(void)
{
    return "sse2";
}

#else

// The same arithmetic, in the same order, for targets without SSE2.
void DeformJob::runRange(std::size_t begin, std::size_t end) const
{
    const float *mats = matrices[0].getValues();
    for(std::size_t v = begin; v < end; ++v)
    {
        const Int32 *ji = indices[v].getValues();
        const float *w  = weights[v].getValues();
        float c[16];
        const float *m0 = mats + std::size_t(ji[0]) * 16;
        for(int e = 0; e < 16; ++e)
            c[e] = w[0] * m0[e];
        for(int k = 1; k < 4; ++k)
        {
            const float *m = mats + std::size_t(ji[k]) * 16;
            for(int e = 0; e < 16; ++e)
                c[e] = c[e] + w[k] * m[e];
        }
        const float *p = positions + 3 * v;
        float *q = outPositions + 3 * v;
        for(int r = 0; r < 3; ++r)
            q[r] = ((c[r] * p[0] + c[4 + r] * p[1]) + c[8 + r] * p[2]) + c[12 + r];
        if(normals != nullptr)
        {
            const float *a = c, *b = c + 4, *d = c + 8;
            float x12[3] = { b[1] * d[2] - b[2] * d[1], b[2] * d[0] - b[0] * d[2], b[0] * d[1] - b[1] * d[0] };
            float x20[3] = { d[1] * a[2] - d[2] * a[1], d[2] * a[0] - d[0] * a[2], d[0] * a[1] - d[1] * a[0] };
            float x01[3] = { a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0] };
            const float det = (a[0] * x12[0] + a[1] * x12[1]) + a[2] * x12[2];
            const float *n = normals + 3 * v;
            float *o = outNormals + 3 * v;
            for(int r = 0; r < 3; ++r)
                o[r] = ((x12[r] * n[0] + x20[r] * n[1]) + x01[r] * n[2]) / det;
        }
    }
}

const char *deformIsa(void)
{
    return "scalar";
}

#endif

} // namespace skskin
