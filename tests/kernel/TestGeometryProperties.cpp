// Geometry property containers: ownership and parents, slots, value conversions, materials.

#include "kernel/GeometryTestSupport.h"

#include <OpenSG/OSGChunkMaterial.h>
#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGSHLChunk.h>
#include <OpenSG/OSGGeoNormals3b.h>
#include <OpenSG/OSGGeoNormals3s.h>
#include <OpenSG/OSGGeoColors3ub.h>
#include <OpenSG/OSGGeoColors4ub.h>
#include <OpenSG/OSGGeoPositions2f.h>
#include <OpenSG/OSGGeoPositions4f.h>
#include <OpenSG/OSGGeoTexCoords1f.h>
#include <OpenSG/OSGGeoTexCoords4f.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

using namespace osg;
using namespace geotest;

namespace {

bool alive(UInt32 id)
{
    return FieldContainerFactory::the()->getContainer(id) != NullFC;
}

// The reference count and how often parent is listed among the parents.
std::pair<Int32, Int32> refsAndEntries(const AttachmentPtr &p, const FieldContainerPtr &parent)
{
    Int32 n = 0;
    for(const FieldContainerPtr &fc : p->getParents())
        n += fc == parent ? 1 : 0;
    return {p.getRefCount(), n};
}

typedef std::pair<Int32, Int32> P;

} // namespace

TEST(GeometryOwnership, SlotsReferenceTheirPropertiesAndListTheGeometryAsParent)
{
    GeometryPtr geo = Geometry::create();
    addRefCP(geo);
    GeoPositions3fPtr pos = numberedPositions(3);
    GeoTexCoords2fPtr tex = GeoTexCoords2f::create();
    UInt32 posId = pos.getFieldContainerId();
    edit(geo, FieldBits::AllFields, [&] {
        geo->setPositions(pos);
        geo->setTexCoords(tex);
        geo->setTexCoords3(tex);   // one property in two slots: two references, two entries
    });
    EXPECT_EQ(refsAndEntries(pos, geo), P(1, 1));
    EXPECT_EQ(refsAndEntries(tex, geo), P(2, 2));
    EXPECT_EQ(geo->findPropertySlots(tex.getCPtr()),
              Geometry::TexCoordsFieldMask | Geometry::TexCoords3FieldMask);

    // Setting the same property again changes nothing; a shallow copy shares and references.
    geo->setPositions(pos);                         EXPECT_EQ(pos.getRefCount(), 1);
    GeometryPtr copy = GeometryPtr::dcast(geo->shallowCopy());
    addRefCP(copy);                                 EXPECT_EQ(refsAndEntries(pos, copy), P(2, 1));
    subRefCP(copy);                                 EXPECT_EQ(refsAndEntries(pos, copy), P(1, 0));

    // Replacing releases the old one (destroyed with its last reference).
    GeoPositions3fPtr other = numberedPositions(4);
    geo->setPositions(other);                       EXPECT_FALSE(alive(posId));
    geo->setTexCoords3(NullFC);                     EXPECT_EQ(refsAndEntries(tex, geo), P(1, 1));

    // Destroying the geometry releases every slot and the material.
    ChunkMaterialPtr mat = ChunkMaterial::create();
    addRefCP(tex);
    geo->setMaterial(mat);
    EXPECT_EQ(mat.getRefCount(), 1);
    UInt32 otherId = other.getFieldContainerId(), matId = mat.getFieldContainerId();
    subRefCP(geo);
    EXPECT_FALSE(alive(otherId));
    EXPECT_FALSE(alive(matId));
    EXPECT_EQ(tex.getRefCount(), 1);
    EXPECT_TRUE(tex->getParents().empty());
    subRefCP(tex);
}

TEST(GeometryOwnership, LoadedSlotsTakeTheirReferencesWhenTheLoaderSaysSo)
{
    Pool held;
    GeometryPtr source = held(makeGeometry({ GL_TRIANGLES }, { 3 }, 3));
    const BitVector mask = Geometry::TypesFieldMask | Geometry::PositionsFieldMask |
                           Geometry::LengthsFieldMask;
    MemoryBinaryDataHandler out;
    source->copyToBin(out, mask);
    GeometryPtr loaded = Geometry::createEmpty();
    addRefCP(loaded);
    MemoryBinaryDataHandler in(out.getBuffer().data(), out.getBuffer().size());
    beginEditCP(loaded, mask);
    loaded->copyFromBin(in, mask);
    endEditCP(loaded, mask, ChangedOrigin::Abstract | ChangedOrigin::AbstrIncRefCount);

    GeoPositionsPtr pos = source->getPositions();
    EXPECT_EQ(loaded->getPositions(), pos);
    EXPECT_EQ(refsAndEntries(pos, loaded), P(2, 1));
    subRefCP(loaded);
    EXPECT_EQ(pos.getRefCount(), 1);
}

