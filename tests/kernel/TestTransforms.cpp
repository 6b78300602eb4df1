// Transform cores: their matrices, how edits of matrix and components interact, and their effect
// on to-world matrices and volumes.

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

using namespace osg;

namespace {

// Textbook 4x4 in row/column notation, independent of the kernel's Matrix.
struct M4
{
    double v[4][4];   // v[row][col]

    static M4 identity()
    {
        M4 m{};
        for(int i = 0; i < 4; ++i)
            m.v[i][i] = 1;
        return m;
    }
    M4 operator*(const M4 &b) const
    {
        M4 r{};
        for(int i = 0; i < 4; ++i)
            for(int j = 0; j < 4; ++j)
                for(int k = 0; k < 4; ++k)
                    r.v[i][j] += v[i][k] * b.v[k][j];
        return r;
    }
};

const double kPi = 3.14159265358979323846;

M4 T(double x, double y, double z)
{
    M4 m = M4::identity();
    m.v[0][3] = x;
    m.v[1][3] = y;
    m.v[2][3] = z;
    return m;
}
M4 T(const Vec3f &t, double sign = 1) { return T(sign * t[0], sign * t[1], sign * t[2]); }

M4 S(const Vec3f &s)
{
    M4 m = M4::identity();
    m.v[0][0] = s[0];
    m.v[1][1] = s[1];
    m.v[2][2] = s[2];
    return m;
}

M4 Rx(double deg)
{
    double c = std::cos(deg * kPi / 180), s = std::sin(deg * kPi / 180);
    M4 m = M4::identity();
    m.v[1][1] = c; m.v[1][2] = -s;
    m.v[2][1] = s; m.v[2][2] = c;
    return m;
}
M4 Ry(double deg)
{
    double c = std::cos(deg * kPi / 180), s = std::sin(deg * kPi / 180);
    M4 m = M4::identity();
    m.v[0][0] = c;  m.v[0][2] = s;
    m.v[2][0] = -s; m.v[2][2] = c;
    return m;
}
M4 Rz(double deg)
{
    double c = std::cos(deg * kPi / 180), s = std::sin(deg * kPi / 180);
    M4 m = M4::identity();
    m.v[0][0] = c; m.v[0][1] = -s;
    m.v[1][0] = s; m.v[1][1] = c;
    return m;
}

// Rotation about one axis named by a letter, the angle taken from the matching component.
M4 axisRot(char axis, const Vec3f &deg)
{
    switch(axis)
    {
        case 'x': return Rx(deg[0]);
        case 'y': return Ry(deg[1]);
        default:  return Rz(deg[2]);
    }
}

// The order string lists the axes in the order they act on a point.
M4 euler(const Vec3f &deg, const std::string &order)
{
    return axisRot(order[2], deg) * axisRot(order[1], deg) * axisRot(order[0], deg);
}

void expectMatrixEq(const Matrix &m, const M4 &ref, double tol = 1e-4)
{
    for(int r = 0; r < 4; ++r)
        for(int c = 0; c < 4; ++c)
            EXPECT_NEAR(m[c][r], ref.v[r][c], tol) << "row " << r << " column " << c;
}

Pnt3f apply(const Matrix &m, const Pnt3f &p)
{
    Pnt3f out;
    m.multMatrixPnt(p, out);
    return out;
}

void expectPntEq(const Pnt3f &a, const Pnt3f &b, float tol = 1e-4f)
{
    EXPECT_NEAR(a[0], b[0], tol);
    EXPECT_NEAR(a[1], b[1], tol);
    EXPECT_NEAR(a[2], b[2], tol);
}

struct Components
{
    Vec3f       translation, euler, scale{1, 1, 1}, scalePivot, scalePivotTranslation, rotatePivot,
                orientation, rotatePivotTranslation;
    std::string order = "xyz";
};

void setComponents(const Transform3DPtr &t, const Components &c)
{
    beginEditCP(t, Transform3D::ComponentsFieldMask);
    t->setTranslation(c.translation);
    t->setEulerRotation(c.euler);
    t->setEulerRotationOrder(c.order);
    t->setScale(c.scale);
    t->setScalePivot(c.scalePivot);
    t->setScalePivotTranslation(c.scalePivotTranslation);
    t->setRotatePivot(c.rotatePivot);
    t->setEulerRotationOrientation(c.orientation);
    t->setRotatePivotTranslation(c.rotatePivotTranslation);
    endEditCP(t, Transform3D::ComponentsFieldMask);
}

M4 referenceStack(const Components &c, const std::string &order)
{
    return T(c.translation) * T(c.rotatePivotTranslation) * T(c.rotatePivot) * euler(c.euler, order) *
           euler(c.orientation, "xyz") * T(c.rotatePivot, -1) * T(c.scalePivotTranslation) *
           T(c.scalePivot) * S(c.scale) * T(c.scalePivot, -1);
}

Components busyComponents()
{
    Components c;
    c.translation            = Vec3f(1.5f, -2.f, 3.25f);
    c.euler                  = Vec3f(30.f, -45.f, 110.f);
    c.scale                  = Vec3f(2.f, 0.5f, -1.5f);
    c.scalePivot             = Vec3f(0.25f, 1.f, -0.5f);
    c.scalePivotTranslation  = Vec3f(-0.3f, 0.2f, 0.1f);
    c.rotatePivot            = Vec3f(1.f, 2.f, -1.f);
    c.orientation            = Vec3f(10.f, 20.f, -35.f);
    c.rotatePivotTranslation = Vec3f(0.4f, -0.6f, 0.7f);
    return c;
}

NodePtr makeNode(const NodeCorePtr &core)
{
    NodePtr n = Node::create();
    beginEditCP(n, Node::CoreFieldMask);
    n->setCore(core);
    endEditCP(n, Node::CoreFieldMask);
    return n;
}

} // namespace

