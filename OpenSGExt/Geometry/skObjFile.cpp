#include <OpenSGExt/skObjFile.h>

#include <OpenSG/OSGGeoPTypesUI8.h>
#include <OpenSG/OSGGeoPLengthsUI32.h>
#include <OpenSG/OSGGeoIndicesUI32.h>
#include <OpenSG/OSGGeoPositions3f.h>
#include <OpenSG/OSGGeoNormals3f.h>
#include <OpenSG/OSGGeoTexCoords2f.h>
#include <OpenSG/OSGTriangleIterator.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <vector>

using namespace osg;

namespace skObjFile {

namespace {

struct Parser
{
    std::vector<Pnt3f>  positions;
    std::vector<Vec2f>  texCoords;
    std::vector<Vec3f>  normals;
    // Per corner, resolved 0-based indices; -1 where the corner names none.
    std::vector<Int64>  cornerPos, cornerTex, cornerNrm;
    std::size_t         lineNo = 0;
    std::string         error;

    bool fail(const std::string &what)
    {
        std::ostringstream msg;
        msg << "line " << lineNo << ": " << what;
        error = msg.str();
        return false;
    }

    // Reads up to max floats; at least min must be there.
    bool floats(const char *&p, Real32 *out, int min, int max, int &got)
    {
        got = 0;
        while(got < max)
        {
            while(*p == ' ' || *p == '\t')
                ++p;
            if(*p == '\0')
                break;
            char *end = NULL;
            errno = 0;
            const float v = std::strtof(p, &end);
            if(end == p)
                return fail("not a number");
            out[got++] = v;
            p = end;
        }
        if(got < min)
            return fail("too few numbers");
        return true;
    }

    // One "v", "v/t", "v//n" or "v/t/n" reference, resolved against the counts read so far.
    bool reference(const char *&p, Int64 ref[3])
    {
        const std::size_t counts[3] = { positions.size(), texCoords.size(), normals.size() };
        for(int k = 0; k < 3; ++k)
            ref[k] = -1;
        for(int k = 0; k < 3; ++k)
        {
            if(k > 0)
            {
                if(*p != '/')
                    break;
                ++p;
                if(*p == '/' || *p == ' ' || *p == '\t' || *p == '\0')
                    continue;   // empty slot: "v//n" or a trailing slash
            }
            char *end = NULL;
            errno = 0;
            const long long v = std::strtoll(p, &end, 10);
            if(end == p)
                return fail("bad vertex reference");
            if(errno == ERANGE || v == 0)
                return fail("vertex reference out of range");
            p = end;
            // Negative: relative to the elements read so far. Positive ones are checked at the
            // end, since a file may name elements that follow.
            ref[k] = v > 0 ? Int64(v - 1) : Int64(counts[k]) + Int64(v);
            if(ref[k] < 0)
                return fail("vertex reference out of range");
        }
        if(*p != ' ' && *p != '\t' && *p != '\0')
            return fail("bad vertex reference");
        return true;
    }

    bool face(const char *p)
    {
        std::vector<std::array<Int64, 3>> refs;
        while(true)
        {
            while(*p == ' ' || *p == '\t')
                ++p;
            if(*p == '\0')
                break;
            std::array<Int64, 3> r;
            if(!reference(p, r.data()))
                return false;
            refs.push_back(r);
        }
        if(refs.size() < 3)
            return fail("a face needs three corners");
        for(std::size_t k = 1; k + 1 < refs.size(); ++k)
        {
            for(const std::array<Int64, 3> *r : { &refs[0], &refs[k], &refs[k + 1] })
            {
                cornerPos.push_back((*r)[0]);
                cornerTex.push_back((*r)[1]);
                cornerNrm.push_back((*r)[2]);
            }
        }
        return true;
    }

