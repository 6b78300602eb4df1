#include <OpenSGExt/Skinning/detail/skSkinKernels.h>
#include <OpenSGExt/Skinning/detail/skSkinDeform.h>

#include <tbb/cache_aligned_allocator.h>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

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
    if(deform::findBody(isa) == nullptr)
        return std::string("no deformation body \"") + isa + "\" on this machine";
    if(numVertices == 0)
        return std::string();
    if(positions == nullptr || outPositions == nullptr || indices == nullptr || weights == nullptr)
        return "missing positions, joint indices or weights";
    if((normals == nullptr) != (outNormals == nullptr))
        return "normals and their output must both be given or both be absent";
    if(numMatrices == 0 || matrices == nullptr)
        return "no deformer matrices";
    if(!indicesChecked)
    {
        const std::size_t bad = findBadJointIndex(indices, numVertices, numMatrices);
        if(bad != numVertices)
            return "vertex " + std::to_string(bad) + " uses a joint index outside 0.." +
                   std::to_string(numMatrices - 1);
    }
    return std::string();
}

namespace {

// Outputs above this size are written around the caches: they would not stay there anyway, and
// streaming saves reading each line before it is overwritten.
const std::size_t StreamingBytes = std::size_t(8) << 20;

bool aligned64(const void *p)
{
    return reinterpret_cast<std::uintptr_t>(p) % 64 == 0;
}

} // namespace

deform::Arrays DeformJob::arrays(void) const
{
    deform::Arrays a;
    a.positions    = positions;
    a.normals      = normals;
    a.indices      = indices[0].getValues();
    a.weights      = weights[0].getValues();
    a.matrices     = matrices[0].getValues();
    a.outPositions = outPositions;
    a.outNormals   = outNormals;
    return a;
}

bool DeformJob::run(void) const
{
    if(!validate().empty())
        return false;
    if(numVertices == 0)
        return true;
    const deform::Body *body = deform::findBody(isa);
    deform::Arrays a = arrays();
    const std::size_t outBytes = numVertices * 3 * sizeof(float) * (normals != nullptr ? 2 : 1);
    a.stream = body->canStream && aligned64(outPositions) && aligned64(outNormals) &&
               (stores == StoresStreaming || (stores == StoresAuto && outBytes > StreamingBytes));
    // Fixed ranges of about 1/256 of the work per task unless told otherwise: small enough to
    // balance two to eight threads, large enough to keep the per-task cost out of the figures.
    std::size_t g = grain;
    if(g == 0)
        g = std::max<std::size_t>(1024, numVertices / 256);
    try
    {
        // The wide bodies read a joint's matrix as one cache line.
        std::vector<float, tbb::cache_aligned_allocator<float>> lined;
        if(!aligned64(a.matrices))
        {
            lined.assign(a.matrices, a.matrices + 16 * numMatrices);
            a.matrices = lined.data();
        }
        tbb::parallel_for(tbb::blocked_range<std::size_t>(0, numVertices, g),
            [&a, body](const tbb::blocked_range<std::size_t> &r) { body->range(a, r.begin(), r.end()); },
            tbb::static_partitioner());
    }
    catch(...)
    {
        return false;
    }
    return true;
}

void DeformJob::runRange(std::size_t begin, std::size_t end) const
{
    const deform::Body *body = deform::findBody(isa);
    if(body != nullptr && begin < end && end <= numVertices)
        body->range(arrays(), begin, end);
}

const char *deformIsa(void)
{
    return deform::findBody(nullptr)->name;
}

std::vector<std::string> deformIsas(void)
{
    std::size_t n = 0;
    const deform::Body *list = deform::bodies(&n);
    std::vector<std::string> names;
    for(std::size_t i = 0; i < n; ++i)
        names.push_back(list[i].name);
    return names;
}

} // namespace skskin
