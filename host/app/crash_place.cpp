#include "host/app/crash_place.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <unistd.h>

#include <array>
#include <cstring>

namespace host {
namespace {

/// The program itself, which the loader knows without a name.
const char* programPath() {
  static constinit std::array<char, 4096> path{};
  if (path[0] == '\0' && readlink("/proc/self/exe", path.data(), path.size() - 1) <= 0) return "vesta";
  return path.data();
}

constexpr std::size_t aligned(std::size_t size) { return (size + 3) & ~std::size_t{3}; }

/// The build id among the notes of one segment.
std::string_view buildIdAmong(std::string_view notes) {
  while (notes.size() >= sizeof(ElfW(Nhdr))) {
    ElfW(Nhdr) note;
    std::memcpy(&note, notes.data(), sizeof note);
    notes.remove_prefix(sizeof note);
    const std::size_t name = aligned(note.n_namesz), text = aligned(note.n_descsz);
    if (name > notes.size() || text > notes.size() - name) return {};
    const bool isGnu = note.n_namesz == 4 && std::memcmp(notes.data(), "GNU", 4) == 0;
    if (isGnu && note.n_type == NT_GNU_BUILD_ID) return notes.substr(name, note.n_descsz);
    notes.remove_prefix(name + text);
  }
  return {};
}

}  // namespace

CodePlace findCode(uintptr_t address) {
  // Made for unwinders: it takes no lock.
  dl_find_object found;
  if (_dl_find_object(addressed<void>(address), &found) != 0) return {};
  const char* name = found.dlfo_link_map->l_name;
  return {name[0] != '\0' ? name : programPath(), found.dlfo_link_map->l_addr,
          reinterpret_cast<uintptr_t>(found.dlfo_map_start), reinterpret_cast<uintptr_t>(found.dlfo_map_end)};
}

std::string_view buildIdOf(const CodePlace& place) {
  ElfW(Ehdr) file;
  if (place.end - place.start < sizeof file) return {};
  std::memcpy(&file, addressed<const void>(place.start), sizeof file);
  const std::size_t size = place.end - place.start;
  const std::size_t headers = std::size_t{file.e_phnum} * sizeof(ElfW(Phdr));
  if (std::memcmp(file.e_ident, ELFMAG, SELFMAG) != 0 || file.e_phoff > size || headers > size - file.e_phoff)
    return {};
  const auto* header = addressed<const ElfW(Phdr)>(place.start + file.e_phoff);
  for (const auto* end = header + file.e_phnum; header != end; ++header) {
    const uintptr_t notes = place.base + header->p_vaddr;
    const bool isInside = notes >= place.start && notes <= place.end && header->p_memsz <= place.end - notes;
    if (header->p_type != PT_NOTE || !isInside) continue;
    const std::string_view id = buildIdAmong({addressed<const char>(notes), header->p_memsz});
    if (!id.empty()) return id;
  }
  return {};
}

std::string_view leafOf(std::string_view path) {
  return path.substr(path.rfind('/') == std::string_view::npos ? 0 : path.rfind('/') + 1);
}

}  // namespace host
