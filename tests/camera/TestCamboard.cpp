// Camboard: scale factors, orientation, the rigid inverse of the to-world matrix, custom and
// head-mounted calculations, text centre, and intersection through the board's matrix.
#include "CameraTestSupport.h"
#include "support/SceneTestSupport.h"

#include <OpenSGExt/OSGCamboard.h>

#include <OpenSG/OSGIntersectAction.h>
#include <OpenSG/OSGMatrixUtility.h>

#include <glm/gtc/matrix_transform.hpp>

#include <memory>

using namespace osg;
using camtest::matricesNear;

namespace {

class CamboardTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        board = Camboard::create();
        addRefCP(board);
    }
    void TearDown() override { subRefCP(board); }

    // World matrix of the board for a camera placed at from looking at the origin.
    Matrix boardFor(const Pnt3f &from, const Matrix &toWorld = Matrix())
    {
        Matrix camera, result;
        MatrixLookAt(camera, from, Pnt3f(0.f, 0.f, 0.f), Vec3f(0.f, 1.f, 0.f));
        board->calcCamMatrix(camera, toWorld, result);
        return result;
    }

    CamboardPtr board;
};

Real32 columnLength(const Matrix &m, int c)
{
    return Vec3f(m[c][0], m[c][1], m[c][2]).length();
}

} // namespace

TEST_F(CamboardTest, ScaleFactorsByDistance)
{
    board->setMinDistance(10.f);
    board->setMaxDistance(100.f);
    board->setScale(0.1f);
    EXPECT_FLOAT_EQ(board->calcScale(5.f), 0.5f);
    EXPECT_FLOAT_EQ(board->calcScale(50.f), 1.f);
    EXPECT_FLOAT_EQ(board->calcScale(200.f), 2.f);
    // Through the whole calculation: the matrix's columns carry the factor.
    EXPECT_NEAR(columnLength(boardFor(Pnt3f(0.f, 0.f, 5.f)), 0), 0.5f, 1e-5f);
    EXPECT_NEAR(columnLength(boardFor(Pnt3f(0.f, 120.f, 160.f)), 1), 2.f, 1e-4f);

    // A board at the camera collapses.
    Matrix camera, result;
    board->calcCamMatrix(camera, Matrix(), result);
    EXPECT_FLOAT_EQ(columnLength(result, 0), 0.f);
}

TEST_F(CamboardTest, TakesTheCameraRotationAndUndoesToWorld)
{
    board->setOffset(Vec3f(0.f, 1.f, 0.f));
    Matrix toWorld;
    Quaternion q;
    q.setValueAsAxisDeg(0.f, 1.f, 0.f, 90.f);
    toWorld.setTransform(Vec3f(3.f, 0.f, -2.f), q);

    const Pnt3f from(4.f, 5.f, 6.f);
    Matrix camera;
    MatrixLookAt(camera, from, Pnt3f(0.f, 0.f, 0.f), Vec3f(0.f, 1.f, 0.f));
    Matrix local;
    board->calcCamMatrix(camera, toWorld, local);
    EXPECT_TRUE(matricesNear(board->getCurrentMatrix(), local, 0.f));

    // In the world: T(p) R_camera S(d).
    Matrix world = toWorld;
    world.mult(local);
    const Vec3f p(3.f, 1.f, -2.f);
    const Real32 d = (from - Pnt3f(p[0], p[1], p[2])).length();
    glm::mat4 cam(1.f);
    for(int c = 0; c < 3; ++c)
        for(int r = 0; r < 3; ++r)
            cam[c][r] = camera[c][r];
    const glm::mat4 expected = glm::translate(glm::mat4(1.f), glm::vec3(3.f, 1.f, -2.f)) * cam *
                               glm::scale(glm::mat4(1.f), glm::vec3(d));
    EXPECT_TRUE(matricesNear(world, expected, 1e-5f));

    // accumulateMatrix applies the current matrix.
    Matrix acc;
    board->accumulateMatrix(acc);
    EXPECT_TRUE(matricesNear(acc, local, 0.f));
}

