#pragma once
// What is wrong with a script, and where.

#include <stdexcept>
#include <string>
#include <vector>

namespace host {

/// One remark on a script, at a place of a file.
struct Diagnostic {
  enum class Kind { Error, Warning };
  Kind kind = Kind::Error;
  std::string file;
  int row = 0;     ///< from 1; 0: the file as a whole
  int column = 0;  ///< in bytes, from 1
  std::string text;
};

/// "file:12:5: error: text"
std::string describe(const Diagnostic& diagnostic);

/// The remarks on one script. Of each kind the first ones are kept and the others counted.
class Diagnostics {
 public:
  void add(Diagnostic diagnostic);
  bool hasErrors() const { return errors_ > 0; }
  /// A line for each remark, and one for those that were not kept.
  std::vector<std::string> lines() const;

 private:
  std::vector<Diagnostic> kept_;
  int errors_ = 0;
  int warnings_ = 0;
};

/// A script that failed; what() is the line for the user.
class ScriptError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A compiled script that must not be used; what() is the reason.
class ScriptRefused : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace host
