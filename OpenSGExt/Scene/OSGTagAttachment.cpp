#include <OpenSGExt/OSGTagAttachment.h>
#include <OpenSG/OSGLog.h>

#include <algorithm>

namespace osg {

TagAttachment::TagAttachment(void) : Inherited()
{
}

TagAttachment::TagAttachment(const TagAttachment &source) : Inherited(source)
{
}

TagAttachment::~TagAttachment(void) = default;

MFString *TagAttachment::tagField(UInt32 fieldId, BitVector &mask, const char *caller)
{
    switch(fieldId)
    {
        case AnimationsFieldId: mask = AnimationsFieldMask; return &_mfAnimations;
        case MaterialsFieldId:  mask = MaterialsFieldMask;  return &_mfMaterials;
        case MetaDataFieldId:   mask = MetaDataFieldMask;   return &_mfMetaData;
        default: break;
    }
    SWARNING << "TagAttachment::" << caller << ": field id " << fieldId
             << " is not a tag list, ignored" << std::endl;
    return NULL;
}

bool TagAttachment::removeFirst(MFString &field, const BitVector &mask, const std::string &tag)
{
    MFString::iterator it = field.find(tag);
    if(it == field.end())
        return false;
    CPEditor edit(FieldContainerPtr(this), mask);
    field.erase(it);
    return true;
}

/*------------------------------ generic --------------------------------*/

bool TagAttachment::addTag(UInt32 fieldId, const std::string &tag)
{
    BitVector mask = FieldBits::NoField;
    MFString *field = tagField(fieldId, mask, "addTag");
    if(field == NULL || field->find(tag) != field->end())
        return false;
    CPEditor edit(FieldContainerPtr(this), mask);
    field->push_back(tag);
    return true;
}

void TagAttachment::subTag(UInt32 fieldId, const std::string &tag)
{
    BitVector mask = FieldBits::NoField;
    if(MFString *field = tagField(fieldId, mask, "subTag"))
        removeFirst(*field, mask, tag);
}

bool TagAttachment::replaceTag(UInt32 fieldId, const std::string &oldTag,
                               const std::string &newTag)
{
    BitVector mask = FieldBits::NoField;
    MFString *field = tagField(fieldId, mask, "replaceTag");
    if(field == NULL)
        return false;
    MFString::iterator it = field->find(oldTag);
    if(it == field->end())
        return false;
    if(oldTag != newTag)
    {
        CPEditor edit(FieldContainerPtr(this), mask);
        *it = newTag;
    }
    return true;
}

/*------------------------------ animation ------------------------------*/

bool TagAttachment::addAnimationTag(const std::string &tag)
{
    return addTag(AnimationsFieldId, tag);
}

void TagAttachment::subAnimationTag(const std::string &tag)
{
    subTag(AnimationsFieldId, tag);
}

bool TagAttachment::replaceAnimationTag(const std::string &oldTag, const std::string &newTag)
{
    return replaceTag(AnimationsFieldId, oldTag, newTag);
}

/*------------------------------ metadata -------------------------------*/

bool TagAttachment::hasMetaDataTag(const std::string &tag) const
{
    return _mfMetaData.find(tag) != _mfMetaData.end();
}

bool TagAttachment::addMetaDataTag(const std::string &tag)
{
    return addTag(MetaDataFieldId, tag);
}

void TagAttachment::subMetaDataTag(const std::string &tag)
{
    subTag(MetaDataFieldId, tag);
}

bool TagAttachment::replaceMetaDataTag(const std::string &oldTag, const std::string &newTag)
{
    return replaceTag(MetaDataFieldId, oldTag, newTag);
}

/*------------------------------ material -------------------------------*/

TagAttachment::TagList TagAttachment::getMaterialTags(void) const
{
    return TagList(_mfMaterials.begin(), _mfMaterials.end());
}

void TagAttachment::setMaterialTags(const TagList &tags)
{
    MFString::StorageType kept;
    for(const std::string &tag : tags)
    {
        if(!tag.empty() && kept.find(tag) == kept.end())
            kept.push_back(tag);
    }
    if(kept == _mfMaterials.getValues())
        return;
    CPEditor edit(FieldContainerPtr(this), MaterialsFieldMask);
    _mfMaterials.getValues().swap(kept);
}

bool TagAttachment::addMaterialTags(const TagList &tags)
{
    // The same outcome as addMaterialTag for each tag in order, reported as one edit.
    MFString::StorageType added;
    for(const std::string &tag : tags)
    {
        if(canAddMaterialTag(tag) && added.find(tag) == added.end())
            added.push_back(tag);
    }
    if(added.empty())
        return false;
    CPEditor edit(FieldContainerPtr(this), MaterialsFieldMask);
    _mfMaterials.insert(_mfMaterials.end(), added.begin(), added.end());
    return true;
}

void TagAttachment::clearMaterialTags(void)
{
    if(_mfMaterials.empty())
        return;
    CPEditor edit(FieldContainerPtr(this), MaterialsFieldMask);
    _mfMaterials.clear();
}

bool TagAttachment::hasMaterialTag(const std::string &tag) const
{
    return _mfMaterials.find(tag) != _mfMaterials.end();
}

bool TagAttachment::canAddMaterialTag(const std::string &tag) const
{
    return !tag.empty() && !hasMaterialTag(tag);
}

bool TagAttachment::addMaterialTag(const std::string &tag)
{
    if(!canAddMaterialTag(tag))
        return false;
    CPEditor edit(FieldContainerPtr(this), MaterialsFieldMask);
    _mfMaterials.push_back(tag);
    return true;
}

bool TagAttachment::canAddMaterialTags(const TagList &tags) const
{
    return std::any_of(tags.begin(), tags.end(),
                       [this](const std::string &tag) { return canAddMaterialTag(tag); });
}

bool TagAttachment::subMaterialTag(const std::string &tag)
{
    return removeFirst(_mfMaterials, MaterialsFieldMask, tag);
}

bool TagAttachment::replaceMaterialTag(const std::string &oldTag, const std::string &newTag)
{
    MFString::iterator it = _mfMaterials.find(oldTag);
    if(it == _mfMaterials.end() || !canAddMaterialTag(newTag))
        return false;
    CPEditor edit(FieldContainerPtr(this), MaterialsFieldMask);
    *it = newTag;
    return true;
}

} // namespace osg