/*---------------------------- ComponentTransform ---------------------------*/

TEST(ComponentTransform, ComponentsBuildTheCentredVrmlMatrix)
{
    ComponentTransformPtr ct = ComponentTransform::create();
    addRefCP(ct);
    EXPECT_EQ(ct->getScale(), Vec3f(1, 1, 1));
    EXPECT_TRUE(ct->getMatrix().equals(Matrix::identity(), 0.f));

    Thread::getCurrentChangeList()->clearAll();
    const BitVector mask = ComponentTransform::TranslationFieldMask |
                           ComponentTransform::CenterFieldMask |
                           ComponentTransform::RotationFieldMask | ComponentTransform::ScaleFieldMask;
    beginEditCP(ct, mask);
    ct->setTranslation(Vec3f(1, 2, 3));
    ct->setCenter(Vec3f(1, 0, 0));
    ct->setRotation(Quaternion(Vec3f(0, 0, 1), float(kPi / 2)));
    ct->setScale(Vec3f(2, 2, 2));
    endEditCP(ct, mask);

    const Matrix &m = ct->getMatrix();
    EXPECT_NEAR(m[3][0], 2.f, 1e-5f);
    EXPECT_NEAR(m[3][1], 0.f, 1e-5f);
    EXPECT_NEAR(m[3][2], 3.f, 1e-5f);
    EXPECT_NEAR(m[3][3], 1.f, 1e-6f);
    M4 rot = Rz(90);
    for(int r = 0; r < 3; ++r)
        for(int c = 0; c < 3; ++c)
            EXPECT_NEAR(m[c][r], 2 * rot.v[r][c], 1e-5) << r << "," << c;

    // The rebuilt matrix is not recorded as an edit of its own.
    EXPECT_EQ(Thread::getCurrentChangeList()->getChangedMask(ct.getFieldContainerId()), mask);
    subRefCP(ct);
}