TEST(GeometrySlots, TexSlotRoutesUnitsAndRefusesOthers)
{
    Pool held;
    GeometryPtr geo = held(Geometry::create());
    std::vector<GeoTexCoords2fPtr> sets;
    for(UInt32 unit = 0; unit < 8; ++unit)
    {
        sets.push_back(GeoTexCoords2f::create());
        geo->setTexSlot(unit, sets.back());
        EXPECT_EQ(geo->getTexCoords(unit), sets[unit]) << unit;
        EXPECT_EQ(geo->getProperty(Geometry::texCoordsMapBit(unit)),
                  static_cast<GeoPropertyArrayInterface *>(sets[unit].getCPtr()));
    }
    EXPECT_EQ(geo->getTexCoords(), sets[0]);
    EXPECT_EQ(geo->getTexCoords7(), sets[7]);

    LogCapture capture;
    GeoTexCoords2fPtr extra = held(GeoTexCoords2f::create());
    geo->setTexSlot(8, extra);
    EXPECT_TRUE(capture.contains("texture unit 8"));
    EXPECT_EQ(extra.getRefCount(), 1);
    EXPECT_TRUE(extra->getParents().empty());
    EXPECT_EQ(geo->getTexCoords(8), NullFC);
    // A property of the wrong kind does not fit a slot.
    EXPECT_FALSE(geo->setPropertySlot(Geometry::PositionsFieldId, extra));
    EXPECT_TRUE(capture.contains("does not fit"));
    EXPECT_EQ(geo->getPositions(), NullFC);

    geo->setTexSlot(2, NullFC);
    EXPECT_EQ(geo->getTexCoords2(), NullFC);
    EXPECT_EQ(geo->getProperty(Geometry::MapTexCoords2), nullptr);
    EXPECT_EQ(geo->getProperty(Geometry::MapEmpty), nullptr);
}

TEST(GeometrySlots, CalcMappingIndexScansFromTheLastEntry)
{
    Pool held;
    GeometryPtr geo = held(Geometry::create());
    EXPECT_EQ(geo->calcMappingIndex(Geometry::MapPosition), -1);
    MFUInt16 &mapping = *geo->editMFIndexMapping();
    mapping.push_back(Geometry::MapPosition | Geometry::MapNormal);
    mapping.push_back(Geometry::MapTexCoords);
    mapping.push_back(Geometry::MapNormal | Geometry::MapColor);
    EXPECT_EQ(geo->calcMappingIndex(Geometry::MapPosition), 0);
    EXPECT_EQ(geo->calcMappingIndex(Geometry::MapNormal), 2);     // the later entry wins
    EXPECT_EQ(geo->calcMappingIndex(Geometry::MapTexCoords | Geometry::MapPosition), 1);
    EXPECT_EQ(geo->calcMappingIndex(Geometry::MapTexCoords1), -1);
    EXPECT_EQ(geo->calcMappingIndex(0), -1);
}