    bool line(std::string &text)
    {
        // Comments end the line; trailing CR is whitespace.
        const std::size_t hash = text.find('#');
        if(hash != std::string::npos)
            text.resize(hash);
        for(char &c : text)
        {
            if(c == '\r')
                c = ' ';
        }
        const char *p = text.c_str();
        while(*p == ' ' || *p == '\t')
            ++p;
        const char *key = p;
        while(*p != '\0' && *p != ' ' && *p != '\t')
            ++p;
        const std::string k(key, p);
        Real32 v[4];
        int got = 0;
        if(k == "v")
        {
            if(!floats(p, v, 3, 4, got))
                return false;
            positions.push_back(Pnt3f(v[0], v[1], v[2]));
        }
        else if(k == "vt")
        {
            v[1] = 0.f;
            if(!floats(p, v, 1, 3, got))
                return false;
            texCoords.push_back(Vec2f(v[0], v[1]));
        }
        else if(k == "vn")
        {
            if(!floats(p, v, 3, 3, got))
                return false;
            normals.push_back(Vec3f(v[0], v[1], v[2]));
        }
        else if(k == "f")
            return face(p);
        return true;   // anything else carries nothing we keep
    }
};

template <class PropPtr, class ValueT>
PropPtr makeProperty(const std::vector<ValueT> &values)
{
    typedef typename PropPtr::StoredObjectType Type;
    PropPtr prop = Type::create();
    beginEditCP(prop);
    prop->editField().getValues().assign(values.begin(), values.end());
    endEditCP(prop);
    return prop;
}

} // namespace

GeometryPtr read(const std::string &text, std::string &error)
{
    Parser parser;
    std::istringstream in(text);
    std::string line;
    while(std::getline(in, line))
    {
        ++parser.lineNo;
        if(!parser.line(line))
        {
            error = parser.error;
            return NullFC;
        }
    }
    const std::size_t corners = parser.cornerPos.size();
    if(corners == 0)
    {
        error = "no faces";
        return NullFC;
    }
    if(corners > std::size_t(0x7FFFFFFF) / 3)
    {
        error = "too many face corners";
        return NullFC;
    }

    // Each attribute: every corner names one or none does; every reference in range.
    const std::vector<Int64> *columns[3] = { &parser.cornerPos, &parser.cornerTex,
                                             &parser.cornerNrm };
    const std::size_t counts[3] = { parser.positions.size(), parser.texCoords.size(),
                                    parser.normals.size() };
    const char *names[3] = { "position", "texture coordinate", "normal" };
    bool used[3];
    for(int k = 0; k < 3; ++k)
    {
        const std::vector<Int64> &col = *columns[k];
        used[k] = col[0] >= 0;
        for(std::size_t c = 0; c < corners; ++c)
        {
            if((col[c] >= 0) != used[k])
            {
                error = std::string("some face corners name a ") + names[k] +
                        " and some do not";
                return NullFC;
            }
            if(used[k] && UInt64(col[c]) >= counts[k])
            {
                std::ostringstream msg;
                msg << "a face names " << names[k] << " " << col[c] + 1 << " of " << counts[k];
                error = msg.str();
                return NullFC;
            }
        }
    }
    if(!used[0])
    {
        error = "faces without positions";
        return NullFC;
    }

    std::vector<UInt32> indices;
    std::vector<UInt16> mapping;
    const UInt16 bits[3] = { Geometry::MapPosition, Geometry::MapTexCoords, Geometry::MapNormal };
    for(int k = 0; k < 3; ++k)
    {
        if(used[k])
            mapping.push_back(bits[k]);
    }
    indices.reserve(corners * mapping.size());
    for(std::size_t c = 0; c < corners; ++c)
    {
        for(int k = 0; k < 3; ++k)
        {
            if(used[k])
                indices.push_back(UInt32((*columns[k])[c]));
        }
    }

    GeometryPtr geo = Geometry::create();
    GeoPTypesUI8Ptr types = GeoPTypesUI8::create();
    beginEditCP(types);
    types->editField().push_back(UInt8(GL_TRIANGLES));
    endEditCP(types);
    GeoPLengthsUI32Ptr lengths = GeoPLengthsUI32::create();
    beginEditCP(lengths);
    lengths->editField().push_back(UInt32(corners));
    endEditCP(lengths);
    beginEditCP(geo);
    geo->setTypes(types);
    geo->setLengths(lengths);
    geo->setPositions(makeProperty<GeoPositions3fPtr>(parser.positions));
    if(used[1])
        geo->setTexCoords(makeProperty<GeoTexCoords2fPtr>(parser.texCoords));
    if(used[2])
        geo->setNormals(makeProperty<GeoNormals3fPtr>(parser.normals));
    geo->setIndices(makeProperty<GeoIndicesUI32Ptr>(indices));
    geo->editMFIndexMapping()->getValues().assign(mapping.begin(), mapping.end());
    endEditCP(geo);
    error.clear();
    return geo;
}

GeometryPtr readFile(const std::string &path, std::string &error)
{
    std::ifstream in(path.c_str(), std::ios::binary);
    if(!in)
    {
        error = "cannot open " + path;
        return NullFC;
    }
    in.seekg(0, std::ios::end);
    const std::streamoff size = in.tellg();
    if(size < 0 || UInt64(size) > MaxFileBytes)
    {
        error = path + " is too large or unreadable";
        return NullFC;
    }
    in.seekg(0, std::ios::beg);
    std::string text(std::size_t(size), '\0');
    if(size > 0 && !in.read(&text[0], size))
    {
        error = "cannot read " + path;
        return NullFC;
    }
    return read(text, error);
}

bool write(const GeometryPtr &geo, std::ostream &out, std::string &error)
{
    if(geo == NullFC || geo->getPositions() == NullFC)
    {
        error = "no geometry with positions to write";
        return false;
    }
    const bool hasTex = geo->getTexCoords() != NullFC, hasNrm = geo->getNormals() != NullFC;
    // Each attribute's elements in order of first use, numbered from 1.
    std::map<Int32, UInt32> posNo, texNo, nrmNo;
    std::ostringstream faces, verts;
    verts.precision(9);
    for(TriangleIterator it = geo->beginTriangles(); it != geo->endTriangles(); ++it)
    {
        faces << "f";
        for(Int32 w = 0; w < 3; ++w)
        {
            const Int32 p = it.getPositionIndex(w), t = it.getTexCoordsIndex(w);
            const Int32 n = it.getNormalIndex(w);
            auto ip = posNo.emplace(p, UInt32(posNo.size() + 1));
            if(ip.second)
            {
                const Pnt3f v = it.getPosition(w);
                verts << "v " << v[0] << ' ' << v[1] << ' ' << v[2] << '\n';
            }
            faces << ' ' << ip.first->second;
            if(hasTex || hasNrm)
                faces << '/';
            if(hasTex)
            {
                auto it2 = texNo.emplace(t, UInt32(texNo.size() + 1));
                if(it2.second)
                {
                    const Vec2f v = it.getTexCoords(w);
                    verts << "vt " << v[0] << ' ' << v[1] << '\n';
                }
                faces << it2.first->second;
            }
            if(hasNrm)
            {
                auto it3 = nrmNo.emplace(n, UInt32(nrmNo.size() + 1));
                if(it3.second)
                {
                    const Vec3f v = it.getNormal(w);
                    verts << "vn " << v[0] << ' ' << v[1] << ' ' << v[2] << '\n';
                }
                faces << '/' << it3.first->second;
            }
        }
        faces << '\n';
    }
    out << verts.str() << faces.str();
    if(!out)
    {
        error = "write failed";
        return false;
    }
    return true;
}

bool writeFile(const GeometryPtr &geo, const std::string &path, std::string &error)
{
    std::ofstream out(path.c_str(), std::ios::binary | std::ios::trunc);
    if(!out)
    {
        error = "cannot create " + path;
        return false;
    }
    return write(geo, out, error);
}

std::size_t countVertices(const GeometryPtr &geo)
{
    if(geo == NullFC)
        return 0;
    std::set<std::array<Int32, 12>> tuples;
    for(TriangleIterator it = geo->beginTriangles(); it != geo->endTriangles(); ++it)
    {
        for(Int32 w = 0; w < 3; ++w)
        {
            tuples.insert({ it.getPositionIndex(w), it.getNormalIndex(w), it.getColorIndex(w),
                            it.getSecondaryColorIndex(w), it.getTexCoordsIndex(w),
                            it.getTexCoordsIndex1(w), it.getTexCoordsIndex2(w),
                            it.getTexCoordsIndex3(w), it.getTexCoordsIndex4(w),
                            it.getTexCoordsIndex5(w), it.getTexCoordsIndex6(w),
                            it.getTexCoordsIndex7(w) });
        }
    }
    return tuples.size();
}

std::size_t countTriangles(const GeometryPtr &geo)
{
    std::size_t n = 0;
    if(geo == NullFC)
        return 0;
    for(TriangleIterator it = geo->beginTriangles(); it != geo->endTriangles(); ++it)
        ++n;
    return n;
}

} // namespace skObjFile