TEST_F(CamboardTest, CustomFunctionAndTextCentre)
{
    auto declines = std::make_shared<Camboard::CalcFunc>(
        [](const Matrix &, const Matrix &, Matrix &) { return false; });
    board->setCustomCalcFunc(declines);
    const Matrix builtIn = boardFor(Pnt3f(0.f, 0.f, 8.f));
    board->setCustomCalcFunc(NULL);
    EXPECT_TRUE(matricesNear(builtIn, boardFor(Pnt3f(0.f, 0.f, 8.f)), 0.f));

    Matrix fixed;
    fixed.setTranslate(7.f, 7.f, 7.f);
    board->setCustomCalcFunc(std::make_shared<Camboard::CalcFunc>(
        [fixed](const Matrix &, const Matrix &, Matrix &r) { r = fixed; return true; }));
    EXPECT_TRUE(matricesNear(boardFor(Pnt3f(0.f, 0.f, 8.f)), fixed, 0.f));
    board->setCustomCalcFunc(NULL);

    // The text centre lands on the board's centre.
    board->setTextCenter(Vec3f(2.f, 0.5f, 0.f));
    const Matrix m = boardFor(Pnt3f(1.f, 2.f, 8.f));
    Pnt3f c;
    m.multFullMatrixPnt(Pnt3f(2.f, 0.5f, 0.f), c);
    EXPECT_NEAR(c.subZero().length(), 0.f, 1e-5f);
}

TEST_F(CamboardTest, HeadMountedBoardsFaceTheHead)
{
    // A head looking away to the side: the board faces the head, not the view direction.
    Matrix camera;
    MatrixLookAt(camera, Pnt3f(0.f, 0.f, 10.f), Pnt3f(10.f, 0.f, 10.f), Vec3f(0.f, 1.f, 0.f));
    Camboard::setCameraIsHmd(true);
    Matrix result;
    board->calcCamMatrix(camera, Matrix(), result);
    Camboard::setCameraIsHmd(false);
    Vec3f z(result[2][0], result[2][1], result[2][2]);
    z.normalize();
    EXPECT_NEAR(z.dot(Vec3f(0.f, 0.f, 1.f)), 1.f, 1e-5f);
    Vec3f y(result[1][0], result[1][1], result[1][2]);
    y.normalize();
    EXPECT_NEAR(y.dot(Vec3f(0.f, 1.f, 0.f)), 1.f, 1e-5f);
    EXPECT_FALSE(Camboard::getCameraIsHmd());

    // calcMatrix takes the camera from the shared view matrix.
    Matrix view = camera;
    view.invert();
    Camboard::setCurrentViewMatrix(view);
    Matrix viaView, direct;
    board->calcMatrix(Matrix(), viaView);
    board->calcCamMatrix(camera, Matrix(), direct);
    EXPECT_TRUE(matricesNear(viaView, direct, 1e-5f));
    Camboard::setCurrentViewMatrix(Matrix());
}

TEST_F(CamboardTest, IntersectionRunsThroughTheBoardMatrix)
{
    // A unit square in the board's space, facing +z; the board doubled and moved by the camera.
    GeometryPtr quad = scenetest::triangleGeometry(
        { Pnt3f(-1.f, -1.f, 0.f), Pnt3f(1.f, -1.f, 0.f), Pnt3f(1.f, 1.f, 0.f), Pnt3f(-1.f, 1.f, 0.f) },
        { 0, 1, 2, 0, 2, 3 });
    NodePtr root = scenetest::nodeWith(board);
    addRefCP(root);
    scenetest::addChild(root, scenetest::nodeWith(quad));
    board->setScale(0.2f);
    boardFor(Pnt3f(0.f, 0.f, 10.f));    // scale 2, facing the camera at z = 10

    IntersectAction *ia = IntersectAction::create(Line(Pnt3f(1.5f, 0.f, 10.f), Vec3f(0.f, 0.f, -1.f)));
    ia->apply(root);
    ASSERT_TRUE(ia->didHit());
    EXPECT_NEAR(ia->getHitT(), 10.f, 1e-4f);    // in the caller's units
    EXPECT_NEAR(ia->getLine().getPosition()[0], 1.5f, 1e-6f);    // line restored

    // Outside the doubled square.
    ia->setLine(Line(Pnt3f(2.5f, 0.f, 10.f), Vec3f(0.f, 0.f, -1.f)));
    ia->apply(root);
    EXPECT_FALSE(ia->didHit());
    delete ia;
    subRefCP(root);
}

TEST_F(CamboardTest, CollapsedBoardLeavesTheLineAlone)
{
    GeometryPtr tri = scenetest::triangleGeometry(
        { Pnt3f(-1.f, -1.f, 0.f), Pnt3f(1.f, -1.f, 0.f), Pnt3f(0.f, 1.f, 0.f) }, { 0, 1, 2 });
    NodePtr root = scenetest::nodeWith(board);
    addRefCP(root);
    scenetest::addChild(root, scenetest::nodeWith(tri));
    Matrix camera, result;
    board->calcCamMatrix(camera, Matrix(), result);    // camera on the board: scale 0
    IntersectAction *ia = IntersectAction::create(Line(Pnt3f(0.f, 0.f, 5.f), Vec3f(0.f, 0.f, -1.f)));
    ia->apply(root);
    EXPECT_NEAR(ia->getLine().getPosition()[2], 5.f, 0.f);
    delete ia;
    subRefCP(root);
}
