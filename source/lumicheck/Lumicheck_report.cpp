// The result table of a run, written and read through the host.
#include <array>
#include <memory>
#include <vector>

#include "lumicheck/Lumicheck.h"
#include "lumicheck/Lumicheck_table.h"
#include "vesta.framework/file.h"
#include "vesta.framework/messages.h"
#include "vesta.framework/system.h"

namespace outfitter {

using namespace vesta;

namespace {

constexpr int32_t kBlockSize = 4096;
constexpr std::string_view kHeader = "Status    Tnew      Told      Trel      Diff      Name";

/// What a row was made from, and its text; empty when it was never made.
struct FormattedRow {
  double timeReference = 0;
  double timeNew = 0;
  double diff = 0;
  int32_t status = kScenePending;
  std::string text;

  bool StillHolds(const LumicheckScene& scene) const {
    return !text.empty() && status == scene.status && timeNew == scene.timeNew &&
           timeReference == scene.timeReference && diff == scene.diff;
  }
};

// The table is written after every scene, and of its rows one has changed.
std::vector<FormattedRow>* g_rows = nullptr;

/// The text of the time that was formatted last: neighbours in a table often have the same, above all none.
struct LastSeconds {
  double value = 0;
  std::string text;
};

/// Puts the fields of one line together. Once a host call has failed the line is not Whole.
class LineBuilder {
 public:
  explicit LineBuilder(LastSeconds& lastSeconds) : lastSeconds_(lastSeconds) {}
  void Field(std::string_view field) { AppendField(line_, field); }
  void Blank() { Field(""); }
  void Real(double value, int32_t before, int32_t after) {
    Bytes(String::FromReal(value, before, after));
    Field(bytes_);
  }
  void Seconds(double value) {
    if (lastSeconds_.text.empty() || lastSeconds_.value != value) {
      Bytes(String::FromReal(value, -5, 2));
      lastSeconds_ = {value, bytes_};
    }
    Field(lastSeconds_.text);
  }
  void Percent(double fraction) {
    const double value = fraction * 100;
    Bytes(String::FromReal(value, -5, 2));
    Field((value > 0 ? "+" : "") + bytes_ + "%");
  }
  void Last(const String& text) {
    Bytes(text);
    line_ += bytes_;
  }
  void Last(std::string_view text) { line_ += text; }
  bool Whole() const { return whole_; }
  std::string Take() { return std::move(line_); }

 private:
  void Bytes(const String& text) { whole_ = text.ToBytes(bytes_) && !bytes_.empty() && whole_; }

  LastSeconds& lastSeconds_;
  std::string line_;
  std::string bytes_;
  bool whole_ = true;
};

bool FormatHeader(const std::string& lineEnd, LastSeconds& lastSeconds, std::string& text) {
  LineBuilder line(lastSeconds);
  line.Real(GetHostVersion() * 0.001, -4, 3);
  line.Last(kHeader);
  line.Last(lineEnd);
  text = line.Take();
  return line.Whole();
}

void AppendComparison(LineBuilder& line, const LumicheckScene& scene) {
  line.Seconds(scene.timeReference);
  if (scene.timeNew != 0 && scene.timeReference != 0) {
    line.Percent(scene.timeNew / scene.timeReference - 1);
  } else {
    line.Blank();
  }
  if (scene.diff == 0) {
    line.Field("None");
  } else {
    line.Percent(scene.diff);
  }
}

bool FormatRow(int32_t index, const LumicheckScene& scene, const std::string& lineEnd,
               LastSeconds& lastSeconds, FormattedRow& row) {
  LineBuilder line(lastSeconds);
  line.Field(std::to_string(index + 1));
  line.Field(StatusWord(scene.status));
  line.Seconds(scene.timeNew);
  if (scene.status == kSceneOk) {
    AppendComparison(line, scene);
  } else {
    for (int blank = 0; blank < 3; ++blank) line.Blank();
  }
  line.Last(scene.path.GetString());
  line.Last(lineEnd);
  row = {scene.timeReference, scene.timeNew, scene.diff, scene.status, line.Take()};
  if (!line.Whole()) row.text.clear();
  return line.Whole();
}

/// The whole table. False when a line could not be made; a table that lacks something is never written.
bool FormatTable(std::string& table) {
  const std::string lineEnd = GetLineEnd();
  if (g_rows == nullptr) g_rows = new std::vector<FormattedRow>;
  auto& rows = *g_rows;
  rows.resize(static_cast<size_t>(g_lumicheckSceneCount));
  LastSeconds lastSeconds;
  if (!FormatHeader(lineEnd, lastSeconds, table)) return false;
  size_t size = table.size();
  for (int32_t i = 0; i < g_lumicheckSceneCount; ++i) {
    LumicheckScene& scene = g_lumicheckScenes[i];
    if (scene.status == kSceneSkipped) scene.timeNew = scene.timeReference;
    auto& row = rows[static_cast<size_t>(i)];
    if (!row.StillHolds(scene) && !FormatRow(i, scene, lineEnd, lastSeconds, row)) return false;
    size += row.text.size();
  }
  table.reserve(size);
  for (const FormattedRow& row : rows) table += row.text;
  return true;
}

bool WriteFile(const FileName& name, const std::string& bytes) {
  File file;
  if (!file.Open(name, HOST_FILE_WRITE)) return false;
  return file.Write(bytes.data(), static_cast<int32_t>(bytes.size())) && file.Close();
}

}  // namespace

void WriteLumicheckResult(const FileName& name) {
  std::string table;
  if (!FormatTable(table) || !WriteFile(name, table)) ShowMessage("Couldn't write file 'Result.txt'");
}

void ForgetLumicheckRows() {
  delete g_rows;
  g_rows = nullptr;
}

bool ReadLumicheckResult(const FileName& name) {
  File file;
  if (!file.Open(name, HOST_FILE_READ)) return false;
  const int64_t length = file.Length();
  int32_t row = 0;
  ReferenceTimeReader reader({[&] { return row < g_lumicheckSceneCount; },
                              [&](double seconds) { g_lumicheckScenes[row++].timeReference = seconds; }});
  std::array<char, kBlockSize> block;
  int64_t total = 0;
  while (const int32_t count = file.Read(block.data(), kBlockSize)) {
    if (count < 0 || count > kBlockSize) return false;
    total += count;
    if (length >= 0 && total > length) return false;
    if (!reader.Feed({block.data(), static_cast<size_t>(count)})) return false;
  }
  return total >= length && reader.Finish();
}

}  // namespace outfitter
