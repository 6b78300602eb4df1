#include <OpenSG/OSGLog.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <streambuf>

namespace osg {

namespace {

const Char8 *levelNames[] = { "LOG", "FATAL", "WARNING", "NOTICE", "INFO", "DEBUG" };

const UInt32 DefaultHeader = LOG_TYPE_HEADER | LOG_FILE_HEADER | LOG_LINE_HEADER;

Real64 nowSeconds(void)
{
    return std::chrono::duration<Real64>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::string baseName(const char *file)
{
    if(file == NULL)
        return std::string();
    const char *base = file;
    for(const char *p = file; *p != '\0'; ++p)
    {
        if(*p == '/' || *p == '\\')
            base = p + 1;
    }
    return std::string(base);
}

bool equalsNoCase(const char *a, const char *b)
{
    for(; *a != '\0' && *b != '\0'; ++a, ++b)
    {
        if(std::tolower(static_cast<unsigned char>(*a)) != std::tolower(static_cast<unsigned char>(*b)))
            return false;
    }
    return *a == *b;
}

bool parseLevel(const char *text, Int32 &level)
{
    if(text == NULL || *text == '\0')
        return false;
    for(Int32 i = 0; i < 6; ++i)
    {
        if(equalsNoCase(text, levelNames[i]))
        {
            level = i;
            return true;
        }
    }
    char *end = NULL;
    long  v   = std::strtol(text, &end, 10);
    if(end != text && *end == '\0' && v >= 0 && v <= 5)
    {
        level = Int32(v);
        return true;
    }
    return false;
}

} // namespace

/*---------------------------------------------------------------------------*/
/*                       per-thread message streams                          */

/*! Collects one message of one thread; a flush (std::endl) dispatches it. */
class LogStreamBuf : public std::streambuf
{
  public:
    void begin(LogLevel level, bool header, const char *module, const char *file, UInt32 line)
    {
        _active = true;
        _level  = level;
        _header = header;
        _module = module;
        _file   = file;
        _line   = line;
        _text.clear();
    }

    /*! A message is open, or text arrived after one was sent (os << std::endl << "more"). */
    bool isPending(void) const { return _active || !_text.empty(); }

    /*! Continues the pending text without a header. */
    void resume(void)
    {
        if(!_active)
        {
            _active = true;
            _header = false;
        }
    }

    void finish(void)
    {
        bool header = _active && _header;
        _active = false;
        if(_text.empty() && !header)
            return;

        LogEntry entry;
        entry.level  = _level;
        entry.label  = Log::getLevelName(_level);
        entry.module = _module != NULL ? _module : "";
        entry.file   = baseName(_file);
        entry.line   = int(_line);
        entry.text.swap(_text);
        _text.clear();
        osgLog().dispatch(entry, header);
    }

  protected:
    int_type overflow(int_type c) override
    {
        if(!traits_type::eq_int_type(c, traits_type::eof()))
            _text.push_back(traits_type::to_char_type(c));
        return traits_type::not_eof(c);
    }

    std::streamsize xsputn(const char *s, std::streamsize n) override
    {
        _text.append(s, std::size_t(n));
        return n;
    }

    int sync(void) override
    {
        finish();
        return 0;
    }

  private:
    std::string _text;
    bool        _active = false;
    LogLevel    _level  = LOG_LOG;
    bool        _header = false;
    const char *_module = NULL;
    const char *_file   = NULL;
    UInt32      _line   = 0;
};

namespace {

struct ThreadLogState
{
    ThreadLogState(void) : stream(&buf), nil(NULL)
    {
        defaultFlags = stream.flags();
    }

    LogStreamBuf            buf;
    std::ostream            stream;
    std::ostream            nil;       // no buffer: every output fails silently
    std::ios_base::fmtflags defaultFlags;
};

// A trivially destructible pointer, so that logging from static or thread_local destructors that
// run after this thread's owner below still works: the state is then made again and kept in a
// process-wide list (one per such thread, reachable, so leak checkers stay quiet).
thread_local ThreadLogState *threadState_ = NULL;
thread_local bool            threadDead_  = false;

struct ThreadLogStateOwner
{
    bool armed = false;

