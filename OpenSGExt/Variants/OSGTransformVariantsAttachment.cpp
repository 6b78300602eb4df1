#include <OpenSGExt/OSGTransformVariantsAttachment.h>
#include <OpenSG/OSGLog.h>

#include <algorithm>
#include <cmath>

namespace osg {

namespace {

const Real64 ComponentTolerance = 1e-6;

Vec3f defaultComponent(TransformVariant::Component component)
{
    return component == TransformVariant::Scale ? Vec3f(1.f, 1.f, 1.f) : Vec3f(0.f, 0.f, 0.f);
}

bool agree(const Vec3f &a, const Vec3f &b)
{
    for(UInt32 i = 0; i < 3; ++i)
    {
        // Written so that a NaN on either side disagrees.
        if(!(std::fabs(Real64(a[i]) - Real64(b[i])) <= ComponentTolerance))
            return false;
    }
    return true;
}

} // namespace

const char *const TransformVariantsAttachment::DefaultEulerRotationOrder = "xyz";

TransformVariantsAttachment::TransformVariantsAttachment(void) :
    Inherited(),
    _activeStates(),
    _supposedState(0),
    _skipStateUpdate(false),
    _variantChanged(),
    _targetChanged()
{
}

TransformVariantsAttachment::TransformVariantsAttachment(
        const TransformVariantsAttachment &source) :
    Inherited(source),
    _activeStates(),
    _supposedState(source._supposedState),
    _skipStateUpdate(false),
    _variantChanged(),
    _targetChanged()
{
}

TransformVariantsAttachment::~TransformVariantsAttachment(void) = default;

void TransformVariantsAttachment::onCreate(const TransformVariantsAttachment *source)
{
    Inherited::onCreate(source);
    // The copy constructor shared the source's variants; the copy owns its references. A copy
    // has no parents, hence no target and an empty state.
    if(source != NULL)
    {
        for(const TransformVariantPtr &variant : _mfTransformVariants)
            addRefCP(variant);
        watchVariants();
    }
}

void TransformVariantsAttachment::onDestroy(void)
{
    _variantChanged.reset();
    _targetChanged.reset();
    _activeStates.clear();
    MFTransformVariantPtr::StorageType variants;
    variants.swap(_mfTransformVariants.getValues());
    for(const TransformVariantPtr &variant : variants)
        subRefCP(variant);
    Inherited::onDestroy();
}

void TransformVariantsAttachment::watchVariants(void)
{
    _variantChanged = std::make_shared<ChangedFunction>(
        [this](const FieldContainerPtr &, const BitVector &, UInt32) { updateVariantState(); });
    for(const TransformVariantPtr &variant : _mfTransformVariants)
    {
        if(variant != NullFC)
            variant->addChangedFunction(_variantChanged);
    }
}

void TransformVariantsAttachment::watchTarget(void)
{
    _targetChanged.reset();
    Transform3DPtr target = getTargetTransform();
    if(target == NullFC)
        return;
    _targetChanged = std::make_shared<ChangedFunction>(
        [this](const FieldContainerPtr &, const BitVector &, UInt32) { updateVariantState(); });
    target->addChangedFunction(_targetChanged);
}

void TransformVariantsAttachment::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);

    if(whichField & TransformVariantsFieldMask)
    {
        if((origin & ChangedOrigin::Abstract) && (origin & ChangedOrigin::AbstrIncRefCount))
        {
            for(const TransformVariantPtr &variant : _mfTransformVariants)
                addRefCP(variant);
        }
        watchVariants();
    }
    if(whichField & ParentsFieldMask)
        watchTarget();
    if((whichField & (TransformVariantsFieldMask | ParentsFieldMask)) && !_skipStateUpdate)
        updateVariantState();
}

/*------------------------------ variant list -----------------------------*/

UInt32 TransformVariantsAttachment::getTransformVariantCount(void) const
{
    return _mfTransformVariants.size();
}

TransformVariantPtr TransformVariantsAttachment::variantAt(UInt32 index, const char *caller) const
{
    if(index >= _mfTransformVariants.size())
    {
        SWARNING << "TransformVariantsAttachment::" << caller << ": index " << index
                 << " out of range (count " << _mfTransformVariants.size() << ")" << std::endl;
        return NullFC;
    }
    if(_mfTransformVariants[index] == NullFC)
    {
        SWARNING << "TransformVariantsAttachment::" << caller << ": no variant at index "
                 << index << std::endl;
    }
    return _mfTransformVariants[index];
}

