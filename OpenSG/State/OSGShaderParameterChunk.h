#ifndef _OSGSHADERPARAMETERCHUNK_H_
#define _OSGSHADERPARAMETERCHUNK_H_

#include <OpenSG/OSGShaderParameterChunkBase.h>
#include <OpenSG/OSGShaderParameter.h>

namespace osg {

/*! A chunk with named uniforms, each a ShaderParameter container in `parameters`.

    Ownership of `parameters`: the chunk holds one reference per entry. The uniform operations
    below take it for a parameter they create and give it back when they remove one
    (subUniformParameter) or all (clearUniformParameters); destroying the chunk gives back all.
    A shallow copy shares its source's parameters and takes its own references. Reading the field
    from a stream or synchronising it takes none; a loader that ends its edit with the origin
    Abstract|AbstrIncRefCount makes the chunk take them then. Editing the field by hand through
    the generated accessors leaves the references to the caller.

    The uniform operations edit `parameters` without recording it: wrap them in the chunk's
    beginEditCP/endEditCP of ParametersFieldMask. A parameter's own value edit is recorded on the
    parameter. Setting an existing name updates its parameter in place; a name that exists with
    another kind of value is left alone with a warning and false. A null name is refused. */
class ShaderParameterChunk : public ShaderParameterChunkBase
{
  public:
    typedef ShaderParameterChunkBase Inherited;

    bool setUniformParameter(const Char8 *name, bool            value);
    bool setUniformParameter(const Char8 *name, Int32           value);
    bool setUniformParameter(const Char8 *name, Real32          value);
    bool setUniformParameter(const Char8 *name, const Vec2f    &value);
    bool setUniformParameter(const Char8 *name, const Vec3f    &value);
    bool setUniformParameter(const Char8 *name, const Vec4f    &value);
    bool setUniformParameter(const Char8 *name, const Matrix   &value);
    bool setUniformParameter(const Char8 *name, const MFInt32  &value);
    bool setUniformParameter(const Char8 *name, const MFReal32 &value);
    bool setUniformParameter(const Char8 *name, const MFVec2f  &value);
    bool setUniformParameter(const Char8 *name, const MFVec3f  &value);
    bool setUniformParameter(const Char8 *name, const MFVec4f  &value);
    bool setUniformParameter(const Char8 *name, const MFMatrix &value);

    /*! False (the value untouched) for a missing name or another kind of value. */
    bool getUniformParameter(const Char8 *name, bool     &value) const;
    bool getUniformParameter(const Char8 *name, Int32    &value) const;
    bool getUniformParameter(const Char8 *name, Real32   &value) const;
    bool getUniformParameter(const Char8 *name, Vec2f    &value) const;
    bool getUniformParameter(const Char8 *name, Vec3f    &value) const;
    bool getUniformParameter(const Char8 *name, Vec4f    &value) const;
    bool getUniformParameter(const Char8 *name, Matrix   &value) const;
    bool getUniformParameter(const Char8 *name, MFInt32  &value) const;
    bool getUniformParameter(const Char8 *name, MFReal32 &value) const;
    bool getUniformParameter(const Char8 *name, MFVec2f  &value) const;
    bool getUniformParameter(const Char8 *name, MFVec3f  &value) const;
    bool getUniformParameter(const Char8 *name, MFVec4f  &value) const;
    bool getUniformParameter(const Char8 *name, MFMatrix &value) const;

    /*! Removes and releases the named parameter; false when there is none. */
    bool subUniformParameter   (const Char8 *name);
    bool hasUniformParameter   (const Char8 *name) const;
    /*! Releases every parameter and empties the field. */
    void clearUniformParameters(void);

    /*! The named parameter, or NullFC. */
    ShaderParameterPtr findUniformParameter(const Char8 *name) const;

    void changed(BitVector whichField, UInt32 origin) override;

  protected:
    friend class FieldContainer;
    friend class ShaderParameterChunkBase;

    ShaderParameterChunk(void);
    ShaderParameterChunk(const ShaderParameterChunk &source);
    ~ShaderParameterChunk(void) override;

    void onCreate(const ShaderParameterChunk *source = NULL);
    void onDestroy(void) override;

  private:
    Int32 findIndex(const Char8 *name) const;

    template <class ParamT, class ValueT>
    bool setParameter(const Char8 *name, const ValueT &value);
    template <class ParamT, class ValueT>
    bool getParameter(const Char8 *name, ValueT &value) const;
};

} // namespace osg

#endif
