#ifndef _OSGLOG_H_
#define _OSGLOG_H_

#include <OpenSG/OSGBaseTypes.h>

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <list>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

namespace osg {

enum LogType
{
    LOG_NONE   = 0,
    LOG_STDOUT = 1,
    LOG_STDERR = 2,
    LOG_FILE   = 3,
    LOG_BUFFER = 4
};

enum LogLevel
{
    LOG_LOG     = 0,
    LOG_FATAL   = 1,
    LOG_WARNING = 2,
    LOG_NOTICE  = 3,
    LOG_INFO    = 4,
    LOG_DEBUG   = 5
};

enum LogHeaderElem
{
    LOG_NONE_HEADER          = 0,
    LOG_BEGIN_NEWLINE_HEADER = 1,
    LOG_TYPE_HEADER          = 2,
    LOG_TIMESTAMP_HEADER     = 4,
    LOG_MODULE_HEADER        = 8,
    LOG_FILE_HEADER          = 16,
    LOG_LINE_HEADER          = 32,
    LOG_END_NEWLINE_HEADER   = 64,
    LOG_ALL_HEADER           = 127
};

/*! Which modules pass: those named with addModuleName (KNOWN), all others (UNKNOWN), messages
    without a module (UNDEFINED). All pass by default. */
enum LogModuleHandling
{
    LOG_MODULE_NONE      = 0,
    LOG_MODULE_KNOWN     = 1,
    LOG_MODULE_UNKNOWN   = 2,
    LOG_MODULE_UNDEFINED = 4,
    LOG_MODULE_ALL       = 7
};

/*! One dispatched message as a LogCapture sees it. file is the source file's base name; text has
    no trailing newline. */
struct LogEntry
{
    LogLevel    level;
    std::string label;
    std::string module;
    std::string file;
    int         line;
    std::string text;
};

/*! While alive, receives every message that passes the level and module filters, from every
    thread. Captures nest: only the innermost one receives. With passThrough the messages are also
    written to the log's output, otherwise they are swallowed. */
class LogCapture
{
  public:
    explicit LogCapture(bool passThrough = false);
    ~LogCapture(void);

    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    std::vector<LogEntry> entries(void) const;
    /*! All texts joined by '\n'. */
    std::string text    (void) const;
    bool        contains(const std::string &substr) const;
    std::size_t count   (void) const;
    void        clear   (void);

    bool getPassThrough(void) const { return _passThrough; }

  private:
    friend class Log;

    void add(const LogEntry &entry);

    mutable std::mutex    _mutex;
    std::vector<LogEntry> _entries;
    bool                  _passThrough;
};

/*! The log's buffer output (LOG_BUFFER): each formatted message is handed to the callback, if
    one is set, and kept as a chunk while the buffer is enabled, so that an application (a GUI's
    console, a test) can fetch what was logged. The callback runs while the log is locked: it must
    not log itself. */
class LogBuf : public std::streambuf
{
  public:
    typedef void (*Callback)(const Char8 *data, Int32 size, void *clientData);

    struct Chunk
    {
        Char8 *data;
        Int32  size;

        Chunk(void) : data(NULL), size(0) {}
        ~Chunk(void) { delete[] data; }
        Chunk(const Chunk &) = delete;
        Chunk &operator=(const Chunk &) = delete;
    };

    explicit LogBuf(UInt32 bufferSize = 1024);
    virtual ~LogBuf(void);

    bool getEnabled(void);
    void setEnabled(bool value = true);

    void clearChunkBag(void);

    /*! With flushData the chunks kept so far are handed to the new callback first, oldest first. */
    void setCallback   (Callback cb, void *clientData = 0, bool flushData = false);
    void removeCallback(void);

    /*! The chunks kept while enabled, oldest first. */
    const std::list<Chunk *> &getChunkBag(void) const { return _chunkBag; }

  protected:
    virtual int_type        overflow(int_type c) override;
    virtual int             sync    (void) override;
    virtual std::streamsize xsputn  (const char_type *buffer, std::streamsize size) override;

  private:
    friend class Log;

    LogBuf(const LogBuf &) = delete;
    LogBuf &operator=(const LogBuf &) = delete;

