// osgext geo FILE.obj [--unify [--eps E --normal-eps A --tex-eps T --compare LIST]]
//                     [--subdivide LEN | --phong N] [--tangents] [--out OUT.obj]
// Reads an OBJ mesh into a multi-indexed geometry, runs the geometry operations in that order,
// prints the vertex and triangle counts before and after each, and writes the result as OBJ.

#include "Command.h"

#include <OpenSGExt/OSGCalcBinormalTangentGraphOp.h>
#include <OpenSGExt/OSGPhongSubdivideGeometryGraphOp.h>
#include <OpenSGExt/OSGSubdivideGeometryGraphOp.h>
#include <OpenSGExt/OSGUnifyVerticesGraphOp.h>
#include <OpenSGExt/skObjFile.h>

#include <OpenSG/OSGNode.h>

#include <cstddef>
#include <ostream>
#include <sstream>
#include <string>

namespace osgext {

namespace {

using namespace osg;

const char *const AttributeNames[12] = { "positions", "normals", "colors", "secondary",
                                         "tex0", "tex1", "tex2", "tex3",
                                         "tex4", "tex5", "tex6", "tex7" };

class GeoCommand : public Command
{
  public:
    void configure(CLI::App &app) override
    {
        app.add_option("file", _input, "OBJ mesh to read")->required();
        CLI::Option *unify = app.add_flag("--unify", _unify, "merge equal vertices");
        app.add_option("--eps", _eps, "position tolerance per coordinate (default 0)")
            ->needs(unify);
        app.add_option("--normal-eps", _normalEps, "normal tolerance in radians (default 0.01)")
            ->needs(unify);
        app.add_option("--tex-eps", _texEps,
                       "colour and texture-coordinate tolerance (default 1e-8)")
            ->needs(unify);
        app.add_option("--compare", _compare,
                       "attributes compared, comma-separated: positions, normals, colors, "
                       "secondary, tex0 .. tex7 (default: all)")
            ->needs(unify);
        CLI::Option *subdivide = app.add_option("--subdivide", _maxEdge,
                                                "split edges until all are shorter than LEN");
        CLI::Option *phong = app.add_option("--phong", _iterations,
                                            "Phong-subdivide every triangle N times");
        subdivide->excludes(phong);
        app.add_flag("--tangents", _tangents,
                     "compute tangents and binormals from texture coordinates 0 (units 1, 2)");
        app.add_option("--out", _output, "OBJ file to write");
        _subdivideOpt = subdivide;
        _phongOpt     = phong;
    }

    int run(std::ostream &out, std::ostream &err) override
    {
        bool compare[12];
        if(!parseCompare(compare, err))
            return 1;
        std::string error;
        GeometryPtr geo = skObjFile::readFile(_input, error);
        if(geo == NullFC)
        {
            err << "geo: " << _input << ": " << error << "\n";
            return 1;
        }
        NodePtr node = Node::create();
        addRefCP(node);
        beginEditCP(node, Node::CoreFieldMask);
        node->setCore(geo);
        endEditCP(node, Node::CoreFieldMask);

        std::size_t vertices = skObjFile::countVertices(geo);
        std::size_t triangles = skObjFile::countTriangles(geo);
        out << "read " << _input << ": " << vertices << " vertices, " << triangles
            << " triangles\n";
        const auto step = [&](const std::string &what) {
            const std::size_t v = skObjFile::countVertices(geo);
            const std::size_t t = skObjFile::countTriangles(geo);
            out << what << ": " << vertices << " -> " << v << " vertices, " << triangles << " -> "
                << t << " triangles\n";
            vertices  = v;
            triangles = t;
        };

        if(_unify)
        {
            UnifyVerticesGraphOp op;
            op.setEpsilon(_eps);
            op.setNormalEpsilon(_normalEps);
            op.setTexCoordEpsilon(_texEps);
            op.setCompareMode(compare[0], compare[1], compare[2], compare[3], compare[4],
                              compare[5], compare[6], compare[7], compare[8], compare[9],
                              compare[10], compare[11]);
            op.traverse(node);
            step("unify");
        }
        if(_subdivideOpt->count() != 0)
        {
            SubdivideGeometryGraphOp op;
            op.setMaxEdgeLength(_maxEdge);
            op.traverse(node);
            std::ostringstream what;
            what << "subdivide " << _maxEdge;
            step(what.str());
        }
        if(_phongOpt->count() != 0)
        {
            PhongSubdivideGeometryGraphOp op;
            op.setIterations(_iterations);
            op.traverse(node);
            std::ostringstream what;
            what << "phong " << _iterations;
            step(what.str());
        }
        if(_tangents)
        {
            CalcBinormalTangentGraphOp op;
            op.traverse(node);
            const bool done = geo->getTexCoords1() != NullFC && geo->getTexCoords2() != NullFC;
            step(done ? "tangents" : "tangents (not computed)");
        }

        int result = 0;
        if(!_output.empty())
        {
            if(skObjFile::writeFile(geo, _output, error))
                out << "wrote " << _output << ": " << vertices << " vertices, " << triangles
                    << " triangles\n";
            else
            {
                err << "geo: " << _output << ": " << error << "\n";
                result = 1;
            }
        }
        subRefCP(node);
        return result;
    }

  private:
    bool parseCompare(bool compare[12], std::ostream &err) const
    {
        for(int a = 0; a < 12; ++a)
            compare[a] = _compare.empty();
        std::istringstream list(_compare);
        std::string name;
        while(std::getline(list, name, ','))
        {
            int found = -1;
            for(int a = 0; a < 12; ++a)
            {
                if(name == AttributeNames[a])
                    found = a;
            }
            if(found < 0)
            {
                err << "geo: --compare: unknown attribute '" << name << "'\n";
                return false;
            }
            compare[found] = true;
        }
        return true;
    }

    std::string  _input, _output, _compare;
    bool         _unify     = false;
    bool         _tangents  = false;
    float        _eps       = 0.f;
    float        _normalEps = 0.01f;
    float        _texEps    = 1e-8f;
    float        _maxEdge   = 0.1f;
    int          _iterations = 1;
    CLI::Option *_subdivideOpt = nullptr;
    CLI::Option *_phongOpt     = nullptr;
};

} // namespace

OSGEXT_COMMAND(GeoCommand, "geo",
               "unify, subdivide and compute tangents of an OBJ mesh, writing OBJ");

} // namespace osgext
