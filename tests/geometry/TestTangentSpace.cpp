// Tangent frames: on quads whose texture coordinates are similarities of the surface, the frames
// equal the surface derivatives along s and t solved independently in double; mirrored texture
// coordinates flip the binormal. Then the graph operation's messages, unit fallbacks, mapping
// bits and its handling of degenerate and inconsistent input.

#include "kernel/GeometryTestSupport.h"

#include <OpenSGExt/Geometry/detail/skTangentSpace.h>
#include <OpenSGExt/OSGCalcBinormalTangentGraphOp.h>

#include <OpenSG/OSGGeoTexCoords3f.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <vector>

using namespace osg;
using namespace osg::detail;
using namespace geotest;

namespace {

typedef std::array<double, 3> D3;

D3 sub(const D3 &a, const D3 &b) { return { a[0] - b[0], a[1] - b[1], a[2] - b[2] }; }
D3 unit(const D3 &a)
{
    const double l = std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
    return { a[0] / l, a[1] / l, a[2] / l };
}

/*! dP/ds and dP/dt of the affine map through three corners, by Gaussian elimination of
    [ds1 dt1; ds2 dt2] [Ps; Pt] = [P1 - P0; P2 - P0] with partial pivoting, in double. */
void derivatives(const D3 p[3], const double st[3][2], D3 &ps, D3 &pt)
{
    double a[2][2] = { { st[1][0] - st[0][0], st[1][1] - st[0][1] },
                       { st[2][0] - st[0][0], st[2][1] - st[0][1] } };
    D3 r[2] = { sub(p[1], p[0]), sub(p[2], p[0]) };
    if(std::fabs(a[1][0]) > std::fabs(a[0][0]))
    {
        std::swap(a[0], a[1]);
        std::swap(r[0], r[1]);
    }
    const double f = a[1][0] / a[0][0];
    const double a11 = a[1][1] - f * a[0][1];
    for(int c = 0; c < 3; ++c)
    {
        const double r1 = r[1][c] - f * r[0][c];
        pt[c] = r1 / a11;
        ps[c] = (r[0][c] - a[0][1] * pt[c]) / a[0][0];
    }
}

struct Quad
{
    std::vector<Pnt3f>  pos;
    std::vector<Vec3f>  nrm;
    std::vector<Vec2f>  tex;
    std::vector<UInt32> tri = { 0, 1, 2, 0, 2, 3 };
    D3 ps, pt;   // the reference derivatives
};

/*! A unit square placed by a random rotation, scaling and offset in space, its texture coordinates
    a random similarity of it, then mirrored (t -> -t) when asked. */
Quad randomQuad(std::mt19937 &rng, bool mirror)
{
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    // Orthonormal U, V from two random vectors.
    D3 a = unit({ u(rng), u(rng), u(rng) }), b = { u(rng), u(rng), u(rng) };
    const double d = a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
    b = unit({ b[0] - d * a[0], b[1] - d * a[1], b[2] - d * a[2] });
    const D3 n = { a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0] };
    const double scale = 2.0 + u(rng), angle = 3.0 * u(rng), k = 0.5 + 0.25 * u(rng);
    const D3 origin = { u(rng), u(rng), u(rng) };
    const double corner[4][2] = { { 0, 0 }, { 1, 0 }, { 1, 1 }, { 0, 1 } };
    Quad q;
    D3 p[4];
    double st[4][2];
    for(int i = 0; i < 4; ++i)
    {
        for(int c = 0; c < 3; ++c)
            p[i][c] = origin[c] + scale * (corner[i][0] * a[c] + corner[i][1] * b[c]);
        const double x = corner[i][0], y = corner[i][1];
        st[i][0] = k * (std::cos(angle) * x - std::sin(angle) * y) + 0.25;
        st[i][1] = k * (std::sin(angle) * x + std::cos(angle) * y) - 0.5;
        if(mirror)
            st[i][1] = -st[i][1];
        q.pos.push_back(Pnt3f(Real32(p[i][0]), Real32(p[i][1]), Real32(p[i][2])));
        q.nrm.push_back(Vec3f(Real32(n[0]), Real32(n[1]), Real32(n[2])));
        q.tex.push_back(Vec2f(Real32(st[i][0]), Real32(st[i][1])));
    }
    const D3 p3[3] = { p[0], p[1], p[2] };
    const double st3[3][2] = { { st[0][0], st[0][1] }, { st[1][0], st[1][1] },
                               { st[2][0], st[2][1] } };
    derivatives(p3, st3, q.ps, q.pt);
    return q;
}

