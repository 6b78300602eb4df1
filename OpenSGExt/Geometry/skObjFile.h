#ifndef SK_OPENSGEXT_SKOBJFILE_H
#define SK_OPENSGEXT_SKOBJFILE_H

#include <OpenSG/OSGGeometry.h>

#include <cstddef>
#include <iosfwd>
#include <string>

/*! Wavefront OBJ meshes to and from geometry cores: positions, one set of texture coordinates and
    normals; groups, objects, materials, smoothing groups, lines and points are ignored. Bad input
    gives a message naming the line and no geometry; nothing throws. */
namespace skObjFile {

/*! Files larger than this are refused before reading. */
constexpr std::size_t MaxFileBytes = std::size_t(1) << 30;

/*! A new multi-indexed GL_TRIANGLES geometry (count 0) from OBJ text: faces with more than three
    corners are fanned from their first corner; indices are 1-based or negative (relative to the
    elements read so far). Positions (GeoPositions3f), texture coordinates (GeoTexCoords2f, unit
    0) and normals (GeoNormals3f) each get their own index column (mapping entries in that order)
    when the faces use them; either every corner names a texture coordinate or none does, and
    the same for normals. NullFC and a message in error on failure. */
osg::GeometryPtr read(const std::string &text, std::string &error);

/*! read() of a file's contents. */
osg::GeometryPtr readFile(const std::string &path, std::string &error);

/*! Writes the geometry's triangles (any primitives, any indexing): the positions, texture
    coordinates of unit 0 and normals in use, each numbered in order of first use, and one face
    per triangle. False (with a message) for a null geometry or one without positions. */
bool write(const osg::GeometryPtr &geo, std::ostream &out, std::string &error);

/*! write() into a file (replaced). */
bool writeFile(const osg::GeometryPtr &geo, const std::string &path, std::string &error);

/*! Distinct vertices the geometry's triangles use: distinct tuples of their attribute indices. */
std::size_t countVertices(const osg::GeometryPtr &geo);

/*! Triangles the TriangleIterator gives. */
std::size_t countTriangles(const osg::GeometryPtr &geo);

} // namespace skObjFile

#endif
