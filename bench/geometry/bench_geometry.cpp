// Vertex unification of a 3M-corner UV-sphere soup against meshopt_generateVertexRemap (exact
// tolerances; all must find 502,500 vertices), on plain arrays and through the graph operation;
// Phong subdivision x2 of a 65,536-triangle torus against OpenSubdiv's Loop refinement x2 (output
// triangles per second), tangent frames on a 1M-vertex grid, and adaptive subdivision of the
// torus for the record.

#include <OpenSGExt/Geometry/detail/skSubdivide.h>
#include <OpenSGExt/Geometry/detail/skTangentSpace.h>
#include <OpenSGExt/Geometry/detail/skUnifyVertices.h>
#include <OpenSGExt/OSGUnifyVerticesGraphOp.h>

#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGGeoNormals3f.h>
#include <OpenSG/OSGGeoPLengthsUI32.h>
#include <OpenSG/OSGGeoPTypesUI8.h>
#include <OpenSG/OSGGeoPositions3f.h>
#include <OpenSG/OSGGeoTexCoords2f.h>
#include <OpenSG/OSGThread.h>

#include "support/BenchSupport.h"

#include <benchmark/benchmark.h>
#include <meshoptimizer.h>
#include <opensubdiv/far/primvarRefiner.h>
#include <opensubdiv/far/topologyDescriptor.h>

#include <cmath>
#include <cstring>
#include <iomanip>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <vector>

using namespace osg;

namespace {

const double Pi = 3.14159265358979323846;

/*------------------------------ sphere soup --------------------------------*/

// 1000 segments x 501 stacks: pole stacks are triangles whose pole vertex sits at the segment's
// middle in u, so each pole row has 1000 distinct vertices and each inner row 1001 (the seam
// repeats in u): 2 x 1000 + 500 x 1001 = 502,500 vertices over 1,000,000 triangles.
struct SphereSoup
{
    struct Vertex
    {
        float p[3], n[3], t[2];
    };
    std::vector<Vertex> corners;

