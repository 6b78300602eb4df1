#ifndef _OSGATTACHMENTCONTAINER_H_
#define _OSGATTACHMENTCONTAINER_H_

#include <OpenSG/OSGAttachmentContainerBase.h>
#include <OpenSG/OSGAttachment.h>

namespace osg {

/*! A container that carries attachments, keyed by their group and a binding. The container holds
    one reference to each attachment and is entered into its parents. The edit protocol for the
    container's own attachments field is the caller's (wrap calls in an edit of
    AttachmentsFieldMask); the attachment's parents field is edited here. */
class AttachmentContainer : public AttachmentContainerBase
{
  public:
    typedef AttachmentContainerBase Inherited;

    /*! Null is ignored; an attachment already under the same key is released and replaced. */
    void addAttachment(const AttachmentPtr &attachment, UInt16 binding = 0);
    /*! Removes the attachment stored under the key of the given one. */
    void subAttachment(const AttachmentPtr &attachment, UInt16 binding = 0);

    AttachmentPtr findAttachment(UInt32 groupId, UInt16 binding = 0) const;
    AttachmentPtr findAttachment(const FieldContainerType &type, UInt16 binding = 0) const;

    /*! Shares every attachment of another container under the same keys. */
    void addAttachments(const AttachmentContainerPtr &source);

    /*! Gives this container a Name of its own with the text and encoding of source's Name (one
        edit of the Name; attaching a new one is an edit of the attachments). Without a Name on
        source, this container's Name is removed. Null or this container as source: nothing. */
    void copyName(const AttachmentContainerPtr &source);

    /*! Reading attachments by the loaders' origin (Abstract|AbstrIncRefCount) takes the references
        that copyFromBin skipped. */
    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class AttachmentContainerBase;

    AttachmentContainer(void);
    AttachmentContainer(const AttachmentContainer &source);
    ~AttachmentContainer(void) override;

    /*! A copy shares its source's attachments. */
    void onCreate(const AttachmentContainer *source = NULL);
    void onDestroy(void) override;

    static UInt32 makeKey(const AttachmentPtr &attachment, UInt16 binding);
};

} // namespace osg

#endif
