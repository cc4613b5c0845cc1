/* The contract is plain C11: this file only has to compile. */
#include "vesta.framework/contract/host_tables.h"

_Static_assert(sizeof(HostCommandRecord) == HOST_COMMAND_RECORD_SIZE,
               "the registration record has 384 bytes");

int contractIsPlainC(void);
int contractIsPlainC(void) {
  HostTables tables = {.size = sizeof(HostTables), .interfaceVersion = HOST_MINIMUM_VERSION};
  return tables.strings == 0;
}
