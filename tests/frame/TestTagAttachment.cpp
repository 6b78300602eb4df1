// TagAttachment: the loose generic tag rules (animation and metadata tags), the strict material
// rules, edit reporting, and the field layout seen through the factory and the binary form.

#include <OpenSGExt/OSGTagAttachment.h>

#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using namespace osg;

namespace {

typedef std::vector<std::string> Strings;

Strings list(const MFString &field)
{
    return Strings(field.begin(), field.end());
}

class TagAttachmentTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        _tags = TagAttachmentPtr::dcast(
            FieldContainerFactory::the()->createFieldContainer("TagAttachment"));
        ASSERT_NE(_tags, NullFC);
        addRefCP(_tags);
        _probe = std::make_shared<FieldContainer::ChangedFunction>(
            [this](const FieldContainerPtr &, const BitVector &mask, UInt32) {
                ++_changedCalls;
                _changedMask = mask;
            });
        _tags->addChangedFunction(_probe);
        reset();
    }
    void TearDown() override { subRefCP(_tags); }

    void reset()
    {
        Thread::getCurrentChangeList()->clearAll();
        _changedCalls = 0;
    }
    // Exactly one recorded edit with this mask, and one call of changed, since the last check.
    void expectOneEdit(const BitVector &mask)
    {
        ChangeList *list = Thread::getCurrentChangeList();
        ASSERT_EQ(list->sizeChanged(), 1u);
        EXPECT_EQ(list->getChanged()[0].first, _tags.getFieldContainerId());
        EXPECT_EQ(list->getChanged()[0].second, mask);
        EXPECT_EQ(_changedCalls, 1);
        EXPECT_EQ(_changedMask, mask);
        reset();
    }
    void expectNoEdit()
    {
        EXPECT_EQ(Thread::getCurrentChangeList()->sizeChanged(), 0u);
        EXPECT_EQ(_changedCalls, 0);
    }

    TagAttachmentPtr _tags;
    int              _changedCalls = 0;
    BitVector        _changedMask;
    FieldContainer::ChangedFunctionPtr _probe;
};

} // namespace

TEST_F(TagAttachmentTest, GenericRulesOnEachListById)
{
    const UInt32 ids[] = {TagAttachment::AnimationsFieldId, TagAttachment::MaterialsFieldId,
                          TagAttachment::MetaDataFieldId};
    for(UInt32 id : ids)
    {
        SCOPED_TRACE(id);
        const MFString &field = *static_cast<MFString *>(_tags->getField(id));
        EXPECT_TRUE(_tags->addTag(id, "a"));
        EXPECT_FALSE(_tags->addTag(id, "a"));
        EXPECT_TRUE(_tags->addTag(id, ""));         // empty accepted once
        EXPECT_FALSE(_tags->addTag(id, ""));
        EXPECT_TRUE(_tags->addTag(id, "b"));
        EXPECT_EQ(list(field), (Strings{"a", "", "b"}));

        // The replacement is not checked: empty or repeated is fine.
        EXPECT_FALSE(_tags->replaceTag(id, "missing", "x"));
        EXPECT_TRUE(_tags->replaceTag(id, "a", "b"));
        EXPECT_EQ(list(field), (Strings{"b", "", "b"}));
        EXPECT_TRUE(_tags->replaceTag(id, "b", ""));   // the first match only
        EXPECT_EQ(list(field), (Strings{"", "", "b"}));

        _tags->subTag(id, "");                         // every equal entry goes
        EXPECT_EQ(list(field), (Strings{"b"}));
        _tags->subTag(id, "missing");
        EXPECT_EQ(list(field), (Strings{"b"}));
    }
    // Each id reached its own list only.
    EXPECT_EQ(list(_tags->getAnimations()), Strings{"b"});
    EXPECT_EQ(list(_tags->getMaterials()), Strings{"b"});
    EXPECT_EQ(list(_tags->getMetaData()), Strings{"b"});
}

TEST_F(TagAttachmentTest, IdsThatAreNotTagListsAreIgnored)
{
    const UInt32 bad[] = {0u, TagAttachment::ParentsFieldId, TagAttachment::MetaFlagsFieldId,
                          TagAttachment::ConvertedToMetadataFieldId, TagAttachment::NextFieldId,
                          127u, 0xffffffffu};
    for(UInt32 id : bad)
    {
        SCOPED_TRACE(id);
        LogCapture capture;
        EXPECT_FALSE(_tags->addTag(id, "a"));
        EXPECT_FALSE(_tags->replaceTag(id, "a", "b"));
        _tags->subTag(id, "a");
        EXPECT_TRUE(capture.contains("is not a tag list"));
    }
    EXPECT_TRUE(_tags->getAnimations().empty());
    EXPECT_TRUE(_tags->getMaterials().empty());
    EXPECT_TRUE(_tags->getMetaData().empty());
    EXPECT_EQ(_tags->getMetaFlags(), 0u);
    expectNoEdit();
}