void expectDirection(const Vec3f &got, const D3 &want, double sign)
{
    const D3 w = unit(want);
    for(int c = 0; c < 3; ++c)
        EXPECT_NEAR(got[c], sign * w[c], 2e-5);
}

std::size_t frames(const Quad &q, std::vector<Vec3f> &t, std::vector<Vec3f> &b)
{
    TangentInput in;
    in.positions    = q.pos.data();
    in.normals      = q.nrm.data();
    in.numPositions = q.pos.size();
    in.texCoords    = q.tex.data();
    in.numTexCoords = q.tex.size();
    in.triPositions = q.tri.data();
    in.triTexCoords = q.tri.data();
    in.numTriangles = q.tri.size() / 3;
    EXPECT_EQ(in.validate(), "");
    t.resize(q.pos.size());
    b.resize(q.pos.size());
    return computeTangentFrames(in, t.data(), b.data());
}

} // namespace

TEST(TangentFrames, SimilarityTexturesGiveTheSurfaceDerivativesMirroredOnesFlipTheBinormal)
{
    std::mt19937 straightRng(5), mirroredRng(5);
    for(int round = 0; round < 20; ++round)
    {
        const Quad straight = randomQuad(straightRng, false);
        const Quad mirrored = randomQuad(mirroredRng, true);   // same surface, t mirrored
        std::vector<Vec3f> t0, b0, t1, b1;
        EXPECT_EQ(frames(straight, t0, b0), 0u);
        EXPECT_EQ(frames(mirrored, t1, b1), 0u);
        for(std::size_t v = 0; v < 4; ++v)
        {
            expectDirection(t0[v], straight.ps, 1.0);
            expectDirection(b0[v], straight.pt, 1.0);
            // The binormal still follows dP/dt, which now points the other way; the frame stays
            // right-handed, so the tangent opposes dP/ds.
            expectDirection(b1[v], mirrored.pt, 1.0);
            expectDirection(t1[v], mirrored.ps, -1.0);
            for(int c = 0; c < 3; ++c)
                EXPECT_NEAR(b1[v][c], -b0[v][c], 2e-5);
        }
    }
}

TEST(TangentFrames, UnusedVerticesAndDegenerateTrianglesFollowTheRules)
{
    std::mt19937 rng(9);
    Quad q = randomQuad(rng, false);
    // A fifth vertex no triangle uses: zero sum, zero frame (not normalised).
    q.pos.push_back(Pnt3f(9, 9, 9));
    q.nrm.push_back(Vec3f(0, 0, 1));
    q.tex.push_back(Vec2f(0, 0));
    std::vector<Vec3f> t, b;
    frames(q, t, b);
    EXPECT_EQ(t[4], Vec3f(0, 0, 0));
    EXPECT_EQ(b[4], Vec3f(0, 0, 0));

    // Two equal texture coordinates: det = 0, counted, and its corners' frames are not finite.
    q.tex[1] = q.tex[0];
    EXPECT_EQ(frames(q, t, b), 1u);
    EXPECT_FALSE(std::isfinite(b[1][0]) && std::isfinite(b[1][1]) && std::isfinite(b[1][2]));

    TangentInput in;
    const UInt32 corners[3] = { 0, 1, 7 };
    in.positions = q.pos.data();
    in.normals = q.nrm.data();
    in.numPositions = 5;
    in.texCoords = q.tex.data();
    in.numTexCoords = 5;
    in.triPositions = corners;
    in.triTexCoords = corners;
    in.numTriangles = 1;
    EXPECT_NE(in.validate().find("position 7 of 5"), std::string::npos);
}

