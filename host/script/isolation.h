#pragma once
// The script engine does not stand every input: a name that is too long for one of its messages ends it, and
// so do assertions. What it does happens in a process of its own, whose end is not that of the host.

#include <functional>
#include <string>

namespace host {

/// Runs `work` in a copy of this process and answers its answer. `work` must not write anywhere, and only
/// this thread goes on in the copy, so it must not wait for others. Throws ScriptError with the reason when
/// the copy crashed, needed more than some seconds of processor time, or `work` threw anything.
std::string runApart(const std::function<std::string()>& work);

}  // namespace host