    ~ThreadLogStateOwner(void)
    {
        threadDead_ = true;
        if(threadState_ != NULL)
        {
            threadState_->buf.finish();
            delete threadState_;
            threadState_ = NULL;
        }
    }
};

thread_local ThreadLogStateOwner threadOwner_;

void keepOrphan(ThreadLogState *state)
{
    static std::mutex                    *orphanMutex = new std::mutex;
    static std::vector<ThreadLogState *> *orphans     = new std::vector<ThreadLogState *>;
    std::lock_guard<std::mutex> lock(*orphanMutex);
    orphans->push_back(state);
}

ThreadLogState &threadState(void)
{
    if(threadState_ == NULL)
    {
        threadState_ = new ThreadLogState;
        if(!threadDead_)
            threadOwner_.armed = true;   // first use registers the owner's destructor
        else
            keepOrphan(threadState_);
    }
    return *threadState_;
}

} // namespace

/*---------------------------------------------------------------------------*/
/*                               LogCapture                                  */

LogCapture::LogCapture(bool passThrough) : _passThrough(passThrough)
{
    osgLog().pushCapture(this);
}

LogCapture::~LogCapture(void)
{
    osgLog().removeCapture(this);
}

void LogCapture::add(const LogEntry &entry)
{
    std::lock_guard<std::mutex> lock(_mutex);
    _entries.push_back(entry);
}

std::vector<LogEntry> LogCapture::entries(void) const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _entries;
}

std::string LogCapture::text(void) const
{
    std::lock_guard<std::mutex> lock(_mutex);
    std::string result;
    for(std::size_t i = 0; i < _entries.size(); ++i)
    {
        if(i != 0)
            result += '\n';
        result += _entries[i].text;
    }
    return result;
}

bool LogCapture::contains(const std::string &substr) const
{
    std::lock_guard<std::mutex> lock(_mutex);
    for(const LogEntry &e : _entries)
    {
        if(e.text.find(substr) != std::string::npos)
            return true;
    }
    return false;
}

std::size_t LogCapture::count(void) const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _entries.size();
}

void LogCapture::clear(void)
{
    std::lock_guard<std::mutex> lock(_mutex);
    _entries.clear();
}

/*---------------------------------------------------------------------------*/
/*                                   Log                                     */

Log &osgLog(void)
{
    static Log *theLog = new Log;
    return *theLog;
}

Log::Log(void) :
    _logLevel      (LOG_WARNING),
    _headerElem    (DefaultHeader),
    _mutex         (),
    _logType       (LOG_STDERR),
    _file          (NULL),
    _levelFromEnv  (false),
    _typeFromEnv   (false),
    _headerFromEnv (false),
    _moduleHandling(LOG_MODULE_ALL),
    _moduleNames   (),
    _captures      (),
    _refTime       (nowSeconds())
{
    Int32 level;
    if(parseLevel(std::getenv("OSG_LOG_LEVEL"), level))
    {
        _logLevel     = level;
        _levelFromEnv = true;
    }

    const char *type = std::getenv("OSG_LOG_TYPE");
    const char *file = std::getenv("OSG_LOG_FILE");
    if(type != NULL)
    {
        if(equalsNoCase(type, "none"))
            _logType = LOG_NONE;
        else if(equalsNoCase(type, "stdout"))
            _logType = LOG_STDOUT;
        else if(equalsNoCase(type, "stderr"))
            _logType = LOG_STDERR;
        _typeFromEnv = !equalsNoCase(type, "file");
    }
    if(file != NULL && *file != '\0' && (type == NULL || equalsNoCase(type, "file")))
    {
        openFile(file);
        _typeFromEnv = _logType == LOG_FILE;
    }

    const char *header = std::getenv("OSG_LOG_HEADER");
    if(header != NULL && *header != '\0')
    {
        char         *end = NULL;
        unsigned long v   = std::strtoul(header, &end, 0);
        if(end != header && *end == '\0')
        {
            _headerElem    = UInt32(v) & LOG_ALL_HEADER;
            _headerFromEnv = true;
        }
    }
}

const Char8 *Log::getLevelName(LogLevel level)
{
    return (Int32(level) >= 0 && Int32(level) < 6) ? levelNames[level] : "LOG";
}

