#ifndef SKOSG_TESTS_GEOMETRYTESTSUPPORT_H
#define SKOSG_TESTS_GEOMETRYTESTSUPPORT_H

// Building small geometries and reading back everything the triangle iterator sees; holding
// references and editing for the tests.

#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGTriangleIterator.h>
#include <OpenSG/OSGGeoPTypesUI8.h>
#include <OpenSG/OSGGeoPLengthsUI32.h>
#include <OpenSG/OSGGeoIndicesUI32.h>
#include <OpenSG/OSGGeoIndicesUI16.h>
#include <OpenSG/OSGGeoPositions3f.h>
#include <OpenSG/OSGGeoNormals3f.h>
#include <OpenSG/OSGGeoColors3f.h>
#include <OpenSG/OSGGeoTexCoords2f.h>
#include <OpenSG/OSGNode.h>

#include <initializer_list>
#include <sstream>
#include <string>
#include <vector>

namespace geotest {

using namespace osg;

/*! Holds one reference to each container passed through it, for a test's lifetime. */
class Pool
{
  public:
    Pool() = default;
    Pool(const Pool &) = delete;
    Pool &operator=(const Pool &) = delete;
    ~Pool()
    {
        for(auto it = _held.rbegin(); it != _held.rend(); ++it)
            subRefCP(*it);
    }
    template <class PtrT>
    PtrT operator()(const PtrT &p)
    {
        addRefCP(p);
        _held.push_back(p);
        return p;
    }

  private:
    std::vector<FieldContainerPtr> _held;
};

/*! One edit of the fields in mask, so that the container's changed() sees it. */
template <class PtrT, class F>
void edit(const PtrT &p, const BitVector &mask, F change)
{
    beginEditCP(p, mask);
    change();
    endEditCP(p, mask);
}

inline NodePtr nodeWith(const NodeCorePtr &core)
{
    NodePtr node = Node::create();
    edit(node, Node::CoreFieldMask, [&] { node->setCore(core); });
    return node;
}

template <class PtrT, class ValueT>
PtrT makeProperty(std::initializer_list<ValueT> values)
{
    typedef typename PtrT::StoredObjectType Type;
    PtrT p = Type::create();
    beginEditCP(p);
    for(const ValueT &v : values)
        p->editField().push_back(v);
    endEditCP(p);
    return p;
}

inline GeoPTypesUI8Ptr types(std::initializer_list<UInt8> v)
{
    return makeProperty<GeoPTypesUI8Ptr>(v);
}
inline GeoPLengthsUI32Ptr lengths(std::initializer_list<UInt32> v)
{
    return makeProperty<GeoPLengthsUI32Ptr>(v);
}
inline GeoIndicesUI32Ptr indices(std::initializer_list<UInt32> v)
{
    return makeProperty<GeoIndicesUI32Ptr>(v);
}
inline GeoPositions3fPtr positions(std::initializer_list<Pnt3f> v)
{
    return makeProperty<GeoPositions3fPtr>(v);
}

/*! Positions (i, i*i, -i) for i = 0 .. n-1: every one different. */
inline GeoPositions3fPtr numberedPositions(UInt32 n)
{
    GeoPositions3fPtr p = GeoPositions3f::create();
    beginEditCP(p);
    for(UInt32 i = 0; i < n; ++i)
        p->editField().push_back(Pnt3f(Real32(i), Real32(i * i), -Real32(i)));
    endEditCP(p);
    return p;
}

/*! A geometry with the given primitives over numbered positions, indexed when indices are
    given. */
inline GeometryPtr makeGeometry(std::initializer_list<UInt8> primTypes,
                                std::initializer_list<UInt32> primLengths, UInt32 numPositions,
                                std::initializer_list<UInt32> index = {})
{
    GeometryPtr geo = Geometry::create();
    beginEditCP(geo);
    geo->setTypes(types(primTypes));
    if(primLengths.size() != 0)
        geo->setLengths(lengths(primLengths));
    geo->setPositions(numberedPositions(numPositions));
    if(index.size() != 0)
        geo->setIndices(indices(index));
    endEditCP(geo);
    return geo;
}

/*! The position indices of every triangle, "a b c" each. */
inline std::vector<std::string> positionTriangles(const GeometryPtr &geo)
{
    std::vector<std::string> out;
    for(TriangleIterator it = geo->beginTriangles(); it != geo->endTriangles(); ++it)
    {
        std::ostringstream s;
        s << it.getPositionIndex(0) << " " << it.getPositionIndex(1) << " "
          << it.getPositionIndex(2);
        out.push_back(s.str());
    }
    return out;
}

/*! Every attribute value of every corner, one text per triangle; with indices = true also
    every attribute index. */
inline std::vector<std::string> triangleDump(const GeometryPtr &geo, bool withIndices)
{
    std::vector<std::string> out;
    for(TriangleIterator it = geo->beginTriangles(); !it.isAtEnd(); ++it)
    {
        std::ostringstream s;
        for(Int32 w = 0; w < 3; ++w)
        {
            s << "[p " << it.getPosition(w) << " n " << it.getNormal(w) << " c "
              << it.getColor(w) << " s " << it.getSecondaryColor(w) << " t "
              << it.getTexCoords(w) << " | " << it.getTexCoords1(w) << " | "
              << it.getTexCoords2(w) << " | " << it.getTexCoords3(w) << " | "
              << it.getTexCoords4(w) << " | " << it.getTexCoords5(w) << " | "
              << it.getTexCoords6(w) << " | " << it.getTexCoords7(w);
            if(withIndices)
            {
                s << " i " << it.getPositionIndex(w) << " " << it.getNormalIndex(w) << " "
                  << it.getColorIndex(w) << " " << it.getSecondaryColorIndex(w) << " "
                  << it.getTexCoordsIndex(w) << " " << it.getTexCoordsIndex1(w) << " "
                  << it.getTexCoordsIndex2(w) << " " << it.getTexCoordsIndex3(w) << " "
                  << it.getTexCoordsIndex4(w) << " " << it.getTexCoordsIndex5(w) << " "
                  << it.getTexCoordsIndex6(w) << " " << it.getTexCoordsIndex7(w);
            }
            s << "]";
        }
        out.push_back(s.str());
    }
    return out;
}

} // namespace geotest

#endif
