#include "host/tables/areas.h"

namespace host {

HostTables hostTables() {
  HostTables tables{};
  tables.size = sizeof(HostTables);
  tables.interfaceVersion = kHostVersion;
#define HOST_AREA_BEGIN(Area, member) tables.member = &member##Table();
#define HOST_SLOT(result, Name, arguments, failure)
#define HOST_AREA_END(Area, member)
#include "vesta.framework/contract/all_areas.inc"
#undef HOST_AREA_BEGIN
#undef HOST_SLOT
#undef HOST_AREA_END
  return tables;
}

}  // namespace host
