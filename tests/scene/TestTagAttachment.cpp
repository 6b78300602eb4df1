// TagAttachment: the loose generic tag rules (animation and metadata tags), the strict material
// rules, edit reporting, and the field layout seen through the factory and the binary form.

#include "support/SceneTestSupport.h"

#include <OpenSGExt/OSGTagAttachment.h>

#include <OpenSG/OSGRefPtr.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace osg;
using namespace scenetest;

namespace {

typedef std::vector<std::string> Strings;

// The tags joined by commas.
std::string join(const MFString &field)
{
    std::string s;
    for(UInt32 i = 0; i < field.size(); ++i)
        s += (i != 0 ? "," : "") + field[i];
    return s;
}

class TagAttachmentTest : public ::testing::Test
{
  protected:
    TagAttachmentPtr _tags = TagAttachmentPtr::dcast(
        FieldContainerFactory::the()->createFieldContainer("TagAttachment"));
    RefPtr<FieldContainerPtr>      _hold{_tags};
    EditProbe _edits{_tags};
};

} // namespace

TEST_F(TagAttachmentTest, GenericRulesOnEachListById)
{
    for(UInt32 id : {TagAttachment::AnimationsFieldId, TagAttachment::MaterialsFieldId,
                     TagAttachment::MetaDataFieldId})
    {
        SCOPED_TRACE(id);
        const MFString &field = *static_cast<MFString *>(_tags->getField(id));
        EXPECT_TRUE(_tags->addTag(id, "a"));
        EXPECT_FALSE(_tags->addTag(id, "a"));
        EXPECT_TRUE(_tags->addTag(id, ""));         // empty accepted once
        EXPECT_FALSE(_tags->addTag(id, ""));
        EXPECT_TRUE(_tags->addTag(id, "b"));
        EXPECT_EQ(join(field), "a,,b");
        // The replacement is not checked: empty or repeated is fine; the first match only.
        EXPECT_FALSE(_tags->replaceTag(id, "missing", "x"));
        EXPECT_TRUE(_tags->replaceTag(id, "a", "b"));
        EXPECT_EQ(join(field), "b,,b");
        EXPECT_TRUE(_tags->replaceTag(id, "b", ""));
        EXPECT_EQ(join(field), ",,b");
        _tags->subTag(id, "");                         // the first equal entry goes, one stays
        EXPECT_EQ(join(field), ",b");
        _tags->subTag(id, "missing");
        _tags->subTag(id, "");
        EXPECT_EQ(join(field), "b");
    }
    // Each id reached its own list only.
    EXPECT_EQ(join(_tags->getAnimations()) + join(_tags->getMaterials()) +
                  join(_tags->getMetaData()), "bbb");

    // Ids that are not tag lists are refused and change nothing.
    _edits.reset();
    for(UInt32 id : {0u, UInt32(TagAttachment::ParentsFieldId),
                     UInt32(TagAttachment::MetaFlagsFieldId),
                     UInt32(TagAttachment::ConvertedToMetadataFieldId),
                     UInt32(TagAttachment::NextFieldId), 127u, 0xffffffffu})
    {
        SCOPED_TRACE(id);
        LogCapture capture;
        EXPECT_FALSE(_tags->addTag(id, "a"));
        EXPECT_FALSE(_tags->replaceTag(id, "b", "a"));
        _tags->subTag(id, "b");
        EXPECT_TRUE(capture.contains("is not a tag list"));
    }
    EXPECT_EQ(_tags->getMetaFlags(), 0u);
    _edits.expectNoEdit();
}

TEST_F(TagAttachmentTest, AnimationAndMetaDataTagsFollowTheLooseRules)
{
    EXPECT_TRUE(_tags->addAnimationTag(""));
    EXPECT_FALSE(_tags->addAnimationTag(""));
    EXPECT_TRUE(_tags->addAnimationTag("walk"));
    EXPECT_TRUE(_tags->addMetaDataTag("walk"));
    EXPECT_TRUE(_tags->addMetaDataTag("run"));
    // The material rule would refuse this replacement.
    EXPECT_TRUE(_tags->replaceAnimationTag("", "walk"));
    EXPECT_EQ(join(_tags->getAnimations()), "walk,walk");
    _tags->subAnimationTag("walk");             EXPECT_EQ(join(_tags->getAnimations()), "walk");
    _tags->subAnimationTag("walk");             EXPECT_TRUE(_tags->getAnimations().empty());

    EXPECT_TRUE(_tags->hasMetaDataTag("run"));
    EXPECT_FALSE(_tags->hasMetaDataTag("Run"));
    EXPECT_TRUE(_tags->replaceMetaDataTag("run", "sprint"));
    EXPECT_FALSE(_tags->replaceMetaDataTag("run", "x"));
    _tags->subMetaDataTag("walk");
    EXPECT_EQ(join(_tags->getMetaData()), "sprint");
    EXPECT_TRUE(_tags->getMaterials().empty());
}