    void write(const Char8 *buffer, std::streamsize size);

    bool               _enabled;
    std::list<Chunk *> _chunkBag;
    Callback           _callback;
    void              *_clientData;
};

/*! The message log. Messages are filtered by level before they are formatted. Stream messages are
    collected per thread and dispatched whole when the stream is flushed (std::endl), so threads
    never interleave within a message; dispatching is serialised. The default output is stderr,
    the default level WARNING and the default header "LEVEL: file:line: ". The environment
    variables OSG_LOG_LEVEL (name or number), OSG_LOG_TYPE (none, stdout, stderr, file),
    OSG_LOG_FILE and OSG_LOG_HEADER (header bits) override the defaults; a level or type set from
    the environment changes only when set with force. */
class Log
{
  public:
    /*---------------------------- level, type, header --------------------*/

    LogLevel getLogLevel(void) const { return LogLevel(_logLevel.load(std::memory_order_relaxed)); }
    void     setLogLevel(LogLevel logLevel, bool force = false);
    bool     checkLevel (LogLevel logLevel) const
    {
        return Int32(logLevel) <= _logLevel.load(std::memory_order_relaxed);
    }

    LogType getLogType(void) const;
    void    setLogType(LogType logType, bool force = false);

    /*! The buffer that receives the messages while the type is LOG_BUFFER. */
    LogBuf &getLogBuf(void) { return _logBuf; }

    /*! Writes to the named file (truncated) from now on; NULL or "" returns to stderr. */
    void setLogFile(const Char8 *fileName, bool force = false);

    void   setHeaderElem(UInt32 elemMask, bool force = false);
    void   addHeaderElem(LogHeaderElem elem, bool force = false);
    void   delHeaderElem(LogHeaderElem elem, bool force = false);
    bool   hasHeaderElem(LogHeaderElem elem) const;
    UInt32 getHeaderElem(void) const;

    /*---------------------------- modules --------------------------------*/

    void addModuleHandling(LogModuleHandling handling, bool force = false);
    void delModuleHandling(LogModuleHandling handling, bool force = false);
    void addModuleName    (const Char8 *module, bool isStatic = false);
    void delModuleName    (const Char8 *module);
    bool hasModule        (const Char8 *module) const;
    bool checkModule      (const Char8 *module) const;

    /*---------------------------- time -----------------------------------*/

    /*! Seconds since the reference time, as the timestamp header shows them. */
    Time getRefTime  (void) const;
    void resetRefTime(void);

    /*---------------------------- logging --------------------------------*/

    /*! The calling thread's message stream, starting a message without header. */
    std::ostream &stream(LogLevel level);

    /*! The calling thread's message stream, starting a message. A message still open on this
        thread is dispatched first, unless header is false: a header-less stream continues it. The
        level is not checked here (the macros check it first). */
    std::ostream &stream(LogLevel level, const Char8 *module, const Char8 *file, UInt32 line,
                         bool header = true);

    /*! A stream that discards everything. */
    std::ostream &nilstream(void);

    /*! Dispatches one complete message with header, if the level passes. label NULL prints the
        level's own name ("WARNING"); platform code passes e.g. "ERROR" at warning level. */
    void emit(LogLevel level, const char *label, const char *module, const char *file, int line,
              const std::string &text);

    /*! printf-style emit with the level's own label. */
    void doLog(LogLevel level, const char *module, const char *file, int line, const char *format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 6, 7)))
#endif
        ;

    static const Char8 *getLevelName(LogLevel level);

  private:
    friend Log &osgLog(void);
    friend class LogCapture;
    friend class LogStreamBuf;

    Log(void);
    ~Log(void) = delete;    // lives until the process ends, so static destructors may still log
    Log(const Log &) = delete;
    Log &operator=(const Log &) = delete;

    void dispatch(const LogEntry &entry, bool header);
    void writeOut(const std::string &formatted);
    void openFile(const Char8 *fileName);

    void pushCapture  (LogCapture *capture);
    void removeCapture(LogCapture *capture);

    std::atomic<Int32>        _logLevel;
    std::atomic<UInt32>       _headerElem;
    mutable std::mutex        _mutex;
    LogType                   _logType;
    std::FILE                *_file;
    bool                      _levelFromEnv;
    bool                      _typeFromEnv;
    bool                      _headerFromEnv;
    UInt32                    _moduleHandling;
    std::list<std::string>    _moduleNames;
    std::vector<LogCapture *> _captures;
    Real64                    _refTime;
    LogBuf                    _logBuf;
};