    SphereSoup()
    {
        const int segs = 1000, stacks = 501;
        auto vertex = [&](int i, double u) {
            const double theta = Pi * i / stacks, phi = 2 * Pi * u;
            Vertex v;
            const double x = std::sin(theta) * std::cos(phi), y = std::sin(theta) * std::sin(phi);
            const double z = std::cos(theta);
            v.p[0] = v.n[0] = float(i == 0 || i == stacks ? 0.0 : x);
            v.p[1] = v.n[1] = float(i == 0 || i == stacks ? 0.0 : y);
            v.p[2] = v.n[2] = float(z);
            v.t[0] = float(u);
            v.t[1] = float(double(i) / stacks);
            return v;
        };
        corners.reserve(3000000);
        for(int i = 0; i < stacks; ++i)
        {
            for(int j = 0; j < segs; ++j)
            {
                const double u0 = double(j) / segs, u1 = double(j + 1) / segs;
                const double um = (j + 0.5) / segs;
                if(i == 0)
                {
                    corners.push_back(vertex(0, um));
                    corners.push_back(vertex(1, u0));
                    corners.push_back(vertex(1, u1));
                }
                else if(i == stacks - 1)
                {
                    corners.push_back(vertex(i, u0));
                    corners.push_back(vertex(stacks, um));
                    corners.push_back(vertex(i, u1));
                }
                else
                {
                    const Vertex a = vertex(i, u0), b = vertex(i + 1, u0), c = vertex(i + 1, u1),
                                 d = vertex(i, u1);
                    corners.insert(corners.end(), { a, b, c, a, c, d });
                }
            }
        }
    }
};

const SphereSoup &sphere()
{
    static const SphereSoup s;
    return s;
}

// The comparison views need planar arrays.
struct SpherePlanar
{
    std::vector<float> p, n, t;
    SpherePlanar()
    {
        const std::size_t count = sphere().corners.size();
        p.reserve(3 * count);
        n.reserve(3 * count);
        t.reserve(2 * count);
        for(const SphereSoup::Vertex &v : sphere().corners)
        {
            p.insert(p.end(), v.p, v.p + 3);
            n.insert(n.end(), v.n, v.n + 3);
            t.insert(t.end(), v.t, v.t + 2);
        }
    }
};

const SpherePlanar &spherePlanar()
{
    static const SpherePlanar s;
    return s;
}

// Positions, normals (compared by angle, as the graph operation does) and texture coordinates 0,
// all with zero tolerances.
detail::VertexCompareContext sphereContext(void)
{
    const SpherePlanar &planar = spherePlanar();
    const UInt32 n = UInt32(sphere().corners.size());
    const float *arrays[3] = { planar.p.data(), planar.n.data(), planar.t.data() };
    const UInt32 slots[3] = { 0, 1, 4 };
    const UInt8 dims[3] = { 3, 3, 2 };
    detail::VertexCompareContext ctx;
    for(int k = 0; k < 3; ++k)
    {
        detail::CompareAttribute &at = ctx.attr[slots[k]];
        at.data  = arrays[k];
        at.kind  = detail::CompareAttribute::Floats;
        at.dim   = dims[k];
        at.size  = n;
        at.angle = k == 1;
    }
    return ctx;
}

void BM_Unify_Sphere(benchmark::State &state)
{
    const detail::VertexCompareContext ctx = sphereContext();
    const std::size_t n = sphere().corners.size();
    std::vector<UInt32> identity(n), indices(n);
    for(std::size_t i = 0; i < n; ++i)
        identity[i] = UInt32(i);
    std::size_t distinct = 0;
    bool hash = false;
    for(auto _ : state)
    {
        detail::VertexUnifier unifier(ctx);
        if(!unifier.validate(identity.data(), n).empty())
            state.SkipWithError("invalid input");
        distinct = unifier.run(identity.data(), n, indices.data());
        hash = unifier.usedHash();
        benchmark::DoNotOptimize(indices.data());
    }
    state.counters["vertices"] = double(distinct);
    state.counters["hash"] = hash ? 1 : 0;
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(n));
}
BENCHMARK(BM_Unify_Sphere)->Unit(benchmark::kMillisecond)->UseRealTime();

// The whole graph operation on a non-indexed Geometry holding the soup: index creation,
// validation, unification and writing the indices back. Built on first use, released at the end.
GeometryPtr &sphereGeometrySlot(void)
{
    static GeometryPtr geo;
    return geo;
}

GeometryPtr sphereGeometry(void)
{
    GeometryPtr &geo = sphereGeometrySlot();
    if(geo != NullFC)
        return geo;
    const SpherePlanar &planar = spherePlanar();
    geo = Geometry::create();
    addRefCP(geo);
    GeoPositions3fPtr pos = GeoPositions3f::create();
    GeoNormals3fPtr nor = GeoNormals3f::create();
    GeoTexCoords2fPtr tex = GeoTexCoords2f::create();
    const std::size_t n = sphere().corners.size();
    pos->editField().getValues().resize(n);
    nor->editField().getValues().resize(n);
    tex->editField().getValues().resize(n);
    std::memcpy(pos->editData(), planar.p.data(), planar.p.size() * sizeof(float));
    std::memcpy(nor->editData(), planar.n.data(), planar.n.size() * sizeof(float));
    std::memcpy(tex->editData(), planar.t.data(), planar.t.size() * sizeof(float));
    GeoPTypesUI8Ptr types = GeoPTypesUI8::create();
    types->editField().push_back(UInt8(GL_TRIANGLES));
    GeoPLengthsUI32Ptr lengths = GeoPLengthsUI32::create();
    lengths->editField().push_back(UInt32(n));
    beginEditCP(geo);
    geo->setTypes(types);
    geo->setLengths(lengths);
    geo->setPositions(pos);
    geo->setNormals(nor);
    geo->setTexCoords(tex);
    endEditCP(geo);
    return geo;
}
SKBENCH_CLEANUP([] {
    GeometryPtr &geo = sphereGeometrySlot();
    if(geo != NullFC)
        subRefCP(geo);
    geo = NullFC;
});

