// Transform cores: their matrices against products built here, how edits of matrix and components
// interact, and their effect on to-world matrices and volumes.

#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGTransform.h>
#include <OpenSG/OSGComponentTransform.h>
#include <OpenSG/OSGTransform3D.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

using namespace osg;

namespace {

// Textbook 4x4 in row/column notation, independent of the kernel's Matrix.
struct M4
{
    double v[4][4] = { { 1, 0, 0, 0 }, { 0, 1, 0, 0 }, { 0, 0, 1, 0 }, { 0, 0, 0, 1 } };   // [row][col]

    M4 operator*(const M4 &b) const
    {
        M4 r;
        for(int i = 0; i < 4; ++i)
            for(int j = 0; j < 4; ++j)
            {
                r.v[i][j] = 0;
                for(int k = 0; k < 4; ++k)
                    r.v[i][j] += v[i][k] * b.v[k][j];
            }
        return r;
    }
};

// Translation by t after scaling by s.
M4 TS(const Vec3f &t, const Vec3f &s = Vec3f(1, 1, 1))
{
    M4 m;
    for(int i = 0; i < 3; ++i)
    {
        m.v[i][3] = t[i];
        m.v[i][i] = s[i];
    }
    return m;
}

// Rotation by deg degrees about axis 'x', 'y' or 'z'.
M4 R(char axis, double deg)
{
    const double a = deg * 3.14159265358979323846 / 180;
    const int    i = (axis - 'x' + 1) % 3, j = (axis - 'x' + 2) % 3;
    M4           m;
    m.v[i][i] = m.v[j][j] = std::cos(a);
    m.v[j][i] = std::sin(a);
    m.v[i][j] = -std::sin(a);
    return m;
}

// The order string lists the axes in the order they act on a point.
M4 euler(const Vec3f &deg, const std::string &order)
{
    M4 m;
    for(char axis : order)
        m = R(axis, deg[axis - 'x']) * m;
    return m;
}

void expectMatrixEq(const Matrix &m, const M4 &ref, double tol = 1e-4)
{
    for(int r = 0; r < 4; ++r)
        for(int c = 0; c < 4; ++c)
            EXPECT_NEAR(m[c][r], ref.v[r][c], tol) << "row " << r << " column " << c;
}

::testing::AssertionResult maps(const Matrix &m, const Pnt3f &from, const Pnt3f &to)
{
    Pnt3f out;
    m.multMatrixPnt(from, out);
    if(out.equals(to, 1e-4f))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << from << ") -> (" << out << "), not (" << to << ")";
}

template <class PtrT, class SetT>
void edit(const PtrT &fc, BitVector mask, SetT set)
{
    beginEditCP(fc, mask);
    set();
    endEditCP(fc, mask);
}

struct Components
{
    Vec3f translation{}, euler{}, scale{ 1, 1, 1 }, scalePivot{}, scalePivotTranslation{}, rotatePivot{},
        orientation{}, rotatePivotTranslation{};
    std::string order = "xyz";
};

const Components Busy = { Vec3f(1.5f, -2.f, 3.25f), Vec3f(30.f, -45.f, 110.f), Vec3f(2.f, 0.5f, -1.5f),
                          Vec3f(0.25f, 1.f, -0.5f), Vec3f(-0.3f, 0.2f, 0.1f), Vec3f(1.f, 2.f, -1.f),
                          Vec3f(10.f, 20.f, -35.f), Vec3f(0.4f, -0.6f, 0.7f) };

void setComponents(const Transform3DPtr &t, const Components &c)
{
    edit(t, Transform3D::ComponentsFieldMask, [&] {
        t->setTranslation(c.translation);
        t->setEulerRotation(c.euler);
        t->setEulerRotationOrder(c.order);
        t->setScale(c.scale);
        t->setScalePivot(c.scalePivot);
        t->setScalePivotTranslation(c.scalePivotTranslation);
        t->setRotatePivot(c.rotatePivot);
        t->setEulerRotationOrientation(c.orientation);
        t->setRotatePivotTranslation(c.rotatePivotTranslation);
    });
}

M4 referenceStack(const Components &c, const std::string &order)
{
    return TS(c.translation) * TS(c.rotatePivotTranslation) * TS(c.rotatePivot) * euler(c.euler, order) *
           euler(c.orientation, "xyz") * TS(-c.rotatePivot) * TS(c.scalePivotTranslation) *
           TS(c.scalePivot, c.scale) * TS(-c.scalePivot);
}

NodePtr makeNode(const NodeCorePtr &core, const NodePtr &parent = NullFC)
{
    NodePtr n = Node::create();
    edit(n, Node::CoreFieldMask, [&] { n->setCore(core); });
    if(parent != NullFC)
        parent->addChild(n);
    return n;
}

BitVector changedMask(const FieldContainerPtr &fc)
{
    return Thread::getCurrentChangeList()->getChangedMask(fc.getFieldContainerId());
}

// The masks recorded for one container, in order.
std::vector<BitVector> recorded(const FieldContainerPtr &fc)
{
    std::vector<BitVector> masks;
    for(const ChangeList::ChangeEntry &e : Thread::getCurrentChangeList()->getChanged())
        if(e.first == fc.getFieldContainerId())
            masks.push_back(e.second);
    return masks;
}

} // namespace

