#pragma once
// The tables of this host, filled from the services.

#include "vesta.framework/contract/host_tables.h"

namespace host {

class ScriptLists;

inline constexpr int32_t kHostVersion = 16038;

// One function an area: const HostStringsTable& stringsTable(), and so on.
#define HOST_AREA_BEGIN(Area, member) const Host##Area##Table& member##Table();
#define HOST_SLOT(result, Name, arguments, failure)
#define HOST_AREA_END(Area, member)
#include "vesta.framework/contract/all_areas.inc"
#undef HOST_AREA_BEGIN
#undef HOST_SLOT
#undef HOST_AREA_END

/// What FindLibrary answers for HOST_LIBRARY_SCRIPT.
const HostScriptLibrary& scriptLibrary();

/// The scripts that the area of scripts shows, those of the host that runs.
void setScriptLists(ScriptLists* lists);

/// All areas.
HostTables hostTables();

}  // namespace host