TransformVariantPtr TransformVariantsAttachment::getTransformVariant(UInt32 index) const
{
    return variantAt(index, "getTransformVariant");
}

TransformVariantPtr TransformVariantsAttachment::getTransformVariant(const std::string &name) const
{
    for(const TransformVariantPtr &variant : _mfTransformVariants)
    {
        if(variant != NullFC && variant->getName() == name)
            return variant;
    }
    return NullFC;
}

Int32 TransformVariantsAttachment::findTransformVariant(const TransformVariantPtr &variant) const
{
    if(variant == NullFC)
        return -1;
    MFTransformVariantPtr::const_iterator it = _mfTransformVariants.find(variant);
    return it == _mfTransformVariants.end() ? -1 : Int32(it - _mfTransformVariants.begin());
}

Int32 TransformVariantsAttachment::indexOfContainer(UInt32 containerId) const
{
    if(containerId == 0)
        return -1;
    for(UInt32 i = 0; i < _mfTransformVariants.size(); ++i)
    {
        if(_mfTransformVariants[i].getFieldContainerId() == containerId)
            return Int32(i);
    }
    return -1;
}

bool TransformVariantsAttachment::insertTransformVariant(const TransformVariantPtr &variant,
                                                         UInt32 index)
{
    if(variant == NullFC)
    {
        SWARNING << "TransformVariantsAttachment::insertTransformVariant: null variant ignored"
                 << std::endl;
        return false;
    }
    if(index > _mfTransformVariants.size())
    {
        SWARNING << "TransformVariantsAttachment::insertTransformVariant: index " << index
                 << " beyond the end (count " << _mfTransformVariants.size() << "), ignored"
                 << std::endl;
        return false;
    }
    // A variant already in the list is inserted again like any other: one reference per entry.
    addRefCP(variant);
    // Ending the edit runs changed(): the new variant is watched and the state re-run.
    CPEditor edit(FieldContainerPtr(this), TransformVariantsFieldMask);
    _mfTransformVariants.insert(_mfTransformVariants.begin() + index, variant);
    return true;
}

bool TransformVariantsAttachment::removeTransformVariant(UInt32 index, bool skipStateUpdate)
{
    if(index >= _mfTransformVariants.size())
    {
        SWARNING << "TransformVariantsAttachment::removeTransformVariant: index " << index
                 << " out of range (count " << _mfTransformVariants.size() << "), ignored"
                 << std::endl;
        return false;
    }
    TransformVariantPtr variant = _mfTransformVariants[index];
    _mfTransformVariants.erase(_mfTransformVariants.begin() + index);

    // changed() re-watches the remaining variants with a new function object, which leaves the
    // removed one unwatched; the state waits for the caller when asked to.
    const bool skipped = _skipStateUpdate;
    _skipStateUpdate   = skipStateUpdate;
    beginEditCP(FieldContainerPtr(this), TransformVariantsFieldMask);
    endEditCP(FieldContainerPtr(this), TransformVariantsFieldMask);
    _skipStateUpdate = skipped;

    subRefCP(variant);
    return true;
}

void TransformVariantsAttachment::clearTransformVariants(void)
{
    if(_mfTransformVariants.empty())
        return;
    MFTransformVariantPtr::StorageType variants;
    {
        CPEditor edit(FieldContainerPtr(this), TransformVariantsFieldMask);
        variants.swap(_mfTransformVariants.getValues());
    }
    for(const TransformVariantPtr &variant : variants)
        subRefCP(variant);
}

/*------------------------------ transforms -------------------------------*/

Transform3DPtr TransformVariantsAttachment::getTargetTransform(void) const
{
    if(_mfParents.empty())
        return NullFC;
    return Transform3DPtr::dcast(_mfParents[0]);
}

Transform3DPtr TransformVariantsAttachment::getVariantTransform(UInt32 index) const
{
    TransformVariantPtr variant = variantAt(index, "getVariantTransform");
    return variant != NullFC ? variant->getTransformation() : Transform3DPtr();
}

Transform3DPtr TransformVariantsAttachment::getVariantTransform(
        const TransformVariantPtr &variant) const
{
    if(variant == NullFC)
    {
        SWARNING << "TransformVariantsAttachment::getVariantTransform: null variant"
                 << std::endl;
        return NullFC;
    }
    return variant->getTransformation();
}

/*------------------------------ component values -------------------------*/

