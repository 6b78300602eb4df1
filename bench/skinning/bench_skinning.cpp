// Linear blend skinning of 4M vertices (4 influences, 64 joints, normals on) on 1 and 2 threads:
// - Skin_Deform/<isa>: the library's deformation kernel alone, per instruction set this machine
//   runs (the first is the default); Skin_Deform/<isa>_cached: the default without streaming
//   stores;
// - Skin_DeformInCache/<isa>: the kernel on 8K vertices that stay in the caches, one thread:
//   its compute rate, without the memory;
// - Skin_UpdatePerFrame: one frame through SkinAttachment (a joint moves, the scene stamp
//   advances, update(false), getDeformedVertices); it fails if a frame does not deform;
// - Scalar_Deform: a plain scalar loop (full 4x4 blend, cofactor inverse) as the baseline;
// - Stream_Triad: a[i] = b[i] + s * c[i] over 3 x 16M doubles, the machine's bandwidth;
// - Move_Bytes: the skin's arrays read and written with no arithmetic to speak of (streaming
//   stores), the bandwidth ceiling of this access pattern.
// Skinning moves 80 bytes per vertex (position 12 + normal 12 + indices 16 + weights 16 in,
// 24 out); the report sets each skinning rate against 0.8 x triad bandwidth / 80 B, by real
// time and by CPU time (the process's, divided by the threads: on a shared machine the figure
// that ignores time spent waiting for a core, at the price of assuming the threads overlap).

#include "support/BenchSupport.h"

#include <OpenSGExt/OSGSkinAttachment.h>
#include <OpenSGExt/OSGDeformerCluster.h>
#include <OpenSGExt/Skinning/detail/skSkinKernels.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGGeoNormals3f.h>
#include <OpenSG/OSGGeoPositions3f.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGTransform.h>
#include <platform/skSceneData.h>

#include <benchmark/benchmark.h>
#include <tbb/cache_aligned_allocator.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <emmintrin.h>

#include <cmath>
#include <deque>
#include <iomanip>
#include <memory>
#include <random>
#include <vector>

using namespace osg;

namespace {

const std::size_t Vertices       = 4u << 20;
const std::size_t CacheVertices  = 8u << 10;   // about 850 KB of arrays: within a core's L2
const UInt32      Joints         = 64;
const std::size_t BytesPerVertex = 80;
const std::size_t TriadN         = 16u << 20;

Matrix randomAffine(std::mt19937 &rng)
{
    std::uniform_real_distribution<float> u(-1.f, 1.f);
    Quaternion q;
    q.setValueAsAxisRad(Vec3f(u(rng), u(rng), u(rng) + 2.f), u(rng));
    Matrix m;
    m.setTransform(Vec3f(u(rng), u(rng), u(rng)), q, Vec3f(1.f + 0.2f * u(rng), 1.f, 1.f));
    return m;
}

template <class T>
using Lined = std::vector<T, tbb::cache_aligned_allocator<T>>;

// Plain arrays for the kernels: bind positions and normals, four influences per vertex.
struct Arrays
{
    Lined<Pnt3f>  pos;
    Lined<Vec3f>  nor;
    Lined<Vec4i>  idx;
    Lined<Vec4f>  w;
    Lined<Matrix> mats;
    Lined<float>  outPos, outNor;
};

Arrays &arrays(void)
{
    static Arrays a = [] {
        Arrays r;
        std::mt19937 rng(1);
        std::uniform_real_distribution<float> u(-1.f, 1.f), uw(0.05f, 1.f);
        std::uniform_int_distribution<Int32> uj(0, Int32(Joints) - 1);
        r.pos.resize(Vertices);
        r.nor.resize(Vertices);
        r.idx.resize(Vertices);
        r.w.resize(Vertices);
        for(std::size_t v = 0; v < Vertices; ++v)
        {
            r.pos[v] = Pnt3f(u(rng), u(rng), u(rng));
            Vec3f n(u(rng), u(rng), u(rng) + 2.f);
            n.normalize();
            r.nor[v] = n;
            float w[4] = { uw(rng), uw(rng), uw(rng), uw(rng) };
            const float s = w[0] + w[1] + w[2] + w[3];
            r.idx[v] = Vec4i(uj(rng), uj(rng), uj(rng), uj(rng));
            r.w[v]   = Vec4f(w[0] / s, w[1] / s, w[2] / s, w[3] / s);
        }
        for(UInt32 j = 0; j < Joints; ++j)
            r.mats.push_back(randomAffine(rng));
        r.outPos.resize(3 * Vertices);
        r.outNor.resize(3 * Vertices);
        return r;
    }();
    return a;
}

void setRates(benchmark::State &state, std::size_t items, std::size_t bytesPerItem)
{
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(items));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(items * bytesPerItem));
}

