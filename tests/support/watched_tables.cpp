#include "tests/support/watched_tables.h"

namespace test {

Watch* Watch::current_ = nullptr;

namespace {

template <class Word>
inline constexpr bool isTaken = false;
template <class T>
inline constexpr bool isTaken<contract::Taken<T>> = true;
template <class Word>
inline constexpr bool isGiven = false;
template <class T>
inline constexpr bool isGiven<contract::Given<T>> = true;

template <class Word>
inline constexpr bool isLent = false;
template <class T>
inline constexpr bool isLent<contract::Lent<T>> = true;

/// A handle's type is known by its name only; buffers of the module are not, and may lie where a handle lay.
template <class T, class = void>
inline constexpr bool isOpaque = !std::is_void_v<T>;
template <class T>
inline constexpr bool isOpaque<T, std::enable_if_t<!std::is_void_v<T> && (sizeof(T) > 0)>> = false;

template <class Word, class Plain>
void follow(Watch& watch, const Plain& argument, const char* slot) {
  if constexpr (isTaken<Word>) {
    watch.taken(argument, slot);
  } else if constexpr (std::is_pointer_v<Plain>) {
    if constexpr (isOpaque<std::remove_cv_t<std::remove_pointer_t<Plain>>>) watch.used(argument, slot);
  }
}

template <class Signature>
struct Watched;

template <class Result, class... Arguments>
struct Watched<Result(Arguments...)> {
  using PlainResult = contract::PlainType<Result>;

  template <auto Area, auto Slot, auto Failure, auto Name>
  static PlainResult call(contract::PlainType<Arguments>... arguments) {
    Watch& watch = Watch::current();
    if (!watch.enter(Name(), contract::canFail<decltype(Failure)>)) return static_cast<PlainResult>(Failure);
    (follow<Arguments>(watch, arguments, Name()), ...);
    const auto inner = (watch.inner().*Area)->*Slot;
    if constexpr (isGiven<Result>) {
      const PlainResult result = inner(arguments...);
      watch.given(result, Name());
      return result;
    } else if constexpr (isLent<Result>) {
      const PlainResult result = inner(arguments...);
      watch.lent(result);
      return result;
    } else {
      return inner(arguments...);
    }
  }
};

#include "vesta.framework/contract/tagged_words.h"
#define HOST_AREA_BEGIN(Area, member)                  \
  const Host##Area##Table& watched##Area() {           \
    using Table = Host##Area##Table;                   \
    static constexpr auto kArea = &HostTables::member; \
    static constexpr Table kTable = { sizeof(Table),
#define HOST_SLOT(result, Name, arguments, failure) \
  &Watched<result arguments>::call<kArea, &Table::Name, failure, [] { return #Name; }>,
#define HOST_AREA_END(Area, member) \
  }                                 \
  ;                                 \
  return kTable;                    \
  }
#include "vesta.framework/contract/all_areas.inc"
#undef HOST_AREA_BEGIN
#undef HOST_SLOT
#undef HOST_AREA_END
#include "vesta.framework/contract/no_words.h"

}  // namespace

Watch::Watch(const HostTables& inner) : inner_(inner), tables_(inner) {
  current_ = this;
#define HOST_AREA_BEGIN(Area, member) tables_.member = &watched##Area();
#define HOST_SLOT(result, Name, arguments, failure)
#define HOST_AREA_END(Area, member)
#include "vesta.framework/contract/all_areas.inc"
#undef HOST_AREA_BEGIN
#undef HOST_SLOT
#undef HOST_AREA_END
}

bool Watch::enter(const char* slot, bool canFail) {
  const std::lock_guard lock(mutex_);
  if (hook_) hook_(slot);
  ++bySlot_[slot];
  if (!canFail || (!onlySlot_.empty() && onlySlot_ != slot)) return true;
  if (calls_++ != failAt_) return true;
  failedSlot_ = slot;
  return false;
}

void Watch::given(const void* handle, const char* slot) {
  if (handle == nullptr) return;
  const std::lock_guard lock(mutex_);
  handles_[handle] = {slot, true};
}

void Watch::lent(const void* handle) {
  const std::lock_guard lock(mutex_);
  const auto found = handles_.find(handle);
  if (found != handles_.end() && !found->second.alive) handles_.erase(found);
}

void Watch::taken(const void* handle, const char* slot) {
  if (handle == nullptr) return;
  const std::lock_guard lock(mutex_);
  const auto found = handles_.find(handle);
  if (found == handles_.end()) {
    problems_.push_back(std::string(slot) + " of a handle that nobody gave");
  } else if (!found->second.alive) {
    problems_.push_back(std::string(slot) + " a second time of a handle of " + found->second.slot);
  } else {
    found->second.alive = false;
  }
}

void Watch::used(const void* handle, const char* slot) {
  const std::lock_guard lock(mutex_);
  const auto found = handles_.find(handle);
  if (found == handles_.end() || found->second.alive) return;
  problems_.push_back(std::string(slot) + " with an ended handle of " + found->second.slot);
}

std::vector<std::string> Watch::problems() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> all = problems_;
  for (const auto& [handle, state] : handles_) {
    if (state.alive) all.push_back("never ended: a handle of " + state.slot);
  }
  return all;
}

}  // namespace test