Vec3f TransformVariantsAttachment::componentOf(const TransformVariantPtr   &variant,
                                               TransformVariant::Component component,
                                               bool                        mixed) const
{
    if(variant == NullFC)
    {
        SWARNING << "TransformVariantsAttachment: component of a null variant asked for"
                 << std::endl;
        return defaultComponent(component);
    }
    if(variant->getTransformation() == NullFC)
        return defaultComponent(component);
    if(!mixed)
        return variant->getComponent(component);
    Transform3DPtr target = getTargetTransform();
    if(target == NullFC)
        return defaultComponent(component);
    return variant->mixComponent(component, TransformVariant::readComponent(target, component));
}

Int32 TransformVariantsAttachment::rotationModeOf(const TransformVariantPtr &variant,
                                                  bool                       mixed) const
{
    if(variant == NullFC)
    {
        SWARNING << "TransformVariantsAttachment::getRotationMode: null variant" << std::endl;
        return 0;
    }
    if(variant->getTransformation() == NullFC)
        return 0;
    if(!mixed)
        return variant->getRotationMode();
    Transform3DPtr target = getTargetTransform();
    return target != NullFC ? variant->mixRotationMode(target->getRotationMode()) : 0;
}

std::string TransformVariantsAttachment::rotationOrderOf(const TransformVariantPtr &variant,
                                                         bool                       mixed) const
{
    if(variant == NullFC)
    {
        SWARNING << "TransformVariantsAttachment::getEulerRotationOrder: null variant"
                 << std::endl;
        return DefaultEulerRotationOrder;
    }
    if(variant->getTransformation() == NullFC)
        return DefaultEulerRotationOrder;
    if(!mixed)
        return variant->getTransformation()->getEulerRotationOrder();
    Transform3DPtr target = getTargetTransform();
    return target != NullFC ? target->getEulerRotationOrder()
                            : std::string(DefaultEulerRotationOrder);
}

Vec3f TransformVariantsAttachment::getComponent(UInt32 index, TransformVariant::Component component,
                                                bool mixed) const
{
    TransformVariantPtr variant = variantAt(index, "getComponent");
    return variant != NullFC ? componentOf(variant, component, mixed)
                             : defaultComponent(component);
}

Vec3f TransformVariantsAttachment::getComponent(const TransformVariantPtr   &variant,
                                                TransformVariant::Component component,
                                                bool                        mixed) const
{
    return componentOf(variant, component, mixed);
}

// Each component has an index and a variant form; both go through the same look-up.
#define SK_TV_COMPONENT_GETTERS(Name)                                                         \
    Vec3f TransformVariantsAttachment::get##Name(UInt32 index, bool mixed) const              \
    {                                                                                        \
        return getComponent(index, TransformVariant::Name, mixed);                           \
    }                                                                                        \
    Vec3f TransformVariantsAttachment::get##Name(const TransformVariantPtr &variant,         \
                                                 bool mixed) const                           \
    {                                                                                        \
        return componentOf(variant, TransformVariant::Name, mixed);                          \
    }

SK_TV_COMPONENT_GETTERS(Translation)
SK_TV_COMPONENT_GETTERS(EulerRotation)
SK_TV_COMPONENT_GETTERS(Scale)
SK_TV_COMPONENT_GETTERS(ScalePivot)
SK_TV_COMPONENT_GETTERS(ScalePivotTranslation)
SK_TV_COMPONENT_GETTERS(RotatePivot)
SK_TV_COMPONENT_GETTERS(EulerRotationOrientation)
SK_TV_COMPONENT_GETTERS(RotatePivotTranslation)

#undef SK_TV_COMPONENT_GETTERS

Int32 TransformVariantsAttachment::getRotationMode(UInt32 index, bool mixed) const
{
    TransformVariantPtr variant = variantAt(index, "getRotationMode");
    return variant != NullFC ? rotationModeOf(variant, mixed) : 0;
}

Int32 TransformVariantsAttachment::getRotationMode(const TransformVariantPtr &variant,
                                                   bool mixed) const
{
    return rotationModeOf(variant, mixed);
}

std::string TransformVariantsAttachment::getEulerRotationOrder(UInt32 index, bool mixed) const
{
    TransformVariantPtr variant = variantAt(index, "getEulerRotationOrder");
    return variant != NullFC ? rotationOrderOf(variant, mixed)
                             : std::string(DefaultEulerRotationOrder);
}

