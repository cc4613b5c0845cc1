#pragma once
// The options that stand before everything else on the command line.

#include <stdexcept>
#include <string>
#include <vector>

#include "host/services/host_services.h"

namespace host {

/// What the user typed makes no sense; what() says why.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct HostInvocation {
  HostOptions options;
  std::vector<std::string> configuration;  ///< NAME=VALUE, each a -g
  std::vector<std::string> rest;           ///< from the first word that is no host option
  bool showVersion = false;
};

/// Throws UsageError.
HostInvocation readHostOptions(const std::vector<std::string>& arguments);

}  // namespace host
