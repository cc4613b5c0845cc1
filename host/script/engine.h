#pragma once
// The script engine with everything that scripts see of the host. For the files of this room.

#include <angelscript.h>

#include <functional>
#include <memory>
#include <string>

namespace host {

// All names of the library begin with "as", and its macros want them so.
using namespace AngelScript;

/// Where scripts begin.
inline constexpr const char* kScriptEntry = "void main()";

/// Ends engine objects by the function that each kind has for it.
struct EngineDeleter {
  void operator()(asIScriptEngine* engine) const { engine->ShutDownAndRelease(); }
  void operator()(asIScriptContext* context) const { context->Release(); }
};

/// Made when a script is compiled or run, and not before: it takes time to make. Main thread.
class ScriptEngine {
 public:
  using Listener = std::function<void(const asSMessageInfo&)>;

  /// `listener` is told what the compiler says.
  explicit ScriptEngine(Listener listener);
  ScriptEngine(const ScriptEngine&) = delete;
  ScriptEngine& operator=(const ScriptEngine&) = delete;

  asIScriptEngine& get() { return *engine_; }
  /// The one module of this engine.
  asIScriptModule& module() { return *engine_->GetModule("script", asGM_CREATE_IF_NOT_EXISTS); }
  /// All declarations that scripts see, and how the engine was built: byte code is good for the same text
  /// only.
  const std::string& interfaceText() const { return interfaceText_; }

 private:
  static void tell(const asSMessageInfo* message, void* engine);
  void registerAll();
  /// Throws when the engine did not take the declaration, else adds it to the interface text.
  void registered(int answer, const char* declaration);
  void registerStrings();
  void registerMenus();
  void registerTalk();
  void registerMathematics();
  void globalFunction(const char* declaration, const asSFuncPtr& function);
  void textMethod(const char* declaration, const asSFuncPtr& method);

  Listener listener_;
  std::string interfaceText_;
  std::unique_ptr<asIScriptEngine, EngineDeleter> engine_;
};

}  // namespace host