/*------------------------------ graph operation ----------------------------*/

namespace {

/*! The quad as an indexed geometry: positions, normals and (in unit 3) texture coordinates. */
GeometryPtr quadGeometry(Pool &pool, const Quad &q, UInt32 texUnit)
{
    GeometryPtr geo = pool(Geometry::create());
    GeoPositions3fPtr p = GeoPositions3f::create();
    GeoNormals3fPtr n = GeoNormals3f::create();
    GeoTexCoords2fPtr t = GeoTexCoords2f::create();
    beginEditCP(p);
    beginEditCP(n);
    beginEditCP(t);
    for(std::size_t i = 0; i < q.pos.size(); ++i)
    {
        p->editField().push_back(q.pos[i]);
        n->editField().push_back(q.nrm[i]);
        t->editField().push_back(q.tex[i]);
    }
    endEditCP(t);
    endEditCP(n);
    endEditCP(p);
    GeoIndicesUI32Ptr idx = GeoIndicesUI32::create();
    beginEditCP(idx);
    for(UInt32 i : q.tri)
        idx->editField().push_back(i);
    endEditCP(idx);
    beginEditCP(geo);
    geo->setTypes(types({ GL_TRIANGLES }));
    geo->setLengths(lengths({ UInt32(q.tri.size()) }));
    geo->setPositions(p);
    geo->setNormals(n);
    geo->setTexSlot(texUnit, t);
    geo->setIndices(idx);
    geo->editMFIndexMapping()->push_back(UInt16(Geometry::MapPosition | Geometry::MapNormal |
                                                Geometry::texCoordsMapBit(texUnit)));
    endEditCP(geo);
    return geo;
}

std::vector<std::string> texts(const LogCapture &capture)
{
    std::vector<std::string> out;
    for(const LogEntry &e : capture.entries())
        out.push_back(e.text);
    return out;
}

} // namespace

TEST(CalcBinormalTangentGraphOp, FramesLandInTheTargetUnitsIndexedLikeThePositions)
{
    std::mt19937 rng(21);
    const Quad q = randomQuad(rng, false);
    Pool pool;
    GeometryPtr geo = quadGeometry(pool, q, 3);
    NodePtr node = pool(nodeWith(geo));

    CalcBinormalTangentGraphOp op;
    EXPECT_STREQ(CalcBinormalTangentGraphOp::getClassname(), "CalcBinormalTangentGraphOp");
    GraphOp *fresh = op.create();
    EXPECT_EQ(fresh->getName(), "CalcBinormalTangent");
    delete fresh;
    EXPECT_TRUE(op.setTexCoordSource(3));
    EXPECT_TRUE(op.setTangentTarget(5));
    EXPECT_TRUE(op.setBinormalTarget(6));
    {
        LogCapture capture;
        op.traverse(node);
        EXPECT_EQ(capture.count(), 0u);
    }
    GeoTexCoords3fPtr tangents = GeoTexCoords3fPtr::dcast(geo->getTexCoords5());
    GeoTexCoords3fPtr binormals = GeoTexCoords3fPtr::dcast(geo->getTexCoords6());
    ASSERT_NE(tangents, NullFC);
    ASSERT_NE(binormals, NullFC);
    ASSERT_EQ(tangents->getSize(), 4u);
    for(UInt32 v = 0; v < 4; ++v)
    {
        expectDirection(tangents->getValue3f(v), q.ps, 1.0);
        expectDirection(binormals->getValue3f(v), q.pt, 1.0);
    }
    ASSERT_EQ(geo->getIndexMapping().size(), 1u);
    EXPECT_EQ(geo->getIndexMapping()[0],
              Geometry::MapPosition | Geometry::MapNormal | Geometry::MapTexCoords3 |
                  Geometry::MapTexCoords5 | Geometry::MapTexCoords6);
}