/*---------------------------- ComponentTransform ---------------------------*/

TEST(ComponentTransform, ComponentsBuildTheCentredMatrixInARecordedMatrixEdit)
{
    ComponentTransformPtr ct = ComponentTransform::create();
    NodePtr node = makeNode(ct);
    addRefCP(node);
    node->updateVolume();
    const Vec3f t(-1, 4, 2), c(0.5f, -2, 1), s(3, 1, 2);
    Thread::getCurrentChangeList()->clearAll();
    edit(ct, ComponentTransform::ComponentsFieldMask, [&] {
        ct->setTranslation(t);
        ct->setCenter(c);
        ct->setRotation(Quaternion(Vec3f(0, 1, 0), Real32(Pi / 2)));
        ct->setScale(s);
        ct->setScaleOrientation(Quaternion(Vec3f(0, 0, 1), Real32(Pi / 6)));
    });
    // T(t) T(c) R SO S SO^-1 T(-c): the stretch acts along the scale orientation's axes.
    expectMatrixEq(ct->getMatrix(), TS(t + c) * R('y', 90) * R('z', 30) * TS(Vec3f(), s) * R('z', -30) * TS(-c));
    // The edit, then the rebuilt matrix as an edit of its own (recorded once), which reached
    // the node's volume.
    EXPECT_EQ(recorded(ct), (std::vector<BitVector>{ ComponentTransform::ComponentsFieldMask,
                                                     ComponentTransform::MatrixFieldMask }));
    EXPECT_FALSE(node->getVolume().isValid());
    subRefCP(node);
}

TEST(ComponentTransform, MatrixOnlyEditKeepsComponentsAndCentre)
{
    ComponentTransformPtr ct = ComponentTransform::create();
    NodePtr node = makeNode(ct);
    addRefCP(node);
    const Quaternion rotation(Vec3f(1, 0, 0), 0.5f), orientation(Vec3f(0, 1, 0), 0.25f);
    edit(ct, ComponentTransform::ComponentsFieldMask, [&] {
        ct->setCenter(Vec3f(5, 5, 5));
        ct->setTranslation(Vec3f(1, 1, 1));
        ct->setRotation(rotation);
        ct->setScale(Vec3f(2, 2, 3));
        ct->setScaleOrientation(orientation);
    });
    node->updateVolume();
    Matrix m;
    m.setTransform(Vec3f(7, -3, 2), Quaternion(Vec3f(1, 2, 3), 1.1f), Vec3f(2, 3, 4));
    Thread::getCurrentChangeList()->clearAll();
    edit(ct, ComponentTransform::MatrixFieldMask, [&] { ct->setMatrix(m); });

    EXPECT_TRUE(ct->getMatrix().equals(m, 0.f)) << "the matrix is kept as set";
    EXPECT_EQ(ct->getCenter(), Vec3f(5, 5, 5));
    EXPECT_EQ(ct->getTranslation(), Vec3f(1, 1, 1));
    EXPECT_EQ(ct->getRotation(), rotation);
    EXPECT_EQ(ct->getScale(), Vec3f(2, 2, 3));
    EXPECT_EQ(ct->getScaleOrientation(), orientation);
    EXPECT_EQ(recorded(ct), std::vector<BitVector>{ ComponentTransform::MatrixFieldMask });
    EXPECT_FALSE(node->getVolume().isValid());

    // A following component edit rebuilds the matrix from all components.
    edit(ct, ComponentTransform::TranslationFieldMask, [&] { ct->setTranslation(Vec3f(0, 0, 9)); });
    Matrix expected;
    expected.setTransform(Vec3f(0, 0, 9), rotation, Vec3f(2, 2, 3), orientation, Vec3f(5, 5, 5));
    EXPECT_TRUE(ct->getMatrix().equals(expected, 1e-5f));
    subRefCP(node);
}

/*---------------------------- Transform3D ----------------------------------*/

