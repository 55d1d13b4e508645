#pragma once

/* The C interface of the logging toolkit: libklglog.so (loggers, handlers, properties),
 * libklgmsg.so (message catalogues) and libklgfdc.so (first-failure data capture).
 *
 * The three libraries lie beside libvelora.so and are opened at run time, so this header is used
 * for its types and for decltype(&KlgIsLoggable) and the like; KLG_CALLS below says which library
 * holds which call. Opening libklgfdc.so draws in libklglog.so, and that libklgmsg.so.
 *
 * For every call: any thread may call it at any time; a null object is allowed and makes the call
 * fail or do nothing; no call throws, and none ends the process. Objects live as long as the
 * process, so a pointer stays usable after KlgReleaseObject and KlgCloseToolkit (nothing is
 * written through it until the toolkit is opened again).
 *
 * int results are 0 for done and -1 for not done, unless a comment says otherwise.
 *
 * Levels. One scale serves loggers and tracers; a record is written when its level is at or above
 * the object's property "level". A tracer at 2000 writes the middle and the least detail and all
 * operator records, one at 4000 no trace detail at all, and one at 8000 nothing. */

#ifdef __cplusplus
#define KLG_NOEXCEPT noexcept
extern "C" {
#else
#define KLG_NOEXCEPT
#endif
#define KLG_API __attribute__((visibility("default")))

/* The most text one record can hold, its line feed included; what is longer is cut and marked. */
#define KLG_MAX_LINE 8192
/* The most typed arguments one call can hand over. */
#define KLG_MAX_ARGS 32

enum KlgLevel {
  KLG_LEVEL_ALL = 0,
  KLG_DEBUG_MAX = 1000, /* most detail */
  KLG_DEBUG_MID = 2000,
  KLG_DEBUG_MIN = 3000, /* least detail */
  KLG_INFO = 4000,
  KLG_WARN = 5000,
  KLG_ERROR = 6000,
  KLG_FATAL = 7000,
  KLG_LEVEL_OFF = 8000
};

/* The tag that precedes each variable argument, and in brackets the C type that must follow it.
 * The list ends with a plain 0. */
enum KlgParmType {
  KLG_BOOL = 501,   /* int */
  KLG_INT = 502,    /* int */
  KLG_LONG = 503,   /* long long; also a pointer's value, for %p */
  KLG_FLOAT = 504,  /* double, as C promotes a float */
  KLG_DOUBLE = 505, /* double */
  KLG_CHAR = 506,   /* int, one byte's value */
  KLG_STRING = 507  /* const char*, null allowed */
};

typedef struct KlgObject KlgObject;

/* ---- libklglog.so: the toolkit as a whole ---------------------------------------------------- */

/* Reads the properties file and makes its objects. A second call without a close between reads the
 * new file over the existing objects. -1, with the reason on standard error: not a regular file,
 * not readable, or no object named in it. */
KLG_API int KlgOpenToolkit(const char* propertiesPath) KLG_NOEXCEPT;

/* Writes nothing more, closes the files. Objects and watched levels go to KLG_LEVEL_OFF. */
KLG_API void KlgCloseToolkit(void) KLG_NOEXCEPT;

/* The configured object of that name, or null when the open file names none. type: null for any,
 * or "klg_logger", "klg_filehandler", "klg_ffdchandler"; another type than the object's gives
 * null. */
KLG_API KlgObject* KlgGetObject(const char* name, const char* type) KLG_NOEXCEPT;

/* Ends the use of an object got above. Watches on it end, with the watched level at
 * KLG_LEVEL_OFF. */
KLG_API void KlgReleaseObject(KlgObject* object) KLG_NOEXCEPT;

/* A copy of the property's text that the caller frees with KosMemoryFree; null when not set. */
KLG_API char* KlgGetObjProp(KlgObject* object, const char* name) KLG_NOEXCEPT;

/* Takes effect at once: "level" of a logger, "fileName" of a file handler, and so on. -1 for a
 * value that the property cannot take; the old value then stays. */
KLG_API int KlgSetObjProp(KlgObject* object, const char* name, const char* value) KLG_NOEXCEPT;
KLG_API int KlgSetObjPropInt(KlgObject* object, const char* name, int value) KLG_NOEXCEPT;

/* Frees what KlgGetObjProp, KlgFFDCTriggerHandlerGetBaseDir and KlgFileCopyHandlerGetFiles gave. */
KLG_API void KosMemoryFree(void* memory) KLG_NOEXCEPT;

/* ---- libklglog.so: what is written ------------------------------------------------------------
 */

/* 1 when a record of that level would be written, otherwise 0. */
KLG_API int KlgIsLoggable(const KlgObject* logger, int level) KLG_NOEXCEPT;

/* Keeps *level equal to the logger's level from now until KlgReleaseObject, so that a call site
 * that is off costs one load and one branch:
 *   if (std::atomic_ref(traceLevel).load(std::memory_order_relaxed) <= KLG_DEBUG_MID) ...
 * Start the variable at KLG_LEVEL_OFF; it must live as long as the process. -1, and *level
 * unchanged, for an object that is no logger or has its watcher already. */
KLG_API int KlgWatchLevel(KlgObject* logger, int* level) KLG_NOEXCEPT;

/* Traces at 1000, 2000 and 3000: format with the typed arguments, ended by 0. The arguments are
 * matched against the format's conversions; a format that does not fit is printed as it stands,
 * the arguments after it. A format without arguments is printed as it stands too. */
KLG_API void KlgLogDebugMax(KlgObject* tracer, const char* file, const char* function, int line,
                            const char* format, ...) KLG_NOEXCEPT;
KLG_API void KlgLogDebugMid(KlgObject* tracer, const char* file, const char* function, int line,
                            const char* format, ...) KLG_NOEXCEPT;
KLG_API void KlgLogDebugMin(KlgObject* tracer, const char* file, const char* function, int line,
                            const char* format, ...) KLG_NOEXCEPT;

/* Operator messages. The text is the catalogue's for (set, number), or the default text when there
 * is none; catalogue null or number 0 means the default text. KlgLogFatal also sets off
 * first-failure capture. */
KLG_API void KlgLogInfo(KlgObject* logger, const char* catalog, int set, int number,
                        const char* defaultText, ...) KLG_NOEXCEPT;
KLG_API void KlgLogWarn(KlgObject* logger, const char* catalog, int set, int number,
                        const char* defaultText, ...) KLG_NOEXCEPT;
KLG_API void KlgLogError(KlgObject* logger, const char* catalog, int set, int number,
                         const char* defaultText, ...) KLG_NOEXCEPT;
KLG_API void KlgLogFatal(KlgObject* logger, const char* catalog, int set, int number,
                         const char* defaultText, ...) KLG_NOEXCEPT;

/* A ready text at level KLG_INFO; "%" means nothing in it. End the call with 0. */
KLG_API void KlgLogText(KlgObject* logger, const char* text, ...) KLG_NOEXCEPT;

/* ---- libklgmsg.so ------------------------------------------------------------------------------
 */

/* The directory of code-set tables. Logs are UTF-8 throughout and nothing is converted, so the
 * directory is only checked to be named: -1 for null or empty. */
KLG_API int kis_set_dir(const char* directory) KLG_NOEXCEPT;

/* The text of a message: the catalogue's, or defaultText. The catalogue is opened at first use,
 * through NLSPATH; one that is missing is said once on standard error. The result lives as long as
 * the process (or as defaultText). libklglog.so asks this for every numbered message. */
KLG_API const char* KlgMessageText(const char* catalog, int set, int number,
                                   const char* defaultText) KLG_NOEXCEPT;

/* ---- libklgfdc.so ------------------------------------------------------------------------------
 */

/* 1 switches first-failure capture on, 0 off; may be called before the toolkit is opened. */
KLG_API int KlgInitFFDCExtensions(int on) KLG_NOEXCEPT;

/* Property "baseDir" of the capture handler; the copy is freed with KosMemoryFree. */
KLG_API char* KlgFFDCTriggerHandlerGetBaseDir(KlgObject* handler) KLG_NOEXCEPT;
KLG_API int KlgFFDCTriggerHandlerSetBaseDir(KlgObject* handler, const char* directory) KLG_NOEXCEPT;

/* Property "files": names separated by ";", "," or blanks. */
KLG_API char* KlgFileCopyHandlerGetFiles(KlgObject* handler) KLG_NOEXCEPT;
KLG_API int KlgFileCopyHandlerSetFiles(KlgObject* handler, const char* list) KLG_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#define KLG_LOG_LIBRARY "libklglog.so"
#define KLG_MSG_LIBRARY "libklgmsg.so"
#define KLG_FDC_LIBRARY "libklgfdc.so"

/* Every call with the library that holds it, for a loader to walk: CALL(library, name). */
#define KLG_CALLS(CALL)                                  \
  CALL(KLG_LOG_LIBRARY, KlgOpenToolkit)                  \
  CALL(KLG_LOG_LIBRARY, KlgCloseToolkit)                 \
  CALL(KLG_LOG_LIBRARY, KlgGetObject)                    \
  CALL(KLG_LOG_LIBRARY, KlgReleaseObject)                \
  CALL(KLG_LOG_LIBRARY, KlgGetObjProp)                   \
  CALL(KLG_LOG_LIBRARY, KlgSetObjProp)                   \
  CALL(KLG_LOG_LIBRARY, KlgSetObjPropInt)                \
  CALL(KLG_LOG_LIBRARY, KosMemoryFree)                   \
  CALL(KLG_LOG_LIBRARY, KlgIsLoggable)                   \
  CALL(KLG_LOG_LIBRARY, KlgWatchLevel)                   \
  CALL(KLG_LOG_LIBRARY, KlgLogDebugMax)                  \
  CALL(KLG_LOG_LIBRARY, KlgLogDebugMid)                  \
  CALL(KLG_LOG_LIBRARY, KlgLogDebugMin)                  \
  CALL(KLG_LOG_LIBRARY, KlgLogInfo)                      \
  CALL(KLG_LOG_LIBRARY, KlgLogWarn)                      \
  CALL(KLG_LOG_LIBRARY, KlgLogError)                     \
  CALL(KLG_LOG_LIBRARY, KlgLogFatal)                     \
  CALL(KLG_LOG_LIBRARY, KlgLogText)                      \
  CALL(KLG_MSG_LIBRARY, kis_set_dir)                     \
  CALL(KLG_MSG_LIBRARY, KlgMessageText)                  \
  CALL(KLG_FDC_LIBRARY, KlgInitFFDCExtensions)           \
  CALL(KLG_FDC_LIBRARY, KlgFFDCTriggerHandlerGetBaseDir) \
  CALL(KLG_FDC_LIBRARY, KlgFFDCTriggerHandlerSetBaseDir) \
  CALL(KLG_FDC_LIBRARY, KlgFileCopyHandlerGetFiles)      \
  CALL(KLG_FDC_LIBRARY, KlgFileCopyHandlerSetFiles)
