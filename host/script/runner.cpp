#include "host/script/runner.h"

#include <chrono>
#include <filesystem>

#include "host/script/byte_code.h"
#include "host/script/container.h"
#include "host/script/diagnostics.h"
#include "host/script/isolation.h"
#include "host/script/menu_functions.h"
#include "host/script/talk_functions.h"
#include "host/script/transfer.h"
#include "host/services/paths.h"
#include "host/services/threads.h"

namespace host {
namespace {

// The bound that counts, as it is the same on every machine: some tenths of a second.
constexpr int64_t kMostLines = 5'000'000;
// For lines that take long each.
constexpr std::chrono::seconds kLongestRun{5};
constexpr int64_t kLinesBetweenLooks = 64;

/// One run of one script.
class Run {
 public:
  explicit Run(const std::string& file)
      : folder_(std::filesystem::path(file).parent_path().string()),
        file_(file),
        // What the engine says while it loads and runs is said better by what fails then.
        engine_([](const asSMessageInfo&) {}) {}

  /// Throws ScriptRefused, or ScriptError with what failed.
  void run(std::string_view bytes, const std::vector<std::string>& arguments) {
    load(unpackScript(bytes, engine_.interfaceText()));
    context_.reset(engine_.get().CreateContext());
    talk_.arguments = arguments;
    context_->SetUserData(&builder_);
    context_->SetUserData(&talk_, kTalkData);
    context_->SetLineCallback(asFUNCTION(onLine), this, asCALL_CDECL);
    context_->SetExceptionCallback(asFUNCTION(onException), this, asCALL_CDECL);
    initialise();
    execute();
  }
  MenuItem takeMenus() { return std::move(builder_.root); }
  std::vector<std::string> takeLines() { return std::move(talk_.lines); }

 private:
  using Clock = std::chrono::steady_clock;

  void load(std::string_view code) {
    ByteCodeReader reader(code);
    if (engine_.module().LoadByteCode(&reader) < 0) throw ScriptRefused("its byte code cannot be loaded");
  }

  void initialise() {
    const int answer = engine_.module().ResetGlobalVars(context_.get());
    throwFailure();
    if (answer < 0) throwWholly("the global variables cannot be initialised");
  }

  void execute() {
    asIScriptFunction* entry = engine_.module().GetFunctionByDecl(kScriptEntry);
    if (entry == nullptr) throw ScriptRefused(std::string("it has no function '") + kScriptEntry + "'");
    context_->Prepare(entry);
    const int state = context_->Execute();
    throwFailure();
    if (state != asEXECUTION_FINISHED) throwWholly("the script did not end");
  }

  static void onLine(asIScriptContext* context, void* run) { static_cast<Run*>(run)->checkLimits(*context); }
  static void onException(asIScriptContext* context, void* run) {
    if (!context->WillExceptionBeCaught()) static_cast<Run*>(run)->noteException(*context);
  }

  void checkLimits(asIScriptContext& context) {
    ++lines_;
    const bool looksAround = lines_ % kLinesBetweenLooks == 0;
    const bool isStopped = looksAround && interruptRequested();
    if (!isStopped && lines_ < kMostLines && (!looksAround || Clock::now() < deadline_)) return;
    Diagnostic place;
    const char* section = nullptr;
    place.row = context.GetLineNumber(0, &place.column, &section);
    note(place, section, context.GetFunction(0), isStopped ? "stopped" : "the script runs too long");
    context.Abort();
  }

  void noteException(asIScriptContext& context) {
    Diagnostic place;
    const char* section = nullptr;
    place.row = context.GetExceptionLineNumber(&place.column, &section);
    note(place, section, context.GetExceptionFunction(), context.GetExceptionString());
  }

  /// The first failure is the one that counts: unwinding may raise more.
  void note(Diagnostic& place, const char* section, const asIScriptFunction* function, const char* reason) {
    if (!failure_.empty()) return;
    place.file = section != nullptr ? normalPath(joinPath(folder_, section)) : file_;
    place.text = reason;
    if (function != nullptr) place.text += std::string(", in '") + function->GetDeclaration() + "'";
    failure_ = describe(place);
  }

  [[noreturn]] void throwWholly(const char* reason) const {
    throw ScriptError(describe({Diagnostic::Kind::Error, file_, 0, 0, reason}));
  }

  void throwFailure() const {
    if (!talk_.complaint.empty()) throw ScriptError(talk_.complaint);
    if (!failure_.empty()) throw ScriptError(failure_);
  }

  const std::string folder_;
  const std::string file_;
  std::string failure_;
  int64_t lines_ = 0;
  Clock::time_point deadline_ = Clock::now() + kLongestRun;
  MenuBuilder builder_;
  ScriptTalk talk_;
  ScriptEngine engine_;
  // Ends before the engine.
  std::unique_ptr<asIScriptContext, EngineDeleter> context_;
};

RunResult resultOf(std::string_view bytes, const std::string& file,
                   const std::vector<std::string>& arguments) {
  RunResult result;
  Run run(file);
  try {
    run.run(bytes, arguments);
  } catch (const ScriptRefused& refusal) {
    result.refusal = refusal.what();
  } catch (const ScriptError& error) {
    result.failure = error.what();
  }
  result.menus = run.takeMenus();
  result.lines = run.takeLines();
  return result;
}

/// Throws ScriptRefused; other failures stand in the answer.
RunResult runWith(std::string_view bytes, const std::string& file,
                  const std::vector<std::string>& arguments) {
  RunResult result;
  try {
    result = decodeRunResult(runApart([&] { return encode(resultOf(bytes, file, arguments)); }));
  } catch (const ScriptError& error) {
    result.failure = describe({Diagnostic::Kind::Error, file, 0, 0, error.what()});
  }
  if (!result.refusal.empty()) throw ScriptRefused(result.refusal);
  return result;
}

}  // namespace

MenuItem runMenuScript(std::string_view bytes, const std::string& file) {
  RunResult result = runWith(bytes, file, {});
  if (!result.failure.empty()) throw ScriptError(result.failure);
  return std::move(result.menus);
}

ScriptRun runScript(std::string_view bytes, const std::string& file,
                    const std::vector<std::string>& arguments) {
  RunResult result = runWith(bytes, file, arguments);
  return {std::move(result.lines), std::move(result.failure)};
}

}  // namespace host
