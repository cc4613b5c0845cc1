#include "vesta.framework/host_access.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "vesta.framework/contract/slot_types.h"

namespace vesta {

const KeptTables* g_hostTables = nullptr;

namespace {

// One stand-in a slot, which answers the slot's failure and does nothing.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
#include "vesta.framework/contract/plain_words.h"
#define HOST_AREA_BEGIN(Area, member) namespace standin##Area {
#define HOST_SLOT(result, Name, arguments, failure) \
  result Name arguments { return static_cast<result>(failure); }
#define HOST_AREA_END(Area, member) }
#include "vesta.framework/contract/all_areas.inc"
#undef HOST_AREA_BEGIN
#undef HOST_SLOT
#undef HOST_AREA_END
#include "vesta.framework/contract/no_words.h"
#pragma GCC diagnostic pop

/// The bytes of a table that both sides know: whole slots only.
std::size_t CommonSize(uint32_t offered, std::size_t known) {
  const std::size_t whole = offered - offered % sizeof(void*);
  return whole < known ? whole : known;
}

/// Copies as much of an area as the host has.
template <class Table>
void CopyArea(Table& kept, const Table* offered, const char* area) {
  if (offered == nullptr) {
    std::fprintf(stderr, "outfitter: the host does not offer the area '%s'; what needs it will fail\n", area);
    return;
  }
  std::memcpy(&kept, offered, CommonSize(offered->size, sizeof(Table)));
}

template <class Slot>
void FillSlot(Slot& slot, Slot standIn, bool areaOffered, const char* area, const char* name) {
  if (slot != nullptr) return;
  slot = standIn;
  if (areaOffered) std::fprintf(stderr, "outfitter: the host does not offer '%s.%s'\n", area, name);
}

/// The host's own table, padded with null pointers where an older host's ends.
HostTables AtFullLength(const HostTables& offered) {
  HostTables tables{};
  std::memcpy(&tables, &offered, CommonSize(offered.size, sizeof(HostTables)));
  return tables;
}

void FillKeptTables(KeptTables& kept, const HostTables& tables) {
  kept.interfaceVersion = tables.interfaceVersion;
#define HOST_AREA_BEGIN(Area, member)              \
  CopyArea(kept.member, tables.member, #member);   \
  {                                                \
    namespace standIn = standin##Area;             \
    auto& area = kept.member;                      \
    const bool offered = tables.member != nullptr; \
    const char* areaName = #member;
#define HOST_SLOT(result, Name, arguments, failure) \
  FillSlot(area.Name, &standIn::Name, offered, areaName, #Name);
#define HOST_AREA_END(Area, member) \
  area.size = sizeof(kept.member);  \
  }
#include "vesta.framework/contract/all_areas.inc"
#undef HOST_AREA_BEGIN
#undef HOST_SLOT
#undef HOST_AREA_END
}

}  // namespace

bool KeepHostTables(const HostTables* offered) {
  if (offered == nullptr || offered->size < offsetof(HostTables, strings) + sizeof(void*)) return false;
  const HostTables tables = AtFullLength(*offered);
  if (tables.interfaceVersion < HOST_MINIMUM_VERSION) return false;
  if (tables.strings == nullptr || tables.registration == nullptr) return false;
  auto* kept = new (std::nothrow) KeptTables;
  if (kept == nullptr) return false;
  FillKeptTables(*kept, tables);
  g_hostTables = kept;
  return true;
}

void FreeHostTables() {
  delete g_hostTables;
  g_hostTables = nullptr;
}

}  // namespace vesta