/*! The process' log, created on first use and never destroyed. */
Log &osgLog(void);

/*! OpenSG's entry point of the stream macros: the thread's stream if the level passes, else the nil
    stream. */
std::ostream &osgStartLog(bool logHeader, LogLevel level, const Char8 *module, const Char8 *file,
                          UInt32 line);

/*! Ends a message, as std::endl does. */
inline std::ostream &endLog(std::ostream &strm)
{
    return strm << std::endl;
}

inline void indentLog(UInt32 indent, std::ostream &stream)
{
    for(UInt32 i = 0; i < indent; ++i)
        stream << ' ';
}

/*! Formats the arguments of the F... macros; they check the level first. */
struct LogPrinter
{
    LogLevel    level;
    const char *module;
    const char *file;
    int         line;

    void print(const char *format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 2, 3)))
#endif
        ;
};

} // namespace osg

#ifndef OSG_LOG_MODULE
#define OSG_LOG_MODULE "OpenSG"
#endif

// A one-pass loop rather than an if: the level is checked before anything is formatted, and a
// user's "if(x) SWARNING << ...; else ..." still binds the else to the user's if.
#define OSG_LOG_STREAM(LEVEL, HEADER)                                                    \
    for(bool osgLogOn_ = OSG::osgLog().checkLevel(LEVEL); osgLogOn_; osgLogOn_ = false)  \
        OSG::osgLog().stream(LEVEL, OSG_LOG_MODULE, __FILE__, __LINE__, HEADER)

#define SLOG     OSG_LOG_STREAM(OSG::LOG_LOG,     true)
#define SFATAL   OSG_LOG_STREAM(OSG::LOG_FATAL,   true)
#define SWARNING OSG_LOG_STREAM(OSG::LOG_WARNING, true)
#define SNOTICE  OSG_LOG_STREAM(OSG::LOG_NOTICE,  true)
#define SINFO    OSG_LOG_STREAM(OSG::LOG_INFO,    true)
#define SDEBUG   OSG_LOG_STREAM(OSG::LOG_DEBUG,   true)

#define PLOG     OSG_LOG_STREAM(OSG::LOG_LOG,     false)
#define PFATAL   OSG_LOG_STREAM(OSG::LOG_FATAL,   false)
#define PWARNING OSG_LOG_STREAM(OSG::LOG_WARNING, false)
#define PNOTICE  OSG_LOG_STREAM(OSG::LOG_NOTICE,  false)
#define PINFO    OSG_LOG_STREAM(OSG::LOG_INFO,    false)
#define PDEBUG   OSG_LOG_STREAM(OSG::LOG_DEBUG,   false)

// printf style with double parentheses: FWARNING(("%d items\n", n));
#define OSG_LOG_PRINTF(LEVEL, PAR)                                                        \
    do                                                                                    \
    {                                                                                     \
        if(OSG::osgLog().checkLevel(LEVEL))                                               \
        {                                                                                 \
            OSG::LogPrinter osgLogPrinter_ = { LEVEL, OSG_LOG_MODULE, __FILE__, __LINE__ }; \
            osgLogPrinter_.print PAR;                                                     \
        }                                                                                 \
    } while(false)

#define FLOG(PAR)     OSG_LOG_PRINTF(OSG::LOG_LOG,     PAR)
#define FFATAL(PAR)   OSG_LOG_PRINTF(OSG::LOG_FATAL,   PAR)
#define FWARNING(PAR) OSG_LOG_PRINTF(OSG::LOG_WARNING, PAR)
#define FNOTICE(PAR)  OSG_LOG_PRINTF(OSG::LOG_NOTICE,  PAR)
#define FINFO(PAR)    OSG_LOG_PRINTF(OSG::LOG_INFO,    PAR)
#define FDEBUG(PAR)   OSG_LOG_PRINTF(OSG::LOG_DEBUG,   PAR)

#endif