TEST(CalcBinormalTangentGraphOp, MessagesAndUnitFallbacks)
{
    CalcBinormalTangentGraphOp op;
    {
        LogCapture capture;
        EXPECT_TRUE(op.setTexCoordSource(8));
        EXPECT_TRUE(op.setTangentTarget(8));
        EXPECT_TRUE(op.setBinormalTarget(-1));
        EXPECT_EQ(texts(capture),
                  (std::vector<std::string>{
                      "CalcBinormalTangentGraphOp: Wrong texture unit, using unit #0",
                      "CalcBinormalTangentGraphOp: Wrong texture unit, using unit #1",
                      "CalcBinormalTangentGraphOp: Wrong texture unit, using unit #2" }));
    }
    // Whatever the message says, every one of them took unit 0.
    EXPECT_EQ(op.getTexCoordSource(), 0u);
    EXPECT_EQ(op.getTangentTarget(), 0u);
    EXPECT_EQ(op.getBinormalTarget(), 0u);

    Pool pool;
    NodePtr group = pool(nodeWith(Group::create()));
    CalcBinormalTangentGraphOp fresh;
    {
        LogCapture capture;
        fresh.traverse(group);
        EXPECT_EQ(texts(capture), (std::vector<std::string>{
                                      "CalcBinormalTangentGraphOp: travNodeEnter got a "
                                      "non-Geometry Node" }));
    }

    std::mt19937 rng(1);
    const Quad q = randomQuad(rng, false);
    // Texture coordinates in unit 3 only: the source unit 0 has none. Single-indexed anyway.
    GeometryPtr geo = quadGeometry(pool, q, 3);
    beginEditCP(geo, Geometry::IndexMappingFieldMask);
    geo->editMFIndexMapping()->clear();
    endEditCP(geo, Geometry::IndexMappingFieldMask);
    NodePtr node = pool(nodeWith(geo));
    {
        LogCapture capture;
        fresh.traverse(node);
        EXPECT_EQ(texts(capture), (std::vector<std::string>{
                                      "Geometry has no texture coordinations, calculation of "
                                      "tangent & binormals not possible !" }));
    }
    EXPECT_EQ(geo->getIndexMapping().size(), 1u);
    EXPECT_EQ(geo->getTexCoords1(), NullFC);

    beginEditCP(geo, Geometry::NormalsFieldMask);
    geo->setNormals(NullFC);
    endEditCP(geo, Geometry::NormalsFieldMask);
    {
        LogCapture capture;
        fresh.traverse(node);
        EXPECT_EQ(texts(capture), (std::vector<std::string>{
                                      "Geometry has no normals, calculation of tangent & "
                                      "binormals not possible !" }));
    }
}

TEST(CalcBinormalTangentGraphOp, DegenerateAndInconsistentInput)
{
    std::mt19937 rng(2);
    Quad q = randomQuad(rng, false);
    q.tex[2] = q.tex[0];   // both triangles use corners 0 and 2: det = 0 twice
    Pool pool;
    GeometryPtr geo = quadGeometry(pool, q, 0);
    NodePtr node = pool(nodeWith(geo));
    CalcBinormalTangentGraphOp op;
    {
        LogCapture capture;
        op.traverse(node);
        ASSERT_EQ(capture.count(), 1u);
        EXPECT_TRUE(capture.contains("2 triangle(s) with degenerate texture coordinates"));
    }
    ASSERT_NE(geo->getTexCoords1(), NullFC);

    // Fewer normals than positions: reported, no frames.
    GeometryPtr shortNormals = quadGeometry(pool, randomQuad(rng, false), 0);
    beginEditCP(shortNormals->getNormals());
    GeoNormals3fPtr::dcast(shortNormals->getNormals())->editField().resize(3);
    endEditCP(shortNormals->getNormals());
    NodePtr shortNode = pool(nodeWith(shortNormals));
    {
        LogCapture capture;
        op.traverse(shortNode);
        EXPECT_TRUE(capture.contains("fewer normals than positions"));
    }
    EXPECT_EQ(shortNormals->getTexCoords1(), NullFC);
}
