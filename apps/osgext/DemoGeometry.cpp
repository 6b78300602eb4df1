// osgext demo, geometry: an octahedron soup with texture coordinates is unified, Phong-subdivided
// twice into a rounder shape, given tangent frames and written as OBJ.

#include "Command.h"

#include <OpenSGExt/OSGCalcBinormalTangentGraphOp.h>
#include <OpenSGExt/OSGPhongSubdivideGeometryGraphOp.h>
#include <OpenSGExt/OSGUnifyVerticesGraphOp.h>
#include <OpenSGExt/skObjFile.h>

#include <OpenSG/OSGNode.h>

#include <cmath>
#include <ostream>
#include <sstream>
#include <string>

namespace osgext {

namespace {

using namespace osg;

bool runGeometryDemo(DemoContext &ctx)
{
    // Eight faces over six corners whose texture coordinates differ by face; the normals point
    // away from the centre.
    std::ostringstream obj;
    const int axes[6][3] = { { 1, 0, 0 }, { 0, 1, 0 }, { -1, 0, 0 }, { 0, -1, 0 },
                             { 0, 0, 1 }, { 0, 0, -1 } };
    for(const auto &a : axes)
        obj << "v " << a[0] << ' ' << a[1] << ' ' << a[2] << "\nvn " << a[0] << ' ' << a[1]
            << ' ' << a[2] << '\n';
    obj << "vt 0 0\nvt 1 0\nvt 0 1\n";
    for(int k = 0; k < 4; ++k)
    {
        const int a = k + 1, b = (k + 1) % 4 + 1;
        obj << "f " << a << "/1/" << a << ' ' << b << "/2/" << b << " 5/3/5\n";
        obj << "f " << b << "/1/" << b << ' ' << a << "/2/" << a << " 6/3/6\n";
    }
    std::string error;
    GeometryPtr geo = skObjFile::read(obj.str(), error);
    if(geo == NullFC)
    {
        ctx.err << "geometry: " << error << "\n";
        return false;
    }
    NodePtr node = Node::create();
    addRefCP(node);
    beginEditCP(node, Node::CoreFieldMask);
    node->setCore(geo);
    endEditCP(node, Node::CoreFieldMask);

    const std::size_t v0 = skObjFile::countVertices(geo), t0 = skObjFile::countTriangles(geo);
    UnifyVerticesGraphOp unify;
    unify.setCompareMode(true, true, true, true, false, false, false, false, false, false, false,
                         false);
    unify.traverse(node);
    const std::size_t v1 = skObjFile::countVertices(geo);
    PhongSubdivideGeometryGraphOp phong;
    phong.setIterations(2);
    phong.traverse(node);
    const std::size_t t2 = skObjFile::countTriangles(geo);
    CalcBinormalTangentGraphOp tangents;
    tangents.traverse(node);

    // The lifted edge midpoints lie off the flat faces, towards the unit sphere.
    double farthest = 0.0;
    for(UInt32 i = 0; i < geo->getPositions()->getSize(); ++i)
    {
        const Pnt3f p = geo->getPositions()->getValue(i);
        farthest = std::max(farthest, std::sqrt(double(p[0] * p[0] + p[1] * p[1] + p[2] * p[2])));
    }
    const std::string file = (ctx.outDir / "octahedron_phong2.obj").string();
    const bool written = skObjFile::writeFile(geo, file, error);
    const bool frames = geo->getTexCoords1() != NullFC && geo->getTexCoords2() != NullFC;
    ctx.out << "  geometry: octahedron " << v0 << " vertices -> " << v1
            << " vertices unified (positions and normals), " << t0 << " -> " << t2
            << " triangles by Phong x2, tangents " << (frames ? "computed" : "MISSING")
            << ", written to " << file << "\n";
    subRefCP(node);
    const bool ok = written && frames && v0 == 10 && v1 == 6 && t2 == 128 && farthest <= 1.0;
    if(!ok)
        ctx.err << "geometry: unexpected result" << (written ? "" : (": " + error)) << "\n";
    return ok;
}

} // namespace

OSGEXT_DEMO_SECTION(650, "geometry operations", runGeometryDemo);

} // namespace osgext