// The indices are checked once here, as SkinAttachment does when they change.
skskin::DeformJob deformJob(std::size_t n, const char *isa, skskin::DeformJob::Stores stores)
{
    Arrays &a = arrays();
    skskin::DeformJob job;
    job.positions      = a.pos[0].getValues();
    job.normals        = a.nor[0].getValues();
    job.indices        = a.idx.data();
    job.weights        = a.w.data();
    job.matrices       = a.mats.data();
    job.numMatrices    = a.mats.size();
    job.numVertices    = n;
    job.outPositions   = a.outPos.data();
    job.outNormals     = a.outNor.data();
    job.isa            = isa;
    job.stores         = stores;
    job.indicesChecked = skskin::findBadJointIndex(a.idx.data(), n, a.mats.size()) == n;
    return job;
}

void BM_Skin_Deform(benchmark::State &state, const char *isa, skskin::DeformJob::Stores stores)
{
    tbb::task_arena arena(int(state.range(0)));
    const skskin::DeformJob job = deformJob(Vertices, isa, stores);
    for(auto _ : state)
    {
        bool ok = false;
        arena.execute([&] { ok = job.run(); });
        if(!ok)
        {
            state.SkipWithError(("the job did not run: " + job.validate()).c_str());
            break;
        }
        benchmark::ClobberMemory();
    }
    setRates(state, Vertices, BytesPerVertex);
}

void BM_Skin_DeformInCache(benchmark::State &state, const char *isa)
{
    const skskin::DeformJob job = deformJob(CacheVertices, isa, skskin::DeformJob::StoresCached);
    for(auto _ : state)
    {
        job.runRange(0, CacheVertices);
        benchmark::ClobberMemory();
    }
    setRates(state, CacheVertices, BytesPerVertex);
}

// The baseline: what a straightforward implementation does per vertex.
void scalarRange(const Arrays &a, float *outPos, float *outNor, std::size_t b, std::size_t e)
{
    for(std::size_t v = b; v < e; ++v)
    {
        float m[4][4] = {};
        for(int k = 0; k < 4; ++k)
        {
            const Matrix &d = a.mats[std::size_t(a.idx[v][k])];
            for(int c = 0; c < 4; ++c)
                for(int r = 0; r < 4; ++r)
                    m[c][r] += a.w[v][k] * d[c][r];
        }
        const Pnt3f &p = a.pos[v];
        for(int r = 0; r < 3; ++r)
            outPos[3 * v + r] = m[0][r] * p[0] + m[1][r] * p[1] + m[2][r] * p[2] + m[3][r];
        // inverse transpose of the upper 3x3 by cofactors
        float cof[3][3];
        for(int c = 0; c < 3; ++c)
            for(int r = 0; r < 3; ++r)
            {
                const int c1 = (c + 1) % 3, c2 = (c + 2) % 3, r1 = (r + 1) % 3, r2 = (r + 2) % 3;
                cof[c][r] = m[c1][r1] * m[c2][r2] - m[c1][r2] * m[c2][r1];
            }
        const float det = m[0][0] * cof[0][0] + m[0][1] * cof[0][1] + m[0][2] * cof[0][2];
        const Vec3f &n = a.nor[v];
        for(int r = 0; r < 3; ++r)
            outNor[3 * v + r] = (cof[0][r] * n[0] + cof[1][r] * n[1] + cof[2][r] * n[2]) / det;
    }
}

// Runs body(begin, end) over [0, n) in 256 fixed ranges on the state's thread count.
template <class Body>
void parallelFrames(benchmark::State &state, std::size_t n, const Body &body)
{
    tbb::task_arena arena(int(state.range(0)));
    for(auto _ : state)
    {
        arena.execute([&] {
            tbb::parallel_for(tbb::blocked_range<std::size_t>(0, n, n / 256),
                [&](const tbb::blocked_range<std::size_t> &r) { body(r.begin(), r.end()); },
                tbb::static_partitioner());
        });
        benchmark::ClobberMemory();
    }
}

