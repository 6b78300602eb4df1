#include <OpenSGExt/OSGTransformVariant.h>
#include <OpenSG/OSGLog.h>

namespace osg {

namespace {

struct ComponentRule
{
    UInt32 flags;     // bits covering the component
    bool   perAxis;   // bit k of flags (from the lowest) covers axis k; else all or nothing
};

const ComponentRule Rules[TransformVariant::ComponentCount] = {
    { TransformVariant::ApplyTranslation, true  },
    { TransformVariant::ApplyRotation,    true  },
    { TransformVariant::ApplyScale,       true  },
    { TransformVariant::ApplyScalePivot,  false },
    { TransformVariant::ApplyScalePivot,  false },
    { TransformVariant::ApplyRotatePivot, false },
    { TransformVariant::ApplyRotatePivot, false },
    { TransformVariant::ApplyRotatePivot, false },
};

bool validComponent(TransformVariant::Component component)
{
    return component >= TransformVariant::Translation &&
           component < TransformVariant::ComponentCount;
}

} // namespace

TransformVariant::TransformVariant(void) : Inherited(), _transformationChanged()
{
}

TransformVariant::TransformVariant(const TransformVariant &source) :
    Inherited(source),
    _transformationChanged()
{
}

TransformVariant::~TransformVariant(void) = default;

void TransformVariant::onCreate(const TransformVariant *source)
{
    Inherited::onCreate(source);
    // The copy constructor shared the source's transformation; the copy owns its reference.
    if(source != NULL)
        addRefCP(_sfTransformation.getValue());
    watchTransformation();
}

void TransformVariant::onDestroy(void)
{
    _transformationChanged.reset();
    clearRefCP(_sfTransformation.getValue());
    Inherited::onDestroy();
}

void TransformVariant::watchTransformation(void)
{
    // A fresh function object each time: the registration on the previous transformation (held
    // weakly there) expires with the old object, whether or not that container still exists.
    _transformationChanged.reset();
    const Transform3DPtr &transformation = _sfTransformation.getValue();
    if(transformation == NullFC)
        return;
    _transformationChanged = std::make_shared<ChangedFunction>(
        [this](const FieldContainerPtr &, const BitVector &, UInt32 origin) {
            callChangedFunctions(TransformationFieldMask, origin);
        });
    transformation->addChangedFunction(_transformationChanged);
}

void TransformVariant::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);

    if(whichField & TransformationFieldMask)
    {
        if((origin & ChangedOrigin::Abstract) && (origin & ChangedOrigin::AbstrIncRefCount))
            addRefCP(_sfTransformation.getValue());
        watchTransformation();
    }
}

void TransformVariant::setTransformation(const Transform3DPtr &transformation)
{
    if(transformation == _sfTransformation.getValue())
        return;
    CPEditor edit(FieldContainerPtr(this), TransformationFieldMask);
    setRefdCP(_sfTransformation.getValue(), transformation);
}

TransformVariantPtr TransformVariant::duplicate(void) const
{
    TransformVariantPtr copy = TransformVariant::create();
    if(copy == NullFC)
    {
        SWARNING << "TransformVariant::duplicate: no TransformVariant could be created"
                 << std::endl;
        return copy;
    }
    Transform3DPtr transformation;
    if(_sfTransformation.getValue() != NullFC)
        transformation = Transform3DPtr::dcast(_sfTransformation.getValue()->shallowCopy());

    const BitVector mask = NameFieldMask | ApplyFlagsFieldMask | TransformationFieldMask;
    beginEditCP(copy, mask);
    copy->editName()       = _sfName.getValue();
    copy->editApplyFlags() = _sfApplyFlags.getValue();
    setRefdCP(copy->editTransformation(), transformation);
    endEditCP(copy, mask);
    return copy;
}

/*------------------------------ components -------------------------------*/

