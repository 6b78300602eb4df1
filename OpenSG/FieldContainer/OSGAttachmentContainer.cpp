#include <OpenSG/OSGAttachmentContainer.h>
#include <OpenSG/OSGName.h>
#include <OpenSG/OSGLog.h>

namespace osg {

AttachmentContainer::AttachmentContainer(void) : Inherited()
{
}

AttachmentContainer::AttachmentContainer(const AttachmentContainer &source) : Inherited(source)
{
}

AttachmentContainer::~AttachmentContainer(void) = default;

UInt32 AttachmentContainer::makeKey(const AttachmentPtr &attachment, UInt16 binding)
{
    return (UInt32(attachment->getGroupId()) << 16) | binding;
}

void AttachmentContainer::addAttachment(const AttachmentPtr &attachment, UInt16 binding)
{
    if(attachment == NullFC)
        return;

    FieldContainerPtr thisP(this);
    UInt32 key = makeKey(attachment, binding);

    addRefCP(attachment);
    beginEditCP(attachment, Attachment::ParentsFieldMask);
    attachment->addParent(thisP);
    endEditCP(attachment, Attachment::ParentsFieldMask);

    AttachmentMap &map = _sfAttachments.getValue();
    auto it = map.find(key);
    if(it != map.end())
    {
        AttachmentPtr old = it->second;
        it->second = attachment;
        if(old != NullFC)
        {
            beginEditCP(old, Attachment::ParentsFieldMask);
            old->subParent(thisP);
            endEditCP(old, Attachment::ParentsFieldMask);
            subRefCP(old);
        }
    }
    else
    {
        map.insert(AttachmentMap::value_type(key, attachment));
    }
}

void AttachmentContainer::subAttachment(const AttachmentPtr &attachment, UInt16 binding)
{
    if(attachment == NullFC)
        return;

    AttachmentMap &map = _sfAttachments.getValue();
    auto it = map.find(makeKey(attachment, binding));
    if(it == map.end())
        return;

    AttachmentPtr old = it->second;
    map.erase(it);
    if(old != NullFC)
    {
        beginEditCP(old, Attachment::ParentsFieldMask);
        old->subParent(FieldContainerPtr(this));
        endEditCP(old, Attachment::ParentsFieldMask);
        subRefCP(old);
    }
}

AttachmentPtr AttachmentContainer::findAttachment(UInt32 groupId, UInt16 binding) const
{
    const AttachmentMap &map = _sfAttachments.getValue();
    auto it = map.find((groupId << 16) | binding);
    return it != map.end() ? it->second : AttachmentPtr();
}

AttachmentPtr AttachmentContainer::findAttachment(const FieldContainerType &type,
                                                  UInt16 binding) const
{
    return findAttachment(type.getGroupId(), binding);
}

void AttachmentContainer::addAttachments(const AttachmentContainerPtr &source)
{
    if(source == NullFC || source.getCPtr() == this)
        return;
    // Copy first: adding may not touch the source's map, but the source may be this container's
    // attachment holder through a shared attachment.
    AttachmentMap entries = source->getAttachments();
    for(const auto &entry : entries)
        addAttachment(entry.second, UInt16(entry.first & 0xFFFF));
}

void AttachmentContainer::copyName(const AttachmentContainerPtr &source)
{
    if(source == NullFC || source.getCPtr() == this)
        return;
    AttachmentContainerPtr thisP(this);
    NamePtr from = NamePtr::dcast(source->findAttachment(Name::getClassType()));
    NamePtr to   = NamePtr::dcast(findAttachment(Name::getClassType()));
    if(from == NullFC)
    {
        if(to != NullFC)
        {
            beginEditCP(thisP, AttachmentsFieldMask);
            subAttachment(to);
            endEditCP(thisP, AttachmentsFieldMask);
        }
        return;
    }
    // A Name shared with another container is not ours to change.
    if(to == NullFC || to->getParents().size() > 1)
    {
        to = Name::create();
        if(to == NullFC)
            return;
        beginEditCP(thisP, AttachmentsFieldMask);
        addAttachment(to);
        endEditCP(thisP, AttachmentsFieldMask);
    }
    const BitVector mask = Name::NameFieldMask | Name::EncodingFieldMask;
    beginEditCP(to, mask);
    to->setName(from->getName());
    to->setEncoding(from->getEncoding());
    endEditCP(to, mask);
}

void AttachmentContainer::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);

    if((origin & ChangedOrigin::Abstract) && (origin & ChangedOrigin::AbstrIncRefCount) &&
       (whichField & AttachmentsFieldMask))
    {
        FieldContainerPtr thisP(this);
        for(auto &entry : _sfAttachments.getValue())
        {
            if(entry.second == NullFC)
                continue;
            addRefCP(entry.second);
            if(entry.second->findParent(thisP) < 0)
                entry.second->addParent(thisP);
        }
    }
}