TEST(ComponentTransform, ScaleOrientationAndCentreMatchTheFactorisation)
{
    ComponentTransformPtr ct = ComponentTransform::create();
    addRefCP(ct);
    Quaternion so(Vec3f(1, 1, 0), 0.7f);
    beginEditCP(ct, ComponentTransform::ComponentsFieldMask);
    ct->setTranslation(Vec3f(-1, 4, 2));
    ct->setCenter(Vec3f(0.5f, -2, 1));
    ct->setRotation(Quaternion(Vec3f(0, 1, 0), float(kPi / 2)));
    ct->setScale(Vec3f(3, 1, 2));
    ct->setScaleOrientation(so);
    endEditCP(ct, ComponentTransform::ComponentsFieldMask);

    // R(so) S R(so)^-1 stretches along so's axes: so's x axis by 3, its y axis by 1.
    Vec3f ax, ay;
    Matrix som;
    so.getValue(som);
    ax.setValues(som[0][0], som[0][1], som[0][2]);
    ay.setValues(som[1][0], som[1][1], som[1][2]);
    Pnt3f c(0.5f, -2, 1);
    Pnt3f expectX = Pnt3f(-1, 4, 2) + Vec3f(c);   // c maps to t + c
    expectPntEq(apply(ct->getMatrix(), c), expectX);

    Matrix rotY;
    Quaternion(Vec3f(0, 1, 0), float(kPi / 2)).getValue(rotY);
    Vec3f rx, ry;
    rotY.multMatrixVec(ax * 3.f, rx);
    rotY.multMatrixVec(ay * 1.f, ry);
    expectPntEq(apply(ct->getMatrix(), c + ax), expectX + rx);
    expectPntEq(apply(ct->getMatrix(), c + ay), expectX + ry);
    subRefCP(ct);
}

TEST(ComponentTransform, MatrixOnlyEditDecomposesAroundAZeroCentre)
{
    ComponentTransformPtr ct = ComponentTransform::create();
    addRefCP(ct);
    beginEditCP(ct, ComponentTransform::ComponentsFieldMask);
    ct->setCenter(Vec3f(5, 5, 5));
    ct->setTranslation(Vec3f(1, 1, 1));
    endEditCP(ct, ComponentTransform::ComponentsFieldMask);

    Matrix m;
    m.setTransform(Vec3f(7, -3, 2), Quaternion(Vec3f(1, 2, 3), 1.1f), Vec3f(2, 3, 4));
    Thread::getCurrentChangeList()->clearAll();
    beginEditCP(ct, ComponentTransform::MatrixFieldMask);
    ct->setMatrix(m);
    endEditCP(ct, ComponentTransform::MatrixFieldMask);

    EXPECT_EQ(ct->getCenter(), Vec3f(0, 0, 0));
    EXPECT_EQ(ct->getTranslation(), Vec3f(7, -3, 2));
    EXPECT_TRUE(ct->getMatrix().equals(m, 0.f)) << "the matrix is kept as set";
    // The components describe the same matrix, whatever order the stretch axes came back in.
    Matrix rebuilt;
    rebuilt.setTransform(ct->getTranslation(), ct->getRotation(), ct->getScale(),
                         ct->getScaleOrientation(), ct->getCenter());
    EXPECT_TRUE(rebuilt.equals(m, 1e-4f)) << rebuilt << "\n" << m;
    EXPECT_EQ(Thread::getCurrentChangeList()->getChangedMask(ct.getFieldContainerId()),
              ComponentTransform::MatrixFieldMask);

    // A following component edit wins over the matrix.
    beginEditCP(ct, ComponentTransform::TranslationFieldMask);
    ct->setTranslation(Vec3f(0, 0, 9));
    endEditCP(ct, ComponentTransform::TranslationFieldMask);
    EXPECT_NEAR(ct->getMatrix()[3][2], 9.f, 1e-5f);
    EXPECT_NEAR(ct->getMatrix()[3][0], 0.f, 1e-5f);
    subRefCP(ct);
}

/*---------------------------- Transform3D ----------------------------------*/

