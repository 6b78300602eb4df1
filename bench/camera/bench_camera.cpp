// getProjection plus getViewing of a PerspectiveCamera2 (setting with a principal-point offset,
// roll and a look-at placement) against building the same kind of matrices with glm
// (glm::frustum for the off-axis projection, glm::lookAt and a roll rotation for the viewing).
// Each iteration is one projection and one viewing matrix.

#include "support/BenchSupport.h"

#include <OpenSGExt/OSGPerspectiveCamera2.h>
#include <OpenSGExt/skCameraModel.h>

#include <benchmark/benchmark.h>
#include <glm/glm.hpp>
#include <glm/gtc/matrix_transform.hpp>

#include <cmath>

using namespace osg;

namespace {

PerspectiveCamera2Ptr makeCamera(void)
{
    PerspectiveCamera2Ptr cam = PerspectiveCamera2::create();
    addRefCP(cam);
    CameraSettingPtr s = CameraSetting::create();
    cam->setCameraSetting(s);
    beginEditCP(s);
    s->setUseTransformBeacon(true);
    s->setFrom(Pnt3f(6.f, 2.f, 8.f));
    s->setAt(Pnt3f(0.f, 0.5f, 0.f));
    s->setNearClippingPlane(0.1f);
    s->setFarClippingPlane(1000.f);
    s->setPrincipalPointOffset(Vec2f(0.5f, -0.25f));
    s->setRoll(10.f);
    endEditCP(s);
    return cam;
}

void BM_Camera2_ProjectionViewing(benchmark::State &state)
{
    PerspectiveCamera2Ptr cam = makeCamera();
    Matrix p, v;
    UInt32 w = 1920;
    for(auto _ : state)
    {
        cam->getProjection(p, w, 1080, -1, false);
        cam->getViewing(v, w, 1080, -1);
        benchmark::DoNotOptimize(p);
        benchmark::DoNotOptimize(v);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations()));
    subRefCP(cam);
}

void BM_Model_Projection(benchmark::State &state)
{
    skCameraModel::Lens lens;
    lens.principalPointOffset = Vec2f(0.5f, -0.25f);
    Matrix p;
    for(auto _ : state)
    {
        skCameraModel::projection(p, lens, 1920.f, 1080.f, 0.1f, 1000.f, false);
        benchmark::DoNotOptimize(p);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations()));
}

void BM_Glm_ProjectionViewing(benchmark::State &state)
{
    // The same camera: vertical opening pi / 4 on a 36 x 24 sensor, offset 0.5, -0.25 sensor
    // units (45 pixels per unit at 1080), roll 10 degrees.
    const float fov = 0.7853982f, n = 0.1f, f = 1000.f;
    volatile float w = 1920.f;
    const glm::vec3 eye(6.f, 2.f, 8.f), center(0.f, 0.5f, 0.f), up(0.f, 1.f, 0.f);
    glm::mat4 p, v;
    for(auto _ : state)
    {
        const float h = 1080.f, t = n * std::tan(fov / 2.f), r = t * w / h;
        const float dx = 2.f * 0.5f * 45.f / w * r, dy = 2.f * 0.25f * 45.f / h * t;
        p = glm::frustum(-r + dx, r + dx, -t - dy, t - dy, n, f);
        v = glm::rotate(glm::mat4(1.f), glm::radians(-10.f), glm::vec3(0.f, 0.f, 1.f)) *
            glm::lookAt(eye, center, up);
        benchmark::DoNotOptimize(p);
        benchmark::DoNotOptimize(v);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations()));
}

} // namespace

BENCHMARK(BM_Camera2_ProjectionViewing);
BENCHMARK(BM_Model_Projection);
BENCHMARK(BM_Glm_ProjectionViewing);

SKBENCH_REPORT([](std::ostream &os, const skbench::Results &r) {
    const char *cam = "BM_Camera2_ProjectionViewing", *glm = "BM_Glm_ProjectionViewing";
    if(!r.has(cam) || !r.has(glm))
        return;
    // Rates from CPU time (Google Benchmark's items_per_second), which a loaded machine
    // disturbs less than wall time; the wall-time ratio beside them.
    const double camRate = r.itemsPerSecond.count(cam) ? r.itemsPerSecond.at(cam) : 0.0;
    const double glmRate = r.itemsPerSecond.count(glm) ? r.itemsPerSecond.at(glm) : 0.0;
    os << "camera: PerspectiveCamera2 getProjection + getViewing " << camRate * 1e-6
       << " million pairs/s, glm " << glmRate * 1e-6 << " million pairs/s (CPU time; glm "
       << (camRate > 0.0 ? glmRate / camRate : 0.0) << "x as fast); wall-time ratio camera / glm "
       << r.ratio(cam, glm) << "\n";
});
