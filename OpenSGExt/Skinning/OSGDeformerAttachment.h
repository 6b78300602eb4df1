#ifndef _OSGDEFORMERATTACHMENT_H_
#define _OSGDEFORMERATTACHMENT_H_

#include <OpenSGExt/OSGDeformerAttachmentBase.h>

#include <memory>

namespace osg {

/*! Common parent of attachments that deform the geometry carrying them ("enabled", default
    true).

    Buffer: an opaque object that whoever consumes the deformed data (a renderer keeping GPU
    buffers, say) may hang on the attachment. The attachment keeps it alive through the shared
    pointer, never looks inside, and drops it when destroyed; copies do not share it. */
class DeformerAttachment : public DeformerAttachmentBase
{
  public:
    typedef DeformerAttachmentBase Inherited;

    void                         setBuffer(const std::shared_ptr<void> &buffer) { _buffer = buffer; }
    const std::shared_ptr<void> &getBuffer(void) const                          { return _buffer;   }

    void dump(UInt32 uiIndent = 0, const BitVector bvFlags = BitVector(0)) const override;

  protected:
    friend class FieldContainer;
    friend class DeformerAttachmentBase;

    DeformerAttachment(void);
    DeformerAttachment(const DeformerAttachment &source);
    ~DeformerAttachment(void) override;

    void onDestroy(void) override;

  private:
    std::shared_ptr<void> _buffer;
};

} // namespace osg

#endif