TEST(Transform3D, DefaultsAndTheFullStackAgainstAnIndependentProduct)
{
    Transform3DPtr t = Transform3D::create();
    addRefCP(t);
    EXPECT_EQ(t->getEulerRotationOrder(), "xyz");
    EXPECT_EQ(t->getRotationMode(), 0);
    EXPECT_EQ(t->getScale(), Vec3f(1, 1, 1));
    EXPECT_TRUE(t->getMatrix().equals(Matrix::identity(), 0.f));
    EXPECT_EQ(Transform3D::MatrixFieldId, 3u);
    EXPECT_EQ(Transform3D::TranslationFieldId, 4u);
    EXPECT_EQ(Transform3D::RotatePivotTranslationFieldId, 13u);

    Components c = busyComponents();
    Thread::getCurrentChangeList()->clearAll();
    setComponents(t, c);
    expectMatrixEq(t->getMatrix(), referenceStack(c, "xyz"));
    EXPECT_EQ(Thread::getCurrentChangeList()->getChangedMask(t.getFieldContainerId()),
              Transform3D::ComponentsFieldMask);

    Matrix computed;
    t->calcMatrix(computed);
    EXPECT_TRUE(computed.equals(t->getMatrix(), 0.f));
    subRefCP(t);
}

TEST(Transform3D, EveryRotationOrderInEitherCase)
{
    Transform3DPtr t = Transform3D::create();
    addRefCP(t);
    Components c = busyComponents();
    const char *orders[] = { "xyz", "xzy", "yxz", "yzx", "zxy", "zyx" };
    Matrix previous;
    for(const char *order : orders)
    {
        SCOPED_TRACE(order);
        c.order = order;
        setComponents(t, c);
        expectMatrixEq(t->getMatrix(), referenceStack(c, order));
        EXPECT_FALSE(t->getMatrix().equals(previous, 1e-3f)) << "orders must differ";
        previous = t->getMatrix();

        std::string upper(order);
        for(char &ch : upper)
            ch = char(ch - 'a' + 'A');
        c.order = upper;
        setComponents(t, c);
        EXPECT_TRUE(t->getMatrix().equals(previous, 0.f));
        EXPECT_EQ(t->getEulerRotationOrder(), upper);
    }
    subRefCP(t);
}

TEST(Transform3D, InvalidOrderWarnsAndActsAsXyz)
{
    Transform3DPtr t = Transform3D::create();
    addRefCP(t);
    Components c = busyComponents();
    const char *bad[] = { "xxy", "xy", "xyzx", "abc", "" };
    for(const char *order : bad)
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
    beginEditCP(t, Transform3D::TranslationFieldMask);
    t->setTranslation(Vec3f(0, 0, 0));
    endEditCP(t, Transform3D::TranslationFieldMask);
    EXPECT_EQ(capture.count(), 0u);

    UInt32 axes[3] = { 9, 9, 9 };
    EXPECT_FALSE(Transform3D::parseRotationOrder("xzz", axes));
    EXPECT_EQ(axes[0], 9u);
    EXPECT_TRUE(Transform3D::parseRotationOrder("Zxy", axes));
    EXPECT_EQ(axes[0], 2u);
    EXPECT_EQ(axes[1], 0u);
    EXPECT_EQ(axes[2], 1u);
    subRefCP(t);
}

