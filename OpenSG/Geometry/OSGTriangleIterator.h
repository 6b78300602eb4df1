#ifndef _OSGTRIANGLEITERATOR_H_
#define _OSGTRIANGLEITERATOR_H_

#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGNode.h>

// Branch hints for the per-corner paths: the rare paths call out of line, and telling the
// compiler so keeps the caller's floating-point registers from being spilled around them.
#if defined(__GNUC__)
#define OSG_TRIIT_LIKELY(x)   __builtin_expect(!!(x), 1)
#define OSG_TRIIT_UNLIKELY(x) __builtin_expect(!!(x), 0)
#define OSG_TRIIT_COLD        __attribute__((cold, noinline))
#else
#define OSG_TRIIT_LIKELY(x)   (x)
#define OSG_TRIIT_UNLIKELY(x) (x)
#define OSG_TRIIT_COLD
#endif

namespace osg {

/*! Walks the triangles of a geometry's primitives and reads the attributes of their corners.

    Triangles: GL_TRIANGLES (0,1,2),(3,4,5)...; GL_TRIANGLE_STRIP and GL_QUAD_STRIP
    (0,1,2),(2,1,3),(2,3,4),(4,3,5)..., leaving out triangles with two equal position indices;
    GL_TRIANGLE_FAN and GL_POLYGON (0,1,2),(0,2,3)...; GL_QUADS (0,1,2),(0,2,3),(4,5,6)...
    Points, lines and primitives too short for a triangle give none; an unknown type is
    reported. getIndex() counts the triangles given.

    Corner w (0, 1 or 2) is point p of the geometry; an attribute's index for it is, with n
    interleaved indices, indices[p * n + j] when the attribute's Map* bit is in entry j of the
    mapping, indices[s * n + k] when it is in none (s the primitive's first point, p = s + k),
    indices[p] when n <= 1 and p without indices. A missing property gives index -1 and a zero
    value; so does a corner index beyond the property's size. Primitive lengths come from the
    lengths property, else the first primitive takes every point. Lengths that run past the
    available points are cut there. Problems in the data are reported once per iterator.

    The iterator keeps raw pointers into the properties, taken when it starts (construction,
    setToBegin, seek): the geometry must not change while it is in use. It takes no reference
    to the geometry. Comparing with endTriangles() is cheap. */
class TriangleIterator
{
  public:
    /*! An iterator at the end, without geometry. */
    TriangleIterator(void);
    /*! At the first triangle of the geometry; a null geometry is reported and at the end. */
    explicit TriangleIterator(const GeometryPtr &geo);
    /*! At the first triangle of the node's geometry core; without one reported and at the
        end. */
    explicit TriangleIterator(const NodePtr &node);

    /*------------------------- movement -----------------------------------*/
    TriangleIterator &operator++(void);
    TriangleIterator  operator++(int);

    void setToBegin(void);
    void setToEnd  (void);
    /*! Moves to the triangle with the given running number (the end if there is none). */
    void seek(Int32 index);

    bool  isAtEnd (void) const { return _atEnd;    }
    /*! Running number of the current triangle. */
    Int32 getIndex(void) const { return _triIndex; }

    /*! Same geometry and both at the end, or both at the same triangle. */
    bool operator==(const TriangleIterator &other) const;
    bool operator!=(const TriangleIterator &other) const { return !(*this == other); }

    GeometryPtr getGeometry(void) const { return GeometryPtr(_geo); }
    /*! The type of the primitive the current triangle comes from. */
    UInt32 getType(void) const { return _primType; }

    /*------------------------- corners ------------------------------------*/
    Int32   getPositionIndex      (Int32 which) const { return index(APositions, which);      }
    Pnt3f   getPosition           (Int32 which) const;
    Int32   getNormalIndex        (Int32 which) const { return index(ANormals, which);        }
    Vec3f   getNormal             (Int32 which) const;
    Int32   getColorIndex         (Int32 which) const { return index(AColors, which);         }
    Color3f getColor              (Int32 which) const { return color(AColors, which);         }
    Int32   getSecondaryColorIndex(Int32 which) const { return index(ASecondaryColors, which);}
    Color3f getSecondaryColor     (Int32 which) const { return color(ASecondaryColors, which);}

