#pragma once
// Byte code on its way between the engine and a string. For the files of this room.

#include <cstring>
#include <string>
#include <string_view>

#include "host/script/engine.h"

namespace host {

class ByteCodeWriter : public asIBinaryStream {
 public:
  int Write(const void* bytes, asUINT count) override {
    code_.append(static_cast<const char*>(bytes), count);
    return asSUCCESS;
  }
  int Read(void*, asUINT) override { return asERROR; }
  std::string take() { return std::move(code_); }

 private:
  std::string code_;
};

class ByteCodeReader : public asIBinaryStream {
 public:
  explicit ByteCodeReader(std::string_view code) : rest_(code) {}
  int Read(void* bytes, asUINT count) override {
    if (count > rest_.size()) return asERROR;
    std::memcpy(bytes, rest_.data(), count);
    rest_.remove_prefix(count);
    return asSUCCESS;
  }
  int Write(const void*, asUINT) override { return asERROR; }

 private:
  std::string_view rest_;
};

}  // namespace host