TEST(Transform3D, PivotsStayFixed)
{
    Transform3DPtr t = Transform3D::create();
    addRefCP(t);

    // Rotating about a pivot keeps the pivot and turns the points around it.
    Components c;
    c.rotatePivot = Vec3f(1, 0, 0);
    c.euler       = Vec3f(0, 0, 90);
    setComponents(t, c);
    expectPntEq(apply(t->getMatrix(), Pnt3f(1, 0, 0)), Pnt3f(1, 0, 0));
    expectPntEq(apply(t->getMatrix(), Pnt3f(2, 0, 0)), Pnt3f(1, 1, 0));

    // The orientation acts before the rotation: x first by 90 about x, then 90 about z.
    c.rotatePivot = Vec3f(0, 0, 0);
    c.euler       = Vec3f(0, 0, 90);
    c.orientation = Vec3f(90, 0, 0);
    setComponents(t, c);
    expectPntEq(apply(t->getMatrix(), Pnt3f(0, 1, 0)), Pnt3f(0, 0, 1));
    expectPntEq(apply(t->getMatrix(), Pnt3f(0, 0, 1)), Pnt3f(1, 0, 0));

    // Scaling about a pivot keeps the pivot.
    c             = Components();
    c.scalePivot  = Vec3f(1, 2, 3);
    c.scale       = Vec3f(2, 3, 4);
    setComponents(t, c);
    expectPntEq(apply(t->getMatrix(), Pnt3f(1, 2, 3)), Pnt3f(1, 2, 3));
    expectPntEq(apply(t->getMatrix(), Pnt3f(2, 3, 4)), Pnt3f(3, 5, 7));

    // The pivot translations move after their stage: scale, then its pivot translation, then
    // the rotation about the (unmoved) rotate pivot, then the rotate pivot translation.
    c                        = Components();
    c.scale                  = Vec3f(2, 2, 2);
    c.scalePivotTranslation  = Vec3f(1, 0, 0);
    c.euler                  = Vec3f(0, 0, 90);
    c.rotatePivotTranslation = Vec3f(0, 0, 5);
    setComponents(t, c);
    // (1,0,0) -> scale (2,0,0) -> +spt (3,0,0) -> rot (0,3,0) -> +rpt (0,3,5)
    expectPntEq(apply(t->getMatrix(), Pnt3f(1, 0, 0)), Pnt3f(0, 3, 5));
    subRefCP(t);
}

TEST(Transform3D, RotationModeAndDirectMatrixEdits)
{
    Transform3DPtr t = Transform3D::create();
    addRefCP(t);
    Components c = busyComponents();
    setComponents(t, c);
    Matrix built = t->getMatrix();

    beginEditCP(t, Transform3D::RotationModeFieldMask);
    t->setRotationMode(3);
    endEditCP(t, Transform3D::RotationModeFieldMask);
    EXPECT_TRUE(t->getMatrix().equals(built, 0.f));

    // A matrix set directly stays, and the components stay as they were.
    Matrix direct;
    direct.setTranslate(9, 8, 7);
    beginEditCP(t, Transform3D::MatrixFieldMask);
    t->setMatrix(direct);
    endEditCP(t, Transform3D::MatrixFieldMask);
    EXPECT_TRUE(t->getMatrix().equals(direct, 0.f));
    EXPECT_EQ(t->getTranslation(), c.translation);

    beginEditCP(t, Transform3D::ScaleFieldMask);
    t->setScale(c.scale);
    endEditCP(t, Transform3D::ScaleFieldMask);
    EXPECT_TRUE(t->getMatrix().equals(built, 0.f));

    // calcEulerRotation is the rotation part alone.
    Matrix r;
    Transform3D::calcEulerRotation(r, Vec3f(10, 20, 30), "yzx");
    expectMatrixEq(r, euler(Vec3f(10, 20, 30), "yzx"));
    Transform3D::calcEulerRotation(r, Vec3f(10, 20, 30), "bad");
    expectMatrixEq(r, euler(Vec3f(10, 20, 30), "xyz"));
    subRefCP(t);
}

/*---------------------------- in the graph ---------------------------------*/

