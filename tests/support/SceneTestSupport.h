// Small scene and geometry builders for the scene-utility tests.
#ifndef SKOSG_TESTS_FRAME_SCENETESTSUPPORT_H
#define SKOSG_TESTS_FRAME_SCENETESTSUPPORT_H

#include <OpenSGExt/OSGValuePair.h>

#include <OpenSG/OSGGeoIndicesUI32.h>
#include <OpenSG/OSGGeoNormals3f.h>
#include <OpenSG/OSGGeoPLengthsUI32.h>
#include <OpenSG/OSGGeoPTypesUI8.h>
#include <OpenSG/OSGGeoPositions3f.h>
#include <OpenSG/OSGGeoTexCoords2f.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGChangeList.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace scenetest {

using namespace osg;

// Watches one container: its edits recorded in the thread's change list and the calls of its
// changed functions. Construction starts with a clean change list.
class EditProbe
{
  public:
    explicit EditProbe(const FieldContainerPtr &fc) : _fc(fc)
    {
        _fc->addChangedFunction(_fn);
        reset();
    }
    void reset()
    {
        Thread::getCurrentChangeList()->clearAll();
        _calls = 0;
    }
    // Exactly one recorded edit with this mask, and one call of changed, since the last reset.
    void expectOneEdit(const BitVector &mask)
    {
        ChangeList *list = Thread::getCurrentChangeList();
        ASSERT_EQ(list->sizeChanged(), 1u);
        EXPECT_EQ(list->getChanged()[0].first, _fc.getFieldContainerId());
        EXPECT_EQ(list->getChanged()[0].second, mask);
        EXPECT_EQ(_calls, 1);
        EXPECT_EQ(_mask, mask);
        reset();
    }
    void expectNoEdit() const
    {
        EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 0u);
        EXPECT_EQ(_calls, 0);
    }

  private:
    FieldContainerPtr _fc;
    int               _calls = 0;
    BitVector         _mask;
    // Held here: containers keep their changed functions weakly.
    FieldContainer::ChangedFunctionPtr _fn = std::make_shared<FieldContainer::ChangedFunction>(
        [this](const FieldContainerPtr &, const BitVector &mask, UInt32) {
            ++_calls;
            _mask = mask;
        });
};

// A new property of type PropT holding the values.
template <class PropT, class ValueT>
typename PropT::Ptr property(const std::vector<ValueT> &values)
{
    typename PropT::Ptr p = PropT::create();
    beginEditCP(p);
    for(const ValueT &v : values)
        p->editField().push_back(v);
    endEditCP(p);
    return p;
}

typedef std::vector<Pnt3f>  Points;
typedef std::vector<UInt32> Ints;

inline GeoPositions3fPtr  positions(const Points &v) { return property<GeoPositions3f>(v);  }
inline GeoIndicesUI32Ptr  indices  (const Ints &v)   { return property<GeoIndicesUI32>(v);  }
inline GeoPLengthsUI32Ptr lengths  (const Ints &v)   { return property<GeoPLengthsUI32>(v); }
inline GeoPTypesUI8Ptr types(const std::vector<UInt8> &v) { return property<GeoPTypesUI8>(v); }
inline GeoNormals3fPtr normals(const std::vector<Vec3f> &v) { return property<GeoNormals3f>(v); }
inline GeoTexCoords2fPtr texCoords(const std::vector<Vec2f> &v)
{
    return property<GeoTexCoords2f>(v);
}

// A single-indexed GL_TRIANGLES geometry: one primitive over all indices, mapping {MapPosition}.
inline GeometryPtr triangleGeometry(const std::vector<Pnt3f>  &pos,
                                    const std::vector<UInt32> &idx)
{
    GeometryPtr geo = Geometry::create();
    beginEditCP(geo);
    geo->setTypes(types({GL_TRIANGLES}));
    geo->setLengths(lengths({UInt32(idx.size())}));
    geo->setPositions(positions(pos));
    geo->setIndices(indices(idx));
    geo->editMFIndexMapping()->push_back(Geometry::MapPosition);
    endEditCP(geo);
    return geo;
}

inline NodePtr nodeWith(const NodeCorePtr &core)
{
    NodePtr node = Node::create();
    beginEditCP(node, Node::CoreFieldMask);
    node->setCore(core);
    endEditCP(node, Node::CoreFieldMask);
    return node;
}

inline NodePtr groupNode(void)
{
    return nodeWith(Group::create());
}

inline void addChild(const NodePtr &parent, const NodePtr &child)
{
    beginEditCP(parent, Node::ChildrenFieldMask);
    parent->addChild(child);
    endEditCP(parent, Node::ChildrenFieldMask);
}

// Gives a container a ValuePair with the cull key, as the scene metadata carries it.
inline void setCullFace(const AttachmentContainerPtr &container, const std::string &value)
{
    ValuePairPtr pairs =
        ValuePairPtr::dcast(container->findAttachment(ValuePair::getClassType()));
    if(pairs == NullFC)
    {
        pairs = ValuePair::create();
        beginEditCP(container, AttachmentContainer::AttachmentsFieldMask);
        container->addAttachment(pairs);
        endEditCP(container, AttachmentContainer::AttachmentsFieldMask);
    }
    pairs->set("cullFace", value);
}

} // namespace scenetest

#endif
