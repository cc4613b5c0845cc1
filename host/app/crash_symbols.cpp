#include "host/app/crash_symbols.h"

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>

namespace host {
namespace {

using Header = ElfW(Ehdr);
using Section = ElfW(Shdr);
using Symbol = ElfW(Sym);

class ElfFile {
 public:
  explicit ElfFile(const char* path) : descriptor_(open(path, O_RDONLY | O_CLOEXEC)) {
    isGood_ = descriptor_ >= 0 && read(0, header_) && header_.e_shentsize == sizeof(Section);
  }
  ElfFile(const ElfFile&) = delete;
  ElfFile& operator=(const ElfFile&) = delete;
  ~ElfFile() {
    if (descriptor_ >= 0) close(descriptor_);
  }

  /// Whether it is what was loaded at `start`: headers and build id stand at the beginning. Someone may have
  /// built it anew in the meantime.
  bool isLoadedAt(uintptr_t start) const {
    std::array<char, 1024> here;
    return isGood_ && read(0, here) && std::equal(here.begin(), here.end(), addressed<const char>(start));
  }

  /// Finds the function at `offset` among the symbols of one kind.
  bool findFunction(uint32_t kind, uintptr_t offset, SymbolName& name) const {
    Section symbols{}, names{};
    Symbol function{};
    return findSection(kind, symbols) && findSymbol(symbols, offset, function) &&
           readSection(symbols.sh_link, names) && readName(names.sh_offset + function.st_name, name);
  }

 private:
  /// Reads all of `value`, or answers false.
  template <typename Value>
  bool read(uint64_t offset, Value& value) const {
    return pread(descriptor_, &value, sizeof value, static_cast<off_t>(offset)) ==
           static_cast<ssize_t>(sizeof value);
  }

  bool readSection(uint32_t index, Section& section) const {
    return index < header_.e_shnum && read(header_.e_shoff + uint64_t{index} * sizeof section, section);
  }

  bool findSection(uint32_t kind, Section& section) const {
    for (uint32_t i = 0; readSection(i, section); ++i) {
      if (section.sh_type == kind) return true;
    }
    return false;
  }

  bool findSymbol(const Section& table, uintptr_t offset, Symbol& found) const {
    std::array<Symbol, 64> block;
    const uint64_t count = table.sh_size / sizeof(Symbol);
    for (uint64_t first = 0; first < count; first += block.size()) {
      const auto place = static_cast<off_t>(table.sh_offset + first * sizeof(Symbol));
      const ssize_t bytes = pread(descriptor_, block.data(), sizeof block, place);
      if (bytes <= 0) return false;
      const std::size_t inBlock =
          std::min<uint64_t>(static_cast<std::size_t>(bytes) / sizeof(Symbol), count - first);
      for (std::size_t i = 0; i < inBlock; ++i) {
        found = block[i];
        const bool isFunction = (found.st_info & 15) == STT_FUNC && found.st_shndx != SHN_UNDEF;
        if (isFunction && offset >= found.st_value && offset - found.st_value < found.st_size) return true;
      }
    }
    return false;
  }

  bool readName(uint64_t offset, SymbolName& name) const {
    name = {};
    return pread(descriptor_, name.data(), name.size() - 1, static_cast<off_t>(offset)) > 0;
  }

  int descriptor_;
  bool isGood_ = false;
  Header header_{};
};

}  // namespace

std::string_view functionAt(const CodePlace& place, uintptr_t address, SymbolName& name) {
  const ElfFile file(place.module);
  if (!file.isLoadedAt(place.start)) return {};
  const uintptr_t offset = address - place.base;
  // The dynamic symbols are there in stripped files as well.
  const bool isFound =
      file.findFunction(SHT_SYMTAB, offset, name) || file.findFunction(SHT_DYNSYM, offset, name);
  return isFound ? std::string_view(name.data()) : std::string_view();
}

}  // namespace host