void Log::setLogLevel(LogLevel logLevel, bool force)
{
    if(_levelFromEnv && !force)
        return;
    if(Int32(logLevel) < LOG_LOG || Int32(logLevel) > LOG_DEBUG)
    {
        SWARNING << "Log::setLogLevel: invalid level " << Int32(logLevel) << " ignored" << std::endl;
        return;
    }
    _logLevel.store(logLevel, std::memory_order_relaxed);
}

LogType Log::getLogType(void) const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _logType;
}

void Log::setLogType(LogType logType, bool force)
{
    {
        std::lock_guard<std::mutex> lock(_mutex);
        if(_typeFromEnv && !force)
            return;
        switch(logType)
        {
            case LOG_NONE:
            case LOG_STDOUT:
            case LOG_STDERR:
            case LOG_BUFFER:
                _logType = logType;
                return;
            case LOG_FILE:
                if(_file != NULL)
                {
                    _logType = LOG_FILE;
                    return;
                }
                break;
        }
    }
    SWARNING << "Log::setLogType: type " << Int32(logType)
             << (logType == LOG_FILE ? " needs a file (setLogFile)" : " is unknown") << "; ignored"
             << std::endl;
}

void Log::openFile(const Char8 *fileName)
{
    std::FILE *f = std::fopen(fileName, "w");
    if(f == NULL)
        return;
    if(_file != NULL)
        std::fclose(_file);
    _file    = f;
    _logType = LOG_FILE;
}

void Log::setLogFile(const Char8 *fileName, bool force)
{
    bool failed = false;
    {
        std::lock_guard<std::mutex> lock(_mutex);
        if(_typeFromEnv && !force)
            return;
        if(fileName == NULL || *fileName == '\0')
        {
            if(_file != NULL)
                std::fclose(_file);
            _file    = NULL;
            _logType = LOG_STDERR;
            return;
        }
        openFile(fileName);
        failed = _logType != LOG_FILE || _file == NULL;
    }
    if(failed)
        SWARNING << "Log::setLogFile: cannot open \"" << fileName << "\"; output unchanged" << std::endl;
}

void Log::setHeaderElem(UInt32 elemMask, bool force)
{
    if(_headerFromEnv && !force)
        return;
    _headerElem.store(elemMask & LOG_ALL_HEADER);
}

void Log::addHeaderElem(LogHeaderElem elem, bool force)
{
    if(_headerFromEnv && !force)
        return;
    _headerElem.fetch_or(UInt32(elem) & LOG_ALL_HEADER);
}

void Log::delHeaderElem(LogHeaderElem elem, bool force)
{
    if(_headerFromEnv && !force)
        return;
    _headerElem.fetch_and(~UInt32(elem));
}

bool Log::hasHeaderElem(LogHeaderElem elem) const
{
    return (_headerElem.load() & UInt32(elem)) != 0;
}

UInt32 Log::getHeaderElem(void) const
{
    return _headerElem.load();
}

void Log::addModuleHandling(LogModuleHandling handling, bool)
{
    std::lock_guard<std::mutex> lock(_mutex);
    _moduleHandling |= UInt32(handling) & LOG_MODULE_ALL;
}

void Log::delModuleHandling(LogModuleHandling handling, bool)
{
    std::lock_guard<std::mutex> lock(_mutex);
    _moduleHandling &= ~UInt32(handling);
}

void Log::addModuleName(const Char8 *module, bool)
{
    if(module == NULL || *module == '\0')
        return;
    std::lock_guard<std::mutex> lock(_mutex);
    if(std::find(_moduleNames.begin(), _moduleNames.end(), module) == _moduleNames.end())
        _moduleNames.push_back(module);
}

void Log::delModuleName(const Char8 *module)
{
    if(module == NULL)
        return;
    std::lock_guard<std::mutex> lock(_mutex);
    _moduleNames.remove(module);
}

bool Log::hasModule(const Char8 *module) const
{
    if(module == NULL)
        return false;
    std::lock_guard<std::mutex> lock(_mutex);
    return std::find(_moduleNames.begin(), _moduleNames.end(), module) != _moduleNames.end();
}