TEST(TransformGraph, ToWorldMatricesMultiplyDownTheChain)
{
    TransformPtr top = Transform::create();
    Matrix mTop;
    mTop.setTransform(Vec3f(10, 0, 0), Quaternion(Vec3f(0, 0, 1), float(kPi / 2)));
    beginEditCP(top, Transform::MatrixFieldMask);
    top->setMatrix(mTop);
    endEditCP(top, Transform::MatrixFieldMask);

    ComponentTransformPtr mid = ComponentTransform::create();
    beginEditCP(mid, ComponentTransform::ScaleFieldMask);
    mid->setScale(Vec3f(2, 2, 2));
    endEditCP(mid, ComponentTransform::ScaleFieldMask);

    Transform3DPtr low = Transform3D::create();
    beginEditCP(low, Transform3D::TranslationFieldMask);
    low->setTranslation(Vec3f(0, 1, 0));
    endEditCP(low, Transform3D::TranslationFieldMask);

    NodePtr root = makeNode(top), a = makeNode(mid), b = makeNode(low), leaf = makeNode(Group::create());
    addRefCP(root);
    root->addChild(a);
    a->addChild(b);
    b->addChild(leaf);

    // leaf origin: +1 y, scale 2 -> (0,2,0), rotate 90 about z -> (-2,0,0), +10 x -> (8,0,0)
    expectPntEq(apply(leaf->getToWorld(), Pnt3f(0, 0, 0)), Pnt3f(8, 0, 0));
    expectPntEq(apply(leaf->getToWorld(), Pnt3f(1, 0, 0)), Pnt3f(8, 2, 0));
    // A node's to-world includes its own core.
    expectPntEq(apply(root->getToWorld(), Pnt3f(0, 0, 0)), Pnt3f(10, 0, 0));
    Matrix viaNode;
    b->getToWorld(viaNode);
    EXPECT_TRUE(viaNode.equals(leaf->getToWorld(), 0.f));
    subRefCP(root);
}

TEST(TransformGraph, VolumesFollowTheMatrixAndAreInvalidatedByIt)
{
    TransformPtr xf = Transform::create();
    Matrix m;
    m.setTransform(Vec3f(0, 0, 5), Quaternion(), Vec3f(2, 1, 1));
    beginEditCP(xf, Transform::MatrixFieldMask);
    xf->setMatrix(m);
    endEditCP(xf, Transform::MatrixFieldMask);

    NodePtr root = makeNode(Group::create()), xnode = makeNode(xf), leaf = makeNode(Group::create());
    addRefCP(root);
    root->addChild(xnode);
    xnode->addChild(leaf);
    // A leaf with a fixed extent stands in for a drawable.
    beginEditCP(leaf, Node::VolumeFieldMask);
    DynamicVolume &fixed = leaf->editVolume(false);
    fixed.setEmpty();
    fixed.extendBy(Pnt3f(0, 0, 0));
    fixed.extendBy(Pnt3f(1, 1, 1));
    fixed.setStatic();
    endEditCP(leaf, Node::VolumeFieldMask);

    Pnt3f lo, hi;
    root->getVolume(true).getBounds(lo, hi);
    expectPntEq(lo, Pnt3f(0, 0, 5));
    expectPntEq(hi, Pnt3f(2, 1, 6));

    // Editing the matrix invalidates the volumes up to the root.
    m.setTranslate(0, -5, 0);
    beginEditCP(xf, Transform::MatrixFieldMask);
    xf->setMatrix(m);
    endEditCP(xf, Transform::MatrixFieldMask);
    EXPECT_FALSE(xnode->getVolume().isValid());
    EXPECT_FALSE(root->getVolume().isValid());
    root->getVolume(true).getBounds(lo, hi);
    expectPntEq(lo, Pnt3f(0, -5, 0));
    expectPntEq(hi, Pnt3f(2, -4, 1));

    // Components of the derived cores invalidate as well.
    ComponentTransformPtr ct = ComponentTransform::create();
    beginEditCP(xnode, Node::CoreFieldMask);
    xnode->setCore(ct);
    endEditCP(xnode, Node::CoreFieldMask);
    root->updateVolume();
    beginEditCP(ct, ComponentTransform::TranslationFieldMask);
    ct->setTranslation(Vec3f(3, 0, 0));
    endEditCP(ct, ComponentTransform::TranslationFieldMask);
    EXPECT_FALSE(root->getVolume().isValid());
    root->getVolume(true).getBounds(lo, hi);
    expectPntEq(lo, Pnt3f(3, 0, 0));

    // The leaf's world volume goes through both transforms above it.
    DynamicVolume world;
    leaf->getWorldVolume(world);
    world.getBounds(lo, hi);
    expectPntEq(lo, Pnt3f(3, 0, 0));
    expectPntEq(hi, Pnt3f(4, 1, 1));
    subRefCP(root);
}
