// osgext demo: tags and value pairs edited by their rules, written in the binary form, read back
// into fresh instances created by type name and compared field by field; the back-plate shader;
// a small scene run through the scene utilities, transform variants and switch transforms.

#include "Command.h"
#include "DemoScene.h"

#include <OpenSGExt/OSGTagAttachment.h>
#include <OpenSGExt/OSGValuePair.h>
#include <OpenSGExt/skOpenSGExt.h>

#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGField.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGShaderParameter.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace osgext {

namespace {

namespace fs = std::filesystem;
using namespace osg;

typedef std::vector<UInt8> Bytes;

struct RoundTrip
{
    std::string type;
    std::string file;
    size_t      bytes = 0;
    bool        equal = false;
};

// Holds one reference for the demo's lifetime of a container.
class Held
{
  public:
    explicit Held(FieldContainerPtr fc) : _fc(fc) { addRefCP(_fc); }
    ~Held() { subRefCP(_fc); }
    Held(const Held &) = delete;
    Held &operator=(const Held &) = delete;
  private:
    FieldContainerPtr _fc;
};

void show(std::ostream &out, const std::string &call, bool result, const char *why = "")
{
    out << "  " << call << " -> " << (result ? "true" : "false");
    if(*why != '\0')
        out << "  (" << why << ")";
    out << "\n";
}

std::string quoted(const MFString &field)
{
    std::string s = "[";
    for(UInt32 i = 0; i < field.size(); ++i)
        s += (i ? ", \"" : "\"") + field[i] + "\"";
    return s + "]";
}

void hexDump(std::ostream &out, const Bytes &bytes)
{
    char line[96];
    for(size_t offset = 0; offset < bytes.size(); offset += 16)
    {
        int n = std::snprintf(line, sizeof(line), "    %08zx ", offset);
        std::string ascii;
        for(size_t i = offset; i < offset + 16; ++i)
        {
            if(i < bytes.size())
            {
                n += std::snprintf(line + n, sizeof(line) - size_t(n), " %02x", bytes[i]);
                ascii += (bytes[i] >= 0x20 && bytes[i] < 0x7f) ? char(bytes[i]) : '.';
            }
            else
                n += std::snprintf(line + n, sizeof(line) - size_t(n), "   ");
        }
        out << line << "  " << ascii << "\n";
    }
}

BitVector allFields(const FieldContainerType &type)
{
    BitVector mask = FieldBits::NoField;
    for(UInt32 id = 1; id <= type.getNumFieldDescs(); ++id)
    {
        if(const FieldDescription *desc = type.getFieldDescription(id))
            mask |= desc->getFieldMask();
    }
    return mask;
}

Bytes toBin(FieldContainerPtr fc, const BitVector &mask)
{
    MemoryBinaryDataHandler handler;
    fc->copyToBin(handler, mask);
    return handler.getBuffer();
}

// Writes every field of fc to <dir>/<Type>.bin, reads the file into a new instance made by type
// name, prints both field by field and says whether they agree.
bool roundTrip(FieldContainerPtr original, const fs::path &dir, RoundTrip &result,
               std::ostream &out, std::ostream &err)
{
    FieldContainerType &type = original->getType();
    const BitVector mask = allFields(type);
    result.type = type.getCName();
    result.file = (dir / (result.type + ".bin")).string();

    const Bytes bytes = toBin(original, mask);
    result.bytes = bytes.size();
    out << "\n" << result.type << ": " << bytes.size() << " bytes";
    if(bytes.size() != original->getBinSize(mask))
    {
        err << "osgext: " << result.type << " wrote " << bytes.size() << " bytes but announced "
            << original->getBinSize(mask) << "\n";
        return false;
    }
    out << " -> " << result.file << "\n";
    hexDump(out, bytes);
    {
        std::ofstream file(result.file, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char *>(bytes.data()), std::streamsize(bytes.size()));
        if(!file)
        {
            err << "osgext: cannot write " << result.file << "\n";
            return false;
        }
    }

    std::ifstream file(result.file, std::ios::binary);
    const Bytes stored((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    FieldContainerPtr copy =
        FieldContainerFactory::the()->createFieldContainer(result.type.c_str());
    if(copy == NullFC)
    {
        err << "osgext: the factory cannot create a " << result.type << "\n";
        return false;
    }
    Held holdCopy(copy);
    MemoryBinaryDataHandler in(stored.data(), stored.size());
    beginEditCP(copy, mask);
    copy->copyFromBin(in, mask);
    endEditCP(copy, mask);
    if(in.isFailed() || in.getBytesLeft() != 0)
    {
        err << "osgext: " << result.file << " did not read back cleanly\n";
        return false;
    }

    bool equal = toBin(copy, mask) == bytes;
    out << "  field                 original -> copy\n";
    for(UInt32 id = 1; id <= type.getNumFieldDescs(); ++id)
    {
        const FieldDescription *desc = type.getFieldDescription(id);
        if(desc == NULL)
            continue;
        const std::string a = original->getField(id)->getValueByStr();
        const std::string b = copy->getField(id)->getValueByStr();
        equal = equal && a == b;
        std::string name = desc->getName();
        name.resize(std::max<size_t>(name.size(), 20), ' ');
        out << "  " << name << "  " << a;
        if(a == b)
            out << "  (same)\n";
        else
            out << "  ->  " << b << "  (DIFFERENT)\n";
    }
    out << "  equal: " << (equal ? "yes" : "no") << "\n";
    result.equal = equal;
    return equal;
}

void editTags(TagAttachmentPtr tags, std::ostream &out)
{
    out << "TagAttachment, created by type name:\n";
    show(out, "addMaterialTag(\"chrome\")", tags->addMaterialTag("chrome"));
    show(out, "addMaterialTag(\"paint\")", tags->addMaterialTag("paint"));
    show(out, "addMaterialTag(\"chrome\")", tags->addMaterialTag("chrome"),
         "a material tag may not repeat");
    show(out, "addMaterialTag(\"\")", tags->addMaterialTag(""), "nor be empty");
    show(out, "replaceMaterialTag(\"chrome\", \"paint\")",
         tags->replaceMaterialTag("chrome", "paint"), "the new tag is already there");
    show(out, "addAnimationTag(\"intro\")", tags->addAnimationTag("intro"));
    show(out, "addAnimationTag(\"outro\")", tags->addAnimationTag("outro"));
    show(out, "replaceAnimationTag(\"intro\", \"outro\")",
         tags->replaceAnimationTag("intro", "outro"), "animation tags are not checked");
    show(out, "addMetaDataTag(\"approved\")", tags->addMetaDataTag("approved"));
    beginEditCP(tags, TagAttachment::MetaFlagsFieldMask);
    tags->setMetaFlags(0x5);
    endEditCP(tags, TagAttachment::MetaFlagsFieldMask);
    out << "  materials " << quoted(tags->getMaterials()) << ", animations "
        << quoted(tags->getAnimations()) << ", metaData " << quoted(tags->getMetaData())
        << "\n";
}

void editPairs(ValuePairPtr pairs, std::ostream &out)
{
    out << "\nValuePair, created by type name:\n";
    pairs->set("Colour", "red");
    pairs->set("colour", "blue");
    out << "  set(\"Colour\", \"red\"), set(\"colour\", \"blue\") -> " << pairs->getSize()
        << " pairs (keys are case-sensitive)\n";
    pairs->set("Colour", "green");
    std::string value;
    pairs->get("Colour", value);
    out << "  set(\"Colour\", \"green\") -> the value is replaced: \"" << value << "\"\n";
    pairs->add("draft", "yes");
    out << "  add(\"draft\", \"yes\") -> " << pairs->getSize() << " pairs\n";
    show(out, "del(\"draft\")", pairs->del("draft"), "the pair is gone");
    show(out, "del(\"draft\")", pairs->del("draft"), "nothing left to delete");
    show(out, "insertAt(\"id\", \"42\", 0)", pairs->insertAt("id", "42", 0));
    show(out, "get(\"COLOUR\", value)", pairs->get("COLOUR", value));
    out << "  keys " << quoted(pairs->getKey()) << ", values " << quoted(pairs->getValue())
        << "\n";
}

bool showBackplate(std::ostream &out, std::ostream &err, size_t &uniforms)
{
    SHLChunkPtr chunk = skOpenSGExt::createBackplateShader(true, false);
    if(chunk == NullFC)
    {
        err << "osgext: the back-plate shader could not be created\n";
        return false;
    }
    Held hold(chunk);
    const auto lines = [](const std::string &s) { return std::count(s.begin(), s.end(), '\n'); };
    out << "\nBack-plate shader (normalizedX = true, normalizedY = false): vertex program "
        << lines(chunk->getVertexProgram()) << " lines, fragment program "
        << lines(chunk->getFragmentProgram()) << " lines\n";
    uniforms = chunk->getParameters().size();
    for(UInt32 i = 0; i < chunk->getParameters().size(); ++i)
    {
        ShaderParameterPtr parameter = chunk->getParameters(i);
        if(parameter == NullFC)
            continue;
        Field *field = parameter->getField("value");
        out << "  uniform " << parameter->getName() << " (" << parameter->getTypeName()
            << ") = " << (field != NULL ? field->getValueByStr() : std::string("?")) << "\n";
    }
    return true;
}

// The library's own containers and scene utilities; the other areas add sections of their own.
bool runContainersDemo(DemoContext &ctx)
{
    std::ostream &out = ctx.out, &err = ctx.err;
    const fs::path &dir = ctx.outDir;

    FieldContainerFactory *factory = FieldContainerFactory::the();
    TagAttachmentPtr tags = TagAttachmentPtr::dcast(factory->createFieldContainer("TagAttachment"));
    ValuePairPtr pairs = ValuePairPtr::dcast(factory->createFieldContainer("ValuePair"));
    if(tags == NullFC || pairs == NullFC)
    {
        err << "osgext: the factory does not create TagAttachment and ValuePair\n";
        return false;
    }
    Held holdTags(tags), holdPairs(pairs);

    editTags(tags, out);
    editPairs(pairs, out);

    RoundTrip trips[2];
    bool ok = roundTrip(tags, dir, trips[0], out, err);
    ok = roundTrip(pairs, dir, trips[1], out, err) && ok;
    size_t uniforms = 0;
    const bool shader = showBackplate(out, err, uniforms);
    ok = ok && shader;
    SceneReport scene;
    ok = runSceneDemo(out, err, scene) && ok;

    out << "\nsummary:\n";
    out << "  scene: " << scene.nodes << " named nodes, " << scene.shells
        << " shells in the wheel, " << scene.cachedMatrices << " cached matrices, wheel origin "
        << scene.wheelOrigin << "\n";
    out << "  geometry check: good " << scene.goodMask << ", broken " << scene.brokenMask
        << " \"" << scene.brokenMessage << "\"\n";
    out << "  transform variants:";
    for(size_t i = 0; i < scene.variantSteps.size(); ++i)
        out << (i ? ", " : " ") << scene.variantSteps[i];
    out << "\n  switch component transform:";
    for(size_t i = 0; i < scene.switchSteps.size(); ++i)
        out << (i ? ", " : " ") << scene.switchSteps[i];
    out << "\n";
    for(const RoundTrip &t : trips)
        out << "  " << t.type << ": " << t.bytes << " bytes in " << t.file << ", copy "
            << (t.equal ? "equal" : "NOT equal") << "\n";
    out << "  back-plate shader: "
        << (shader ? std::to_string(uniforms) + " uniforms" : std::string("not created")) << "\n";
    return ok;
}

} // namespace

OSGEXT_DEMO_SECTION(100, "containers and scene utilities", runContainersDemo);

} // namespace osgext
