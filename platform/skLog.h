#ifndef SK_PLATFORM_SKLOG_H
#define SK_PLATFORM_SKLOG_H

/*! The host's message log for the library. Both calls format like printf and hand the text to
    the kernel log at warning level, module "sk": an error is printed with the label "ERROR", a
    warning with "WARNING". A trailing newline in the format is optional; a null format is
    reported instead of printed. */
class skLog
{
  public:
    static void error  (const char *fmt, ...) __attribute__((format(printf, 1, 2)));
    static void warning(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

    skLog(void) = delete;
};

#endif
