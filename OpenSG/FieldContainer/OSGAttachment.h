#ifndef _OSGATTACHMENT_H_
#define _OSGATTACHMENT_H_

#include <OpenSG/OSGAttachmentBase.h>

namespace osg {

/*! Base of attachments. An attachment knows the containers it is attached to (its parents, not
    referenced); the containers own it through their reference. */
class Attachment : public AttachmentBase
{
  public:
    typedef AttachmentBase Inherited;

    /*! Appends a parent; no reference is taken. */
    void  addParent (const FieldContainerPtr &parent);
    /*! Removes the first occurrence of a parent. */
    void  subParent (const FieldContainerPtr &parent);
    /*! Index of a parent, or -1. */
    Int32 findParent(const FieldContainerPtr &parent) const;

  protected:
    friend class FieldContainer;
    friend class AttachmentBase;

    Attachment(void);
    Attachment(const Attachment &source);
    ~Attachment(void) override;
};

} // namespace osg

#endif
