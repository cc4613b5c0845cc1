#include "host/script/engine.h"

#include <new>

#include "host/script/menu_functions.h"
#include "host/script/script_text.h"

namespace host {
namespace {

// A deeper recursion than any menu needs; the engine's own time grows with the square of the call depth.
constexpr asPWORD kStackBytes = asPWORD{1} << 20;
constexpr asPWORD kDeepestCalls = 10000;
// So much that a script reaches it never through host functions: none of them calls back.
constexpr asPWORD kNestedCalls = 10;

void makeText(void* place) { new (place) ScriptText; }
void copyText(void* place, const ScriptText& other) { new (place) ScriptText(other); }
void endText(ScriptText* text) { text->~ScriptText(); }

/// Literals: each use is a string of its own.
class Literals : public asIStringFactory {
 public:
  const void* GetStringConstant(const char* data, asUINT length) override {
    return new ScriptText(std::string_view(data, length));
  }
  int ReleaseStringConstant(const void* text) override {
    delete static_cast<const ScriptText*>(text);
    return asSUCCESS;
  }
  int GetRawStringData(const void* text, char* data, asUINT* length) const override {
    const std::string& bytes = static_cast<const ScriptText*>(text)->get();
    if (length != nullptr) *length = static_cast<asUINT>(bytes.size());
    if (data != nullptr) bytes.copy(data, bytes.size());
    return asSUCCESS;
  }
};

}  // namespace

ScriptEngine::ScriptEngine(Listener listener)
    : listener_(std::move(listener)), engine_(asCreateScriptEngine()) {
  if (!engine_) throw std::bad_alloc();
  engine_->SetMessageCallback(asFUNCTION(tell), this, asCALL_CDECL);
  engine_->SetEngineProperty(asEP_MAX_STACK_SIZE, kStackBytes);
  engine_->SetEngineProperty(asEP_MAX_CALL_STACK_SIZE, kDeepestCalls);
  engine_->SetEngineProperty(asEP_MAX_NESTED_CALLS, kNestedCalls);
  // Initialisers run in the context that has the limits, not while the script is compiled.
  engine_->SetEngineProperty(asEP_INIT_GLOBAL_VARS_AFTER_BUILD, 0);
  registerAll();
}

void ScriptEngine::tell(const asSMessageInfo* message, void* engine) {
  static_cast<ScriptEngine*>(engine)->listener_(*message);
}

void ScriptEngine::registerAll() {
  interfaceText_ = asGetLibraryVersion();
  interfaceText_ += asGetLibraryOptions();
  interfaceText_ += '\n';
  registerStrings();
  registerMenus();
}

void ScriptEngine::registered(int answer, const char* declaration) {
  if (answer < 0) throw std::logic_error(std::string("the script engine does not take: ") + declaration);
  interfaceText_ += declaration;
  interfaceText_ += '\n';
}

void ScriptEngine::textMethod(const char* declaration, const asSFuncPtr& method) {
  registered(engine_->RegisterObjectMethod("string", declaration, method, asCALL_THISCALL), declaration);
}

void ScriptEngine::registerStrings() {
  static Literals literals;
  const auto behaviour = [this](asEBehaviours kind, const char* declaration, const asSFuncPtr& function) {
    registered(engine_->RegisterObjectBehaviour("string", kind, declaration, function, asCALL_CDECL_OBJFIRST),
               declaration);
  };
  registered(
      engine_->RegisterObjectType("string", sizeof(ScriptText), asOBJ_VALUE | asGetTypeTraits<ScriptText>()),
      "string");
  registered(engine_->RegisterStringFactory("string", &literals), "string literals");
  behaviour(asBEHAVE_CONSTRUCT, "void f()", asFUNCTION(makeText));
  behaviour(asBEHAVE_CONSTRUCT, "void f(const string &in)", asFUNCTION(copyText));
  behaviour(asBEHAVE_DESTRUCT, "void f()", asFUNCTION(endText));
  using Text = ScriptText;
  textMethod("string &opAssign(const string &in)", asMETHODPR(Text, operator=, (const Text&), Text&));
  textMethod("string &opAddAssign(const string &in)", asMETHODPR(Text, operator+=, (const Text&), Text&));
  textMethod("string &opAddAssign(int64)", asMETHODPR(Text, operator+=, (int64_t), Text&));
  textMethod("string opAdd(const string &in) const", asMETHODPR(Text, operator+, (const Text&) const, Text));
  textMethod("string opAdd(int64) const", asMETHODPR(Text, operator+, (int64_t) const, Text));
  textMethod("string opAdd_r(int64) const", asMETHOD(Text, joinedBehind));
  textMethod("bool opEquals(const string &in) const", asMETHOD(Text, operator==));
  textMethod("int opCmp(const string &in) const", asMETHOD(Text, compare));
  textMethod("uint length() const", asMETHOD(Text, length));
  textMethod("bool isEmpty() const", asMETHOD(Text, isEmpty));
}

void ScriptEngine::registerMenus() {
  // Menus live as long as the run that builds them: handles need not count.
  registered(engine_->RegisterObjectType("Menu", 0, asOBJ_REF | asOBJ_NOCOUNT), "Menu");
  const char* addTopMenu = "Menu@ AddMenu(const string &in title)";
  registered(engine_->RegisterGlobalFunction(addTopMenu, asFUNCTION(addMenu), asCALL_CDECL), addTopMenu);
  const auto method = [this](const char* declaration, const asSFuncPtr& function) {
    registered(engine_->RegisterObjectMethod("Menu", declaration, function, asCALL_CDECL_OBJFIRST),
               declaration);
  };
  method("Menu@ AddMenu(const string &in title)", asFUNCTION(addSubmenu));
  method("void AddCommand(int id)", asFUNCTION(addCommand));
  method("void AddSeparator()", asFUNCTION(addSeparator));
}

}  // namespace host
