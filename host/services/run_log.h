#pragma once
// What the host sees of a test run: which result table was written last, and what each scene cost.

#include <mutex>
#include <string>
#include <vector>

namespace host {

/// Times in milliseconds.
struct SceneCost {
  std::string scene;
  double loadMs = 0;
  double renderMs = 0;  ///< of the last render: the one before it warms up
  double saveMs = 0;
  std::string failure;  ///< why it could not be loaded, rendered or saved; empty: it could
};

/// Thread: any.
class RunLog {
 public:
  /// Takes note of files opened for writing; one of the name "_result.txt" is the table of the run.
  void openedForWriting(const std::string& name);
  void loaded(const std::string& scene, double milliseconds);
  /// A render begins: what was said of the one before is forgotten.
  void renderBegins();
  void rendered(double milliseconds);
  void saved(double milliseconds);
  /// Why the scene that was loaded last could not be loaded, rendered or saved.
  void failed(const std::string& reason);
  /// A folder could not be listed, or a file not read or written, although a tool wanted it so.
  void fileFailed();

  /// The folder of the last table; empty when none was written.
  std::string resultFolder() const;
  std::vector<SceneCost> costs() const;
  int filesFailed() const;

 private:
  mutable std::mutex mutex_;
  std::string resultFolder_;
  std::vector<SceneCost> costs_;
  int filesFailed_ = 0;
};

}  // namespace host