void BM_Scalar_Deform(benchmark::State &state)
{
    Arrays &a = arrays();
    parallelFrames(state, Vertices, [&](std::size_t b, std::size_t e)
                   { scalarRange(a, a.outPos.data(), a.outNor.data(), b, e); });
    setRates(state, Vertices, BytesPerVertex);
}

void BM_Stream_Triad(benchmark::State &state)
{
    static Lined<double> A(TriadN, 0.0), B(TriadN, 1.0), C(TriadN, 2.0);
    const double s = 3.0;
    parallelFrames(state, TriadN, [&](std::size_t b, std::size_t e)
    {
        for(std::size_t i = b; i != e; ++i)
            A[i] = B[i] + s * C[i];
    });
    setRates(state, TriadN, 3 * sizeof(double));
}

// Per four vertices: 12 + 12 + 16 + 16 floats in, 12 + 12 out; the output lines streamed like
// the kernel's. The sums only keep every input byte needed.
void moveRange(const Arrays &a, float *outPos, float *outNor, std::size_t b, std::size_t e)
{
    const float *pos = a.pos[0].getValues(), *nor = a.nor[0].getValues();
    const float *w = a.w[0].getValues();
    const __m128i *idx = reinterpret_cast<const __m128i *>(a.idx.data());
    for(std::size_t v = b; v < e; v += 4)
    {
        const __m128 s = _mm_add_ps(
            _mm_add_ps(_mm_load_ps(w + 4 * v), _mm_load_ps(w + 4 * v + 4)),
            _mm_add_ps(_mm_load_ps(w + 4 * v + 8), _mm_load_ps(w + 4 * v + 12)));
        const __m128 j = _mm_cvtepi32_ps(_mm_add_epi32(
            _mm_add_epi32(_mm_load_si128(idx + v), _mm_load_si128(idx + v + 1)),
            _mm_add_epi32(_mm_load_si128(idx + v + 2), _mm_load_si128(idx + v + 3))));
        for(int k = 0; k < 3; ++k)
        {
            _mm_stream_ps(outPos + 3 * v + 4 * k, _mm_add_ps(_mm_load_ps(pos + 3 * v + 4 * k), s));
            _mm_stream_ps(outNor + 3 * v + 4 * k, _mm_add_ps(_mm_load_ps(nor + 3 * v + 4 * k), j));
        }
    }
    _mm_sfence();
}

void BM_Move_Bytes(benchmark::State &state)
{
    Arrays &a = arrays();
    parallelFrames(state, Vertices, [&](std::size_t b, std::size_t e)
                   { moveRange(a, a.outPos.data(), a.outNor.data(), b, e); });
    setRates(state, Vertices, BytesPerVertex);
}

// A whole frame through the container: a 4M-vertex skinned geometry and 64 joint nodes. The
// frame counter and the random poses persist across runs, so every frame moves a joint to a
// new matrix.
struct Scene
{
    NodePtr                   root;
    std::vector<TransformPtr> joints;
    SkinAttachmentPtr         skin;
    std::mt19937              rng{3};
    UInt32                    frame = 0;
};

