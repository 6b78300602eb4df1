#include <platform/skLog.h>

#include <OpenSG/OSGLog.h>

#include <cstdarg>
#include <cstdio>
#include <string>

namespace {

const char *const Module = "sk";

std::string format(const char *fmt, va_list args)
{
    if(fmt == nullptr)
        return "skLog: message without a format";

    va_list measure;
    va_copy(measure, args);
    int n = std::vsnprintf(nullptr, 0, fmt, measure);
    va_end(measure);
    if(n < 0)
        return std::string("skLog: cannot format \"") + fmt + "\"";

    std::string text(size_t(n) + 1, '\0');
    std::vsnprintf(&text[0], text.size(), fmt, args);
    text.resize(size_t(n));
    // The log ends every message with its own newline.
    while(!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

void emit(const char *label, const char *fmt, va_list args)
{
    std::string text = format(fmt, args);
    osg::osgLog().emit(osg::LOG_WARNING, label, Module, nullptr, 0, text);
}

} // namespace

void skLog::error(const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    emit("ERROR", fmt, args);
    va_end(args);
}

void skLog::warning(const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    emit("WARNING", fmt, args);
    va_end(args);
}