void AttachmentContainer::onCreate(const AttachmentContainer *source)
{
    if(source == NULL)
        return;
    for(const auto &entry : source->getAttachments())
        addAttachment(entry.second, UInt16(entry.first & 0xFFFF));
}

void AttachmentContainer::onDestroy(void)
{
    AttachmentMap map;
    map.swap(_sfAttachments.getValue());
    FieldContainerPtr thisP(this);
    for(auto &entry : map)
    {
        if(entry.second == NullFC)
            continue;
        entry.second->subParent(thisP);
        subRefCP(entry.second);
    }
    Inherited::onDestroy();
}

/*-------------------------------------------------------------------------*/

UInt32 FieldDataTraits<AttachmentMap>::getBinSize(const AttachmentMap &value)
{
    UInt32 n = 0;
    for(const auto &entry : value)
    {
        if(entry.second != NullFC && !entry.second->getInternal())
            ++n;
    }
    return 4 + 6 * n;
}

void FieldDataTraits<AttachmentMap>::copyToBin(BinaryDataHandler &h, const AttachmentMap &value)
{
    UInt32 n = 0;
    for(const auto &entry : value)
    {
        if(entry.second != NullFC && !entry.second->getInternal())
            ++n;
    }
    h.putValue(n);
    for(const auto &entry : value)
    {
        if(entry.second == NullFC || entry.second->getInternal())
            continue;
        h.putValue(UInt16(entry.first & 0xFFFF));
        h.putValue(UInt32(entry.second.getFieldContainerId()));
    }
}

bool FieldDataTraits<AttachmentMap>::copyFromBin(BinaryDataHandler &h, AttachmentMap &value)
{
    value.clear();
    UInt32 n = 0;
    if(!h.getValue(n))
        return false;
    if(UInt64(n) * 6 > h.getBytesLeft())
    {
        h.setFailed("attachment count " + std::to_string(n) + " exceeds the data left");
        return false;
    }
    for(UInt32 i = 0; i < n; ++i)
    {
        UInt16 binding = 0;
        UInt32 id      = 0;
        if(!h.getValue(binding) || !h.getValue(id))
        {
            value.clear();
            return false;
        }
        AttachmentPtr a = AttachmentPtr::dcast(FieldContainerFactory::the()->getMappedContainer(id));
        if(a == NullFC)
        {
            SWARNING << "attachment map: container " << id << " is not an attachment; skipped"
                     << std::endl;
            continue;
        }
        value[(UInt32(a->getGroupId()) << 16) | binding] = a;
    }
    return true;
}

void FieldDataTraits<AttachmentMap>::putToString(const AttachmentMap &value, std::string &out)
{
    out += '{';
    bool first = true;
    for(const auto &entry : value)
    {
        if(!first)
            out += ", ";
        first = false;
        out += std::to_string(entry.first >> 16) + ":" + std::to_string(entry.first & 0xFFFF) +
               " -> ";
        FieldTraitsFCPtrBase<AttachmentPtr>::putToString(entry.second, out);
    }
    out += '}';
}

} // namespace osg
