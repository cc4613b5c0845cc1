#include "host/script/compiler.h"

#include <algorithm>
#include <filesystem>

#include "host/script/byte_code.h"
#include "host/script/container.h"
#include "host/script/isolation.h"
#include "host/script/source.h"
#include "host/script/transfer.h"
#include "host/services/files.h"
#include "host/services/paths.h"

namespace host {
namespace {

/// One compilation.
class Compiler {
 public:
  explicit Compiler(const ScriptSource& source)
      : source_(source),
        file_(source.file),
        engine_([this](const asSMessageInfo& message) { note(message); }) {}

  Compilation run() {
    files_ = readSource(source_, engine_.get(), diagnostics_);
    if (!diagnostics_.hasErrors()) build();
    std::string bytes;
    if (!diagnostics_.hasErrors()) bytes = save();
    return {std::move(bytes), diagnostics_.lines()};
  }

 private:
  void note(const asSMessageInfo& message) {
    // What is no error and no warning only tells in which function the next one is.
    if (message.type == asMSGTYPE_INFORMATION) return;
    const bool isError = message.type == asMSGTYPE_ERROR;
    Diagnostic diagnostic{isError ? Diagnostic::Kind::Error : Diagnostic::Kind::Warning, file_, message.row,
                          message.col, message.message};
    const auto file = std::find_if(files_.begin(), files_.end(),
                                   [&](const SourceFile& one) { return one.name == message.section; });
    if (file != files_.end()) {
      diagnostic.file = file->path;
      diagnostic.column = file->columnInFile(message.row, message.col);
    }
    diagnostics_.add(std::move(diagnostic));
  }

  void fail(std::string reason) {
    diagnostics_.add({Diagnostic::Kind::Error, file_, 0, 0, std::move(reason)});
  }

  void build() {
    for (const SourceFile& file : files_) {
      engine_.module().AddScriptSection(file.name.c_str(), file.text.data(), file.text.size());
    }
    const int answer = engine_.module().Build();
    if (diagnostics_.hasErrors()) return;
    if (answer < 0) {
      fail("the compiler gave up");
    } else if (engine_.module().GetFunctionByDecl(kScriptEntry) == nullptr) {
      fail(std::string("there is no '") + kScriptEntry + "'");
    }
  }

  std::string save() {
    ByteCodeWriter writer;
    const bool written = engine_.module().SaveByteCode(&writer) >= 0;
    const std::string code = writer.take();
    // The library writes scripts beyond some of its limits, and does not read them back.
    ByteCodeReader reader(code);
    ScriptEngine fresh([](const asSMessageInfo&) {});
    if (!written || fresh.module().LoadByteCode(&reader) < 0) {
      fail("the script cannot be written as byte code");
      return {};
    }
    return packScript(code, engine_.interfaceText());
  }

  const ScriptSource& source_;
  const std::string& file_;
  Diagnostics diagnostics_;
  std::vector<SourceFile> files_;
  ScriptEngine engine_;
};

bool isSameFile(const std::string& first, const std::string& second) {
  std::error_code error;
  return first == second || std::filesystem::equivalent(first, second, error);
}

}  // namespace

Compilation compileScript(const ScriptSource& source) {
  try {
    return decodeCompilation(runApart([&] { return encode(Compiler(source).run()); }));
  } catch (const ScriptError& error) {
    return {{}, {describe({Diagnostic::Kind::Error, source.file, 0, 0, error.what()})}};
  }
}

Compilation compileScriptFile(const std::string& source, const std::string& destination) {
  Compilation compilation = compileScript({source, std::nullopt, {}});
  if (compilation.bytes.empty()) return compilation;
  const std::string place = destination.empty() ? withSuffix(source, kCompiledScriptSuffix) : destination;
  const auto fail = [&](std::string reason) {
    compilation.bytes.clear();
    compilation.messages.push_back(describe({Diagnostic::Kind::Error, place, 0, 0, std::move(reason)}));
  };
  if (isSameFile(source, place)) {
    fail("the compiled script would take the place of its source");
    return compilation;
  }
  try {
    writeWholeFile(place, compilation.bytes);
  } catch (const std::exception& error) {
    fail(reasonOf(error));
  }
  return compilation;
}

}  // namespace host