TEST_F(TagAttachmentTest, AnimationAndMetaDataWrappers)
{
    EXPECT_TRUE(_tags->addAnimationTag(""));
    EXPECT_FALSE(_tags->addAnimationTag(""));
    EXPECT_TRUE(_tags->addAnimationTag("walk"));
    EXPECT_TRUE(_tags->addMetaDataTag("walk"));
    EXPECT_TRUE(_tags->addMetaDataTag("run"));
    EXPECT_EQ(list(_tags->getAnimations()), (Strings{"", "walk"}));
    EXPECT_EQ(list(_tags->getMetaData()), (Strings{"walk", "run"}));
    EXPECT_TRUE(_tags->getMaterials().empty());

    // Same situation as the material rule below, looser outcome.
    EXPECT_TRUE(_tags->replaceAnimationTag("", "walk"));
    EXPECT_EQ(list(_tags->getAnimations()), (Strings{"walk", "walk"}));
    _tags->subAnimationTag("walk");
    EXPECT_TRUE(_tags->getAnimations().empty());

    EXPECT_TRUE(_tags->hasMetaDataTag("run"));
    EXPECT_FALSE(_tags->hasMetaDataTag("Run"));
    EXPECT_TRUE(_tags->replaceMetaDataTag("run", "sprint"));
    EXPECT_FALSE(_tags->replaceMetaDataTag("run", "x"));
    _tags->subMetaDataTag("walk");
    EXPECT_EQ(list(_tags->getMetaData()), Strings{"sprint"});
    EXPECT_FALSE(_tags->hasMetaDataTag("walk"));
}

TEST_F(TagAttachmentTest, MaterialTagsAreNonEmptyAndDistinct)
{
    EXPECT_FALSE(_tags->canAddMaterialTag(""));
    EXPECT_FALSE(_tags->addMaterialTag(""));
    EXPECT_TRUE(_tags->getMaterials().empty());
    EXPECT_TRUE(_tags->canAddMaterialTag("a"));
    EXPECT_TRUE(_tags->addMaterialTag("a"));
    EXPECT_FALSE(_tags->canAddMaterialTag("a"));
    EXPECT_FALSE(_tags->addMaterialTag("a"));
    EXPECT_TRUE(_tags->addMaterialTag("b"));
    EXPECT_TRUE(_tags->hasMaterialTag("b"));
    EXPECT_FALSE(_tags->hasMaterialTag("B"));

    // replace: old missing, new empty, new present anywhere (itself included) all refuse.
    EXPECT_FALSE(_tags->replaceMaterialTag("a", "b"));
    EXPECT_FALSE(_tags->replaceMaterialTag("a", "a"));
    EXPECT_FALSE(_tags->replaceMaterialTag("a", ""));
    EXPECT_FALSE(_tags->replaceMaterialTag("z", "c"));
    EXPECT_EQ(_tags->getMaterialTags(), (Strings{"a", "b"}));
    EXPECT_TRUE(_tags->replaceMaterialTag("a", "c"));
    EXPECT_EQ(_tags->getMaterialTags(), (Strings{"c", "b"}));

    EXPECT_TRUE(_tags->subMaterialTag("c"));
    EXPECT_FALSE(_tags->subMaterialTag("c"));
    EXPECT_EQ(_tags->getMaterialTags(), Strings{"b"});

    // getMaterialTags is a copy.
    Strings copy = _tags->getMaterialTags();
    copy.push_back("x");
    EXPECT_EQ(_tags->getMaterials().size(), 1u);

    _tags->clearMaterialTags();
    EXPECT_TRUE(_tags->getMaterials().empty());
}

TEST_F(TagAttachmentTest, MaterialTagLists)
{
    _tags->addMaterialTag("a");
    EXPECT_FALSE(_tags->canAddMaterialTags(Strings{}));
    EXPECT_FALSE(_tags->canAddMaterialTags(Strings{"", "a", ""}));
    EXPECT_TRUE(_tags->canAddMaterialTags(Strings{"a", "", "b"}));

    EXPECT_FALSE(_tags->addMaterialTags(Strings{}));
    EXPECT_FALSE(_tags->addMaterialTags(Strings{"", "a"}));
    EXPECT_EQ(_tags->getMaterialTags(), Strings{"a"});
    EXPECT_TRUE(_tags->addMaterialTags(Strings{"b", "", "a", "c", "b"}));
    EXPECT_EQ(_tags->getMaterialTags(), (Strings{"a", "b", "c"}));

    // setMaterialTags keeps the rules: empty and repeated tags are dropped, order kept.
    _tags->setMaterialTags(Strings{"z", "", "y", "z", "x", ""});
    EXPECT_EQ(_tags->getMaterialTags(), (Strings{"z", "y", "x"}));
    _tags->setMaterialTags(Strings{});
    EXPECT_TRUE(_tags->getMaterials().empty());
}

