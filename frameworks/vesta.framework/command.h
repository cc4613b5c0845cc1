// Menu commands.
#pragma once

#include "vesta.framework/container.h"

namespace vesta {

/// Base of every object that the host owns after registration.
class BaseData {
 public:
  BaseData() = default;
  BaseData(const BaseData&) = delete;
  BaseData& operator=(const BaseData&) = delete;
  virtual ~BaseData() = default;
};

/// A menu command. The operations stand in the order of the host's callbacks.
class CommandData : public BaseData {
 public:
  /// Runs the command; `document` is the active one, or null. True on success.
  virtual bool Execute(HostDocument* document) = 0;
  virtual bool HasOptions(HostDocument*, int32_t) { return false; }
  virtual bool ExecuteOptions(HostDocument*, int32_t) { return false; }
  virtual int32_t GetState(HostDocument*) { return HOST_COMMAND_ENABLED; }
  virtual bool IsChecked(HostDocument*) { return false; }
  virtual bool RestoreLayout(void*) { return true; }
  /// Fills `name` with a name to show instead of the registered one; empty: keep that.
  virtual void GetName(HostString* name) { Host().strings.StringFromChars(name, 0, 0); }
  virtual bool Notify(int32_t) { return true; }
};

/// Registers a menu command. The host owns `command` when the answer is true; otherwise it is deleted. A
/// null command (allocation failed) answers false without a call.
bool RegisterCommand(int32_t id, const String& name, int32_t flags, const void* icon, const String& help,
                     CommandData* command);

}  // namespace vesta
