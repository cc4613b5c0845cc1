#include "host/script/compiler.h"

#include <algorithm>
#include <filesystem>

#include "host/script/byte_code.h"
#include "host/script/container.h"
#include "host/script/source.h"
#include "host/services/files.h"
#include "host/services/paths.h"

namespace host {
namespace {

/// One compilation.
class Compiler {
 public:
  explicit Compiler(const std::string& file)
      : file_(file), engine_([this](const asSMessageInfo& message) { note(message); }) {}

  Compilation run() {
    files_ = readSource(file_, engine_.get(), result_.diagnostics);
    if (!result_.diagnostics.hasErrors()) build();
    if (!result_.diagnostics.hasErrors()) result_.bytes = save();
    return std::move(result_);
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
    result_.diagnostics.add(std::move(diagnostic));
  }

  void fail(std::string reason) {
    result_.diagnostics.add({Diagnostic::Kind::Error, file_, 0, 0, std::move(reason)});
  }

  void build() {
    for (const SourceFile& file : files_) {
      engine_.module().AddScriptSection(file.name.c_str(), file.text.data(), file.text.size());
    }
    const int answer = engine_.module().Build();
    if (result_.diagnostics.hasErrors()) return;
    if (answer < 0) {
      fail("the compiler gave up");
    } else if (engine_.module().GetFunctionByDecl(kScriptEntry) == nullptr) {
      fail(std::string("there is no '") + kScriptEntry + "'");
    }
  }

  std::string save() {
    ByteCodeWriter code;
    if (engine_.module().SaveByteCode(&code) < 0) {
      fail("the byte code cannot be written");
      return {};
    }
    return packScript(code.take(), engine_.interfaceText());
  }

  const std::string file_;
  Compilation result_;
  std::vector<SourceFile> files_;
  ScriptEngine engine_;
};

bool isSameFile(const std::string& first, const std::string& second) {
  std::error_code error;
  return first == second || std::filesystem::equivalent(first, second, error);
}

}  // namespace

Compilation compileScript(const std::string& file) { return Compiler(file).run(); }

bool compileScriptFile(const std::string& source, const std::string& destination, Diagnostics& diagnostics) {
  Compilation compilation = compileScript(source);
  diagnostics = std::move(compilation.diagnostics);
  if (diagnostics.hasErrors()) return false;
  const std::string place = destination.empty() ? withSuffix(source, kCompiledScriptSuffix) : destination;
  const auto fail = [&](std::string reason) {
    diagnostics.add({Diagnostic::Kind::Error, place, 0, 0, std::move(reason)});
    return false;
  };
  if (isSameFile(source, place)) return fail("the compiled script would take the place of its source");
  try {
    writeWholeFile(place, compilation.bytes);
    return true;
  } catch (const std::exception& error) {
    return fail(reasonOf(error));
  }
}

}  // namespace host