TEST_F(TagAttachmentTest, EveryChangeIsOneRecordedEditAndRefusalsAreSilent)
{
    const BitVector anim = TagAttachment::AnimationsFieldMask;
    const BitVector mat  = TagAttachment::MaterialsFieldMask;
    const BitVector meta = TagAttachment::MetaDataFieldMask;
    EXPECT_EQ(anim, BitVector(UInt64(0x08)));
    EXPECT_EQ(mat,  BitVector(UInt64(0x10)));
    EXPECT_EQ(meta, BitVector(UInt64(0x20)));

    _tags->addAnimationTag("a");               expectOneEdit(anim);
    _tags->replaceAnimationTag("a", "b");      expectOneEdit(anim);
    _tags->subAnimationTag("b");               expectOneEdit(anim);
    _tags->addMetaDataTag("m");                expectOneEdit(meta);
    _tags->replaceMetaDataTag("m", "n");       expectOneEdit(meta);
    _tags->subMetaDataTag("n");                expectOneEdit(meta);
    _tags->addMaterialTag("x");                expectOneEdit(mat);
    _tags->addMaterialTags(Strings{"y", "z"}); expectOneEdit(mat);   // one edit for the list
    _tags->replaceMaterialTag("x", "w");       expectOneEdit(mat);
    _tags->subMaterialTag("w");                expectOneEdit(mat);
    _tags->setMaterialTags(Strings{"q"});      expectOneEdit(mat);
    _tags->clearMaterialTags();                expectOneEdit(mat);

    // Refused or empty-handed operations report nothing.
    _tags->addAnimationTag("a");
    reset();
    _tags->addAnimationTag("a");
    _tags->replaceAnimationTag("missing", "x");
    _tags->replaceAnimationTag("a", "a");
    _tags->subAnimationTag("missing");
    _tags->addMaterialTag("");
    _tags->addMaterialTags(Strings{"", ""});
    _tags->replaceMaterialTag("missing", "x");
    _tags->subMaterialTag("missing");
    _tags->clearMaterialTags();
    _tags->setMaterialTags(Strings{"", ""});
    _tags->hasMaterialTag("a");
    _tags->canAddMaterialTags(Strings{"new"});
    expectNoEdit();
}

TEST_F(TagAttachmentTest, FieldLayoutAndBinaryForm)
{
    FieldContainerType *type = FieldContainerFactory::the()->findType("TagAttachment");
    ASSERT_NE(type, nullptr);
    ASSERT_NE(type->getParentType(), nullptr);
    EXPECT_STREQ(type->getParentType()->getCName(), "Attachment");
    const char *names[] = {"animations", "materials", "metaData", "metaFlags",
                           "convertedToMetadata"};
    const char *types[] = {"MFString", "MFString", "MFString", "SFUInt32", "SFBool"};
    for(UInt32 i = 0; i < 5; ++i)
    {
        const FieldDescription *desc = type->findFieldDescription(names[i]);
        ASSERT_NE(desc, nullptr) << names[i];
        EXPECT_EQ(desc->getFieldId(), 3 + i);
        EXPECT_EQ(desc->getFieldMask(), BitVector(UInt64(1) << (3 + i)));
        EXPECT_STREQ(desc->getFieldType().getCName(), types[i]);
    }

    // Default values, then the two single fields in network order, one byte per bool.
    EXPECT_EQ(_tags->getMetaFlags(), 0u);
    EXPECT_FALSE(_tags->getConvertedToMetadata());
    _tags->setMetaFlags(0x01020304u);
    _tags->setConvertedToMetadata(true);
    const BitVector mask = TagAttachment::MetaFlagsFieldMask |
                           TagAttachment::ConvertedToMetadataFieldMask;
    MemoryBinaryDataHandler out;
    _tags->copyToBin(out, mask);
    EXPECT_EQ(out.getBuffer(), (std::vector<UInt8>{0x01, 0x02, 0x03, 0x04, 0x01}));

    TagAttachmentPtr copy = TagAttachment::create();
    out.rewind();
    copy->copyFromBin(out, mask);
    EXPECT_FALSE(out.isFailed());
    EXPECT_EQ(copy->getMetaFlags(), 0x01020304u);
    EXPECT_TRUE(copy->getConvertedToMetadata());
    subRefCP(copy);
}
