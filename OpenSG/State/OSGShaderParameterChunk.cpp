#include <OpenSG/OSGShaderParameterChunk.h>
#include <OpenSG/OSGShaderParameterBool.h>
#include <OpenSG/OSGShaderParameterInt.h>
#include <OpenSG/OSGShaderParameterReal.h>
#include <OpenSG/OSGShaderParameterVec2f.h>
#include <OpenSG/OSGShaderParameterVec3f.h>
#include <OpenSG/OSGShaderParameterVec4f.h>
#include <OpenSG/OSGShaderParameterMatrix.h>
#include <OpenSG/OSGShaderParameterMInt.h>
#include <OpenSG/OSGShaderParameterMReal.h>
#include <OpenSG/OSGShaderParameterMVec2f.h>
#include <OpenSG/OSGShaderParameterMVec3f.h>
#include <OpenSG/OSGShaderParameterMVec4f.h>
#include <OpenSG/OSGShaderParameterMMatrix.h>
#include <OpenSG/OSGLog.h>

#include <type_traits>

namespace osg {

namespace {

bool checkName(const Char8 *name, const Char8 *operation)
{
    if(name == NULL || *name == '\0')
    {
        SWARNING << "ShaderParameterChunk::" << operation << ": no parameter name given"
                 << std::endl;
        return false;
    }
    return true;
}

} // namespace

ShaderParameterChunk::ShaderParameterChunk(void) : Inherited()
{
}

ShaderParameterChunk::ShaderParameterChunk(const ShaderParameterChunk &source) :
    Inherited(source)
{
}

ShaderParameterChunk::~ShaderParameterChunk(void) = default;

void ShaderParameterChunk::onCreate(const ShaderParameterChunk *source)
{
    Inherited::onCreate(source);
    // The copy constructor shared the source's parameters; the copy owns its references.
    if(source != NULL)
    {
        for(const ShaderParameterPtr &p : _mfParameters)
            addRefCP(p);
    }
}

void ShaderParameterChunk::onDestroy(void)
{
    clearUniformParameters();
    Inherited::onDestroy();
}

void ShaderParameterChunk::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);

    if((origin & ChangedOrigin::Abstract) && (origin & ChangedOrigin::AbstrIncRefCount) &&
       (whichField & ParametersFieldMask))
    {
        for(const ShaderParameterPtr &p : _mfParameters)
            addRefCP(p);
    }
}

Int32 ShaderParameterChunk::findIndex(const Char8 *name) const
{
    for(UInt32 i = 0; i < _mfParameters.size(); ++i)
    {
        const ShaderParameterPtr &p = _mfParameters[i];
        if(p != NullFC && p->getName() == name)
            return Int32(i);
    }
    return -1;
}

ShaderParameterPtr ShaderParameterChunk::findUniformParameter(const Char8 *name) const
{
    if(name == NULL)
        return NullFC;
    Int32 index = findIndex(name);
    return index >= 0 ? _mfParameters[index] : ShaderParameterPtr();
}

template <class ParamT, class ValueT>
bool ShaderParameterChunk::setParameter(const Char8 *name, const ValueT &value)
{
    typedef typename ParamT::Ptr ParamPtr;

    if(!checkName(name, "setUniformParameter"))
        return false;

    ParamPtr param;
    BitVector mask = ParamT::ValueFieldMask;
    Int32 index = findIndex(name);
    if(index >= 0)
    {
        param = ParamPtr::dcast(_mfParameters[index]);
        if(param == NullFC)
        {
            SWARNING << "ShaderParameterChunk::setUniformParameter: parameter \"" << name
                     << "\" has the wrong type (it is a "
                     << _mfParameters[index]->getTypeName() << ")" << std::endl;
            return false;
        }
    }
    else
    {
        param = ParamT::create();
        if(param == NullFC)
        {
            SWARNING << "ShaderParameterChunk::setUniformParameter: cannot create a "
                     << ParamT::getClassType().getName() << std::endl;
            return false;
        }
        mask |= ParamT::NameFieldMask;
    }

    beginEditCP(param, mask);
    if(index < 0)
        param->setName(name);
    if constexpr(std::is_base_of<Field, ValueT>::value)
        param->editMFValue()->setValues(value);
    else
        param->setValue(value);
    endEditCP(param, mask);

    if(index < 0)
    {
        addRefCP(param);
        _mfParameters.push_back(param);
    }
    return true;
}

