// A host program written against the OpenSG 1.x API the usual way: its includes, the change-list
// default before osgInit, edits inside begin/endEditCP, RefPtr ownership, geometry from property
// containers, a walk over the change list and the log routed into its buffer. It must build and
// run against the kernel without changes; it exits non-zero when something behaves differently.

#include <OpenSG/OSGConfig.h>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGeoProperty.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGRefPtr.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGThread.h>
#include <OpenSG/OSGTransform.h>

#include <cstdio>
#include <iostream>
#include <string>

OSG_USING_NAMESPACE

namespace {

int failures = 0;

void check(bool condition, const char *what)
{
    if(!condition)
    {
        std::cerr << "compat: FAILED: " << what << std::endl;
        ++failures;
    }
}

std::string logged;

void collectLog(const Char8 *data, Int32 size, void *)
{
    logged.append(data, std::string::size_type(size));
}

NodePtr makeTriangle(void)
{
    GeoPTypesPtr type = GeoPTypesUI8::create();
    beginEditCP(type, GeoPTypesUI8::GeoPropDataFieldMask);
    type->addValue(GL_TRIANGLES);
    endEditCP(type, GeoPTypesUI8::GeoPropDataFieldMask);

    GeoPLengthsPtr lens = GeoPLengthsUI32::create();
    beginEditCP(lens, GeoPLengthsUI32::GeoPropDataFieldMask);
    lens->addValue(3);
    endEditCP(lens, GeoPLengthsUI32::GeoPropDataFieldMask);

    GeoPositions3fPtr pnts = GeoPositions3f::create();
    beginEditCP(pnts, GeoPositions3f::GeoPropDataFieldMask);
    pnts->addValue(Pnt3f(0, 0, 0));
    pnts->addValue(Pnt3f(1, 0, 0));
    pnts->addValue(Pnt3f(0, 1, 0));
    endEditCP(pnts, GeoPositions3f::GeoPropDataFieldMask);

    GeometryPtr geo = Geometry::create();
    beginEditCP(geo, Geometry::TypesFieldMask | Geometry::LengthsFieldMask |
                     Geometry::PositionsFieldMask);
    geo->setTypes(type);
    geo->setLengths(lens);
    geo->setPositions(pnts);
    endEditCP(geo, Geometry::TypesFieldMask | Geometry::LengthsFieldMask |
                   Geometry::PositionsFieldMask);

    NodePtr node = Node::create();
    beginEditCP(node, Node::CoreFieldMask);
    node->setCore(geo);
    endEditCP(node, Node::CoreFieldMask);
    return node;
}

} // namespace

int main(int argc, char **argv)
{
    ChangeList::setReadWriteDefault();
    osgInit(argc, argv);

    osgLog().setLogType(LOG_BUFFER);
    osgLog().getLogBuf().setCallback(collectLog, NULL);

    {
        NodeRefPtr root(Node::create());
        TransformPtr xform = Transform::create();
        Matrix m;
        m.setTranslate(1, 2, 3);
        beginEditCP(xform, Transform::MatrixFieldMask);
        xform->setMatrix(m);
        endEditCP(xform, Transform::MatrixFieldMask);

        beginEditCP(root, Node::CoreFieldMask | Node::ChildrenFieldMask);
        root->setCore(xform);
        root->addChild(makeTriangle());
        endEditCP(root, Node::CoreFieldMask | Node::ChildrenFieldMask);
        setName(root, "root");

        check(root->getNChildren() == 1, "the root has its child");
        check(getName(root) != NULL && std::string(getName(root)) == "root", "the name is set");
        check(root.get().getRefCount() == 1, "the RefPtr holds the one reference");

        GeometryPtr geo = GeometryPtr::dcast(root->getChild(0)->getCore());
        check(geo != NullFC, "the child's core is a Geometry");
        check(geo != NullFC && geo->getPositions()->getSize() == 3, "three positions");

        root->updateVolume();
        Pnt3f lo, hi;
        root->getVolume().getBounds(lo, hi);
        check(lo == Pnt3f(1, 2, 3) && hi == Pnt3f(2, 3, 3), "the volume in the root's space");

        // The change list holds the creations and the edits, as a host's sync loop reads them.
        ChangeList *list = Thread::getCurrentChangeList();
        check(list != NULL && !list->isReadOnly(), "the application thread records");
        UInt32 rootEdits = 0;
        for(ChangeList::changed_const_iterator it = list->beginChanged();
            it != list->endChanged(); ++it)
        {
            if(it->first == root.get().getFieldContainerId())
                ++rootEdits;
        }
        check(rootEdits >= 1, "the root's edit is in the change list");
        check(list->sizeCreated() >= 8, "the created containers are in the change list");
        list->clearAll();

        FieldContainerPtr byName =
            FieldContainerFactory::the()->createFieldContainer("Group");
        check(GroupPtr::dcast(byName) != NullFC, "the factory creates by name");
        addRefCP(byName);
        subRefCP(byName);

        SWARNING << "compat: a logged warning" << std::endl;
    }

    osgLog().getLogBuf().removeCallback();
    osgLog().setLogType(LOG_STDERR);
    check(logged.find("compat: a logged warning") != std::string::npos,
          "the log buffer's callback receives the message");

    osgExit();
    if(failures == 0)
        std::cout << "compat: ok" << std::endl;
    return failures == 0 ? 0 : 1;
}
