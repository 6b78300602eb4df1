// osgext image convert IN OUT [--scale WxH[xD]] [--filter NAME]: an image file into another
// format, chosen by the suffixes through the image file handler (PNG, PSD, PSB, YIF; IFF in),
// resampled first when asked. Samples are adapted to what the target takes
// (PSD: 8-bit or float; PNG: 8 or 16 bits), and PSD/PSB documents get an sRGB profile when the
// image brings none.
// osgext image layers OUT.psd IN... [--names ...]: a layered PSD or PSB document, one layer per
// input (bottom first), named after the files or by --names, over a composite of them.

#include "Command.h"
#include "ImageScaleTools.h"
#include "ImageTools.h"

#include <OpenSGExt/OSGImageScaler.h>
#include <OpenSGExt/OSGPSDImageFileType.h>
#include <OpenSGExt/skICCProfile.h>

#include <OpenSG/OSGImageFileHandler.h>
#include <OpenSG/OSGImageFileType.h>

#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

namespace osgext {

namespace {

using namespace osg;

// Holds one reference for its lifetime.
struct ImageHolder
{
    ImageHolder(void) = default;
    explicit ImageHolder(ImagePtr p) : ptr(p) {}
    ~ImageHolder(void) { if(ptr != NullFC) subRefCP(ptr); }
    ImageHolder(ImageHolder &&o) noexcept : ptr(o.ptr) { o.ptr = NullFC; }
    ImageHolder(const ImageHolder &) = delete;
    ImageHolder &operator=(const ImageHolder &) = delete;
    void reset(ImagePtr p) { if(ptr != NullFC) subRefCP(ptr); ptr = p; }
    ImagePtr ptr;
};

bool isPhotoshop(const ImageFileType *type)
{
    return type == &PSDImageFileType::the() || type == &PSDImageFileType::theBig();
}

bool readImage(const std::string &file, ImageHolder &holder, std::ostream &err)
{
    ImagePtr image = Image::create();
    addRefCP(image);
    holder.reset(image);
    if(!ImageFileHandler::the().read(image, file.c_str()))
    {
        err << "osgext image: cannot read " << file << "\n";
        return false;
    }
    return true;
}

void addDefaultProfile(const ImagePtr &image)
{
    if(image->hasICCProfile())
        return;
    std::vector<UInt8> srgb = skICCProfile::createSRGB();
    image->setICCProfile(srgb.empty() ? NULL : srgb.data(), UInt32(srgb.size()));
}

// Adapts the samples to what the target type writes; false when nothing fits.
bool prepareFor(const ImageFileType *type, ImageHolder &image, std::ostream &err)
{
    const UInt32 comps = Image::getComponentCount(image.ptr->getPixelFormat());
    const Int32 dataType = image.ptr->getDataType();
    const bool alpha = comps == 2 || comps == 4 || image.ptr->getPixelFormat() == Image::OSG_A_PF;
    const bool color = comps >= 3;
    const bool bgr = image.ptr->getPixelFormat() == Image::OSG_BGR_PF ||
                     image.ptr->getPixelFormat() == Image::OSG_BGRA_PF;
    bool convert = false, wantFloat = false;
    if(isPhotoshop(type))
    {
        wantFloat = dataType != Image::OSG_UINT8_IMAGEDATA;
        convert = bgr || (dataType != Image::OSG_UINT8_IMAGEDATA &&
                          dataType != Image::OSG_FLOAT32_IMAGEDATA) ||
                  comps == 0 || image.ptr->getPixelFormat() == Image::OSG_A_PF;
    }
    else if(type == ImageFileHandler::the().getFileType("image/png"))
    {
        convert = dataType != Image::OSG_UINT8_IMAGEDATA && dataType != Image::OSG_UINT16_IMAGEDATA;
    }
    if(convert)
    {
        ImagePtr converted = convertImage(image.ptr, color, alpha, wantFloat);
        if(converted == NullFC)
        {
            err << "osgext image: cannot convert the image's samples for the target\n";
            return false;
        }
        image.reset(converted);
    }
    if(isPhotoshop(type))
        addDefaultProfile(image.ptr);
    return true;
}

std::uintmax_t fileSize(const std::string &file)
{
    std::error_code ec;
    std::uintmax_t n = std::filesystem::file_size(file, ec);
    return ec ? 0 : n;
}

class ImageCommand : public Command
{
  public:
    void configure(CLI::App &app) override
    {
        app.require_subcommand(1, 1);
        _convert = app.add_subcommand("convert", "convert an image file to another format "
                                                 "(by suffix: png, psd, psb, ...)");
        _convert->add_option("in", _in, "input image file")->required();
        _convert->add_option("out", _out, "output image file")->required();
        _convert->add_option("--scale", _scale, "resample to WIDTHxHEIGHT[xDEPTH] first");
        _convert->add_option("--filter", _filter, "resampling filter: " +
                                                  skUtils::ImageGenericFilter::names() +
                                                  " (default lanczos3)");

        _layers = app.add_subcommand("layers", "write a layered PSD or PSB document, one layer "
                                               "per input image, bottom first");
        _layers->add_option("out", _out, "output document (.psd or .psb)")->required();
        _layers->add_option("inputs", _inputs, "layer images, all of one size")->required();
        _layers->add_option("--names", _names, "layer names (default: the files' names)");
    }