    Int32 getTexCoordsIndex (Int32 which) const { return index(ATexCoords + 0, which); }
    Int32 getTexCoordsIndex1(Int32 which) const { return index(ATexCoords + 1, which); }
    Int32 getTexCoordsIndex2(Int32 which) const { return index(ATexCoords + 2, which); }
    Int32 getTexCoordsIndex3(Int32 which) const { return index(ATexCoords + 3, which); }
    Int32 getTexCoordsIndex4(Int32 which) const { return index(ATexCoords + 4, which); }
    Int32 getTexCoordsIndex5(Int32 which) const { return index(ATexCoords + 5, which); }
    Int32 getTexCoordsIndex6(Int32 which) const { return index(ATexCoords + 6, which); }
    Int32 getTexCoordsIndex7(Int32 which) const { return index(ATexCoords + 7, which); }

    Vec2f getTexCoords (Int32 which) const { return texCoords(ATexCoords + 0, which); }
    Vec2f getTexCoords1(Int32 which) const { return texCoords(ATexCoords + 1, which); }
    Vec2f getTexCoords2(Int32 which) const { return texCoords(ATexCoords + 2, which); }
    Vec2f getTexCoords3(Int32 which) const { return texCoords(ATexCoords + 3, which); }
    Vec2f getTexCoords4(Int32 which) const { return texCoords(ATexCoords + 4, which); }
    Vec2f getTexCoords5(Int32 which) const { return texCoords(ATexCoords + 5, which); }
    Vec2f getTexCoords6(Int32 which) const { return texCoords(ATexCoords + 6, which); }
    Vec2f getTexCoords7(Int32 which) const { return texCoords(ATexCoords + 7, which); }

    /*! Where the corner's indices start in the indices property (p * n), -1 without indices. */
    Int32 getIndexIndex(Int32 which) const;

  private:
    friend class Geometry;

    enum
    {
        APositions       = 0,
        ANormals         = 1,
        AColors          = 2,
        ASecondaryColors = 3,
        ATexCoords       = 4,
        NumAttributes    = 12
    };

    struct Attribute
    {
        const Real32 *floats  = NULL;   // the values when stored as floats, else NULL
        const Real32 *fast    = NULL;   // floats, when they have the accessor's dimension
        UInt32        dim     = 0;      // float components per element (0: not floats)
        UInt32        size    = 0;      // elements
        UInt32        column  = 0;      // mapping entry of the attribute's index
        bool          mapped  = true;   // false: the attribute is in no mapping entry
    };

    struct EndTag {};
    TriangleIterator(const Geometry *geo, EndTag);

    // The current triangle's attribute indices live in slots of three: slot 0 holds -1s for
    // missing attributes, slot 1 the index that all attributes share when one index serves
    // them all (the common single-indexed case, looked up once per corner), slot 2 + a the
    // checked indices of attribute a otherwise. Slots are numbers, not pointers, so that
    // copies of an iterator stay self-contained.
    enum
    {
        MissingSlot = 0,
        SharedSlot  = 1,
        OwnSlots    = 2,
        NumSlots    = OwnSlots + NumAttributes
    };

    Int32 index(UInt32 attribute, Int32 which) const
    {
        return UInt32(which) < 3 ? _slots[_slotOf[attribute]][which] : -1;
    }

    /*! Where an attribute's index for a corner is in the indices. */
    UInt32 offset(const Attribute &attr, UInt32 which) const
    {
        return attr.mapped ? _point[which] * _numMappings + attr.column
                           : _primBase + (_point[which] - _primStart);
    }

    UInt32 indexAt(UInt32 at) const
    {
        return _indices32 != NULL ? _indices32[at] : UInt32(_indices16[at]);
    }

    /*! The position index of a corner, unchecked against the positions (degenerate strips). */
    UInt32 rawPositionIndex(UInt32 which) const
    {
        return _indexed ? indexAt(offset(_attr[APositions], which)) : _point[which];
    }

    Int32 checked(UInt32 attribute, UInt32 raw) const
    {
        if(OSG_TRIIT_LIKELY(raw < _attr[attribute].size))
            return Int32(raw);
        return badIndex(attribute, raw);
    }

