/* The contract between a host and the module, in plain C11 (and C++): every service of the host is one slot
 * of one area table, every way back into the module one slot of a callback table.
 *
 * The slots themselves stand in the *_slots.inc files, one list an area:
 *
 *     HOST_SLOT(return type, Name, (arguments), failure)
 *
 * A list is written once; the tables below, the module's check at the door, a host's fill, the tests'
 * decorator and the layout test are made from it. Lists are append only: an older host lacks the last slots
 * of a table, and a table says with `size` how long it is.
 *
 * The words of the lists
 * ----------------------
 * failure       what the slot answers when it could not do its work, when a handle was null, and what the
 *               module takes for the answer where a host lacks the slot. CANNOT_FAIL: the slot does its work
 *               always; a null handle makes it do nothing, and a lacking one answers zero.
 * Gives(T*)     the handle belongs to the one who receives it, who ends it with the slot named there.
 * Lends(T*)     the handle stays the giver's; the comment says how long it may be used.
 * Takes(T*)     the handle ends with this call and must not be used again. Null: nothing happens.
 * Optional(T*)  null is allowed and means what the comment says. Every other pointer that is null makes the
 *               slot do nothing and answer `failure`.
 * (no word)     lent for the length of the call, and no longer.
 * Thread: main  only on the thread that called `vesta_main`.
 * Thread: any   on every thread; such a slot never waits for the main thread. One handle is used by one
 *               thread at a time, but for HostThread: while the main thread waits in ThreadEnd, the thread
 *               itself asks ThreadTestBreak and renders with it.
 * Errors:       what the slot answers then.
 *
 * Truth values are HostBool: 0 is false, anything else is true. Text given as `const char*` ends with a zero
 * byte. Host strings hold 16-bit character codes (UTF-16). No exception crosses a slot in either direction.
 */
#ifndef VESTA_CONTRACT_HOST_TABLES_H
#define VESTA_CONTRACT_HOST_TABLES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int32_t HostBool;

/* What a handle points to is the host's own business. */
typedef struct HostString HostString;
typedef struct HostFileName HostFileName;
typedef struct HostFile HostFile;
typedef struct HostBrowse HostBrowse;
typedef struct HostContainer HostContainer;
typedef struct HostContainerEntry HostContainerEntry;
typedef struct HostThread HostThread;
typedef struct HostDialog HostDialog;
typedef struct HostGadget HostGadget;
typedef struct HostUserArea HostUserArea;
typedef struct HostDocument HostDocument;
typedef struct HostRenderSettings HostRenderSettings;
typedef struct HostVideoPost HostVideoPost;
typedef struct HostBitmap HostBitmap;
typedef struct HostResources HostResources;
typedef struct HostTokenizer HostTokenizer;
typedef struct HostScriptList HostScriptList;
typedef struct HostScript HostScript;

/* ---- codes ---- */

/* The lowest interface version that the module works with. */
#define HOST_MINIMUM_VERSION 16000

/* A length or count meaning "up to the end". */
#define HOST_ALL 0xFFFFFFFFu

/* How 8-bit text stands for characters. */
enum {
  HOST_ENCODING_LATIN1_ESCAPED = 0, /* reading: bytes are Latin-1, backslash-u and four digits any code */
  HOST_ENCODING_UTF8 = 1,
  HOST_ENCODING_BYTES = 2,        /* one character a byte, both ways */
  HOST_ENCODING_ASCII_ESCAPED = 3 /* writing: what is not printable ASCII becomes backslash-u */
};

/* RegisterPlugin: the kind of a menu command, whose record is a HostCommandRecord. */
enum { HOST_PLUGIN_COMMAND = 4 };
#define HOST_COMMAND_RECORD_SIZE 384
/* GetState of a command: it can be chosen. */
#define HOST_COMMAND_ENABLED 0x40000000

/* GetRunMode: bit values. */
enum { HOST_RUN_MODE_NO_USER_INTERFACE = 2 };

/* FileOpen. */
enum { HOST_FILE_READ = 1, HOST_FILE_WRITE = 2 };

/* Host folders by number (GetHostFolder). */
enum { HOST_FOLDER_PREFERENCES = 3, HOST_FOLDER_LIBRARY = 4, HOST_FOLDER_HOME = 5 };

/* The types of a container's values. */
enum {
  HOST_VALUE_BOOL = 1,
  HOST_VALUE_INT32 = 2,
  HOST_VALUE_REAL = 3,
  HOST_VALUE_STRING = 4,
  HOST_VALUE_FILENAME = 5,
  HOST_VALUE_CONTAINER = 6
};