void BM_UnifyGraphOp_Sphere(benchmark::State &state)
{
    GeometryPtr geo = sphereGeometry();
    UnifyVerticesGraphOp op;
    op.setNormalEpsilon(0.f);
    op.setTexCoordEpsilon(0.f);
    std::set<UInt32> distinct;
    for(auto _ : state)
    {
        state.PauseTiming();
        beginEditCP(geo, Geometry::IndicesFieldMask | Geometry::IndexMappingFieldMask);
        geo->setIndices(NullFC);
        geo->editMFIndexMapping()->clear();
        endEditCP(geo, Geometry::IndicesFieldMask | Geometry::IndexMappingFieldMask);
        Thread::getCurrentChangeList()->clearAll();
        state.ResumeTiming();
        op.process(geo);
    }
    const GeoIndicesPtr indices = geo->getIndices();
    for(UInt32 i = 0; indices != NullFC && i < indices->getSize(); ++i)
        distinct.insert(indices->getValue(i));
    state.counters["vertices"] = double(distinct.size());
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(sphere().corners.size()));
}
BENCHMARK(BM_UnifyGraphOp_Sphere)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Unify_Sphere_Meshopt(benchmark::State &state)
{
    const std::vector<SphereSoup::Vertex> &v = sphere().corners;
    std::vector<unsigned int> remap(v.size());
    std::size_t distinct = 0;
    for(auto _ : state)
    {
        distinct = meshopt_generateVertexRemap(remap.data(), NULL, v.size(), v.data(), v.size(),
                                               sizeof(SphereSoup::Vertex));
        benchmark::DoNotOptimize(remap.data());
    }
    state.counters["vertices"] = double(distinct);
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(v.size()));
}
BENCHMARK(BM_Unify_Sphere_Meshopt)->Unit(benchmark::kMillisecond)->UseRealTime();

/*------------------------------ torus --------------------------------------*/

// 256 x 128 quads, two triangles each: 65,536 triangles over 32,768 vertices with unit normals.
struct Torus
{
    std::vector<float> positions, normals;   // 3 per vertex
    std::vector<int>   triangles;            // 3 per triangle

    Torus()
    {
        const int nu = 256, nv = 128;
        const double R = 1.0, r = 0.35;
        for(int i = 0; i < nu; ++i)
        {
            for(int j = 0; j < nv; ++j)
            {
                const double u = 2 * Pi * i / nu, v = 2 * Pi * j / nv;
                const double nx = std::cos(v) * std::cos(u), ny = std::cos(v) * std::sin(u);
                const double nz = std::sin(v);
                positions.insert(positions.end(), { float(R * std::cos(u) + r * nx),
                                                    float(R * std::sin(u) + r * ny),
                                                    float(r * nz) });
                normals.insert(normals.end(), { float(nx), float(ny), float(nz) });
            }
        }
        for(int i = 0; i < nu; ++i)
        {
            for(int j = 0; j < nv; ++j)
            {
                const int a = i * nv + j, b = ((i + 1) % nu) * nv + j;
                const int c = ((i + 1) % nu) * nv + (j + 1) % nv, d = i * nv + (j + 1) % nv;
                triangles.insert(triangles.end(), { a, b, c, a, c, d });
            }
        }
    }
    std::size_t numTriangles() const { return triangles.size() / 3; }
};

const Torus &torus()
{
    static const Torus t;
    return t;
}

// Corners gathered from the indexed arrays, as the graph operation reads them.
void gatherSoup(const Torus &t, std::vector<float> &soup)
{
    soup.resize(t.triangles.size() * 6);
    float *dst = soup.data();
    for(int v : t.triangles)
    {
        const float *p = &t.positions[3 * std::size_t(v)], *n = &t.normals[3 * std::size_t(v)];
        dst[0] = p[0]; dst[1] = p[1]; dst[2] = p[2];
        dst[3] = n[0]; dst[4] = n[1]; dst[5] = n[2];
        dst += 6;
    }
}

