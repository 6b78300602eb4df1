// osgext demo, scene part: a small named scene in the host's scene data, checked and split by the
// scene utilities, its matrices taken from the matrix cache, transform variants switched on its
// Transform3D and a switch component transform switching entries.

#include "DemoScene.h"

#include <OpenSGExt/NodeUtils.h>
#include <OpenSGExt/OSGSwitchComponentTransform.h>
#include <OpenSGExt/OSGTransformVariantsAttachment.h>
#include <OpenSGExt/OSGValuePair.h>
#include <OpenSGExt/skGeoUtils.h>
#include <OpenSGExt/skMatrixCache.h>
#include <OpenSGExt/skShellUtils.h>
#include <platform/skSceneData.h>

#include <OpenSG/OSGRefPtr.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGGeoIndicesUI32.h>
#include <OpenSG/OSGGeoPLengthsUI32.h>
#include <OpenSG/OSGGeoPTypesUI8.h>
#include <OpenSG/OSGGeoPositions3f.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGTransform3D.h>

#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace osgext {

namespace {

using namespace osg;

// The host's root for the demo's lifetime.
class SceneRoot
{
  public:
    explicit SceneRoot(const NodePtr &root) { skSceneDataManager::getSceneData()->setRoot(root); }
    ~SceneRoot() { skSceneDataManager::getSceneData()->setRoot(NullFC); }
    SceneRoot(const SceneRoot &) = delete;
    SceneRoot &operator=(const SceneRoot &) = delete;
};

std::string text(const Vec3f &v)
{
    std::ostringstream s;
    s << "(" << v[0] << ", " << v[1] << ", " << v[2] << ")";
    return s.str();
}

std::string origin(const Matrix &m)
{
    return text(Vec3f(m[3][0], m[3][1], m[3][2]));
}

// Where a point of the node's own coordinates lands in the world.
std::string worldPoint(const Matrix &toWorld, const Pnt3f &local)
{
    Pnt3f p;
    toWorld.multFull(local, p);
    return text(Vec3f(p[0], p[1], p[2]));
}

// A quad and, apart from it, a triangle: two shells, single-indexed GL_TRIANGLES.
GeometryPtr wheelGeometry(void)
{
    const Pnt3f points[] = {Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(1, 1, 0), Pnt3f(0, 1, 0),
                            Pnt3f(3, 0, 0), Pnt3f(4, 0, 0), Pnt3f(3, 1, 0)};
    const UInt32 corners[] = {0, 1, 2, 0, 2, 3, 4, 5, 6};
    GeoPositions3fPtr  pos = GeoPositions3f::create();
    GeoIndicesUI32Ptr  ind = GeoIndicesUI32::create();
    GeoPTypesUI8Ptr    typ = GeoPTypesUI8::create();
    GeoPLengthsUI32Ptr len = GeoPLengthsUI32::create();
    beginEditCP(pos);
    for(const Pnt3f &p : points)
        pos->editField().push_back(p);
    endEditCP(pos);
    beginEditCP(ind);
    for(UInt32 i : corners)
        ind->editField().push_back(i);
    endEditCP(ind);
    beginEditCP(typ);
    typ->editField().push_back(GL_TRIANGLES);
    endEditCP(typ);
    beginEditCP(len);
    len->editField().push_back(UInt32(sizeof(corners) / sizeof(corners[0])));
    endEditCP(len);

    GeometryPtr geo = Geometry::create();
    beginEditCP(geo);
    geo->setTypes(typ);
    geo->setLengths(len);
    geo->setPositions(pos);
    geo->setIndices(ind);
    geo->editMFIndexMapping()->push_back(Geometry::MapPosition);
    endEditCP(geo);
    return geo;
}

Transform3DPtr transform3D(const Vec3f &translation, const Vec3f &rotation)
{
    Transform3DPtr t = Transform3D::create();
    beginEditCP(t, Transform3D::TranslationFieldMask | Transform3D::EulerRotationFieldMask);
    t->setTranslation(translation);
    t->setEulerRotation(rotation);
    endEditCP(t, Transform3D::TranslationFieldMask | Transform3D::EulerRotationFieldMask);
    return t;
}

TransformVariantPtr variant(const std::string &name, UInt32 flags,
                            const Transform3DPtr &transformation)
{
    TransformVariantPtr v = TransformVariant::create();
    beginEditCP(v, TransformVariant::NameFieldMask | TransformVariant::ApplyFlagsFieldMask);
    v->setName(name);
    v->setApplyFlags(flags);
    endEditCP(v, TransformVariant::NameFieldMask | TransformVariant::ApplyFlagsFieldMask);
    v->setTransformation(transformation);
    return v;
}

// Writes a variant's values into the target as one edit, as a host's variant switch does.
void apply(const TransformVariantPtr &v, const Transform3DPtr &t)
{
    const BitVector mask = Transform3D::ComponentsFieldMask | Transform3D::RotationModeFieldMask;
    beginEditCP(t, mask);
    t->setTranslation(v->mixTranslation(t->getTranslation()));
    t->setEulerRotation(v->mixEulerRotation(t->getEulerRotation()));
    t->setScale(v->mixScale(t->getScale()));
    t->setScalePivot(v->mixScalePivot(t->getScalePivot()));
    t->setScalePivotTranslation(v->mixScalePivotTranslation(t->getScalePivotTranslation()));
    t->setRotatePivot(v->mixRotatePivot(t->getRotatePivot()));
    t->setEulerRotationOrientation(
        v->mixEulerRotationOrientation(t->getEulerRotationOrientation()));
    t->setRotatePivotTranslation(v->mixRotatePivotTranslation(t->getRotatePivotTranslation()));
    t->setRotationMode(v->mixRotationMode(t->getRotationMode()));
    endEditCP(t, mask);
}

std::string states(const TransformVariantsAttachmentPtr &a)
{
    std::string s = "[";
    for(Int32 i : a->getActiveStates())
        s += (s.size() > 1 ? ", " : "") + std::to_string(i);
    return s + "]";
}

bool sceneUtilities(std::ostream &out, std::ostream &err, const NodePtr &root,
                    const NodePtr &wheel, const NodePtr &broken, const NodePtr &gizmo,
                    SceneReport &report)
{
    bool ok = true;
    ChangeList *changes = Thread::getCurrentChangeList();
    if(changes != NULL)
        changes->clearAll();
    NodeUtils::setNodeFlag(gizmo, NodeUtils::NotInSceneGraphFlag, true);
    const UInt32 flagEdits = changes != NULL ? changes->sizeChanged() : 0;
    NodeUtils::setNodeFlag(gizmo, NodeUtils::NotInSceneGraphFlag, true);
    const UInt32 repeatEdits = changes != NULL ? changes->sizeChanged() - flagEdits : 0;
    out << "  setNodeFlag(gizmo, 0x1000, on): " << flagEdits << " flag edits recorded, again: "
        << repeatEdits << "\n";

    NodePtr loose = Node::create();
    RefPtr<FieldContainerPtr> holdLoose(loose);
    const NodePtr handle = gizmo->getChild(0);
    const bool inScene[3] = {NodeUtils::isScenegraphNode(wheel),
                             NodeUtils::isScenegraphNode(handle),
                             NodeUtils::isScenegraphNode(loose)};
    out << "  isScenegraphNode: wheel " << (inScene[0] ? "yes" : "no") << ", handle "
        << (inScene[1] ? "yes" : "no") << " (flagged), a loose node "
        << (inScene[2] ? "yes" : "no") << "\n";
    if(!inScene[0] || inScene[1] || inScene[2] || flagEdits != 2 || repeatEdits != 0)
    {
        err << "osgext: the scene membership or the flag edits are wrong\n";
        ok = false;
    }

    GeometryPtr good = skGeoUtils::getGeometry(wheel);
    GeometryPtr bad  = skGeoUtils::getGeometry(broken);
    report.goodMask      = skGeoUtils::checkGeometryCore(good, true);
    report.brokenMask    = skGeoUtils::checkGeometryCore(bad, true);
    report.brokenMessage = skGeoUtils::getGeometryErrorString(report.brokenMask);
    out << "  checkGeometryCore(wheel) = " << report.goodMask << " \""
        << skGeoUtils::getGeometryErrorString(report.goodMask) << "\"\n"
        << "  checkGeometryCore(broken) = " << report.brokenMask << " \""
        << report.brokenMessage << "\"\n";
    if(report.goodMask != 0 || report.brokenMask == 0)
    {
        err << "osgext: the geometry check does not tell the good geometry from the broken\n";
        ok = false;
    }

    std::vector<std::string> shells;
    skShellUtils::forShellsOfComponent(good, [&](NodePtr, GeometryPtr shell) {
        std::ostringstream s;
        const UInt32 triangles = shell->getIndices()->getSize() / 3;
        s << "shell " << shells.size() << ": " << triangles
          << (triangles == 1 ? " triangle, " : " triangles, ")
          << shell->getPositions()->getSize() << " vertices";
        shells.push_back(s.str());
    });
    report.shells = UInt32(shells.size());
    out << "  shells of wheel: " << shells.size();
    for(size_t i = 0; i < shells.size(); ++i)
        out << (i ? "; " : " (") << shells[i] << (i + 1 == shells.size() ? ")" : "");
    out << "\n";

    ValuePairPtr pairs = ValuePair::create();
    beginEditCP(good, Geometry::AttachmentsFieldMask);
    good->addAttachment(pairs);
    endEditCP(good, Geometry::AttachmentsFieldMask);
    pairs->set(skGeoUtils::CullFaceKey, "back");
    const bool oneSided = skShellUtils::isShellGeoOneSided(wheel, good);
    const bool visible  = skShellUtils::isVisibleShellComponent(wheel, good, 0);
    out << "  wheel with cullFace \"back\": front " << (skGeoUtils::isVisibleSide(good, 0) ?
                                                        "drawn" : "culled")
        << ", back " << (skGeoUtils::isVisibleSide(good, 1) ? "drawn" : "culled")
        << ", one-sided " << (oneSided ? "yes" : "no") << ", shell 0 visible "
        << (visible ? "yes" : "no") << "\n";
    if(report.shells != 2 || !oneSided || !visible)
    {
        err << "osgext: the wheel's shells or sides are wrong\n";
        ok = false;
    }

    skMatrixCache cache;
    const Matrix m = cache.getToWorld(wheel);
    const bool same = m.equals(wheel->getToWorld(), 1e-6f);
    report.cachedMatrices = UInt32(cache.size());
    report.wheelOrigin    = origin(m);
    out << "  to-world of wheel from the cache: origin at " << report.wheelOrigin << ", "
        << cache.size() << " matrices cached (wheel and its ancestors), equal to "
        << "Node::getToWorld: " << (same ? "yes" : "no") << "\n";
    if(!same || cache.size() != 3 || !cache.contains(root))
    {
        err << "osgext: the matrix cache disagrees with the scene graph\n";
        ok = false;
    }
    return ok;
}

bool transformVariants(std::ostream &out, std::ostream &err, const NodePtr &body,
                       const NodePtr &wheel, SceneReport &report)
{
    Transform3DPtr target = Transform3DPtr::dcast(body->getCore());
    TransformVariantsAttachmentPtr variants =
        TransformVariantsAttachment::createTransformVariantsAttachment(target);
    if(variants == NullFC)
    {
        err << "osgext: no transform variants attachment on the body\n";
        return false;
    }
    const UInt32 turn = TransformVariant::ApplyTranslation | TransformVariant::ApplyRotation;
    const Vec3f  down(0, 0, 1), up(0, 0, 3);
    variants->insertTransformVariant(variant("closed", turn, transform3D(down, Vec3f())), 0);
    variants->insertTransformVariant(variant("open", turn, transform3D(down, Vec3f(0, 0, 60))),
                                     1);
    variants->insertTransformVariant(
        variant("lifted", TransformVariant::ApplyTranslationZ, transform3D(up, Vec3f())), 2);
    variants->insertTransformVariant(variant("home", turn, transform3D(down, Vec3f())), 3);
    out << "\nTransform variants on \"body\" (closed 0, open 1, lifted 2, home 3 = closed):\n"
        << "  before switching: matching " << states(variants) << ", active "
        << variants->getSupposedActiveStateIndex() << "\n";

    skSceneData *scene = skSceneDataManager::getSceneData();
    skMatrixCache cache;
    bool ok = true;
    struct Step { const char *variant; Int32 expected; bool remember; };
    const Step steps[] = {{"open", 1, false}, {"lifted", 2, false}, {"closed", 0, false},
                          {"home", 3, true}};
    for(const Step &step : steps)
    {
        TransformVariantPtr v = variants->getTransformVariant(step.variant);
        apply(v, target);
        if(step.remember)
            variants->setSupposedState(variants->findTransformVariant(v));
        scene->advanceChangeStamp();
        cache.clear();
        const Int32 active = variants->getSupposedActiveStateIndex();
        out << "  apply " << step.variant << (step.remember ? " and remember it" : "")
            << ": matching " << states(variants) << ", active " << active
            << ", wheel point (1, 0, 0) at "
            << worldPoint(cache.getToWorld(wheel), Pnt3f(1, 0, 0)) << ", change stamp "
            << scene->getChangeStamp() << "\n";
        report.variantSteps.push_back(std::string(step.variant) + " -> " +
                                      std::to_string(active));
        if(active != step.expected)
        {
            err << "osgext: after applying " << step.variant << " the active variant is "
                << active << ", not " << step.expected << "\n";
            ok = false;
        }
    }
    return ok;
}

void editSwitch(const SwitchComponentTransformPtr &s, const BitVector &mask, UInt32 choice,
                const Vec3f *translation)
{
    beginEditCP(s, mask);
    if(mask & SwitchComponentTransform::ChoiceFieldMask)
        s->setChoice(choice);
    if(translation != NULL)
        s->setTranslation(*translation);
    endEditCP(s, mask);
}

bool switchTransform(std::ostream &out, std::ostream &err, const NodePtr &lamp,
                     SceneReport &report)
{
    SwitchComponentTransformPtr s = SwitchComponentTransformPtr::dcast(lamp->getCore());
    const Vec3f first(1, 0, 0), second(0, 4, 0);
    editSwitch(s, SwitchComponentTransform::TranslationFieldMask, 0, &first);
    s->addComponent();
    editSwitch(s, SwitchComponentTransform::ChoiceFieldMask, 1, NULL);
    editSwitch(s, SwitchComponentTransform::TranslationFieldMask, 0, &second);
    out << "\nSwitch component transform \"lamp\": " << s->getCount()
        << " entries, translation (1, 0, 0) stored in entry 0, (0, 4, 0) in entry 1\n";

    bool ok = true;
    skMatrixCache cache;
    for(UInt32 choice : {0u, 1u})
    {
        editSwitch(s, SwitchComponentTransform::ChoiceFieldMask, choice, NULL);
        cache.clear();
        const std::string live = text(s->getTranslation());
        out << "  choice " << choice << ": live translation " << live << ", lamp origin "
            << origin(cache.getToWorld(lamp)) << "\n";
        report.switchSteps.push_back("choice " + std::to_string(choice) + " " + live);
        if(s->getTranslation() != (choice == 0 ? first : second))
        {
            err << "osgext: choice " << choice << " did not load its entry\n";
            ok = false;
        }
    }
    return ok;
}

} // namespace