Scene &scene(void)
{
    static Scene *s = [] {
        Scene *r = new Scene;
        const Arrays &a = arrays();
        r->root = Node::create();
        addRefCP(r->root);
        r->root->setCore(Group::create());
        GeometryPtr geo = Geometry::create();
        GeoPositions3fPtr pos = GeoPositions3f::create();
        pos->editField().getValues().assign(a.pos.begin(), a.pos.end());
        GeoNormals3fPtr nor = GeoNormals3f::create();
        nor->editField().getValues().assign(a.nor.begin(), a.nor.end());
        geo->setPositions(pos);
        geo->setNormals(nor);
        NodePtr gn = Node::create();
        gn->setCore(geo);
        r->root->addChild(gn);
        r->skin = SkinAttachment::create();
        std::mt19937 rng(2);
        for(UInt32 j = 0; j < Joints; ++j)
        {
            TransformPtr t = Transform::create();
            t->setMatrix(randomAffine(rng));
            NodePtr n = Node::create();
            n->setCore(t);
            r->root->addChild(n);
            r->joints.push_back(t);
            DeformerClusterPtr c = DeformerCluster::create();
            beginEditCP(c);
            c->setNodeBindPose(randomAffine(rng));
            endEditCP(c);
            c->setNode(n);
            r->skin->addJoint(c);
        }
        // The influences of the plain arrays, as the clusters' lists.
        std::vector<std::vector<IndexWeight>> lists(Joints);
        for(std::size_t v = 0; v < Vertices; ++v)
            for(int k = 0; k < 4; ++k)
                lists[std::size_t(a.idx[v][k])].push_back(IndexWeight(UInt32(v), a.w[v][k]));
        for(UInt32 j = 0; j < Joints; ++j)
        {
            DeformerClusterPtr c = r->skin->getJoints(j);
            beginEditCP(c, DeformerCluster::WeightsFieldMask);
            c->editMFWeights()->getValues().assign(lists[j].begin(), lists[j].end());
            endEditCP(c, DeformerCluster::WeightsFieldMask);
        }
        beginEditCP(geo, Geometry::AttachmentsFieldMask);
        geo->addAttachment(r->skin);
        endEditCP(geo, Geometry::AttachmentsFieldMask);
        r->skin->update(true);
        // The first deformation allocates the caches; frames after it reuse them.
        const Pnt3f *dp = nullptr;
        const Vec3f *dn = nullptr;
        r->skin->getDeformedVertices(dp, dn);
        Thread::getCurrentChangeList()->clearAll();
        return r;
    }();
    return *s;
}

void BM_Skin_UpdatePerFrame(benchmark::State &state)
{
    Scene &s = scene();
    tbb::task_arena arena(int(state.range(0)));
    skSceneData *data = skSceneDataManager::getSceneData();
    for(auto _ : state)
    {
        state.PauseTiming();
        TransformPtr t = s.joints[s.frame++ % Joints];
        beginEditCP(t, Transform::MatrixFieldMask);
        t->setMatrix(randomAffine(s.rng));
        endEditCP(t, Transform::MatrixFieldMask);
        data->advanceChangeStamp();
        Thread::getCurrentChangeList()->clearAll();
        state.ResumeTiming();
        const Pnt3f *pos = nullptr;
        const Vec3f *nor = nullptr;
        bool updated = false, dirty = false;
        arena.execute([&] {
            updated = s.skin->update(false);
            dirty   = s.skin->getDeformerMatricesDirty();
            s.skin->getDeformedVertices(pos, nor);
        });
        if(!updated || !dirty || pos == nullptr || s.skin->getDeformerMatricesDirty())
        {
            state.SkipWithError("a frame did not deform: no new matrices, or the cache was handed out");
            break;
        }
        benchmark::DoNotOptimize(pos);
    }
    setRates(state, Vertices, BytesPerVertex);
}

benchmark::internal::Benchmark *timed(benchmark::internal::Benchmark *b)
{
    return b->UseRealTime()->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);
}

// In the order of the report; the kernel for every instruction set this machine runs, the
// default first.
const bool registered = [] {
    static std::deque<std::string> isas;   // stable storage for the names the runs capture
    for(const std::string &isa : skskin::deformIsas())
        isas.push_back(isa);
    timed(benchmark::RegisterBenchmark("BM_Stream_Triad", BM_Stream_Triad))->Arg(1)->Arg(2);
    timed(benchmark::RegisterBenchmark("BM_Move_Bytes", BM_Move_Bytes))->Arg(1)->Arg(2);
    for(const std::string &isa : isas)
    {
        const char *name = isa.c_str();
        timed(benchmark::RegisterBenchmark(("BM_Skin_Deform/" + isa).c_str(),
            [name](benchmark::State &s) { BM_Skin_Deform(s, name, skskin::DeformJob::StoresAuto); }))
            ->Arg(1)->Arg(2);
    }
    const char *best = isas.front().c_str();
    timed(benchmark::RegisterBenchmark(("BM_Skin_Deform/" + isas.front() + "_cached").c_str(),
        [best](benchmark::State &s) { BM_Skin_Deform(s, best, skskin::DeformJob::StoresCached); }))
        ->Arg(1)->Arg(2);
    timed(benchmark::RegisterBenchmark("BM_Skin_UpdatePerFrame", BM_Skin_UpdatePerFrame))
        ->Arg(1)->Arg(2);
    timed(benchmark::RegisterBenchmark("BM_Scalar_Deform", BM_Scalar_Deform))->Arg(1)->Arg(2);
    for(const std::string &isa : isas)
    {
        const char *name = isa.c_str();
        timed(benchmark::RegisterBenchmark(("BM_Skin_DeformInCache/" + isa).c_str(),
            [name](benchmark::State &s) { BM_Skin_DeformInCache(s, name); }))
            ->Arg(1)->Unit(benchmark::kMicrosecond);
    }
    return true;
}();