/* One value of a container, as ContainerNextEntry shows it; only the field that `type` names has a meaning.
 * Strings and file names are read with ContainerGetString and ContainerGetFileName. */
typedef struct HostContainerValue {
  int32_t type;    /* HOST_VALUE_ codes */
  int32_t integer; /* HOST_VALUE_BOOL, HOST_VALUE_INT32 */
  double real;
  HostContainer* container; /* lent until the outer container changes or ends */
  int64_t reserved[2];      /* 0 */
} HostContainerValue;

/* Message containers: the identifier of a container that the host sends to a dialog. */
enum {
  HOST_DIALOG_CREATE_LAYOUT = 1, /* build the gadgets */
  HOST_DIALOG_INIT_VALUES = 2,   /* fill them */
  HOST_DIALOG_OPENED = 3,        /* the dialog stands on the screen */
  HOST_DIALOG_COMMAND = 4,       /* a gadget was used: HOST_MESSAGE_ID is its identifier */
  HOST_DIALOG_ASK_CLOSE = 5,     /* answer true in HOST_MESSAGE_RESULT to keep the dialog open */
  HOST_DIALOG_TIMER = 6,
  HOST_DIALOG_CLOSED = 7,  /* the last message of an opening */
  HOST_DIALOG_CONFIRM = 8, /* OK was pressed; a dialog that is not closed in answer is closed by the host */
  HOST_DIALOG_CANCEL = 9,  /* Cancel was pressed, or the window's own close button; the same */
  HOST_DIALOG_CORE = 10    /* a core message or special event: HOST_MESSAGE_ID is its identifier,
                              HOST_MESSAGE_DATA what was sent with it */
};

/* The values inside a message container, and inside its result container. */
enum { HOST_MESSAGE_ID = 1, HOST_MESSAGE_DATA = 2, HOST_MESSAGE_RESULT = 1 };

/* DialogOpen. */
enum { HOST_DIALOG_MODELESS = 0, HOST_DIALOG_MODAL = 1 };

/* DialogAddButtonGroup: bit values. */
enum { HOST_BUTTON_OK = 1, HOST_BUTTON_CANCEL = 2 };
/* The gadget identifiers that those buttons send. */
enum { HOST_GADGET_OK = 1, HOST_GADGET_CANCEL = 2 };

/* Gadget flags: bit values. */
enum { HOST_GADGET_FILL_WIDTH = 1, HOST_GADGET_FILL_HEIGHT = 2, HOST_GADGET_DISABLED = 4 };

/* DialogAddCustomGadget: the file-name gadget, and the setting that makes it choose folders. */
#define HOST_GADGET_FILENAME 1000478
#define HOST_FILENAME_SELECTS_FOLDER 10000

/* Bitmap file formats and documents. */
#define HOST_FORMAT_TIFF 1100
enum { HOST_LOAD_OBJECTS = 1, HOST_LOAD_MATERIALS = 2 }; /* without one, that part may be left out */
enum { HOST_RENDER_EXTERNAL = 1, HOST_RENDER_NETWORK = 512 };

/* Render settings that hosts and tools share. Other identifiers are a host's own; tools that force a value in
 * them do so whatever it means there. */
enum {
  HOST_RENDER_SETTING_RENDERER = 5300,    /* integer, HOST_RENDERER_* or a host's own */
  HOST_RENDER_SETTING_WIDTH = 5008,       /* pixels, integer or real */
  HOST_RENDER_SETTING_HEIGHT = 5009,      /* pixels, integer or real */
  HOST_RENDER_SETTING_SAVE_FORMAT = 5033, /* integer, a HOST_FORMAT_ code */
  HOST_RENDER_SETTING_ANTIALIASING = 5401, /* truth value */
  HOST_RENDER_SETTING_WARM_UP = 7011,     /* truth value: the picture of this render is thrown away */
  HOST_RENDER_SETTING_OVERRIDDEN = 6023   /* integer, 1: a tool has put another renderer in place of the scene's */
};
enum {
  HOST_RENDERER_STANDARD = 0,
  HOST_RENDERER_PREVIEW = 1,
  HOST_RENDERER_REPLACED = 1016630, /* test runs render with HOST_RENDERER_STANDARD instead */
  HOST_RENDERER_PHYSICAL = 1023342, /* also the type of its video post */
  HOST_RENDERER_OPENGL = 300001061
};
/* Parameters of the physical renderer's video post. */
enum {
  HOST_PHYSICAL_KERNEL_BUILD = 4000, /* 0 Standard, 1 Embree Faster, 2 Embree Smaller */
  HOST_PHYSICAL_MODE = 3100          /* test runs render mode 2 as 1 */
};
/* The video post in whose flags test runs set this bit value. */
enum { HOST_VIDEO_POST_FLAGGED = 1001015, HOST_VIDEO_POST_FLAG = 4 };

