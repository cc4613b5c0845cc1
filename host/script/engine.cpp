#include "host/script/engine.h"

#include <cmath>
#include <new>
#include <stdexcept>

#include "host/script/menu_functions.h"
#include "host/script/script_text.h"
#include "host/script/talk_functions.h"

namespace host {
namespace {

// A deeper recursion than any menu needs; the engine's own time grows with the square of the call depth.
constexpr asPWORD kStackBytes = asPWORD{1} << 20;
constexpr asPWORD kDeepestCalls = 10000;

/// Literals: each use is a string of its own.
class Literals : public asIStringFactory {
 public:
  const void* GetStringConstant(const char* data, asUINT length) override {
    return ScriptText::literal({data, length});
  }
  int ReleaseStringConstant(const void* text) override {
    static_cast<ScriptText*>(const_cast<void*>(text))->release();
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
  registerTalk();
  registerMathematics();
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
  using Text = ScriptText;
  static Literals literals;
  const auto behaviour = [this](asEBehaviours kind, const char* declaration, const asSFuncPtr& function,
                                asECallConvTypes convention) {
    registered(engine_->RegisterObjectBehaviour("string", kind, declaration, function, convention),
               declaration);
  };
  registered(engine_->RegisterObjectType("string", 0, asOBJ_REF), "string");
  registered(engine_->RegisterStringFactory("string", &literals), "string literals");
  behaviour(asBEHAVE_FACTORY, "string@ f()", asFUNCTION(Text::make), asCALL_CDECL);
  behaviour(asBEHAVE_FACTORY, "string@ f(const string &in)", asFUNCTION(Text::copy), asCALL_CDECL);
  behaviour(asBEHAVE_ADDREF, "void f()", asMETHOD(Text, addReference), asCALL_THISCALL);
  behaviour(asBEHAVE_RELEASE, "void f()", asMETHOD(Text, release), asCALL_THISCALL);
  textMethod("string &opAssign(const string &in)", asMETHOD(Text, assign));
  textMethod("string &opAddAssign(const string &in)", asMETHOD(Text, append));
  textMethod("string &opAddAssign(int64)", asMETHOD(Text, appendNumber));
  textMethod("string@ opAdd(const string &in) const", asMETHOD(Text, joined));
  textMethod("string@ opAdd(int64) const", asMETHOD(Text, joinedWithNumber));
  textMethod("string@ opAdd_r(int64) const", asMETHOD(Text, joinedBehindNumber));
  textMethod("bool opEquals(const string &in) const", asMETHOD(Text, equals));
  textMethod("int opCmp(const string &in) const", asMETHOD(Text, compare));
  textMethod("uint length() const", asMETHOD(Text, length));
  textMethod("bool isEmpty() const", asMETHOD(Text, isEmpty));
  textMethod("string@ part(uint start, uint count) const", asMETHOD(Text, part));
  textMethod("int find(const string &in text, uint start = 0) const", asMETHOD(Text, find));
  textMethod("uint8 byteAt(uint position) const", asMETHOD(Text, byteAt));
  textMethod("bool isNumber() const", asMETHOD(Text, isNumber));
  textMethod("double toNumber() const", asMETHOD(Text, toNumber));
}

void ScriptEngine::globalFunction(const char* declaration, const asSFuncPtr& function) {
  registered(engine_->RegisterGlobalFunction(declaration, function, asCALL_CDECL), declaration);
}

void ScriptEngine::registerTalk() {
  globalFunction("void Print(const string &in line)", asFUNCTION(print));
  globalFunction("void Fail(const string &in reason)", asFUNCTION(complain));
  globalFunction("uint ArgumentCount()", asFUNCTION(argumentCount));
  globalFunction("string@ Argument(uint index)", asFUNCTION(argument));
  globalFunction("string@ ReadText(const string &in file)", asFUNCTION(readText));
  globalFunction("string@ FormatNumber(double value, uint places)", asFUNCTION(formatNumber));
}

void ScriptEngine::registerMathematics() {
  globalFunction("double Sqrt(double value)", asFUNCTIONPR(std::sqrt, (double), double));
  globalFunction("double Exp(double value)", asFUNCTIONPR(std::exp, (double), double));
  globalFunction("double Log(double value)", asFUNCTIONPR(std::log, (double), double));
  globalFunction("double Sin(double radians)", asFUNCTIONPR(std::sin, (double), double));
  globalFunction("double Cos(double radians)", asFUNCTIONPR(std::cos, (double), double));
  globalFunction("double Floor(double value)", asFUNCTIONPR(std::floor, (double), double));
  globalFunction("double Power(double base, double exponent)",
                 asFUNCTIONPR(std::pow, (double, double), double));
}

void ScriptEngine::registerMenus() {
  // Menus live as long as the run that builds them: handles need not count.
  registered(engine_->RegisterObjectType("Menu", 0, asOBJ_REF | asOBJ_NOCOUNT), "Menu");
  globalFunction("Menu@ AddMenu(const string &in title)", asFUNCTION(addMenu));
  const auto method = [this](const char* declaration, const asSFuncPtr& function) {
    registered(engine_->RegisterObjectMethod("Menu", declaration, function, asCALL_CDECL_OBJFIRST),
               declaration);
  };
  method("Menu@ AddMenu(const string &in title)", asFUNCTION(addSubmenu));
  method("void AddCommand(int id)", asFUNCTION(addCommand));
  method("void AddSeparator()", asFUNCTION(addSeparator));
}

}  // namespace host
