#ifndef _OSGSIMPLEATTACHMENTS_H_
#define _OSGSIMPLEATTACHMENTS_H_

#include <OpenSG/OSGName.h>
#include <OpenSG/OSGAttachmentContainer.h>

#include <string>

namespace osg {

/*! The text of a container's Name attachment; NULL without one. */
const Char8 *getName(const AttachmentContainerPtr &container);

/*! Creates and attaches a Name when there is none, then sets its text (each step an edit). */
void setName(const AttachmentContainerPtr &container, const std::string &name);

/*! As above; NULL removes the Name attachment. */
void setName(const AttachmentContainerPtr &container, const Char8 *name);

} // namespace osg

#endif
