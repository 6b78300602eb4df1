#include <OpenSGExt/OSGSwitchComponentTransform.h>
#include <OpenSG/OSGIntersectAction.h>
#include <OpenSG/OSGLog.h>

#include <algorithm>
#include <iostream>
#include <string>

namespace osg {

namespace {

// Clears the flag however the scope is left.
class FlagGuard
{
  public:
    explicit FlagGuard(bool &flag) : _flag(flag) { _flag = true; }
    ~FlagGuard() { _flag = false; }
    FlagGuard(const FlagGuard &) = delete;
    FlagGuard &operator=(const FlagGuard &) = delete;
  private:
    bool &_flag;
};

} // namespace

SwitchComponentTransform::SwitchComponentTransform(void) : Inherited(), _inChanged(false)
{
}

SwitchComponentTransform::SwitchComponentTransform(const SwitchComponentTransform &source) :
    Inherited(source),
    _inChanged(false)
{
}

SwitchComponentTransform::~SwitchComponentTransform(void) = default;

void SwitchComponentTransform::initMethod(void)
{
    IntersectAction::registerEnterDefault(
        getClassType(),
        osgTypedMethodFunctor2BaseCPtrRef<Action::ResultE, SwitchComponentTransformPtr, CNodePtr,
                                          Action *>(&SwitchComponentTransform::intersectEnter));
    IntersectAction::registerLeaveDefault(
        getClassType(),
        osgTypedMethodFunctor2BaseCPtrRef<Action::ResultE, SwitchComponentTransformPtr, CNodePtr,
                                          Action *>(&SwitchComponentTransform::intersectLeave));
}

void SwitchComponentTransform::onCreate(const SwitchComponentTransform *source)
{
    Inherited::onCreate(source);
    if(source != NULL || getCount() != 0 || !_mfCenters.empty() || !_mfRotations.empty() ||
       !_mfScales.empty() || !_mfScaleOrientations.empty())
    {
        return;
    }
    // Creation is recorded as such; the first entry needs no edit of its own.
    _mfCenters.push_back(_sfCenter.getValue());
    _mfRotations.push_back(_sfRotation.getValue());
    _mfScales.push_back(_sfScale.getValue());
    _mfScaleOrientations.push_back(_sfScaleOrientation.getValue());
    _mfTranslations.push_back(_sfTranslation.getValue());
}

UInt32 SwitchComponentTransform::getCount(void) const
{
    return _mfTranslations.size();
}

bool SwitchComponentTransform::entryExists(UInt32 index) const
{
    const UInt32 n = getCount();
    if(index >= n)
        return false;
    if(_mfCenters.size() != n || _mfRotations.size() != n || _mfScales.size() != n ||
       _mfScaleOrientations.size() != n)
    {
        SWARNING << "SwitchComponentTransform: entry lists of unequal length (centers "
                 << _mfCenters.size() << ", rotations " << _mfRotations.size() << ", scales "
                 << _mfScales.size() << ", scaleOrientations " << _mfScaleOrientations.size()
                 << ", translations " << n << ")" << std::endl;
        return index < std::min({ _mfCenters.size(), _mfRotations.size(), _mfScales.size(),
                                  _mfScaleOrientations.size() });
    }
    return true;
}

void SwitchComponentTransform::changed(BitVector whichField, UInt32 origin)
{
    if(_inChanged)
    {
        Inherited::changed(whichField, origin);
        return;
    }

    const UInt32 c     = _sfChoice.getValue();
    const bool   entry = entryExists(c);

    // Live components edited: store them into the chosen entry.
    BitVector stored(0);
    if(entry)
    {
        if(whichField & CenterFieldMask)
        {
            _mfCenters[c] = _sfCenter.getValue();
            stored |= CentersFieldMask;
        }
        if(whichField & RotationFieldMask)
        {
            _mfRotations[c] = _sfRotation.getValue();
            stored |= RotationsFieldMask;
        }
        if(whichField & ScaleFieldMask)
        {
            _mfScales[c] = _sfScale.getValue();
            stored |= ScalesFieldMask;
        }
        if(whichField & ScaleOrientationFieldMask)
        {
            _mfScaleOrientations[c] = _sfScaleOrientation.getValue();
            stored |= ScaleOrientationsFieldMask;
        }
        if(whichField & TranslationFieldMask)
        {
            _mfTranslations[c] = _sfTranslation.getValue();
            stored |= TranslationsFieldMask;
        }
    }

    // Choice changed: show the chosen entry.
    const bool loaded = entry && (whichField & ChoiceFieldMask);
    if(loaded)
    {
        _sfCenter.setValue(_mfCenters[c]);
        _sfRotation.setValue(_mfRotations[c]);
        _sfScale.setValue(_mfScales[c]);
        _sfScaleOrientation.setValue(_mfScaleOrientations[c]);
        _sfTranslation.setValue(_mfTranslations[c]);
    }

    BitVector passOn = whichField;
    if(stored != BitVector(0) || loaded)
    {
        FlagGuard         guard(_inChanged);
        FieldContainerPtr thisP(this);
        if(stored != BitVector(0))
        {
            beginEditCP(thisP, stored);
            endEditCP(thisP, stored);
        }
        // The loaded components are recorded so that they reach other copies, without a
        // changed() of their own: that would rebuild the matrix a second time.
        if(loaded)
        {
            beginEditCP(thisP, ComponentsFieldMask);
            endEditNotChangedCP(thisP, ComponentsFieldMask);
        }
        rebuildMatrix();
        // ComponentTransform would only rebuild the same matrix again.
        passOn &= ~ComponentsFieldMask;
    }

    Inherited::changed(passOn, origin);
}

void SwitchComponentTransform::addComponent(void)
{
    CPEditor edit(FieldContainerPtr(this), EntriesFieldMask);
    _mfCenters.push_back(_sfCenter.getValue());
    _mfRotations.push_back(_sfRotation.getValue());
    _mfScales.push_back(_sfScale.getValue());
    _mfScaleOrientations.push_back(_sfScaleOrientation.getValue());
    _mfTranslations.push_back(_sfTranslation.getValue());
}

bool SwitchComponentTransform::removeCurrentComponent(void)
{
    const UInt32 c = _sfChoice.getValue();
    if(getCount() < 2 || !entryExists(c))
        return false;

    // Ending the edit with the choice bit loads the entry that now sits at the choice.
    CPEditor edit(FieldContainerPtr(this), EntriesFieldMask | ChoiceFieldMask);
    _mfCenters.erase(_mfCenters.begin() + c);
    _mfRotations.erase(_mfRotations.begin() + c);
    _mfScales.erase(_mfScales.begin() + c);
    _mfScaleOrientations.erase(_mfScaleOrientations.begin() + c);
    _mfTranslations.erase(_mfTranslations.begin() + c);
    if(c >= getCount())
        _sfChoice.setValue(getCount() - 1);
    return true;
}

void SwitchComponentTransform::dump(UInt32 uiIndent, const BitVector) const
{
    dump(std::cout, uiIndent);
}

void SwitchComponentTransform::dump(std::ostream &os, UInt32 uiIndent) const
{
    const std::string pad(uiIndent, ' ');
    const UInt32      n = getCount();
    os << pad << getType().getName() << " #" << getContainerId() << ": choice "
       << _sfChoice.getValue() << " of " << n << " entries\n";
    os << pad << "  live: translation " << _sfTranslation.getValue() << ", rotation "
       << _sfRotation.getValue() << ", scale " << _sfScale.getValue()
       << ", scaleOrientation " << _sfScaleOrientation.getValue() << ", center "
       << _sfCenter.getValue() << "\n";
    for(UInt32 i = 0; i < n; ++i)
    {
        os << pad << (i == _sfChoice.getValue() ? " *" : "  ") << "[" << i << "] translation "
           << _mfTranslations[i];
        if(i < _mfRotations.size())
            os << ", rotation " << _mfRotations[i];
        if(i < _mfScales.size())
            os << ", scale " << _mfScales[i];
        if(i < _mfScaleOrientations.size())
            os << ", scaleOrientation " << _mfScaleOrientations[i];
        if(i < _mfCenters.size())
            os << ", center " << _mfCenters[i];
        os << "\n";
    }
    os.flush();
}

} // namespace osg