    /*! Looks the current corners' indices up, once per triangle, so that the accessors only
        read them. */
    void lookUpIndices(UInt32 p0, UInt32 p1, UInt32 p2)
    {
        if(OSG_TRIIT_LIKELY(_shared))
        {
            // Without indices the points are the indices.
            UInt32 r0 = p0, r1 = p1, r2 = p2;
            if(_indices32 != NULL)
            {
                r0 = _indices32[p0 * _numMappings + _sharedColumn];
                r1 = _indices32[p1 * _numMappings + _sharedColumn];
                r2 = _indices32[p2 * _numMappings + _sharedColumn];
            }
            else if(_indices16 != NULL)
            {
                r0 = _indices16[p0 * _numMappings + _sharedColumn];
                r1 = _indices16[p1 * _numMappings + _sharedColumn];
                r2 = _indices16[p2 * _numMappings + _sharedColumn];
            }
            UInt32 largest = r0 > r1 ? r0 : r1;
            largest = largest > r2 ? largest : r2;
            if(OSG_TRIIT_LIKELY(largest < _sharedLimit))
            {
                _slots[SharedSlot][0] = Int32(r0);
                _slots[SharedSlot][1] = Int32(r1);
                _slots[SharedSlot][2] = Int32(r2);
                if(OSG_TRIIT_UNLIKELY(_split))
                    joinSlots();
                return;
            }
            splitSlots(r0, r1, r2);
            return;
        }
        lookUpEach();
    }

    Color3f color    (UInt32 attribute, Int32 which) const;
    Vec2f   texCoords(UInt32 attribute, Int32 which) const;

    // Reads that the inline float paths leave: other dimensions and non-float properties.
    OSG_TRIIT_COLD Pnt3f   readPosition (UInt32 index) const;
    OSG_TRIIT_COLD Vec3f   readNormal   (UInt32 index) const;
    OSG_TRIIT_COLD Color3f readColor    (UInt32 attribute, UInt32 index) const;
    OSG_TRIIT_COLD Vec2f   readTexCoords(UInt32 attribute, UInt32 index) const;

    OSG_TRIIT_COLD Int32 badIndex(UInt32 attribute, UInt32 raw) const;
    void  warnOnce(const Char8 *what) const;

    // The shared index out of range for some attribute: each one checks its own.
    OSG_TRIIT_COLD void splitSlots(UInt32 r0, UInt32 r1, UInt32 r2);
    OSG_TRIIT_COLD void joinSlots (void);
    // Attributes with indices of their own (interleaved indices).
    void lookUpEach(void);

    void findTriangle(void);
    bool startPrimitive(void);
    /*! Corners given relative to the primitive's first point. */
    void setCornerPoints(UInt32 k0, UInt32 k1, UInt32 k2)
    {
        _point[0] = _primStart + k0;
        _point[1] = _primStart + k1;
        _point[2] = _primStart + k2;
    }
    void setCorners(UInt32 k0, UInt32 k1, UInt32 k2)
    {
        const UInt32 p0 = _primStart + k0, p1 = _primStart + k1, p2 = _primStart + k2;
        _point[0] = p0;
        _point[1] = p1;
        _point[2] = p2;
        lookUpIndices(p0, p1, p2);
    }
    void setEnd(void);

    const Geometry *_geo      = NULL;
    bool            _atEnd    = true;
    mutable bool    _warned   = false;
    Int32           _triIndex = 0;

    // primitives
    const GeoPTypes   *_types      = NULL;
    const GeoPLengths *_lengths    = NULL;
    UInt32             _numPrims   = 0;
    UInt32             _numPoints  = 0;
    UInt32             _primIndex  = 0;
    UInt32             _primType   = 0;
    UInt32             _primStart  = 0;
    UInt32             _primLength = 0;
    UInt32             _primTris   = 0;
    UInt32             _primBase   = 0;   // _primStart * _numMappings
    UInt32             _triInPrim  = 0;

    // indices
    bool          _indexed     = false;
    const UInt32 *_indices32   = NULL;
    const UInt16 *_indices16   = NULL;
    UInt32        _numMappings = 1;

    // the current triangle's corners as points
    UInt32 _point[3] = { 0, 0, 0 };

