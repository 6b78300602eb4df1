#ifndef _OSGTAGATTACHMENT_H_
#define _OSGTAGATTACHMENT_H_

#include <OpenSGExt/OSGTagAttachmentBase.h>

#include <string>
#include <vector>

namespace osg {

/*! Text tags on a scene object: animation tags, material tags and metadata tags.

    Generic rules (addTag, subTag, replaceTag; the animation and metadata operations follow them):
    a tag already present is not added again, an empty tag is accepted, and a replacement is not
    checked at all. They apply to whichever of the three lists they are given by field id,
    materials included; any other id is ignored with a warning and answers false.

    Material rules are stricter: the material operations never add an empty tag or one already
    present, so as long as only they edit the materials, that list holds distinct, non-empty tags.

    Removal (subTag, subAnimationTag, subMetaDataTag, subMaterialTag) drops the one entry equal
    to the tag, the first: a tag that replaceTag had made repeat is still there afterwards, once
    less.

    Every operation that changes a list ends its own edit on this container (beginEditCP /
    endEditCP with that list's mask): the change is recorded in the thread's change list and
    changed() runs once per operation. Operations that change nothing report no edit. */
class TagAttachment : public TagAttachmentBase
{
  public:
    typedef TagAttachmentBase Inherited;
    typedef std::vector<std::string> TagList;

    /*------------------------- generic, by field id ---------------------*/
    bool addTag    (UInt32 fieldId, const std::string &tag);
    void subTag    (UInt32 fieldId, const std::string &tag);
    bool replaceTag(UInt32 fieldId, const std::string &oldTag, const std::string &newTag);

    /*------------------------- animation tags ---------------------------*/
    bool addAnimationTag    (const std::string &tag);
    void subAnimationTag    (const std::string &tag);
    bool replaceAnimationTag(const std::string &oldTag, const std::string &newTag);

    /*------------------------- metadata tags ----------------------------*/
    bool hasMetaDataTag    (const std::string &tag) const;
    bool addMetaDataTag    (const std::string &tag);
    void subMetaDataTag    (const std::string &tag);
    bool replaceMetaDataTag(const std::string &oldTag, const std::string &newTag);

    /*------------------------- material tags ----------------------------*/
    TagList getMaterialTags(void) const;
    /*! Replaces the list by the given tags without the empty ones and without repeats (the first
        occurrence is kept), so that the material rules hold for the result. */
    void setMaterialTags(const TagList &tags);
    /*! addMaterialTag for each tag in order, as one edit; true when at least one was appended. */
    bool addMaterialTags(const TagList &tags);
    void clearMaterialTags(void);

    bool hasMaterialTag   (const std::string &tag) const;
    /*! False for an empty tag and for one already present. */
    bool canAddMaterialTag(const std::string &tag) const;
    bool addMaterialTag   (const std::string &tag);
    /*! True as soon as one tag of the list could be added. */
    bool canAddMaterialTags(const TagList &tags) const;
    /*! Removes the first entry equal to the tag; false when there is none. */
    bool subMaterialTag   (const std::string &tag);
    /*! False when oldTag is missing or newTag is empty or already present. */
    bool replaceMaterialTag(const std::string &oldTag, const std::string &newTag);

  protected:
    friend class FieldContainer;
    friend class TagAttachmentBase;

    TagAttachment(void);
    TagAttachment(const TagAttachment &source);
    ~TagAttachment(void) override;

  private:
    /*! The list with this field id and its mask, or NULL (with a warning naming the caller). */
    MFString *tagField(UInt32 fieldId, BitVector &mask, const char *caller);
    bool      removeFirst(MFString &field, const BitVector &mask, const std::string &tag);
};

} // namespace osg

#endif