void BM_Phong2_Torus(benchmark::State &state)
{
    const Torus &t = torus();
    std::vector<float> soup, out;
    std::size_t produced = 0;
    for(auto _ : state)
    {
        gatherSoup(t, soup);
        out.clear();
        detail::subdividePhong(soup.data(), t.numTriangles(), 6, 3, 2, std::size_t(1) << 24, out);
        produced = out.size() / 18;
        benchmark::DoNotOptimize(out.data());
    }
    state.counters["triangles"] = double(produced);
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(produced));
}
BENCHMARK(BM_Phong2_Torus)->Unit(benchmark::kMillisecond)->UseRealTime();

struct OsdVertex
{
    float v[6];
    void Clear(void * = 0)
    {
        for(float &x : v)
            x = 0.f;
    }
    void AddWithWeight(const OsdVertex &src, float weight)
    {
        for(int i = 0; i < 6; ++i)
            v[i] += weight * src.v[i];
    }
};

void BM_Phong2_Torus_OpenSubdivLoop(benchmark::State &state)
{
    using namespace OpenSubdiv;
    typedef Far::TopologyDescriptor Descriptor;
    const Torus &t = torus();
    const std::vector<int> vertsPerFace(t.numTriangles(), 3);
    std::size_t produced = 0;
    for(auto _ : state)
    {
        Descriptor desc;
        desc.numVertices        = int(t.positions.size() / 3);
        desc.numFaces           = int(t.numTriangles());
        desc.numVertsPerFace    = vertsPerFace.data();
        desc.vertIndicesPerFace = t.triangles.data();
        Sdc::Options options;
        options.SetVtxBoundaryInterpolation(Sdc::Options::VTX_BOUNDARY_EDGE_ONLY);
        std::unique_ptr<Far::TopologyRefiner> refiner(
            Far::TopologyRefinerFactory<Descriptor>::Create(
                desc, Far::TopologyRefinerFactory<Descriptor>::Options(Sdc::SCHEME_LOOP, options)));
        refiner->RefineUniform(Far::TopologyRefiner::UniformOptions(2));
        std::vector<OsdVertex> buffer(std::size_t(refiner->GetNumVerticesTotal()));
        for(int v = 0; v < desc.numVertices; ++v)
        {
            for(int c = 0; c < 3; ++c)
            {
                buffer[std::size_t(v)].v[c]     = t.positions[3 * std::size_t(v) + c];
                buffer[std::size_t(v)].v[3 + c] = t.normals[3 * std::size_t(v) + c];
            }
        }
        Far::PrimvarRefiner primvar(*refiner);
        OsdVertex *src = buffer.data();
        for(int level = 1; level <= 2; ++level)
        {
            OsdVertex *dst = src + refiner->GetLevel(level - 1).GetNumVertices();
            primvar.Interpolate(level, src, dst);
            src = dst;
        }
        produced = std::size_t(refiner->GetLevel(2).GetNumFaces());
        benchmark::DoNotOptimize(buffer.data());
    }
    state.counters["triangles"] = double(produced);
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(produced));
}
BENCHMARK(BM_Phong2_Torus_OpenSubdivLoop)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Adaptive_Torus(benchmark::State &state)
{
    const Torus &t = torus();
    std::vector<float> soup, out;
    std::size_t produced = 0;
    for(auto _ : state)
    {
        gatherSoup(t, soup);
        out.clear();
        // Edges are about 0.017 to 0.03 long: 0.012 splits most of them once or twice.
        detail::subdivideAdaptive(soup.data(), t.numTriangles(), 6, 0.012f, std::size_t(1) << 24,
                                  out);
        produced = out.size() / 18;
        benchmark::DoNotOptimize(out.data());
    }
    state.counters["triangles"] = double(produced);
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(produced));
}
BENCHMARK(BM_Adaptive_Torus)->Unit(benchmark::kMillisecond)->UseRealTime();

