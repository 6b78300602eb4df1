#ifndef _OSGGEOMETRY_H_
#define _OSGGEOMETRY_H_

#include <OpenSG/OSGGeometryBase.h>
#include <OpenSG/OSGGeoPositions.h>
#include <OpenSG/OSGGeoNormals.h>
#include <OpenSG/OSGGeoColors.h>
#include <OpenSG/OSGGeoTexCoords.h>
#include <OpenSG/OSGGeoIndices.h>
#include <OpenSG/OSGGeoPTypes.h>
#include <OpenSG/OSGGeoPLengths.h>
#include <OpenSG/OSGDynamicVolume.h>
#include <OpenSG/OSGGLTypes.h>
#include <OpenSG/OSGAction.h>

#include <functional>

namespace osg {

class TriangleIterator;

/*! Indexed geometry. Primitives (types, lengths) run over points; each point takes its vertex
    attributes (positions, normals, colours, secondary colours, texture coordinates 0 to 7) from
    the property containers through the indices.

    Index mapping: with n = indexMapping.size() > 1 the indices are interleaved, point p using
    indices[p * n + j] for the attributes whose Map* bits are in indexMapping[j]. With n <= 1
    every attribute uses indices[p]; without indices point p uses element p everywhere.

    Ownership of the property slots (types, lengths, positions, normals, colors,
    secondaryColors, texCoords, texCoords1..7, indices): the geometry holds one reference per
    slot and is entered once per slot into the property's parents (not referenced there). The
    set* operations below take and give back these references and maintain the parents (an
    edit of the property's parents field each); they do not record the geometry's own field, so
    wrap them in an edit of the slot's mask. Destroying the geometry releases every slot. A
    shallow copy shares its source's properties and takes its own references and parent
    entries. Reading the fields from a stream or synchronising them takes none; a loader that
    ends its edit with the origin Abstract|AbstrIncRefCount makes the geometry take them then.
    The material follows MaterialDrawable's rule.

    Volume hooks, for geometry whose drawn shape is not its stored positions (skinning): a
    volume callback, when set, supplies the bounding volume instead of the positions; an
    invalidation callback is told whenever the geometry invalidates its volume (before the
    nodes using it are told), so that whoever keeps a cache behind the volume callback can drop
    it. Both are held as given, belong to this geometry only (copies do not inherit them) and
    are cleared by passing an empty function. */
class Geometry : public GeometryBase
{
  public:
    typedef GeometryBase Inherited;

    /*------------------------- index mapping bits -------------------------*/
    static constexpr UInt16 MapPosition       = 1;
    static constexpr UInt16 MapNormal         = 2;
    static constexpr UInt16 MapColor          = 4;
    static constexpr UInt16 MapSecondaryColor = 8;
    static constexpr UInt16 MapTexCoords      = 16;
    static constexpr UInt16 MapTexCoords1     = 32;
    static constexpr UInt16 MapTexCoords2     = 64;
    static constexpr UInt16 MapTexCoords3     = 128;
    static constexpr UInt16 MapTexCoords4     = 256;
    static constexpr UInt16 MapTexCoords5     = 512;
    static constexpr UInt16 MapTexCoords6     = 1024;
    static constexpr UInt16 MapTexCoords7     = 2048;
    static constexpr UInt16 MapEmpty          = 4096;

    /*! Number of texture-coordinate units (slots texCoords, texCoords1 .. texCoords7). */
    static constexpr UInt32 MaxTexCoords = 8;

    /*------------------------- volume hooks -------------------------------*/
    typedef std::function<void(const GeometryPtr &, DynamicVolume &)> VolumeCacheFunctor;
    typedef std::function<void(const GeometryPtr &)>                  InvalidateVolumeCacheFunctor;

    /*! Supplies the volume instead of the positions; the volume passed in is empty. */
    void setVolumeCacheCB(const VolumeCacheFunctor &callback);
    const VolumeCacheFunctor &getVolumeCacheCB(void) const { return _volumeCacheCB; }

    /*! Told by invalidateVolume() before the nodes are. */
    void setInvalidateVolumeCacheCB(const InvalidateVolumeCacheFunctor &callback);
    const InvalidateVolumeCacheFunctor &getInvalidateVolumeCacheCB(void) const
    {
        return _invalidateVolumeCacheCB;
    }

