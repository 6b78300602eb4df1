#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGeoPositions3f.h>
#include <OpenSG/OSGLog.h>

#include <vector>

namespace osg {

namespace {

// The property slots are the consecutive field ids TypesFieldId .. IndicesFieldId; the twelve
// attribute slots among them (PositionsFieldId .. TexCoords7FieldId) follow the Map* bits.
constexpr UInt32 FirstSlot = Geometry::TypesFieldId;
constexpr UInt32 LastSlot  = Geometry::IndicesFieldId;

static_assert(Geometry::TexCoords7FieldId - Geometry::PositionsFieldId == 11 &&
              Geometry::IndicesFieldId == Geometry::TexCoords7FieldId + 1 &&
              Geometry::TypesFieldId + 2 == Geometry::PositionsFieldId,
              "the property slots must keep their field ids");

BitVector slotMask(UInt32 fieldId)
{
    return TypeTraits<BitVector>::One << fieldId;
}

BitVector allSlotsMask(void)
{
    BitVector mask;
    for(UInt32 id = FirstSlot; id <= LastSlot; ++id)
        mask |= slotMask(id);
    return mask;
}

void addGeometryParent(const AttachmentPtr &property, const FieldContainerPtr &geo)
{
    beginEditCP(property, Attachment::ParentsFieldMask);
    property->addParent(geo);
    endEditCP(property, Attachment::ParentsFieldMask);
}

void subGeometryParent(const AttachmentPtr &property, const FieldContainerPtr &geo)
{
    beginEditCP(property, Attachment::ParentsFieldMask);
    property->subParent(geo);
    endEditCP(property, Attachment::ParentsFieldMask);
}

} // namespace

Geometry::Geometry(void) :
    Inherited(),
    _volumeCacheCB(),
    _invalidateVolumeCacheCB()
{
}

Geometry::Geometry(const Geometry &source) :
    Inherited(source),
    _volumeCacheCB(),
    _invalidateVolumeCacheCB()
{
}

Geometry::~Geometry(void) = default;

void Geometry::onCreate(const Geometry *source)
{
    Inherited::onCreate(source);
    if(source == NULL)
        return;
    // The copy constructor shared the source's properties; the copy owns its references and
    // parent entries.
    GeometryPtr thisP(this);
    for(UInt32 id = FirstSlot; id <= LastSlot; ++id)
    {
        AttachmentPtr p = getPropertySlot(id);
        if(p == NullFC)
            continue;
        addRefCP(p);
        addGeometryParent(p, thisP);
    }
}

void Geometry::onDestroy(void)
{
    for(UInt32 id = FirstSlot; id <= LastSlot; ++id)
        setPropertySlot(id, NullFC);
    Inherited::onDestroy();
}

/*------------------------------ volume hooks -------------------------------*/

void Geometry::setVolumeCacheCB(const VolumeCacheFunctor &callback)
{
    _volumeCacheCB = callback;
}

void Geometry::setInvalidateVolumeCacheCB(const InvalidateVolumeCacheFunctor &callback)
{
    _invalidateVolumeCacheCB = callback;
}

void Geometry::invalidateVolume(void)
{
    if(_invalidateVolumeCacheCB)
        _invalidateVolumeCacheCB(GeometryPtr(this));
    Inherited::invalidateVolume();
}

void Geometry::adjustVolume(Volume &volume)
{
    if(_volumeCacheCB)
    {
        DynamicVolume supplied;
        supplied.setEmpty();
        _volumeCacheCB(GeometryPtr(this), supplied);
        volume.extendBy(supplied);
        return;
    }

    GeoPositionsPtr positions = _sfPositions.getValue();
    if(positions == NullFC)
        return;
    GeoPositions3fPtr pos3f = GeoPositions3fPtr::dcast(positions);
    if(pos3f != NullFC)
    {
        for(const Pnt3f &p : pos3f->getField())
            volume.extendBy(p);
        return;
    }
    for(UInt32 i = 0; i < positions->getSize(); ++i)
        volume.extendBy(positions->getValue(i));
}

/*------------------------------ properties ---------------------------------*/

template <class PtrT>
void Geometry::replaceProperty(SField<PtrT> &field, const PtrT &value)
{
    PtrT old = field.getValue();
    if(old == value)
        return;
    GeometryPtr thisP(this);
    addRefCP(value);
    field.setValue(value);
    if(old != NullFC)
    {
        subGeometryParent(old, thisP);
        subRefCP(old);
    }
    if(value != NullFC)
        addGeometryParent(value, thisP);
}

void Geometry::setTypes(const GeoPTypesPtr &types)
{
    replaceProperty(_sfTypes, types);
}

void Geometry::setLengths(const GeoPLengthsPtr &lengths)
{
    replaceProperty(_sfLengths, lengths);
}

void Geometry::setPositions(const GeoPositionsPtr &positions)
{
    replaceProperty(_sfPositions, positions);
}

void Geometry::setNormals(const GeoNormalsPtr &normals)
{
    replaceProperty(_sfNormals, normals);
}

void Geometry::setColors(const GeoColorsPtr &colors)
{
    replaceProperty(_sfColors, colors);
}

void Geometry::setSecondaryColors(const GeoColorsPtr &colors)
{
    replaceProperty(_sfSecondaryColors, colors);
}

void Geometry::setTexCoords(const GeoTexCoordsPtr &texCoords)
{
    replaceProperty(_sfTexCoords, texCoords);
}

void Geometry::setTexCoords1(const GeoTexCoordsPtr &texCoords)
{
    replaceProperty(_sfTexCoords1, texCoords);
}

void Geometry::setTexCoords2(const GeoTexCoordsPtr &texCoords)
{
    replaceProperty(_sfTexCoords2, texCoords);
}

void Geometry::setTexCoords3(const GeoTexCoordsPtr &texCoords)
{
    replaceProperty(_sfTexCoords3, texCoords);
}

void Geometry::setTexCoords4(const GeoTexCoordsPtr &texCoords)
{
    replaceProperty(_sfTexCoords4, texCoords);
}

void Geometry::setTexCoords5(const GeoTexCoordsPtr &texCoords)
{
    replaceProperty(_sfTexCoords5, texCoords);
}

void Geometry::setTexCoords6(const GeoTexCoordsPtr &texCoords)
{
    replaceProperty(_sfTexCoords6, texCoords);
}

void Geometry::setTexCoords7(const GeoTexCoordsPtr &texCoords)
{
    replaceProperty(_sfTexCoords7, texCoords);
}

void Geometry::setIndices(const GeoIndicesPtr &indices)
{
    replaceProperty(_sfIndices, indices);
}

void Geometry::setTexSlot(UInt32 unit, const GeoTexCoordsPtr &texCoords)
{
    if(unit >= MaxTexCoords)
    {
        SWARNING << "Geometry::setTexSlot: texture unit " << unit << " does not exist (0 to "
                 << (MaxTexCoords - 1) << "); ignored" << std::endl;
        return;
    }
    setPropertySlot(TexCoordsFieldId + unit, texCoords);
}

GeoTexCoordsPtr Geometry::getTexCoords(UInt32 unit) const
{
    if(unit >= MaxTexCoords)
    {
        SWARNING << "Geometry::getTexCoords: texture unit " << unit << " does not exist (0 to "
                 << (MaxTexCoords - 1) << ")" << std::endl;
        return NullFC;
    }
    return GeoTexCoordsPtr::dcast(getPropertySlot(TexCoordsFieldId + unit));
}

UInt32 Geometry::mapBitToFieldId(UInt16 mapBit)
{
    for(UInt32 i = 0; i < 12; ++i)
    {
        if(mapBit == (1u << i))
            return PositionsFieldId + i;
    }
    return 0;
}

UInt16 Geometry::texCoordsMapBit(UInt32 unit)
{
    return unit < MaxTexCoords ? UInt16(MapTexCoords << unit) : UInt16(0);
}

AttachmentPtr Geometry::getPropertySlot(UInt32 fieldId) const
{
    switch(fieldId)
    {
        case TypesFieldId:           return _sfTypes.getValue();
        case LengthsFieldId:         return _sfLengths.getValue();
        case PositionsFieldId:       return _sfPositions.getValue();
        case NormalsFieldId:         return _sfNormals.getValue();
        case ColorsFieldId:          return _sfColors.getValue();
        case SecondaryColorsFieldId: return _sfSecondaryColors.getValue();
        case TexCoordsFieldId:       return _sfTexCoords.getValue();
        case TexCoords1FieldId:      return _sfTexCoords1.getValue();
        case TexCoords2FieldId:      return _sfTexCoords2.getValue();
        case TexCoords3FieldId:      return _sfTexCoords3.getValue();
        case TexCoords4FieldId:      return _sfTexCoords4.getValue();
        case TexCoords5FieldId:      return _sfTexCoords5.getValue();
        case TexCoords6FieldId:      return _sfTexCoords6.getValue();
        case TexCoords7FieldId:      return _sfTexCoords7.getValue();
        case IndicesFieldId:         return _sfIndices.getValue();
        default:                     return NullFC;
    }
}

namespace {

// A null property fits every slot; otherwise it must be of the slot's kind.
template <class PtrT>
bool castProperty(const AttachmentPtr &property, PtrT &result, UInt32 fieldId)
{
    result = PtrT::dcast(property);
    if(property != NullFC && result == NullFC)
    {
        SWARNING << "Geometry::setPropertySlot: a " << property->getTypeName()
                 << " does not fit slot " << fieldId << "; ignored" << std::endl;
        return false;
    }
    return true;
}

} // namespace

bool Geometry::setPropertySlot(UInt32 fieldId, const AttachmentPtr &property)
{
    GeoPTypesPtr     types;
    GeoPLengthsPtr   lengths;
    GeoPositionsPtr  positions;
    GeoNormalsPtr    normals;
    GeoColorsPtr     colors;
    GeoTexCoordsPtr  texCoords;
    GeoIndicesPtr    indices;

    switch(fieldId)
    {
        case TypesFieldId:
            if(!castProperty(property, types, fieldId))
                return false;
            replaceProperty(_sfTypes, types);
            return true;
        case LengthsFieldId:
            if(!castProperty(property, lengths, fieldId))
                return false;
            replaceProperty(_sfLengths, lengths);
            return true;
        case PositionsFieldId:
            if(!castProperty(property, positions, fieldId))
                return false;
            replaceProperty(_sfPositions, positions);
            return true;
        case NormalsFieldId:
            if(!castProperty(property, normals, fieldId))
                return false;
            replaceProperty(_sfNormals, normals);
            return true;
        case ColorsFieldId:
        case SecondaryColorsFieldId:
            if(!castProperty(property, colors, fieldId))
                return false;
            replaceProperty(fieldId == ColorsFieldId ? _sfColors : _sfSecondaryColors, colors);
            return true;
        case TexCoordsFieldId:
        case TexCoords1FieldId:
        case TexCoords2FieldId:
        case TexCoords3FieldId:
        case TexCoords4FieldId:
        case TexCoords5FieldId:
        case TexCoords6FieldId:
        case TexCoords7FieldId:
        {
            if(!castProperty(property, texCoords, fieldId))
                return false;
            SFGeoTexCoordsPtr *slots[MaxTexCoords] = {
                &_sfTexCoords,  &_sfTexCoords1, &_sfTexCoords2, &_sfTexCoords3,
                &_sfTexCoords4, &_sfTexCoords5, &_sfTexCoords6, &_sfTexCoords7 };
            replaceProperty(*slots[fieldId - TexCoordsFieldId], texCoords);
            return true;
        }
        case IndicesFieldId:
            if(!castProperty(property, indices, fieldId))
                return false;
            replaceProperty(_sfIndices, indices);
            return true;
        default:
            SWARNING << "Geometry::setPropertySlot: field id " << fieldId
                     << " is not a property slot; ignored" << std::endl;
            return false;
    }
}

BitVector Geometry::findPropertySlots(const FieldContainer *property) const
{
    BitVector mask;
    if(property == NULL)
        return mask;
    for(UInt32 id = FirstSlot; id <= LastSlot; ++id)
    {
        if(getPropertySlot(id).getCPtr() == property)
            mask |= slotMask(id);
    }
    return mask;
}

Int16 Geometry::calcMappingIndex(UInt16 bits) const
{
    for(Int32 i = Int32(_mfIndexMapping.size()) - 1; i >= 0; --i)
    {
        if(_mfIndexMapping[i] & bits)
            return Int16(i);
    }
    return -1;
}

GeoPropertyArrayInterface *Geometry::getProperty(Int32 mapBit) const
{
    if(mapBit <= 0 || mapBit > 0xFFFF)
        return NULL;
    UInt32 fieldId = mapBitToFieldId(UInt16(mapBit));
    if(fieldId == 0)
        return NULL;
    AttachmentPtr p = getPropertySlot(fieldId);
    return p != NullFC ? dynamic_cast<GeoPropertyArrayInterface *>(p.getCPtr()) : NULL;
}

void Geometry::unshareProperties(void)
{
    GeometryPtr thisP(this);
    for(UInt32 id = FirstSlot; id <= LastSlot; ++id)
    {
        AttachmentPtr p = getPropertySlot(id);
        if(p == NullFC || p.getRefCount() <= 1)
            continue;
        AttachmentPtr copy = cloneGeoProperty(p);
        if(copy == NullFC)
            continue;
        beginEditCP(thisP, slotMask(id));
        setPropertySlot(id, copy);
        endEditCP(thisP, slotMask(id));
    }
}

/*------------------------------ changes ------------------------------------*/

void Geometry::changed(BitVector whichField, UInt32 origin)
{
    Inherited::changed(whichField, origin);

    if((origin & ChangedOrigin::Abstract) && (origin & ChangedOrigin::AbstrIncRefCount) &&
       (whichField & allSlotsMask()))
    {
        // Loaded slots: take the references that reading skipped, and make sure the
        // property lists this geometry once per slot it occupies.
        GeometryPtr thisP(this);
        for(UInt32 id = FirstSlot; id <= LastSlot; ++id)
        {
            AttachmentPtr p = getPropertySlot(id);
            if(p == NullFC || !(whichField & slotMask(id)))
                continue;
            addRefCP(p);
            UInt32 wanted = 0;
            for(UInt32 other = FirstSlot; other <= LastSlot; ++other)
                wanted += getPropertySlot(other) == p ? 1 : 0;
            UInt32 have = 0;
            for(const FieldContainerPtr &parent : p->getParents())
                have += parent == thisP ? 1 : 0;
            for(; have < wanted; ++have)
                addGeometryParent(p, thisP);
        }
    }

    if(whichField & PositionsFieldMask)
        invalidateVolume();
}

/*------------------------------ property helpers ---------------------------*/

void GeoPropertyArrayInterface::notifyGeometries(Attachment *property, const BitVector &whichField)
{
    if(!(whichField & ~(Attachment::ParentsFieldMask | Attachment::InternalFieldMask)))
        return;

    std::vector<Geometry *> told;
    // Copy first: a geometry reacting to the change may edit the parents.
    MFFieldContainerPtr::StorageType parents = property->getParents().getValues();
    for(const FieldContainerPtr &parent : parents)
    {
        Geometry *geo = dynamic_cast<Geometry *>(parent.getCPtr());
        if(geo == NULL)
            continue;
        bool seen = false;
        for(Geometry *g : told)
            seen = seen || g == geo;
        if(seen)
            continue;
        told.push_back(geo);
        BitVector mask = geo->findPropertySlots(property);
        if(mask)
            geo->changed(mask, ChangedOrigin::Child);
    }
}

AttachmentPtr cloneGeoProperty(const AttachmentPtr &property)
{
    if(property == NullFC)
        return NullFC;
    FieldContainer *fc = property.getCPtr();
    if(GeoPositions *p = dynamic_cast<GeoPositions *>(fc))
        return p->clone();
    if(GeoNormals *p = dynamic_cast<GeoNormals *>(fc))
        return p->clone();
    if(GeoColors *p = dynamic_cast<GeoColors *>(fc))
        return p->clone();
    if(GeoTexCoords *p = dynamic_cast<GeoTexCoords *>(fc))
        return p->clone();
    if(GeoIndices *p = dynamic_cast<GeoIndices *>(fc))
        return p->clone();
    if(GeoPTypes *p = dynamic_cast<GeoPTypes *>(fc))
        return p->clone();
    if(GeoPLengths *p = dynamic_cast<GeoPLengths *>(fc))
        return p->clone();
    SWARNING << "cloneGeoProperty: a " << property->getTypeName()
             << " is not a geometry property" << std::endl;
    return NullFC;
}

} // namespace osg