template <class ParamT, class ValueT>
bool ShaderParameterChunk::getParameter(const Char8 *name, ValueT &value) const
{
    typedef typename ParamT::Ptr ParamPtr;

    if(!checkName(name, "getUniformParameter"))
        return false;

    Int32 index = findIndex(name);
    if(index < 0)
    {
        SWARNING << "ShaderParameterChunk::getUniformParameter: no parameter \"" << name << "\""
                 << std::endl;
        return false;
    }
    ParamPtr param = ParamPtr::dcast(_mfParameters[index]);
    if(param == NullFC)
    {
        SWARNING << "ShaderParameterChunk::getUniformParameter: parameter \"" << name
                 << "\" has the wrong type (it is a " << _mfParameters[index]->getTypeName()
                 << ")" << std::endl;
        return false;
    }
    if constexpr(std::is_base_of<Field, ValueT>::value)
        value.setValues(*param->getMFValue());
    else
        value = param->getValue();
    return true;
}

#define OSG_SHADER_PARAMETER_ACCESS(KIND, ARG, VALUE)                                        \
    bool ShaderParameterChunk::setUniformParameter(const Char8 *name, ARG value)          \
    {                                                                                      \
        return setParameter<ShaderParameter##KIND>(name, value);                           \
    }                                                                                      \
    bool ShaderParameterChunk::getUniformParameter(const Char8 *name, VALUE &value) const \
    {                                                                                      \
        return getParameter<ShaderParameter##KIND>(name, value);                           \
    }

OSG_SHADER_PARAMETER_ACCESS(Bool,    bool,             bool)
OSG_SHADER_PARAMETER_ACCESS(Int,     Int32,            Int32)
OSG_SHADER_PARAMETER_ACCESS(Real,    Real32,           Real32)
OSG_SHADER_PARAMETER_ACCESS(Vec2f,   const Vec2f &,    Vec2f)
OSG_SHADER_PARAMETER_ACCESS(Vec3f,   const Vec3f &,    Vec3f)
OSG_SHADER_PARAMETER_ACCESS(Vec4f,   const Vec4f &,    Vec4f)
OSG_SHADER_PARAMETER_ACCESS(Matrix,  const Matrix &,   Matrix)
OSG_SHADER_PARAMETER_ACCESS(MInt,    const MFInt32 &,  MFInt32)
OSG_SHADER_PARAMETER_ACCESS(MReal,   const MFReal32 &, MFReal32)
OSG_SHADER_PARAMETER_ACCESS(MVec2f,  const MFVec2f &,  MFVec2f)
OSG_SHADER_PARAMETER_ACCESS(MVec3f,  const MFVec3f &,  MFVec3f)
OSG_SHADER_PARAMETER_ACCESS(MVec4f,  const MFVec4f &,  MFVec4f)
OSG_SHADER_PARAMETER_ACCESS(MMatrix, const MFMatrix &, MFMatrix)

#undef OSG_SHADER_PARAMETER_ACCESS

bool ShaderParameterChunk::subUniformParameter(const Char8 *name)
{
    if(!checkName(name, "subUniformParameter"))
        return false;
    Int32 index = findIndex(name);
    if(index < 0)
        return false;
    ShaderParameterPtr param = _mfParameters[index];
    _mfParameters.erase(_mfParameters.begin() + index);
    subRefCP(param);
    return true;
}

bool ShaderParameterChunk::hasUniformParameter(const Char8 *name) const
{
    return name != NULL && findIndex(name) >= 0;
}

void ShaderParameterChunk::clearUniformParameters(void)
{
    // Emptied before releasing, so nothing destroyed on the way sees stale entries.
    MFShaderParameterPtr::StorageType params;
    params.swap(_mfParameters.getValues());
    for(const ShaderParameterPtr &p : params)
        subRefCP(p);
}

} // namespace osg
