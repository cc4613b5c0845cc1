#include "host/app/crash_report.h"

#include <cxxabi.h>
#include <gnu/libc-version.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string_view>

#include "host/app/crash_folder.h"
#include "host/app/crash_place.h"
#include "host/app/crash_signal.h"
#include "host/app/crash_symbols.h"
#include "host/app/crash_trace.h"
#include "host/app/crash_writer.h"
#include "host/services/fatal_signals.h"
#include "host/services/signal_stack.h"
#include "host/services/work_notes.h"
#include "host/tables/areas.h"

// Nearly everything here runs in a signal handler, after the program went wrong: no allocation, no lock, no
// stream, and only calls of the library that are safe there.

namespace host {
namespace {

// What is known before a crash.
constinit int g_argumentCount = 0;
constinit const char* const* g_arguments = nullptr;
constinit std::array<char, 4001> g_folder{};
constinit std::array<char, 2000> g_exception{};  ///< the one that nobody caught
constinit std::atomic<bool> g_exceptionTaken{false};

// What is known of a crash. In memory of their own, for a signal stack is small.
constinit std::atomic<pid_t> g_crashedThread{0};
constinit int g_signal = 0;
constinit ReportFile g_file{};
constinit CrashTrace g_trace{};

pid_t threadId() { return static_cast<pid_t>(syscall(SYS_gettid)); }

void writeThread(CrashWriter& out) {
  std::array<char, 17> name{};
  prctl(PR_GET_NAME, name.data());
  const bool isMain = threadId() == getpid();
  out << "Thread:    " << (isMain ? "main, " : "worker, ") << threadId() << " '" << OneLine{name.data()}
      << "'\n";
}

void writeSignal(CrashWriter& out, const siginfo_t& info) {
  out << "Signal:    " << signalName(info.si_signo) << " (" << info.si_signo << "), code " << info.si_code;
  if (isSent(info) && info.si_pid != getpid()) {
    out << ": sent by process " << info.si_pid << " of user " << info.si_uid;
  } else if (const std::string_view reason = signalReason(info); !reason.empty()) {
    out << ": " << reason;
  }
  out << "\n";
  if (g_exception[0] != '\0') out << "Exception: " << OneLine{g_exception.data()} << "\n";
}

void writePlace(CrashWriter& out, uintptr_t address) {
  const CodePlace place = findCode(address);
  if (!place) {
    out << Hex{address} << " in no module";
    return;
  }
  out << OneLine{leafOf(place.module)} << "+" << Hex{address - place.base};
}

void writeWork(CrashWriter& out) {
  static constinit std::array<char, kLongestNote> text{};
  const auto note = [&](Note kind) { return std::string_view(text.data(), readNote(kind, text.data())); };
  const std::string_view command = note(Note::Command);
  out << "Command:   " << OneLine{command.empty() ? "none" : command} << "\n";
  const std::string_view document = note(Note::Document);
  out << "Document:  " << OneLine{document.empty() ? "none" : document} << "\n";
  const std::string_view step = note(Note::Step);
  out << "Step:      " << OneLine{step.empty() ? "none of the host's own" : step} << "\n";
}

void writeProgram(CrashWriter& out) {
  out << "Version:   Vesta " << VESTA_VERSION << ", host interface " << kHostVersion << "\n";
  utsname system{};
  uname(&system);
  out << "System:    " << system.sysname << " " << system.release << " " << system.machine << ", C library "
      << gnu_get_libc_version() << "\n";
  out << "Started:  ";
  for (int i = 0; i < g_argumentCount; ++i) out << " " << ShellWord{g_arguments[i]};
  out << "\n";
}

void writeLines(CrashWriter& out) {
  static constinit std::array<char, kLongestNotedLine> text{};
  out << "Last lines that the user was told, the newest last:\n";
  std::size_t none = 0;
  if (!readNotedLine(0, text.data(), none)) out << "  none\n";
  for (std::size_t back = kNotedLines; back-- > 0;) {
    std::size_t length = 0;
    if (readNotedLine(back, text.data(), length)) out << "  " << OneLine{{text.data(), length}} << "\n";
  }
  out << "\n";
}

void writeCall(CrashWriter& out, const TracedCall& call) {
  static constinit SymbolName name{};
  out << "  #" << call.number << " ";
  writePlace(out, call.address);
  if (const CodePlace place = findCode(call.address)) {
    if (const std::string_view function = functionAt(place, call.address, name); !function.empty()) {
      out << " " << OneLine{function};
    }
  }
  if (call.times > 1) out << " (" << call.times << " times)";
  out << "\n";
}

void writeTrace(CrashWriter& out) {
  out << "Back trace, the newest call first, as MODULE+OFFSET in its file and the linker's name of the "
         "function\n"
         "(c++filt reads these names):\n";
  std::size_t next = 0;
  for (std::size_t i = 0; i < g_trace.size(); ++i) {
    const TracedCall& call = g_trace[i];
    if (call.number != next) out << "  ... " << call.number - next << " calls are left out\n";
    next = call.number + call.times;
    writeCall(out, call);
  }
  out << "\n";
}

bool isFirstOfModule(std::size_t index, const CodePlace& place) {
  for (std::size_t i = 0; i < index; ++i) {
    if (findCode(g_trace[i].address).start == place.start) return false;
  }
  return true;
}

template <typename Visit>
void forEachModule(const Visit& visit) {
  for (std::size_t i = 0; i < g_trace.size(); ++i) {
    const CodePlace place = findCode(g_trace[i].address);
    if (place && isFirstOfModule(i, place)) visit(place);
  }
}

void writeBuildId(CrashWriter& out, std::string_view id) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  for (const char c : id) {
    const auto byte = static_cast<unsigned char>(c);
    out << kDigits.substr(byte >> 4, 1) << kDigits.substr(byte & 15, 1);
  }
  if (id.empty()) out << "none";
}

void writeModules(CrashWriter& out) {
  out << "Modules in the back trace, with the addresses they are loaded at and their build ids:\n";
  forEachModule([&](const CodePlace& place) {
    out << "  " << OneLine{place.module} << "  " << Hex{place.start} << "-" << Hex{place.end} << "  ";
    writeBuildId(out, buildIdOf(place));
    out << "\n";
  });
  out << "\n";
}

void writeSourceLines(CrashWriter& out) {
  out << "Source lines, from modules with debug information:\n";
  forEachModule([&](const CodePlace& module) {
    out << "  addr2line -Capfie " << ShellWord{module.module};
    for (std::size_t i = 0; i < g_trace.size(); ++i) {
      const CodePlace place = findCode(g_trace[i].address);
      if (place.start == module.start) out << " " << Hex{g_trace[i].address - place.base};
    }
    out << "\n";
  });
}

/// The surest first: what follows walks through memory that may be damaged.
void writeReport(CrashWriter& out, const siginfo_t& info, ucontext_t& context) {
  out << "Vesta crashed.\n\n";
  writeSignal(out, info);
  writeAccess(out, info, context);
  out << "Place:     ";
  writePlace(out, programCounterOf(context));
  out << "\n";
  writeThread(out);
  writeWork(out);
  writeProgram(out);
  out << "\n";
  writeLines(out);
  writeRegisters(out, context);
  g_trace.collect(context);
  writeTrace(out);
  writeModules(out);
  writeSourceLines(out);
}

void tellUser() {
  CrashWriter out(STDERR_FILENO);
  // A progress line may stand there.
  out << (isatty(STDERR_FILENO) == 1 ? "\r\x1b[K" : "") << "vesta: crashed by " << signalName(g_signal);
  if (g_exception[0] != '\0') out << ", " << OneLine{g_exception.data()};
  if (g_file.descriptor >= 0) {
    out << "; the report is in " << OneLine{g_file.path.data()} << "\n";
  } else if (g_folder[0] != '\0') {
    out << "; here is the report, for " << OneLine{g_folder.data()} << " takes none: " << g_file.reason
        << "\n";
  } else {
    out << "; here is the report:\n";
  }
}

void endBySignal() {
  restoreFatalSignals();
  raise(g_signal);
}

/// A fault in the handler itself: what is written stands.
void onSecondFault(const siginfo_t& info) {
  CrashWriter out(g_file.descriptor >= 0 ? g_file.descriptor : STDERR_FILENO);
  out << "\nThe report ends here: " << signalName(info.si_signo) << " while it was written, "
      << signalReason(info) << "\n";
  out.flush();
  if (g_file.descriptor >= 0) tellUser();
  endBySignal();
}

/// Another thread crashed as well, and its report will end the process.
void waitForTheOther() {
  constexpr timespec kMoment{10, 0};
  nanosleep(&kMoment, nullptr);
  endBySignal();
}

void onFatalSignal(int signal, siginfo_t* info, void* context) {
  pid_t nobody = 0;
  const pid_t self = threadId();
  if (!g_crashedThread.compare_exchange_strong(nobody, self)) {
    nobody == self ? onSecondFault(*info) : waitForTheOther();
    return;
  }
  const int error = errno;
  g_signal = signal;
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  if (g_folder[0] != '\0') g_file = makeReport(g_folder.data(), now.tv_sec);
  if (g_file.descriptor < 0) tellUser();
  {
    CrashWriter out(g_file.descriptor >= 0 ? g_file.descriptor : STDERR_FILENO);
    writeReport(out, *info, *static_cast<ucontext_t*>(context));
  }
  if (g_file.descriptor >= 0) {
    tellUser();
    removeOldReports(g_folder.data());
  }
  errno = error;
  endBySignal();
}

/// Keeps what an exception says that nobody caught, and ends the program as it would end without this.
[[noreturn]] void onTerminate() {
  if (!g_exceptionTaken.exchange(true)) {
    const std::type_info* type = abi::__cxa_current_exception_type();
    char* name = type != nullptr ? abi::__cxa_demangle(type->name(), nullptr, nullptr, nullptr) : nullptr;
    const char* shown = name != nullptr ? name : type != nullptr ? type->name() : "none, std::terminate";
    const char* what = "";
    try {
      if (type != nullptr) throw;
    } catch (const std::exception& exception) {
      what = exception.what();
    } catch (...) {
      // Its type is all there is to tell.
    }
    std::snprintf(g_exception.data(), g_exception.size(), "%s%s%s", shown, what[0] != '\0' ? ": " : "", what);
    std::free(name);
  }
  std::abort();
}

}  // namespace

void installCrashReports(int count, const char* const* arguments) {
  g_argumentCount = count;
  g_arguments = arguments;
  static const SignalStack mainThread;
  prepareUnwinding();
  std::set_terminate(onTerminate);
  struct sigaction action {};
  action.sa_sigaction = onFatalSignal;
  sigemptyset(&action.sa_mask);
  // A fault in the handler must come to the handler.
  action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
  for (const int signal : kFatalSignals) sigaction(signal, &action, nullptr);
}

void setCrashFolder(const std::string& folder) {
  if (folder.size() < g_folder.size()) std::memcpy(g_folder.data(), folder.c_str(), folder.size() + 1);
}

}  // namespace host