/* Scripts: the kinds of GetScriptList, the type code "scrp" of SaveScriptFile, and what a script's data container
 * holds: a container for each language under HOST_SCRIPT_LANGUAGE + first letter * 256 + second letter. */
enum { HOST_SCRIPT_USER = 0, HOST_SCRIPT_SHIPPED = 1 };
#define HOST_SCRIPT_TYPE 1935897200
#define HOST_SCRIPT_LANGUAGE 65536
/* The strings in a language's container. */
enum { HOST_SCRIPT_NAME = 1, HOST_SCRIPT_HELP = 2 };

/* SelectFileName: the mode that chooses a folder. */
#define HOST_SELECT_FOLDER 2

/* FindLibrary: the script compiler, a HostScriptLibrary. */
#define HOST_LIBRARY_SCRIPT 1000477

/* Tokens of a text file. */
enum {
  HOST_TOKEN_IDENTIFIER = 1,  /* letters, digits, "_" and bytes above 127; begins with no digit */
  HOST_TOKEN_NUMBER = 2,      /* as a C preprocessor sees numbers */
  HOST_TOKEN_STRING = 3,      /* with its quotes, closed on the same line; raw strings, with their prefix, may
                                 span lines */
  HOST_TOKEN_CHARACTER = 4,   /* one to four characters with their quotes, closed on the same line */
  HOST_TOKEN_PUNCTUATION = 5, /* one character */
  HOST_TOKEN_LINE_END = 6     /* no text; the end of the file ends the last line */
};
/* Flags of a token: bit values. */
enum {
  HOST_TOKEN_GLUED = 1,      /* follows the token before it directly: neither blanks nor a line end between */
  HOST_TOKEN_STARTS_LINE = 2 /* the first token of its line */
};

/* EvaluateExpression. */
enum { HOST_EVALUATE_INTEGER = 0, HOST_EVALUATE_REAL = 1 };
/* Why an expression has no value: bit values of the status. */
enum {
  HOST_EVALUATION_SYNTAX = 1,     /* the text is no expression of that kind */
  HOST_EVALUATION_NAME = 2,       /* it holds a name that means nothing here */
  HOST_EVALUATION_ARITHMETIC = 4, /* division by zero, a shift by less than 0 or more than 31, a real
                                     number that is not finite or does not fit the type it is cast to */
  HOST_EVALUATION_WRAPPED = 8,    /* only this: a value does not fit 32 bits; the integer is it modulo 2^32 */
  HOST_EVALUATION_DEPTH = 16      /* nested too deeply */
};

/* ---- structures that cross the border ---- */

/* One token of a text file. A backslash before a line end joins two lines and is part of nothing; line feed,
 * carriage return and both together end lines; a byte order mark at the start is skipped; bytes of value 0 are
 * blanks. A token longer than 65536 bytes comes in pieces, each glued to the one before. */
typedef struct HostToken {
  int32_t kind;     /* HOST_TOKEN_ codes */
  int32_t flags;    /* HOST_TOKEN_GLUED, HOST_TOKEN_STARTS_LINE */
  const char* text; /* `length` bytes, no zero behind them; lent until the tokenizer is used again */
  int32_t length;
  int32_t line; /* in which it begins; the first is 1 */
} HostToken;

/* What EvaluateExpression found. */
typedef struct HostEvaluation {
  int32_t status;  /* HOST_EVALUATION_ codes */
  int32_t integer; /* the value; of a real one its whole part where that fits, else 0 */
  double real;     /* the value, also of an integer one */
} HostEvaluation;

/* A configuration value that the module declares (see ConfigurationDeclare). */
typedef struct HostConfigurationEntry {
  const char* name;
  const char* help;
  uint32_t type; /* HOST_CONFIGURATION_ codes */
  void* storage; /* where the value lives */
  uint32_t state;
} HostConfigurationEntry;

/* Types of configuration values. Both kinds of switch are one byte, 0 or 1. */
enum { HOST_CONFIGURATION_SWITCH = 1, HOST_CONFIGURATION_TOOLS_SWITCH = 5 };

/* Data of module message 0: the module writes 10000. */
typedef struct HostMessageVersion {
  int32_t version;
} HostMessageVersion;

/* Data of module message 1: the module clears `resources` and sets it when they could be loaded. */
typedef struct HostMessageResources {
  HostResources* resources; /* lent until the last detach */
} HostMessageResources;