// Rate in Mvert/s of a run (name/threads) by real time and by CPU time per thread; false if it did not run.
bool rates(const skbench::Results &r, const std::string &name, int threads, double *real,
           double *cpu)
{
    const std::string run = name + "/process_time/real_time";
    if(!r.itemsPerSecond.count(run) || !r.cpuSeconds.count(run) || r.cpuSeconds.at(run) <= 0)
        return false;
    *real = r.itemsPerSecond.at(run) / 1e6;
    *cpu  = *real * r.seconds.at(run) / (r.cpuSeconds.at(run) / threads);
    return true;
}

SKBENCH_REPORT([](std::ostream &os, const skbench::Results &r) {
    os << std::fixed << std::setprecision(1)
       << "skinning (default body " << skskin::deformIsa() << "), Mvert/s against the goal "
       << "0.8 x triad / 80 B; by real time, then by CPU time (the process's over the threads: "
       << "the rate were each thread alone on a core):\n";
    const std::vector<std::string> isas = skskin::deformIsas();
    for(int threads : {1, 2})
    {
        const std::string t = std::to_string(threads);
        double triad = 0, triadCpu = 0;
        if(!rates(r, "BM_Stream_Triad/" + t, threads, &triad, &triadCpu))
            continue;
        // items of the triad are doubles of 24 B each
        const double goal = 0.8 * triad * 24.0 / double(BytesPerVertex);
        const double goalCpu = 0.8 * triadCpu * 24.0 / double(BytesPerVertex);
        os << "  " << t << " thread(s): triad " << triad * 24.0 / 1e3 << " GB/s, goal " << goal
           << " (" << goalCpu << ")\n";
        std::vector<std::string> runs;
        for(const std::string &isa : isas)
            runs.push_back("BM_Skin_Deform/" + isa);
        runs.push_back("BM_Skin_Deform/" + isas.front() + "_cached");
        runs.push_back("BM_Skin_UpdatePerFrame");
        runs.push_back("BM_Scalar_Deform");
        runs.push_back("BM_Move_Bytes");
        for(const std::string &run : runs)
        {
            const std::string name = run + "/" + t;
            double mv = 0, mvCpu = 0;
            if(!rates(r, name, threads, &mv, &mvCpu))
                continue;
            os << "    " << std::left << std::setw(28) << run.substr(3) << std::right
               << std::setw(8) << mv << " (" << std::setw(3) << std::setprecision(0)
               << 100.0 * mv / goal << " %)  " << std::setprecision(1) << std::setw(8) << mvCpu
               << " (" << std::setw(3) << std::setprecision(0) << 100.0 * mvCpu / goalCpu
               << " %)" << std::setprecision(1);
            if(run == "BM_Skin_UpdatePerFrame")
                os << "  " << std::setprecision(2) << r.seconds.at(name + "/process_time/real_time") * 1e3 << " ms per frame"
                   << std::setprecision(1);
            os << "\n";
        }
        double best = 0, bestCpu = 0, base = 0, baseCpu = 0;
        if(rates(r, "BM_Skin_Deform/" + isas.front() + "/" + t, threads, &best, &bestCpu) &&
           rates(r, "BM_Scalar_Deform/" + t, threads, &base, &baseCpu) && base > 0 && baseCpu > 0)
            os << "    default kernel / scalar baseline: " << best / base << "x (" << bestCpu / baseCpu
               << "x)\n";
    }
    os << "  in cache, 1 thread (compute rate):";
    for(const std::string &isa : isas)
    {
        double mv = 0, mvCpu = 0;
        if(rates(r, "BM_Skin_DeformInCache/" + isa + "/1", 1, &mv, &mvCpu))
            os << " " << isa << " " << mvCpu;
    }
    os << " Mvert/s (CPU time)\n";
});

} // namespace
