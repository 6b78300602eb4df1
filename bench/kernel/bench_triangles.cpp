// Triangle iteration over a large indexed mesh against a raw loop over the same arrays.
// Both read, per corner, the position, normal and texture coordinate through the index and sum
// them; the program prints the iterator's time as a multiple of the raw loop's after the table.

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGTriangleIterator.h>
#include <OpenSG/OSGGeoPTypesUI8.h>
#include <OpenSG/OSGGeoPLengthsUI32.h>
#include <OpenSG/OSGGeoIndicesUI32.h>
#include <OpenSG/OSGGeoPositions3f.h>
#include <OpenSG/OSGGeoNormals3f.h>
#include <OpenSG/OSGGeoTexCoords2f.h>
#include <OpenSG/OSGGLTypes.h>
#include <OpenSGExt/skOpenSGExt.h>

#include "support/BenchSupport.h"

#include <benchmark/benchmark.h>

#include <iomanip>
#include <iostream>
#include <map>
#include <set>
#include <string>

using namespace osg;

namespace {

// A grid of 500 x 1000 cells, two triangles each: one million triangles, single-indexed.
const UInt32 CellsX = 500;
const UInt32 CellsY = 1000;
const UInt32 TriangleCount = CellsX * CellsY * 2;

GeometryPtr buildMesh(void)
{
    const UInt32 vx = CellsX + 1, vy = CellsY + 1;
    GeoPositions3fPtr pos = GeoPositions3f::create();
    GeoNormals3fPtr   nrm = GeoNormals3f::create();
    GeoTexCoords2fPtr tex = GeoTexCoords2f::create();
    GeoIndicesUI32Ptr ind = GeoIndicesUI32::create();
    GeoPTypesUI8Ptr   typ = GeoPTypesUI8::create();
    GeoPLengthsUI32Ptr len = GeoPLengthsUI32::create();
    for(UInt32 y = 0; y < vy; ++y)
    {
        for(UInt32 x = 0; x < vx; ++x)
        {
            Real32 h = 0.01f * Real32((x * 7 + y * 13) % 17);
            pos->editField().push_back(Pnt3f(Real32(x), Real32(y), h));
            nrm->editField().push_back(Vec3f(0.f, h, 1.f));
            tex->editField().push_back(Vec2f(Real32(x) / Real32(CellsX),
                                             Real32(y) / Real32(CellsY)));
        }
    }
    MFUInt32 &idx = ind->editField();
    idx.reserve(size_t(TriangleCount) * 3);
    for(UInt32 y = 0; y < CellsY; ++y)
    {
        for(UInt32 x = 0; x < CellsX; ++x)
        {
            UInt32 a = y * vx + x, b = a + 1, c = a + vx, d = c + 1;
            for(UInt32 i : { a, b, d, a, d, c })
                idx.push_back(i);
        }
    }
    typ->editField().push_back(GL_TRIANGLES);
    len->editField().push_back(idx.size());

    GeometryPtr g = Geometry::create();
    addRefCP(g);
    beginEditCP(g);
    g->setTypes(typ);
    g->setLengths(len);
    g->setPositions(pos);
    g->setNormals(nrm);
    g->setTexCoords(tex);
    g->setIndices(ind);
    g->editMFIndexMapping()->push_back(Geometry::MapPosition | Geometry::MapNormal |
                                       Geometry::MapTexCoords);
    endEditCP(g);
    Thread::getCurrentChangeList()->clearAll();
    return g;
}

// Built on first use, released before the system shuts down.
GeometryPtr builtMesh;

GeometryPtr mesh(void)
{
    if(builtMesh == NullFC)
        builtMesh = buildMesh();
    return builtMesh;
}

void BM_Triangles_RawLoop(benchmark::State &state)
{
    GeometryPtr geo = mesh();
    const UInt32 *idx = GeoIndicesUI32Ptr::dcast(geo->getIndices())->getField().getValues().data();
    const Pnt3f  *pos =
        GeoPositions3fPtr::dcast(geo->getPositions())->getField().getValues().data();
    const Vec3f  *nrm = GeoNormals3fPtr::dcast(geo->getNormals())->getField().getValues().data();
    const Vec2f  *tex =
        GeoTexCoords2fPtr::dcast(geo->getTexCoords())->getField().getValues().data();
    for(auto _ : state)
    {
        Real32 sum = 0.f;
        for(UInt32 t = 0; t < TriangleCount; ++t)
        {
            for(UInt32 w = 0; w < 3; ++w)
            {
                UInt32 i = idx[3 * t + w];
                const Pnt3f &p = pos[i];
                const Vec3f &n = nrm[i];
                const Vec2f &c = tex[i];
                sum += p[0] + p[1] + p[2] + n[0] + n[1] + n[2] + c[0] + c[1];
            }
        }
        // Only a copy escapes, so that the sum itself can stay in a register.
        Real32 result = sum;
        benchmark::DoNotOptimize(result);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * TriangleCount);
}

void BM_Triangles_Iterator(benchmark::State &state)
{
    GeometryPtr geo = mesh();
    for(auto _ : state)
    {
        Real32 sum = 0.f;
        UInt32 count = 0;
        for(TriangleIterator it = geo->beginTriangles(); it != geo->endTriangles(); ++it)
        {
            for(Int32 w = 0; w < 3; ++w)
            {
                Pnt3f p = it.getPosition(w);
                Vec3f n = it.getNormal(w);
                Vec2f c = it.getTexCoords(w);
                sum += p[0] + p[1] + p[2] + n[0] + n[1] + n[2] + c[0] + c[1];
            }
            ++count;
        }
        Real32 result = sum;
        benchmark::DoNotOptimize(result);
        if(count != TriangleCount)
            state.SkipWithError("the iterator saw a different number of triangles");
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * TriangleCount);
}

BENCHMARK(BM_Triangles_RawLoop)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Triangles_Iterator)->Unit(benchmark::kMillisecond);

// The iterator's time as a multiple of the raw loop's, after the table.
SKBENCH_REPORT([](std::ostream &os, const skbench::Results &r) {
    const std::string raw = "BM_Triangles_RawLoop", iter = "BM_Triangles_Iterator";
    if(r.has(raw) && r.has(iter))
        os << "\nTriangleIterator over " << TriangleCount
           << " indexed triangles (positions, normals, one texture set):\n"
           << "  time / raw loop time: " << std::fixed << std::setprecision(2)
           << r.ratio(iter, raw) << " (target: at most 3.00)\n";
});

SKBENCH_CLEANUP([] {
    if(builtMesh != NullFC)
        subRefCP(builtMesh);
});

} // namespace
