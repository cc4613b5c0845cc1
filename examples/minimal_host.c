/* The smallest host: it fills in the two areas that every module needs, loads the module that is named on the
 * command line, and lists the commands that it registers. Build it with nothing but the contract headers:
 *
 *     cc -std=c11 -I frameworks examples/minimal_host.c -ldl -o minimal_host
 *     ./minimal_host build/vesta/modules/outfitter/outfitter.so
 *
 * Strings are plain bytes here, one character each, which is enough for names. A real host holds 16-bit
 * codes.
 */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vesta.framework/contract/host_tables.h"

/* ---- strings ---- */

struct HostString {
  int32_t length;
  char* bytes; /* length bytes and a zero */
};

static HostBool assign(HostString* string, const char* bytes, size_t length) {
  char* copy = malloc(length + 1);
  if (copy == NULL) return 0;
  memcpy(copy, bytes, length);
  copy[length] = '\0';
  free(string->bytes);
  string->bytes = copy;
  string->length = (int32_t)length;
  return 1;
}

static HostString* stringInit(void) {
  HostString* string = calloc(1, sizeof *string);
  if (string != NULL && !assign(string, "", 0)) {
    free(string);
    return NULL;
  }
  return string;
}

static void stringFree(HostString* string) {
  if (string == NULL) return;
  free(string->bytes);
  free(string);
}

static HostBool stringFromCString(HostString* string, const char* text, uint32_t length, int32_t encoding) {
  (void)encoding;
  if (string == NULL || text == NULL) return 0;
  return assign(string, text, length == HOST_ALL ? strlen(text) : length);
}

static HostBool stringCopy(const HostString* source, HostString* destination) {
  if (source == NULL || destination == NULL) return 0;
  return assign(destination, source->bytes, (size_t)source->length);
}

static int32_t stringLength(const HostString* string) { return string != NULL ? string->length : 0; }

static int32_t stringToCStringLength(const HostString* string, int32_t encoding) {
  (void)encoding;
  return stringLength(string);
}

static int32_t stringToCString(const HostString* string, char* buffer, int32_t size, int32_t encoding) {
  int32_t count;
  (void)encoding;
  if (string == NULL || buffer == NULL || size < 1) return -1;
  count = string->length < size ? string->length : size - 1;
  memcpy(buffer, string->bytes, (size_t)count);
  buffer[count] = '\0';
  return count;
}

/* ---- registration ---- */

enum { MAX_COMMANDS = 64 };

typedef struct Command {
  int32_t id;
  char name[128];
  HostCommandRecord record;
} Command;

static Command commands[MAX_COMMANDS];
static int commandCount = 0;

static HostBool registerPlugin(int32_t kind, int32_t id, const HostString* name, const void* record,
                               int32_t recordSize) {
  Command* command = &commands[commandCount];
  if (kind != HOST_PLUGIN_COMMAND || name == NULL || record == NULL) return 0;
  if (recordSize < HOST_COMMAND_RECORD_SIZE || commandCount == MAX_COMMANDS) return 0;
  command->id = id;
  snprintf(command->name, sizeof command->name, "%s", name->bytes);
  memcpy(&command->record, record, sizeof command->record);
  ++commandCount;
  return 1;
}

static HostBool isSwitch(uint32_t type) {
  return type == HOST_CONFIGURATION_SWITCH || type == HOST_CONFIGURATION_TOOLS_SWITCH;
}

/* The tools are off until the host's configuration says otherwise. */
static HostBool configurationDeclare(const HostConfigurationEntry* entries, int32_t count) {
  int32_t i;
  for (i = 0; entries != NULL && i < count; ++i) {
    if (isSwitch(entries[i].type) && strcmp(entries[i].name, "g_ostrakOutfitterTools") == 0) {
      *(unsigned char*)entries[i].storage = 1;
    }
  }
  return 1;
}

/* ---- the host ---- */

int main(int argc, char** argv) {
  /* Slots that are left null answer their failure; the module says on standard error which they are. */
  static const HostStringsTable strings = {.size = sizeof strings,
                                           .StringInit = stringInit,
                                           .StringFree = stringFree,
                                           .StringFromCString = stringFromCString,
                                           .StringCopy = stringCopy,
                                           .StringLength = stringLength,
                                           .StringToCStringLength = stringToCStringLength,
                                           .StringToCString = stringToCString};
  static const HostRegistrationTable registration = {.size = sizeof registration,
                                                     .RegisterPlugin = registerPlugin,
                                                     .ConfigurationDeclare = configurationDeclare};
  static const HostTables tables = {.size = sizeof tables,
                                    .interfaceVersion = HOST_MINIMUM_VERSION,
                                    .registration = &registration,
                                    .strings = &strings};
  void* library;
  HostModuleEntry entry;
  int i;

  if (argc != 2) {
    fprintf(stderr, "usage: minimal_host MODULE\n");
    return 2;
  }
  library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (library == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return 2;
  }
  /* ISO C has no cast from an object to a function pointer; the system gives one all the same. */
  *(void**)&entry = dlsym(library, "vesta_main");
  if (entry == NULL || entry(HOST_MODULE_ATTACH, 0, NULL, &tables) != 1) {
    fprintf(stderr, "%s is no module for this host\n", argv[1]);
    return 2;
  }
  if (entry(HOST_MODULE_START, 0, NULL, NULL) != 1) {
    fprintf(stderr, "%s could not start\n", argv[1]);
    return 1;
  }
  for (i = 0; i < commandCount; ++i) printf("%d\t%s\n", (int)commands[i].id, commands[i].name);

  while (commandCount > 0) {
    const HostCommandRecord* record = &commands[--commandCount].record;
    record->Release(record->self);
  }
  entry(HOST_MODULE_DETACH, 0, NULL, NULL);
  dlclose(library);
  return 0;
}
