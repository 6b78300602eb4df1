#ifndef SKOSG_TESTS_SPECTRAL_SUPPORT_H
#define SKOSG_TESTS_SPECTRAL_SUPPORT_H

#include <OpenSGExt/OSGSpectrum.h>
#include <OpenSG/OSGLog.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

namespace spectraltest {

// A fresh spectrum held for the test's lifetime.
class SpectrumHolder
{
  public:
    SpectrumHolder(void) : _s(osg::Spectrum::create()) { osg::addRefCP(_s); }
    ~SpectrumHolder(void) { osg::subRefCP(_s); }
    SpectrumHolder(const SpectrumHolder &) = delete;
    SpectrumHolder &operator=(const SpectrumHolder &) = delete;
    const osg::SpectrumPtr &operator->(void) const { return _s; }
    const osg::SpectrumPtr &get(void) const { return _s; }
  private:
    osg::SpectrumPtr _s;
};

// Standard output of the calls made between construction and text().
class StdoutCapture
{
  public:
    StdoutCapture(void) { std::cout.flush(); ::testing::internal::CaptureStdout(); }
    ~StdoutCapture(void) { if(!_done) text(); }
    std::string text(void)
    {
        std::cout.flush();
        _done = true;
        return ::testing::internal::GetCapturedStdout();
    }
  private:
    bool _done = false;
};

// A folder of its own per test, removed afterwards.
class TempDir
{
  public:
    TempDir(void)
    {
        const ::testing::TestInfo *info = ::testing::UnitTest::GetInstance()->current_test_info();
        _path = std::filesystem::temp_directory_path() /
                ("skosg-spectral-" + std::string(info->test_suite_name()) + "-" + info->name());
        std::filesystem::remove_all(_path);
        std::filesystem::create_directories(_path);
    }
    ~TempDir(void) { std::error_code ec; std::filesystem::remove_all(_path, ec); }
    std::string file(const std::string &name) const { return (_path / name).string(); }
    std::string write(const std::string &name, const std::string &bytes) const
    {
        std::ofstream(file(name), std::ios::binary) << bytes;
        return file(name);
    }
    static std::string read(const std::string &path)
    {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
  private:
    std::filesystem::path _path;
};

} // namespace spectraltest

#endif
