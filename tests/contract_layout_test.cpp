// The layout of the contract on 64-bit machines, frozen: modules and hosts that were compiled long ago depend
// on it. Compiling this file is the check; lists may only grow at their ends.
#include "vesta.framework/contract/host_tables.h"

namespace {

constexpr size_t slotAt(int index) { return 8 + 8 * static_cast<size_t>(index); }

#define EXPECT_SLOT(Area, Name, index) static_assert(offsetof(Host##Area##Table, Name) == slotAt(index))
#define EXPECT_SLOTS(Area, count) static_assert(sizeof(Host##Area##Table) == slotAt(count))

static_assert(sizeof(void*) == 8 && sizeof(HostBool) == 4);

static_assert(offsetof(HostTables, interfaceVersion) == 4);
static_assert(offsetof(HostTables, registration) == 8);
static_assert(offsetof(HostTables, strings) == 16);
static_assert(offsetof(HostTables, fileNames) == 24);
static_assert(offsetof(HostTables, files) == 32);
static_assert(offsetof(HostTables, containers) == 40);
static_assert(offsetof(HostTables, messages) == 48);
static_assert(offsetof(HostTables, threads) == 56);
static_assert(offsetof(HostTables, dialogs) == 64);
static_assert(offsetof(HostTables, documents) == 72);
static_assert(offsetof(HostTables, bitmaps) == 80);
static_assert(offsetof(HostTables, system) == 88);
static_assert(offsetof(HostTables, text) == 96);
static_assert(offsetof(HostTables, scripts) == 104);
static_assert(sizeof(HostTables) == 112);

EXPECT_SLOT(Registration, RegisterPlugin, 0);
EXPECT_SLOT(Registration, ConfigurationDeclare, 1);
EXPECT_SLOTS(Registration, 2);
EXPECT_SLOT(Strings, StringInit, 0);
EXPECT_SLOT(Strings, StringInsert, 8);
EXPECT_SLOT(Strings, StringToCString, 16);
EXPECT_SLOTS(Strings, 17);
EXPECT_SLOT(FileNames, FileNameInit, 0);
EXPECT_SLOT(FileNames, FileNameJoin, 7);
EXPECT_SLOT(FileNames, DeleteFile, 16);
EXPECT_SLOTS(FileNames, 17);
EXPECT_SLOT(Files, FileAlloc, 0);
EXPECT_SLOT(Files, BrowseIsFolder, 12);
EXPECT_SLOTS(Files, 13);
EXPECT_SLOT(Containers, ContainerInit, 0);
EXPECT_SLOT(Containers, ContainerGetContainerRef, 9);
EXPECT_SLOT(Containers, SetPluginSettings, 18);
EXPECT_SLOTS(Containers, 19);
EXPECT_SLOT(Messages, ShowMessage, 0);
EXPECT_SLOT(Messages, PostSpecialEvent, 9);
EXPECT_SLOTS(Messages, 10);
EXPECT_SLOT(Threads, ThreadCreate, 0);
EXPECT_SLOT(Threads, GlobalThreadUnlock, 6);
EXPECT_SLOTS(Threads, 7);
EXPECT_SLOT(Dialogs, DialogAlloc, 0);
EXPECT_SLOT(Dialogs, GadgetEnable, 14);
EXPECT_SLOT(Dialogs, UserAreaFree, 22);
EXPECT_SLOTS(Dialogs, 23);
EXPECT_SLOT(Documents, LoadDocument, 0);
EXPECT_SLOT(Documents, RenderDocument, 10);
EXPECT_SLOTS(Documents, 11);
EXPECT_SLOT(Bitmaps, BitmapAlloc, 0);
EXPECT_SLOT(Bitmaps, BitmapSave, 8);
EXPECT_SLOTS(Bitmaps, 9);
EXPECT_SLOT(System, GetHostVersion, 0);
EXPECT_SLOT(System, FindLibrary, 6);
EXPECT_SLOTS(System, 7);
EXPECT_SLOT(Text, TokenizeFile, 0);
EXPECT_SLOT(Text, EvaluateExpression, 3);
EXPECT_SLOTS(Text, 4);
EXPECT_SLOT(Scripts, GetScriptList, 0);
EXPECT_SLOT(Scripts, SaveScriptFile, 5);
EXPECT_SLOTS(Scripts, 6);

static_assert(sizeof(HostCommandRecord) == 384);
static_assert(offsetof(HostCommandRecord, self) == 24);
static_assert(offsetof(HostCommandRecord, Release) == 32);
static_assert(offsetof(HostCommandRecord, Execute) == 40);
static_assert(offsetof(HostCommandRecord, Notify) == 96);
static_assert(sizeof(HostDialogCallbacks) == 16);
static_assert(sizeof(HostThreadCallbacks) == 32);
static_assert(sizeof(HostUserAreaCallbacks) == 88);
static_assert(sizeof(HostScriptLibrary) == 24);
static_assert(sizeof(HostConfigurationEntry) == 40);
static_assert(sizeof(HostContainerValue) == 40);
static_assert(sizeof(HostToken) == 24);
static_assert(sizeof(HostEvaluation) == 16);
static_assert(sizeof(HostCommandLine) == 16);
static_assert(sizeof(HostMessageVersion) == 4 && sizeof(HostMessageResources) == 8);

}  // namespace