bool runSceneDemo(std::ostream &out, std::ostream &err, SceneReport &report)
{
    GroupPtr rootCore = Group::create();
    NodePtr root = NodeUtils::createNodeWithCore(rootCore, NullFC, "scene");
    if(root == NullFC)
    {
        err << "osgext: cannot create the scene root\n";
        return false;
    }
    RefPtr<FieldContainerPtr> holdRoot(root);
    SceneRoot sceneRoot(root);

    NodePtr body   = NodeUtils::createNodeWithCore(transform3D(Vec3f(0, 0, 1), Vec3f()), root,
                                                   "body");
    NodePtr wheel  = NodeUtils::createNodeWithCore(wheelGeometry(), body, "wheel");
    GeometryPtr brokenGeo = wheelGeometry();
    beginEditCP(brokenGeo, Geometry::LengthsFieldMask | Geometry::PositionsFieldMask);
    brokenGeo->setLengths(NullFC);
    brokenGeo->setPositions(NullFC);
    endEditCP(brokenGeo, Geometry::LengthsFieldMask | Geometry::PositionsFieldMask);
    NodePtr broken = NodeUtils::createNodeWithCore(brokenGeo, body, "broken");
    NodePtr lamp   = NodeUtils::createNodeWithCore(SwitchComponentTransform::create(), root,
                                                   "lamp");
    NodePtr gizmo  = NodeUtils::createNodeWithCore(Group::create(), root, "gizmo");
    NodePtr handle = NodeUtils::createNodeWithCore(Group::create(), gizmo, "handle");
    if(body == NullFC || wheel == NullFC || broken == NullFC || lamp == NullFC ||
       gizmo == NullFC || handle == NullFC)
    {
        err << "osgext: cannot build the demo scene\n";
        return false;
    }

    out << "\nScene utilities, on a scene set as the host's root:\n  nodes:";
    const NodePtr all[] = {root, body, wheel, broken, lamp, gizmo, handle};
    for(const NodePtr &n : all)
        out << " " << NodeUtils::getName(n) << (n == root ? "" : "<" +
               std::string(NodeUtils::getName(n->getParent())) + ">");
    out << "\n";
    report.nodes = UInt32(sizeof(all) / sizeof(all[0]));

    bool ok = sceneUtilities(out, err, root, wheel, broken, gizmo, report);
    ok = transformVariants(out, err, body, wheel, report) && ok;
    ok = switchTransform(out, err, lamp, report) && ok;
    return ok;
}

} // namespace osgext