    /*------------------------- properties ---------------------------------*/
    void setTypes          (const GeoPTypesPtr    &types);
    void setLengths        (const GeoPLengthsPtr  &lengths);
    void setPositions      (const GeoPositionsPtr &positions);
    void setNormals        (const GeoNormalsPtr   &normals);
    void setColors         (const GeoColorsPtr    &colors);
    void setSecondaryColors(const GeoColorsPtr    &colors);
    void setTexCoords      (const GeoTexCoordsPtr &texCoords);
    void setTexCoords1     (const GeoTexCoordsPtr &texCoords);
    void setTexCoords2     (const GeoTexCoordsPtr &texCoords);
    void setTexCoords3     (const GeoTexCoordsPtr &texCoords);
    void setTexCoords4     (const GeoTexCoordsPtr &texCoords);
    void setTexCoords5     (const GeoTexCoordsPtr &texCoords);
    void setTexCoords6     (const GeoTexCoordsPtr &texCoords);
    void setTexCoords7     (const GeoTexCoordsPtr &texCoords);
    void setIndices        (const GeoIndicesPtr   &indices);

    /*! Unit 0 sets texCoords, 1 to 7 texCoords1..7; other units are reported and ignored. */
    void setTexSlot(UInt32 unit, const GeoTexCoordsPtr &texCoords);

    using Inherited::getTexCoords;
    /*! The texture coordinates of a unit; NullFC (reported) for a unit beyond 7. */
    GeoTexCoordsPtr getTexCoords(UInt32 unit) const;

    /*! The field id of the slot of a single Map* bit (MapPosition .. MapTexCoords7), else 0. */
    static UInt32 mapBitToFieldId(UInt16 mapBit);
    /*! The Map* bit of texture unit 0 .. 7, else 0. */
    static UInt16 texCoordsMapBit(UInt32 unit);

    /*! The property in the slot with the given field id (TypesFieldId .. IndicesFieldId), else
        NullFC. */
    AttachmentPtr getPropertySlot(UInt32 fieldId) const;
    /*! Sets a slot by field id as the typed setter does; a property of another kind or an id
        that names no slot is reported and changes nothing (false). */
    bool setPropertySlot(UInt32 fieldId, const AttachmentPtr &property);
    /*! The masks of every slot holding the given property. */
    BitVector findPropertySlots(const FieldContainer *property) const;

    /*! The entry of indexMapping that holds any of the bits, scanning from the last entry back;
        -1 if none (always for an empty mapping). */
    Int16 calcMappingIndex(UInt16 bits) const;

    /*! The array interface of the attribute property named by one Map* bit, else NULL. */
    GeoPropertyArrayInterface *getProperty(Int32 mapBit) const;

    /*! Gives every slot whose property is referenced elsewhere too (count > 1) its own copy;
        each replaced slot is recorded as an edit of the geometry. */
    void unshareProperties(void);

    /*------------------------- iteration ----------------------------------*/
    TriangleIterator beginTriangles(void) const;
    TriangleIterator endTriangles  (void) const;

    /*------------------------- volume and changes -------------------------*/
    /*! Calls the invalidation callback, then invalidates the volume of every node using it. */
    void invalidateVolume(void) override;

    void changed(BitVector whichField, UInt32 origin) override;

    /*! IntersectAction entry: tests the line against every triangle (in this core's coordinates)
        and reports hits with the triangle's running number and its face normal. A node whose
        valid volume misses the line is skipped without looking at the triangles. */
    Action::ResultE intersect(Action *action);

    /*! Registers intersect() with IntersectAction. */
    static void initMethod(void);

  protected:
    friend class FieldContainer;
    friend class GeometryBase;

    Geometry(void);
    Geometry(const Geometry &source);
    ~Geometry(void) override;

    void onCreate(const Geometry *source = NULL);
    void onDestroy(void) override;

    /*! Extends by the volume callback's volume if set, else by every position. */
    void adjustVolume(Volume &volume) override;

  private:
    template <class PtrT>
    void replaceProperty(SField<PtrT> &field, const PtrT &value);

    VolumeCacheFunctor           _volumeCacheCB;
    InvalidateVolumeCacheFunctor _invalidateVolumeCacheCB;
};

/*! A new property of the same concrete type and values as a geometry property (without
    parents, count 0); NullFC (reported) for anything else. */
AttachmentPtr cloneGeoProperty(const AttachmentPtr &property);

} // namespace osg

#include <OpenSG/OSGTriangleIterator.h>

#endif