TEST_F(TagAttachmentTest, MaterialTagsAreNonEmptyAndDistinct)
{
    EXPECT_FALSE(_tags->canAddMaterialTag(""));
    EXPECT_FALSE(_tags->addMaterialTag(""));
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
    EXPECT_TRUE(_tags->replaceMaterialTag("a", "c"));
    EXPECT_EQ(_tags->getMaterialTags(), (Strings{"c", "b"}));
    EXPECT_TRUE(_tags->subMaterialTag("c"));
    EXPECT_FALSE(_tags->subMaterialTag("c"));
    EXPECT_EQ(_tags->getMaterialTags(), Strings{"b"});
    // A material tag the generic rules made repeat loses one entry per removal.
    EXPECT_TRUE(_tags->addTag(TagAttachment::MaterialsFieldId, "d"));
    EXPECT_TRUE(_tags->replaceTag(TagAttachment::MaterialsFieldId, "d", "b"));
    EXPECT_EQ(_tags->getMaterialTags(), (Strings{"b", "b"}));
    EXPECT_TRUE(_tags->subMaterialTag("b"));
    EXPECT_EQ(_tags->getMaterialTags(), Strings{"b"});
    EXPECT_TRUE(_tags->subMaterialTag("b"));
    EXPECT_TRUE(_tags->getMaterialTags().empty());
    EXPECT_TRUE(_tags->addMaterialTag("b"));

    // Lists: accepted as soon as one tag could be added; adding skips empty and repeated ones.
    EXPECT_FALSE(_tags->canAddMaterialTags(Strings{}));
    EXPECT_FALSE(_tags->canAddMaterialTags(Strings{"", "b", ""}));
    EXPECT_TRUE(_tags->canAddMaterialTags(Strings{"b", "", "a"}));
    EXPECT_FALSE(_tags->addMaterialTags(Strings{}));
    EXPECT_FALSE(_tags->addMaterialTags(Strings{"", "b"}));
    EXPECT_TRUE(_tags->addMaterialTags(Strings{"a", "", "b", "c", "a"}));
    EXPECT_EQ(join(_tags->getMaterials()), "b,a,c");
    // setMaterialTags keeps the rules: empty and repeated tags are dropped, order kept.
    _tags->setMaterialTags(Strings{"z", "", "y", "z", "x", ""});
    EXPECT_EQ(join(_tags->getMaterials()), "z,y,x");
    _tags->clearMaterialTags();                 EXPECT_TRUE(_tags->getMaterials().empty());
}

TEST_F(TagAttachmentTest, EveryChangeIsOneRecordedEditAndRefusalsAreSilent)
{
    const BitVector anim = TagAttachment::AnimationsFieldMask;
    const BitVector mat  = TagAttachment::MaterialsFieldMask;
    const BitVector meta = TagAttachment::MetaDataFieldMask;
    _tags->addAnimationTag("a");               _edits.expectOneEdit(anim);
    _tags->replaceAnimationTag("a", "b");      _edits.expectOneEdit(anim);
    _tags->subAnimationTag("b");               _edits.expectOneEdit(anim);
    _tags->addMetaDataTag("m");                _edits.expectOneEdit(meta);
    _tags->replaceMetaDataTag("m", "n");       _edits.expectOneEdit(meta);
    _tags->subMetaDataTag("n");                _edits.expectOneEdit(meta);
    _tags->addMaterialTag("x");                _edits.expectOneEdit(mat);
    _tags->addMaterialTags(Strings{"y", "z"}); _edits.expectOneEdit(mat);   // one for the list
    _tags->replaceMaterialTag("x", "w");       _edits.expectOneEdit(mat);
    _tags->subMaterialTag("w");                _edits.expectOneEdit(mat);
    _tags->setMaterialTags(Strings{"q"});      _edits.expectOneEdit(mat);
    _tags->clearMaterialTags();                _edits.expectOneEdit(mat);

    // Refused or empty-handed operations report nothing.
    _tags->addAnimationTag("a");
    _edits.reset();
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
    _edits.expectNoEdit();
}

TEST_F(TagAttachmentTest, FieldLayoutAndBinaryForm)
{
    const FieldContainerType *type = FieldContainerFactory::the()->findType("TagAttachment");
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

    // The two single fields in network order, one byte per bool.
    _tags->setMetaFlags(0x01020304u);
    _tags->setConvertedToMetadata(true);
    const BitVector mask = TagAttachment::MetaFlagsFieldMask |
                           TagAttachment::ConvertedToMetadataFieldMask;
    MemoryBinaryDataHandler out;
    _tags->copyToBin(out, mask);
    EXPECT_EQ(out.getBuffer(), (std::vector<UInt8>{0x01, 0x02, 0x03, 0x04, 0x01}));
    TagAttachmentPtr copy = TagAttachment::create();
    RefPtr<FieldContainerPtr> hold(copy);
    out.rewind();
    copy->copyFromBin(out, mask);
    EXPECT_FALSE(out.isFailed());
    EXPECT_EQ(copy->getMetaFlags(), 0x01020304u);
    EXPECT_TRUE(copy->getConvertedToMetadata());
}
