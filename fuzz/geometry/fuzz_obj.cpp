// libFuzzer target: the OBJ path of `osgext geo`. Reads arbitrary text as an OBJ mesh and, when it
// is a mesh, runs unification, one Phong level, tangents and adaptive subdivision on it under
// small caps, then writes it back. Bad input must end in a message, never a crash or a hang.

#include <OpenSGExt/OSGCalcBinormalTangentGraphOp.h>
#include <OpenSGExt/OSGPhongSubdivideGeometryGraphOp.h>
#include <OpenSGExt/OSGSubdivideGeometryGraphOp.h>
#include <OpenSGExt/OSGUnifyVerticesGraphOp.h>
#include <OpenSGExt/skObjFile.h>
#include <OpenSGExt/skOpenSGExt.h>

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGNode.h>

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

using namespace osg;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool ready = [] {
        skOpenSGExt::init();
        osgInit(0, nullptr);
        osgLog().setLogType(LOG_NONE, true);
        return true;
    }();
    (void)ready;
    if(size > (1u << 16))
        return 0;

    std::string error;
    GeometryPtr geo = skObjFile::read(std::string(reinterpret_cast<const char *>(data), size),
                                      error);
    if(geo == NullFC)
        return 0;
    NodePtr node = Node::create();
    addRefCP(node);
    beginEditCP(node, Node::CoreFieldMask);
    node->setCore(geo);
    endEditCP(node, Node::CoreFieldMask);

    UnifyVerticesGraphOp unify;
    unify.setEpsilon(1e-3f);
    unify.traverse(node);
    PhongSubdivideGeometryGraphOp phong;
    phong.setMaxTriangles(1u << 14);
    phong.traverse(node);
    CalcBinormalTangentGraphOp tangents;
    tangents.traverse(node);
    SubdivideGeometryGraphOp adaptive;
    adaptive.setMaxEdgeLength(0.5f);
    adaptive.setMaxTriangles(1u << 14);
    adaptive.traverse(node);
    std::ostringstream out;
    skObjFile::write(geo, out, error);
    subRefCP(node);
    return 0;
}