/* Data of module message 1002. The module writes null into each argument that it consumes. */
typedef struct HostCommandLine {
  int32_t count;
  const char** arguments; /* `count` pointers, each may be null */
} HostCommandLine;

/* ---- callback tables: how the host reaches the module's objects ---- */

#include "vesta.framework/contract/plain_words.h"

#define HOST_CALLBACK(result, Name, arguments, failure) result(*Name) arguments;

/* What RegisterCommand hands over. `self` is the command object; the host owns it from the moment
 * RegisterPlugin answers true and ends it with Release. */
typedef struct HostCommandRecord {
  uint32_t size; /* HOST_COMMAND_RECORD_SIZE */
  int32_t flags;
  const void* icon;       /* none yet */
  const HostString* help; /* lent for the call of RegisterPlugin */
  void* self;
#include "vesta.framework/contract/command_callbacks.inc"
  unsigned char reserved[HOST_COMMAND_RECORD_SIZE - 2 * sizeof(int32_t) - 12 * sizeof(void*)];
} HostCommandRecord;

typedef struct HostDialogCallbacks {
  uint32_t size;
#include "vesta.framework/contract/dialog_callbacks.inc"
} HostDialogCallbacks;

typedef struct HostUserAreaCallbacks {
  uint32_t size;
#include "vesta.framework/contract/user_area_callbacks.inc"
} HostUserAreaCallbacks;

typedef struct HostThreadCallbacks {
  uint32_t size;
#include "vesta.framework/contract/thread_callbacks.inc"
} HostThreadCallbacks;

/* A library of the host, found by FindLibrary(HOST_LIBRARY_SCRIPT). */
typedef struct HostScriptLibrary {
  uint32_t size;
#include "vesta.framework/contract/script_library.inc"
} HostScriptLibrary;

#undef HOST_CALLBACK

/* ---- area tables: one struct an area, and HostTables with a pointer to each ---- */

#define HOST_AREA_BEGIN(Area, member) \
  typedef struct Host##Area##Table {  \
    uint32_t size; /* bytes, as the host compiled it */
#define HOST_SLOT(result, Name, arguments, failure) result(*Name) arguments;
#define HOST_AREA_END(Area, member) \
  }                                 \
  Host##Area##Table;
#include "vesta.framework/contract/all_areas.inc"
#undef HOST_AREA_BEGIN
#undef HOST_SLOT
#undef HOST_AREA_END

/* What the host hands to the module. A host that does not offer an area leaves its pointer null. */
typedef struct HostTables {
  uint32_t size;            /* bytes, as the host compiled it */
  int32_t interfaceVersion; /* thousands: 16038 reads 16.038; at least HOST_MINIMUM_VERSION */
#define HOST_AREA_BEGIN(Area, member) const Host##Area##Table* member;
#define HOST_SLOT(result, Name, arguments, failure)
#define HOST_AREA_END(Area, member)
#include "vesta.framework/contract/all_areas.inc"
#undef HOST_AREA_BEGIN
#undef HOST_SLOT
#undef HOST_AREA_END
} HostTables;

#include "vesta.framework/contract/no_words.h"

/* ---- the module's one exported function ---- */

enum {
  HOST_MODULE_ATTACH = 1, /* answer 1, or -3: version below 16000, no table, or no required area */
  HOST_MODULE_START = 2,  /* registers the commands: answer 1, or 0 when it failed */
  HOST_MODULE_DETACH = 3, /* answer 1 */
  HOST_MODULE_VERSION = 4, /* answer 5 */
  HOST_MODULE_MESSAGE = 6  /* `argument` is the message id: answer 1 when it was taken, else -1 */
};
enum { HOST_MESSAGE_VERSION = 0, HOST_MESSAGE_RESOURCES = 1, HOST_MESSAGE_COMMAND_LINE = 1002 };

/* Every lifecycle message of the host, all from the main thread. The host calls attach, start, any number of
 * module messages, detach; attach and detach are counted, and only the first and the last do work. `tables`
 * is read at the first attach and copied; `argument` and `data` mean something for module messages only.
 * Before the last detach the host has joined every thread, closed every dialog and released every registered
 * object; afterwards it calls nothing in the module but `vesta_main`.
 * Any other message answers -1. */
int32_t vesta_main(int32_t message, intptr_t argument, void* data, const HostTables* tables);
typedef int32_t (*HostModuleEntry)(int32_t message, intptr_t argument, void* data, const HostTables* tables);

#ifdef __cplusplus
}
#endif
#endif
