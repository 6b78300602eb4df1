#ifndef SKOSG_TESTS_IMAGE_PSDTESTSUPPORT_H
#define SKOSG_TESTS_IMAGE_PSDTESTSUPPORT_H

#include <OpenSG/OSGImage.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include <unistd.h>

namespace psdtest {

/*! An image that lives for one scope. */
struct ImageRef
{
    ImageRef(void) : p(osg::Image::create()) { osg::addRefCP(p); }
    ~ImageRef(void) { osg::subRefCP(p); }
    osg::Image *operator->(void) const { return p.getCPtr(); }
    osg::ImagePtr p;
};

/*! A file name in the test's temporary folder, unique per process. */
inline std::string tempPath(const std::string &name)
{
    return ::testing::TempDir() + "skimg_" + std::to_string(::getpid()) + "_" + name;
}

/*! ImageMagick's convert, taken from its package's place when it is there. */
inline std::string convertTool(void)
{
    return ::access("/usr/bin/convert", X_OK) == 0 ? "/usr/bin/convert" : "convert";
}

/*! Output (stdout and stderr) of a shell command. */
inline std::string run(const std::string &cmd)
{
    std::string out;
    FILE *pipe = popen((cmd + " 2>&1").c_str(), "r");
    if(pipe == NULL)
        return out;
    char buf[4096];
    size_t n;
    while((n = fread(buf, 1, sizeof(buf), pipe)) > 0)
        out.append(buf, n);
    pclose(pipe);
    return out;
}

/*! Bytes from a list of values 0..255 or strings, for hand-written golden layouts. */
struct Bytes
{
    std::string data;
    Bytes &u8 (unsigned v) { data += char(v & 0xff); return *this; }
    Bytes &u16(unsigned v) { return u8(v >> 8).u8(v); }
    Bytes &u32(unsigned long v) { return u16(unsigned(v >> 16)).u16(unsigned(v & 0xffff)); }
    Bytes &u64(unsigned long long v) { return u32((unsigned long)(v >> 32)).u32((unsigned long)(v & 0xffffffffu)); }
    Bytes &str(const std::string &s) { data += s; return *this; }
    Bytes &zeros(size_t n) { data.append(n, '\0'); return *this; }
};

/*! Hex dump of the first difference, for readable failures. */
inline std::string firstDifference(const std::string &a, const std::string &b)
{
    size_t i = 0;
    while(i < a.size() && i < b.size() && a[i] == b[i])
        ++i;
    char buf[128];
    std::snprintf(buf, sizeof(buf), "sizes %zu/%zu, first difference at %zu: %02x vs %02x",
                  a.size(), b.size(), i, i < a.size() ? unsigned(osg::UInt8(a[i])) : 0u,
                  i < b.size() ? unsigned(osg::UInt8(b[i])) : 0u);
    return buf;
}

} // namespace psdtest

#endif