TEST(GeometryProperties, ValuesConvertToAndFromTheGenericTypes)
{
    Pool held;
    GeoNormals3bPtr nb = held(GeoNormals3b::create());
    nb->editField().push_back(Vec3b(127, -128, 0));
    EXPECT_EQ(nb->getValue(0), Vec3f(1.f, -1.f, 1.f / 255.f));
    nb->addValue(Vec3f(0.5f, -0.5f, 3.f));    // trunc(63.25), trunc(-64.25), saturated
    EXPECT_EQ(nb->getField()[1], Vec3b(63, -64, 127));
    nb->setValue(Vec3f(1.f, -1.f, 0.f), 0);
    EXPECT_EQ(nb->getField()[0], Vec3b(127, -128, 0));

    GeoNormals3sPtr ns = held(GeoNormals3s::create());
    ns->addValue(Vec3f(1.f, -1.f, 0.25f));
    EXPECT_EQ(ns->getField()[0], Vec3s(32767, -32768, 8191));
    EXPECT_FLOAT_EQ(ns->getValue(0)[2], (2.f * 8191.f + 1.f) / 65535.f);

    GeoColors3ubPtr cub = held(GeoColors3ub::create());
    cub->addValue(Color3f(1.f, 0.5f, -1.f));
    EXPECT_EQ(cub->getField()[0], Color3ub(255, 127, 0));
    EXPECT_FLOAT_EQ(cub->getValue(0)[1], 127.f / 255.f);
    GeoColors4ubPtr c4 = held(GeoColors4ub::create());
    c4->editField().push_back(Color4ub(0, 51, 255, 17));
    EXPECT_EQ(c4->getValue(0), Color3f(0.f, 0.2f, 1.f));

    // Float kinds copy the common components and zero the rest.
    GeoPositions2fPtr p2 = held(GeoPositions2f::create());
    p2->addValue(Pnt3f(1.f, 2.f, 3.f));
    EXPECT_EQ(p2->getField()[0], Pnt2f(1.f, 2.f));
    EXPECT_EQ(p2->getValue(0), Pnt3f(1.f, 2.f, 0.f));
    GeoPositions4fPtr p4 = held(GeoPositions4f::create());
    p4->addValue(Pnt3f(1.f, 2.f, 3.f));
    EXPECT_EQ(p4->getField()[0], Pnt4f(1.f, 2.f, 3.f, 0.f));
    GeoTexCoords1fPtr t1 = held(GeoTexCoords1f::create());
    t1->addValue(Vec2f(0.25f, 0.75f));
    EXPECT_EQ(t1->getField()[0], 0.25f);
    EXPECT_EQ(t1->getValue(0), Vec2f(0.25f, 0.f));

    // Raw access describes the packed array.
    GeoTexCoords4fPtr t4 = held(GeoTexCoords4f::create());
    t4->resize(2);
    EXPECT_EQ(t4->getElementSize(), 16u);
    reinterpret_cast<Real32 *>(t4->editData())[5] = 7.f;
    EXPECT_EQ(t4->getField()[1], Vec4f(0.f, 7.f, 0.f, 0.f));
}

TEST(GeometryProperties, BadIndicesAndNarrowValuesAreReportedAndHarmless)
{
    Pool held;
    GeoPositions3fPtr pos = held(numberedPositions(2));
    LogCapture capture;
    EXPECT_EQ(pos->getValue(2), Pnt3f());
    EXPECT_TRUE(capture.contains("index 2"));
    pos->setValue(Pnt3f(9.f, 9.f, 9.f), 5);
    EXPECT_EQ(pos->getSize(), 2u);
    EXPECT_EQ(capture.count(), 2u);

    GeoIndicesUI16Ptr ind = held(GeoIndicesUI16::create());
    ind->addValue(70000);
    EXPECT_EQ(ind->getField()[0], 65535);
    EXPECT_TRUE(capture.contains("saturated"));
    ind->addValue(12);
    EXPECT_EQ(ind->getValue(1), 12u);
}

TEST(GeometryProperties, CloneCopiesValuesWithoutParentsAndChangesReachTheGeometry)
{
    Pool held;
    GeometryPtr geo = makeGeometry({ GL_TRIANGLES }, { 3 }, 3);
    GeoPositionsPtr pos = geo->getPositions();
    GeoPositionsPtr copy = held(pos->clone());
    EXPECT_EQ(copy->getType().getName(), std::string("GeoPositions3f"));
    EXPECT_EQ(GeoPositions3fPtr::dcast(copy)->getField(),
              GeoPositions3fPtr::dcast(pos)->getField());
    EXPECT_TRUE(copy->getParents().empty());

    // Editing a property's values invalidates the volume of the nodes using the geometry.
    NodePtr node = held(nodeWith(geo));
    int invalidations = 0;
    geo->setInvalidateVolumeCacheCB([&](const GeometryPtr &g) {
        EXPECT_EQ(g, geo);
        ++invalidations;
    });
    EXPECT_TRUE(node->getVolume(true).isValid());
    edit(pos, GeoPositions3f::PositionsFieldMask, [&] { pos->setValue(Pnt3f(5, 5, 5), 1); });
    EXPECT_EQ(invalidations, 1);
    EXPECT_FALSE(node->getVolume().isValid());
    Pnt3f lo, hi;
    node->getVolume(true).getBounds(lo, hi);
    EXPECT_EQ(hi, Pnt3f(5.f, 5.f, 5.f));
    // Parents-only edits are bookkeeping, not changes of the geometry.
    edit(pos, Attachment::ParentsFieldMask, [] {});
    EXPECT_EQ(invalidations, 1);
}