TEST(Transform3D, TheFullStackInEveryRotationOrderAgainstAnIndependentProduct)
{
    Transform3DPtr t = Transform3D::create();
    addRefCP(t);
    Components c = Busy;
    Matrix previous;
    for(std::string order : { "xyz", "xzy", "yxz", "yzx", "zxy", "zyx" })
    {
        SCOPED_TRACE(order);
        c.order = order;
        Thread::getCurrentChangeList()->clearAll();
        setComponents(t, c);
        expectMatrixEq(t->getMatrix(), referenceStack(c, order));
        EXPECT_FALSE(t->getMatrix().equals(previous, 1e-3f)) << "orders must differ";
        EXPECT_EQ(changedMask(t), Transform3D::ComponentsFieldMask);
        Matrix computed;
        t->calcMatrix(computed);
        EXPECT_TRUE(computed.equals(t->getMatrix(), 0.f));
        previous = t->getMatrix();

        for(char &ch : c.order)                 // upper case means the same
            ch = char(ch - 'a' + 'A');
        setComponents(t, c);
        EXPECT_TRUE(t->getMatrix().equals(previous, 0.f));
    }

    // A matrix set directly stays (the rotation mode does not rebuild it) until a component edit.
    Matrix direct;
    direct.setTranslate(9, 8, 7);
    edit(t, Transform3D::MatrixFieldMask | Transform3D::RotationModeFieldMask, [&] {
        t->setMatrix(direct);
        t->setRotationMode(3);
    });
    EXPECT_TRUE(t->getMatrix().equals(direct, 0.f));
    EXPECT_EQ(t->getTranslation(), c.translation);
    edit(t, Transform3D::ScaleFieldMask, [&] { t->setScale(c.scale); });
    EXPECT_TRUE(t->getMatrix().equals(previous, 0.f));
    subRefCP(t);
}

TEST(Transform3D, InvalidOrderWarnsAndActsAsXyz)
{
    Transform3DPtr t = Transform3D::create();
    addRefCP(t);
    Components c = Busy;
    for(const char *order : { "xxy", "xy", "xyzx", "abc", "" })
    {
        SCOPED_TRACE(order);
        c.order = order;
        LogCapture capture;
        setComponents(t, c);
        EXPECT_TRUE(capture.contains("invalid euler rotation order")) << capture.text();
        EXPECT_EQ(t->getEulerRotationOrder(), order);
        expectMatrixEq(t->getMatrix(), referenceStack(c, "xyz"));
    }

    // A valid order is not warned about, and an unrelated edit does not repeat the warning.
    c.order = "zyx";
    LogCapture capture;
    setComponents(t, c);
    edit(t, Transform3D::TranslationFieldMask, [&] { t->setTranslation(Vec3f(0, 0, 0)); });
    EXPECT_EQ(capture.count(), 0u);

    UInt32 axes[3] = { 9, 9, 9 };
    EXPECT_FALSE(Transform3D::parseRotationOrder("xzz", axes));
    EXPECT_EQ(axes[0], 9u);
    EXPECT_TRUE(Transform3D::parseRotationOrder("Zxy", axes));
    EXPECT_EQ(std::vector<UInt32>(axes, axes + 3), (std::vector<UInt32>{ 2, 0, 1 }));

    // calcEulerRotation is the rotation part alone.
    Matrix r;
    Transform3D::calcEulerRotation(r, Vec3f(10, 20, 30), "yzx");
    expectMatrixEq(r, euler(Vec3f(10, 20, 30), "yzx"));
    Transform3D::calcEulerRotation(r, Vec3f(10, 20, 30), "bad");
    expectMatrixEq(r, euler(Vec3f(10, 20, 30), "xyz"));
    subRefCP(t);
}

TEST(Transform3D, PivotsStayFixed)
{
    Transform3DPtr t = Transform3D::create();
    addRefCP(t);
    const Vec3f o(0, 0, 0), one(1, 1, 1), z90(0, 0, 90);
    // translation, euler, scale, scalePivot, scalePivotTranslation, rotatePivot, orientation,
    // rotatePivotTranslation
    const struct { Components c; Pnt3f from, to; } cases[] = {
        // Rotating about a pivot keeps the pivot and turns the points around it.
        { { o, z90, one, o, o, Vec3f(1, 0, 0) }, Pnt3f(1, 0, 0), Pnt3f(1, 0, 0) },
        { { o, z90, one, o, o, Vec3f(1, 0, 0) }, Pnt3f(2, 0, 0), Pnt3f(1, 1, 0) },
        // The orientation acts before the rotation: 90 about x, then 90 about z.
        { { o, z90, one, o, o, o, Vec3f(90, 0, 0) }, Pnt3f(0, 1, 0), Pnt3f(0, 0, 1) },
        { { o, z90, one, o, o, o, Vec3f(90, 0, 0) }, Pnt3f(0, 0, 1), Pnt3f(1, 0, 0) },
        // Scaling about a pivot keeps the pivot.
        { { o, o, Vec3f(2, 3, 4), Vec3f(1, 2, 3) }, Pnt3f(1, 2, 3), Pnt3f(1, 2, 3) },
        { { o, o, Vec3f(2, 3, 4), Vec3f(1, 2, 3) }, Pnt3f(2, 3, 4), Pnt3f(3, 5, 7) },
        // Each pivot translation moves after its stage:
        // (1,0,0) -scale-> (2,0,0) -spt-> (3,0,0) -rotation-> (0,3,0) -rpt-> (0,3,5)
        { { o, z90, Vec3f(2, 2, 2), o, Vec3f(1, 0, 0), o, o, Vec3f(0, 0, 5) }, Pnt3f(1, 0, 0), Pnt3f(0, 3, 5) },
    };
    for(const auto &k : cases)
    {
        setComponents(t, k.c);
        EXPECT_TRUE(maps(t->getMatrix(), k.from, k.to)) << "case " << &k - cases;
    }
    subRefCP(t);
}