#include <OpenSG/OSGIntersectAction.h>
#include <OpenSG/OSGNode.h>

namespace osg {

void Geometry::initMethod(void)
{
    IntersectAction::registerEnterDefault(
        getClassType(),
        osgTypedMethodFunctor2BaseCPtrRef<Action::ResultE, GeometryPtr, CNodePtr, Action *>(
            &Geometry::intersect));
}

Action::ResultE Geometry::intersect(Action *action)
{
    IntersectAction *ia = dynamic_cast<IntersectAction *>(action);
    if(ia == NULL)
        return Action::Continue;

    const Line &line = ia->getLine();
    NodePtr node = ia->getActNode();
    if(node != NullFC)
    {
        // Only a valid volume prunes; intersecting does not update volumes.
        const DynamicVolume &vol = node->getVolume();
        if(vol.isValid() && !vol.isEmpty() && !vol.intersect(line))
            return Action::Skip;
    }

    for(TriangleIterator it = beginTriangles(); !it.isAtEnd(); ++it)
    {
        Real32 t = 0.f;
        Vec3f  normal;
        if(line.intersect(it.getPosition(0), it.getPosition(1), it.getPosition(2), t, &normal))
            ia->setHit(t, node, it.getIndex(), normal);
    }
    return Action::Continue;
}

} // namespace osg