bool Log::checkModule(const Char8 *module) const
{
    std::lock_guard<std::mutex> lock(_mutex);
    if(module == NULL || *module == '\0')
        return (_moduleHandling & LOG_MODULE_UNDEFINED) != 0;
    bool known = std::find(_moduleNames.begin(), _moduleNames.end(), module) != _moduleNames.end();
    return (_moduleHandling & (known ? LOG_MODULE_KNOWN : LOG_MODULE_UNKNOWN)) != 0;
}

Time Log::getRefTime(void) const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return nowSeconds() - _refTime;
}

void Log::resetRefTime(void)
{
    std::lock_guard<std::mutex> lock(_mutex);
    _refTime = nowSeconds();
}

std::ostream &Log::stream(LogLevel level)
{
    return stream(level, OSG_LOG_MODULE, NULL, 0, false);
}

std::ostream &Log::stream(LogLevel level, const Char8 *module, const Char8 *file, UInt32 line, bool header)
{
    ThreadLogState &state = threadState();
    if(state.buf.isPending())
    {
        if(!header)
        {
            state.buf.resume();
            return state.stream;
        }
        state.buf.finish();
    }
    // Each message starts with clean formatting, whatever the previous one left behind.
    state.stream.clear();
    state.stream.flags(state.defaultFlags);
    state.stream.precision(6);
    state.stream.width(0);
    state.stream.fill(' ');
    state.buf.begin(level, header, module, file, line);
    return state.stream;
}

std::ostream &Log::nilstream(void)
{
    return threadState().nil;
}

void Log::emit(LogLevel level, const char *label, const char *module, const char *file, int line,
               const std::string &text)
{
    if(!checkLevel(level))
        return;
    LogEntry entry;
    entry.level  = level;
    entry.label  = label != NULL ? label : getLevelName(level);
    entry.module = module != NULL ? module : "";
    entry.file   = baseName(file);
    entry.line   = line;
    entry.text   = text;
    dispatch(entry, true);
}

namespace {

// printf-style formatting into a string; one vsnprintf for short texts, two for long ones.
std::string formatText(const char *format, va_list args)
{
    char    small[512];
    va_list copy;
    va_copy(copy, args);
    const int n = std::vsnprintf(small, sizeof(small), format, copy);
    va_end(copy);
    std::string text;
    if(n >= 0 && std::size_t(n) < sizeof(small))
    {
        text.assign(small, std::size_t(n));
    }
    else if(n >= 0)
    {
        text.resize(std::size_t(n) + 1);
        std::vsnprintf(&text[0], text.size(), format, args);
        text.resize(std::size_t(n));
    }
    return text;
}

} // namespace

void Log::doLog(LogLevel level, const char *module, const char *file, int line, const char *format, ...)
{
    if(!checkLevel(level) || format == NULL)
        return;
    va_list args;
    va_start(args, format);
    const std::string text = formatText(format, args);
    va_end(args);
    emit(level, NULL, module, file, line, text);
}

void LogPrinter::print(const char *format, ...)
{
    if(format == NULL)
        return;
    va_list args;
    va_start(args, format);
    const std::string text = formatText(format, args);
    va_end(args);
    osgLog().emit(level, NULL, module, file, line, text);
}

void Log::dispatch(const LogEntry &entry, bool header)
{
    // The capture sees the text without its final newline; the output always ends a line.
    LogEntry e = entry;
    if(!e.text.empty() && e.text.back() == '\n')
        e.text.pop_back();

    std::string out;
    UInt32      elems = _headerElem.load();
    if(header)
    {
        if(elems & LOG_BEGIN_NEWLINE_HEADER)
            out += '\n';
        if(elems & LOG_TYPE_HEADER)
            out += e.label + ": ";
        if(elems & LOG_TIMESTAMP_HEADER)
        {
            char stamp[32];
            std::snprintf(stamp, sizeof(stamp), "%.3f: ", getRefTime());
            out += stamp;
        }
        if((elems & LOG_MODULE_HEADER) && !e.module.empty())
            out += e.module + ": ";
        bool fileElem = (elems & LOG_FILE_HEADER) && !e.file.empty();
        bool lineElem = (elems & LOG_LINE_HEADER) && e.line > 0;
        if(fileElem)
            out += e.file;
        if(lineElem)
            out += (fileElem ? ":" : "") + std::to_string(e.line);
        if(fileElem || lineElem)
            out += ": ";
    }
    out += e.text;
    out += '\n';
    if(header && (elems & LOG_END_NEWLINE_HEADER))
        out += '\n';

    std::lock_guard<std::mutex> lock(_mutex);

    bool known = std::find(_moduleNames.begin(), _moduleNames.end(), e.module) != _moduleNames.end();
    UInt32 need = e.module.empty() ? LOG_MODULE_UNDEFINED : (known ? LOG_MODULE_KNOWN : LOG_MODULE_UNKNOWN);
    if((_moduleHandling & need) == 0)
        return;

    LogCapture *capture = _captures.empty() ? NULL : _captures.back();
    if(capture != NULL)
        capture->add(e);
    if(capture == NULL || capture->getPassThrough())
        writeOut(out);
}

