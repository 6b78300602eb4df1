// Linear blend skinning of 4M vertices (4 influences, 64 joints, normals on) on 1 and 2 threads:
// - Skin_Deform: the library's deformation kernel alone;
// - Skin_UpdatePerFrame: one frame through SkinAttachment (a joint moves, the scene stamp
//   advances, update(false), getDeformedVertices);
// - Scalar_Deform: a plain scalar loop (full 4x4 blend, cofactor inverse) as the baseline;
// - Stream_Triad: a[i] = b[i] + s * c[i] over 3 x 16M doubles, the machine's bandwidth.
// Skinning moves 80 bytes per vertex (position 12 + normal 12 + indices 16 + weights 16 in,
// 24 out); the report sets each skinning rate against 0.8 x triad bandwidth / 80 B.

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
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <cmath>
#include <iomanip>
#include <memory>
#include <random>
#include <vector>

using namespace osg;

namespace {

const std::size_t Vertices      = 4u << 20;
const UInt32      Joints        = 64;
const std::size_t BytesPerVertex = 80;
const std::size_t TriadN        = 16u << 20;

Matrix randomAffine(std::mt19937 &rng)
{
    std::uniform_real_distribution<float> u(-1.f, 1.f);
    Quaternion q;
    q.setValueAsAxisRad(Vec3f(u(rng), u(rng), u(rng) + 2.f), u(rng));
    Matrix m;
    m.setTransform(Vec3f(u(rng), u(rng), u(rng)), q, Vec3f(1.f + 0.2f * u(rng), 1.f, 1.f));
    return m;
}

// Plain arrays for the kernels: bind positions and normals, four influences per vertex.
struct Arrays
{
    std::vector<Pnt3f>  pos;
    std::vector<Vec3f>  nor;
    std::vector<Vec4i>  idx;
    std::vector<Vec4f>  w;
    std::vector<Matrix> mats;
    std::vector<float>  outPos, outNor;
};

const Arrays &arrays(void)
{
    static const Arrays a = [] {
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

void BM_Skin_Deform(benchmark::State &state)
{
    Arrays &a = const_cast<Arrays &>(arrays());
    tbb::task_arena arena(int(state.range(0)));
    skskin::DeformJob job;
    job.positions    = a.pos[0].getValues();
    job.normals      = a.nor[0].getValues();
    job.indices      = a.idx.data();
    job.weights      = a.w.data();
    job.matrices     = a.mats.data();
    job.numMatrices  = a.mats.size();
    job.numVertices  = Vertices;
    job.outPositions = a.outPos.data();
    job.outNormals   = a.outNor.data();
    for(auto _ : state)
    {
        arena.execute([&] { job.run(); });
        benchmark::ClobberMemory();
    }
    setRates(state, Vertices, BytesPerVertex);
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

void BM_Scalar_Deform(benchmark::State &state)
{
    Arrays &a = const_cast<Arrays &>(arrays());
    tbb::task_arena arena(int(state.range(0)));
    for(auto _ : state)
    {
        arena.execute([&] {
            tbb::parallel_for(tbb::blocked_range<std::size_t>(0, Vertices, Vertices / 256),
                [&](const tbb::blocked_range<std::size_t> &r)
                { scalarRange(a, a.outPos.data(), a.outNor.data(), r.begin(), r.end()); },
                tbb::static_partitioner());
        });
        benchmark::ClobberMemory();
    }
    setRates(state, Vertices, BytesPerVertex);
}

void BM_Stream_Triad(benchmark::State &state)
{
    static std::vector<double> A(TriadN, 0.0), B(TriadN, 1.0), C(TriadN, 2.0);
    tbb::task_arena arena(int(state.range(0)));
    const double s = 3.0;
    for(auto _ : state)
    {
        arena.execute([&] {
            tbb::parallel_for(tbb::blocked_range<std::size_t>(0, TriadN, TriadN / 256),
                [&](const tbb::blocked_range<std::size_t> &r)
                {
                    for(std::size_t i = r.begin(); i != r.end(); ++i)
                        A[i] = B[i] + s * C[i];
                },
                tbb::static_partitioner());
        });
        benchmark::ClobberMemory();
    }
    setRates(state, TriadN, 3 * sizeof(double));
}

// A whole frame through the container: a 4M-vertex skinned geometry and 64 joint nodes.
struct Scene
{
    NodePtr                   root;
    std::vector<TransformPtr> joints;
    SkinAttachmentPtr         skin;
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
    std::mt19937 rng(3);
    const Pnt3f *pos = nullptr;
    const Vec3f *nor = nullptr;
    UInt32 frame = 0;
    for(auto _ : state)
    {
        state.PauseTiming();
        TransformPtr t = s.joints[frame++ % Joints];
        beginEditCP(t, Transform::MatrixFieldMask);
        t->setMatrix(randomAffine(rng));
        endEditCP(t, Transform::MatrixFieldMask);
        data->advanceChangeStamp();
        Thread::getCurrentChangeList()->clearAll();
        state.ResumeTiming();
        arena.execute([&] {
            s.skin->update(false);
            s.skin->getDeformedVertices(pos, nor);
        });
        benchmark::DoNotOptimize(pos);
    }
    setRates(state, Vertices, BytesPerVertex);
}

BENCHMARK(BM_Stream_Triad)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Skin_Deform)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Skin_UpdatePerFrame)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Scalar_Deform)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

SKBENCH_REPORT([](std::ostream &os, const skbench::Results &r) {
    os << "skinning (" << skskin::deformIsa() << "), Mvert/s against the goal 0.8 x triad / 80 B:\n";
    for(const char *t : {"1", "2"})
    {
        const std::string triad = std::string("BM_Stream_Triad/") + t + "/real_time";
        if(!r.bytesPerSecond.count(triad))
            continue;
        const double goal = 0.8 * r.bytesPerSecond.at(triad) / double(BytesPerVertex) / 1e6;
        os << "  " << t << " thread(s): goal " << std::fixed << std::setprecision(1) << goal;
        for(const char *b : {"BM_Skin_Deform", "BM_Skin_UpdatePerFrame", "BM_Scalar_Deform"})
        {
            const std::string name = std::string(b) + "/" + t + "/real_time";
            if(r.itemsPerSecond.count(name))
            {
                const double mv = r.itemsPerSecond.at(name) / 1e6;
                os << ", " << (b + 3) << " " << mv << " (" << std::setprecision(0)
                   << 100.0 * mv / goal << " %)" << std::setprecision(1);
            }
        }
        os << "\n";
    }
});

} // namespace
