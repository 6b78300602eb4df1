// skMatrixCache: equal to Node::getToWorld, fills every ancestor on a miss, keeps its matrices
// until cleared, and copes with chains far deeper than the call stack.

#include "support/SceneTestSupport.h"

#include <OpenSGExt/skMatrixCache.h>

#include <OpenSG/OSGTransform.h>
#include <OpenSG/OSGTransform3D.h>

#include <gtest/gtest.h>

#include <vector>

using namespace osg;
using namespace scenetest;

namespace {

NodePtr transformNode(const Matrix &m)
{
    TransformPtr t = Transform::create();
    beginEditCP(t, Transform::MatrixFieldMask);
    t->setMatrix(m);
    endEditCP(t, Transform::MatrixFieldMask);
    return nodeWith(t);
}

Matrix translation(Real32 x, Real32 y, Real32 z)
{
    Matrix m;
    m.setTranslate(x, y, z);
    return m;
}

// root (translate 1,0,0) - turned (Transform3D) - group - leaf (scale 2); root - sibling.
class MatrixCacheTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        root = transformNode(translation(1, 0, 0));
        addRefCP(root);

        Transform3DPtr t3 = Transform3D::create();
        beginEditCP(t3);
        t3->setTranslation(Vec3f(0, 2, 0));
        t3->setEulerRotation(Vec3f(0, 0, 90));
        endEditCP(t3);
        turned = nodeWith(t3);
        group  = groupNode();
        Matrix s;
        s.setScale(2.f);
        leaf    = transformNode(s);
        sibling = transformNode(translation(0, 0, 5));
        addChild(root, turned);
        addChild(turned, group);
        addChild(group, leaf);
        addChild(root, sibling);
    }
    void TearDown() override { subRefCP(root); }

    NodePtr root, turned, group, leaf, sibling;
};

TEST_F(MatrixCacheTest, MatchesNodeToWorld)
{
    skMatrixCache cache;
    for(const NodePtr &n : {leaf, group, turned, root, sibling})
    {
        EXPECT_TRUE(cache.getToWorld(n).equals(n->getToWorld(), 1e-6f));
        // A hit answers the same.
        Matrix out;
        cache.getToWorld(n, out);
        EXPECT_TRUE(out.equals(n->getToWorld(), 1e-6f));
    }
    // An independent check of the composition: leaf point (1,0,0) scaled to (2,0,0), turned
    // 90 degrees about z to (0,2,0), moved by (0,2,0) and (1,0,0).
    Pnt3f p(1, 0, 0);
    cache.getToWorld(leaf).multFull(Pnt3f(1, 0, 0), p);
    EXPECT_NEAR(p[0], 1.f, 1e-5f);
    EXPECT_NEAR(p[1], 4.f, 1e-5f);
    EXPECT_NEAR(p[2], 0.f, 1e-5f);
}

TEST_F(MatrixCacheTest, MissFillsEveryAncestor)
{
    skMatrixCache cache;
    EXPECT_EQ(cache.size(), 0u);
    cache.getToWorld(leaf);
    EXPECT_EQ(cache.size(), 4u);
    for(const NodePtr &n : {root, turned, group, leaf})
        EXPECT_TRUE(cache.contains(n));
    EXPECT_FALSE(cache.contains(sibling));

    // The sibling's parent is cached: one more entry, computed from it.
    cache.getToWorld(sibling);
    EXPECT_EQ(cache.size(), 5u);
    cache.getToWorld(group);
    EXPECT_EQ(cache.size(), 5u);
}

TEST_F(MatrixCacheTest, KeepsOldMatricesUntilCleared)
{
    skMatrixCache cache;
    const Matrix before = cache.getToWorld(leaf);

    TransformPtr t = TransformPtr::dcast(root->getCore());
    beginEditCP(t, Transform::MatrixFieldMask);
    t->setMatrix(translation(10, 0, 0));
    endEditCP(t, Transform::MatrixFieldMask);
    ASSERT_FALSE(leaf->getToWorld().equals(before, 1e-3f));

    EXPECT_TRUE(cache.getToWorld(leaf).equals(before, 0.f)) << "the cache does not notice";
    // Even a node computed after the change builds on the stale parent.
    Matrix stale = translation(1, 0, 0);
    stale.mult(translation(0, 0, 5));
    EXPECT_TRUE(cache.getToWorld(sibling).equals(stale, 1e-6f));

    cache.clear();
    EXPECT_EQ(cache.size(), 0u);
    EXPECT_TRUE(cache.getToWorld(leaf).equals(leaf->getToWorld(), 1e-6f));
}

TEST_F(MatrixCacheTest, NullNodesAndCorelessNodes)
{
    skMatrixCache cache;
    Matrix out = translation(3, 3, 3);
    cache.getToWorld(NullFC, out);
    EXPECT_TRUE(out.equals(translation(3, 3, 3), 0.f)) << "left unchanged";
    EXPECT_TRUE(cache.getToWorld(NullFC).equals(Matrix(), 0.f));
    EXPECT_EQ(cache.size(), 0u);

    // A node without a core passes its parent's matrix on.
    NodePtr bare = Node::create();
    addChild(group, bare);
    EXPECT_TRUE(cache.getToWorld(bare).equals(group->getToWorld(), 1e-6f));
}

TEST(MatrixCacheDeep, ChainDeeperThanTheCallStack)
{
    // A walk that recursed once per level would overflow the call stack here.
    const UInt32 depth = 200000;
    std::vector<NodePtr> chain;
    chain.reserve(depth);
    chain.push_back(transformNode(translation(1, 0, 0)));
    addRefCP(chain[0]);
    for(UInt32 i = 1; i < depth; ++i)
    {
        chain.push_back(transformNode(translation(1, 0, 0)));
        chain[i - 1]->addChild(chain[i]);
    }

    skMatrixCache cache;
    const Matrix m = cache.getToWorld(chain.back());
    EXPECT_EQ(cache.size(), size_t(depth));
    EXPECT_FLOAT_EQ(m[3][0], Real32(depth));
    EXPECT_FLOAT_EQ(cache.getToWorld(chain[depth / 2])[3][0], Real32(depth / 2 + 1));

    EXPECT_TRUE(m.equals(chain.back()->getToWorld(), 0.f));

    // Dropping the top destroys the chain level by level.
    subRefCP(chain[0]);
}

} // namespace
