// Random rigs and a double-precision reference for the skinning tests.
#ifndef SKOSG_TESTS_SKINNING_SKINTESTSUPPORT_H
#define SKOSG_TESTS_SKINNING_SKINTESTSUPPORT_H

#include <OpenSGExt/OSGSkinAttachment.h>
#include <OpenSGExt/OSGDeformerCluster.h>
#include <OpenSG/OSGTransform.h>
#include <OpenSG/OSGGroup.h>
#include <platform/skSceneData.h>

#include "support/SceneTestSupport.h"

#include <glm/glm.hpp>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>

#include <random>
#include <vector>

namespace skintest {

using namespace osg;

inline glm::dmat4 toGlm(const Matrix &m)
{
    glm::dmat4 g;
    for(int c = 0; c < 4; ++c)
        for(int r = 0; r < 4; ++r)
            g[c][r] = m[c][r];   // both column-major, [column][row]
    return g;
}

inline Matrix toOsg(const glm::dmat4 &g)
{
    Matrix m;
    for(int c = 0; c < 4; ++c)
        for(int r = 0; r < 4; ++r)
            m[c][r] = Real32(g[c][r]);
    return m;
}

// A random affine matrix: rotation, non-uniform scale in [0.5, 2], translation in [-3, 3].
inline glm::dmat4 randomAffine(std::mt19937 &rng)
{
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    glm::dvec3 axis(u(rng), u(rng), u(rng));
    if(glm::length(axis) < 1e-3)
        axis = glm::dvec3(0, 0, 1);
    glm::dmat4 m = glm::translate(glm::dmat4(1.0), glm::dvec3(3 * u(rng), 3 * u(rng), 3 * u(rng)));
    m = glm::rotate(m, 3.14159 * u(rng), glm::normalize(axis));
    m = glm::scale(m, glm::dvec3(1.25 + 0.75 * u(rng), 1.25 + 0.75 * u(rng), 1.25 + 0.75 * u(rng)));
    return m;
}

inline void setMatrix(const TransformPtr &t, const Matrix &m)
{
    beginEditCP(t, Transform::MatrixFieldMask);
    t->setMatrix(m);
    endEditCP(t, Transform::MatrixFieldMask);
}

// A scene: root group with one transform node per joint and the skinned geometry's node.
struct Rig
{
    NodePtr                         root;
    std::vector<NodePtr>            jointNodes;
    std::vector<TransformPtr>       jointCores;
    std::vector<DeformerClusterPtr> clusters;
    GeometryPtr                     geo;
    NodePtr                         geoNode;
    SkinAttachmentPtr               skin;
    std::vector<glm::dmat4>         world;        // each joint's current world matrix
    std::vector<glm::dmat4>         nodeBind, geoBind;

    ~Rig() { subRefCP(root); }
};

// numVertices random positions and unit normals, numJoints joints each listing random vertices
// (between 0 and 6 joints per vertex, random positive weights), random bind poses and poses.
inline std::unique_ptr<Rig> makeRig(UInt32 numVertices, UInt32 numJoints, unsigned seed,
                                    bool withSkin = true)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::unique_ptr<Rig> rig(new Rig);
    rig->root = Node::create();
    addRefCP(rig->root);
    beginEditCP(rig->root);
    rig->root->setCore(Group::create());
    endEditCP(rig->root);

    std::vector<Pnt3f> pos(numVertices);
    std::vector<Vec3f> nor(numVertices);
    for(UInt32 v = 0; v < numVertices; ++v)
    {
        pos[v] = Pnt3f(Real32(2 * u(rng)), Real32(2 * u(rng)), Real32(2 * u(rng)));
        glm::dvec3 n(u(rng), u(rng), u(rng));
        n = glm::length(n) > 1e-3 ? glm::normalize(n) : glm::dvec3(0, 1, 0);
        nor[v] = Vec3f(Real32(n.x), Real32(n.y), Real32(n.z));
    }
    rig->geo = Geometry::create();
    beginEditCP(rig->geo);
    rig->geo->setPositions(scenetest::positions(pos));
    rig->geo->setNormals(scenetest::normals(nor));
    endEditCP(rig->geo);
    rig->geoNode = Node::create();
    beginEditCP(rig->geoNode);
    rig->geoNode->setCore(rig->geo);
    endEditCP(rig->geoNode);
    beginEditCP(rig->root);
    rig->root->addChild(rig->geoNode);
    endEditCP(rig->root);