void Log::writeOut(const std::string &formatted)
{
    std::FILE *target = NULL;
    switch(_logType)
    {
        case LOG_NONE:   return;
        case LOG_STDOUT: target = stdout; break;
        case LOG_STDERR: target = stderr; break;
        case LOG_FILE:   target = _file;  break;
        case LOG_BUFFER:
            _logBuf.write(formatted.data(), std::streamsize(formatted.size()));
            return;
    }
    if(target == NULL)
        return;
    std::fwrite(formatted.data(), 1, formatted.size(), target);
    std::fflush(target);
}

void Log::pushCapture(LogCapture *capture)
{
    std::lock_guard<std::mutex> lock(_mutex);
    _captures.push_back(capture);
}

void Log::removeCapture(LogCapture *capture)
{
    std::lock_guard<std::mutex> lock(_mutex);
    _captures.erase(std::remove(_captures.begin(), _captures.end(), capture), _captures.end());
}

void detail::warnNullPointer(const Char8 *function)
{
    osgLog().emit(LOG_WARNING, NULL, OSG_LOG_MODULE, NULL, 0,
                  std::string(function != NULL ? function : "?") + ": null pointer; using a neutral value");
}

std::ostream &osgStartLog(bool logHeader, LogLevel level, const Char8 *module, const Char8 *file,
                          UInt32 line)
{
    if(!osgLog().checkLevel(level))
        return osgLog().nilstream();
    return osgLog().stream(level, module, file, line, logHeader);
}


/*-------------------------------- LogBuf ---------------------------------*/

LogBuf::LogBuf(UInt32) : _enabled(true), _callback(NULL), _clientData(NULL)
{
}

LogBuf::~LogBuf(void)
{
    clearChunkBag();
}

bool LogBuf::getEnabled(void)
{
    return _enabled;
}

void LogBuf::setEnabled(bool value)
{
    _enabled = value;
}

void LogBuf::clearChunkBag(void)
{
    for(Chunk *chunk : _chunkBag)
        delete chunk;
    _chunkBag.clear();
}

void LogBuf::setCallback(Callback cb, void *clientData, bool flushData)
{
    _callback   = cb;
    _clientData = clientData;
    if(flushData && cb != NULL)
    {
        for(const Chunk *chunk : _chunkBag)
            cb(chunk->data, chunk->size, clientData);
    }
}

void LogBuf::removeCallback(void)
{
    _callback   = NULL;
    _clientData = NULL;
}

void LogBuf::write(const Char8 *buffer, std::streamsize size)
{
    if(size <= 0)
        return;
    if(_enabled)
    {
        Chunk *chunk = new Chunk;
        chunk->data  = new Char8[size_t(size)];
        chunk->size  = Int32(size);
        std::memcpy(chunk->data, buffer, size_t(size));
        _chunkBag.push_back(chunk);
    }
    if(_callback != NULL)
        _callback(buffer, Int32(size), _clientData);
}

LogBuf::int_type LogBuf::overflow(int_type c)
{
    if(traits_type::eq_int_type(c, traits_type::eof()))
        return traits_type::not_eof(c);
    const Char8 ch = traits_type::to_char_type(c);
    write(&ch, 1);
    return c;
}

int LogBuf::sync(void)
{
    return 0;
}

std::streamsize LogBuf::xsputn(const char_type *buffer, std::streamsize size)
{
    write(buffer, size);
    return size;
}

} // namespace osg