    // attributes: the present ones and the slots of the current triangle's indices
    UInt32              _numPresent   = 0;
    UInt8               _presentList[NumAttributes];
    Attribute           _attr[NumAttributes];
    bool                _shared       = true;    // one index serves every present attribute
    bool                _split        = false;   // ... but this triangle needed own slots
    UInt32              _sharedColumn = 0;
    UInt32              _sharedLimit  = 0;       // the smallest present size (capped to Int32)
    UInt8               _slotOf[NumAttributes];
    Int32               _slots[NumSlots][3];
    const GeoPositions *_positions = NULL;
    const GeoNormals   *_normals   = NULL;
    const GeoColors    *_colors[2]    = { NULL, NULL };
    const GeoTexCoords *_texCoords[8] = { NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL };
};

/*------------------------------ inline -------------------------------------*/

inline TriangleIterator::TriangleIterator(const Geometry *geo, EndTag) : _geo(geo)
{
    for(UInt32 a = 0; a < NumAttributes; ++a)
    {
        _presentList[a] = 0;
        _slotOf[a]      = MissingSlot;
    }
    for(UInt32 i = 0; i < NumSlots; ++i)
        _slots[i][0] = _slots[i][1] = _slots[i][2] = -1;
}

inline TriangleIterator &TriangleIterator::operator++(void)
{
    if(_atEnd)
        return *this;
    ++_triIndex;
    ++_triInPrim;
    // Triangle lists stay inline; everything else takes the general path.
    if(OSG_TRIIT_LIKELY(_primType == GL_TRIANGLES && _triInPrim < _primTris))
    {
        UInt32 k = 3 * _triInPrim;
        setCorners(k, k + 1, k + 2);
        return *this;
    }
    findTriangle();
    return *this;
}

inline TriangleIterator TriangleIterator::operator++(int)
{
    TriangleIterator old(*this);
    ++(*this);
    return old;
}

inline bool TriangleIterator::operator==(const TriangleIterator &other) const
{
    if(_geo != other._geo)
        return false;
    if(_atEnd || other._atEnd)
        return _atEnd == other._atEnd;
    return _triIndex == other._triIndex;
}

inline Int32 TriangleIterator::getIndexIndex(Int32 which) const
{
    if(!_indexed || UInt32(which) > 2)
        return -1;
    return Int32(_point[which] * _numMappings);
}

inline Pnt3f TriangleIterator::getPosition(Int32 which) const
{
    Int32 i = index(APositions, which);
    if(OSG_TRIIT_UNLIKELY(i < 0))
        return Pnt3f();
    const Attribute &attr = _attr[APositions];
    if(OSG_TRIIT_LIKELY(attr.fast != NULL))
    {
        const Real32 *f = attr.fast + 3 * UInt32(i);
        return Pnt3f(f[0], f[1], f[2]);
    }
    return readPosition(UInt32(i));
}

inline Vec3f TriangleIterator::getNormal(Int32 which) const
{
    Int32 i = index(ANormals, which);
    if(OSG_TRIIT_UNLIKELY(i < 0))
        return Vec3f();
    const Attribute &attr = _attr[ANormals];
    if(OSG_TRIIT_LIKELY(attr.fast != NULL))
    {
        const Real32 *f = attr.fast + 3 * UInt32(i);
        return Vec3f(f[0], f[1], f[2]);
    }
    return readNormal(UInt32(i));
}

inline Color3f TriangleIterator::color(UInt32 attribute, Int32 which) const
{
    Int32 i = index(attribute, which);
    if(OSG_TRIIT_UNLIKELY(i < 0))
        return Color3f();
    const Attribute &attr = _attr[attribute];
    if(OSG_TRIIT_LIKELY(attr.fast != NULL))
    {
        const Real32 *f = attr.fast + 3 * UInt32(i);
        return Color3f(f[0], f[1], f[2]);
    }
    return readColor(attribute, UInt32(i));
}

inline Vec2f TriangleIterator::texCoords(UInt32 attribute, Int32 which) const
{
    Int32 i = index(attribute, which);
    if(OSG_TRIIT_UNLIKELY(i < 0))
        return Vec2f();
    const Attribute &attr = _attr[attribute];
    if(OSG_TRIIT_LIKELY(attr.fast != NULL))
    {
        const Real32 *f = attr.fast + 2 * UInt32(i);
        return Vec2f(f[0], f[1]);
    }
    return readTexCoords(attribute, UInt32(i));
}

inline TriangleIterator Geometry::beginTriangles(void) const
{
    return TriangleIterator(GeometryPtr(this));
}

inline TriangleIterator Geometry::endTriangles(void) const
{
    return TriangleIterator(this, TriangleIterator::EndTag());
}

} // namespace osg

#undef OSG_TRIIT_LIKELY
#undef OSG_TRIIT_UNLIKELY
#undef OSG_TRIIT_COLD

#endif