    std::vector<std::vector<IndexWeight>> lists(numJoints);
    std::uniform_int_distribution<UInt32> joints(0, numJoints - 1), howMany(0, 6);
    std::uniform_real_distribution<float> w(0.05f, 1.f);
    for(UInt32 v = 0; v < numVertices; ++v)
    {
        UInt32 k = howMany(rng);
        for(UInt32 i = 0; i < k; ++i)
            lists[joints(rng)].push_back(IndexWeight(v, w(rng)));
    }

    for(UInt32 j = 0; j < numJoints; ++j)
    {
        TransformPtr t = Transform::create();
        glm::dmat4 world = randomAffine(rng);
        setMatrix(t, toOsg(world));
        NodePtr n = Node::create();
        beginEditCP(n);
        n->setCore(t);
        endEditCP(n);
        beginEditCP(rig->root);
        rig->root->addChild(n);
        endEditCP(rig->root);
        rig->jointNodes.push_back(n);
        rig->jointCores.push_back(t);
        rig->world.push_back(toGlm(toOsg(world)));

        DeformerClusterPtr c = DeformerCluster::create();
        glm::dmat4 nb = randomAffine(rng), gb = randomAffine(rng);
        beginEditCP(c);
        c->setNodeBindPose(toOsg(nb));
        c->setGeoBindPose(toOsg(gb));
        for(const IndexWeight &e : lists[j])
            c->editMFWeights()->push_back(e);
        endEditCP(c);
        c->setNode(n);
        rig->clusters.push_back(c);
        rig->nodeBind.push_back(toGlm(toOsg(nb)));
        rig->geoBind.push_back(toGlm(toOsg(gb)));
    }

    if(withSkin)
    {
        rig->skin = SkinAttachment::create();
        for(const DeformerClusterPtr &c : rig->clusters)
            rig->skin->addJoint(c);
        beginEditCP(rig->geo, Geometry::AttachmentsFieldMask);
        rig->geo->addAttachment(rig->skin);
        endEditCP(rig->geo, Geometry::AttachmentsFieldMask);
    }
    return rig;
}

// The reference: D = inverse(geoBind) * W * inverse(nodeBind) * geoBind in double precision.
inline glm::dmat4 referenceDeformer(const Rig &rig, UInt32 j)
{
    return glm::inverse(rig.geoBind[j]) * rig.world[j] * glm::inverse(rig.nodeBind[j]) *
           rig.geoBind[j];
}

struct Influences
{
    Int32  joint[4];
    double weight[4];
};

// Influence selection written out plainly: all pairs, sorted by weight (then joint), four kept.
inline std::vector<Influences> referenceInfluences(const Rig &rig, UInt32 numVertices)
{
    std::vector<std::vector<std::pair<UInt32, float>>> per(numVertices);
    for(UInt32 j = 0; j < rig.clusters.size(); ++j)
        for(const IndexWeight &e : rig.clusters[j]->getWeights())
            per[e.getIndex()].push_back(std::make_pair(j, e.getWeight()));
    std::vector<Influences> out(numVertices);
    for(UInt32 v = 0; v < numVertices; ++v)
    {
        auto &l = per[v];
        std::sort(l.begin(), l.end(), [](const std::pair<UInt32, float> &a,
                                         const std::pair<UInt32, float> &b)
                  { return a.second != b.second ? a.second > b.second : a.first < b.first; });
        Influences &r = out[v];
        for(int k = 0; k < 4; ++k)
        {
            r.joint[k]  = 0;
            r.weight[k] = 0;
        }
        if(l.empty())
        {
            r.weight[0] = 1;
            continue;
        }
        double sum = 0;
        size_t keep = std::min<size_t>(4, l.size());
        for(size_t k = 0; k < keep; ++k)
            sum += l[k].second;
        for(size_t k = 0; k < keep; ++k)
        {
            r.joint[k]  = Int32(l[k].first);
            r.weight[k] = l[k].second / sum;
        }
    }
    return out;
}

} // namespace skintest

#endif