std::string TransformVariantsAttachment::getEulerRotationOrder(const TransformVariantPtr &variant,
                                                               bool mixed) const
{
    return rotationOrderOf(variant, mixed);
}

/*------------------------------ variant state ----------------------------*/

bool TransformVariantsAttachment::matches(const TransformVariantPtr &variant,
                                          const Transform3DPtr      &target) const
{
    for(Int32 c = 0; c < TransformVariant::ComponentCount; ++c)
    {
        const TransformVariant::Component component = TransformVariant::Component(c);
        const Vec3f current = TransformVariant::readComponent(target, component);
        if(!agree(current, variant->mixComponent(component, current)))
            return false;
    }
    const Int32 mode = target->getRotationMode();
    return variant->mixRotationMode(mode) == mode;
}

void TransformVariantsAttachment::updateVariantState(void)
{
    _activeStates.clear();
    Transform3DPtr target = getTargetTransform();
    if(target == NullFC)
        return;
    for(UInt32 i = 0; i < _mfTransformVariants.size(); ++i)
    {
        const TransformVariantPtr &variant = _mfTransformVariants[i];
        if(variant != NullFC && matches(variant, target))
            _activeStates.insert(Int32(i));
    }
}

Int32 TransformVariantsAttachment::getSupposedActiveStateIndex(void) const
{
    if(_activeStates.empty())
        return -1;
    if(_activeStates.size() > 1)
    {
        Int32 supposed = indexOfContainer(_supposedState);
        if(supposed >= 0 && _activeStates.count(supposed) != 0)
            return supposed;
    }
    return *_activeStates.begin();
}

void TransformVariantsAttachment::setSupposedState(Int32 index)
{
    _supposedState = 0;
    if(index < 0)
        return;
    TransformVariantPtr variant = variantAt(UInt32(index), "setSupposedState");
    if(variant != NullFC)
        _supposedState = variant.getFieldContainerId();
}

Int32 TransformVariantsAttachment::getSupposedState(void) const
{
    return indexOfContainer(_supposedState);
}

/*------------------------------ on a container ---------------------------*/

TransformVariantsAttachmentPtr TransformVariantsAttachment::getTransformVariantsAttachment(
        const AttachmentContainerPtr &container)
{
    if(container == NullFC)
    {
        SWARNING << "TransformVariantsAttachment::getTransformVariantsAttachment: null container"
                 << std::endl;
        return NullFC;
    }
    return TransformVariantsAttachmentPtr::dcast(container->findAttachment(getClassType()));
}

TransformVariantsAttachmentPtr TransformVariantsAttachment::createTransformVariantsAttachment(
        const AttachmentContainerPtr &container)
{
    if(container == NullFC)
    {
        SWARNING << "TransformVariantsAttachment::createTransformVariantsAttachment: null "
                    "container" << std::endl;
        return NullFC;
    }
    TransformVariantsAttachmentPtr attachment = getTransformVariantsAttachment(container);
    if(attachment != NullFC)
        return attachment;
    attachment = TransformVariantsAttachment::create();
    if(attachment == NullFC)
    {
        SWARNING << "TransformVariantsAttachment::createTransformVariantsAttachment: no "
                    "attachment could be created" << std::endl;
        return NullFC;
    }
    CPEditor edit(container, AttachmentContainer::AttachmentsFieldMask);
    container->addAttachment(attachment);
    return attachment;
}

bool TransformVariantsAttachment::setTransformVariantsAttachment(
        const AttachmentContainerPtr &container, const TransformVariantsAttachmentPtr &attachment)
{
    if(container == NullFC || attachment == NullFC)
    {
        SWARNING << "TransformVariantsAttachment::setTransformVariantsAttachment: null "
                 << (container == NullFC ? "container" : "attachment") << ", ignored"
                 << std::endl;
        return false;
    }
    if(getTransformVariantsAttachment(container) == attachment)
        return true;
    CPEditor edit(container, AttachmentContainer::AttachmentsFieldMask);
    container->addAttachment(attachment);
    return true;
}

bool TransformVariantsAttachment::removeTransformVariantsAttachment(
        const AttachmentContainerPtr &container)
{
    TransformVariantsAttachmentPtr attachment = getTransformVariantsAttachment(container);
    if(attachment == NullFC)
        return false;
    CPEditor edit(container, AttachmentContainer::AttachmentsFieldMask);
    container->subAttachment(attachment);
    return true;
}

} // namespace osg
