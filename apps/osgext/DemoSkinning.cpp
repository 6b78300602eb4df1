// osgext demo, skinning: a tube bent by a chain of three joints over a few frames. Prints each
// frame's bounding boxes (the skin's joint volume and the tight box of the deformed positions),
// the influence budget, and whether one and two threads give the same bytes; writes each frame
// as an OBJ file.

#include "Command.h"

#include <OpenSGExt/OSGSkinAttachment.h>
#include <OpenSGExt/OSGDeformerCluster.h>

#include <OpenSG/OSGGeoIndicesUI32.h>
#include <OpenSG/OSGGeoNormals3f.h>
#include <OpenSG/OSGGeoPLengthsUI32.h>
#include <OpenSG/OSGGeoPTypesUI8.h>
#include <OpenSG/OSGGeoPositions3f.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGTransform.h>
#include <platform/skSceneData.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <vector>

namespace osgext {

namespace {

using namespace osg;

const UInt32 Rings    = 31;     // along the tube, x from 0 to 3
const UInt32 Segments = 16;     // around it
const Real32 Radius   = 0.25f;
const UInt32 Frames   = 4;

NodePtr transformNode(const Matrix &m, TransformPtr &core)
{
    core = Transform::create();
    beginEditCP(core, Transform::MatrixFieldMask);
    core->setMatrix(m);
    endEditCP(core, Transform::MatrixFieldMask);
    NodePtr n = Node::create();
    beginEditCP(n, Node::CoreFieldMask);
    n->setCore(core);
    endEditCP(n, Node::CoreFieldMask);
    return n;
}

// The tube: rings of vertices with radial normals, two triangles per quad.
GeometryPtr makeTube(void)
{
    GeoPositions3fPtr pos = GeoPositions3f::create();
    GeoNormals3fPtr   nor = GeoNormals3f::create();
    GeoIndicesUI32Ptr idx = GeoIndicesUI32::create();
    beginEditCP(pos);
    beginEditCP(nor);
    beginEditCP(idx);
    for(UInt32 r = 0; r < Rings; ++r)
    {
        const Real32 x = 3.f * Real32(r) / Real32(Rings - 1);
        for(UInt32 s = 0; s < Segments; ++s)
        {
            const Real32 a = 6.2831853f * Real32(s) / Real32(Segments);
            pos->editField().push_back(Pnt3f(x, Radius * std::cos(a), Radius * std::sin(a)));
            nor->editField().push_back(Vec3f(0.f, std::cos(a), std::sin(a)));
        }
    }
    for(UInt32 r = 0; r + 1 < Rings; ++r)
        for(UInt32 s = 0; s < Segments; ++s)
        {
            const UInt32 a = r * Segments + s, b = r * Segments + (s + 1) % Segments;
            const UInt32 c = a + Segments, d = b + Segments;
            for(UInt32 i : {a, b, d, a, d, c})
                idx->editField().push_back(i);
        }
    endEditCP(idx);
    endEditCP(nor);
    endEditCP(pos);
    GeoPTypesUI8Ptr types = GeoPTypesUI8::create();
    GeoPLengthsUI32Ptr lengths = GeoPLengthsUI32::create();
    beginEditCP(types);
    types->editField().push_back(GL_TRIANGLES);
    endEditCP(types);
    beginEditCP(lengths);
    lengths->editField().push_back(idx->getSize());
    endEditCP(lengths);
    GeometryPtr geo = Geometry::create();
    beginEditCP(geo);
    geo->setTypes(types);
    geo->setLengths(lengths);
    geo->setPositions(pos);
    geo->setNormals(nor);
    geo->setIndices(idx);
    endEditCP(geo);
    return geo;
}

bool writeObj(const std::filesystem::path &file, const Pnt3f *p, const Vec3f *n, UInt32 count,
              const GeoIndicesUI32Ptr &idx)
{
    std::ofstream os(file);
    os << "# tube bent by three joints\n" << std::setprecision(7);
    for(UInt32 i = 0; i < count; ++i)
        os << "v " << p[i][0] << ' ' << p[i][1] << ' ' << p[i][2] << '\n';
    for(UInt32 i = 0; i < count; ++i)
        os << "vn " << n[i][0] << ' ' << n[i][1] << ' ' << n[i][2] << '\n';
    const MFUInt32 &f = idx->getField();
    for(UInt32 i = 0; i + 2 < f.size(); i += 3)
        os << "f " << f[i] + 1 << "//" << f[i] + 1 << ' ' << f[i + 1] + 1 << "//" << f[i + 1] + 1
           << ' ' << f[i + 2] + 1 << "//" << f[i + 2] + 1 << '\n';
    return bool(os);
}

std::string boxText(const Pnt3f &lo, const Pnt3f &hi)
{
    std::ostringstream os;
    os << std::fixed << std::setprecision(3) << "(" << lo[0] << ", " << lo[1] << ", " << lo[2]
       << ") .. (" << hi[0] << ", " << hi[1] << ", " << hi[2] << ")";
    return os.str();
}

bool runSkinningDemo(DemoContext &ctx)
{
    // Scene: root -> j0 (x = 0) -> j1 (x = 1) -> j2 (x = 2); the tube beside them under root.
    NodePtr root = Node::create();
    addRefCP(root);
    beginEditCP(root);
    root->setCore(Group::create());
    endEditCP(root);
    std::vector<TransformPtr> cores(3);
    std::vector<NodePtr> joints(3);
    NodePtr parent = root;
    for(UInt32 j = 0; j < 3; ++j)
    {
        Matrix m;
        m.setTranslate(j == 0 ? 0.f : 1.f, 0.f, 0.f);
        joints[j] = transformNode(m, cores[j]);
        beginEditCP(parent, Node::ChildrenFieldMask);
        parent->addChild(joints[j]);
        endEditCP(parent, Node::ChildrenFieldMask);
        parent = joints[j];
    }
    GeometryPtr tube = makeTube();
    NodePtr tubeNode = Node::create();
    beginEditCP(tubeNode);
    tubeNode->setCore(tube);
    endEditCP(tubeNode);
    beginEditCP(root, Node::ChildrenFieldMask);
    root->addChild(tubeNode);
    endEditCP(root, Node::ChildrenFieldMask);

    // Joints bound at rest; each vertex weighted by a smooth fall-off from every joint.
    SkinAttachmentPtr skin = SkinAttachment::create();
    const MFPnt3f &bind = GeoPositions3fPtr::dcast(tube->getPositions())->getField();
    for(UInt32 j = 0; j < 3; ++j)
    {
        DeformerClusterPtr c = DeformerCluster::create();
        beginEditCP(c);
        c->setNodeBindPose(joints[j]->getToWorld());
        for(UInt32 v = 0; v < bind.size(); ++v)
        {
            const Real32 d = bind[v][0] - Real32(j) - 0.5f;
            const Real32 w = std::exp(-4.f * d * d);
            if(w > 0.01f)
                c->editMFWeights()->push_back(IndexWeight(v, w));
        }
        endEditCP(c);
        c->setNode(joints[j]);
        skin->addJoint(c);
    }
    beginEditCP(tube, Geometry::AttachmentsFieldMask);
    tube->addAttachment(skin);
    endEditCP(tube, Geometry::AttachmentsFieldMask);

    bool ok = SkinAttachment::hasSkinning(tube);
    ctx.out << "  skinned tube: " << bind.size() << " vertices, 3 joints\n";
    skSceneData *scene = skSceneDataManager::getSceneData();
    const GeoIndicesUI32Ptr idx = GeoIndicesUI32Ptr::dcast(tube->getIndices());
    const Pnt3f *pos = NULL;
    const Vec3f *nor = NULL;
    for(UInt32 frame = 0; frame < Frames; ++frame)
    {
        // Each joint bends by 20 degrees more per frame about z.
        for(UInt32 j = 0; j < 3; ++j)
        {
            Matrix m;
            Quaternion q;
            q.setValueAsAxisDeg(Vec3f(0.f, 0.f, 1.f), 20.f * Real32(frame));
            m.setTransform(Vec3f(j == 0 ? 0.f : 1.f, 0.f, 0.f), q);
            beginEditCP(cores[j], Transform::MatrixFieldMask);
            cores[j]->setMatrix(m);
            endEditCP(cores[j], Transform::MatrixFieldMask);
        }
        scene->advanceChangeStamp();
        skin->update(false);
        pos = NULL;
        nor = NULL;
        skin->getDeformedVertices(pos, nor);
        if(pos == NULL)
        {
            ctx.err << "skinning: frame " << frame << " not deformed\n";
            ok = false;
            break;
        }
        Pnt3f lo(1e30f, 1e30f, 1e30f), hi(-1e30f, -1e30f, -1e30f);
        BoxVolume volume = skin->getJointVolume();
        bool inside = true;
        for(UInt32 v = 0; v < bind.size(); ++v)
        {
            for(int i = 0; i < 3; ++i)
            {
                lo[i] = std::min(lo[i], pos[v][i]);
                hi[i] = std::max(hi[i], pos[v][i]);
            }
            inside = inside && volume.intersect(pos[v]);
        }
        Pnt3f vlo, vhi;
        volume.getBounds(vlo, vhi);
        char name[32];
        std::snprintf(name, sizeof(name), "skin_frame%u.obj", frame);
        const bool written = writeObj(ctx.outDir / name, pos, nor, bind.size(), idx);
        ctx.out << "  frame " << frame << ": deformed box " << boxText(lo, hi) << ", joint volume "
                << boxText(vlo, vhi) << (inside ? " holds it" : " MISSES vertices") << ", "
                << name << (written ? "" : " NOT WRITTEN") << "\n";
        ok = ok && inside && written;
    }

    // Influence budget: how many joints list each vertex, against the four slots.
    std::vector<UInt32> listed(bind.size(), 0);
    for(UInt32 j = 0; j < 3; ++j)
        for(const IndexWeight &e : skin->getJoints(j)->getWeights())
            ++listed[e.getIndex()];
    UInt32 most = 0, over = 0, none = 0;
    for(UInt32 n : listed)
    {
        most = std::max(most, n);
        over += n > 4 ? 1 : 0;
        none += n == 0 ? 1 : 0;
    }
    ctx.out << "  influence budget: at most " << most << " of 4 joints per vertex, " << over
            << " vertices over budget, " << none << " unweighted\n";

    // One thread against two: the same bytes.
    std::vector<Real32> first;
    bool same = pos != NULL;
    for(UInt32 threads : {1u, 2u})
    {
        SkinAttachment::setConcurrency(threads);
        skin->setDeformerMatricesDirty(true);
        pos = NULL;
        nor = NULL;
        skin->getDeformedVertices(pos, nor);
        if(pos == NULL)
        {
            same = false;
            break;
        }
        std::vector<Real32> bytes(pos[0].getValues(), pos[0].getValues() + 3 * bind.size());
        bytes.insert(bytes.end(), nor[0].getValues(), nor[0].getValues() + 3 * bind.size());
        if(first.empty())
            first.swap(bytes);
        else
            same = same && std::memcmp(first.data(), bytes.data(), first.size() * sizeof(Real32)) == 0;
    }
    SkinAttachment::setConcurrency(0);
    ctx.out << "  1 vs 2 threads: " << (same ? "bit-identical" : "DIFFERENT") << "\n";
    ok = ok && same;

    subRefCP(root);
    return ok;
}

} // namespace

OSGEXT_DEMO_SECTION(600, "skinning", runSkinningDemo);

} // namespace osgext
