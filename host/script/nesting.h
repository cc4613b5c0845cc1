#pragma once
// How deeply a script is nested. The compiler follows nesting by recursion, so scripts that would overflow
// the stack must be found before it sees them.

#include <string_view>
#include <vector>

namespace host {

/// Counts what the compiler has open at a time while the tokens of one file go by: brackets, statements
/// inside statements, and chains of conditions and assignments, which it takes from right to left.
class Nesting {
 public:
  /// Takes the next token that is no blank and no comment.
  void next(std::string_view token);
  bool isTooDeep() const { return open_ > kDeepest; }
  /// Outside of all brackets.
  bool isOutermost() const { return levels_.size() == 1; }

 private:
  static constexpr int kDeepest = 150;
  static constexpr int kBracket = 1;
  // A nameless function is compiled with a compiler of its own, on the same stack.
  static constexpr int kInnerFunction = 6;

  /// What is open between two brackets.
  struct Level {
    int bracket = 0;
    int statements = 0;
    int operators = 0;
    bool statementEnded = false;  ///< unless `else` comes next
  };

  void openLevel(int cost);
  void closeLevel();
  void endStatements();
  void endOperators();

  std::vector<Level> levels_ = std::vector<Level>(1);
  int open_ = 0;
};

}  // namespace host
