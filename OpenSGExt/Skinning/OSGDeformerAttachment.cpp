#include <OpenSGExt/OSGDeformerAttachment.h>

#include <iostream>

namespace osg {

DeformerAttachment::DeformerAttachment(void) : Inherited(), _buffer()
{
}

// The buffer belongs to the consumer of this attachment's data, not to a copy.
DeformerAttachment::DeformerAttachment(const DeformerAttachment &source) : Inherited(source), _buffer()
{
}

DeformerAttachment::~DeformerAttachment(void) = default;

void DeformerAttachment::onDestroy(void)
{
    _buffer.reset();
    Inherited::onDestroy();
}

void DeformerAttachment::dump(UInt32 uiIndent, const BitVector bvFlags) const
{
    Inherited::dump(uiIndent, bvFlags);
    std::cout << std::string(uiIndent + 2, ' ') << "buffer: " << (_buffer ? "set" : "none")
              << std::endl;
}

} // namespace osg
