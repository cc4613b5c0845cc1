// A module whose commands crash, each in a way of its own: by null pointers, stacks, threads, exceptions.
#include <atomic>
#include <stdexcept>

#include "vesta.framework/contract/host_tables.h"

namespace {

using Crash = void (*)();

const HostTables* g_host = nullptr;
volatile int* volatile g_nowhere = nullptr;
Crash volatile g_noFunction = nullptr;
std::atomic<int> g_ready{0};

void writeToNull() { *g_nowhere = 1; }

void callNull() { g_noFunction(); }

int recurse(volatile int* above) {
  volatile int here[64] = {};
  here[0] = *above + 1;
  return recurse(here) + here[0];
}

__attribute__((noinline)) int pong(volatile int* above);

__attribute__((noinline)) int ping(volatile int* above) {
  volatile int here[64] = {};
  here[0] = *above + 1;
  return pong(here) + here[0];
}

int pong(volatile int* above) {
  volatile int here[64] = {};
  here[0] = *above - 1;
  return ping(here) + here[0];
}

void overflowStackByTwo() {
  volatile int start = 0;
  ping(&start);
}

void overflowStack() {
  volatile int start = 0;
  recurse(&start);
}

void divideByZero() {
  volatile int nine = 9, zero = 0;
  nine = nine / zero;  // NOLINT(clang-analyzer-core.DivideZero)
}

void throwError() { throw std::runtime_error("the ninth\nwave"); }

void throwUncaught() noexcept { throwError(); }  // NOLINT(bugprone-exception-escape)

/// Where even the caller cannot be looked up.
void loseStack() {
#if defined(__x86_64__)
  asm volatile("xor %esp, %esp\n\txor %eax, %eax\n\tjmp *%rax");
#endif
}

/// Runs `crash` on so many threads at the same moment.
template <Crash crash, int kThreads>
void onThreads() {
  static constexpr HostThreadCallbacks kCallbacks = {sizeof(HostThreadCallbacks),
                                                     [](void*) {
                                                       ++g_ready;
                                                       while (g_ready < kThreads) {
                                                       }
                                                       crash();
                                                     },
                                                     [](void*) -> HostBool { return 0; },
                                                     [](void*) { return "faulty"; }};
  HostThread* threads[kThreads];
  for (HostThread*& thread : threads) {
    thread = g_host->threads->ThreadCreate(&kCallbacks, &g_ready);
    g_host->threads->ThreadStart(thread, 0, 0);
  }
  for (HostThread* thread : threads) g_host->threads->ThreadEnd(thread, 1);
}

HostBool addCommand(int32_t id, Crash crash) {
  HostCommandRecord record = {};
  record.size = HOST_COMMAND_RECORD_SIZE;
  record.self = reinterpret_cast<void*>(crash);
  record.Release = [](void*) {};
  record.Execute = [](void* self, HostDocument*) -> HostBool {
    reinterpret_cast<Crash>(self)();
    return 1;
  };
  record.GetState = [](void*, HostDocument*) -> int32_t { return HOST_COMMAND_ENABLED; };
  HostString* name = g_host->strings->StringInit();
  g_host->strings->StringFromCString(name, "Crash", HOST_ALL, 0);
  const HostBool added =
      g_host->registration->RegisterPlugin(HOST_PLUGIN_COMMAND, id, name, &record, sizeof record);
  g_host->strings->StringFree(name);
  return added;
}

HostBool start() {
  constexpr Crash kCrashes[] = {callNull,
                                overflowStackByTwo,
                                divideByZero,
                                throwUncaught,
                                loseStack,
                                onThreads<overflowStack, 1>,
                                onThreads<writeToNull, 4>};
  int32_t id = 0;
  for (const Crash crash : kCrashes) {
    if (!addCommand(++id, crash)) return 0;
  }
  return 1;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int32_t vesta_main(int32_t message, intptr_t, void*,
                                                                     const HostTables* tables) {
  switch (message) {
    case HOST_MODULE_ATTACH:
      g_host = tables;
      return 1;
    case HOST_MODULE_START:
      return start();
    default:
      return 1;
  }
}