Vec3f TransformVariant::readComponent(const Transform3DPtr &transform, Component component)
{
    if(transform == NullFC)
        return Vec3f(0.f, 0.f, 0.f);
    switch(component)
    {
        case Translation:              return transform->getTranslation();
        case EulerRotation:            return transform->getEulerRotation();
        case Scale:                    return transform->getScale();
        case ScalePivot:               return transform->getScalePivot();
        case ScalePivotTranslation:    return transform->getScalePivotTranslation();
        case RotatePivot:              return transform->getRotatePivot();
        case EulerRotationOrientation: return transform->getEulerRotationOrientation();
        case RotatePivotTranslation:   return transform->getRotatePivotTranslation();
        default:                       break;
    }
    SWARNING << "TransformVariant: component " << Int32(component) << " does not exist"
             << std::endl;
    return Vec3f(0.f, 0.f, 0.f);
}

UInt32 TransformVariant::componentFlags(Component component)
{
    return validComponent(component) ? Rules[component].flags : 0;
}

Vec3f TransformVariant::getComponent(Component component) const
{
    return readComponent(_sfTransformation.getValue(), component);
}

Vec3f TransformVariant::mixComponent(Component component, const Vec3f &current) const
{
    if(!validComponent(component))
    {
        SWARNING << "TransformVariant::mixComponent: component " << Int32(component)
                 << " does not exist" << std::endl;
        return current;
    }
    const ComponentRule &rule  = Rules[component];
    const UInt32         flags = _sfApplyFlags.getValue() & rule.flags;
    if(flags == 0)
        return current;

    const Vec3f own = getComponent(component);
    if(!rule.perAxis)
        return own;

    Vec3f  result = current;
    UInt32 bit    = rule.flags & ~(rule.flags - 1);   // lowest bit: the x axis
    for(UInt32 axis = 0; axis < 3; ++axis, bit <<= 1)
    {
        if(flags & bit)
            result[axis] = own[axis];
    }
    return result;
}

Vec3f TransformVariant::getTranslation(void) const
{
    return getComponent(Translation);
}

Vec3f TransformVariant::getEulerRotation(void) const
{
    return getComponent(EulerRotation);
}

Vec3f TransformVariant::getScale(void) const
{
    return getComponent(Scale);
}

Vec3f TransformVariant::getScalePivot(void) const
{
    return getComponent(ScalePivot);
}

Vec3f TransformVariant::getScalePivotTranslation(void) const
{
    return getComponent(ScalePivotTranslation);
}

Vec3f TransformVariant::getRotatePivot(void) const
{
    return getComponent(RotatePivot);
}

Vec3f TransformVariant::getEulerRotationOrientation(void) const
{
    return getComponent(EulerRotationOrientation);
}

Vec3f TransformVariant::getRotatePivotTranslation(void) const
{
    return getComponent(RotatePivotTranslation);
}

Int32 TransformVariant::getRotationMode(void) const
{
    const Transform3DPtr &transformation = _sfTransformation.getValue();
    return transformation != NullFC ? transformation->getRotationMode() : 0;
}

Vec3f TransformVariant::mixTranslation(const Vec3f &current) const
{
    return mixComponent(Translation, current);
}

Vec3f TransformVariant::mixEulerRotation(const Vec3f &current) const
{
    return mixComponent(EulerRotation, current);
}

Vec3f TransformVariant::mixScale(const Vec3f &current) const
{
    return mixComponent(Scale, current);
}

Vec3f TransformVariant::mixScalePivot(const Vec3f &current) const
{
    return mixComponent(ScalePivot, current);
}

Vec3f TransformVariant::mixScalePivotTranslation(const Vec3f &current) const
{
    return mixComponent(ScalePivotTranslation, current);
}

Vec3f TransformVariant::mixRotatePivot(const Vec3f &current) const
{
    return mixComponent(RotatePivot, current);
}

Vec3f TransformVariant::mixEulerRotationOrientation(const Vec3f &current) const
{
    return mixComponent(EulerRotationOrientation, current);
}

Vec3f TransformVariant::mixRotatePivotTranslation(const Vec3f &current) const
{
    return mixComponent(RotatePivotTranslation, current);
}

Int32 TransformVariant::mixRotationMode(Int32 current) const
{
    if(_sfApplyFlags.getValue() & (ApplyRotation | ApplyRotationMode))
        return getRotationMode();
    return current;
}

} // namespace osg