    int run(std::ostream &out, std::ostream &err) override
    {
        if(_convert->parsed())
            return runConvert(out, err);
        return runLayers(out, err);
    }

  private:
    int runConvert(std::ostream &out, std::ostream &err)
    {
        ImageFileType *type = ImageFileHandler::the().getFileType(NULL, _out.c_str());
        if(type == NULL || !(type->getFlags() & ImageFileType::OSG_WRITE_SUPPORTED))
        {
            err << "osgext image: no image file type writes " << _out << "\n";
            return 1;
        }
        ImageHolder image;
        if(!readImage(_in, image, err))
            return 1;
        const std::string inDesc = describeImage(image.ptr);
        if(!_filter.empty() && _scale.empty())
        {
            err << "osgext image: --filter needs --scale\n";
            return 1;
        }
        if(!_scale.empty() && !scaleImageForTool(image.ptr, _scale, _filter, err))
            return 1;
        if(!prepareFor(type, image, err))
            return 1;
        if(!type->write(image.ptr, _out.c_str()))
        {
            err << "osgext image: cannot write " << _out << "\n";
            return 1;
        }
        out << _in << " (" << inDesc << ") -> " << _out << " (" << describeImage(image.ptr)
            << ", " << type->getMimeType() << "), " << fileSize(_out) << " bytes\n";
        return 0;
    }

    int runLayers(std::ostream &out, std::ostream &err)
    {
        ImageFileType *type = ImageFileHandler::the().getFileType(NULL, _out.c_str());
        if(!isPhotoshop(type))
        {
            err << "osgext image layers: " << _out << " must end in .psd or .psb\n";
            return 1;
        }
        if(!_names.empty() && _names.size() != _inputs.size())
        {
            err << "osgext image layers: " << _names.size() << " names for " << _inputs.size()
                << " layers\n";
            return 1;
        }
        std::vector<ImageHolder> read(_inputs.size());
        bool anyFloat = false, anyColor = false;
        for(size_t i = 0; i < _inputs.size(); ++i)
        {
            if(!readImage(_inputs[i], read[i], err))
                return 1;
            const ImagePtr &p = read[i].ptr;
            anyFloat = anyFloat || p->getDataType() != Image::OSG_UINT8_IMAGEDATA;
            anyColor = anyColor || Image::getComponentCount(p->getPixelFormat()) >= 3;
            if(p->getWidth() != read[0].ptr->getWidth() || p->getHeight() != read[0].ptr->getHeight())
            {
                err << "osgext image layers: " << _inputs[i] << " is " << p->getWidth() << "x"
                    << p->getHeight() << ", " << _inputs[0] << " is " << read[0].ptr->getWidth()
                    << "x" << read[0].ptr->getHeight() << "; layers must be of one size\n";
                return 1;
            }
        }
        // One layout for all layers: colour if any has colour, float if any is not 8-bit,
        // transparency always.
        std::vector<ImageHolder> layers;
        std::vector<ImagePtr> layerPtrs;
        std::vector<std::string> names;
        for(size_t i = 0; i < read.size(); ++i)
        {
            ImagePtr converted = convertImage(read[i].ptr, anyColor, true, anyFloat);
            if(converted == NullFC)
            {
                err << "osgext image layers: cannot convert " << _inputs[i] << "\n";
                return 1;
            }
            layers.emplace_back(converted);
            layerPtrs.push_back(converted);
            names.push_back(_names.empty() ? std::filesystem::path(_inputs[i]).stem().string()
                                           : _names[i]);
        }
        ImageHolder document(compositeLayers(layerPtrs));
        if(document.ptr == NullFC)
        {
            err << "osgext image layers: cannot composite the layers\n";
            return 1;
        }
        addDefaultProfile(document.ptr);
        std::ofstream os(_out, std::ios::binary | std::ios::trunc);
        PSDImageFileType *psd = static_cast<PSDImageFileType *>(type);
        if(!os || !psd->write(document.ptr, os, psd->getMimeType(), layerPtrs, names) ||
           !os.flush())
        {
            err << "osgext image layers: cannot write " << _out << "\n";
            return 1;
        }
        os.close();
        out << _out << ": " << describeImage(document.ptr) << ", " << layers.size() << " layers";
        for(size_t i = 0; i < names.size(); ++i)
            out << (i ? ", " : " (") << "\"" << names[i] << "\"";
        out << "), " << fileSize(_out) << " bytes\n";
        return 0;
    }

    CLI::App *_convert = nullptr;
    CLI::App *_layers = nullptr;
    std::string _in, _out, _scale, _filter;
    std::vector<std::string> _inputs, _names;
};

} // namespace

OSGEXT_COMMAND(ImageCommand, "image", "convert image files; write layered PSD/PSB documents");

} // namespace osgext