/*------------------------------ tangents -----------------------------------*/

void BM_Tangents_Grid(benchmark::State &state)
{
    const UInt32 side = 1000;   // 1M vertices, 1,996,002 triangles
    std::vector<Pnt3f> pos;
    std::vector<Vec3f> nrm;
    std::vector<Vec2f> tex;
    for(UInt32 y = 0; y < side; ++y)
    {
        for(UInt32 x = 0; x < side; ++x)
        {
            const float fx = float(x) / side, fy = float(y) / side;
            pos.push_back(Pnt3f(fx, fy, 0.05f * std::sin(10 * fx) * std::cos(7 * fy)));
            nrm.push_back(Vec3f(0, 0, 1));
            tex.push_back(Vec2f(fx, fy));
        }
    }
    std::vector<UInt32> tri;
    for(UInt32 y = 0; y + 1 < side; ++y)
    {
        for(UInt32 x = 0; x + 1 < side; ++x)
        {
            const UInt32 a = y * side + x, b = a + 1, c = a + side + 1, d = a + side;
            tri.insert(tri.end(), { a, b, c, a, c, d });
        }
    }
    detail::TangentInput in;
    in.positions = pos.data();
    in.normals = nrm.data();
    in.numPositions = pos.size();
    in.texCoords = tex.data();
    in.numTexCoords = tex.size();
    in.triPositions = tri.data();
    in.triTexCoords = tri.data();
    in.numTriangles = tri.size() / 3;
    std::vector<Vec3f> tangents(pos.size()), binormals(pos.size());
    for(auto _ : state)
    {
        detail::computeTangentFrames(in, tangents.data(), binormals.data());
        benchmark::DoNotOptimize(tangents.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(pos.size()));
}
BENCHMARK(BM_Tangents_Grid)->Unit(benchmark::kMillisecond)->UseRealTime();

// Run names carry the /real_time suffix of UseRealTime.
SKBENCH_REPORT([](std::ostream &os, const skbench::Results &r) {
    const std::string unify = "BM_Unify_Sphere/real_time";
    const std::string meshopt = "BM_Unify_Sphere_Meshopt/real_time";
    const std::string graphOp = "BM_UnifyGraphOp_Sphere/real_time";
    const std::string phong = "BM_Phong2_Torus/real_time";
    const std::string osd = "BM_Phong2_Torus_OpenSubdivLoop/real_time";
    const std::string tangents = "BM_Tangents_Grid/real_time";
    const std::string adaptive = "BM_Adaptive_Torus/real_time";
    os << std::fixed << std::setprecision(2);
    if(r.has(unify) && r.has(meshopt))
        os << "unification / meshopt_generateVertexRemap: " << r.ratio(unify, meshopt)
           << "x time (goal <= 3)\n";
    if(r.has(graphOp) && r.has(meshopt))
        os << "unification graph operation / meshopt_generateVertexRemap: "
           << r.ratio(graphOp, meshopt) << "x time\n";
    if(r.itemsPerSecond.count(phong) && r.itemsPerSecond.count(osd))
    {
        const double ours = r.itemsPerSecond.at(phong), peer = r.itemsPerSecond.at(osd);
        os << "Phong x2: " << ours / 1e6 << " Mtri/s, OpenSubdiv Loop x2: " << peer / 1e6
           << " Mtri/s, ratio " << ours / peer << " (goal >= 2)\n";
    }
    if(r.itemsPerSecond.count(tangents))
        os << "tangents: " << r.itemsPerSecond.at(tangents) / 1e6 << " Mvert/s (goal >= 20)\n";
    if(r.itemsPerSecond.count(adaptive))
        os << "adaptive subdivision: " << r.itemsPerSecond.at(adaptive) / 1e6
           << " Mtri/s out\n";
});

} // namespace
