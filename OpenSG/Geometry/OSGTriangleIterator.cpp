#include <OpenSG/OSGTriangleIterator.h>
#include <OpenSG/OSGLog.h>

namespace osg {

namespace {

const Char8 *const AttributeNames[] = {
    "positions", "normals", "colors", "secondary colors",
    "texture coordinates 0", "texture coordinates 1", "texture coordinates 2",
    "texture coordinates 3", "texture coordinates 4", "texture coordinates 5",
    "texture coordinates 6", "texture coordinates 7" };

// Triangles a primitive of the given type and length yields (degenerate ones included).
UInt32 trianglesOf(UInt32 type, UInt32 length)
{
    switch(type)
    {
        case GL_TRIANGLES:
            return length / 3;
        case GL_TRIANGLE_STRIP:
        case GL_QUAD_STRIP:
        case GL_TRIANGLE_FAN:
        case GL_POLYGON:
            return length >= 3 ? length - 2 : 0;
        case GL_QUADS:
            return (length / 4) * 2;
        default:
            return 0;
    }
}

bool knownType(UInt32 type)
{
    return type <= GL_POLYGON;
}

} // namespace

TriangleIterator::TriangleIterator(void) : TriangleIterator(NULL, EndTag())
{
}

TriangleIterator::TriangleIterator(const GeometryPtr &geo) : TriangleIterator(NULL, EndTag())
{
    _geo = geo.getCPtr();
    if(_geo == NULL)
    {
        SWARNING << "TriangleIterator: no geometry given" << std::endl;
        return;
    }
    setToBegin();
}

TriangleIterator::TriangleIterator(const NodePtr &node) : TriangleIterator(NULL, EndTag())
{
    GeometryPtr geo;
    if(node != NullFC)
        geo = GeometryPtr::dcast(node->getCore());
    if(geo == NullFC)
    {
        SWARNING << "TriangleIterator: the node has no geometry core" << std::endl;
        return;
    }
    _geo = geo.getCPtr();
    setToBegin();
}

void TriangleIterator::setToBegin(void)
{
    const Geometry *geo = _geo;
    *this = TriangleIterator(geo, EndTag());
    if(geo == NULL)
        return;

    // Indices and their layout.
    GeoIndicesPtr indices = geo->getIndices();
    UInt32 numIndices = 0;
    if(indices != NullFC)
    {
        _indexed   = true;
        numIndices = indices->getSize();
        if(indices->getFormat() == GL_UNSIGNED_INT && indices->getFormatSize() == 4)
            _indices32 = reinterpret_cast<const UInt32 *>(indices->getData());
        else if(indices->getFormat() == GL_UNSIGNED_SHORT && indices->getFormatSize() == 2)
            _indices16 = reinterpret_cast<const UInt16 *>(indices->getData());
        else
        {
            warnOnce("the indices are neither 32 nor 16 bits wide; the geometry is skipped");
            return;
        }
    }
    const MFUInt16 &mapping = geo->getIndexMapping();
    _numMappings = mapping.size() > 1 ? mapping.size() : 1;

    // Attributes: raw float access where the property stores floats.
    _positions    = geo->getPositions().getCPtr();
    _normals      = geo->getNormals().getCPtr();
    _colors[0]    = geo->getColors().getCPtr();
    _colors[1]    = geo->getSecondaryColors().getCPtr();
    for(UInt32 u = 0; u < Geometry::MaxTexCoords; ++u)
        _texCoords[u] = geo->getTexCoords(u).getCPtr();

    const GeoPropertyArrayInterface *props[NumAttributes] = {
        _positions, _normals, _colors[0], _colors[1],
        _texCoords[0], _texCoords[1], _texCoords[2], _texCoords[3],
        _texCoords[4], _texCoords[5], _texCoords[6], _texCoords[7] };
    UInt32 sharedLimit = 0x7FFFFFFF;
    for(UInt32 a = 0; a < NumAttributes; ++a)
    {
        const GeoPropertyArrayInterface *p = props[a];
        if(p == NULL)
            continue;
        _presentList[_numPresent++] = UInt8(a);
        Attribute &attr = _attr[a];
        attr.size = p->getSize();
        if(p->getFormat() == GL_FLOAT && p->getFormatSize() == sizeof(Real32) &&
           p->getStride() == 0 && attr.size > 0)
        {
            attr.floats = reinterpret_cast<const Real32 *>(p->getData());
            attr.dim    = p->getDimension();
            // Positions, normals and colours are read as three floats, texture coordinates
            // as two.
            if(attr.dim == (a < ATexCoords ? 3u : 2u))
                attr.fast = attr.floats;
        }
        if(mapping.size() > 1)
        {
            Int16 column = geo->calcMappingIndex(UInt16(1u << a));
            attr.mapped  = column >= 0;
            attr.column  = column >= 0 ? UInt32(column) : 0;
        }
        sharedLimit = attr.size < sharedLimit ? attr.size : sharedLimit;
    }

    // One index for every present attribute: without indices, with at most one mapping entry,
    // or when all present attributes sit in the same entry.
    _shared = true;
    for(UInt32 i = 0; i < _numPresent && _indexed; ++i)
    {
        const Attribute &attr = _attr[_presentList[i]];
        _shared = _shared && attr.mapped && attr.column == _attr[_presentList[0]].column;
    }
    _sharedColumn = _numPresent > 0 && _indexed ? _attr[_presentList[0]].column : 0;
    _sharedLimit  = sharedLimit;
    for(UInt32 i = 0; i < _numPresent; ++i)
        _slotOf[_presentList[i]] = UInt8(_shared ? SharedSlot : OwnSlots + _presentList[i]);

    // Points available to the primitives.
    if(_indexed)
        _numPoints = numIndices / _numMappings;
    else
        _numPoints = _positions != NULL ? _positions->getSize() : 0;

    // Primitives.
    _types   = geo->getTypes().getCPtr();
    _lengths = geo->getLengths().getCPtr();
    if(_types == NULL)
        return;
    _numPrims = _types->getSize();
    if(_lengths != NULL && _lengths->getSize() < _numPrims)
    {
        warnOnce("fewer lengths than types; the primitives without length are skipped");
        _numPrims = _lengths->getSize();
    }

    _atEnd     = false;
    _triIndex  = 0;
    _primIndex = 0;
    _primStart = 0;
    if(!startPrimitive())
        return;
    findTriangle();
}

void TriangleIterator::setToEnd(void)
{
    setEnd();
}

void TriangleIterator::setEnd(void)
{
    _atEnd      = true;
    _numPresent = 0;
    _indexed    = false;
    _primType   = 0;
    _primTris   = 0;
    _split      = false;
    for(UInt32 a = 0; a < NumAttributes; ++a)
        _slotOf[a] = MissingSlot;
}

void TriangleIterator::seek(Int32 index)
{
    setToBegin();
    while(!_atEnd && _triIndex < index)
        ++(*this);
}

bool TriangleIterator::startPrimitive(void)
{
    for(; _primIndex < _numPrims; ++_primIndex)
    {
        _primType = _types->getValue(_primIndex);
        UInt64 available = _numPoints - _primStart;
        UInt64 length    = _lengths != NULL ? UInt64(_lengths->getValue(_primIndex)) : available;
        if(length > available)
        {
            warnOnce("the primitive lengths run past the available points; cut there");
            length = available;
        }
        _primLength = UInt32(length);
        _primBase   = _primStart * _numMappings;
        _triInPrim  = 0;
        if(!knownType(_primType))
        {
            warnOnce("unknown primitive type; skipped");
            _primTris = 0;
        }
        else
            _primTris = trianglesOf(_primType, _primLength);
        if(_primTris > 0)
            return true;
        _primStart += _primLength;
    }
    setEnd();
    return false;
}

void TriangleIterator::findTriangle(void)
{
    while(!_atEnd)
    {
        if(_triInPrim >= _primTris)
        {
            _primStart += _primLength;
            ++_primIndex;
            if(!startPrimitive())
                return;
        }

        UInt32 t = _triInPrim;
        switch(_primType)
        {
            case GL_TRIANGLES:
                setCorners(3 * t, 3 * t + 1, 3 * t + 2);
                return;
            case GL_TRIANGLE_STRIP:
            case GL_QUAD_STRIP:
            {
                if(t & 1)
                    setCornerPoints(t + 1, t, t + 2);
                else
                    setCornerPoints(t, t + 1, t + 2);
                UInt32 i0 = rawPositionIndex(0), i1 = rawPositionIndex(1);
                UInt32 i2 = rawPositionIndex(2);
                if(i0 != i1 && i1 != i2 && i0 != i2)
                {
                    lookUpIndices(_point[0], _point[1], _point[2]);
                    return;
                }
                ++_triInPrim;   // degenerate: not a triangle of the strip
                break;
            }
            case GL_TRIANGLE_FAN:
            case GL_POLYGON:
                setCorners(0, t + 1, t + 2);
                return;
            case GL_QUADS:
            {
                UInt32 q = 4 * (t >> 1);
                if(t & 1)
                    setCorners(q, q + 2, q + 3);
                else
                    setCorners(q, q + 1, q + 2);
                return;
            }
            default:
                _triInPrim = _primTris;
                break;
        }
    }
}

/*------------------------------ index slots --------------------------------*/

void TriangleIterator::splitSlots(UInt32 r0, UInt32 r1, UInt32 r2)
{
    const UInt32 raw[3] = { r0, r1, r2 };
    for(UInt32 i = 0; i < _numPresent; ++i)
    {
        const UInt32 a = _presentList[i];
        for(UInt32 w = 0; w < 3; ++w)
            _slots[OwnSlots + a][w] = checked(a, raw[w]);
        _slotOf[a] = UInt8(OwnSlots + a);
    }
    _split = true;
}

void TriangleIterator::joinSlots(void)
{
    for(UInt32 i = 0; i < _numPresent; ++i)
        _slotOf[_presentList[i]] = SharedSlot;
    _split = false;
}

void TriangleIterator::lookUpEach(void)
{
    for(UInt32 i = 0; i < _numPresent; ++i)
    {
        const UInt32     a    = _presentList[i];
        const Attribute &attr = _attr[a];
        for(UInt32 w = 0; w < 3; ++w)
            _slots[OwnSlots + a][w] = checked(a, indexAt(offset(attr, w)));
    }
}

/*------------------------------ reads --------------------------------------*/

Pnt3f TriangleIterator::readPosition(UInt32 index) const
{
    const Attribute &attr = _attr[APositions];
    if(attr.floats != NULL)
    {
        Pnt3f p;
        for(UInt32 c = 0; c < attr.dim && c < 3; ++c)
            p[c] = attr.floats[attr.dim * index + c];
        return p;
    }
    return _positions->getValue(index);
}

Vec3f TriangleIterator::readNormal(UInt32 index) const
{
    const Attribute &attr = _attr[ANormals];
    if(attr.floats != NULL)
    {
        Vec3f n;
        for(UInt32 c = 0; c < attr.dim && c < 3; ++c)
            n[c] = attr.floats[attr.dim * index + c];
        return n;
    }
    return _normals->getValue(index);
}

Color3f TriangleIterator::readColor(UInt32 attribute, UInt32 index) const
{
    const Attribute &attr = _attr[attribute];
    if(attr.floats != NULL)
    {
        Color3f col;
        for(UInt32 c = 0; c < attr.dim && c < 3; ++c)
            col[c] = attr.floats[attr.dim * index + c];
        return col;
    }
    return _colors[attribute - AColors]->getValue(index);
}

Vec2f TriangleIterator::readTexCoords(UInt32 attribute, UInt32 index) const
{
    const Attribute &attr = _attr[attribute];
    if(attr.floats != NULL)
    {
        Vec2f t;
        for(UInt32 c = 0; c < attr.dim && c < 2; ++c)
            t[c] = attr.floats[attr.dim * index + c];
        return t;
    }
    return _texCoords[attribute - ATexCoords]->getValue(index);
}

/*------------------------------ reports ------------------------------------*/

Int32 TriangleIterator::badIndex(UInt32 attribute, UInt32 raw) const
{
    if(!_warned)
    {
        _warned = true;
        SWARNING << "TriangleIterator: index " << raw << " of the " << AttributeNames[attribute]
                 << " is beyond the property's " << _attr[attribute].size
                 << " elements; read as missing (further problems of this iteration are not "
                    "reported)" << std::endl;
    }
    return -1;
}

void TriangleIterator::warnOnce(const Char8 *what) const
{
    if(_warned)
        return;
    _warned = true;
    SWARNING << "TriangleIterator: " << what
             << " (further problems of this iteration are not reported)" << std::endl;
}

} // namespace osg
