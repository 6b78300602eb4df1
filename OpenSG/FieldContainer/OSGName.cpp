#include <OpenSG/OSGName.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGAttachmentContainer.h>

namespace osg {

Name::Name(void) : Inherited()
{
}

Name::Name(const Name &source) : Inherited(source)
{
}

Name::~Name(void) = default;

const Char8 *getName(const AttachmentContainerPtr &container)
{
    if(container == NullFC)
        return NULL;
    NamePtr name = NamePtr::dcast(container->findAttachment(Name::getClassType()));
    return name != NullFC ? name->getName().c_str() : NULL;
}

void setName(const AttachmentContainerPtr &container, const std::string &text)
{
    if(container == NullFC)
        return;
    NamePtr name = NamePtr::dcast(container->findAttachment(Name::getClassType()));
    if(name == NullFC)
    {
        name = Name::create();
        if(name == NullFC)
            return;
        beginEditCP(container, AttachmentContainer::AttachmentsFieldMask);
        container->addAttachment(name);
        endEditCP(container, AttachmentContainer::AttachmentsFieldMask);
    }
    beginEditCP(name, Name::NameFieldMask);
    name->setName(text);
    endEditCP(name, Name::NameFieldMask);
}

void setName(const AttachmentContainerPtr &container, const Char8 *text)
{
    if(container == NullFC)
        return;
    if(text != NULL)
    {
        setName(container, std::string(text));
        return;
    }
    AttachmentPtr name = container->findAttachment(Name::getClassType());
    if(name != NullFC)
    {
        beginEditCP(container, AttachmentContainer::AttachmentsFieldMask);
        container->subAttachment(name);
        endEditCP(container, AttachmentContainer::AttachmentsFieldMask);
    }
}

} // namespace osg
