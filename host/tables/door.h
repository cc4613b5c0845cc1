#pragma once
// The door between the contract and the services: every slot of the host is made here from its list, so that
// the functions behind it see no null handle and may throw.

#include <exception>

#include "host/services/host_services.h"
#include "vesta.framework/contract/host_tables.h"
#include "vesta.framework/contract/slot_types.h"

namespace host {

/// The services of the host that runs. The tables are C functions without a host argument, so there is one
/// host at a time in a process.
HostServices& services();
void setServices(HostServices* services);

/// Says in the log that a slot failed by an exception.
void reportSlotFailure(const char* slot, const char* reason) noexcept;

template <class Signature>
struct Door;

/// One slot of the contract: `Implementation` behind the null check and the end of all exceptions.
template <class Result, class... Arguments>
struct Door<Result(Arguments...)> {
  using PlainResult = contract::PlainType<Result>;

  template <auto Implementation, auto Failure, auto Name>
  static PlainResult slot(contract::PlainType<Arguments>... arguments) noexcept {
    if (!(... && isPresent<Arguments>(arguments))) return static_cast<PlainResult>(Failure);
    try {
      return Implementation(arguments...);
    } catch (const std::exception& error) {
      reportSlotFailure(Name(), error.what());
      return static_cast<PlainResult>(Failure);
    } catch (...) {
      reportSlotFailure(Name(), "unknown exception");
      return static_cast<PlainResult>(Failure);
    }
  }

 private:
  template <class Argument, class Plain>
  static bool isPresent(const Plain& argument) {
    if constexpr (contract::needsPointer<Argument>) {
      return argument != nullptr;
    } else {
      return true;
    }
  }
};

}  // namespace host

/// Makes one entry of an area table out of its list; the function of the slot's name must be in sight.
#define VESTA_DOOR(result, Name, arguments, failure) \
  &::host::Door<result arguments>::slot<&Name, failure, [] { return #Name; }>,