/*---------------------------- in the graph ---------------------------------*/

TEST(TransformGraph, ToWorldMatricesMultiplyDownTheChain)
{
    TransformPtr          top = Transform::create();
    ComponentTransformPtr mid = ComponentTransform::create();
    Transform3DPtr        low = Transform3D::create();
    edit(top, Transform::MatrixFieldMask, [&] {
        top->editMatrix().setTransform(Vec3f(10, 0, 0), Quaternion(Vec3f(0, 0, 1), Real32(Pi / 2)));
    });
    edit(mid, ComponentTransform::ScaleFieldMask, [&] { mid->setScale(Vec3f(2, 2, 2)); });
    edit(low, Transform3D::TranslationFieldMask, [&] { low->setTranslation(Vec3f(0, 1, 0)); });
    NodePtr root = makeNode(top), b = makeNode(low, makeNode(mid, root)), leaf = makeNode(Group::create(), b);
    addRefCP(root);

    // leaf origin: +1 y, scale 2 -> (0,2,0), rotate 90 about z -> (-2,0,0), +10 x -> (8,0,0)
    EXPECT_TRUE(maps(leaf->getToWorld(), Pnt3f(0, 0, 0), Pnt3f(8, 0, 0)));
    EXPECT_TRUE(maps(leaf->getToWorld(), Pnt3f(1, 0, 0), Pnt3f(8, 2, 0)));
    // A node's to-world includes its own core.
    EXPECT_TRUE(maps(root->getToWorld(), Pnt3f(0, 0, 0), Pnt3f(10, 0, 0)));
    Matrix viaNode;
    b->getToWorld(viaNode);
    EXPECT_TRUE(viaNode.equals(leaf->getToWorld(), 0.f));
    subRefCP(root);
}

TEST(TransformGraph, MatrixAndComponentEditsInvalidateVolumesUpToTheRoot)
{
    TransformPtr xf = Transform::create();
    NodePtr root = makeNode(Group::create()), xnode = makeNode(xf, root), leaf = makeNode(Group::create(), xnode);
    addRefCP(root);
    // A leaf with a fixed unit extent stands in for a drawable.
    edit(leaf, Node::VolumeFieldMask, [&] {
        DynamicVolume &fixed = leaf->editVolume(false);
        fixed.setEmpty();
        fixed.extendBy(Pnt3f(0, 0, 0));
        fixed.extendBy(Pnt3f(1, 1, 1));
        fixed.setStatic();
    });
    auto expectBounds = [&root](const Pnt3f &lo, const Pnt3f &hi) {
        EXPECT_FALSE(root->getVolume().isValid());
        Pnt3f l, h;
        root->getVolume(true).getBounds(l, h);
        EXPECT_TRUE(l.equals(lo, 1e-4f) && h.equals(hi, 1e-4f)) << l << " | " << h;
    };

    root->updateVolume();
    edit(xf, Transform::MatrixFieldMask, [&] {
        xf->editMatrix().setTransform(Vec3f(0, -5, 0), Quaternion(), Vec3f(2, 1, 1));
    });
    EXPECT_FALSE(xnode->getVolume().isValid());
    expectBounds(Pnt3f(0, -5, 0), Pnt3f(2, -4, 1));

    ComponentTransformPtr ct = ComponentTransform::create();
    edit(xnode, Node::CoreFieldMask, [&] { xnode->setCore(ct); });
    root->updateVolume();
    edit(ct, ComponentTransform::TranslationFieldMask, [&] { ct->setTranslation(Vec3f(3, 0, 0)); });
    expectBounds(Pnt3f(3, 0, 0), Pnt3f(4, 1, 1));
    subRefCP(root);
}