TEST(GeometryProperties, UnshareAndSeparateGiveSharedSlotsTheirOwnCopies)
{
    Pool held;
    GeometryPtr a = held(makeGeometry({ GL_TRIANGLES }, { 3 }, 3));
    GeometryPtr b = held(makeGeometry({ GL_TRIANGLES }, { 3 }, 3));
    GeoPositionsPtr shared = a->getPositions();
    edit(b, Geometry::PositionsFieldMask, [&] { b->setPositions(shared); });
    GeoPTypesPtr ownTypes = a->getTypes();
    std::vector<std::string> before = triangleDump(a, true);

    separateProperties(a);
    EXPECT_NE(a->getPositions(), shared);
    EXPECT_EQ(b->getPositions(), shared);
    EXPECT_EQ(a->getTypes(), ownTypes);
    EXPECT_EQ(shared.getRefCount(), 1);
    EXPECT_EQ(triangleDump(a, true), before);

    edit(a, Geometry::PositionsFieldMask, [&] { a->setPositions(shared); });
    b->unshareProperties();
    EXPECT_NE(b->getPositions(), shared);
    EXPECT_EQ(a->getPositions(), shared);
    EXPECT_EQ(shared.getRefCount(), 1);

    LogCapture capture;
    separateProperties(NullFC);
    EXPECT_TRUE(capture.contains("no geometry"));
}

TEST(ChunkMaterialTest, ChunksAreReferencedOncePerClassAndDecideTransparency)
{
    Pool held;
    ChunkMaterialPtr mat = ChunkMaterial::create();
    addRefCP(mat);
    SHLChunkPtr first = SHLChunk::create(), second = held(SHLChunk::create());
    UInt32 firstId = first.getFieldContainerId();

    EXPECT_TRUE(mat->addChunk(first));
    EXPECT_TRUE(mat->addChunk(first));
    EXPECT_EQ(mat->getChunks().size(), 1u);
    EXPECT_EQ(first.getRefCount(), 1);
    EXPECT_EQ(mat->find(*first->getClass()), first);
    EXPECT_TRUE(mat->addChunk(second));   // same class: replaces
    EXPECT_FALSE(alive(firstId));
    EXPECT_EQ(mat->getChunks().size(), 1u);
    EXPECT_EQ(second.getRefCount(), 2);
    EXPECT_FALSE(mat->isTransparent());
    mat->setTransparencyMode(Material::TransparencyForceTransparent);
    EXPECT_TRUE(mat->isTransparent());

    LogCapture capture;
    EXPECT_FALSE(mat->addChunk(NullFC));
    EXPECT_FALSE(mat->subChunk(NullFC));
    EXPECT_TRUE(mat->subChunk(second));             EXPECT_EQ(second.getRefCount(), 1);
    EXPECT_FALSE(mat->subChunk(second));
    mat->addChunk(second);
    subRefCP(mat);                                  EXPECT_EQ(second.getRefCount(), 1);
}

TEST(GeoTexCoordsWide, ThreeAndFourComponentReadsPadWithZeroAndDropTheSurplus)
{
    GeoTexCoords2fPtr two = makeProperty<GeoTexCoords2fPtr>({ Vec2f(1.f, 2.f) });
    GeoTexCoords4fPtr four = GeoTexCoords4f::create();
    beginEditCP(four);
    four->editField().push_back(Vec4f(5.f, 6.f, 7.f, 8.f));
    endEditCP(four);
    addRefCP(two);
    addRefCP(four);
    EXPECT_EQ(two->getValue3f(0), Vec3f(1.f, 2.f, 0.f));
    EXPECT_EQ(two->getValue4f(0), Vec4f(1.f, 2.f, 0.f, 0.f));
    EXPECT_EQ(four->getValue3f(0), Vec3f(5.f, 6.f, 7.f));
    EXPECT_EQ(four->getValue4f(0), Vec4f(5.f, 6.f, 7.f, 8.f));
    LogCapture capture;
    EXPECT_EQ(four->getValue4f(1), Vec4f(0.f, 0.f, 0.f, 0.f));
    EXPECT_TRUE(capture.contains("beyond"));
    subRefCP(two);
    subRefCP(four);
}
